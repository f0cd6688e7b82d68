/*
 * fileoutput.cpp - outputs: a file that appears when it is whole, a pipe, a sink
 *
 * The bytes of a file go into a hidden one beside it that is renamed into place at the end.  So
 * nobody sees half a file, and an older one under the name stays whatever fails.
 */
#include "zelkov/file.h"

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include "zelkov/cleanup.h"
#include "zelkov/filehandle.h"
#include "zelkov/filespec.h"
#include "zelkov/host.h"

namespace {

int endDirect(ZFileBody *, bool)
{
    return 0;
}

/* Renames the hidden file into place, or removes it. */
int endHidden(ZFileBody *body, bool keep)
{
    if (keep) {
        /* Closing can be what tells that a network disk is full. */
        int copy = dup(body->descriptor);
        if ((copy >= 0 && close(copy) != 0) ||
            rename(body->temporary.c_str(), body->path.c_str()) != 0)
            return -1;
    } else {
        unlink(body->temporary.c_str());
    }
    cleanup_forget(body->temporary);
    return 0;
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
    if (*found && fstat(descriptor, &info) == 0 && filehandle_isInput(info.st_dev, info.st_ino)) {
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

/* A name beside `path` that is nobody else's. */
std::string hiddenName(const std::string &path)
{
    constexpr size_t MOST_KEPT = 200; /* together with the rest it must stay a legal file name */
    size_t slash = path.rfind('/');
    size_t name = slash == std::string::npos ? 0 : slash + 1;
    return path.substr(0, name) + "." + path.substr(name, MOST_KEPT) + "." + host_randomName();
}

/* Creates the temporary file beside `path`; the mode is the one that the destination has, or
 * that a new file gets. */
int openHidden(const std::string &path, std::string *temporary)
{
    struct stat info;
    bool older = stat(path.c_str(), &info) == 0;
    if (older && S_ISDIR(info.st_mode)) {
        errno = EISDIR;
        return -1;
    }
    if (older && filehandle_isInput(info.st_dev, info.st_ino)) {
        errno = EEXIST;
        return -1;
    }
    /* What runs as somebody else must not get another content. */
    mode_t mode = older ? info.st_mode & 0777 : 0666;
    *temporary = hiddenName(path);
    cleanup_add(*temporary); /* before it is there: a signal must not fall between the two */
    int descriptor = open(temporary->c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, mode);
    if (descriptor < 0)
        cleanup_forget(*temporary);
    else if (older)
        fchmod(descriptor, mode);
    return descriptor;
}

} // namespace

ZFile *fopenw(const char *defaultDirectory, const char *name, const char *defaults, int)
{
    std::string path = filespec_resolveExact(defaultDirectory, name, defaults);
    if (path.empty())
        return filehandle_refused(name);

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
    ZFile *file = descriptor < 0 ? nullptr
                                 : filehandle_new(descriptor, FileAccess::WRITE,
                                                  direct ? endDirect : endHidden);
    if (!file) {
        int cause = errno;
        if (descriptor >= 0 && !temporary.empty()) {
            unlink(temporary.c_str());
            cleanup_forget(temporary);
        }
        errno = cause;
        return filehandle_refused(path);
    }
    file->body->inSequence = direct;
    file->body->temporary = temporary;
    file->body->path = path;
    return filehandle_opened(file);
}

ZFile *fopensink(ZFileSink sink)
{
    ZFile *file = filehandle_new(-1, FileAccess::WRITE, endDirect);
    if (file) {
        file->body->inSequence = true;
        file->body->sink = sink;
    }
    return filehandle_opened(file);
}
