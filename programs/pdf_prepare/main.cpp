/*
 * main.cpp - the command pdf_prepare: options, limits, one document, an exit status
 *
 * The work is done in a child process with limits on memory, time and output, because what a
 * document asks for is not known beforehand.  When the child ends by one of them, or by a fault of
 * a library, the parent says so and no output is left.
 */
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>
#include <string>

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/random.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "prepare/document/program.h"
#include "prepare/paint/region.h"
#include "prepare/prepare.h"
#include "seam/options.h"

namespace {

using namespace prepare;

enum Status {
    STATUS_DONE = 0,
    STATUS_FAILED = 1,
    STATUS_USAGE = 2,
    STATUS_NEEDED = 3,
    STATUS_UNNEEDED = 4
};

constexpr seam::Program PROGRAM = seam::PREPARE;

struct Arguments {
    Options options;
    bool probe = false;
    bool ifNeeded = false;
    std::string in, out;
    std::string pageMap; /* a file for the page map; empty: none is wanted */
};

std::string readPassword(const char *path)
{
    std::ifstream file(path);
    std::string line;
    if (!file || !std::getline(file, line)) {
        fprintf(stderr, "%s: %s\n", path, errno ? strerror(errno) : "No password in it");
        exit(STATUS_FAILED);
    }
    if (!line.empty() && line.back() == '\r')
        line.pop_back();
    return line;
}

bool readOption(seam::Option option, const char *value, Arguments *arguments)
{
    using seam::Option;
    constexpr Annotations kinds[] = {Annotations::PRINT, Annotations::SCREEN, Annotations::NONE};
    Options &options = arguments->options;
    if (seam::choosePagesBy(PROGRAM, option, value, &options.pages))
        return true;
    switch (option) {
    case Option::ANNOTATIONS:
        options.annotations =
            kinds[seam::readWord(PROGRAM, option, value, "What is printed of annotations")];
        return true;
    case Option::RESOLUTION:
        options.resolution =
            (int)seam::readNumber(PROGRAM, value, "The resolution", MIN_RESOLUTION, MAX_RESOLUTION);
        return true;
    case Option::LEVEL:
        options.level = (int)seam::readNumber(PROGRAM, value, "The level", 2, 3);
        return true;
    case Option::PASSWORD_FILE:
        options.password = readPassword(value);
        return true;
    case Option::IF_NEEDED:
        arguments->ifNeeded = true;
        return true;
    case Option::PAGE_MAP:
        arguments->pageMap = value;
        return true;
    case Option::PROBE:
        arguments->probe = true;
        return true;
    default:
        return false;
    }
}

/* A file that is called "-" is no standard stream here. */
std::string exact(const std::string &name)
{
    return name == "-" ? "./-" : name;
}

Arguments readArguments(int argc, char **argv)
{
    Arguments arguments;
    seam::CommandLine line =
        seam::readCommandLine(PROGRAM, argc, argv, [&](seam::Option option, const char *value) {
            return readOption(option, value, &arguments);
        });
    if (line.operands.size() != (arguments.probe ? 1 : 2))
        seam::misuse(PROGRAM, arguments.probe ? "One file is wanted." : "Two files are wanted.");
    arguments.in = exact(line.operands[0]);
    line.inputs.push_back(arguments.in);
    if (!arguments.probe) {
        arguments.out = exact(line.operands[1]);
        line.outputs.push_back(arguments.out);
    }
    seam::refuseOverwriting(PROGRAM, line);
    return arguments;
}

void limit(int resource, rlim_t value)
{
    rlimit now;
    if (getrlimit(resource, &now) != 0)
        return;
    if (now.rlim_max != RLIM_INFINITY && now.rlim_max < value)
        value = now.rlim_max;
    rlimit wanted = {value, now.rlim_max};
    setrlimit(resource, &wanted);
}

void setLimits(rlim_t inputBytes)
{
    constexpr rlim_t MEGABYTE = 1 << 20;
    limit(RLIMIT_CPU, 60 + 2 * inputBytes / MEGABYTE);
    limit(RLIMIT_FSIZE, 16 * inputBytes + 256 * MEGABYTE);
    limit(RLIMIT_CORE, 0);
#if !defined(__SANITIZE_ADDRESS__) /* which reserves more than that for itself */
    limit(RLIMIT_AS, 2048 * MEGABYTE);
#endif
    signal(SIGXFSZ, SIG_IGN); /* then the write fails, and says so */
}

void print(const std::vector<Notice> &notices)
{
    for (const Notice &notice : notices) {
        std::string text = notice.text;
        for (char &c : text)
            if ((unsigned char)c < 32 || (unsigned char)c == 127)
                c = '?'; /* what comes from the document does not drive the terminal */
        if (notice.page > 0)
            text = "Page " + std::to_string(notice.page) + ": " + text;
        fprintf(stderr, "PREPARE-W-%s: %s\n", notice.key.c_str(), text.c_str());
    }
}

/* What is in the output already stays in front: it may be a file that others write to, too. */
bool copyFile(const std::string &in, const std::string &out)
{
    std::ifstream from(in, std::ios::binary);
    std::ofstream to(out, std::ios::binary | std::ios::app);
    to << from.rdbuf();
    to.close();
    return from.good() && to.good();
}

int work(const Arguments &arguments, const std::string &temporary)
{
    std::vector<Notice> notices;
    std::vector<int> pageMap;
    Outcome outcome = Outcome::REFUSED;
    try {
        outcome = arguments.probe
                      ? probeFile(arguments.in, arguments.options, &notices)
                      : prepareFile(arguments.in, temporary, arguments.options, &notices, &pageMap);
    } catch (const std::bad_alloc &) {
        notices.push_back({"LIMIT", 0, "The document needs too much memory."});
    }
    if (arguments.probe) {
        if (outcome == Outcome::REFUSED)
            print(notices);
        return outcome == Outcome::REFUSED     ? STATUS_FAILED
               : outcome == Outcome::REWRITTEN ? STATUS_NEEDED
                                               : STATUS_DONE;
    }
    print(notices);
    if (outcome == Outcome::REFUSED)
        return STATUS_FAILED;
    if (!arguments.pageMap.empty() && !seam::writePageMapFile(arguments.pageMap, pageMap)) {
        fprintf(stderr, "%s: %s\n", arguments.pageMap.c_str(), strerror(errno));
        return STATUS_FAILED;
    }
    if (outcome == Outcome::UNCHANGED && arguments.ifNeeded)
        return STATUS_UNNEEDED;
    if (outcome == Outcome::UNCHANGED && !copyFile(arguments.in, temporary)) {
        fprintf(stderr, "%s: %s\n", arguments.out.c_str(), strerror(errno));
        return STATUS_FAILED;
    }
    return STATUS_DONE;
}

/* ---- ended by a signal: the child goes too, and the temporary files */

volatile pid_t worker;
char temporaryPath[PATH_MAX], scratchPath[PATH_MAX];

extern "C" void endAll(int number)
{
    if (worker > 0)
        kill(worker, SIGKILL);
    unlink(temporaryPath);
    removeScratch(scratchPath);
    signal(number, SIG_DFL);
    raise(number);
}

void removeWhenEnded(const std::string &path, const std::string &scratch)
{
    snprintf(temporaryPath, sizeof temporaryPath, "%s", path.c_str());
    snprintf(scratchPath, sizeof scratchPath, "%s", scratch.c_str());
    for (int number : {SIGINT, SIGTERM, SIGHUP, SIGQUIT})
        if (signal(number, endAll) == SIG_IGN)
            signal(number, SIG_IGN);
}

/* Runs the work in a child; answers its status, 1 when it did not end by itself. */
int supervise(const Arguments &arguments, const std::string &temporary, rlim_t inputBytes)
{
    pid_t child = fork();
    if (child == 0) {
        for (int number : {SIGINT, SIGTERM, SIGHUP, SIGQUIT})
            signal(number, SIG_DFL);
        prctl(PR_SET_PDEATHSIG, SIGKILL); /* whatever ends the parent */
        setLimits(inputBytes);
        int status = work(arguments, temporary);
        fflush(stderr);
        _exit(status);
    }
    worker = child;
    int status = 0;
    if (child < 0 || waitpid(child, &status, 0) != child) {
        perror("pdf_prepare");
        return STATUS_FAILED;
    }
    worker = 0;
    removeScratch(scratchPath); /* a child that was stopped could not */
    if (WIFEXITED(status))
        return WEXITSTATUS(status);
    bool isTime = WTERMSIG(status) == SIGXCPU || WTERMSIG(status) == SIGKILL;
    fprintf(stderr, "PREPARE-W-LIMIT: %s\n",
            isTime ? "The document takes too much time." : "The document cannot be prepared.");
    return STATUS_FAILED;
}

/* A name that nobody can guess; empty, with errno set, when there is none to be had. */
std::string newName(const std::string &prefix)
{
    uint64_t bits = 0;
    if (getrandom(&bits, sizeof bits, 0) != (ssize_t)sizeof bits)
        return "";
    char suffix[17];
    snprintf(suffix, sizeof suffix, "%016llx", (unsigned long long)bits);
    return prefix + suffix;
}

/* Makes an empty file under such a name; empty, with errno set, when that cannot be.  The mode is
 * that of any new file. */
std::string newFile(const std::string &prefix)
{
    std::string name = newName(prefix);
    if (name.empty())
        return "";
    int file = open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (file < 0)
        return "";
    close(file);
    return name;
}

/* The prefix of the hidden file beside the output that becomes it. */
std::string hiddenPrefix(const std::string &out)
{
    size_t slash = out.rfind('/');
    size_t base = slash == std::string::npos ? 0 : slash + 1;
    return out.substr(0, base) + "." + out.substr(base, 200) + ".";
}

/* A name for a descriptor, such as /dev/stdout, or something that is no regular file. */
bool isSpecial(const std::string &path)
{
    struct stat info;
    return path.starts_with("/dev/") || path.starts_with("/proc/") ||
           (stat(path.c_str(), &info) == 0 && !S_ISREG(info.st_mode));
}

/* The file that a symbolic link leads to; else the name as it is. */
std::string behindLinks(const std::string &path)
{
    struct stat info;
    if (isSpecial(path) || lstat(path.c_str(), &info) != 0 || !S_ISLNK(info.st_mode))
        return path;
    std::unique_ptr<char, decltype(&free)> real(realpath(path.c_str(), nullptr), free);
    return real ? real.get() : path;
}

/* Hands the finished file on to a pipe or device, or puts it in its place. */
bool place(const std::string &temporary, const std::string &out)
{
    if (!isSpecial(out))
        return rename(temporary.c_str(), out.c_str()) == 0;
    bool good = copyFile(temporary, out);
    unlink(temporary.c_str());
    return good;
}

std::string scratchPrefix()
{
    const char *directory = getenv("TMPDIR");
    return std::string(directory && *directory ? directory : "/tmp") + "/pdf_prepare.";
}

} // namespace

int main(int argc, char **argv)
{
    Arguments arguments = readArguments(argc, argv);
    struct stat info;
    if (stat(arguments.in.c_str(), &info) != 0 || S_ISDIR(info.st_mode)) {
        fprintf(stderr, "%s: %s\n", arguments.in.c_str(), strerror(errno ? errno : EISDIR));
        return STATUS_FAILED;
    }
    std::string temporary;
    if (!arguments.probe) {
        arguments.out = behindLinks(arguments.out);
        bool isPipe = isSpecial(arguments.out);
        temporary = newFile(isPipe ? scratchPrefix() : hiddenPrefix(arguments.out));
        if (temporary.empty()) {
            fprintf(stderr, "%s: %s\n", arguments.out.c_str(), strerror(errno));
            return STATUS_FAILED;
        }
        arguments.options.scratch = newName(scratchPrefix());
        removeWhenEnded(temporary, arguments.options.scratch);
    }
    int status = supervise(arguments, temporary, (rlim_t)info.st_size);
    if (arguments.probe)
        return status;
    if (status == STATUS_DONE && !place(temporary, arguments.out)) {
        fprintf(stderr, "%s: %s\n", arguments.out.c_str(), strerror(errno));
        status = STATUS_FAILED;
    }
    if (status != STATUS_DONE)
        unlink(temporary.c_str());
    return status;
}
