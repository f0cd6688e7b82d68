/*
 * drawing.cpp - points, paths, colours and borders of an annotation that is drawn
 *
 * What is common to all kinds: numbers are clamped as they are read, and every point that is
 * written enlarges the box of the form.
 */
#include "prepare/page/drawing.h"

#include <algorithm>
#include <cmath>

#include "prepare/model/tokens.h"

namespace prepare {

Point operator+(Point p, Point q)
{
    return {p.x + q.x, p.y + q.y};
}

Point operator-(Point p, Point q)
{
    return {p.x - q.x, p.y - q.y};
}

Point operator*(Point p, double factor)
{
    return {p.x * factor, p.y * factor};
}

Point between(Point p, Point q, double share)
{
    return p + (q - p) * share;
}

double lengthOf(Point p)
{
    return std::hypot(p.x, p.y);
}

void write(Drawing *drawing, const std::string &text)
{
    if (text.size() > drawing->limit - std::min(drawing->limit, drawing->content.size()))
        throw LimitReached{"The page's annotations are too large."};
    drawing->content += text;
}

namespace {

std::string pointText(Drawing *drawing, Point point)
{
    Rect &b = drawing->bounds;
    b = {std::min(b.x1, point.x), std::min(b.y1, point.y), std::max(b.x2, point.x),
         std::max(b.y2, point.y)};
    return numberText(point.x) + " " + numberText(point.y) + " ";
}

} // namespace

void moveTo(Drawing *drawing, Point point)
{
    write(drawing, pointText(drawing, point) + "m\n");
}

void lineTo(Drawing *drawing, Point point)
{
    write(drawing, pointText(drawing, point) + "l\n");
}

void curveTo(Drawing *drawing, Point first, Point second, Point end)
{
    std::string text = pointText(drawing, first);
    text += pointText(drawing, second);
    write(drawing, text + pointText(drawing, end) + "c\n");
}

void polyline(Drawing *drawing, const std::vector<Point> &points)
{
    for (size_t i = 0; i < points.size(); i++)
        i == 0 ? moveTo(drawing, points[i]) : lineTo(drawing, points[i]);
}

double coordinate(QPDFObjectHandle item)
{
    return std::clamp(numberOr(item, 0), -MAX_COORDINATE, MAX_COORDINATE);
}

std::vector<Point> readPoints(QPDFObjectHandle array)
{
    std::vector<Point> points;
    int count = array.isArray() ? array.getArrayNItems() : 0;
    for (int i = 0; i + 1 < count; i += 2)
        points.push_back(
            {coordinate(array.getArrayItem(i)), coordinate(array.getArrayItem(i + 1))});
    return points;
}

std::optional<std::string> colourText(QPDFObjectHandle colour, bool isStroke, double share)
{
    int count = colour.isArray() ? colour.getArrayNItems() : 0;
    if (count != 1 && count != 3 && count != 4)
        return std::nullopt;
    std::string text;
    for (int i = 0; i < count; i++) {
        double value = std::clamp(numberOr(colour.getArrayItem(i), 0), 0.0, 1.0);
        value = count == 4 ? value * share : 1 - (1 - value) * share;
        text += numberText(value) + " ";
    }
    const char *name = count == 1 ? "g" : count == 3 ? "rg" : "k";
    const char *strokeName = count == 1 ? "G" : count == 3 ? "RG" : "K";
    return text + (isStroke ? strokeName : name) + "\n";
}

namespace {

/* An array of dashes as its operator (8.4.3.6); empty for none that could be seen. */
std::string dashText(QPDFObjectHandle dash)
{
    constexpr int MAX_DASHES = 10;
    std::string text;
    double sum = 0;
    int count = dash.isArray() ? std::min(dash.getArrayNItems(), MAX_DASHES) : 0;
    for (int i = 0; i < count; i++) {
        double length = std::clamp(numberOr(dash.getArrayItem(i), 0), 0.0, MAX_WIDTH);
        text += numberText(length) + " ";
        sum += length;
    }
    return sum >= 0.1 ? "[" + text + "] 0 d\n" : "";
}

} // namespace

Border readBorder(QPDFObjectHandle annotation)
{
    Border border;
    QPDFObjectHandle style = annotation.getKey("/BS"), old = annotation.getKey("/Border");
    if (style.isDictionary()) {
        border.width = numberOr(style.getKey("/W"), 1);
        border.isUnderline = nameOr(style.getKey("/S")) == "/U";
        if (nameOr(style.getKey("/S")) == "/D")
            border.dash = style.hasKey("/D") ? dashText(style.getKey("/D")) : "[3] 0 d\n";
    } else if (old.isArray() && old.getArrayNItems() >= 3) {
        border.width = numberOr(old.getArrayItem(2), 1);
        if (old.getArrayNItems() >= 4)
            border.dash = dashText(old.getArrayItem(3));
    }
    border.width = std::clamp(border.width, 0.0, MAX_WIDTH);
    return border;
}

void setLines(Drawing *drawing)
{
    write(drawing, numberText(drawing->border.width) + " w\n" + drawing->border.dash);
    write(drawing, colourText(drawing->annotation.getKey("/C"), true).value_or("0 G\n"));
}

std::string shapeOperator(Drawing *drawing)
{
    auto fill = colourText(drawing->annotation.getKey("/IC"), false);
    auto stroke = colourText(drawing->annotation.getKey("/C"), true);
    bool isStroked = stroke && drawing->border.width > 0;
    if (fill)
        write(drawing, *fill);
    if (isStroked)
        setLines(drawing);
    return fill && isStroked ? "b\n" : fill ? "f\n" : isStroked ? "s\n" : "";
}

Rect inset(Rect rect, double by)
{
    by = std::min({by, (rect.x2 - rect.x1) / 2, (rect.y2 - rect.y1) / 2});
    return {rect.x1 + by, rect.y1 + by, rect.x2 - by, rect.y2 - by};
}

std::optional<Rect> innerRect(QPDFObjectHandle annotation)
{
    std::optional<Rect> rect = readRect(annotation.getKey("/Rect"));
    QPDFObjectHandle differences = annotation.getKey("/RD");
    if (!rect || !differences.isArray() || differences.getArrayNItems() < 4)
        return rect;
    double d[4];
    for (int i = 0; i < 4; i++)
        d[i] = std::max(0.0, coordinate(differences.getArrayItem(i)));
    Rect inner = {rect->x1 + d[0], rect->y1 + d[1], rect->x2 - d[2], rect->y2 - d[3]};
    return inner.x1 <= inner.x2 && inner.y1 <= inner.y2 ? inner : *rect;
}

void rectangle(Drawing *drawing, Rect r)
{
    polyline(drawing, {{r.x1, r.y1}, {r.x2, r.y1}, {r.x2, r.y2}, {r.x1, r.y2}});
    write(drawing, "h\n");
}

void ellipse(Drawing *drawing, Point centre, double rx, double ry)
{
    constexpr double K = 0.5522847498; /* of a quarter circle */
    Point x = {rx, 0}, y = {0, ry};
    const Point axes[5] = {x, y, x * -1, y * -1, x};
    moveTo(drawing, centre + x);
    for (int i = 0; i < 4; i++) {
        Point from = axes[i], to = axes[i + 1];
        curveTo(drawing, centre + from + to * K, centre + to + from * K, centre + to);
    }
    write(drawing, "h\n");
}

std::optional<Rect> readRect(QPDFObjectHandle object)
{
    if (!object.isArray() || object.getArrayNItems() < 4)
        return std::nullopt;
    double v[4];
    for (int i = 0; i < 4; i++) {
        if (!object.getArrayItem(i).isNumber())
            return std::nullopt;
        v[i] = coordinate(object.getArrayItem(i));
    }
    return Rect{std::min(v[0], v[2]), std::min(v[1], v[3]), std::max(v[0], v[2]),
                std::max(v[1], v[3])};
}

} // namespace prepare
