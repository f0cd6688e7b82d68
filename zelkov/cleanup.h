/*
 * cleanup.h - the list of what must not outlive the process: temporary files and directories
 *
 * The list only remembers; a program that ends by itself or by a signal has it worked off (see
 * process.h).  In a program without that it costs nothing and does nothing.
 */
#ifndef ZELKOV_CLEANUP_H
#define ZELKOV_CLEANUP_H

#include <string>

/* Puts a file, or an empty directory, on the list: best before it is made, under a name that is
 * nobody else's.  False when the list is full or the path is longer than 4095 bytes; the file is
 * then simply not covered. */
bool cleanup_add(const std::string &path);
bool cleanup_addDirectory(const std::string &path);

/* Takes a path off the list; the file itself is left alone. */
void cleanup_forget(const std::string &path);

/* Takes everything off the list: for a child of the process, whose files they are not. */
void cleanup_forgetAll();

/* Removes everything on the list, files first.  May be called by a signal handler. */
void cleanup_removeAll();

#endif
