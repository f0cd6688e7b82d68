/*
 * builtin.h - the prolog and the trailer inside the library, so that it needs no file of its own
 *
 * Made from the files that the program installs.
 */
#ifndef LIBRARY_BUILTIN_H
#define LIBRARY_BUILTIN_H

#include <cstddef>

struct BuiltinFile {
    const unsigned char *bytes;
    size_t count;
};

extern const BuiltinFile builtinProlog;
extern const BuiltinFile builtinTrailer;

#endif
