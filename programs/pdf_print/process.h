/*
 * process.h - other programs as processes: no shell, and an end when this process ends
 */
#ifndef PDF_PRINT_PROCESS_H
#define PDF_PRINT_PROCESS_H

#include <functional>
#include <string>
#include <vector>

/* A program beside this one, or by its name where the environment finds it. */
std::string siblingProgram(const std::string &name);

struct ProcessResult {
    bool isStarted = false; /* false: errno says why */
    int status = 0;         /* exit status; 128 and more: ended by a signal */
};

/* Runs a program, the first of the arguments, and hands its lines of standard error on.  What it
 * writes on standard output is thrown away. */
ProcessResult runProcess(const std::vector<std::string> &arguments,
                         const std::function<void(const std::string &)> &line);

#endif
