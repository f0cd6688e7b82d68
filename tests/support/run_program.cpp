/*
 * run_program.cpp - fork, exec, and two pipes read until both are closed
 */
#include "tests/support/run_program.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <poll.h>
#include <sstream>
#include <sys/resource.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {

[[noreturn]] void becomeProgram(const std::vector<std::string> &command,
                                const ProgramOptions &options, int in, int out, int err)
{
    setpgid(0, 0);
    dup2(in, STDIN_FILENO);
    dup2(out, STDOUT_FILENO);
    dup2(err, STDERR_FILENO);
    if (!options.directory.empty() && chdir(options.directory.c_str()) != 0)
        _exit(127);
    for (const auto &[name, value] : options.environment)
        setenv(name.c_str(), value.c_str(), 1);
    if (options.memoryMegabytes) {
        rlim_t bytes = (rlim_t)options.memoryMegabytes << 20;
        rlimit limit = {bytes, bytes};
        setrlimit(RLIMIT_AS, &limit);
    }
    std::vector<char *> arguments;
    for (const std::string &word : command)
        arguments.push_back(const_cast<char *>(word.c_str()));
    arguments.push_back(nullptr);
    execvp(arguments[0], arguments.data());
    _exit(127);
}

/* Feeds the input and reads both outputs until they are closed or the time is over. */
bool converse(std::array<int, 3> fds, const std::string &input, int seconds, ProgramResult *result)
{
    auto end = std::chrono::steady_clock::now() + std::chrono::seconds(seconds);
    size_t sent = 0;
    char buffer[65536];
    while (fds[1] >= 0 || fds[2] >= 0) {
        if (sent == input.size() && fds[0] >= 0) {
            close(fds[0]);
            fds[0] = -1;
        }
        std::array<pollfd, 3> polled = {
            {{fds[0], POLLOUT, 0}, {fds[1], POLLIN, 0}, {fds[2], POLLIN, 0}}};
        auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            end - std::chrono::steady_clock::now());
        if (left.count() <= 0)
            return false;
        poll(polled.data(), polled.size(), (int)left.count());
        if (polled[0].revents) {
            ssize_t n = write(fds[0], input.data() + sent, input.size() - sent);
            sent = n > 0 ? sent + (size_t)n : input.size();
        }
        for (int i = 1; i <= 2; i++) {
            if (!polled[(size_t)i].revents)
                continue;
            ssize_t n = read(fds[(size_t)i], buffer, sizeof buffer);
            if (n > 0) {
                (i == 1 ? result->out : result->err).append(buffer, (size_t)n);
            } else {
                close(fds[(size_t)i]);
                fds[(size_t)i] = -1;
            }
        }
    }
    if (fds[0] >= 0)
        close(fds[0]);
    return true;
}

} // namespace

ProgramResult runProgram(const std::vector<std::string> &command, const ProgramOptions &options)
{
    std::signal(SIGPIPE, SIG_IGN);
    int in[2], out[2], err[2];
    if (pipe2(in, O_CLOEXEC) || pipe2(out, O_CLOEXEC) || pipe2(err, O_CLOEXEC))
        return {127, "", "no pipe"};
    pid_t child = fork();
    if (child == 0) {
        std::signal(SIGPIPE, SIG_DFL);
        becomeProgram(command, options, in[0], out[1], err[1]);
    }
    close(in[0]);
    close(out[1]);
    close(err[1]);

    ProgramResult result = {};
    bool ended = converse({in[1], out[0], err[0]}, options.input, options.timeoutSeconds, &result);
    if (!ended) {
        kill(-child, SIGKILL);
        result.err += "\n(killed: over its time)\n";
    }
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR)
        ;
    result.status = WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status);
    return result;
}

/* Is a process of the group running?  What /proc tells of a process: its number, its name in
 * parentheses, its state, its parent, its group. */
static bool isGroupRunning(int group)
{
    std::error_code ignored;
    for (const auto &entry : std::filesystem::directory_iterator("/proc", ignored)) {
        std::ifstream file(entry.path() / "stat");
        std::string line;
        std::getline(file, line);
        std::istringstream rest(line.substr(std::min(line.size(), line.rfind(')') + 1)));
        char state = 'Z';
        int parent = 0, itsGroup = 0;
        if (rest >> state >> parent >> itsGroup && itsGroup == group && state != 'Z')
            return true;
    }
    return false;
}

bool hasGroupEnded(int group)
{
    constexpr auto PATIENCE = std::chrono::minutes(2);
    constexpr auto PAUSE = std::chrono::milliseconds(10);
    const auto end = std::chrono::steady_clock::now() + PATIENCE;
    while (isGroupRunning(group)) {
        if (std::chrono::steady_clock::now() > end)
            return false;
        std::this_thread::sleep_for(PAUSE);
    }
    return true;
}

bool haveProgram(const std::string &name)
{
    const char *path = getenv("PATH");
    std::istringstream folders(path ? path : "");
    for (std::string folder; std::getline(folders, folder, ':');)
        if (access((folder + "/" + name).c_str(), X_OK) == 0)
            return true;
    return false;
}
