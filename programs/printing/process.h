/*
 * process.h - other programs as processes: no shell, and an end when this process ends
 */
#ifndef PRINTING_PROCESS_H
#define PRINTING_PROCESS_H

#include <chrono>
#include <functional>
#include <string>
#include <vector>

/* A program beside this one, or in the bin directory of the tree that this one stands in; else its
 * name, by which the environment finds it. */
std::string ownProgram(const std::string &name);

/* Is this file the program that is running? */
bool isThisProgram(const std::string &path);

using Deadline = std::chrono::steady_clock::time_point;
constexpr Deadline NEVER = Deadline::max();

struct ProcessResult {
    bool isStarted = false; /* false: errno says why */
    int status = 0;         /* exit status; 128 and more: ended by a signal */
};

/* Runs a program, the first of the arguments, and hands its lines of standard error on.  What it
 * writes on standard output goes into a new file `output`, or is thrown away.  A signal that ends
 * this process ends the program first, so that it can remove what it has made. */
ProcessResult runProcess(const std::vector<std::string> &arguments,
                         const std::function<void(const std::string &)> &line,
                         const std::string &output = "");

/* The same with work of this program in the place of another one: a child, which starts as a called
 * program does, with no files of this process open and nothing to remove at its end but what the
 * work makes.  The work answers the exit status; what it writes on standard output is thrown away.
 * At the deadline the child is killed. */
ProcessResult runInChild(const std::function<int()> &work,
                         const std::function<void(const std::string &)> &line, Deadline deadline);

#endif
