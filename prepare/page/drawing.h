/*
 * drawing.h - the drawing of one annotation, for appearances.cpp and the files that draw its kinds
 *
 * Operators are written one after the other; the box grows with each point that is written.
 */
#ifndef PREPARE_PAGE_DRAWING_H
#define PREPARE_PAGE_DRAWING_H

#include <optional>
#include <string>
#include <vector>

#include "prepare/page/appearances.h"

namespace prepare {

constexpr double MAX_COORDINATE = 1e6, MAX_WIDTH = 1000;

struct Point {
    double x, y;
};

Point operator+(Point p, Point q);
Point operator-(Point p, Point q);
Point operator*(Point p, double factor);
Point between(Point p, Point q, double share);
double lengthOf(Point p);

struct Border {
    double width = 1;
    std::string dash; /* with its operator, or empty */
    bool isUnderline = false;
};

/* What has been drawn. */
struct Drawing {
    Document *document;
    QPDFObjectHandle annotation;
    size_t limit;
    Border border;
    std::string content;
    Rect bounds;
    QPDFObjectHandle fonts;
};

/* Adds operators; throws LimitReached beyond the drawing's limit. */
void write(Drawing *drawing, const std::string &text);

void moveTo(Drawing *drawing, Point point);
void lineTo(Drawing *drawing, Point point);
void curveTo(Drawing *drawing, Point first, Point second, Point end);
void polyline(Drawing *drawing, const std::vector<Point> &points);
void rectangle(Drawing *drawing, Rect r);
void ellipse(Drawing *drawing, Point centre, double rx, double ry);

/* A number of the annotation, clamped. */
double coordinate(QPDFObjectHandle item);

/* Numbers in pairs. */
std::vector<Point> readPoints(QPDFObjectHandle array);

/* A colour with its operator, mixed with white where `share` is below 1; nothing: transparent. */
std::optional<std::string> colourText(QPDFObjectHandle colour, bool isStroke, double share = 1);

Border readBorder(QPDFObjectHandle annotation);

/* Width, dashes and colour of lines; black where no colour is given. */
void setLines(Drawing *drawing);

/* Sets the colours of a closed shape; the operator that paints it, or nothing. */
std::string shapeOperator(Drawing *drawing);

/* Smaller on all sides, at most to nothing. */
Rect inset(Rect rect, double by);

/* The rectangle within /RD. */
std::optional<Rect> innerRect(QPDFObjectHandle annotation);

/* One function for each kind (ISO 32000-1, 12.5.6): shapes.cpp ... */
void drawSquare(Drawing *drawing);
void drawCircle(Drawing *drawing);
void drawLine(Drawing *drawing);
void drawInk(Drawing *drawing);
void drawPolyLine(Drawing *drawing);
void drawPolygon(Drawing *drawing);
void drawLink(Drawing *drawing);

/* ... markup.cpp ... */
void drawHighlight(Drawing *drawing);
void drawUnderline(Drawing *drawing);
void drawStrikeOut(Drawing *drawing);
void drawSquiggly(Drawing *drawing);

/* ... and texts.cpp.  A field's background and frame, and its text if nobody else has set it. */
void drawFreeText(Drawing *drawing);
void drawField(Drawing *drawing, bool hasText);

} // namespace prepare

#endif
