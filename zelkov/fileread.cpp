/*
 * fileread.cpp - reading through the window
 *
 * A document is read by jumping: an object here, the length it refers to there.  So the file goes
 * through a cache of blocks; a block is found by its number modulo the number of slots, and its
 * memory is taken when it is first needed, so that a small file costs little.  Large reads pass
 * the cache by.
 *
 * The file is read with pread, not mapped: a file that shrinks under the program must end in an
 * error and not in a signal.
 */
#include "zelkov/file.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>
#include <unistd.h>

#include "zelkov/filehandle.h"
#include "zelkov/host.h"

namespace {

void readFailed(ZFileBody *body)
{
    if (body->readError)
        return;
    body->readError = errno;
    if (!body->path.empty())
        host_say(body->path + ": " + strerror(body->readError));
    filehandle_tellWatch(body, FileTrouble::READ);
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
        filehandle_endWriting(file);

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
