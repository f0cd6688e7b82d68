/*
 * markup.cpp - highlights, underlines and squiggles, drawn from their entries
 *
 * ISO 32000-1, 12.5.6.10: one quadrilateral for each piece of marked text.  Its points stand in the
 * order in which all programs write them, row by row, and not around as the text of the clause has
 * them.
 */
#include "prepare/page/drawing.h"

#include <algorithm>

#include "prepare/model/tokens.h"

namespace prepare {

namespace {

/* A piece of marked text: the ends of its top and of its foot. */
struct Quad {
    Point topLeft, topRight, footLeft, footRight;
};

std::vector<Quad> readQuads(QPDFObjectHandle annotation)
{
    std::vector<Point> points = readPoints(annotation.getKey("/QuadPoints"));
    std::vector<Quad> quads;
    for (size_t i = 0; i + 3 < points.size(); i += 4)
        quads.push_back({points[i], points[i + 1], points[i + 2], points[i + 3]});
    std::optional<Rect> r = readRect(annotation.getKey("/Rect"));
    if (quads.empty() && r)
        quads.push_back({{r->x1, r->y2}, {r->x2, r->y2}, {r->x1, r->y1}, {r->x2, r->y1}});
    return quads;
}

} // namespace

void drawHighlight(Drawing *drawing)
{
    double share = std::clamp(numberOr(drawing->annotation.getKey("/CA"), 1), 0.0, 1.0);
    auto fill = colourText(drawing->annotation.getKey("/C"), false, share);
    if (!fill)
        return;
    write(drawing, *fill);
    for (const Quad &quad : readQuads(drawing->annotation)) {
        polyline(drawing, {quad.topLeft, quad.topRight, quad.footRight, quad.footLeft});
        write(drawing, "h f\n");
    }
}

namespace {

/* A line along marked text, at this share of its height. */
void drawTextLine(Drawing *drawing, double height)
{
    setLines(drawing);
    for (const Quad &quad : readQuads(drawing->annotation)) {
        double size = lengthOf(quad.topLeft - quad.footLeft);
        write(drawing, numberText(std::max(0.3, size / 16)) + " w\n");
        moveTo(drawing, between(quad.footLeft, quad.topLeft, height));
        lineTo(drawing, between(quad.footRight, quad.topRight, height));
        write(drawing, "S\n");
    }
}

} // namespace

void drawUnderline(Drawing *drawing)
{
    drawTextLine(drawing, 1.0 / 7);
}

void drawStrikeOut(Drawing *drawing)
{
    drawTextLine(drawing, 3.0 / 7);
}

void drawSquiggly(Drawing *drawing)
{
    constexpr int MAX_TEETH = 2000;
    setLines(drawing);
    for (const Quad &quad : readQuads(drawing->annotation)) {
        double size = lengthOf(quad.topLeft - quad.footLeft);
        double length = lengthOf(quad.footRight - quad.footLeft);
        if (size <= 0 || length <= 0)
            continue;
        int teeth = (int)std::clamp(length / (size / 8), 1.0, (double)MAX_TEETH);
        write(drawing, numberText(size / 16) + " w\n");
        moveTo(drawing, between(quad.footLeft, quad.topLeft, 1.0 / 16));
        for (int i = 1; i <= teeth; i++) {
            double share = (double)i / teeth;
            Point foot = between(quad.footLeft, quad.footRight, share);
            Point top = between(quad.topLeft, quad.topRight, share);
            lineTo(drawing, between(foot, top, i % 2 ? 1.0 / 6 : 1.0 / 16));
        }
        write(drawing, "S\n");
    }
}

} // namespace prepare
