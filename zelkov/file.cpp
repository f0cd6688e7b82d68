/*
 * file.cpp - file handles: reading and writing through window and buffer
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
#include <cstring>
#include <fcntl.h>
#include <new>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include "zelkov/filehandle.h"
#include "zelkov/host.h"

namespace {

constexpr uint32_t OUT_BYTES = 64 * 1024;

void forgetInput(const ZFile *file)
{
    for (ZFile **link = &host().openInputs; *link; link = &(*link)->body->nextInput)
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

void freeHandle(ZFile *file)
{
    forgetInput(file);
    if (file->body->descriptor >= 0)
        close(file->body->descriptor);
    delete file->body;
    delete file;
}

/* ---- writing out */

void tellWatch(const ZFileBody *body, FileTrouble trouble)
{
    int saved = errno;
    if (body->watch.happened)
        body->watch.happened(body->watch.context, trouble);
    errno = saved;
}

/* The first failure is remembered, and told where the file has a name. */
void writeFailed(ZFileBody *body)
{
    if (body->writeError)
        return;
    body->writeError = errno;
    if (!body->path.empty())
        host_say(body->path + ": " + strerror(body->writeError));
    tellWatch(body, FileTrouble::WRITE);
}

/* Would so many bytes more be too many?  Then it is told, and nothing is written any more. */
bool exceedsLimit(ZFileBody *body, size_t count)
{
    if (body->outStart <= body->watch.mostWritten &&
        count <= body->watch.mostWritten - body->outStart)
        return false;
    body->writeError = errno = EFBIG;
    tellWatch(body, FileTrouble::LIMIT);
    return true;
}

/* One piece to where it goes; how much of it went, or -1. */
ssize_t writePiece(ZFileBody *body, const uint8_t *bytes, size_t count)
{
    if (body->sink.write) {
        int cause = body->sink.write(body->sink.context, bytes, count);
        if (cause)
            errno = cause;
        return cause ? -1 : (ssize_t)count;
    }
    return body->inSequence ? write(body->descriptor, bytes, count)
                            : pwrite(body->descriptor, bytes, count, (off_t)body->outStart);
}

/* Writes all bytes at the handle's file offset; -1 on failure. */
int writeThrough(ZFileBody *body, const uint8_t *bytes, size_t count)
{
    if (body->writeError) {
        errno = body->writeError;
        return -1;
    }
    if (exceedsLimit(body, count))
        return -1;
    while (count > 0) {
        ssize_t done = writePiece(body, bytes, std::min<size_t>(count, SSIZE_MAX));
        if (done < 0 && errno == EINTR && !body->sink.write)
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

/* From writing to reading: what was written must be seen. */
void endWriting(ZFile *file)
{
    filehandle_flush(file);
    file->outRoom = 0;
    for (FileBlock &block : file->body->blocks)
        block.fill = 0;
}

bool beginWriting(ZFile *file)
{
    ZFileBody *body = file->body;
    if (body->access == FileAccess::READ) {
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

void readFailed(ZFileBody *body)
{
    if (body->readError)
        return;
    body->readError = errno;
    if (!body->path.empty())
        host_say(body->path + ": " + strerror(body->readError));
    tellWatch(body, FileTrouble::READ);
}

/* Reads up to `count` bytes at `offset`, fewer only at the end of the file; -1 on failure. */
ssize_t readAt(ZFileBody *body, uint8_t *bytes, size_t count, uint64_t offset)
{
    size_t done = 0;
    while (done < count) {
        ssize_t n = pread(body->descriptor, bytes + done, count - done, (off_t)(offset + done));
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0) {
            readFailed(body);
            return -1;
        }
        if (n == 0)
            break;
        done += (size_t)n;
    }
    return (ssize_t)done;
}

/* Fills the block of that number unless it is the one that its slot holds; null on failure. */
FileBlock *loadBlock(ZFile *file, uint32_t number)
{
    ZFileBody *body = file->body;
    FileBlock &block = body->blocks[number % FILE_BLOCK_SLOTS];
    if (block.fill != 0 && block.number == number)
        return &block;
    if (!block.bytes)
        block.bytes.reset(new (std::nothrow) uint8_t[FILE_BLOCK_BYTES]);
    if (!block.bytes) {
        errno = ENOMEM;
        readFailed(body);
        return nullptr;
    }
    block.fill = 0;
    file->windowFill = 0; /* the window may lie in the block that is replaced */
    ssize_t count =
        readAt(body, block.bytes.get(), FILE_BLOCK_BYTES, (uint64_t)number * FILE_BLOCK_BYTES);
    if (count < 0)
        return nullptr;
    block.number = number;
    block.fill = (uint32_t)count;
    return &block;
}

/* Makes the window the block that holds the position.  False at the end of the file, with errno
 * untouched, or on failure, with errno set and *failed true. */
bool loadWindow(ZFile *file, bool *failed)
{
    ZFileBody *body = file->body;
    *failed = true;
    if (body->access == FileAccess::WRITE) {
        errno = EBADF;
        return false;
    }
    if (body->descriptor < 0) { /* in memory, the window is all there is */
        *failed = false;
        return false;
    }
    if (file->outRoom)
        endWriting(file);

    uint32_t number = file->position / FILE_BLOCK_BYTES;
    const FileBlock *block = loadBlock(file, number);
    if (!block)
        return false;
    file->window = block->bytes.get();
    file->windowStart = number * FILE_BLOCK_BYTES;
    file->windowFill = block->fill;
    *failed = false;
    return file->position - file->windowStart < block->fill;
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

/* May a large read go past the cache? */
bool readsStraight(const ZFile *file)
{
    const ZFileBody *body = file->body;
    return !file->outRoom && body->access != FileAccess::WRITE && body->descriptor >= 0;
}

} // namespace

ZFile *filehandle_new(int descriptor, FileAccess access, FileEnding end)
{
    if (descriptor >= 0) {
        descriptor = besideStandardStreams(descriptor);
        if (descriptor < 0)
            return nullptr;
    }
    ZFile *file = new (std::nothrow) ZFile();
    ZFileBody *body = new (std::nothrow) ZFileBody();
    if (!file || !body) {
        delete file;
        delete body;
        filehandle_closeDescriptor(descriptor);
        errno = ENOMEM;
        return nullptr;
    }
    body->access = access;
    body->end = end;
    body->descriptor = descriptor;
    file->body = body;
    return file;
}

ZFile *filehandle_opened(ZFile *file)
{
    if (file)
        errno = 0;
    return file;
}

ZFile *filehandle_refused(const std::string &path)
{
    if (!path.empty())
        host_say(path + ": " + strerror(errno));
    return nullptr;
}

void filehandle_closeDescriptor(int descriptor)
{
    int cause = errno;
    if (descriptor >= 0)
        close(descriptor);
    errno = cause;
}

bool filehandle_isInput(dev_t device, ino_t node)
{
    for (const auto &[keptDevice, keptNode] : host().protectedFiles)
        if (keptDevice == device && keptNode == node)
            return true;
    for (const ZFile *input = host().openInputs; input; input = input->body->nextInput) {
        struct stat info;
        if (fstat(input->body->descriptor, &info) == 0 && info.st_dev == device &&
            info.st_ino == node)
            return true;
    }
    return false;
}

int filehandle_flush(ZFile *file)
{
    uint32_t count = file->outFill;
    file->outFill = 0;
    return count ? writeThrough(file->body, file->out, count) : 0;
}

int fclosx(ZFile *file)
{
    if (!file)
        return 0;
    ZFileBody *body = file->body;
    if (file->outRoom)
        filehandle_flush(file);
    if (!body->writeError && body->end(body, true) != 0)
        writeFailed(body);
    int cause = body->writeError;
    if (cause)
        body->end(body, false);
    freeHandle(file);
    if (cause)
        errno = cause;
    return cause ? -1 : 0;
}

int fcldelete(ZFile *file)
{
    if (!file)
        return 0;
    int saved = errno;
    file->body->end(file->body, false);
    freeHandle(file);
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
        filehandle_flush(file);
        file->outRoom = 0; /* the next write takes up the new position */
        for (FileBlock &block : file->body->blocks)
            block.fill = 0;
    }
    file->position = position;
}

uint32_t fgeteof(ZFile *file)
{
    if (file->body->access == FileAccess::READ)
        return file->body->size;
    if (file->outRoom)
        filehandle_flush(file);
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
        if (count - done >= FILE_BLOCK_BYTES && readsStraight(file)) {
            /* The rest in one piece, past the cache. */
            ssize_t n = readAt(file->body, to + done, count - done, file->position);
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
        if (filehandle_flush(file) != 0)
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

int zfile_readError(const ZFile *file)
{
    return file->body->readError;
}

int zfile_writeError(const ZFile *file)
{
    return file->body->writeError;
}

void zfile_watch(ZFile *file, const ZFileWatch &watch)
{
    file->body->watch = watch;
}

uint64_t zfile_written(const ZFile *file)
{
    return file->body->outStart + file->outFill;
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
