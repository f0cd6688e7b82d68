/*
 * font_builder.h - TrueType fonts made in sight of the test: tables in, font out
 *
 * Nothing is checked: a test that wants a damaged font says so, field by field.
 */
#ifndef TESTS_TRUETYPE_FONT_BUILDER_H
#define TESTS_TRUETYPE_FONT_BUILDER_H

#include <cstdint>
#include <map>
#include <string>
#include <vector>

/* Big-endian values one after another. */
class FontBytes {
  public:
    FontBytes &u8(unsigned value);
    FontBytes &u16(unsigned value); /* the low 16 bits, so negative numbers can be given too */
    FontBytes &u32(uint32_t value);
    FontBytes &text(const std::string &bytes);
    FontBytes &zeros(size_t count);

    size_t size() const { return bytes.size(); }
    operator std::string() const { return bytes; }

    std::string bytes;
};

/* ---- glyphs */

struct GlyphPoint {
    int x, y;
    bool onCurve;
};
using GlyphContour = std::vector<GlyphPoint>;

constexpr bool ON = true, OFF = false;

struct GlyphBox {
    int xMin, yMin, xMax, yMax;
};

/* The ten bytes that a glyph begins with. */
FontBytes glyphHeader(int numberOfContours, GlyphBox box = {0, 0, 0, 0});

/* A simple glyph with a flag byte and 16-bit deltas for each point. */
std::string simpleGlyph(const std::vector<GlyphContour> &contours, GlyphBox box = {0, 0, 0, 0});

/* A contour of `count` points on the curve, all at 0 0, in a few bytes. */
std::string pointHeap(int count);

/* A component: its flags (MORE_COMPONENTS is set as needed), glyph, and the words or bytes that
 * the flags announce. */
struct GlyphComponent {
    unsigned flags, glyph;
    int dx, dy;
    std::vector<int> transform = {}; /* 2.14 values, as many as the flags say */
};
std::string compositeGlyph(const std::vector<GlyphComponent> &components,
                           GlyphBox box = {0, 0, 0, 0});

/* ---- tables */

struct NameRecord {
    unsigned platform, encoding, language, nameID;
    std::string text; /* as stored */
};
std::string nameTable(const std::vector<NameRecord> &records);

/* ASCII text as the Microsoft platform stores it. */
std::string utf16(const std::string &ascii);

/* The 32 bytes that a `post` table begins with. */
FontBytes postHeader(unsigned formatInteger, unsigned formatFraction, int angleInteger = 0,
                     unsigned angleFraction = 0, int underlinePosition = 0,
                     int underlineThickness = 0, uint32_t isFixedPitch = 0);

/* A whole `post` table of format 2.0. */
std::string postWithNames(const std::vector<unsigned> &indices,
                          const std::vector<std::string> &names);

struct CmapSegment {
    unsigned start, end;
    int delta;
    std::vector<int> glyphs = {}; /* not empty: these, through idRangeOffset */
};
/* A subtable of format 4; the segment that ends it is added. */
std::string cmapFormat4(const std::vector<CmapSegment> &segments);

/* A subtable of format 0 with these glyphs from code 0 on, and zeros. */
std::string cmapFormat0(const std::vector<unsigned> &glyphs);

struct CmapRecord {
    unsigned platform, encoding;
    std::string subtable;
};
std::string cmapTable(const std::vector<CmapRecord> &records);

/* ---- fonts */

/* A font with what is set here and nothing else.  `replaced` gives a table as it shall be, also
 * one of a tag of its own; an empty text leaves the table out. */
struct FontBuilder {
    uint32_t version = 0x00010000;
    unsigned unitsPerEm = 1000;
    GlyphBox box = {0, 0, 0, 0};
    unsigned locaFormat = 1;

    std::vector<std::string> glyphs;
    std::vector<unsigned> advances; /* of the first glyphs; the last holds for the others */
    std::vector<std::string> names; /* not empty: a `post` of format 2.0 with these */

    std::map<std::string, std::string> replaced;

    std::string build() const;
};

/* The offsets of glyphs as a `loca` table. */
std::string locaTable(const std::vector<uint32_t> &offsets, unsigned format);

/* Tables under their tags as a font file. */
std::string fontFile(uint32_t version, const std::map<std::string, std::string> &tables);

#endif
