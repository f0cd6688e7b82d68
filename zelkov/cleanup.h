/*
 * cleanup.h - what must not outlive the process: temporary files and the private directory
 *
 * Everything registered here is removed when the process exits and when SIGINT, SIGTERM or SIGHUP
 * ends it.
 */
#ifndef ZELKOV_CLEANUP_H
#define ZELKOV_CLEANUP_H

#include <csignal>
#include <string>

/* Installs the signal handlers, once.  A signal that was ignored when the process began stays
 * ignored; SIGPIPE and SIGXFSZ are ignored from here on, so that a closed pipe and a full file are
 * write errors like others. */
void cleanup_install();

/* Registers a file to be removed.  False when the registry is full or there is no memory; the
 * file is then simply not covered by the signal handlers. */
bool cleanup_add(const std::string &path);

/* Takes a file off the registry; the file itself is left alone. */
void cleanup_forget(const std::string &path);

/* Holds back the signals above while it lives: between making a file and registering it, or
 * renaming a file and forgetting it. */
class CleanupHold {
  public:
    CleanupHold();
    ~CleanupHold();
    CleanupHold(const CleanupHold &) = delete;
    CleanupHold &operator=(const CleanupHold &) = delete;

  private:
    sigset_t before;
};

/* The private temporary directory of this process (mode 0700), made at the first call under
 * $KV_TMP, else $TMPDIR, else /tmp.  With a final slash; empty, with errno set, on failure. */
const std::string &cleanup_privateDirectory();

/* Removes the private directory with its content; the next call above makes a new one. */
void cleanup_removePrivateDirectory();

#endif
