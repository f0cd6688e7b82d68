/*
 * format.h - formatted text into a file
 */
#ifndef ZELKOV_FORMAT_H
#define ZELKOV_FORMAT_H

#include "zelkov/file.h"

/* Writes the formatted text as one line; 0, or -1 on failure.  There is no limit of length. */
int fputstr_arg(ZFile *file, const char *format, ...) __attribute__((format(printf, 2, 3)));

/* Writes exactly the formatted bytes, without a line end; 0, or -1 on failure. */
int fputstr_arg_noeol(ZFile *file, const char *format, ...) __attribute__((format(printf, 2, 3)));

/* Writes the number as "%g" gives it, without a line end; 0, or -1 on failure. */
int fputnumber(ZFile *file, double value);

#endif
