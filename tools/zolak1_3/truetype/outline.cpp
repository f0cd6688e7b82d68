/*
 * outline.cpp - the outline of a simple glyph as a PostScript path
 *
 * A contour of the font is a ring of points on and off the curve: an off-curve point is the
 * control point of a quadratic curve, and between two of them in a row an on-curve point halfway
 * is understood.  PostScript has cubic curves, whose control points lie two thirds of the way from
 * the ends to the quadratic one.
 *
 * Two departures are intended and kept.  The first point of a contour counts as on-curve whatever
 * it says.  Just two off-curve points in a row become one cubic curve with its control points
 * pushed out past them, where three and more are split at their midpoints.
 *
 * A glyph is read whole into fixed buffers before anything of it is written, so that a damaged one
 * leaves no piece of a path behind.  Nothing is allocated.
 */
#include "tools/zolak1_3/truetype/outline.h"

#include "tools/zolak1_3/truetype/glyf.h"
#include "tools/zolak1_3/truetype/psline.h"
#include "tools/zolak1_3/truetype/report.h"
#include "zelkov/format.h"

namespace {

constexpr int MAX_POINTS = 2000;

/* No honest font comes near; glyphs that share their data could otherwise write without end. */
constexpr uint32_t MAX_SEGMENTS = 16777216;

enum PointFlag : uint8_t {
    FLAG_ON_CURVE = 0x01,
    FLAG_X_SHORT = 0x02,
    FLAG_Y_SHORT = 0x04,
    FLAG_REPEAT = 0x08,
    FLAG_X_SAME_OR_POSITIVE = 0x10,
    FLAG_Y_SAME_OR_POSITIVE = 0x20,
};

/* The points of one glyph.  The end indices of the contours rise, and the last is that of the
 * last point. */
struct Outline {
    int contourCount;
    int pointCount;
    uint16_t ends[MAX_POINTS];
    uint8_t flags[MAX_POINTS];
    int16_t x[MAX_POINTS], y[MAX_POINTS];
};

/* ---- reading */

/* False when the contours do not rise or have more points than there is room for. */
bool readContourEnds(TTGlyphCursor *cursor, Outline *outline, int contourCount)
{
    int previous = -1;
    outline->contourCount = contourCount;
    for (int i = 0; i < contourCount; i++) {
        int end = cursorU16(cursor);
        if (cursor->damaged || end <= previous || end >= MAX_POINTS)
            return false;
        outline->ends[i] = (uint16_t)end;
        previous = end;
    }
    outline->pointCount = previous + 1;
    return true;
}

void readFlags(TTGlyphCursor *cursor, Outline *outline)
{
    int i = 0;
    while (i < outline->pointCount && !cursor->damaged) {
        uint8_t flag = cursorU8(cursor);
        int repeats = flag & FLAG_REPEAT ? cursorU8(cursor) : 0;
        outline->flags[i++] = flag;
        for (; repeats > 0 && i < outline->pointCount; repeats--)
            outline->flags[i++] = flag;
    }
}

/* One coordinate of all points.  They are kept as 16-bit values that wrap. */
void readCoordinates(TTGlyphCursor *cursor, const Outline &outline, int16_t *values,
                     unsigned shortFlag, unsigned sameFlag)
{
    int value = 0;
    for (int i = 0; i < outline.pointCount; i++) {
        unsigned flag = outline.flags[i];
        if (flag & shortFlag) {
            int delta = cursorU8(cursor);
            value += flag & sameFlag ? delta : -delta;
        } else if (!(flag & sameFlag)) {
            value += cursorS16(cursor);
        }
        values[i] = (int16_t)value;
    }
}

/* Reads the points of a simple glyph; false when they cannot be had whole. */
bool readOutline(Outline *outline, const TTGlyphData &glyph, int contourCount)
{
    TTGlyphCursor cursor = glyphCursor(glyph, TT_GLYPH_HEADER_BYTES);
    if (!readContourEnds(&cursor, outline, contourCount))
        return false;
    cursorSkip(&cursor, cursorU16(&cursor)); /* the instructions */
    readFlags(&cursor, outline);
    if (cursor.damaged)
        return false;
    readCoordinates(&cursor, *outline, outline->x, FLAG_X_SHORT, FLAG_X_SAME_OR_POSITIVE);
    readCoordinates(&cursor, *outline, outline->y, FLAG_Y_SHORT, FLAG_Y_SAME_OR_POSITIVE);
    return !cursor.damaged;
}

/* ---- writing */

TTPoint pointAt(const Outline &outline, int i)
{
    return {outline.x[i], outline.y[i]};
}

bool isOnCurve(const Outline &outline, int i)
{
    return outline.flags[i] & FLAG_ON_CURVE;
}

/* (a * wa + b * wb) / divisor, truncated toward zero. */
TTPoint weighted(int32_t wa, TTPoint a, int32_t wb, TTPoint b, int32_t divisor)
{
    /* readOutline fills every point that is asked for, which the analyzer cannot see.
     * NOLINTNEXTLINE(clang-analyzer-core.UndefinedBinaryOperatorResult) */
    return {(wa * a.x + wb * b.x) / divisor, (wa * a.y + wb * b.y) / divisor};
}

TTPoint midpoint(TTPoint a, TTPoint b)
{
    return weighted(1, a, 1, b, 2);
}

/* A quadratic curve in cubic form: two thirds of the way to the control point. */
void writeSingleCurve(ZFile *output, TTPoint from, TTPoint control, TTPoint to)
{
    psline_curveto(output, weighted(2, control, 1, from, 3), weighted(1, to, 2, control, 3), to);
}

void writePairCurve(ZFile *output, TTPoint from, TTPoint control1, TTPoint control2, TTPoint to)
{
    psline_curveto(output, weighted(4, control1, -1, from, 3), weighted(4, control2, -1, to, 3),
                   to);
}

/* Three and more off-curve points, `first` to `first + count - 1`: a curve for each, from midpoint
 * to midpoint.  The control points are worked out from the points themselves, since a midpoint has
 * lost its half unit. */
void writeSplitCurves(ZFile *output, const Outline &outline, int first, int count, TTPoint to)
{
    TTPoint before = pointAt(outline, first - 1);
    TTPoint control = pointAt(outline, first);
    TTPoint next = pointAt(outline, first + 1);
    psline_curveto(output, weighted(2, control, 1, before, 3), weighted(1, next, 5, control, 6),
                   midpoint(control, next));
    for (int i = first + 1; i < first + count - 1; i++) {
        before = control;
        control = next;
        next = pointAt(outline, i + 1);
        psline_curveto(output, weighted(5, control, 1, before, 6), weighted(1, next, 5, control, 6),
                       midpoint(control, next));
    }
    psline_curveto(output, weighted(5, next, 1, control, 6), weighted(1, to, 2, next, 3), to);
}

/* The curves over `count` off-curve points from `first` on; answers how many were written. */
int writeCurves(ZFile *output, const Outline &outline, int first, int count, TTPoint to)
{
    TTPoint from = pointAt(outline, first - 1);
    if (count == 1) {
        writeSingleCurve(output, from, pointAt(outline, first), to);
        return 1;
    }
    if (count == 2) {
        writePairCurve(output, from, pointAt(outline, first), pointAt(outline, first + 1), to);
        return 1;
    }
    writeSplitCurves(output, outline, first, count, to);
    return count;
}

int countOffCurve(const Outline &outline, int first, int end)
{
    int i = first;
    while (i <= end && !isOnCurve(outline, i))
        i++;
    return i - first;
}

/* The contour of the points `start` to `end`; answers its segments.  It closes by itself: only
 * curves lead back to its start point. */
int writeContour(ZFile *output, const Outline &outline, int start, int end)
{
    int segments = 1;
    psline_moveto(output, pointAt(outline, start));
    for (int i = start + 1; i <= end; i++) {
        int offCurve = countOffCurve(outline, i, end);
        if (offCurve == 0) {
            psline_lineto(output, pointAt(outline, i));
            segments++;
            continue;
        }
        int target = i + offCurve <= end ? i + offCurve : start;
        segments += writeCurves(output, outline, i, offCurve, pointAt(outline, target));
        i += offCurve;
    }
    psline_text(output, " closepath \n");
    return segments;
}

void writeContours(ZelkovInstance *instance, TTFont *font, const Outline &outline)
{
    int segments = 0;
    int start = 0;
    for (int i = 0; i < outline.contourCount; i++) {
        segments += writeContour(font->output, outline, start, outline.ends[i]);
        start = outline.ends[i] + 1;
    }
    font->segmentCount += segments;
    font->segmentsWritten += (uint32_t)segments;
    if (font->segmentsWritten > MAX_SEGMENTS)
        tt_reportTooLarge(instance);
}

/* Reports that a glyph without a path of its own was asked for one, and leaves the same words in
 * the output. */
void refuseComponent(ZelkovInstance *instance, const TTFont &font, TTReportLine line,
                     const char *kind, int32_t glyph, int32_t parent)
{
    const char *parentName = tt_glyphName(font, parent);
    const char *glyphName = tt_glyphName(font, glyph);
    tt_reportFault(instance, line, "Composite glyph %s refers to %s glyph %s", parentName, kind,
                   glyphName);
    fputstr_arg(font.output, "\n%%Composite glyph %s refers to %s glyph %s", parentName, kind,
                glyphName);
}

} // namespace

void tt_reportDamagedGlyph(ZelkovInstance *instance, const TTFont &font, int32_t glyph)
{
    tt_reportFault(instance, LINE_DAMAGED_GLYPH, "Glyph %s is damaged or too large",
                   tt_glyphName(font, glyph));
}

void writeOutline(ZelkovInstance *instance, TTFont *font, int32_t glyph, int32_t parent)
{
    TTGlyphData data = locateGlyph(*font, glyph);
    if (data.length < 1) {
        refuseComponent(instance, *font, LINE_NO_GLYPH, "non-existent", glyph, parent);
        return;
    }
    TTGlyphHeader header;
    readGlyf(&header, data.bytes);
    if (header.numberOfContours < 1) {
        refuseComponent(instance, *font, LINE_NESTED_COMPOSITE, "composite", glyph, parent);
        return;
    }
    Outline outline;
    if (readOutline(&outline, data, header.numberOfContours))
        writeContours(instance, font, outline);
    else
        tt_reportDamagedGlyph(instance, *font, glyph);
}
