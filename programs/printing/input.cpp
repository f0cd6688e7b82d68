/*
 * input.cpp - keeping what can be read only once, and knowing what is no PDF
 *
 * A PDF may begin with other bytes than its header, so only what is known to be something else, or
 * holds nothing, is refused here; the reader has the last word.
 */
#include "programs/printing/input.h"

#include <cerrno>
#include <cstring>
#include <string_view>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "programs/printing/document.h"
#include "seam/files.h"

namespace {

constexpr size_t HEADER_WITHIN = 1024; /* bytes in which readers look for the header */

/* Other kinds of files by their first bytes. */
struct Kind {
    std::string_view mark, name;
};
constexpr Kind kinds[] = {
    {"\x89PNG\r\n", "a PNG picture"},
    {"\xff\xd8\xff", "a JPEG picture"},
    {"GIF8", "a GIF picture"},
    {std::string_view("II*\0", 4), "a TIFF picture"},
    {std::string_view("MM\0*", 4), "a TIFF picture"},
    {"BM", "a BMP picture"},
    {"RIFF", "a picture or a sound"},
    {"%!PS", "a PostScript program"},
    {"\x04%!PS", "a PostScript program"},
    {std::string_view("\xc5\xd0\xd3\xc6", 4), "a PostScript program"},
    {"\x1b%-12345X", "a print job"},
    {"PK\x03\x04", "an archive, or a document of an office program"},
    {"\xd0\xcf\x11\xe0", "a document of an office program"},
    {"{\\rtf", "a document of an office program"},
    {"\x1f\x8b", "a compressed file"},
    {"BZh", "a compressed file"},
    {"\xfd"
     "7zXZ",
     "a compressed file"},
    {"<!DOCTYPE", "a web page"},
    {"<!doctype", "a web page"},
    {"<html", "a web page"},
    {"<HTML", "a web page"},
};

/* Text has no control characters but those that lay it out. */
bool isText(std::string_view bytes)
{
    for (char c : bytes) {
        bool isLayout = c == '\n' || c == '\r' || c == '\t' || c == '\f';
        if (((uint8_t)c < 32 && !isLayout) || c == 127)
            return false;
    }
    return true;
}

/* What the file is, when it is known to be no PDF; else empty. */
std::string_view otherKind(std::string_view begin)
{
    if (begin.find("%PDF-") != std::string_view::npos)
        return "";
    for (const Kind &kind : kinds)
        if (begin.starts_with(kind.mark))
            return kind.name;
    bool hasObjects = begin.find(" obj") != std::string_view::npos;
    return !hasObjects && isText(begin) ? "text" : "";
}

std::optional<seam::Notice> failure(seam::Message message)
{
    return notice(message, 0, {strerror(errno)});
}

/* Looks at the first bytes of a file. */
std::optional<seam::Notice> checkKind(const std::string &path)
{
    int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0)
        return failure(seam::Message::InputUnreadable);
    char bytes[HEADER_WITHIN];
    ssize_t got = read(file, bytes, sizeof bytes);
    int reason = errno;
    close(file);
    errno = reason;
    if (got < 0)
        return failure(seam::Message::InputUnreadable);
    if (got == 0)
        return notice(seam::Message::InputEmpty, 0);
    std::string_view kind = otherKind({bytes, (size_t)got});
    if (!kind.empty())
        return notice(seam::Message::InputOther, 0, {kind});
    return std::nullopt;
}

/* Names of this process's descriptors mean others in the processes that it starts. */
bool isOwnDescriptor(std::string_view path)
{
    return path == "/dev/stdin" || path.starts_with("/dev/fd/") ||
           path.starts_with("/proc/self/fd/");
}

bool keepFrom(const std::string &source, const std::string &path)
{
    if (source == "-")
        return keepInput(STDIN_FILENO, path);
    int file = open(source.c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0)
        return false;
    bool good = keepInput(file, path);
    int reason = errno;
    close(file);
    errno = reason;
    return good;
}

} // namespace

std::optional<seam::Notice> openInput(std::string *input)
{
    struct stat info = {};
    bool isStandardInput = *input == "-";
    if (!isStandardInput && stat(input->c_str(), &info) != 0)
        return failure(seam::Message::InputUnreadable);
    if (S_ISDIR(info.st_mode)) {
        errno = EISDIR;
        return failure(seam::Message::InputUnreadable);
    }
    if (isStandardInput || !S_ISREG(info.st_mode) || isOwnDescriptor(*input)) {
        std::string kept = privateFile("input.pdf");
        if (kept.empty() || !keepFrom(*input, kept))
            return failure(seam::Message::InputNotKept);
        *input = kept;
    }
    return checkKind(*input);
}

bool keepInput(int descriptor, const std::string &path)
{
    int file = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (file < 0)
        return false;
    bool good = true;
    char buffer[64 * 1024];
    for (ssize_t got; good && (got = read(descriptor, buffer, sizeof buffer)) != 0;) {
        if (got < 0 && errno == EINTR)
            continue;
        good = got > 0 && seam::writeWhole(file, buffer, (size_t)got) == 0;
    }
    int reason = errno;
    good = close(file) == 0 && good;
    errno = reason;
    return good;
}
