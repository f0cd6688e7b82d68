/*
 * host.cpp - the surroundings of a run
 */
#include "zelkov/host.h"

#include <cerrno>
#include <cstdint>
#include <filesystem>
#include <sys/random.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

#include "zelkov/cleanup.h"

namespace {

thread_local Host *inScope;

Host &processHost()
{
    static Host own;
    return own;
}

} // namespace

Host::~Host()
{
    host_removePrivateDirectory(*this);
}

Host &host()
{
    return inScope ? *inScope : processHost();
}

HostScope::HostScope(Host &entered) : before(inScope)
{
    inScope = &entered;
}

HostScope::~HostScope()
{
    inScope = before;
}

void host_say(const std::string &line)
{
    int saved = errno;
    if (const Host &here = host(); here.listener)
        here.listener(here.listenerContext, line);
    errno = saved;
}

std::string host_randomName()
{
    constexpr char DIGITS[] = "0123456789abcdefghijklmnopqrstuvwxyz";
    constexpr int LENGTH = 13; /* of base 36: all 64 bits */
    int saved = errno;
    uint64_t bits = 0;
    if (getrandom(&bits, sizeof bits, 0) != (ssize_t)sizeof bits) {
        /* Names are made with O_EXCL or mkdir: a guessable one costs another try, no more. */
        struct timespec now = {};
        clock_gettime(CLOCK_MONOTONIC, &now);
        bits = (uint64_t)now.tv_nsec << 32 ^ (uint64_t)getpid() << 8 ^ (uint64_t)now.tv_sec;
    }
    errno = saved;
    std::string name;
    for (int i = 0; i < LENGTH; i++, bits /= 36)
        name += DIGITS[bits % 36];
    return name;
}

const std::string &host_privateDirectory()
{
    Host &here = host();
    if (!here.privateDirectory.empty())
        return here.privateDirectory;

    const std::string parent = here.temporaryParent.empty() ? "/tmp" : here.temporaryParent;
    for (int tries = 0; tries < 16; tries++) {
        std::string path = parent + "/zelkov." + host_randomName();
        /* Registered before it is there: a signal must not fall between the two. */
        cleanup_addDirectory(path);
        if (mkdir(path.c_str(), 0700) == 0) {
            here.privateDirectory = path + "/";
            break;
        }
        cleanup_forget(path);
        if (errno != EEXIST)
            break;
    }
    return here.privateDirectory;
}

void host_removePrivateDirectory(Host &owner)
{
    if (owner.privateDirectory.empty())
        return;
    owner.privateDirectory.pop_back();
    std::error_code ignored;
    std::filesystem::remove_all(owner.privateDirectory, ignored);
    cleanup_forget(owner.privateDirectory);
    owner.privateDirectory.clear();
}
