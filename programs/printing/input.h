/*
 * input.h - what is to be printed as a file that can be read more than once
 */
#ifndef PRINTING_INPUT_H
#define PRINTING_INPUT_H

#include <optional>
#include <string>

#include "seam/messages.h"

/* Looks at the input ("-": standard input).  What can be read only once - a pipe, a terminal,
 * standard input - is kept in the private directory, and `input` becomes the path of that file.
 * What is no PDF by its first bytes is refused.  Answers why nothing can be printed. */
std::optional<seam::Notice> openInput(std::string *input);

/* Copies a descriptor up to its end into a new file; false, with errno set, on failure. */
bool keepInput(int descriptor, const std::string &path);

#endif
