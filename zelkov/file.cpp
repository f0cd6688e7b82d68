/*
 * file.cpp - file handles
 *
 * Reading goes through a cache of blocks, because a document is read by jumping: an object here,
 * the length it refers to there.  A block is found by its number modulo the number of slots, and
 * its memory is taken when it is first needed, so that a small file costs little.  Large reads
 * and writes pass the buffers by.
 *
 * The file is read with pread, not mapped: a file that shrinks under the program must end in an
 * error and not in a signal.
 */
#include "zelkov/file.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <new>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include "zelkov/cleanup.h"
#include "zelkov/filespec.h"

namespace {

constexpr uint32_t BLOCK_BYTES = 8192;
constexpr uint32_t BLOCK_SLOTS = 64;
constexpr uint32_t OUT_BYTES = 64 * 1024;
constexpr uint64_t INPUT_LIMIT = (uint64_t)1 << 32;

enum Access { READ_ONLY, WRITE_ONLY, READ_WRITE };

struct Block {
    std::unique_ptr<uint8_t[]> bytes;
    uint32_t number; /* valid when fill > 0 */
    uint32_t fill;
};

} // namespace

struct ZFileBody {
    int descriptor;
    Access access;
    bool direct;    /* no regular file: written in sequence, never removed */
    uint32_t size;  /* of an input, when it was opened */
    int writeError; /* errno of the first write that failed; nothing is written after it */

    uint64_t outStart;     /* offset of out[0] in the file */
    std::string temporary; /* where the bytes are until fclosx; empty: in `path` itself */
    std::string path;

    std::unique_ptr<uint8_t[]> out;
    Block blocks[BLOCK_SLOTS];

    /* the inputs that are open, to be kept from being overwritten */
    ZFile *nextInput;
};

namespace {

ZFile *openInputs;

void forgetInput(ZFile *file)
{
    for (ZFile **link = &openInputs; *link; link = &(*link)->body->nextInput)
        if (*link == file) {
            *link = file->body->nextInput;
            return;
        }
}

/* When the program was started with a standard stream closed, a file gets its number, and messages
 * would be written into the document.  Answers a number of the file's own; -1 on failure. */
int besideStandardStreams(int descriptor)
{
    if (descriptor > STDERR_FILENO)
        return descriptor;
    int moved = fcntl(descriptor, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    int cause = errno;
    close(descriptor);
    errno = cause;
    return moved;
}

ZFile *newHandle(int descriptor, Access access)
{
    descriptor = besideStandardStreams(descriptor);
    if (descriptor < 0)
        return nullptr;
    ZFile *file = new (std::nothrow) ZFile();
    ZFileBody *body = new (std::nothrow) ZFileBody();
    if (!file || !body) {
        delete file;
        delete body;
        close(descriptor);
        errno = ENOMEM;
        return nullptr;
    }
    body->descriptor = descriptor;
    body->access = access;
    file->body = body;
    return file;
}

void freeHandle(ZFile *file)
{
    forgetInput(file);
    close(file->body->descriptor);
    delete file->body;
    delete file;
}

bool sameFile(const struct stat &a, const struct stat &b)
{
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

bool isOpenForReading(const struct stat &info)
{
    for (ZFile *input = openInputs; input; input = input->body->nextInput) {
        struct stat other;
        if (fstat(input->body->descriptor, &other) == 0 && sameFile(info, other))
            return true;
    }
    return false;
}

/* ---- writing out */

void writeFailed(ZFileBody *body)
{
    if (!body->writeError)
        body->writeError = errno;
}

/* Writes all bytes at the handle's file offset; -1 on failure. */
int writeThrough(ZFileBody *body, const uint8_t *bytes, size_t count)
{
    if (body->writeError) {
        errno = body->writeError;
        return -1;
    }
    while (count > 0) {
        size_t piece = std::min<size_t>(count, SSIZE_MAX);
        ssize_t done = body->direct ? write(body->descriptor, bytes, piece)
                                    : pwrite(body->descriptor, bytes, piece, (off_t)body->outStart);
        if (done < 0 && errno == EINTR)
            continue;
        if (done < 0) {
            writeFailed(body);
            return -1;
        }
        bytes += done;
        count -= (size_t)done;
        body->outStart += (uint64_t)done;
    }
    return 0;
}

int flush(ZFile *file)
{
    uint32_t count = file->outFill;
    file->outFill = 0;
    return count ? writeThrough(file->body, file->out, count) : 0;
}

/* From writing to reading: what was written must be seen. */
void endWriting(ZFile *file)
{
    flush(file);
    file->outRoom = 0;
    for (Block &block : file->body->blocks)
        block.fill = 0;
}

bool beginWriting(ZFile *file)
{
    ZFileBody *body = file->body;
    if (body->access == READ_ONLY) {
        errno = EBADF;
        return false;
    }
    if (!body->out) {
        body->out.reset(new (std::nothrow) uint8_t[OUT_BYTES]);
        if (!body->out) {
            errno = ENOMEM;
            writeFailed(body);
            return false;
        }
    }
    file->windowFill = 0;
    file->out = body->out.get();
    file->outFill = 0;
    file->outRoom = OUT_BYTES;
    body->outStart = file->position;
    return true;
}

/* ---- reading */

/* Reads up to `count` bytes at `offset`, fewer only at the end of the file; -1 on failure. */
ssize_t readAt(int descriptor, uint8_t *bytes, size_t count, uint64_t offset)
{
    size_t done = 0;
    while (done < count) {
        ssize_t n = pread(descriptor, bytes + done, count - done, (off_t)(offset + done));
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0)
            return -1;
        if (n == 0)
            break;
        done += (size_t)n;
    }
    return (ssize_t)done;
}

/* Makes the window the block that holds the position.  False at the end of the file, with errno
 * untouched, or on failure, with errno set and *failed true. */
bool loadWindow(ZFile *file, bool *failed)
{
    ZFileBody *body = file->body;
    *failed = true;
    if (body->access == WRITE_ONLY) {
        errno = EBADF;
        return false;
    }
    if (file->outRoom)
        endWriting(file);

    uint32_t number = file->position / BLOCK_BYTES;
    uint32_t start = number * BLOCK_BYTES;
    Block &block = body->blocks[number % BLOCK_SLOTS];
    if (block.fill == 0 || block.number != number) {
        if (!block.bytes)
            block.bytes.reset(new (std::nothrow) uint8_t[BLOCK_BYTES]);
        if (!block.bytes) {
            errno = ENOMEM;
            return false;
        }
        block.fill = 0;
        file->windowFill = 0; /* the window may lie in the block that is replaced */
        ssize_t count = readAt(body->descriptor, block.bytes.get(), BLOCK_BYTES, start);
        if (count < 0)
            return false;
        block.number = number;
        block.fill = (uint32_t)count;
    }
    file->window = block.bytes.get();
    file->windowStart = start;
    file->windowFill = block.fill;
    *failed = false;
    return file->position - start < block.fill;
}

/* The bytes of the window from the position on; 0 at the end of the file or on failure. */
size_t windowBytes(ZFile *file, const uint8_t **bytes, bool *failed)
{
    *failed = false;
    uint32_t index = file->position - file->windowStart;
    if (index >= file->windowFill) {
        if (!loadWindow(file, failed))
            return 0;
        index = file->position - file->windowStart;
    }
    *bytes = file->window + index;
    return file->windowFill - index;
}

/* ---- opening */

bool isRegularInput(int descriptor, uint32_t *size)
{
    struct stat info;
    if (fstat(descriptor, &info) != 0)
        return false;
    if (S_ISDIR(info.st_mode))
        errno = EISDIR;
    else if (!S_ISREG(info.st_mode))
        errno = EINVAL;
    else if ((uint64_t)info.st_size >= INPUT_LIMIT)
        errno = EFBIG;
    else {
        *size = (uint32_t)info.st_size;
        return true;
    }
    return false;
}

/* The descriptor that a name like /dev/stdout or /dev/fd/3 stands for, or -1.  Such a name is
 * written through the descriptor itself: opening it anew would start over at the beginning of a
 * file that other programs are writing to as well. */
int namedDescriptor(const std::string &path)
{
    if (path == "/dev/stdout")
        return STDOUT_FILENO;
    if (path == "/dev/stderr")
        return STDERR_FILENO;
    for (const char *folder : {"/dev/fd/", "/proc/self/fd/"}) {
        size_t length = strlen(folder);
        if (path.starts_with(folder) && path.size() > length && path.size() < length + 6 &&
            path.find_first_not_of("0123456789", length) == std::string::npos)
            return std::stoi(path.substr(length));
    }
    return -1;
}

/* A destination that is no regular file, opened for writing as it stands; -1 with *found false
 * when the path is none. */
int openDirect(const std::string &path, bool *found)
{
    struct stat info;
    int descriptor = namedDescriptor(path);
    *found = descriptor >= 0;
    if (*found && fstat(descriptor, &info) == 0 && isOpenForReading(info)) {
        errno = EEXIST;
        return -1;
    }
    if (*found)
        return fcntl(descriptor, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    *found = stat(path.c_str(), &info) == 0 && !S_ISREG(info.st_mode) && !S_ISDIR(info.st_mode);
    return *found ? open(path.c_str(), O_WRONLY | O_NOCTTY | O_CLOEXEC) : -1;
}

/* A symbolic link is written through: the file that it names is made or replaced, not the link. */
std::string followLinks(std::string path)
{
    constexpr int MOST_LINKS = 40; /* as the system has it; more are a circle */
    char target[PATH_MAX];
    for (int links = 0; links < MOST_LINKS; links++) {
        ssize_t length = readlink(path.c_str(), target, sizeof target);
        if (length <= 0)
            return path;
        std::string named(target, (size_t)length);
        if (named[0] != '/')
            named.insert(0, path, 0, path.rfind('/') + 1);
        path = named;
    }
    return path;
}

std::string hiddenPattern(const std::string &path)
{
    size_t slash = path.rfind('/');
    size_t name = slash == std::string::npos ? 0 : slash + 1;
    /* Together with the suffix it must stay a legal file name. */
    return path.substr(0, name) + "." + path.substr(name, 200) + ".XXXXXX";
}

/* Creates the temporary file beside `path`; the mode is the one that the destination has, or
 * that a new file would get. */
int openHidden(const std::string &path, std::string *temporary)
{
    struct stat info;
    mode_t mask = umask(0);
    umask(mask);
    mode_t mode = 0666 & ~mask;
    if (stat(path.c_str(), &info) == 0) {
        if (S_ISDIR(info.st_mode)) {
            errno = EISDIR;
            return -1;
        }
        if (isOpenForReading(info)) {
            errno = EEXIST;
            return -1;
        }
        mode = info.st_mode & 0777; /* what runs as somebody else must not get another content */
    }
    CleanupHold hold;
    *temporary = hiddenPattern(path);
    int descriptor = mkostemp(temporary->data(), O_CLOEXEC);
    if (descriptor >= 0) {
        cleanup_add(*temporary);
        fchmod(descriptor, mode);
    }
    return descriptor;
}

int openTemporary(const std::string &path)
{
    CleanupHold hold;
    int descriptor = open(path.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC, 0600);
    if (descriptor >= 0)
        cleanup_add(path);
    return descriptor;
}

ZFile *finishOpen(ZFile *file)
{
    if (file)
        errno = 0;
    return file;
}

/* Closes without keeping anything: the temporary file goes, and what stands under the final name
 * unless it is not ours to remove. */
void discard(ZFile *file)
{
    ZFileBody *body = file->body;
    if (!body->temporary.empty()) {
        unlink(body->temporary.c_str());
        cleanup_forget(body->temporary);
    }
    if (!body->direct)
        unlink(body->path.c_str());
    freeHandle(file);
}

} // namespace

ZFile *fopenr(const char *defaultDirectory, const char *name, const char *defaults, int)
{
    std::string path = filespec_resolve(defaultDirectory, name, defaults);
    if (path.empty())
        return nullptr;
    /* O_NONBLOCK: a named pipe must be refused, not waited for. */
    int descriptor = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (descriptor < 0)
        return nullptr;
    uint32_t size;
    if (!isRegularInput(descriptor, &size)) {
        int cause = errno;
        close(descriptor);
        errno = cause;
        return nullptr;
    }
    ZFile *file = newHandle(descriptor, READ_ONLY);
    if (!file)
        return nullptr;
    file->body->path = path;
    file->body->size = size;
    file->body->nextInput = openInputs;
    openInputs = file;
    return finishOpen(file);
}

ZFile *fopenw(const char *defaultDirectory, const char *name, const char *defaults, int)
{
    std::string path = filespec_resolveExact(defaultDirectory, name, defaults);
    if (path.empty())
        return nullptr;

    std::string temporary;
    bool direct;
    int descriptor = openDirect(path, &direct);
    if (!direct) {
        path = filespec_resolve(defaultDirectory, name, defaults);
        descriptor = openDirect(path, &direct);
    }
    if (!direct) {
        path = followLinks(path);
        descriptor = openHidden(path, &temporary);
    }
    if (descriptor < 0)
        return nullptr;

    ZFile *file = newHandle(descriptor, WRITE_ONLY);
    if (!file) {
        int cause = errno;
        unlink(temporary.c_str());
        cleanup_forget(temporary);
        errno = cause;
        return nullptr;
    }
    cleanup_install();
    file->body->direct = direct;
    file->body->temporary = temporary;
    file->body->path = path;
    return finishOpen(file);
}

ZFile *fopent(const char *defaultDirectory, const char *name, const char *defaults, int)
{
    std::string path = filespec_resolve(defaultDirectory, name, defaults);
    if (path.empty())
        return nullptr;
    int descriptor = openTemporary(path);
    if (descriptor < 0)
        return nullptr;
    ZFile *file = newHandle(descriptor, READ_WRITE);
    if (!file)
        return nullptr;
    file->body->path = path;
    return finishOpen(file);
}

int fclosx(ZFile *file)
{
    if (!file)
        return 0;
    ZFileBody *body = file->body;
    if (file->outRoom)
        flush(file);
    if (!body->writeError && !body->temporary.empty()) {
        /* Closing can be what tells that a network disk is full. */
        CleanupHold hold;
        int copy = dup(body->descriptor);
        if ((copy >= 0 && close(copy) != 0) ||
            rename(body->temporary.c_str(), body->path.c_str()) != 0)
            writeFailed(body);
        else
            cleanup_forget(body->temporary);
    }
    if (body->writeError) {
        int cause = body->writeError;
        discard(file);
        errno = cause;
        return -1;
    }
    freeHandle(file);
    return 0;
}

int fcldelete(ZFile *file)
{
    if (!file)
        return 0;
    int saved = errno;
    discard(file);
    errno = saved;
    return 0;
}

void frewind(ZFile *file)
{
    fputp(file, 0);
}

void fputp(ZFile *file, uint32_t position)
{
    if (file->outRoom && position != file->position) {
        flush(file);
        file->outRoom = 0; /* the next write takes up the new position */
        for (Block &block : file->body->blocks)
            block.fill = 0;
    }
    file->position = position;
}

uint32_t fgeteof(ZFile *file)
{
    if (file->body->access == READ_ONLY)
        return file->body->size;
    if (file->outRoom)
        flush(file);
    struct stat info;
    if (fstat(file->body->descriptor, &info) != 0)
        return 0;
    return (uint32_t)info.st_size;
}

size_t fgetm(ZFile *file, void *buffer, size_t count)
{
    uint8_t *to = static_cast<uint8_t *>(buffer);
    size_t done = 0;
    while (done < count) {
        bool failed = false;
        if (count - done >= BLOCK_BYTES && !file->outRoom && file->body->access != WRITE_ONLY) {
            /* The rest in one piece, past the cache. */
            ssize_t n = readAt(file->body->descriptor, to + done, count - done, file->position);
            if (n > 0) {
                file->position += (uint32_t)n;
                done += (size_t)n;
            }
            return done;
        }
        const uint8_t *bytes;
        size_t n = std::min(windowBytes(file, &bytes, &failed), count - done);
        if (n == 0)
            return done;
        memcpy(to + done, bytes, n);
        file->position += (uint32_t)n;
        done += n;
    }
    return done;
}

int fputm(ZFile *file, const void *buffer, size_t count)
{
    if (!file->outRoom && !beginWriting(file))
        return -1;
    const uint8_t *from = static_cast<const uint8_t *>(buffer);
    file->position += (uint32_t)count;

    /* Whole buffers leave at a time, so that a file is written in aligned pieces; those of a large
     * write go straight from the caller's memory. */
    size_t room = file->outRoom - file->outFill;
    if (count > room) {
        memcpy(file->out + file->outFill, from, room);
        file->outFill += (uint32_t)room;
        from += room;
        count -= room;
        if (flush(file) != 0)
            return -1;
        size_t whole = count / OUT_BYTES * OUT_BYTES;
        if (whole && writeThrough(file->body, from, whole) != 0)
            return -1;
        from += whole;
        count -= whole;
    }
    if (count)
        memcpy(file->out + file->outFill, from, count);
    file->outFill += (uint32_t)count;
    return 0;
}

int fgetstr(ZFile *file, char *buffer)
{
    int stored = 0;
    bool any = false;
    for (;;) {
        const uint8_t *bytes;
        bool failed;
        size_t count = windowBytes(file, &bytes, &failed);
        if (count == 0) {
            buffer[stored] = 0;
            if (any && !failed)
                return stored;
            if (!failed)
                errno = ENODATA;
            return -1;
        }
        any = true;
        size_t length = 0;
        while (length < count && bytes[length] != '\n' && bytes[length] != '\r')
            length++;
        size_t keep = std::min(length, (size_t)(LINE_BYTES - 1 - stored));
        memcpy(buffer + stored, bytes, keep);
        stored += (int)keep;
        file->position += (uint32_t)length;
        if (length == count)
            continue;

        file->position++;
        if (bytes[length] == '\r' && windowBytes(file, &bytes, &failed) > 0 && *bytes == '\n')
            file->position++;
        buffer[stored] = 0;
        return stored;
    }
}

int fputstr(ZFile *file, const char *text)
{
    int result = fputm(file, text, strlen(text));
    return fputb(file, '\n') == 0 ? result : -1;
}

int zfile_writeError(const ZFile *file)
{
    return file->body->writeError;
}

int zfile_readByte(ZFile *file)
{
    bool failed;
    const uint8_t *bytes;
    if (windowBytes(file, &bytes, &failed) == 0) {
        if (!failed)
            errno = ENODATA;
        return -1;
    }
    file->position++;
    return *bytes;
}

int zfile_writeByte(ZFile *file, int byte)
{
    uint8_t one = (uint8_t)byte;
    return fputm(file, &one, 1);
}
