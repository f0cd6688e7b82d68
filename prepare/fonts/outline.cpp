/*
 * outline.cpp - outlines from FreeType, quadratic curves raised to cubic ones
 */
#include "prepare/fonts/outline.h"

#include <algorithm>
#include <cmath>

#include FT_OUTLINE_H

namespace prepare {

namespace {

struct OutlineReader {
    Outline *outline;
    int scale;
    double x = 0, y = 0; /* the current point, scaled */
};

int rounded(double value)
{
    return (int)std::lround(
        std::clamp(value, -(double)LARGEST_COORDINATE, (double)LARGEST_COORDINATE));
}

void append(OutlineReader *reader, Segment::Kind kind, const FT_Vector *const *points, int count)
{
    Segment segment{kind, {}, {}};
    for (int i = 0; i < count; i++) {
        reader->x = (double)points[i]->x * reader->scale;
        reader->y = (double)points[i]->y * reader->scale;
        segment.x[i] = rounded(reader->x);
        segment.y[i] = rounded(reader->y);
    }
    reader->outline->path.push_back(segment);
}

int moveTo(const FT_Vector *to, void *user)
{
    append(static_cast<OutlineReader *>(user), Segment::MOVE, &to, 1);
    return 0;
}

int lineTo(const FT_Vector *to, void *user)
{
    append(static_cast<OutlineReader *>(user), Segment::LINE, &to, 1);
    return 0;
}

int cubicTo(const FT_Vector *c1, const FT_Vector *c2, const FT_Vector *to, void *user)
{
    const FT_Vector *points[] = {c1, c2, to};
    append(static_cast<OutlineReader *>(user), Segment::CURVE, points, 3);
    return 0;
}

/* A quadratic curve as a cubic one: its control points lie two thirds of the way to the one. */
int conicTo(const FT_Vector *control, const FT_Vector *to, void *user)
{
    OutlineReader *reader = static_cast<OutlineReader *>(user);
    double cx = (double)control->x * reader->scale, cy = (double)control->y * reader->scale;
    double x = (double)to->x * reader->scale, y = (double)to->y * reader->scale;
    Segment segment{
        Segment::CURVE,
        {rounded(reader->x + (cx - reader->x) * 2 / 3), rounded(x + (cx - x) * 2 / 3), rounded(x)},
        {rounded(reader->y + (cy - reader->y) * 2 / 3), rounded(y + (cy - y) * 2 / 3), rounded(y)}};
    reader->outline->path.push_back(segment);
    reader->x = x;
    reader->y = y;
    return 0;
}

} // namespace

bool readOutline(FT_Face face, unsigned glyph, int scale, Outline *outline, double *advance)
{
    *outline = {};
    *advance = 0;
    constexpr FT_Int32 FLAGS = FT_LOAD_NO_SCALE | FT_LOAD_NO_HINTING | FT_LOAD_NO_BITMAP;
    if (glyph >= (unsigned)std::max<FT_Long>(face->num_glyphs, 0) && glyph != 0 &&
        !FT_IS_CID_KEYED(face))
        return false;
    if (FT_Load_Glyph(face, glyph, FLAGS) != 0 || face->glyph->format != FT_GLYPH_FORMAT_OUTLINE)
        return false;
    *advance = (double)face->glyph->metrics.horiAdvance * scale;
    FT_Outline_Funcs funcs = {moveTo, lineTo, conicTo, cubicTo, 0, 0};
    OutlineReader reader{outline, scale};
    if (FT_Outline_Decompose(&face->glyph->outline, &funcs, &reader) != 0)
        outline->path.clear();
    return true;
}

int outlineScale(FT_Face face)
{
    constexpr int FINE = 1000; /* units to the em */
    int units = std::max<int>(face->units_per_EM, 1);
    return units >= FINE ? 1 : (FINE + units - 1) / units;
}

} // namespace prepare
