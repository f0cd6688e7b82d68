/*
 * compact.h - the writer of compact fonts (Type 1C), and of their charstrings
 */
#ifndef PREPARE_FONTS_COMPACT_H
#define PREPARE_FONTS_COMPACT_H

#include <string>
#include <utility>
#include <vector>

#include "prepare/fonts/outline.h"

namespace prepare {

struct CompactGlyph {
    std::string name; /* plain; the names of a font differ */
    std::string charstring;
    Outline outline = {}; /* what the charstring draws, for other kinds of programs */
    double width = 0;
};

struct CompactFont {
    std::string name; /* plain */
    double matrix[6] = {0.001, 0, 0, 0.001, 0, 0};
    int box[4] = {0, 0, 0, 0};
    std::vector<CompactGlyph> glyphs; /* the first is .notdef */
    /* Entries of the Private dictionary: operator (12 nn as 1200 + nn) and its operands, arrays as
     * differences. */
    std::vector<std::pair<int, std::vector<double>>> privateValues;
};

/* The Type 2 charstring of an outline. */
std::string compactCharstring(const Outline &outline, double width);

/* A glyph with its charstring. */
CompactGlyph compactGlyph(const std::string &name, const Outline &outline, double width);

/* The whole font. */
std::string writeCompactFont(const CompactFont &font);

/* Makes the box hold the outline. */
void growBox(const Outline &outline, int *box);

} // namespace prepare

#endif
