/*
 * type1.h - Type 1 font programs, read as data
 *
 * The program would run in the printer.  It is taken apart here into values, numbers and counted
 * bytes, and nothing of its text goes further.
 */
#ifndef PREPARE_FONTS_TYPE1_H
#define PREPARE_FONTS_TYPE1_H

#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "prepare/fonts/encoding.h"
#include "prepare/fonts/outline.h"

namespace prepare {

struct Type1Program {
    double matrix[6] = {0.001, 0, 0, 0.001, 0, 0};
    Encoding encoding;                              /* the program's own */
    std::map<std::string, std::string> charstrings; /* by name without slash; decrypted */
    std::map<int, std::string> subrs;
    /* Hint values, as CompactFont::privateValues has them. */
    std::vector<std::pair<int, std::vector<double>>> privateValues;
};

/* Reads a program, with or without segment headers, its private part binary or in hexadecimal.
 * Nothing when it has no charstrings, or works in ways that are not read here (multiple masters).
 */
std::optional<Type1Program> readType1(const std::string &data);

/* The outline of a glyph with its hints, and its advance; false when the program does not have it
 * or its charstring is damaged. */
bool type1Outline(const Type1Program &program, const std::string &name, Outline *outline,
                  double *advance);

} // namespace prepare

#endif
