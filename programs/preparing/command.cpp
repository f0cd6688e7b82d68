/*
 * command.cpp - the command pdf_prepare: options, limits, one document, an exit status
 *
 * The work is done in a child process with limits on memory, time and output, because what a
 * document asks for is not known beforehand.  When the child ends by one of them, or by a fault of
 * a library, the parent says so and no output is left.
 *
 * Status 1 always has an error on standard error: whoever answers it has called `fail`, and the
 * child's own one counts only when it comes as STATUS_TOLD.
 */
#include "programs/preparing/command.h"

#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>
#include <optional>
#include <string>

#include <fcntl.h>
#include <sys/mman.h>
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
#include "seam/messages.h"

namespace {

using namespace prepare;

using seam::Message;

enum Status {
    STATUS_DONE = 0, /* with whatever the letters of the messages tell */
    STATUS_FAILED = 1,
    STATUS_USAGE = 2,
    STATUS_NEEDED = 3,
    STATUS_UNNEEDED = 4,
    STATUS_TOLD = 81 /* of the child alone: not done, and its messages have an error */
};

constexpr seam::Program PROGRAM = seam::PREPARE;
constexpr rlim_t MEGABYTE = 1 << 20;
constexpr int MOST_SECONDS = 24 * 60 * 60;
constexpr double PROGRAM_SHARE = 0.6; /* of the time, in which other programs are called */

struct Arguments {
    Options options;
    bool probe = false;
    bool ifNeeded = false;
    std::string in, out;
    std::string pageMap; /* a file for the page map; empty: none is wanted */
    std::optional<std::string> passwordFile;
    int mostSeconds = 0; /* by the clock; 0: as the size of the document allows */
};

/* Says why nothing is made; answers the status of that. */
int fail(Message message, std::initializer_list<std::string_view> values = {})
{
    fprintf(stderr, "%s\n", lineOf(seam::notice(message, 0, values)).c_str());
    return STATUS_FAILED;
}

/* The first line of the file for the password, if there is one; else tells why not. */
std::optional<seam::Notice> readPassword(const std::optional<std::string> &path,
                                         std::string *password)
{
    if (!path)
        return std::nullopt;
    errno = 0;
    std::ifstream file(*path);
    std::string line;
    if (!file || !std::getline(file, line)) {
        const char *reason = errno ? strerror(errno) : "there is none in it";
        return seam::notice(Message::PasswordUnreadable, 0, {*path, reason});
    }
    if (!line.empty() && line.back() == '\r')
        line.pop_back();
    *password = line;
    return std::nullopt;
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
    case Option::BOX:
        options.box = (PageBox)seam::readWord(PROGRAM, option, value, "The box");
        return true;
    case Option::RESOLUTION:
        options.resolution =
            (int)seam::readNumber(PROGRAM, value, "The resolution", MIN_RESOLUTION, MAX_RESOLUTION);
        return true;
    case Option::LEVEL:
        options.level = (int)seam::readNumber(PROGRAM, value, "The level", 2, 3);
        return true;
    case Option::PASSWORD_FILE:
        arguments->passwordFile = value;
        return true;
    case Option::MAX_TIME:
        arguments->mostSeconds = (int)seam::readNumber(PROGRAM, value, "The time", 1, MOST_SECONDS);
        return true;
    case Option::IF_NEEDED:
        arguments->ifNeeded = true;
        return true;
    case Option::REWRITE:
        options.rewrites = true;
        return true;
    case Option::CANONICAL:
        options.isCanonical = true;
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

/* What a document may take by the clock, if nobody says. */
int secondsFor(rlim_t inputBytes)
{
    return (int)std::min<rlim_t>(60 + 2 * inputBytes / MEGABYTE, MOST_SECONDS);
}

void setLimits(rlim_t inputBytes, int seconds)
{
    limit(RLIMIT_CPU, (rlim_t)seconds);
    limit(RLIMIT_FSIZE, 16 * inputBytes + 256 * MEGABYTE);
    limit(RLIMIT_CORE, 0);
#if !defined(__SANITIZE_ADDRESS__) /* which reserves more than that for itself */
    limit(RLIMIT_AS, 2048 * MEGABYTE);
#endif
    signal(SIGXFSZ, SIG_IGN); /* then the write fails, and says so */
}

/* Where the child writes its messages: what libraries write on standard error by themselves is
 * none, and would be taken for one that is not understood. */
FILE *messageFile()
{
#if defined(__SANITIZE_ADDRESS__)
    return stderr; /* which is the sanitizers', too */
#else
    int kept = fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    FILE *file = kept < 0 ? nullptr : fdopen(kept, "w");
    int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (!file || nowhere < 0)
        return stderr;
    dup2(nowhere, STDERR_FILENO);
    close(nowhere);
    return file;
#endif
}

void print(FILE *file, const seam::Notices &notices)
{
    for (const std::string &line : linesOf(notices))
        fprintf(file, "%s\n", line.c_str());
    fflush(file);
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

/* The child's work; what is to be told of it is among the notices. */
Status work(Arguments arguments, const std::string &temporary, seam::Notices *notices)
{
    std::vector<int> pageMap;
    arguments.options.endsProcess = true;
    if (auto fault = readPassword(arguments.passwordFile, &arguments.options.password)) {
        notices->add(*fault);
        return STATUS_FAILED;
    }
    Outcome outcome = Outcome::REFUSED;
    try {
        outcome = arguments.probe
                      ? probeFile(arguments.in, arguments.options, notices)
                      : prepareFile(arguments.in, temporary, arguments.options, notices, &pageMap);
    } catch (const std::bad_alloc &) {
        notices->add(seam::notice(Message::TooLarge, 0));
    }
    if (outcome == Outcome::REFUSED)
        return STATUS_FAILED;
    if (arguments.probe) {
        *notices = {};
        return outcome == Outcome::REWRITTEN ? STATUS_NEEDED : STATUS_DONE;
    }
    if (!arguments.pageMap.empty() && !seam::writePageMapFile(arguments.pageMap, pageMap)) {
        notices->add(seam::notice(Message::OutputFailed, 0, {strerror(errno)}));
        return STATUS_FAILED;
    }
    if (outcome == Outcome::REWRITTEN)
        return STATUS_DONE;
    if (arguments.ifNeeded)
        return STATUS_UNNEEDED;
    if (copyFile(arguments.in, temporary))
        return STATUS_DONE;
    notices->add(seam::notice(Message::OutputFailed, 0, {strerror(errno)}));
    return STATUS_FAILED;
}

/* Tells what there is to tell; a failure has an error among it. */
int workAndTell(const Arguments &arguments, const std::string &temporary)
{
    FILE *file = messageFile();
    seam::Notices notices;
    int status = work(arguments, temporary, &notices);
    if (status == STATUS_FAILED) {
        if (!notices.hasAny(seam::Severity::ERROR))
            notices.add(seam::notice(Message::Unexplained, 0, {"the preparation"}));
        status = STATUS_TOLD;
    }
    print(file, notices);
    return status;
}

/* ---- ended by a signal: the child goes too, and the temporary files */

volatile pid_t worker;
volatile int *calledGroup; /* written by the child, which is killed and cannot end it */

/* Ends the program that the child has called, with all that it has started. */
void endCalled()
{
    if (calledGroup && *calledGroup > 0)
        kill(-*calledGroup, SIGKILL);
}

/* A number that the child shares with this process; null where there is no room. */
volatile int *newSharedNumber()
{
    void *page =
        mmap(nullptr, sizeof(int), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    return page == MAP_FAILED ? nullptr : static_cast<volatile int *>(page);
}
char temporaryPath[PATH_MAX], scratchPath[PATH_MAX];

extern "C" void endAll(int number)
{
    if (worker > 0)
        kill(worker, SIGKILL);
    endCalled();
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

/* Why a child with this status, which is 128 and more for a signal, has not done its work; nothing:
 * it has, or has told it. */
std::optional<seam::Notice> faultOf(int status)
{
    constexpr int SIGNALS = 128;
    if (status == STATUS_DONE || status == STATUS_NEEDED || status == STATUS_UNNEEDED ||
        status == STATUS_TOLD)
        return std::nullopt;
    if (status == SIGNALS + SIGXCPU || status == SIGNALS + SIGKILL)
        return seam::notice(Message::TooSlow, 0, {});
    std::string what = status < SIGNALS ? "status " + std::to_string(status)
                                        : "signal " + std::to_string(status - SIGNALS);
    return seam::notice(Message::NotPrepared, 0, {what + "."});
}

/* What it means that the child has ended so; only a status that it gives by itself is taken. */
int statusOf(int ended)
{
    int status = WIFEXITED(ended) ? WEXITSTATUS(ended) : 128 + WTERMSIG(ended);
    if (std::optional<seam::Notice> fault = faultOf(status)) {
        fprintf(stderr, "%s\n", lineOf(*fault).c_str());
        return STATUS_FAILED;
    }
    return status == STATUS_TOLD ? STATUS_FAILED : status;
}

/* Runs the work in a child; answers its status, 1 when it did not end by itself. */
int supervise(const Arguments &arguments, const std::string &temporary, rlim_t inputBytes)
{
    Clock::time_point deadline = Clock::now() + std::chrono::seconds(arguments.mostSeconds);
    pid_t child = fork();
    if (child == 0) {
        for (int number : {SIGINT, SIGTERM, SIGHUP, SIGQUIT})
            signal(number, SIG_DFL);
        prctl(PR_SET_PDEATHSIG, SIGKILL); /* whatever ends the parent */
        setLimits(inputBytes, arguments.mostSeconds);
        _exit(workAndTell(arguments, temporary));
    }
    worker = child;
    int status = 0;
    bool isInTime = child < 0 || endsBefore(child, deadline);
    if (!isInTime)
        kill(child, SIGKILL);
    if (child < 0 || waitpid(child, &status, 0) != child)
        return fail(Message::PreparationNotStarted, {strerror(errno)});
    worker = 0;
    endCalled();
    removeScratch(scratchPath); /* a child that was stopped could not */
    return statusOf(status);
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

/* Where programs that are called have their files, and how long they may take. */
void beginPreparation(Arguments *arguments, rlim_t inputBytes)
{
    arguments->options.scratch = newName(scratchPrefix());
    arguments->options.calledGroup = calledGroup = newSharedNumber();
    if (arguments->mostSeconds == 0)
        arguments->mostSeconds = secondsFor(inputBytes);
    arguments->options.programSeconds = PROGRAM_SHARE * arguments->mostSeconds;
}

/* A run within another program, which has forked for it. */
struct ForkedPreparation : OwnPreparation {
    explicit ForkedPreparation(Arguments given) : arguments(std::move(given))
    {
        struct stat info = {};
        if (stat(arguments.in.c_str(), &info) != 0)
            info.st_size = 0; /* opening it will tell */
        inputBytes = (rlim_t)info.st_size;
        beginPreparation(&arguments, inputBytes);
        deadline = Clock::now() + std::chrono::seconds(arguments.mostSeconds);
    }
    ~ForkedPreparation() override
    {
        endCalled();
        removeScratch(arguments.options.scratch.c_str());
    }

    int work() override
    {
        removeWhenEnded(arguments.out, arguments.options.scratch);
        setLimits(inputBytes, arguments.mostSeconds);
        return workAndTell(arguments, arguments.out);
    }

    int conclude(int status, const std::function<void(const seam::Notice &)> &hear) override
    {
        std::optional<seam::Notice> fault = faultOf(status);
        if (fault)
            hear(*fault);
        return fault || status == STATUS_TOLD ? STATUS_FAILED : status;
    }

    Arguments arguments;
    rlim_t inputBytes;
};

} // namespace

std::unique_ptr<OwnPreparation> makePreparation(std::vector<std::string> words)
{
    std::vector<char *> pointers;
    for (std::string &word : words)
        pointers.push_back(word.data());
    pointers.push_back(nullptr);
    return std::make_unique<ForkedPreparation>(readArguments((int)words.size(), pointers.data()));
}

int prepareCommand(int argc, char **argv)
{
    Arguments arguments = readArguments(argc, argv);
    struct stat info;
    errno = 0;
    if (stat(arguments.in.c_str(), &info) != 0 || S_ISDIR(info.st_mode))
        return fail(Message::InputUnreadable, {strerror(errno ? errno : EISDIR)});
    std::string temporary;
    if (!arguments.probe) {
        arguments.out = behindLinks(arguments.out);
        bool isPipe = isSpecial(arguments.out);
        temporary = newFile(isPipe ? scratchPrefix() : hiddenPrefix(arguments.out));
        if (temporary.empty())
            return fail(Message::OutputNotOpened, {strerror(errno)});
        beginPreparation(&arguments, (rlim_t)info.st_size);
        removeWhenEnded(temporary, arguments.options.scratch);
    }
    if (arguments.mostSeconds == 0)
        arguments.mostSeconds = secondsFor((rlim_t)info.st_size);
    int status = supervise(arguments, temporary, (rlim_t)info.st_size);
    if (arguments.probe)
        return status;
    if (status == STATUS_DONE && !place(temporary, arguments.out))
        status = fail(Message::OutputFailed, {strerror(errno)});
    if (status != STATUS_DONE)
        unlink(temporary.c_str());
    return status;
}
