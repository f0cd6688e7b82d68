/*
 * shapes.cpp - squares, circles, lines, ink, polygons and links, drawn from their entries
 *
 * ISO 32000-1, 12.5.6.5 (links), 12.5.6.7 to 12.5.6.9 and 12.5.6.13; line endings are those of
 * table 176, in sizes that go with the width of the line.
 */
#include "prepare/page/drawing.h"

#include <algorithm>
#include <cmath>

namespace prepare {

void drawSquare(Drawing *drawing)
{
    auto rect = innerRect(drawing->annotation);
    std::string paint = rect ? shapeOperator(drawing) : "";
    if (paint.empty())
        return;
    rectangle(drawing, inset(*rect, drawing->border.width / 2));
    write(drawing, paint);
}

void drawCircle(Drawing *drawing)
{
    auto rect = innerRect(drawing->annotation);
    std::string paint = rect ? shapeOperator(drawing) : "";
    if (paint.empty())
        return;
    Rect r = inset(*rect, drawing->border.width / 2);
    ellipse(drawing, {(r.x1 + r.x2) / 2, (r.y1 + r.y2) / 2}, (r.x2 - r.x1) / 2, (r.y2 - r.y1) / 2);
    write(drawing, paint);
}

namespace {

/* The end of a line at `tip`; `ahead` has length 1 and leads out of the line. */
void lineEnding(Drawing *drawing, const std::string &style, Point tip, Point ahead)
{
    double unit = std::max(1.0, drawing->border.width), half = 2.5 * unit, arrow = 9 * unit;
    Point side = {-ahead.y, ahead.x};
    bool isReversed = style == "/ROpenArrow" || style == "/RClosedArrow";
    Point back = ahead * (isReversed ? arrow : -arrow) * std::cos(M_PI / 6);
    Point wing = side * (arrow / 2);
    bool isOpen = false;
    if (style == "/Square") {
        Point a = ahead * half, s = side * half;
        polyline(drawing, {tip + a + s, tip - a + s, tip - a - s, tip + a - s});
    } else if (style == "/Diamond") {
        Point a = ahead * half, s = side * half;
        polyline(drawing, {tip + a, tip + s, tip - a, tip - s});
    } else if (style == "/Circle") {
        ellipse(drawing, tip, half, half);
    } else if (style == "/OpenArrow" || style == "/ROpenArrow") {
        polyline(drawing, {tip + back + wing, tip, tip + back - wing});
        isOpen = true;
    } else if (style == "/ClosedArrow" || style == "/RClosedArrow") {
        polyline(drawing, {tip + back + wing, tip, tip + back - wing});
    } else if (style == "/Butt") {
        polyline(drawing, {tip + side * half, tip - side * half});
        isOpen = true;
    } else if (style == "/Slash") {
        Point slanted = ahead * (std::cos(M_PI / 3) * arrow) + side * (std::sin(M_PI / 3) * arrow);
        polyline(drawing, {tip + slanted, tip - slanted});
        isOpen = true;
    } else {
        return;
    }
    bool isFilled = colourText(drawing->annotation.getKey("/IC"), false).has_value();
    write(drawing, isOpen ? "S\n" : isFilled ? "b\n" : "s\n");
}

/* /LE of an open line through these points. */
void lineEndings(Drawing *drawing, const std::vector<Point> &points)
{
    QPDFObjectHandle styles = drawing->annotation.getKey("/LE");
    if (!styles.isArray() || styles.getArrayNItems() < 2 || points.size() < 2)
        return;
    if (auto fill = colourText(drawing->annotation.getKey("/IC"), false))
        write(drawing, *fill);
    write(drawing, "[] 0 d\n");
    Point ends[2][2] = {{points[0], points[1]}, {points.back(), points[points.size() - 2]}};
    for (int i = 0; i < 2; i++) {
        Point ahead = ends[i][0] - ends[i][1];
        double length = lengthOf(ahead);
        if (length > 0)
            lineEnding(drawing, nameOr(styles.getArrayItem(i)), ends[i][0], ahead * (1 / length));
    }
}

} // namespace

void drawLine(Drawing *drawing)
{
    QPDFObjectHandle annotation = drawing->annotation;
    std::vector<Point> points = readPoints(annotation.getKey("/L"));
    if (points.size() < 2 || drawing->border.width == 0)
        return;
    points.resize(2);
    setLines(drawing);
    Point along = points[1] - points[0];
    double length = lengthOf(along);
    double leader = coordinate(annotation.getKey("/LL"));
    if (leader != 0 && length > 0) { /* the line stands off, on lines of its own */
        Point side = Point{-along.y, along.x} * (1 / length);
        double sign = leader < 0 ? -1 : 1;
        double gap = std::max(0.0, coordinate(annotation.getKey("/LLO")));
        double over = std::max(0.0, coordinate(annotation.getKey("/LLE")));
        for (Point &point : points) {
            polyline(drawing,
                     {point + side * (sign * gap), point + side * (leader + sign * (gap + over))});
            write(drawing, "S\n");
            point = point + side * (leader + sign * gap);
        }
    }
    polyline(drawing, points);
    write(drawing, "S\n");
    lineEndings(drawing, points);
}

void drawInk(Drawing *drawing)
{
    QPDFObjectHandle strokes = drawing->annotation.getKey("/InkList");
    if (!strokes.isArray() || drawing->border.width == 0)
        return;
    setLines(drawing);
    write(drawing, "1 J 1 j\n");
    for (int i = 0; i < strokes.getArrayNItems(); i++) {
        std::vector<Point> points = readPoints(strokes.getArrayItem(i));
        if (points.size() == 1)
            points.push_back(points[0]);
        polyline(drawing, points);
        if (!points.empty())
            write(drawing, "S\n");
    }
}

void drawPolyLine(Drawing *drawing)
{
    std::vector<Point> points = readPoints(drawing->annotation.getKey("/Vertices"));
    if (points.size() < 2 || drawing->border.width == 0)
        return;
    setLines(drawing);
    polyline(drawing, points);
    write(drawing, "S\n");
    lineEndings(drawing, points);
}

void drawPolygon(Drawing *drawing)
{
    std::vector<Point> points = readPoints(drawing->annotation.getKey("/Vertices"));
    std::string paint = points.size() >= 2 ? shapeOperator(drawing) : "";
    if (paint.empty())
        return;
    polyline(drawing, points);
    write(drawing, paint);
}

void drawLink(Drawing *drawing)
{
    QPDFObjectHandle colour = drawing->annotation.getKey("/C");
    auto rect = readRect(drawing->annotation.getKey("/Rect"));
    bool isTransparent = colour.isArray() && colour.getArrayNItems() == 0;
    if (!rect || drawing->border.width == 0 || isTransparent)
        return;
    setLines(drawing);
    Rect r = inset(*rect, drawing->border.width / 2);
    if (drawing->border.isUnderline)
        polyline(drawing, {{r.x1, r.y1}, {r.x2, r.y1}});
    else
        rectangle(drawing, r);
    write(drawing, "S\n");
}

} // namespace prepare
