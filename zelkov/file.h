/*
 * file.h - file handles: buffered reading and writing, temporary files, atomic output
 *
 * Failures are told through errno.  An open sets it to 0 on success and to the cause on failure;
 * every other call sets it on failure and leaves it alone on success, so that an error stays
 * visible until the next open.
 *
 * fgetb and fputb are called for every byte of a document and so are inlined around a window of
 * the buffer; whatever leaves the window goes through one out-of-line call.
 */
#ifndef ZELKOV_FILE_H
#define ZELKOV_FILE_H

#include <cstddef>
#include <cstdint>

struct ZFileBody;

/* Where the bytes of a sink go: called with whole buffers, in order.  Answers 0, or the errno value
 * of a failure; it is not called again after that. */
struct ZFileSink {
    int (*write)(void *context, const uint8_t *bytes, size_t count);
    void *context;
};

/* An open file.  fopenr, fopenw or fopent makes it, fclosx or fcldelete ends it. */
struct ZFile {
    /* Byte offset of the next read or write.  First, and open to the caller: decrementing it
     * unreads a byte.  An output beyond 4 GiB counts on modulo 2^32. */
    uint32_t position;

    /* reading: `window` holds the windowFill bytes from offset windowStart on */
    uint32_t windowStart;
    uint32_t windowFill; /* 0 while writing */
    const uint8_t *window;

    /* writing: the outFill first bytes of `out` are not yet in the file */
    uint32_t outFill;
    uint32_t outRoom; /* 0 while reading */
    uint8_t *out;

    ZFileBody *body;
};

enum class FileTrouble {
    READ,  /* a read failed (the end of the file is no failure) */
    WRITE, /* a write failed */
    LIMIT, /* more was written than may be */
};

/* Hears at once, and once, what goes wrong with a handle: a failure that is told of where it
 * happens comes before all that follows from it.  errno says why; for LIMIT it is EFBIG. */
struct ZFileWatch {
    void (*happened)(void *context, FileTrouble trouble);
    void *context;
    uint64_t mostWritten; /* bytes; UINT64_MAX: no limit */
};

/* Bytes of a line that fgetstr stores, its terminator included. */
constexpr int LINE_BYTES = 256;

/* Opens a regular file of less than 4 GiB for reading.  A name that is a file as it stands is
 * opened so; else it is completed as in filespec_resolve.  Null on failure.  `flags` is 0. */
ZFile *fopenr(const char *defaultDirectory, const char *name, const char *defaults, int flags);

/* Opens a file for writing.  The bytes go into a hidden temporary file beside the destination
 * until fclosx renames it into place; a destination that is no regular file (a pipe,
 * /dev/stdout) is written directly, and its name needs no extension.  Null on failure, EEXIST
 * when the destination is open for reading.  `flags` is 0. */
ZFile *fopenw(const char *defaultDirectory, const char *name, const char *defaults, int flags);

/* Opens a new, empty file for writing and then reading; an earlier one of the name is emptied.  It
 * is gone when it is closed.  Null on failure.  `flags` is 0. */
ZFile *fopent(const char *defaultDirectory, const char *name, const char *defaults, int flags);

/* The file that fopenr would open by these names is one that this run will read: until the run's
 * Host lets go of it no fopenw replaces it.  A file that is not there needs no protection. */
void zfile_protect(const char *defaultDirectory, const char *name, const char *defaults);
void zfile_unprotectAll();

/* An input of less than 4 GiB that lies in memory.  The bytes stay the caller's and must outlive
 * the handle.  Null on failure. */
ZFile *fopenmemory(const void *bytes, size_t count);

/* An input read from a descriptor, which stays the caller's: a regular file from its beginning,
 * anything else (a pipe) from where it is to its end, into memory.  Null on failure. */
ZFile *fopendescriptor(int descriptor);

/* An output whose bytes a sink gets.  Null on failure. */
ZFile *fopensink(ZFileSink sink);

/* Ends the handle; null is accepted.  Answers 0, or -1 when any byte could not be written: what
 * was written is then thrown away, and an older file under the name of an fopenw stays. */
int fclosx(ZFile *file);

/* Ends the handle and throws away what was written; an older file under the name of an fopenw
 * stays.  Null is accepted. */
int fcldelete(ZFile *file);

/* Back to position 0. */
void frewind(ZFile *file);

/* The position, and setting it; a position beyond the end is allowed, and the next read fails. */
inline uint32_t fgetp(const ZFile *file)
{
    return file->position;
}
void fputp(ZFile *file, uint32_t position);

/* Byte position of the end of the file. */
uint32_t fgeteof(ZFile *file);

/* Reads up to `count` bytes; answers how many there were, 0 at the end.  The end is no failure. */
size_t fgetm(ZFile *file, void *buffer, size_t count);

/* Writes `count` bytes; answers 0, or -1 on failure. */
int fputm(ZFile *file, const void *buffer, size_t count);

/* Reads one line and its end (LF, CR or CR LF) and stores its first 255 bytes, terminated;
 * answers how many are stored.  -1, with an empty text and errno = ENODATA, when there is not a
 * byte left. */
int fgetstr(ZFile *file, char *buffer);

/* Writes the text and a line end (LF); answers 0, or -1 on failure. */
int fputstr(ZFile *file, const char *text);

/* The first error that reading (the end is none) or writing met, or 0: an errno value that no later
 * open takes away. */
int zfile_readError(const ZFile *file);
int zfile_writeError(const ZFile *file);

/* Sets who watches the handle. */
void zfile_watch(ZFile *file, const ZFileWatch &watch);

/* Bytes written so far, where nothing but writing in sequence was done. */
uint64_t zfile_written(const ZFile *file);

/* The out-of-line halves of fgetb and fputb. */
int zfile_readByte(ZFile *file);
int zfile_writeByte(ZFile *file, int byte);

/* Reads one byte and moves past it.  -1 on failure; at the end of the file, with errno = ENODATA
 * and the position where it was. */
inline int fgetb(ZFile *file)
{
    uint32_t index = file->position - file->windowStart;
    if (index < file->windowFill) {
        file->position++;
        return file->window[index];
    }
    return zfile_readByte(file);
}

/* Writes the low 8 bits; answers 0, or -1 on failure. */
inline int fputb(ZFile *file, int byte)
{
    if (file->outFill < file->outRoom) {
        file->out[file->outFill++] = (uint8_t)byte;
        file->position++;
        return 0;
    }
    return zfile_writeByte(file, byte);
}

#endif
