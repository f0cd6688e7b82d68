/*
 * filewrite.cpp - writing through the buffer
 *
 * Whole buffers leave at a time; what is larger passes the buffer by.  Nothing is written any more
 * once a write has failed, or more was written than may be.
 */
#include "zelkov/file.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <new>
#include <unistd.h>

#include "zelkov/filehandle.h"
#include "zelkov/host.h"

namespace {

constexpr uint32_t OUT_BYTES = 64 * 1024;

/* Would so many bytes more be too many?  Then it is told, and nothing is written any more. */
bool exceedsLimit(ZFileBody *body, size_t count)
{
    if (body->outStart <= body->watch.mostWritten &&
        count <= body->watch.mostWritten - body->outStart)
        return false;
    body->writeError = errno = EFBIG;
    filehandle_tellWatch(body, FileTrouble::LIMIT);
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
            filehandle_writeFailed(body);
            return -1;
        }
        bytes += done;
        count -= (size_t)done;
        body->outStart += (uint64_t)done;
    }
    return 0;
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
            filehandle_writeFailed(body);
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

} // namespace

/* The first failure is remembered, and told where the file has a name. */
void filehandle_writeFailed(ZFileBody *body)
{
    if (body->writeError)
        return;
    body->writeError = errno;
    if (!body->path.empty())
        host_say(body->path + ": " + strerror(body->writeError));
    filehandle_tellWatch(body, FileTrouble::WRITE);
}

int filehandle_flush(ZFile *file)
{
    uint32_t count = file->outFill;
    file->outFill = 0;
    return count ? writeThrough(file->body, file->out, count) : 0;
}

/* From writing to reading: what was written must be seen. */
void filehandle_endWriting(ZFile *file)
{
    filehandle_flush(file);
    file->outRoom = 0;
    for (FileBlock &block : file->body->blocks)
        block.fill = 0;
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

int fputstr(ZFile *file, const char *text)
{
    int result = fputm(file, text, strlen(text));
    return fputb(file, '\n') == 0 ? result : -1;
}

uint64_t zfile_written(const ZFile *file)
{
    return file->body->outStart + file->outFill;
}

int zfile_writeByte(ZFile *file, int byte)
{
    uint8_t one = (uint8_t)byte;
    return fputm(file, &one, 1);
}
