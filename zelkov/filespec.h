/*
 * filespec.h - file specifications: logical locations, defaults, components
 *
 * A specification is a path, or a name behind a logical location: "KV_DAT_PS:" is the directory
 * of the program's data files, "KV_TMP:" the private temporary directory of the process.
 */
#ifndef ZELKOV_FILESPEC_H
#define ZELKOV_FILESPEC_H

#include <string>

/* The path that `name` stands for.  What it lacks is filled in: a directory, only when it has no
 * directory part, from `defaults`, else from `defaultDirectory`; an extension, only when its last
 * component has no dot, from `defaults`.  Logical locations are replaced by their directories.
 * Empty, with errno set, when the name is empty or ends as a directory's does, or when a location
 * cannot be had. */
std::string filespec_resolve(const char *defaultDirectory, const char *name, const char *defaults);

/* The same without the extension being added, for names that are complete as they stand. */
std::string filespec_resolveExact(const char *defaultDirectory, const char *name,
                                  const char *defaults);

/* The path that `name` itself stands for, its logical location replaced by the directory; empty,
 * with errno set, when a location cannot be had. */
std::string filespec_expand(const char *name);

constexpr int FPARSE_RESULT_BYTES = 32;

/* Writes a component of `specification`, completed from `defaults`, into `result` (32 bytes,
 * always terminated).  "NAM", the only selector, is the last component without its extension;
 * white space, control bytes and < > [ ] { } / % in it become '_', so that it can stand in a
 * PostScript name.  It is cut at 31 bytes.  Answers 0, or -1 with errno = EINVAL for another
 * selector. */
int fparse(char *result, const char *specification, const char *defaults, const char *selector);

/* The directory of the data files, with a final slash: the run's own (host.h), else the data
 * directory of an installed program beside the executable, else that of a build tree. */
std::string filespec_dataDirectory();

#endif
