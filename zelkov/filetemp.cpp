/*
 * filetemp.cpp - temporary files: written, read back, gone when they are closed
 */
#include "zelkov/file.h"

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

#include "zelkov/cleanup.h"
#include "zelkov/filehandle.h"
#include "zelkov/filespec.h"

namespace {

int endTemporary(ZFileBody *body, bool)
{
    int saved = errno;
    unlink(body->path.c_str());
    cleanup_forget(body->path);
    errno = saved;
    return 0;
}

} // namespace

ZFile *fopent(const char *defaultDirectory, const char *name, const char *defaults, int)
{
    std::string path = filespec_resolve(defaultDirectory, name, defaults);
    if (path.empty())
        return filehandle_refused(name);
    cleanup_add(path); /* before it is there: a signal must not fall between the two */
    int descriptor = open(path.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC, 0600);
    ZFile *file =
        descriptor < 0 ? nullptr : filehandle_new(descriptor, FileAccess::READ_WRITE, endTemporary);
    if (!file) {
        cleanup_forget(path);
        return filehandle_refused(path);
    }
    file->body->path = path;
    return filehandle_opened(file);
}
