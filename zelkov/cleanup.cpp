/*
 * cleanup.cpp - removes temporary files when the process ends, also by a signal
 *
 * A signal handler may call only a few functions, and must not meet a half-changed list: so the
 * registry is a fixed array of lock-free pointers to texts, a slot is filled by one store and
 * emptied by one store, and the handler does nothing but unlink, rmdir and raise.
 */
#include "zelkov/cleanup.h"

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr size_t SLOTS = 64;
constexpr int ENDING_SIGNALS[] = {SIGINT, SIGTERM, SIGHUP};

std::atomic<char *> files[SLOTS];
std::atomic<char *> directory;
std::string directoryWithSlash;

static_assert(std::atomic<char *>::is_always_lock_free, "the signal handler reads these");

extern "C" void removeAndDie(int signal)
{
    for (auto &slot : files)
        if (const char *path = slot.load())
            unlink(path);
    if (const char *path = directory.load())
        rmdir(path);
    /* The default action takes effect when this handler returns. */
    std::signal(signal, SIG_DFL);
    raise(signal);
}

void removeFiles()
{
    for (auto &slot : files) {
        char *path = slot.exchange(nullptr);
        if (path)
            unlink(path);
        free(path);
    }
}

void removeAll()
{
    removeFiles();
    cleanup_removePrivateDirectory();
}

void handle(int signal)
{
    struct sigaction action = {};
    if (sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN)
        return;
    action = {};
    action.sa_handler = removeAndDie;
    sigemptyset(&action.sa_mask);
    /* One of the three must not interrupt the clean-up that another began. */
    for (int other : ENDING_SIGNALS)
        sigaddset(&action.sa_mask, other);
    sigaction(signal, &action, nullptr);
}

const char *temporaryParent()
{
    for (const char *variable : {"KV_TMP", "TMPDIR"})
        if (const char *value = getenv(variable); value && *value)
            return value;
    return "/tmp";
}

} // namespace

void cleanup_install()
{
    static bool installed;
    if (installed)
        return;
    installed = true;
    for (int signal : ENDING_SIGNALS)
        handle(signal);
    /* A closed pipe and a full file are write errors, which errno tells. */
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
    atexit(removeAll);
}

CleanupHold::CleanupHold()
{
    sigset_t ending;
    sigemptyset(&ending);
    for (int signal : ENDING_SIGNALS)
        sigaddset(&ending, signal);
    sigprocmask(SIG_BLOCK, &ending, &before);
}

CleanupHold::~CleanupHold()
{
    sigprocmask(SIG_SETMASK, &before, nullptr);
}

bool cleanup_add(const std::string &path)
{
    cleanup_install();
    cleanup_forget(path);
    char *copy = strdup(path.c_str());
    if (!copy)
        return false;
    for (auto &slot : files) {
        char *empty = nullptr;
        if (slot.compare_exchange_strong(empty, copy))
            return true;
    }
    free(copy);
    return false;
}

void cleanup_forget(const std::string &path)
{
    for (auto &slot : files) {
        char *held = slot.load();
        if (held && path == held) {
            slot.store(nullptr);
            free(held);
        }
    }
}

const std::string &cleanup_privateDirectory()
{
    if (!directoryWithSlash.empty())
        return directoryWithSlash;

    cleanup_install();
    CleanupHold hold;
    std::string pattern = std::string(temporaryParent()) + "/zelkov.XXXXXX";
    if (!mkdtemp(pattern.data())) /* mkdtemp gives mode 0700 */
        return directoryWithSlash;
    directory.store(strdup(pattern.c_str()));
    directoryWithSlash = pattern + "/";
    return directoryWithSlash;
}

void cleanup_removePrivateDirectory()
{
    if (directoryWithSlash.empty())
        return;
    std::error_code ignored;
    std::filesystem::remove_all(directoryWithSlash, ignored);
    directoryWithSlash.clear();
    free(directory.exchange(nullptr));
}
