/*
 * appearances.cpp - annotations drawn from their entries
 *
 * Each kind has one function that writes path or text operators in the page's coordinates; the box
 * of the form grows with the points.  Numbers are clamped, lists are bounded by the room for what
 * they draw.
 */
#include "prepare/page/appearances.h"

#include <algorithm>
#include <array>
#include <cmath>

#include <qpdf/QUtil.hh>

#include "prepare/model/tokens.h"
#include "prepare/page/fields.h"

namespace prepare {

namespace {

constexpr double MAX_COORDINATE = 1e6, MAX_WIDTH = 1000;

struct Point {
    double x, y;
};

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

void write(Drawing *drawing, const std::string &text)
{
    if (text.size() > drawing->limit - std::min(drawing->limit, drawing->content.size()))
        throw LimitReached{"The page's annotations are too large."};
    drawing->content += text;
}

std::string pointText(Drawing *drawing, Point point)
{
    Rect &b = drawing->bounds;
    b = {std::min(b.x1, point.x), std::min(b.y1, point.y), std::max(b.x2, point.x),
         std::max(b.y2, point.y)};
    return numberText(point.x) + " " + numberText(point.y) + " ";
}

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

/* Numbers in pairs. */
std::vector<Point> readPoints(QPDFObjectHandle array)
{
    std::vector<Point> points;
    int count = array.isArray() ? array.getArrayNItems() : 0;
    for (int i = 0; i + 1 < count; i += 2)
        points.push_back(
            {coordinate(array.getArrayItem(i)), coordinate(array.getArrayItem(i + 1))});
    return points;
}

/* A colour with its operator, mixed with white where `share` is below 1; nothing: transparent. */
std::optional<std::string> colourText(QPDFObjectHandle colour, bool isStroke, double share = 1)
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

/* Width, dashes and colour of lines; black where no colour is given. */
void setLines(Drawing *drawing)
{
    write(drawing, numberText(drawing->border.width) + " w\n" + drawing->border.dash);
    write(drawing, colourText(drawing->annotation.getKey("/C"), true).value_or("0 G\n"));
}

/* Sets the colours of a closed shape; the operator that paints it, or nothing. */
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

/* The rectangle within /RD. */
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

/* The advance widths of ASCII from the space on, of 1000 units to the em. */
using Widths = std::array<short, 95>;

constexpr Widths sansWidths = {
    278, 278, 355, 556, 556, 889, 667, 191, 333, 333, 389, 584, 278, 333,  278, 278, 556, 556, 556,
    556, 556, 556, 556, 556, 556, 556, 278, 278, 584, 584, 584, 556, 1015, 667, 667, 722, 722, 667,
    611, 778, 722, 278, 500, 667, 556, 833, 722, 778, 667, 778, 722, 667,  611, 722, 667, 944, 667,
    667, 611, 278, 278, 278, 469, 556, 333, 556, 556, 500, 556, 556, 278,  556, 556, 222, 222, 500,
    222, 833, 556, 556, 556, 556, 333, 500, 278, 556, 500, 722, 500, 500,  500, 334, 260, 334, 584};

constexpr Widths serifWidths = {
    250, 333, 408, 500, 500, 833, 778, 180, 333, 333, 500, 564, 250, 333, 250, 278, 500, 500, 500,
    500, 500, 500, 500, 500, 500, 500, 278, 278, 564, 564, 564, 444, 921, 722, 667, 667, 722, 611,
    556, 722, 722, 333, 389, 722, 611, 889, 722, 722, 556, 722, 667, 556, 611, 722, 722, 944, 722,
    722, 611, 333, 278, 333, 469, 500, 333, 444, 500, 444, 500, 444, 333, 500, 500, 278, 278, 500,
    278, 778, 500, 500, 500, 500, 333, 389, 278, 500, 500, 722, 500, 500, 444, 480, 200, 480, 541};

struct StandardFont {
    const char *name;
    const Widths *widths; /* null: all 600 */
};

/* The standard font for a name of /DA, such as /Helv or /TiRo. */
StandardFont standardFont(const std::string &name)
{
    std::string begin = name.substr(0, 3);
    if (begin == "/Co")
        return {"/Courier", nullptr};
    if (begin == "/Ti")
        return {"/Times-Roman", &serifWidths};
    return {"/Helvetica", &sansWidths};
}

/* What /DA says. */
struct TextStyle {
    StandardFont font = standardFont("");
    double size = 0; /* 0: as it fits */
    std::string colour = "0 g\n";
    std::string lineColour = "0 G\n";
};

TextStyle readStyle(const std::string &appearance)
{
    TextStyle style;
    ContentReader reader{appearance};
    Operation operation;
    while (readOperation(&reader, &operation)) {
        double v[4];
        size_t count = operation.name == "g" ? 1 : operation.name == "rg" ? 3 : 4;
        bool isColour = operation.name == "g" || operation.name == "rg" || operation.name == "k";
        if (operation.name == "Tf" && operation.operands.size() >= 2 &&
            numbersOf(operation, v, 1)) {
            const Token &name = operation.operands[operation.operands.size() - 2];
            style.font = standardFont(nameValue(name.source));
            style.size = std::isfinite(v[0]) ? std::clamp(v[0], 0.0, MAX_WIDTH) : 0;
        } else if (isColour && numbersOf(operation, v, count)) {
            std::string values;
            for (size_t i = 0; i < count; i++)
                values += numberText(std::clamp(v[i], 0.0, 1.0)) + " ";
            style.colour = values + std::string(operation.name) + "\n";
            style.lineColour = values + (count == 1 ? "G\n" : count == 3 ? "RG\n" : "K\n");
        }
    }
    return style;
}

double widthOf(const StandardFont &font, const std::string &text)
{
    double width = 0;
    for (char c : text) {
        bool isAscii = c >= ' ' && c <= '~';
        width += !font.widths ? 600 : isAscii ? (*font.widths)[(size_t)(c - ' ')] : 556;
    }
    return width / 1000;
}

/* Breaks at line ends, and at spaces where a line is wider than there is room (in ems). */
std::vector<std::string> brokenLines(const StandardFont &font, const std::string &text, double room)
{
    std::vector<std::string> lines(1);
    std::string word;
    double lineWidth = 0, wordWidth = 0;
    auto flush = [&] {
        if (lineWidth + wordWidth > room && !lines.back().empty()) {
            lines.emplace_back();
            lineWidth = 0;
        }
        lines.back() += word;
        lineWidth += wordWidth;
        word.clear();
        wordWidth = 0;
    };
    for (size_t i = 0; i < text.size(); i++) {
        bool isEnd = text[i] == '\r' || text[i] == '\n';
        if (!isEnd) {
            word += text[i];
            wordWidth += widthOf(font, word.substr(word.size() - 1));
        }
        if (isEnd || text[i] == ' ' || wordWidth > room)
            flush();
        if (isEnd) {
            lines.emplace_back();
            lineWidth = 0;
            i += text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n';
        }
    }
    flush();
    return lines;
}

std::string inWinAnsi(const std::string &utf8)
{
    std::string text;
    QUtil::utf8_to_win_ansi(utf8, text, '?');
    for (char &c : text)
        if ((uint8_t)c < ' ' && c != '\r' && c != '\n')
            c = ' ';
    return text;
}

void useFont(Drawing *drawing, const StandardFont &font)
{
    QPDFObjectHandle dict = QPDFObjectHandle::newDictionary();
    for (auto [key, value] : {std::pair<const char *, const char *>{"/Type", "/Font"},
                              {"/Subtype", "/Type1"},
                              {"/BaseFont", font.name},
                              {"/Encoding", "/WinAnsiEncoding"}})
        dict.replaceKey(key, QPDFObjectHandle::newName(value));
    drawing->fonts = QPDFObjectHandle::newDictionary();
    drawing->fonts.replaceKey("/F", drawing->document->source.pdf.makeIndirectObject(dict));
}

constexpr double TEXT_MARGIN = 2, LINE_FEED = 1.16, ASCENT = 0.75;

/* One line with its left end at x and its foot at y. */
void textLine(Drawing *drawing, const std::string &line, double x, double y)
{
    write(drawing, "1 0 0 1 " + numberText(x) + " " + numberText(y) + " Tm " + literalString(line) +
                       " Tj\n");
}

/* Each character in the middle of its cell. */
void textCells(Drawing *drawing, const TextStyle &style, const std::string &text, int cells,
               Rect box, double y)
{
    double width = (box.x2 - box.x1) / cells;
    for (size_t i = 0; i < text.size() && i < (size_t)cells; i++) {
        std::string one = text.substr(i, 1);
        double free = width - widthOf(style.font, one) * style.size;
        textLine(drawing, one, box.x1 + width * (double)i + free / 2, y);
    }
}

/* Text in a box, clipped to it. */
void drawText(Drawing *drawing, Rect box, const FieldText &field, TextStyle style)
{
    double width = box.x2 - box.x1, height = box.y2 - box.y1;
    std::string text = inWinAnsi(field.value);
    if (text.empty() || width <= 0 || height <= 0)
        return;
    if (style.size <= 0) {
        style.size = field.hasLines ? 12 : std::clamp(height * 0.7, 4.0, 12.0);
        double needed = widthOf(style.font, text) * style.size;
        if (!field.hasLines && field.cells == 0 && needed > width - 2 * TEXT_MARGIN)
            style.size = std::max(4.0, style.size * (width - 2 * TEXT_MARGIN) / needed);
    }
    useFont(drawing, style.font);
    write(drawing, "q\n");
    rectangle(drawing, box);
    write(drawing, "W n BT " + style.colour + "/F " + numberText(style.size) + " Tf\n");
    double y = field.hasLines ? box.y2 - TEXT_MARGIN - ASCENT * style.size
                              : box.y1 + (height - ASCENT * style.size) / 2;
    double room = std::max(0.0, width - 2 * TEXT_MARGIN);
    std::vector<std::string> lines = {text};
    if (field.hasLines)
        lines = brokenLines(style.font, text, room / style.size);
    if (field.cells > 0)
        textCells(drawing, style, text, field.cells, box, y);
    for (const std::string &line : lines) {
        if (field.cells > 0 || y < box.y1 - style.size)
            break;
        double free = room - widthOf(style.font, line) * style.size;
        textLine(drawing, line, box.x1 + TEXT_MARGIN + free * field.quadding / 2, y);
        y -= LINE_FEED * style.size;
    }
    write(drawing, "ET Q\n");
}

void drawFreeText(Drawing *drawing)
{
    QPDFObjectHandle annotation = drawing->annotation;
    auto rect = innerRect(annotation);
    QPDFObjectHandle contents = annotation.getKey("/Contents"), given = annotation.getKey("/DA");
    if (!rect)
        return;
    TextStyle style = readStyle(given.isString() ? given.getStringValue() : "");
    double width = drawing->border.width;
    auto fill = colourText(annotation.getKey("/C"), false);
    write(drawing, numberText(width) + " w\n" + drawing->border.dash + style.lineColour);
    if (fill)
        write(drawing, *fill);
    if (fill || width > 0) {
        rectangle(drawing, inset(*rect, width / 2));
        write(drawing, fill && width > 0 ? "b\n" : fill ? "f\n" : "s\n");
    }
    std::vector<Point> callout = readPoints(annotation.getKey("/CL"));
    if (callout.size() >= 2 && width > 0) {
        callout.resize(std::min<size_t>(callout.size(), 3));
        polyline(drawing, callout);
        write(drawing, "S\n");
    }
    if (!contents.isString())
        return;
    FieldText text{contents.getUTF8Value(), "", 0, true, 0};
    text.quadding = std::clamp(integerOr(annotation.getKey("/Q"), 0), 0, 2);
    drawText(drawing, inset(*rect, width), text, style);
}

/* A field's background and frame, and its text if nobody else has set it. */
void drawField(Drawing *drawing, bool hasText)
{
    QPDFObjectHandle annotation = drawing->annotation, look = annotation.getKey("/MK");
    auto rect = readRect(annotation.getKey("/Rect"));
    if (!rect)
        return;
    auto fill = colourText(entryOf(look, "/BG"), false);
    auto stroke = colourText(entryOf(look, "/BC"), true);
    bool isFramed = stroke && drawing->border.width > 0;
    if (fill)
        write(drawing, *fill);
    if (isFramed)
        write(drawing, numberText(drawing->border.width) + " w\n" + drawing->border.dash + *stroke);
    if (fill || isFramed) {
        rectangle(drawing, inset(*rect, isFramed ? drawing->border.width / 2 : 0));
        write(drawing, fill && isFramed ? "b\n" : fill ? "f\n" : "s\n");
    }
    if (hasText)
        return;
    FieldText text = readFieldText(annotation);
    text.quadding = std::clamp(text.quadding, 0, 2);
    drawText(drawing, inset(*rect, isFramed ? drawing->border.width : 0), text,
             readStyle(text.defaultAppearance));
}

using Draw = void (*)(Drawing *);

const std::map<std::string, Draw> draws = {
    {"/Square", drawSquare},       {"/Circle", drawCircle},
    {"/Line", drawLine},           {"/Ink", drawInk},
    {"/PolyLine", drawPolyLine},   {"/Polygon", drawPolygon},
    {"/Highlight", drawHighlight}, {"/Underline", drawUnderline},
    {"/StrikeOut", drawStrikeOut}, {"/Squiggly", drawSquiggly},
    {"/FreeText", drawFreeText},   {"/Link", drawLink},
};

/* The annotation's opacity, as a state for the whole form. */
QPDFObjectHandle opacityState(QPDFObjectHandle annotation)
{
    double opacity = std::clamp(numberOr(annotation.getKey("/CA"), 1), 0.0, 1.0);
    if (opacity == 1 || nameOr(annotation.getKey("/Subtype")) == "/Highlight")
        return QPDFObjectHandle::newNull();
    QPDFObjectHandle state = QPDFObjectHandle::newDictionary();
    for (const char *key : {"/CA", "/ca"})
        state.replaceKey(key, QPDFObjectHandle::newReal(opacity, 3));
    return state;
}

QPDFObjectHandle formOf(Drawing *drawing)
{
    QPDFObjectHandle resources = QPDFObjectHandle::newDictionary();
    QPDFObjectHandle opacity = opacityState(drawing->annotation);
    std::string content = drawing->content;
    if (!opacity.isNull()) {
        resources.replaceKey("/ExtGState", QPDFObjectHandle::newDictionary({{"/G", opacity}}));
        content = "/G gs\n" + content;
    }
    if (drawing->fonts.isInitialized())
        resources.replaceKey("/Font", drawing->fonts);
    QPDFObjectHandle form = newFlateStream(&drawing->document->source.pdf, content);
    double margin = 10 * std::max(1.0, drawing->border.width); /* endings and joins */
    const Rect &b = drawing->bounds;
    std::vector<QPDFObjectHandle> box;
    for (double v : {b.x1 - margin, b.y1 - margin, b.x2 + margin, b.y2 + margin})
        box.push_back(QPDFObjectHandle::newReal(v, 3));
    form.getDict().replaceKey("/Type", QPDFObjectHandle::newName("/XObject"));
    form.getDict().replaceKey("/Subtype", QPDFObjectHandle::newName("/Form"));
    form.getDict().replaceKey("/BBox", QPDFObjectHandle::newArray(box));
    form.getDict().replaceKey("/Resources", resources);
    return form;
}

} // namespace

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

DrawnForm drawAppearance(Document *document, QPDFObjectHandle annotation, bool hasText,
                         size_t limit)
{
    Drawing drawing{document, annotation, limit, readBorder(annotation), {}, {}, {}};
    drawing.bounds = {MAX_COORDINATE, MAX_COORDINATE, -MAX_COORDINATE, -MAX_COORDINATE};
    std::string type = nameOr(annotation.getKey("/Subtype"));
    auto draw = draws.find(type);
    if (draw != draws.end())
        draw->second(&drawing);
    else if (type == "/Widget")
        drawField(&drawing, hasText);
    if (drawing.bounds.x1 > drawing.bounds.x2)
        return {};
    return {formOf(&drawing), drawing.content.size()};
}

} // namespace prepare
