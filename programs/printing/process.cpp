/*
 * process.cpp - other programs as processes
 */
#include "programs/printing/process.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <iterator>
#include <string_view>

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

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

    /* From here on there is a child; a signal that came before it was known reaches it, too. */
    void setChild(pid_t child)
    {
        runningChild = child;
        if (receivedSignal)
            kill(child, SIGTERM);
    }

  private:
    struct sigaction before[SIGNAL_COUNT];
};

/* The child's side, up to the other program.  Tells through the pipe why it could not begin. */
[[noreturn]] void become(const std::vector<std::string> &arguments, int output, int errors,
                         int started)
{
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    signal(SIGPIPE, SIG_DFL);
    signal(SIGXFSZ, SIG_DFL);
    int nothing = open("/dev/null", O_RDONLY);
    if (nothing >= 0)
        dup2(nothing, STDIN_FILENO);
    dup2(output, STDOUT_FILENO);
    dup2(errors, STDERR_FILENO);
    std::vector<char *> words;
    for (const std::string &argument : arguments)
        words.push_back(const_cast<char *>(argument.c_str()));
    words.push_back(nullptr);
    execvp(words[0], words.data());
    int reason = errno;
    [[maybe_unused]] ssize_t told = write(started, &reason, sizeof reason);
    _exit(CANNOT_START);
}

void readLines(int from, const std::function<void(const std::string &)> &line)
{
    constexpr size_t LONGEST = 64 * 1024; /* of a line; what is more of it is left out */
    std::string text;
    auto append = [&](std::string_view part) {
        text.append(part.substr(0, LONGEST - std::min(LONGEST, text.size())));
    };
    char buffer[4096];
    while (!receivedSignal) {
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
}

void closeOnce(int *descriptor)
{
    if (*descriptor >= 0)
        close(*descriptor);
    *descriptor = -1;
}

/* Hears a child out and waits for its end; `reason` becomes the one for which it has not begun. */
ProcessResult follow(pid_t child, int errors, int started,
                     const std::function<void(const std::string &)> &line, int *reason)
{
    ssize_t got;
    while ((got = read(started, reason, sizeof *reason)) < 0 && errno == EINTR) {
    }
    if (got != (ssize_t)sizeof *reason)
        *reason = 0;
    readLines(errors, line);
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

ProcessResult runProcess(const std::vector<std::string> &arguments,
                         const std::function<void(const std::string &)> &line,
                         const std::string &output)
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
        pid_t child = fork();
        if (child == 0)
            become(arguments, receiver, errors[1], started[1]);
        reason = child < 0 ? errno : 0;
        closeOnce(&errors[1]);
        closeOnce(&started[1]);
        if (child > 0) {
            signals.setChild(child);
            result = follow(child, errors[0], started[0], line, &reason);
        }
    }
    for (int *descriptor : {&receiver, &errors[0], &errors[1], &started[0], &started[1]})
        closeOnce(descriptor);
    result.isStarted = reason == 0;
    errno = reason;
    return result;
}
