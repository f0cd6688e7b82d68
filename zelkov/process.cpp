/*
 * process.cpp - signals, environment, standard error, exit
 */
#include "zelkov/process.h"

#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <system_error>
#include <unistd.h>

#include "zelkov/cleanup.h"
#include "zelkov/host.h"

namespace {

constexpr int ENDING_SIGNALS[] = {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGXCPU, SIGALRM};

extern "C" void removeAndDie(int signal)
{
    cleanup_removeAll();
    /* The default action takes effect when this handler returns. */
    std::signal(signal, SIG_DFL);
    raise(signal);
}

void handle(int signal)
{
    struct sigaction action = {};
    if (sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN)
        return;
    action = {};
    action.sa_handler = removeAndDie;
    sigemptyset(&action.sa_mask);
    /* One of them must not interrupt the clean-up that another began. */
    for (int other : ENDING_SIGNALS)
        sigaddset(&action.sa_mask, other);
    sigaction(signal, &action, nullptr);
}

void removeTemporaries()
{
    host_removePrivateDirectory(host());
    cleanup_removeAll();
}

/* One write, so that lines of several processes do not mix. */
void writeToStandardError(void *, const std::string &text)
{
    const std::string line = text + '\n';
    fflush(stderr);
    const char *from = line.data();
    size_t left = line.size();
    while (left > 0) {
        ssize_t done = write(STDERR_FILENO, from, left);
        if (done < 0 && errno == EINTR)
            continue;
        if (done <= 0)
            return;
        from += done;
        left -= (size_t)done;
    }
}

/* The first of the variables that is set to something; else empty. */
template <typename... Names> std::string setting(Names... names)
{
    for (const char *name : {names...})
        if (const char *value = getenv(name); value && *value)
            return value;
    return "";
}

/* A number of bytes as the environment gives it: 0, no bound, is told as the greatest; nothing, or
 * what is no number, as 0. */
uint64_t byteCount(const std::string &text)
{
    uint64_t value = 0;
    auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (text.empty() || end != text.data() + text.size() || error == std::errc::invalid_argument)
        return 0;
    return value == 0 || error != std::errc() ? UINT64_MAX : value;
}

} // namespace

void process_begin()
{
    static bool begun;
    process_readEnvironment();
    if (begun)
        return;
    begun = true;
    host().listener = writeToStandardError;
    for (int signal : ENDING_SIGNALS)
        handle(signal);
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
    atexit(removeTemporaries);
}

void process_forked()
{
    cleanup_forgetAll();
    host().privateDirectory.clear();
    for (int signal : ENDING_SIGNALS) {
        struct sigaction action = {};
        if (sigaction(signal, nullptr, &action) == 0 && action.sa_handler != SIG_IGN)
            std::signal(signal, SIG_DFL);
    }
}

void process_readEnvironment()
{
    Host &own = host();
    own.dataDirectory = setting("KV_DAT_PS");
    own.temporaryParent = setting("KV_TMP", "TMPDIR");
    own.trace = getenv("ZELKOV_TRACE") != nullptr;
    own.mostOutput = byteCount(setting("KV_MAX_OUTPUT"));
}

void process_exit(int status)
{
    exit(status);
}

void process_fail(const std::string &line)
{
    host_say(line);
    process_exit(EXIT_FAILURE);
}

void process_failWithoutMemory(const char *line)
{
    [[maybe_unused]] ssize_t done = write(STDERR_FILENO, line, strlen(line));
    process_exit(EXIT_FAILURE);
}
