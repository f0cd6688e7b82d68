/*
 * extent.cpp - how far paint goes
 *
 * Text is measured by the widths that its font dictionary gives.  Heights are those that nearly all
 * fonts keep to; lines that are set solid must not seem to overlap.
 */
#include "prepare/paint/extent.h"

#include <algorithm>
#include <cmath>

#include "prepare/document/document.h"
#include "prepare/fonts/cmap.h"

namespace prepare {

/* Advance widths in units of text space at size 1. */
struct FontWidths {
    bool isComposite = false;
    bool isVertical = false;
    double otherwise = 0.6;
    int first = 0;
    std::vector<double> simple;
    std::map<int, double> composite;
    CMap texts; /* to know what is blank by */
    bool isType3 = false;
    double bottom = -0.2, top = 0.78; /* heights of glyphs */
    bool hasBox = false;              /* of a Type 3 font */
    Box box;
};

namespace {

constexpr int MAX_WIDTHS = 1 << 16;

/* /W: c [w ...] or c c w */
void readComposite(QPDFObjectHandle array, FontWidths *widths)
{
    if (!array.isArray())
        return;
    int count = std::min(array.getArrayNItems(), 4 * MAX_WIDTHS), left = MAX_WIDTHS;
    for (int i = 0; i + 1 < count && left > 0;) {
        int first = integerOr(array.getArrayItem(i), 0);
        QPDFObjectHandle next = array.getArrayItem(i + 1);
        if (next.isArray()) {
            for (int k = 0; k < next.getArrayNItems() && left > 0; k++, left--)
                widths->composite[first + k] = numberOr(next.getArrayItem(k), 1000) / 1000;
            i += 2;
            continue;
        }
        int last = std::min(integerOr(next, first), MAX_WIDTHS);
        double width = i + 2 < count ? numberOr(array.getArrayItem(i + 2), 1000) / 1000 : 1;
        for (int code = std::max(first, 0); code <= last && left > 0; code++, left--)
            widths->composite[code] = width;
        i += 3;
    }
}

void readSimple(QPDFObjectHandle font, double unit, FontWidths *widths)
{
    widths->first = integerOr(font.getKey("/FirstChar"), 0);
    QPDFObjectHandle array = font.getKey("/Widths");
    if (!array.isArray())
        return;
    widths->otherwise =
        numberOr(entryOf(font.getKey("/FontDescriptor"), "/MissingWidth"), 0) * unit;
    for (int i = 0; i < std::min(array.getArrayNItems(), 256); i++)
        widths->simple.push_back(numberOr(array.getArrayItem(i), 0) * unit);
}

/* Widths of a Type 3 font are in glyph space, and its glyphs may be of any size. */
double readType3(QPDFObjectHandle font, FontWidths *widths)
{
    QPDFObjectHandle matrix = font.getKey("/FontMatrix"), array = font.getKey("/FontBBox");
    Matrix m = {0.001, 0, 0, 0.001, 0, 0};
    if (matrix.isArray() && matrix.getArrayNItems() == 6)
        m = matrixOf(matrix);
    if (array.isArray() && array.getArrayNItems() == 4) {
        Box glyph = boxOf(array);
        widths->hasBox = areaOf(glyph) > 0;
        widths->box = transformed(m, glyph);
    }
    if (!widths->hasBox) {
        widths->bottom = -1;
        widths->top = 2;
    }
    return m.a;
}

std::shared_ptr<const FontWidths> readWidths(QPDFObjectHandle font)
{
    auto widths = std::make_shared<FontWidths>();
    if (!font.isInitialized() || !font.isDictionary())
        return widths;
    std::string subtype = nameOr(font.getKey("/Subtype"));
    constexpr size_t MAX_TEXTS = 4u << 20;
    if (font.getKey("/ToUnicode").isStream()) {
        bool damaged = false;
        widths->texts = readCMap(decodeStream(font.getKey("/ToUnicode"), MAX_TEXTS, &damaged));
        sortCMap(&widths->texts);
    }
    widths->isType3 = subtype == "/Type3";
    if (subtype != "/Type0") {
        readSimple(font, subtype == "/Type3" ? readType3(font, widths.get()) : 0.001, widths.get());
        return widths;
    }
    widths->isComposite = true;
    std::string encoding = nameOr(font.getKey("/Encoding"));
    widths->isVertical = encoding.size() > 2 && encoding.compare(encoding.size() - 2, 2, "-V") == 0;
    QPDFObjectHandle descendants = font.getKey("/DescendantFonts");
    bool hasOne = descendants.isArray() && descendants.getArrayNItems() > 0;
    QPDFObjectHandle descendant = hasOne ? descendants.getArrayItem(0) : descendants;
    widths->otherwise = numberOr(entryOf(descendant, "/DW"), 1000) / 1000;
    readComposite(entryOf(descendant, "/W"), widths.get());
    return widths;
}

const FontWidths &widthsOf(TextPen *pen, QPDFObjectHandle font)
{
    QPDFObjGen key = font.isInitialized() ? font.getObjGen() : QPDFObjGen();
    std::shared_ptr<const FontWidths> &known = pen->fonts[key];
    if (!known || key == QPDFObjGen())
        known = readWidths(font);
    return *known;
}

double simpleWidth(const FontWidths &widths, uint8_t code)
{
    int at = code - widths.first;
    return at >= 0 && at < (int)widths.simple.size() ? widths.simple[(size_t)at] : widths.otherwise;
}

/* Does a code show nothing? */
bool isBlank(const FontWidths &widths, uint32_t code)
{
    std::vector<uint32_t> text = findText(widths.texts, code);
    if (!text.empty() || widths.isComposite || widths.isType3)
        return text.size() == 1 && (text[0] == 0x20 || text[0] == 0xa0 || text[0] == 0x3000);
    return code == ' ';
}

/* Calls `glyph` with the advance of each code and whether it is blank. */
template <class Glyph>
void forGlyphs(const FontWidths &widths, const TextState &text, const std::string &shown,
               Glyph glyph)
{
    size_t bytes = widths.isComposite ? 2 : 1;
    for (size_t i = 0; i + bytes <= shown.size(); i += bytes) {
        uint32_t code = (uint8_t)shown[i];
        double width;
        if (widths.isComposite) {
            code = code << 8 | (uint8_t)shown[i + 1];
            auto known = widths.composite.find((int)code);
            width = known != widths.composite.end() ? known->second : widths.otherwise;
        } else {
            width = simpleWidth(widths, (uint8_t)code);
        }
        double space = text.charSpace + (!widths.isComposite && code == ' ' ? text.wordSpace : 0);
        glyph((width * text.size + space) * text.scale, isBlank(widths, code));
    }
}

/* The glyphs' box along a line from `from` to `to`, in text space. */
Box lineBox(const FontWidths &widths, const TextState &text, double from, double to)
{
    double least = std::min(from, to), most = std::max(from, to), size = text.size;
    double bottom = widths.bottom, top = widths.top;
    if (widths.hasBox) {
        least += std::min(widths.box.left * size, 0.0);
        most += std::max(widths.box.right * size, 0.0);
        bottom = widths.box.bottom;
        top = widths.box.top;
    }
    double low = bottom * size + text.rise, high = top * size + text.rise;
    if (widths.isVertical) {
        double width = std::abs(size);
        return {-width, std::min(-most, 0.0) - width, width, width};
    }
    return {least, std::min(low, high), most, std::max(low, high)};
}

} // namespace

Box showText(TextPen *pen, const ContentState &state, const Operation &operation)
{
    const TextState &text = state.now.text;
    const FontWidths &widths = widthsOf(pen, text.font);
    Matrix matrix = state.textMatrix;
    if (operation.op->is(MOVES_TEXT)) { /* ' and " */
        matrix = Matrix{1, 0, 0, 1, 0, -text.leading} * state.lineMatrix;
        pen->shown = 0;
    }
    Box line; /* from the first glyph to the last one that is seen */
    bool isArray = operation.op->id == Op::SHOW_ADJUSTED;
    size_t first = isArray || operation.operands.empty() ? 0 : operation.operands.size() - 1;
    for (size_t i = first; i < operation.operands.size(); i++) {
        const Token &token = operation.operands[i];
        if (token.kind == TokenKind::NUMBER && isArray)
            pen->shown -= numberValue(token) / 1000 * text.size * text.scale;
        if (token.kind == TokenKind::STRING || token.kind == TokenKind::HEX_STRING)
            forGlyphs(widths, text, stringValue(token), [&](double advance, bool isNothing) {
                double from = pen->shown, to = pen->shown += advance;
                if (!isNothing)
                    line = unionOf(line, {std::min(from, to), 0, std::max(from, to), 0});
            });
    }
    if (isEmpty(line))
        return line;
    Box box = transformed(matrix * state.now.ctm, lineBox(widths, text, line.left, line.right));
    bool isStroked = text.mode == 1 || text.mode == 2 || text.mode == 5 || text.mode == 6;
    return isStroked ? grown(box, state.now.lineWidth * scaleOf(state.now.ctm) / 2) : box;
}

void movePen(TextPen *pen, const Operation &operation)
{
    if (operation.op->is(MOVES_TEXT) || operation.op->id == Op::BEGIN_TEXT)
        pen->shown = 0;
}

Box pathBox(const ContentState &state, bool isStroked)
{
    if (!isStroked)
        return state.path.box;
    double half = state.now.lineWidth * scaleOf(state.now.ctm) / 2;
    bool hasCorners = !isRectangle(state.path) && state.path.points > 2;
    constexpr double THINNEST = 0.25, MITER = 2;
    return grown(state.path.box, std::max(half * (hasCorners ? MITER : 1), THINNEST));
}

std::vector<Box> strokeBoxes(const ContentState &state)
{
    const Path &path = state.path;
    Box whole = pathBox(state, true);
    double half = (whole.right - whole.left - (path.box.right - path.box.left)) / 2;
    std::vector<Box> boxes;
    if (isRectangle(path)) {
        const Box &b = path.box;
        boxes = {{b.left, b.bottom, b.right, b.bottom},
                 {b.left, b.top, b.right, b.top},
                 {b.left, b.bottom, b.left, b.top},
                 {b.right, b.bottom, b.right, b.top}};
    } else if (path.isPolygon && path.rectangles == 0 && path.points >= 2 && path.points <= 5) {
        for (int i = 0; i < path.points; i++) { /* the last one closes it */
            const double *p = path.corners[i], *q = path.corners[(i + 1) % path.points];
            boxes.push_back({std::min(p[0], q[0]), std::min(p[1], q[1]), std::max(p[0], q[0]),
                             std::max(p[1], q[1])});
        }
    } else {
        return {whole};
    }
    for (Box &box : boxes)
        box = grown(box, half);
    return boxes;
}

Box imageBox(const ContentState &state)
{
    return transformed(state.now.ctm, {0, 0, 1, 1});
}

} // namespace prepare
