/*
 * compact.cpp - compact fonts, written from values
 *
 * The parts of the font stand behind each other: header, name, top dictionary, strings, no global
 * subroutines, names of the glyphs, charstrings, private dictionary.  Offsets in the top dictionary
 * are written with five bytes, so that its size is known before they are.
 */
#include "prepare/fonts/compact.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <initializer_list>
#include <tuple>

#include "prepare/fonts/charstring.h"

namespace prepare {

namespace {

enum TopOperator { TOP_BBOX = 5, TOP_CHARSET = 15, TOP_CHARSTRINGS = 17, TOP_PRIVATE = 18 };
constexpr int TOP_FONTMATRIX = 1207;
constexpr int FIRST_OWN_STRING = 391; /* smaller numbers are strings that every reader knows */
constexpr size_t MAX_GLYPHS = 65000;

constexpr int MOST_OPERANDS = 48;
constexpr size_t MAX_STEMS = 96;

void putByte(std::string *out, int value)
{
    out->push_back((char)(uint8_t)value);
}

void put16(std::string *out, int value)
{
    putByte(out, value >> 8);
    putByte(out, value);
}

/* The short forms that dictionaries and charstrings share. */
bool putShortNumber(std::string *out, int value)
{
    if (value >= -107 && value <= 107) {
        putByte(out, value + 139);
    } else if (value >= 108 && value <= 1131) {
        putByte(out, (value - 108) / 256 + 247);
        putByte(out, value - 108);
    } else if (value <= -108 && value >= -1131) {
        putByte(out, (-value - 108) / 256 + 251);
        putByte(out, -value - 108);
    } else if (value >= -32768 && value <= 32767) {
        putByte(out, 28);
        put16(out, value);
    } else {
        return false;
    }
    return true;
}

void putLongNumber(std::string *out, uint32_t value)
{
    putByte(out, 29);
    put16(out, (int)(value >> 16));
    put16(out, (int)(value & 0xFFFF));
}

/* A real number of a dictionary: its digits as half bytes. */
void putReal(std::string *out, double value)
{
    char text[40];
    snprintf(text, sizeof text, "%.9g", value);
    std::string halves;
    for (const char *c = text; *c; c++) {
        if (*c >= '0' && *c <= '9')
            halves.push_back((char)(*c - '0'));
        else if (*c == '.')
            halves.push_back(10);
        else if (*c == '-')
            halves.push_back(14);
        else if (*c == 'e' && c[1] == '-')
            halves.push_back(12), c++;
        else if (*c == 'e')
            halves.push_back(11), c += c[1] == '+';
    }
    halves.push_back(15);
    if (halves.size() % 2)
        halves.push_back(15);
    putByte(out, 30);
    for (size_t i = 0; i < halves.size(); i += 2)
        putByte(out, halves[i] << 4 | halves[i + 1]);
}

void putDictNumber(std::string *out, double value)
{
    bool isWhole = value == std::floor(value) && std::fabs(value) < 32768;
    if (!isWhole || !putShortNumber(out, (int)value))
        putReal(out, value);
}

void putOperator(std::string *out, int number)
{
    if (number >= 1200)
        putByte(out, 12);
    putByte(out, number % 1200);
}

void putIndex(std::string *out, const std::vector<std::string> &items)
{
    put16(out, (int)items.size());
    if (items.empty())
        return;
    size_t total = 1;
    for (const std::string &item : items)
        total += item.size();
    int width = total < 0x100 ? 1 : total < 0x10000 ? 2 : total < 0x1000000 ? 3 : 4;
    putByte(out, width);
    size_t offset = 1;
    auto putOffset = [&] {
        for (int shift = 8 * (width - 1); shift >= 0; shift -= 8)
            putByte(out, (int)(offset >> shift & 0xFF));
    };
    putOffset();
    for (const std::string &item : items) {
        offset += item.size();
        putOffset();
    }
    for (const std::string &item : items)
        *out += item;
}

std::string topDictionary(const CompactFont &font, size_t charset, size_t charstrings,
                          size_t privateSize, size_t privateAt)
{
    std::string top;
    static constexpr std::array<double, 6> USUAL = {0.001, 0, 0, 0.001, 0, 0};
    if (!std::equal(USUAL.begin(), USUAL.end(), font.matrix)) {
        for (double value : font.matrix)
            putDictNumber(&top, value);
        putOperator(&top, TOP_FONTMATRIX);
    }
    for (int value : font.box)
        putDictNumber(&top, value);
    putOperator(&top, TOP_BBOX);
    putLongNumber(&top, (uint32_t)charset);
    putOperator(&top, TOP_CHARSET);
    putLongNumber(&top, (uint32_t)charstrings);
    putOperator(&top, TOP_CHARSTRINGS);
    putLongNumber(&top, (uint32_t)privateSize);
    putLongNumber(&top, (uint32_t)privateAt);
    putOperator(&top, TOP_PRIVATE);
    return top;
}

std::string privateDictionary(const CompactFont &font)
{
    std::string dictionary;
    for (const auto &[number, operands] : font.privateValues) {
        for (double value : operands)
            putDictNumber(&dictionary, value);
        putOperator(&dictionary, number);
    }
    return dictionary;
}

/* ---- charstrings ---- */

/* Operands that wait for their operator. */
struct CharWriter {
    std::string out;
    std::vector<int> waiting;
    int pending = -1; /* RLINETO or RRCURVETO, which take many */
    int x = 0, y = 0;
};

void flush(CharWriter *w)
{
    for (int value : w->waiting)
        putShortNumber(&w->out, value);
    if (w->pending >= 0)
        putByte(&w->out, w->pending);
    w->waiting.clear();
    w->pending = -1;
}

/* Adds a line or curve to those before it, if they are of one kind and the stack has room. */
void add(CharWriter *w, int number, std::initializer_list<int> operands)
{
    if (w->pending != number || w->waiting.size() + operands.size() > MOST_OPERANDS)
        flush(w);
    w->pending = number;
    w->waiting.insert(w->waiting.end(), operands);
}

void putMove(CharWriter *w, int dx, int dy)
{
    flush(w);
    if (dx != 0 || dy == 0)
        putShortNumber(&w->out, dx);
    if (dy != 0)
        putShortNumber(&w->out, dy);
    putByte(&w->out, dy == 0 ? HMOVETO : dx == 0 ? VMOVETO : RMOVETO);
}

void putLine(CharWriter *w, int dx, int dy)
{
    if (dx != 0 && dy != 0)
        return add(w, RLINETO, {dx, dy});
    flush(w);
    putShortNumber(&w->out, dy == 0 ? dx : dy);
    putByte(&w->out, dy == 0 ? HLINETO : VLINETO);
}

void putSegment(CharWriter *w, const Segment &s)
{
    int dx = s.x[0] - w->x, dy = s.y[0] - w->y;
    int last = s.kind == Segment::CURVE ? 2 : 0;
    if (s.kind == Segment::MOVE)
        putMove(w, dx, dy);
    else if (s.kind == Segment::LINE)
        putLine(w, dx, dy);
    else
        add(w, RRCURVETO,
            {dx, dy, s.x[1] - s.x[0], s.y[1] - s.y[0], s.x[2] - s.x[1], s.y[2] - s.y[1]});
    w->x = s.x[last];
    w->y = s.y[last];
}

/* The stems of one direction, each as the distance from the end of the one before. */
void putStems(CharWriter *w, const std::vector<Stem> &stems, bool isVertical, int number)
{
    int at = 0;
    size_t count = 0;
    for (const Stem &stem : stems) {
        if (stem.isVertical != isVertical)
            continue;
        putShortNumber(&w->out, stem.edge - at);
        putShortNumber(&w->out, stem.width);
        at = stem.edge + stem.width;
        count++;
        /* At most 24 stems fit on the stack, the width included. */
        if (count % 20 == 0)
            putByte(&w->out, number);
    }
    if (count % 20 != 0)
        putByte(&w->out, number);
}

void putMask(CharWriter *w, const Outline &outline, const std::vector<size_t> &places,
             const HintChange &change)
{
    flush(w);
    std::string mask((outline.stems.size() + 7) / 8, '\0');
    for (size_t stem : change.stems)
        if (stem < places.size())
            mask[places[stem] / 8] = (char)(mask[places[stem] / 8] | 0x80 >> places[stem] % 8);
    putByte(&w->out, HINTMASK);
    w->out += mask;
}

/* The stems in the order that charstrings want: horizontal first, from below. */
std::vector<Stem> sortedStems(const std::vector<Stem> &stems, std::vector<size_t> *places)
{
    std::vector<size_t> order(stems.size());
    for (size_t i = 0; i < order.size(); i++)
        order[i] = i;
    auto key = [&](size_t i) {
        return std::tuple(stems[i].isVertical, stems[i].edge, stems[i].width);
    };
    std::sort(order.begin(), order.end(), [&](size_t a, size_t b) { return key(a) < key(b); });
    std::vector<Stem> sorted;
    places->resize(stems.size());
    for (size_t i = 0; i < order.size(); i++) {
        sorted.push_back(stems[order[i]]);
        (*places)[order[i]] = i;
    }
    return sorted;
}

} // namespace

std::string compactCharstring(const Outline &outline, double width)
{
    CharWriter w;
    bool hasHints =
        !outline.changes.empty() && !outline.stems.empty() && outline.stems.size() <= MAX_STEMS;
    bool hasMasks = hasHints && outline.changes.size() > 1;
    putShortNumber(&w.out, (int)std::lround(std::clamp(width, -16000.0, 16000.0)));
    std::vector<size_t> places;
    if (hasHints) {
        std::vector<Stem> stems = sortedStems(outline.stems, &places);
        putStems(&w, stems, false, hasMasks ? HSTEMHM : HSTEM);
        putStems(&w, stems, true, hasMasks ? VSTEMHM : VSTEM);
    }
    size_t change = 0;
    for (size_t i = 0; i < outline.path.size(); i++) {
        for (; hasMasks && change < outline.changes.size() && outline.changes[change].at <= i;
             change++)
            if (change + 1 == outline.changes.size() || outline.changes[change + 1].at > i)
                putMask(&w, outline, places, outline.changes[change]);
        putSegment(&w, outline.path[i]);
    }
    flush(&w);
    putByte(&w.out, ENDCHAR);
    return w.out;
}

void growBox(const Outline &outline, int *box)
{
    for (const Segment &segment : outline.path)
        for (int i = 0; i < (segment.kind == Segment::CURVE ? 3 : 1); i++) {
            box[0] = std::min(box[0], segment.x[i]);
            box[1] = std::min(box[1], segment.y[i]);
            box[2] = std::max(box[2], segment.x[i]);
            box[3] = std::max(box[3], segment.y[i]);
        }
}

CompactGlyph compactGlyph(const std::string &name, const Outline &outline, double width)
{
    return {name, compactCharstring(outline, width), outline, width};
}

std::string writeCompactFont(const CompactFont &font)
{
    size_t count = std::min(font.glyphs.size(), MAX_GLYPHS);
    std::vector<std::string> names, charstrings;
    for (size_t i = 0; i < count; i++) {
        if (i > 0)
            names.push_back(font.glyphs[i].name);
        charstrings.push_back(font.glyphs[i].charstring);
    }
    std::string head = {1, 0, 4, 4}, tail, charset, chars;
    putIndex(&head, {font.name});
    putIndex(&tail, names);
    putIndex(&tail, {}); /* global subroutines */
    putByte(&charset, 0);
    for (size_t i = 0; i + 1 < count; i++)
        put16(&charset, FIRST_OWN_STRING + (int)i);
    putIndex(&chars, charstrings);
    std::string privateData = privateDictionary(font);
    std::string top;
    putIndex(&top, {topDictionary(font, 0, 0, 0, 0)});
    size_t charsetAt = head.size() + top.size() + tail.size();
    size_t charsAt = charsetAt + charset.size(), privateAt = charsAt + chars.size();
    top.clear();
    putIndex(&top, {topDictionary(font, charsetAt, charsAt, privateData.size(), privateAt)});
    return head + top + tail + charset + chars + privateData;
}

} // namespace prepare
