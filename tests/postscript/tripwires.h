/*
 * tripwires.h - runs a job in an interpreter that tells of whatever no job has to do
 */
#ifndef TESTS_POSTSCRIPT_TRIPWIRES_H
#define TESTS_POSTSCRIPT_TRIPWIRES_H

#include <string>
#include <vector>

/* What a job has done that none has to do, a line each: what tests/postscript/tripwires.ps says,
 * files that it has left, and that it has not come to its end. */
std::vector<std::string> trippedBy(const std::string &job);

#endif
