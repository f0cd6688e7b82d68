/*
 * files.cpp - files by what they are, not by their names
 */
#include "seam/files.h"

#include <cerrno>

#include <sys/stat.h>
#include <unistd.h>

namespace seam {

namespace {

bool look(const std::string &name, int standardStream, struct stat *info)
{
    return name == "-" ? fstat(standardStream, info) == 0 : stat(name.c_str(), info) == 0;
}

} // namespace

int writeWhole(int descriptor, const void *bytes, size_t count)
{
    const char *from = static_cast<const char *>(bytes);
    while (count > 0) {
        ssize_t done = write(descriptor, from, count);
        if (done < 0 && errno != EINTR)
            return errno;
        if (done > 0) {
            from += done;
            count -= (size_t)done;
        }
    }
    return 0;
}

bool isSameFile(const std::string &input, const std::string &output)
{
    struct stat in, out;
    return look(input, STDIN_FILENO, &in) && look(output, STDOUT_FILENO, &out) &&
           S_ISREG(in.st_mode) && in.st_dev == out.st_dev && in.st_ino == out.st_ino;
}

std::string overwriteFault(const std::vector<std::string> &inputs,
                           const std::vector<std::string> &outputs)
{
    for (const std::string &output : outputs)
        for (const std::string &input : inputs)
            if (!input.empty() && !output.empty() && isSameFile(input, output))
                return "The output would overwrite what is read: " +
                       (output == "-" ? "standard output" : output) + " is " +
                       (input == "-" ? "standard input" : input) + ".";
    return "";
}

} // namespace seam
