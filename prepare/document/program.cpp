/*
 * program.cpp - fork, limits, exec; waiting with a deadline
 */
#include "prepare/document/program.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include "seam/files.h"

namespace prepare {

namespace {

/* Everything that ever stands in the directory, so that it can be removed without looking. */
constexpr const char *fileNames[] = {"0", "1", "out", "err"};
constexpr char OUTPUT[] = "out", MESSAGES[] = "err";
constexpr uint64_t MAX_MESSAGES = 1 << 20;

constexpr int STATUS_MISSING = 127; /* what the child answers when there is nothing to run */
constexpr int STATUS_NO_START = 126;

/* The directory of one run. */
class Scratch {
  public:
    explicit Scratch(const std::string &wanted);
    ~Scratch();
    Scratch(const Scratch &) = delete;
    Scratch &operator=(const Scratch &) = delete;

    bool isMade() const { return !path.empty(); }
    std::string operator/(const std::string &name) const { return path + "/" + name; }

  private:
    std::string path;
};

Scratch::Scratch(const std::string &wanted)
{
    const char *parent = getenv("TMPDIR");
    std::string made = wanted;
    if (wanted.empty())
        made = std::string(parent && *parent ? parent : "/tmp") + "/pdf_prepare.XXXXXX";
    bool isThere =
        wanted.empty() ? mkdtemp(made.data()) != nullptr : mkdir(made.c_str(), S_IRWXU) == 0;
    char absolute[PATH_MAX]; /* the child changes its directory */
    if (isThere && realpath(made.c_str(), absolute))
        path = absolute;
}

Scratch::~Scratch()
{
    if (isMade())
        removeScratch(path.c_str());
}

bool writeFile(const std::string &path, const std::string &data)
{
    int file = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR);
    if (file < 0)
        return false;
    bool good = seam::writeWhole(file, data.data(), data.size()) == 0;
    return close(file) == 0 && good;
}

std::string readOutput(const std::string &path, uint64_t limit)
{
    struct stat info;
    if (stat(path.c_str(), &info) != 0 || (uint64_t)info.st_size > limit)
        return "";
    std::ifstream file(path, std::ios::binary);
    std::string data((size_t)info.st_size, '\0');
    file.read(data.data(), (std::streamsize)data.size());
    data.resize((size_t)file.gcount());
    return data;
}

std::string withPaths(const std::string &argument, const Scratch &scratch)
{
    bool isPlace = argument.size() == 3 && argument[0] == '{' && argument[2] == '}';
    return isPlace ? scratch / argument.substr(1, 1) : argument;
}

/* ---- in the child: nothing here allocates */

void limitTo(int resource, rlim_t value)
{
    rlimit now;
    if (getrlimit(resource, &now) == 0 && now.rlim_max != RLIM_INFINITY && now.rlim_max < value)
        value = now.rlim_max;
    rlimit wanted = {value, value};
    setrlimit(resource, &wanted);
}

void setLimits(const ProgramCall &call)
{
    limitTo(RLIMIT_CPU, (rlim_t)call.seconds);
    limitTo(RLIMIT_AS, call.memoryBytes);
    limitTo(RLIMIT_FSIZE, call.outputBytes);
    limitTo(RLIMIT_CORE, 0);
}

/* Standard input is empty, output and messages are files; nothing else is open. */
bool arrangeFiles(const char *output, const char *messages)
{
    int in = open("/dev/null", O_RDONLY);
    int out = open(output, O_WRONLY | O_CREAT | O_EXCL, S_IRUSR | S_IWUSR);
    int err = open(messages, O_WRONLY | O_CREAT | O_EXCL, S_IRUSR | S_IWUSR);
    if (in < 0 || out < 0 || err < 0 || dup2(in, STDIN_FILENO) < 0 ||
        dup2(out, STDOUT_FILENO) < 0 || dup2(err, STDERR_FILENO) < 0)
        return false;
    return close_range(STDERR_FILENO + 1, UINT_MAX, 0) == 0;
}

void resetSignals()
{
    for (int number = 1; number < NSIG; number++)
        signal(number, SIG_DFL);
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
}

struct Prepared {
    std::vector<char *> arguments, environment; /* with a null at the end */
    const char *output, *messages;
    const char *directory; /* to run in */
};

[[noreturn]] void runChild(const ProgramCall &call, const Prepared &prepared)
{
    setpgid(0, 0);
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    resetSignals();
    setLimits(call);
    if (!arrangeFiles(prepared.output, prepared.messages) || chdir(prepared.directory) != 0)
        _exit(STATUS_NO_START);
    execvpe(prepared.arguments[0], prepared.arguments.data(), prepared.environment.data());
    _exit(errno == ENOENT || errno == EACCES || errno == ENOTDIR ? STATUS_MISSING
                                                                 : STATUS_NO_START);
}

/* ---- and in the parent */

/* Waits for the child; past the deadline it is killed with all that it started. */
int await(pid_t child, Clock::time_point deadline, bool *isStopped)
{
    if (!endsBefore(child, deadline)) {
        kill(-child, SIGKILL);
        kill(child, SIGKILL);
        *isStopped = true;
        endsBefore(child, Clock::time_point::max());
    }
    kill(-child, SIGKILL); /* what it has left running */
    int status = 0;
    return waitpid(child, &status, 0) == child ? status : -1;
}

std::vector<char *> pointersTo(std::vector<std::string> *texts)
{
    std::vector<char *> pointers;
    for (std::string &text : *texts)
        pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
}

ProgramStatus meaningOf(int status)
{
    if (status == -1 || !WIFEXITED(status))
        return ProgramStatus::FAILED;
    switch (WEXITSTATUS(status)) {
    case 0:
        return ProgramStatus::DONE;
    case STATUS_MISSING:
        return ProgramStatus::MISSING;
    case STATUS_NO_START:
        return ProgramStatus::NO_START;
    default:
        return ProgramStatus::FAILED;
    }
}

double secondsSince(Clock::time_point start)
{
    return std::chrono::duration<double>(Clock::now() - start).count();
}

} // namespace

bool endsBefore(pid_t child, Clock::time_point deadline)
{
    constexpr std::chrono::milliseconds SHORT(5), LONG(60000);
    int handle = (int)syscall(SYS_pidfd_open, child, 0); /* without it: looking again and again */
    for (;;) {
        siginfo_t ended = {};
        int result = waitid(P_PID, (id_t)child, &ended, WEXITED | WNOHANG | WNOWAIT);
        bool isOver = result == 0 ? ended.si_pid == child : errno != EINTR;
        Clock::duration left = deadline - Clock::now();
        if (isOver || left <= Clock::duration::zero()) {
            close(handle);
            return isOver;
        }
        auto pause = std::chrono::ceil<std::chrono::milliseconds>(
            std::min<Clock::duration>(left, handle < 0 ? SHORT : LONG));
        pollfd event = {handle, POLLIN, 0};
        poll(&event, 1, (int)pause.count());
    }
}

ProgramOutcome runFor(Document *document, const ProgramCall &call)
{
    const Options &options = document->options;
    Budget &budget = document->budget;
    ProgramCall bounded = call;
    /* What the document itself takes counts, too: when time runs short, pictures are lost, and not
     * the whole. */
    double left = options.programSeconds - secondsSince(budget.start);
    if (options.programSeconds > 0)
        bounded.clockSeconds = std::min(2.0 * call.seconds, left);
    if (budget.failedPrograms >= MAX_FAILED || bounded.clockSeconds < 0 ||
        (options.programSeconds > 0 && left <= 0))
        return {ProgramStatus::STOPPED, "", ""};
    ProgramOutcome outcome = runLimited(bounded, options.scratch, options.calledGroup);
    if (outcome.status == ProgramStatus::STOPPED)
        budget.failedPrograms += MAX_FAILED / 2;
    budget.failedPrograms += outcome.status == ProgramStatus::FAILED;
    return outcome;
}

ProgramOutcome runLimited(const ProgramCall &call, const std::string &scratchPath,
                          volatile int *calledGroup)
{
    ProgramOutcome outcome;
    Scratch scratch(scratchPath);
    if (!scratch.isMade() || call.command.empty() || call.inputs.size() > MAX_INPUTS)
        return outcome;
    for (size_t i = 0; i < call.inputs.size(); i++)
        if (!writeFile(scratch / fileNames[i], call.inputs[i]))
            return outcome;
    std::vector<std::string> arguments;
    for (const std::string &argument : call.command)
        arguments.push_back(withPaths(argument, scratch));
    const char *path = getenv("PATH");
    std::vector<std::string> environment = {"LC_ALL=C", "HOME=/nonexistent",
                                            "PATH=" + std::string(path ? path : "/usr/bin:/bin")};
    std::string output = scratch / OUTPUT, messages = scratch / MESSAGES, directory = scratch / ".";
    Prepared prepared = {pointersTo(&arguments), pointersTo(&environment), output.c_str(),
                         messages.c_str(), directory.c_str()};
    double clockSeconds = call.clockSeconds > 0 ? call.clockSeconds : 2.0 * call.seconds;
    Clock::time_point deadline =
        Clock::now() + std::chrono::milliseconds((int64_t)(clockSeconds * 1000));
    pid_t child = fork();
    if (child == 0)
        runChild(call, prepared);
    if (child < 0)
        return outcome;
    setpgid(child, child); /* whoever comes first */
    if (calledGroup)
        *calledGroup = child;
    bool isStopped = false;
    int status = await(child, deadline, &isStopped);
    if (calledGroup)
        *calledGroup = 0;
    isStopped |= status != -1 && WIFSIGNALED(status) &&
                 (WTERMSIG(status) == SIGXCPU || WTERMSIG(status) == SIGKILL);
    outcome.status = isStopped ? ProgramStatus::STOPPED : meaningOf(status);
    outcome.output = readOutput(output, call.outputBytes);
    outcome.messages = readOutput(messages, MAX_MESSAGES);
    return outcome;
}

void removeScratch(const char *directory)
{
    int at = open(directory, O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NOFOLLOW);
    if (at < 0)
        return;
    for (const char *name : fileNames)
        unlinkat(at, name, 0);
    close(at);
    rmdir(directory);
}

} // namespace prepare
