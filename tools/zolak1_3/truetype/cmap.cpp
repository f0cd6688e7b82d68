/*
 * cmap.cpp - the `cmap` table
 *
 * The first Microsoft subtable of format 4 decides, wherever it stands.  A font without one may
 * have a byte table (format 0) as its very first subtable; nothing else is looked at.
 */
#include "tools/zolak1_3/truetype/cmap.h"

#include <algorithm>
#include <iterator>

#include "tools/zolak1_3/truetype/report.h"

namespace {

constexpr size_t RECORDS_START = 4;
constexpr size_t RECORD_BYTES = 8;

constexpr unsigned PLATFORM_MICROSOFT = 3;
enum MicrosoftEncoding : uint16_t { ENCODING_SYMBOL = 0, ENCODING_UNICODE = 1 };

enum SubtableFormat : uint16_t { FORMAT_BYTES = 0, FORMAT_SEGMENTS = 4 };

/* Segments may overlap as often as a hostile font likes; no honest font comes near this many
 * characters. */
constexpr uint32_t MAX_CHARACTERS = 1048576;

/* Symbol fonts have their codes on this page of the private use area. */
constexpr uint32_t SYMBOL_PAGE = 0xF000;

constexpr uint32_t NO_CODE = 0xFFFF;

struct CodedCharacter {
    uint16_t unicode, code;
};

/* The characters of Windows code page 1252 that Unicode has elsewhere, in rising order.  The
 * euro sign and the two z with caron (U+20AC, U+017D, U+017E) are absent on purpose: their codes
 * 0x80, 0x8E and 0x9E belong to the characters of the same value. */
const CodedCharacter codePage1252[] = {
    {0x0152, 0x8C}, {0x0153, 0x9C}, {0x0160, 0x8A}, {0x0161, 0x9A}, {0x0178, 0x9F}, {0x0192, 0x83},
    {0x02C6, 0x88}, {0x02DC, 0x98}, {0x2013, 0x96}, {0x2014, 0x97}, {0x2018, 0x91}, {0x2019, 0x92},
    {0x201A, 0x82}, {0x201C, 0x93}, {0x201D, 0x94}, {0x201E, 0x84}, {0x2020, 0x86}, {0x2021, 0x87},
    {0x2022, 0x95}, {0x2026, 0x85}, {0x2030, 0x89}, {0x2039, 0x8B}, {0x203A, 0x9B}, {0x2122, 0x99},
};
static_assert(std::size(codePage1252) == 24, "as many as the code page has, without three");

/* Is the Unicode value below 0x100 its own code?  The gaps are where code page 1252 has other
 * characters. */
bool isOwnCode(uint32_t unicode)
{
    return unicode <= 0x81 || (unicode >= 0x8D && unicode <= 0x90) ||
           (unicode >= 0x9D && unicode <= 0x9E) || unicode >= 0xA0;
}

uint32_t codeOfUnicode(uint32_t unicode)
{
    if (unicode < 0x100)
        return isOwnCode(unicode) ? unicode : NO_CODE;
    const CodedCharacter *found =
        std::lower_bound(std::begin(codePage1252), std::end(codePage1252), unicode,
                         [](const CodedCharacter &c, uint32_t value) { return c.unicode < value; });
    if (found == std::end(codePage1252) || found->unicode != unicode)
        return NO_CODE;
    return found->code;
}

/* The subtable that encoding record `index` points to. */
TTTable subtableAt(const TTTable &cmap, size_t index)
{
    return tt_from(cmap, tt_u32(cmap, RECORDS_START + index * RECORD_BYTES + 4));
}

/* ---- format 4 */

/* The four parallel arrays of a subtable of format 4. */
struct Segments {
    TTTable subtable;
    size_t count;
    size_t ends, starts, deltas, rangeOffsets;
};

Segments segmentsOf(const TTTable &subtable)
{
    Segments segments = {subtable, tt_u16(subtable, 6) / 2U, 14, 0, 0, 0};
    size_t arrayBytes = 2 * segments.count;
    segments.starts = segments.ends + arrayBytes + 2; /* a pad stands between them */
    segments.deltas = segments.starts + arrayBytes;
    segments.rangeOffsets = segments.deltas + arrayBytes;
    return segments;
}

/* Glyph of the character `unicode` in segment `index`, as it stands in the font. */
int16_t segmentGlyph(const Segments &segments, size_t index, uint32_t start, uint32_t unicode)
{
    size_t position = segments.rangeOffsets + 2 * index;
    uint16_t rangeOffset = tt_u16(segments.subtable, position);
    if (rangeOffset == 0)
        return (int16_t)(tt_u16(segments.subtable, segments.deltas + 2 * index) + unicode);
    return tt_s16(segments.subtable, position + rangeOffset + (size_t)2 * (unicode - start));
}

void encodeUnicode(TTFont *font, uint32_t unicode, int16_t glyph, bool fresh)
{
    uint32_t code = codeOfUnicode(unicode);
    if (fresh) {
        font->glyphs[glyph].unicode = unicode;
        font->glyphs[glyph].code = code;
    }
    if (code < TT_ENCODING_CODES)
        font->encoding[code] = glyph;
}

void encodeSymbol(TTFont *font, uint32_t character, int16_t glyph, bool fresh)
{
    bool onPage = (character & 0xFF00) == SYMBOL_PAGE;
    uint32_t code = onPage ? character & 0xFF : character;
    if (fresh) {
        font->glyphs[glyph].code = code;
        font->glyphs[glyph].unicode = character;
    }
    if (onPage)
        font->encoding[code] = glyph;
}

/* Gives the character its glyph; the first character of a glyph is the one it is known by. */
void encodeCharacter(ZelkovInstance *instance, TTFont *font, uint32_t character, int16_t glyph)
{
    bool fresh = false;
    if (glyph < 0 || glyph > font->glyphCount) {
        tt_reportFault(instance, LINE_CMAP_GLYPH, "Glyph value out of range: %d", glyph);
        glyph = 0;
    } else {
        fresh = font->glyphs[glyph].unicode == TT_NO_CHARACTER;
    }
    if (font->unicodeFlag)
        encodeUnicode(font, character, glyph, fresh);
    else
        encodeSymbol(font, character, glyph, fresh);
}

/* All segments but the last, which by convention only ends the table. */
void readSegments(ZelkovInstance *instance, TTFont *font, const TTTable &subtable)
{
    Segments segments = segmentsOf(subtable);
    uint32_t charactersLeft = MAX_CHARACTERS;
    for (size_t i = 0; i + 1 < segments.count; i++) {
        uint32_t start = tt_u16(subtable, segments.starts + 2 * i);
        uint32_t end = tt_u16(subtable, segments.ends + 2 * i);
        for (uint32_t unicode = start; unicode <= end; unicode++) {
            if (charactersLeft-- == 0)
                return;
            encodeCharacter(instance, font, unicode, segmentGlyph(segments, i, start, unicode));
        }
    }
}

/* Uses the first Microsoft subtable of format 4; false when there is none. */
bool readMicrosoftSubtable(ZelkovInstance *instance, TTFont *font, const TTTable &cmap)
{
    size_t count = tt_u16(cmap, 2);
    for (size_t i = 0; i < count; i++) {
        size_t record = RECORDS_START + i * RECORD_BYTES;
        TTTable subtable = subtableAt(cmap, i);
        if (tt_u16(cmap, record) != PLATFORM_MICROSOFT || tt_u16(subtable, 0) != FORMAT_SEGMENTS)
            continue;
        uint16_t encoding = tt_u16(cmap, record + 2);
        if (encoding != ENCODING_SYMBOL && encoding != ENCODING_UNICODE) {
            tt_reportError(instance, LINE_CMAP_ENCODING, "MS Encoding ID %d not supported",
                           encoding);
            return true;
        }
        font->unicodeFlag = encoding == ENCODING_UNICODE;
        readSegments(instance, font, subtable);
        return true;
    }
    return false;
}

/* ---- format 0 */

/* A glyph index for each code.  A code whose glyph has a code already stays without glyph. */
void readByteTable(TTFont *font, const TTTable &subtable)
{
    constexpr size_t BYTES_START = 6;
    size_t end = std::min<size_t>(tt_u16(subtable, 2), BYTES_START + TT_ENCODING_CODES);
    for (size_t code = 0; BYTES_START + code < end; code++) {
        uint8_t glyph = tt_u8(subtable, BYTES_START + code);
        if (font->glyphs[glyph].code != TT_NO_CHARACTER)
            continue;
        font->glyphs[glyph].code = (uint32_t)code;
        font->encoding[code] = glyph;
    }
}

/* Uses the first subtable when it is a byte table, whatever its platform. */
bool readFirstByteTable(TTFont *font, const TTTable &cmap)
{
    TTTable subtable = subtableAt(cmap, 0);
    if (tt_u16(cmap, 2) == 0 || tt_u16(subtable, 0) != FORMAT_BYTES)
        return false;
    readByteTable(font, subtable);
    return true;
}

} // namespace

void readCmap(ZelkovInstance *instance, TTFont *font, const TTTable &cmap)
{
    if (tt_stopped(instance))
        return;
    std::fill_n(font->encoding, TT_ENCODING_CODES, (int16_t)0);
    font->unicodeFlag = false;
    if (!readMicrosoftSubtable(instance, font, cmap) && !readFirstByteTable(font, cmap))
        tt_reportError(instance, LINE_NO_CMAP, "No Recognised Encoding Table");
}
