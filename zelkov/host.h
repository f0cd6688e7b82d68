/*
 * host.h - what a run takes from its surroundings, and who hears what the host layer has to say
 *
 * A run asks neither the environment nor standard error, so that several can go on in one process:
 * where data and temporary files are, and where lines for the user go, stands in a Host.  Each
 * thread works with the one that it has put in scope; a program that runs one thing at a time
 * never does so and uses the process's own, which process_begin fills from the environment.
 */
#ifndef ZELKOV_HOST_H
#define ZELKOV_HOST_H

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

struct ZFile;

/* Takes a line for the user, without its end. */
using HostListener = void (*)(void *context, const std::string &line);

/* Ends with its owner; its private directory, with all that is in it, ends then too. */
struct Host {
    /* Directory of the data files.  Empty: looked for beside the executable. */
    std::string dataDirectory;
    /* Where the private temporary directory is made.  Empty: /tmp. */
    std::string temporaryParent;
    /* Does every message tell the source line that it comes from? */
    bool trace = false;
    /* Bytes that a run may write; 0: what follows from its input, UINT64_MAX: no bound. */
    uint64_t mostOutput = 0;
    /* Gets the lines for the user; null: nobody listens. */
    HostListener listener = nullptr;
    void *listenerContext = nullptr;

    /* Kept by the host layer: the private directory, with a final slash, empty before the first
     * use; the inputs that are open, which must not be overwritten. */
    std::string privateDirectory;
    ZFile *openInputs = nullptr;
    /* Files that will be read, as device and number, and must not be overwritten either. */
    std::vector<std::pair<uint64_t, uint64_t>> protectedFiles;

    Host() = default;
    ~Host();
    Host(const Host &) = delete;
    Host &operator=(const Host &) = delete;
};

/* The Host that this thread works with. */
Host &host();

/* Puts a Host in scope for this thread; the one before is back in scope afterwards. */
class HostScope {
  public:
    explicit HostScope(Host &entered);
    ~HostScope();
    HostScope(const HostScope &) = delete;
    HostScope &operator=(const HostScope &) = delete;

  private:
    Host *before;
};

/* Says a line to the user; errno is left as it was. */
void host_say(const std::string &line);

/* The private temporary directory (mode 0700), made at the first call; files in it never meet those
 * of another run.  With a final slash; empty, with errno set, on failure. */
const std::string &host_privateDirectory();

/* Removes the private directory with its content; the next call above makes a new one. */
void host_removePrivateDirectory(Host &owner);

/* A name that nobody can guess and nobody has: 13 letters and digits. */
std::string host_randomName();

#endif
