/*
 * process.cpp - other programs as processes
 */
#include "programs/printing/process.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <exception>
#include <iterator>
#include <string_view>
#include <thread>

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include "zelkov/process.h"

namespace {

constexpr int CANNOT_START = 127;

/* ---- signals that end this process while another program runs for it */

constexpr int ENDING_SIGNALS[] = {SIGINT, SIGTERM, SIGHUP, SIGQUIT};
constexpr size_t SIGNAL_COUNT = std::size(ENDING_SIGNALS);

volatile sig_atomic_t runningChild, receivedSignal;

extern "C" void passOn(int number)
{
    receivedSignal = number;
    if (runningChild > 0)
        kill((pid_t)runningChild, SIGTERM);
}

/* While it lives such a signal goes to the child; it takes its effect here when this ends. */
class SignalsGoToChild {
  public:
    SignalsGoToChild()
    {
        receivedSignal = 0;
        runningChild = 0;
        struct sigaction action = {};
        action.sa_handler = passOn; /* without SA_RESTART: a read returns */
        sigemptyset(&action.sa_mask);
        for (size_t i = 0; i < SIGNAL_COUNT; i++) {
            sigaction(ENDING_SIGNALS[i], nullptr, &before[i]);
            if (before[i].sa_handler != SIG_IGN)
                sigaction(ENDING_SIGNALS[i], &action, nullptr);
        }
        /* A child gets none before it has begun: here it would be this process's handler. */
        sigset_t held;
        sigemptyset(&held);
        for (int number : ENDING_SIGNALS)
            sigaddset(&held, number);
        sigprocmask(SIG_BLOCK, &held, &mask);
    }
    ~SignalsGoToChild()
    {
        for (size_t i = 0; i < SIGNAL_COUNT; i++)
            sigaction(ENDING_SIGNALS[i], &before[i], nullptr);
        runningChild = 0;
        if (receivedSignal)
            raise(receivedSignal);
    }
    SignalsGoToChild(const SignalsGoToChild &) = delete;
    SignalsGoToChild &operator=(const SignalsGoToChild &) = delete;

    /* From here on there is a child, or none; a signal that came before that has its effect now. */
    void setChild(pid_t child)
    {
        runningChild = child;
        sigprocmask(SIG_SETMASK, &mask, nullptr);
    }

    /* In the child: signals have the effect that they had before this program began. */
    void leaveToChild() const
    {
        for (int number : ENDING_SIGNALS) {
            struct sigaction action = {};
            if (sigaction(number, nullptr, &action) == 0 && action.sa_handler != SIG_IGN)
                signal(number, SIG_DFL);
        }
        sigprocmask(SIG_SETMASK, &mask, nullptr);
    }

  private:
    sigset_t mask;
    struct sigaction before[SIGNAL_COUNT];
};

/* The descriptors that a child begins with. */
struct Ends {
    int output, errors; /* standard output and standard error */
    int started;        /* for the reason why it could not begin; closed by its beginning */
};

/* What every child has: an end when this process ends, and three files. */
void beginChild(const Ends &ends)
{
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    signal(SIGPIPE, SIG_DFL);
    signal(SIGXFSZ, SIG_DFL);
    int nothing = open("/dev/null", O_RDONLY);
    if (nothing >= 0)
        dup2(nothing, STDIN_FILENO);
    dup2(ends.output, STDOUT_FILENO);
    dup2(ends.errors, STDERR_FILENO);
}

/* The child's side, up to the other program.  Tells through the pipe why it could not begin. */
[[noreturn]] void become(const std::vector<std::string> &arguments, const Ends &ends)
{
    beginChild(ends);
    std::vector<char *> words;
    for (const std::string &argument : arguments)
        words.push_back(const_cast<char *>(argument.c_str()));
    words.push_back(nullptr);
    execvp(words[0], words.data());
    int reason = errno;
    [[maybe_unused]] ssize_t told = write(ends.started, &reason, sizeof reason);
    _exit(CANNOT_START);
}

/* The child's side when it goes on with this program. */
[[noreturn]] void workOn(const std::function<int()> &work, const Ends &ends)
{
    process_forked();
    beginChild(ends);
    close_range(STDERR_FILENO + 1, UINT_MAX, 0);
    int status = CANNOT_START;
    try {
        status = work();
    } catch (const std::exception &error) {
        fprintf(stderr, "%s\n", error.what());
    }
    fflush(nullptr);
    _exit(status);
}

/* Waits until there is something to be read, or at the end; false: the deadline has come first, or
 * a signal that ends this process. */
bool waitFor(int descriptor, Deadline deadline)
{
    using std::chrono::milliseconds;
    constexpr milliseconds LONG(60000);
    while (!receivedSignal) {
        auto left = deadline - std::chrono::steady_clock::now();
        if (left <= Deadline::duration::zero())
            return false;
        auto pause = left < LONG ? std::chrono::ceil<milliseconds>(left) : LONG;
        pollfd event = {descriptor, POLLIN, 0};
        if (poll(&event, 1, (int)pause.count()) > 0)
            return true;
    }
    return false;
}

/* The lines that come until the other end is closed; false: the deadline has come first. */
bool readLines(int from, const std::function<void(const std::string &)> &line, Deadline deadline)
{
    bool isInTime = true;
    constexpr size_t LONGEST = 64 * 1024; /* of a line; what is more of it is left out */
    std::string text;
    auto append = [&](std::string_view part) {
        text.append(part.substr(0, LONGEST - std::min(LONGEST, text.size())));
    };
    char buffer[4096];
    while (!receivedSignal) {
        if (deadline != NEVER && !(isInTime = waitFor(from, deadline)))
            break;
        ssize_t got = read(from, buffer, sizeof buffer);
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            break;
        std::string_view rest(buffer, (size_t)got);
        for (size_t end; (end = rest.find('\n')) != std::string_view::npos;) {
            append(rest.substr(0, end));
            line(text);
            text.clear();
            rest.remove_prefix(end + 1);
        }
        append(rest);
    }
    if (!text.empty())
        line(text);
    return isInTime || receivedSignal;
}

/* Has the child ended by then?  Where the system has no handle of processes, it is asked for its
 * end again and again. */
bool endsBy(pid_t child, Deadline deadline)
{
    constexpr auto SHORT = std::chrono::milliseconds(5);
    int handle = (int)syscall(SYS_pidfd_open, child, 0);
    bool isOver = false;
    for (bool isInTime = true; isInTime && !isOver && !receivedSignal;) {
        isInTime =
            handle >= 0 ? waitFor(handle, deadline) : std::chrono::steady_clock::now() < deadline;
        siginfo_t ended = {};
        isOver = waitid(P_PID, (id_t)child, &ended, WEXITED | WNOHANG | WNOWAIT) == 0 &&
                 ended.si_pid == child;
        if (handle < 0 && !isOver)
            std::this_thread::sleep_for(SHORT);
    }
    if (handle >= 0)
        close(handle);
    return isOver || receivedSignal;
}

void closeOnce(int *descriptor)
{
    if (*descriptor >= 0)
        close(*descriptor);
    *descriptor = -1;
}

/* Hears a child out and waits for its end; `reason` becomes the one for which it has not begun. */
ProcessResult follow(pid_t child, int errors, int started,
                     const std::function<void(const std::string &)> &line, Deadline deadline,
                     int *reason)
{
    ssize_t got;
    while ((got = read(started, reason, sizeof *reason)) < 0 && errno == EINTR) {
    }
    if (got != (ssize_t)sizeof *reason)
        *reason = 0;
    bool isInTime = readLines(errors, line, deadline);
    if (deadline != NEVER && !(isInTime && endsBy(child, deadline)))
        kill(child, SIGKILL);
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    ProcessResult result;
    result.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return result;
}

} // namespace

std::string ownProgram(const std::string &name)
{
    char path[PATH_MAX];
    ssize_t length = readlink("/proc/self/exe", path, sizeof path - 1);
    if (length <= 0)
        return name;
    std::string directory(path, (size_t)length);
    directory.resize(directory.rfind('/') + 1);
    std::string beside = directory + name;
    if (access(beside.c_str(), X_OK) == 0)
        return beside;
    constexpr int MOST_LEVELS = 3; /* lib/system/filter */
    for (int level = 0; level < MOST_LEVELS && directory.size() > 1; level++) {
        directory.resize(directory.rfind('/', directory.size() - 2) + 1);
        std::string inTree = directory;
        inTree.append("bin/").append(name);
        if (access(inTree.c_str(), X_OK) == 0)
            return inTree;
    }
    return name;
}

namespace {

/* Forks, and follows the child that `begin` has become. */
ProcessResult runChild(const std::function<void(const Ends &)> &begin,
                       const std::function<void(const std::string &)> &line,
                       const std::string &output, Deadline deadline)
{
    int receiver = output.empty()
                       ? open("/dev/null", O_WRONLY | O_CLOEXEC)
                       : open(output.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    int errors[2] = {-1, -1}, started[2] = {-1, -1};
    ProcessResult result;
    int reason = 0;
    if (receiver < 0 || pipe2(errors, O_CLOEXEC) != 0 || pipe2(started, O_CLOEXEC) != 0) {
        reason = errno;
    } else {
        SignalsGoToChild signals;
        fflush(nullptr);
        pid_t child = fork();
        if (child == 0) {
            signals.leaveToChild();
            begin({receiver, errors[1], started[1]});
            _exit(CANNOT_START);
        }
        reason = child < 0 ? errno : 0;
        closeOnce(&errors[1]);
        closeOnce(&started[1]);
        signals.setChild(child);
        if (child > 0) {
            result = follow(child, errors[0], started[0], line, deadline, &reason);
        }
    }
    for (int *descriptor : {&receiver, &errors[0], &errors[1], &started[0], &started[1]})
        closeOnce(descriptor);
    result.isStarted = reason == 0;
    errno = reason;
    return result;
}

} // namespace

ProcessResult runProcess(const std::vector<std::string> &arguments,
                         const std::function<void(const std::string &)> &line,
                         const std::string &output)
{
    return runChild([&](const Ends &ends) { become(arguments, ends); }, line, output, NEVER);
}

ProcessResult runInChild(const std::function<int()> &work,
                         const std::function<void(const std::string &)> &line, Deadline deadline)
{
    return runChild([&](const Ends &ends) { workOn(work, ends); }, line, "", deadline);
}

bool isThisProgram(const std::string &path)
{
    struct stat own, other;
    return stat("/proc/self/exe", &own) == 0 && stat(path.c_str(), &other) == 0 &&
           own.st_dev == other.st_dev && own.st_ino == other.st_ino;
}
