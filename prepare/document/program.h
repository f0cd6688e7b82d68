/*
 * program.h - another program, run with limits on data in files
 *
 * What interprets hostile data beside us runs as a process of its own: without a shell, without
 * our descriptors and environment, with bounds on time, memory and output.  Its files stand in a
 * directory that nobody else can enter, and are gone afterwards.
 */
#ifndef PREPARE_DOCUMENT_PROGRAM_H
#define PREPARE_DOCUMENT_PROGRAM_H

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

#include <sys/types.h>

#include "prepare/document/document.h"

namespace prepare {

/* Input files by their place in `inputs`: an argument "{0}" stands for the path of the first. */
constexpr size_t MAX_INPUTS = 2;

struct ProgramCall {
    std::vector<std::string> command; /* the first is looked for along PATH */
    std::vector<std::string> inputs;  /* contents of files */
    int seconds = 60;                 /* of computing, and twice that by the clock */
    double clockSeconds = 0;          /* by the clock; 0: twice `seconds` */
    uint64_t memoryBytes = 1u << 30;
    uint64_t outputBytes = 1u << 30; /* of standard output */
};

enum class ProgramStatus {
    DONE,     /* it ended with status 0 */
    FAILED,   /* with another one, or by a signal; what it wrote before is there */
    STOPPED,  /* it took too long; the same */
    MISSING,  /* there is no such program */
    NO_START, /* no room for its files, or no process to be had */
};

struct ProgramOutcome {
    ProgramStatus status = ProgramStatus::NO_START;
    std::string output, messages; /* its standard output and error */
};

using Clock = std::chrono::steady_clock;

/* Waits until the child has ended (it stays to be waited for) or the time has come; answers whether
 * it has ended. */
bool endsBefore(pid_t child, Clock::time_point deadline);

/* For a document: nothing is run any more, and the answer is STOPPED, when the seconds that its
 * options allow have passed since it was opened, or programs have failed so often; one that has
 * taken too long counts as many as half of that.  Its scratch directory is options.scratch. */
ProgramOutcome runFor(Document *document, const ProgramCall &call);
constexpr int MAX_FAILED = 8;

/* Runs the program and waits for its end.  `scratch` is the path of the directory for its files,
 * which must not exist yet, or empty: one is made below TMPDIR (else /tmp).  `calledGroup` is that
 * of Options. */
ProgramOutcome runLimited(const ProgramCall &call, const std::string &scratch,
                          volatile int *calledGroup = nullptr);

/* Removes the directory of a run that could not do so itself, for callers that end the process it
 * ran in.  May be called from a signal handler. */
void removeScratch(const char *directory);

} // namespace prepare

#endif
