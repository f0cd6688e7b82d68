/*
 * plain.h - names of which every reader makes the same
 *
 * In a job, names of a document stand among PostScript's own words.  A plain one is made of
 * letters, digits, '.', '_', '-' and '+', so that it begins and ends where it looks as if it did.
 */
#ifndef PREPARE_MODEL_PLAIN_H
#define PREPARE_MODEL_PLAIN_H

#include <string>
#include <string_view>

namespace prepare {

constexpr size_t MAX_RESOURCE_NAME = 64; /* bytes, without the slash */
constexpr size_t MAX_PLAIN_NAME = 127;   /* of any other name */

bool isPlain(char c);

/* Is the name (without a slash) plain, not empty, and not longer than that? */
bool isPlain(std::string_view name, size_t most);

/* The name with '_' in the place of each other byte, cut to that length; `otherwise` for nothing.
 */
std::string plainOf(std::string_view name, size_t most, const char *otherwise);

} // namespace prepare

#endif
