/*
 * fontrecord.h - the record of one TrueType font on its way to PostScript
 *
 * insert_ttfont makes it and it is gone when insert_ttfont returns; whatever it points to lies in
 * its memory zone or is constant.
 */
#ifndef TRUETYPE_FONTRECORD_H
#define TRUETYPE_FONTRECORD_H

#include <cstdint>

#include "tools/zolak1_3/truetype/fontdata.h"
#include "zelkov/file.h"
#include "zelkov/memzone.h"

/* A character code or Unicode value that a glyph does not have (yet). */
constexpr uint32_t TT_NO_CHARACTER = 0xFFFFFFFF;

constexpr int TT_ENCODING_CODES = 256;

/* The name of a glyph that nothing else gives one. */
constexpr char TT_UNKNOWN_NAME[] = "UNKN";

struct TTGlyph {
    uint32_t code;    /* character code, 0xFFFF without one in a Unicode font */
    uint32_t unicode; /* the character that reached the glyph first */
    const char *name; /* never null */
    uint32_t advanceWidth;
    int32_t leftSideBearing;
};

/* Indices of TTFont.names: name IDs of the `name` table. */
enum TTNameID {
    TT_NAME_NOTICE,
    TT_NAME_FAMILY,
    TT_NAME_SUBFAMILY,
    TT_NAME_UNIQUE,
    TT_NAME_FULL,
    TT_NAME_VERSION,
    TT_NAME_POSTSCRIPT,
    TT_NAME_TRADEMARK,
    TT_NAME_COUNT
};

/* The `head` table, field by field. */
struct TTHead {
    uint32_t version, fontRevision, checkSumAdjustment, magicNumber;
    uint16_t flags;
    uint16_t unitsPerEm; /* never 0 once the font is read */
    uint8_t created[8], modified[8];
    int16_t xMin, yMin, xMax, yMax; /* font box, font units */
    uint16_t macStyle, lowestRecPPEM;
    int16_t fontDirectionHint;
    int16_t indexToLocFormat; /* 0: 16-bit location entries; 1: 32-bit */
    int16_t glyphDataFormat;
};

/* The fixed part of the `post` table. */
struct TTPost {
    int16_t italicAngle; /* degrees: this plus the fraction / 65536 */
    uint16_t italicAngleFraction;
    int16_t underlinePosition, underlineThickness; /* font units */
    uint32_t isFixedPitch;
};

struct TTFont {
    MemZone *zone;
    ZFile *output;
    TTTable data; /* the whole font file */
    TTTable glyf, loca;

    TTHead head;
    TTPost post;
    const char *names[TT_NAME_COUNT]; /* null when the font has none */

    /* Glyphs 0 to glyphCount - 1 are the font's.  The table has a few records more: glyphCount
     * itself is an index that a cmap may use, and the standard names and a cmap of format 0 reach
     * a fixed number of glyphs whatever the font has. */
    int32_t glyphCount;
    int32_t glyphRoom;
    TTGlyph *glyphs;

    int16_t encoding[TT_ENCODING_CODES]; /* glyph index of each character code */
    bool unicodeFlag;                    /* the encoding comes from a Unicode cmap */
    bool namesFromCodes;                 /* `post` names no glyphs: the encoding does */

    float scale; /* 1000 / units per em */

    int32_t segmentCount;     /* path segments of the glyph procedure being written */
    uint32_t segmentsWritten; /* of the whole font */
    uint32_t componentsRead;  /* of the whole font */
};

/* The name of any index, in the glyph table or not. */
inline const char *tt_glyphName(const TTFont &font, int32_t glyph)
{
    return glyph < font.glyphRoom ? font.glyphs[glyph].name : TT_UNKNOWN_NAME;
}

#endif
