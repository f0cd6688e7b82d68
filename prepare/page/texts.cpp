/*
 * texts.cpp - free text and form fields, drawn from their entries
 *
 * ISO 32000-1, 12.5.6.6 and 12.7.3.3: /DA names font, size and colour.  The text is set in one of
 * the standard fonts, whose widths of ASCII are here; lines break at spaces where they are too
 * wide.
 */
#include "prepare/page/drawing.h"

#include <algorithm>
#include <array>
#include <cmath>

#include <qpdf/QUtil.hh>

#include "prepare/model/tokens.h"
#include "prepare/page/fields.h"

namespace prepare {

namespace {

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
        size_t count = operation.op->operands;
        bool isColour = operation.op->is(SETS_DEVICE) && !operation.op->ofStrokes();
        if (operation.op->id == Op::FONT_SIZE && operation.operands.size() >= 2 &&
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

} // namespace

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

} // namespace prepare
