/*
 * values.h - values as people and print systems give them
 */
#ifndef PRINTING_VALUES_H
#define PRINTING_VALUES_H

#include <string>

/* The size of a paper in points, by its name ("a4") or as "210x297mm", with `unit` where it says
 * none: mm, cm, in or pt.  False when it is nothing like that. */
bool readPaperSize(const std::string &name, const char *unit, int *width, int *height);

/* A length in points, such as "10mm", "1.5cm", "0.5in" or "36pt"; false when it is none, or longer
 * than any paper. */
bool readLength(const std::string &text, double *points);

#endif
