/*
 * plaintype1.cpp - Type 1 programs, written from outlines
 */
#include "prepare/fonts/plaintype1.h"

#include <cmath>
#include <cstdint>
#include <cstdio>

#include "prepare/fonts/charstring.h"
#include "prepare/fonts/eexec.h"

namespace prepare {

namespace {

void putNumber(std::string *out, int value)
{
    if (value >= -107 && value <= 107) {
        out->push_back((char)(value + 139));
    } else if (value >= 108 && value <= 1131) {
        out->push_back((char)((value - 108) / 256 + 247));
        out->push_back((char)(value - 108));
    } else if (value <= -108 && value >= -1131) {
        out->push_back((char)((-value - 108) / 256 + 251));
        out->push_back((char)(-value - 108));
    } else {
        out->push_back((char)255);
        for (int shift = 24; shift >= 0; shift -= 8)
            out->push_back((char)((uint32_t)value >> shift));
    }
}

/* Where the pen is. */
struct Pen {
    std::string out;
    int x = 0, y = 0;

    void go(int toX, int toY)
    {
        putNumber(&out, toX - x);
        putNumber(&out, toY - y);
        x = toX;
        y = toY;
    }
    void put(CharOperator name) { out.push_back((char)name); }
};

std::string charstringOf(const CompactGlyph &glyph)
{
    Pen pen;
    putNumber(&pen.out, 0);
    putNumber(&pen.out, (int)std::lround(glyph.width));
    pen.put(HSBW);
    bool isOpen = false;
    for (const Segment &segment : glyph.outline.path) {
        int points = segment.kind == Segment::CURVE ? 3 : 1;
        if (segment.kind == Segment::MOVE && isOpen)
            pen.put(CLOSEPATH);
        for (int i = 0; i < points; i++)
            pen.go(segment.x[i], segment.y[i]);
        pen.put(segment.kind == Segment::MOVE   ? RMOVETO
                : segment.kind == Segment::LINE ? RLINETO
                                                : RRCURVETO);
        isOpen = true;
    }
    if (isOpen)
        pen.put(CLOSEPATH);
    pen.put(ENDCHAR);
    return encrypted(pen.out, CHARSTRING_KEY);
}

std::string numberOf(double value)
{
    char text[40];
    snprintf(text, sizeof text, "%.9g", value);
    return text;
}

std::string clearText(const CompactFont &font)
{
    std::string text = "%!PS-AdobeFont-1.0: " + font.name +
                       " 1.0\n11 dict begin\n/FontType 1 def\n"
                       "/PaintType 0 def\n/FontName /" +
                       font.name + " def\n/FontMatrix [";
    for (double value : font.matrix)
        text += numberOf(value) + " ";
    text += "] def\n/FontBBox {";
    for (int value : font.box)
        text += std::to_string(value) + " ";
    return text + "} def\n/Encoding StandardEncoding def\ncurrentdict end\ncurrentfile eexec\n";
}

std::string secretText(const CompactFont &font)
{
    std::string text = "dup /Private 8 dict dup begin\n"
                       "/RD {string currentfile exch readstring pop} executeonly def\n"
                       "/ND {noaccess def} executeonly def\n/NP {noaccess put} executeonly def\n"
                       "/BlueValues [] def\n/MinFeature {16 16} def\n/password 5839 def\n"
                       "2 index /CharStrings " +
                       std::to_string(font.glyphs.size()) + " dict dup begin\n";
    for (const CompactGlyph &glyph : font.glyphs) {
        std::string charstring = charstringOf(glyph);
        text += "/" + glyph.name + " " + std::to_string(charstring.size()) + " RD " + charstring +
                " ND\n";
    }
    return text + "end\nend\nreadonly put\nnoaccess put\ndup /FontName get exch definefont pop\n"
                  "mark currentfile closefile\n";
}

} // namespace

PlainType1 writePlainType1(const CompactFont &font)
{
    constexpr int LINES = 8;
    std::string end = "\n";
    for (int i = 0; i < LINES; i++)
        end += std::string(64, '0') + "\n";
    return {clearText(font), encrypted(secretText(font), EEXEC_KEY), end + "cleartomark\n"};
}

} // namespace prepare
