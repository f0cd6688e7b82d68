/*
 * file.cpp - file handles: what all kinds have in common, from making one to its end
 */
#include "zelkov/file.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <new>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include "zelkov/filehandle.h"
#include "zelkov/host.h"

namespace {

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

void filehandle_tellWatch(const ZFileBody *body, FileTrouble trouble)
{
    int saved = errno;
    if (body->watch.happened)
        body->watch.happened(body->watch.context, trouble);
    errno = saved;
}

int fclosx(ZFile *file)
{
    if (!file)
        return 0;
    ZFileBody *body = file->body;
    if (file->outRoom)
        filehandle_flush(file);
    if (!body->writeError && body->end(body, true) != 0)
        filehandle_writeFailed(body);
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
