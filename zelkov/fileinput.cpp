/*
 * fileinput.cpp - inputs: a file by its name or its descriptor, bytes in memory
 */
#include "zelkov/file.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <new>
#include <sys/stat.h>
#include <unistd.h>

#include "zelkov/filehandle.h"
#include "zelkov/filespec.h"
#include "zelkov/host.h"

namespace {

constexpr size_t FIRST_PIPE_BYTES = 64 * 1024;

/* An input has nothing to keep and nothing to throw away. */
int endInput(ZFileBody *, bool)
{
    return 0;
}

bool isRegularInput(int descriptor, uint32_t *size)
{
    struct stat info;
    if (fstat(descriptor, &info) != 0)
        return false;
    if (S_ISDIR(info.st_mode))
        errno = EISDIR;
    else if (!S_ISREG(info.st_mode))
        errno = EINVAL;
    else if ((uint64_t)info.st_size >= FILE_INPUT_LIMIT)
        errno = EFBIG;
    else {
        *size = (uint32_t)info.st_size;
        return true;
    }
    return false;
}

/* A handle on a regular file, whose descriptor it owns; null on failure, the descriptor closed. */
ZFile *openRegular(int descriptor)
{
    uint32_t size;
    if (!isRegularInput(descriptor, &size)) {
        filehandle_closeDescriptor(descriptor);
        return nullptr;
    }
    ZFile *file = filehandle_new(descriptor, FileAccess::READ, endInput);
    if (!file)
        return nullptr;
    file->body->size = size;
    file->body->nextInput = host().openInputs;
    host().openInputs = file;
    return file;
}

/* The path that a name stands for: itself, where that is a file already. */
std::string inputPath(const char *defaultDirectory, const char *name, const char *defaults)
{
    std::string exact = filespec_expand(name);
    struct stat info;
    if (!exact.empty() && stat(exact.c_str(), &info) == 0 && !S_ISDIR(info.st_mode))
        return exact;
    return filespec_resolve(defaultDirectory, name, defaults);
}

/* All that a pipe holds, in memory that grows by doubling; null on failure. */
std::unique_ptr<uint8_t[]> readToEnd(int descriptor, size_t *size)
{
    std::unique_ptr<uint8_t[]> bytes;
    size_t room = 0, fill = 0;
    for (;;) {
        if (fill == room) {
            size_t larger = std::max(2 * room, FIRST_PIPE_BYTES);
            std::unique_ptr<uint8_t[]> moved(new (std::nothrow) uint8_t[larger]);
            if (!moved || larger > 2 * FILE_INPUT_LIMIT) {
                errno = moved ? EFBIG : ENOMEM;
                return nullptr;
            }
            if (fill)
                memcpy(moved.get(), bytes.get(), fill);
            bytes = std::move(moved);
            room = larger;
        }
        ssize_t n = read(descriptor, bytes.get() + fill, room - fill);
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0)
            return nullptr;
        if (n == 0)
            break;
        fill += (size_t)n;
    }
    *size = fill;
    return bytes;
}

} // namespace

ZFile *fopenr(const char *defaultDirectory, const char *name, const char *defaults, int)
{
    std::string path = inputPath(defaultDirectory, name, defaults);
    if (path.empty())
        return filehandle_refused(name);
    /* O_NONBLOCK: a named pipe must be refused, not waited for. */
    int descriptor = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    ZFile *file = descriptor < 0 ? nullptr : openRegular(descriptor);
    if (!file)
        return filehandle_refused(path);
    file->body->path = path;
    return filehandle_opened(file);
}

void zfile_protect(const char *defaultDirectory, const char *name, const char *defaults)
{
    int saved = errno;
    std::string path = inputPath(defaultDirectory, name, defaults);
    struct stat info;
    if (!path.empty() && stat(path.c_str(), &info) == 0)
        host().protectedFiles.push_back({info.st_dev, info.st_ino});
    errno = saved;
}

void zfile_unprotectAll()
{
    host().protectedFiles.clear();
}

ZFile *fopenmemory(const void *bytes, size_t count)
{
    if (count >= FILE_INPUT_LIMIT) {
        errno = EFBIG;
        return nullptr;
    }
    ZFile *file = filehandle_new(-1, FileAccess::READ, endInput);
    if (!file)
        return nullptr;
    file->body->size = (uint32_t)count;
    file->window = static_cast<const uint8_t *>(bytes);
    file->windowFill = (uint32_t)count;
    return filehandle_opened(file);
}

ZFile *fopendescriptor(int descriptor)
{
    struct stat info;
    if (fstat(descriptor, &info) != 0)
        return nullptr;
    if (S_ISREG(info.st_mode)) {
        int own = fcntl(descriptor, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
        return own < 0 ? nullptr : filehandle_opened(openRegular(own));
    }
    size_t size;
    std::unique_ptr<uint8_t[]> bytes = readToEnd(descriptor, &size);
    ZFile *file = bytes ? fopenmemory(bytes.get(), size) : nullptr;
    if (file)
        file->body->memory = std::move(bytes);
    return file;
}
