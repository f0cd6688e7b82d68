/*
 * font_programs.cpp - writes Type 1 and compact Type 1 font programs
 */
#include "tests/postscript/font_programs.h"

#include <cstdint>
#include <cstdlib>

namespace {

constexpr unsigned EEXEC_KEY = 55665, CHARSTRING_KEY = 4330;

/* Type 1 encryption, with four zero bytes before the text. */
std::string encrypted(const std::string &text, unsigned key)
{
    std::string out;
    for (char plain : std::string(4, '\0') + text) {
        unsigned cipher = ((unsigned char)plain ^ (key >> 8)) & 0xFF;
        key = ((cipher + key) * 52845 + 22719) & 0xFFFF;
        out += (char)cipher;
    }
    return out;
}

/* A number of a charstring or of a compact font's dictionary. */
std::string number(int value)
{
    if (std::abs(value) <= 107)
        return std::string(1, (char)(value + 139));
    int rest = std::abs(value) - 108;
    return {(char)((value > 0 ? 247 : 251) + (rest >> 8)), (char)(rest & 0xFF)};
}

/* The path as relative moves, ended by `close` after each contour. */
std::string polygon(const PolygonGlyph &glyph, const std::string &close)
{
    std::string out;
    int x = 0, y = 0;
    for (size_t i = 0; i < glyph.points.size(); i++) {
        auto [nextX, nextY] = glyph.points[i];
        out += number(nextX - x) + number(nextY - y) + (i ? '\x05' : '\x15'); /* rlineto, rmoveto */
        x = nextX;
        y = nextY;
    }
    return glyph.points.empty() ? out : out + close;
}

std::string u16(size_t value)
{
    return {(char)(value >> 8), (char)(value & 0xFF)};
}

/* An INDEX of a compact font, with offsets of two bytes. */
std::string indexOf(const std::vector<std::string> &items)
{
    if (items.empty())
        return u16(0);
    std::string offsets = u16(1), data;
    for (const std::string &item : items) {
        data += item;
        offsets += u16(data.size() + 1);
    }
    return u16(items.size()) + '\x02' + offsets + data;
}

/* An offset in a dictionary, always in the three bytes of a 16-bit number. */
std::string offset(size_t value)
{
    return '\x1C' + u16(value);
}

} // namespace

std::vector<PolygonGlyph> sampleGlyphs()
{
    return {{".notdef", 250, {}},
            {"box", 700, {{50, 0}, {650, 0}, {650, 700}, {50, 700}}},
            {"tri", 600, {{50, 0}, {550, 0}, {300, 700}}},
            {"bar", 300, {{100, -200}, {200, -200}, {200, 800}, {100, 800}}}};
}

TypeOneProgram typeOneProgram(const std::string &name, const std::vector<PolygonGlyph> &glyphs,
                              const std::string &encoding)
{
    TypeOneProgram program;
    program.clear = "%!PS-AdobeFont-1.0: " + name +
                    "\n11 dict begin\n/FontInfo 1 dict dup begin\n"
                    "/FullName (" +
                    name + ") readonly def\nend readonly def\n/FontName /" + name +
                    " def\n/PaintType 0 def\n/FontType 1 def\n"
                    "/FontMatrix [0.001 0 0 0.001 0 0] readonly def\n/Encoding 256 array\n"
                    "0 1 255 {1 index exch /.notdef put} for\n" +
                    encoding +
                    "readonly def\n/FontBBox {0 -200 700 800} readonly def\ncurrentdict end\n"
                    "currentfile eexec\n";
    std::string hidden = "dup /Private 8 dict dup begin\n"
                         "/RD {string currentfile exch readstring pop} executeonly def\n"
                         "/ND {noaccess def} executeonly def\n/NP {noaccess put} executeonly def\n"
                         "/BlueValues [] def\n/MinFeature {16 16} def\n/password 5839 def\n"
                         "2 index /CharStrings " +
                         std::to_string(glyphs.size()) + " dict dup begin\n";
    for (const PolygonGlyph &glyph : glyphs) {
        std::string code =
            encrypted(number(0) + number(glyph.width) + '\x0D' + polygon(glyph, "\x09") + '\x0E',
                      CHARSTRING_KEY);
        hidden += "/" + glyph.name + " " + std::to_string(code.size()) + " RD " + code + " ND\n";
    }
    hidden += "end\nend\nreadonly put\nnoaccess put\ndup/FontName get exch definefont pop\n"
              "mark currentfile closefile\n";
    program.encrypted = encrypted(hidden, EEXEC_KEY);
    for (int line = 0; line < 8; line++)
        program.trailer += std::string(64, '0') + "\n";
    program.trailer += "cleartomark\n";
    return program;
}

std::string compactProgram(const std::string &name, const std::vector<PolygonGlyph> &glyphs,
                           const std::string &privateEntries)
{
    std::vector<std::string> names, codes;
    std::string charset(1, '\0'), encoding = {'\0', (char)(glyphs.size() - 1)};
    for (size_t i = 0; i < glyphs.size(); i++) {
        codes.push_back(number(glyphs[i].width) + polygon(glyphs[i], "") + '\x0E');
        if (i == 0)
            continue;
        names.push_back(glyphs[i].name);
        charset += u16(390 + i); /* the names that are not standard come behind 390 */
        encoding += (char)(64 + i);
    }
    std::string privateDict = number(0) + '\x14' + number(0) + '\x15' + /* default, */
                              privateEntries;                           /* nominal width */
    std::string head = std::string("\x01\x00\x04\x02", 4) + indexOf({name});
    std::string top(5 * 3 + 4, '\0'); /* five numbers, four operators */
    std::string tail = indexOf(names) + indexOf({});
    size_t at = head.size() + indexOf({top}).size() + tail.size();
    size_t charsetAt = at, encodingAt = charsetAt + charset.size(),
           codesAt = encodingAt + encoding.size(), privateAt = codesAt + indexOf(codes).size();
    top = offset(charsetAt) + '\x0F' + offset(encodingAt) + '\x10' + offset(codesAt) + '\x11' +
          offset(privateDict.size()) + offset(privateAt) + '\x12';
    return head + indexOf({top}) + tail + charset + encoding + indexOf(codes) + privateDict;
}

std::string openTypeProgram(const std::string &compact)
{
    auto u32 = [](size_t value) { return u16(value >> 16) + u16(value & 0xFFFF); };
    const size_t head = 12 + 2 * 16, headSize = 54;
    return "OTTO" + u16(2) + u16(32) + u16(1) + u16(0) +                  /* */
           "head" + u32(0) + u32(head) + u32(headSize) +                  /* */
           "CFF " + u32(0) + u32(head + headSize) + u32(compact.size()) + /* */
           std::string(headSize, '\0') + compact;
}
