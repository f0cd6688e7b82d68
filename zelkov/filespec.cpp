/*
 * filespec.cpp - file specifications
 *
 * A specification is cut once, into a directory part that keeps its separator and a last
 * component; everything else is asked of these two.
 */
#include "zelkov/filespec.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <sys/stat.h>
#include <unistd.h>

#include "zelkov/host.h"
#include "zelkov/text.h"

namespace {

/* Where the data lies, seen from the executable: of an installed program, of a built one. */
constexpr char DATA_INSTALLED[] = "../share/pdf_to_ps";
constexpr char DATA_BUILT[] = "../data/ps";

constexpr char DATA_LOCATION[] = "KV_DAT_PS:";
constexpr char TEMPORARY_LOCATION[] = "KV_TMP:";

struct Specification {
    std::string directory; /* with its '/' or as a logical location; empty: none */
    std::string component; /* the last one, extension included */

    size_t dot() const { return component.rfind('.'); }
};

Specification cut(const std::string &text)
{
    size_t end = text.rfind('/');
    if (end != std::string::npos)
        return {text.substr(0, end + 1), text.substr(end + 1)};
    for (const char *location : {DATA_LOCATION, TEMPORARY_LOCATION})
        if (text.starts_with(location))
            return {location, text.substr(strlen(location))};
    return {"", text};
}

bool isDirectory(const std::string &path)
{
    struct stat info;
    return stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

std::string executableDirectory()
{
    char path[PATH_MAX];
    ssize_t length = readlink("/proc/self/exe", path, sizeof path);
    if (length <= 0 || (size_t)length >= sizeof path)
        return "";
    return cut(std::string(path, (size_t)length)).directory;
}

/* Replaces a logical location at the front by its directory. */
std::string expand(const std::string &text)
{
    if (text.starts_with(DATA_LOCATION))
        return filespec_dataDirectory() + text.substr(strlen(DATA_LOCATION));
    if (text.starts_with(TEMPORARY_LOCATION)) {
        const std::string &directory = host_privateDirectory();
        return directory.empty() ? "" : directory + text.substr(strlen(TEMPORARY_LOCATION));
    }
    return text;
}

std::string resolve(const char *defaultDirectory, const char *name, const char *defaults,
                    bool addExtension)
{
    if (!*name) {
        errno = ENOENT;
        return "";
    }
    Specification spec = cut(name);
    if (spec.component.empty()) {
        errno = EISDIR;
        return "";
    }
    Specification fallback = cut(defaults);
    if (spec.directory.empty())
        spec.directory = fallback.directory;
    if (spec.directory.empty() && *defaultDirectory) {
        spec.directory = defaultDirectory;
        if (spec.directory.back() != '/' && spec.directory.back() != ':')
            spec.directory += '/';
    }
    if (addExtension && spec.dot() == std::string::npos && fallback.dot() != std::string::npos)
        spec.component += fallback.component.substr(fallback.dot());
    return expand(spec.directory + spec.component);
}

bool breaksName(unsigned char byte)
{
    return isSpaceByte(byte) || byte < ' ' || byte == 0x7F || strchr("<>[]{}/%", byte);
}

} // namespace

std::string filespec_dataDirectory()
{
    if (const std::string &set = host().dataDirectory; !set.empty())
        return set + "/";
    int saved = errno;
    std::string beside = executableDirectory() + DATA_INSTALLED;
    bool installed = isDirectory(beside);
    errno = saved;
    return (installed ? beside : executableDirectory() + DATA_BUILT) + "/";
}

std::string filespec_expand(const char *name)
{
    return expand(name);
}

std::string filespec_resolve(const char *defaultDirectory, const char *name, const char *defaults)
{
    return resolve(defaultDirectory, name, defaults, true);
}

std::string filespec_resolveExact(const char *defaultDirectory, const char *name,
                                  const char *defaults)
{
    return resolve(defaultDirectory, name, defaults, false);
}

int fparse(char *result, const char *specification, const char *defaults, const char *selector)
{
    *result = 0;
    if (cmpstr(selector, "NAM") != 0) {
        errno = EINVAL;
        return -1;
    }
    Specification spec = cut(*specification ? specification : defaults);
    std::string name = spec.component.substr(0, spec.dot());
    name.resize(std::min<size_t>(name.size(), FPARSE_RESULT_BYTES - 1));
    for (char &c : name)
        if (breaksName((unsigned char)c))
            c = '_';
    memcpy(result, name.c_str(), name.size() + 1);
    return 0;
}
