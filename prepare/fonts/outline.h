/*
 * outline.h - the outline of a glyph in whole font units, with the hints it may bring
 */
#ifndef PREPARE_FONTS_OUTLINE_H
#define PREPARE_FONTS_OUTLINE_H

#include <cstddef>
#include <vector>

#include "prepare/fonts/program.h"

namespace prepare {

struct Segment {
    enum Kind : unsigned char { MOVE, LINE, CURVE } kind;
    int x[3], y[3]; /* MOVE and LINE use the first */
};

struct Stem {
    bool isVertical;
    int edge, width;
    bool operator==(const Stem &) const = default;
};

/* From segment `at` on, these stems of the outline are valid (by their places in `stems`). */
struct HintChange {
    size_t at;
    std::vector<size_t> stems;
};

struct Outline {
    std::vector<Segment> path;
    std::vector<Stem> stems;
    std::vector<HintChange> changes; /* none: no hints */
};

constexpr int LARGEST_COORDINATE = 16000;

/* The outline of a glyph, its numbers multiplied by `scale`; false when the program does not have
 * it.  `advance` is in the same units. */
bool readOutline(FT_Face face, unsigned glyph, int scale, Outline *outline, double *advance);

/* What to multiply this program's units by, so that whole numbers are fine enough. */
int outlineScale(FT_Face face);

} // namespace prepare

#endif
