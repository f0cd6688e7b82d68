/*
 * files.h - whole writes, and outputs that are never one of the files that a run reads
 */
#ifndef SEAM_FILES_H
#define SEAM_FILES_H

#include <cstddef>
#include <string>
#include <vector>

namespace seam {

/* Writes all bytes, however often it is interrupted; 0, or errno of what went wrong. */
int writeWhole(int descriptor, const void *bytes, size_t count);

/* Are input and output one and the same regular file, by whatever names and links?  "-" stands for
 * standard input and for standard output. */
bool isSameFile(const std::string &input, const std::string &output);

/* A sentence when one of the outputs is one of the inputs, which it would destroy; else empty.
 * Names that are empty stand for no file. */
std::string overwriteFault(const std::vector<std::string> &inputs,
                           const std::vector<std::string> &outputs);

} // namespace seam

#endif
