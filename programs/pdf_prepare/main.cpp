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
#include <string>

#include <fcntl.h>
#include <getopt.h>
#include <sys/prctl.h>
#include <sys/random.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "prepare/document/program.h"
#include "prepare/paint/region.h"
#include "prepare/prepare.h"
#include "seam/files.h"

namespace {

using namespace prepare;

enum Status {
    STATUS_DONE = 0,
    STATUS_FAILED = 1,
    STATUS_USAGE = 2,
    STATUS_NEEDED = 3,
    STATUS_UNNEEDED = 4
};

constexpr char HELP[] =
    "Usage: pdf_prepare [options] IN.pdf OUT.pdf\n"
    "       pdf_prepare --probe [options] IN.pdf\n"
    "Turns any PDF into a plain one that pdf_to_ps converts.\n"
    "\n"
    "  --pages=LIST            only these pages, such as 2-5,9,12-\n"
    "  --annotations=WHICH     print (default), screen or none\n"
    "  --level=N               of the printer's language: 3 (default), or 2: no Flate, Type 1 "
    "fonts\n"
    "  --resolution=N          pixels per inch of what can only be drawn: 300, or 36 to 2400\n"
    "  --password-file=FILE    the document's password is the first line of FILE\n"
    "  --if-needed             write nothing, status 4, when there is nothing to do\n"
    "  --probe                 only say whether there is something to do: status 3; 0 if not\n"
    "  --help, --version\n"
    "\n"
    "Status: 0 done, 1 not done (no output), 2 wrong use, 3 with --probe only, 4 with\n"
    "--if-needed only.\n";

struct Arguments {
    Options options;
    bool probe = false;
    bool ifNeeded = false;
    std::string in, out;
    std::string password; /* the file it stands in */
    std::string pageMap;  /* a file for the page map; empty: none is wanted */
};

[[noreturn]] void misuse(const std::string &text)
{
    fprintf(stderr, "pdf_prepare: %s\nTry 'pdf_prepare --help'.\n", text.c_str());
    exit(STATUS_USAGE);
}

seam::PageRanges readPages(const char *list)
{
    seam::PageRanges pages;
    std::string fault;
    if (!seam::readPageRanges(list, &pages, &fault))
        misuse(fault);
    return pages;
}

Annotations readAnnotations(const std::string &which)
{
    if (which == "print")
        return Annotations::PRINT;
    if (which == "screen")
        return Annotations::SCREEN;
    if (which == "none")
        return Annotations::NONE;
    misuse("Not print, screen or none: " + which);
}

int readResolution(const std::string &text)
{
    bool isNumber = !text.empty() && text.size() <= 4 &&
                    text.find_first_not_of("0123456789") == std::string::npos;
    int resolution = isNumber ? std::stoi(text) : 0;
    if (resolution < MIN_RESOLUTION || resolution > MAX_RESOLUTION)
        misuse("Not a resolution of 36 to 2400 pixels per inch: " + text);
    return resolution;
}

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

void readOption(int option, Arguments *arguments)
{
    switch (option) {
    case 'p':
        arguments->options.pages = readPages(optarg);
        return;
    case 'a':
        arguments->options.annotations = readAnnotations(optarg);
        return;
    case 'r':
        arguments->options.resolution = readResolution(optarg);
        return;
    case 'l':
        if (strcmp(optarg, "2") != 0 && strcmp(optarg, "3") != 0)
            misuse("The level is 2 or 3, not: " + std::string(optarg));
        arguments->options.level = *optarg - '0';
        return;
    case 'w':
        arguments->password = optarg;
        arguments->options.password = readPassword(optarg);
        return;
    case 'n':
        arguments->ifNeeded = true;
        return;
    case 'm':
        arguments->pageMap = optarg;
        return;
    case 'q':
        arguments->probe = true;
        return;
    case 'h':
        fputs(HELP, stdout);
        exit(STATUS_DONE);
    case 'v':
        puts("pdf_prepare " PDF_PREPARE_VERSION);
        exit(STATUS_DONE);
    default:
        fputs("Try 'pdf_prepare --help'.\n", stderr);
        exit(STATUS_USAGE);
    }
}

/* A file that is called "-" is no standard stream here. */
std::string exact(const std::string &name)
{
    return name == "-" ? "./-" : name;
}

Arguments readArguments(int argc, char **argv)
{
    static const option options[] = {
        {"pages", required_argument, nullptr, 'p'},
        {"annotations", required_argument, nullptr, 'a'},
        {"resolution", required_argument, nullptr, 'r'},
        {"level", required_argument, nullptr, 'l'},
        {"password-file", required_argument, nullptr, 'w'},
        {"page-map", required_argument, nullptr, 'm'},
        {"probe", no_argument, nullptr, 'q'},
        {"if-needed", no_argument, nullptr, 'n'},
        {"help", no_argument, nullptr, 'h'},
        {"version", no_argument, nullptr, 'v'},
        {nullptr, 0, nullptr, 0},
    };
    Arguments arguments;
    for (int option; (option = getopt_long(argc, argv, "", options, nullptr)) != -1;)
        readOption(option, &arguments);
    if (argc - optind != (arguments.probe ? 1 : 2))
        misuse(arguments.probe ? "One file is wanted." : "Two files are wanted.");
    arguments.in = argv[optind];
    if (!arguments.probe)
        arguments.out = argv[optind + 1];
    std::string fault = seam::overwriteFault({exact(arguments.in), exact(arguments.password)},
                                             {exact(arguments.out), exact(arguments.pageMap)});
    if (!fault.empty())
        misuse(fault);
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

bool copyFile(const std::string &in, const std::string &out)
{
    std::ifstream from(in, std::ios::binary);
    std::ofstream to(out, std::ios::binary);
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

bool isSpecial(const std::string &path)
{
    struct stat info;
    return stat(path.c_str(), &info) == 0 && !S_ISREG(info.st_mode);
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
