/*
 * run_program.h - runs a program and keeps what it says
 */
#ifndef TESTS_RUN_PROGRAM_H
#define TESTS_RUN_PROGRAM_H

#include <map>
#include <string>
#include <vector>

struct ProgramResult {
    int status; /* exit status; -n when signal n ended it; 127 when it could not be started */
    std::string out;
    std::string err;
};

struct ProgramOptions {
    std::string directory;                          /* to run in; empty: the current one */
    std::string input;                              /* given on standard input */
    std::map<std::string, std::string> environment; /* added to the test's own */
    int timeoutSeconds = 120;                       /* then it is killed */
    long memoryMegabytes = 0;                       /* limit of its address space; 0: none */
};

/* Runs `command` (found along PATH when it has no slash) and waits for its end. */
ProgramResult runProgram(const std::vector<std::string> &command,
                         const ProgramOptions &options = {});

/* Waits until nothing of a process group runs (one that has ended and is not waited for does not
 * count); false: two minutes were not enough. */
bool hasGroupEnded(int group);

/* Is there such a program along PATH? */
bool haveProgram(const std::string &name);

#endif
