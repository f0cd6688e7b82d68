/*
 * process.cpp - other programs as processes
 */
#include "programs/pdf_print/process.h"

#include <cerrno>
#include <climits>
#include <csignal>

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr int CANNOT_START = 127;

/* The child's side, up to the other program.  Tells through the pipe why it could not begin. */
[[noreturn]] void become(const std::vector<std::string> &arguments, int errors, int started)
{
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    signal(SIGPIPE, SIG_DFL);
    signal(SIGXFSZ, SIG_DFL);
    int nothing = open("/dev/null", O_RDWR);
    if (nothing >= 0) {
        dup2(nothing, STDIN_FILENO);
        dup2(nothing, STDOUT_FILENO);
    }
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
    constexpr size_t LONGEST = 64 * 1024;
    std::string text;
    char buffer[4096];
    for (;;) {
        ssize_t got = read(from, buffer, sizeof buffer);
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            break;
        text.append(buffer, (size_t)got);
        for (size_t end; (end = text.find('\n')) != std::string::npos; text.erase(0, end + 1))
            line(text.substr(0, end));
        if (text.size() > LONGEST)
            text.clear();
    }
    if (!text.empty())
        line(text);
}

} // namespace

std::string siblingProgram(const std::string &name)
{
    char path[PATH_MAX];
    ssize_t length = readlink("/proc/self/exe", path, sizeof path - 1);
    if (length > 0) {
        std::string self(path, (size_t)length);
        std::string sibling = self.substr(0, self.rfind('/') + 1) + name;
        if (access(sibling.c_str(), X_OK) == 0)
            return sibling;
    }
    return name;
}

ProcessResult runProcess(const std::vector<std::string> &arguments,
                         const std::function<void(const std::string &)> &line)
{
    int errors[2], started[2];
    if (pipe2(errors, O_CLOEXEC) != 0)
        return {};
    if (pipe2(started, O_CLOEXEC) != 0) {
        close(errors[0]);
        close(errors[1]);
        return {};
    }
    pid_t child = fork();
    if (child == 0)
        become(arguments, errors[1], started[1]);
    close(errors[1]);
    close(started[1]);
    ProcessResult result;
    int reason = child < 0 ? errno : 0;
    if (child > 0) {
        if (read(started[0], &reason, sizeof reason) != (ssize_t)sizeof reason)
            reason = 0;
        readLines(errors[0], line);
        int status = 0;
        while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
        }
        result.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }
    close(errors[0]);
    close(started[0]);
    result.isStarted = reason == 0;
    errno = reason;
    return result;
}
