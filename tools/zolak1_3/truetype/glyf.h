/*
 * glyf.h - the `glyf` and `loca` tables: a glyph's data and its header
 */
#ifndef TRUETYPE_GLYF_H
#define TRUETYPE_GLYF_H

#include "tools/zolak1_3/truetype/fontrecord.h"

/* What a glyph's data begins with. */
struct TTGlyphHeader {
    int16_t numberOfContours;       /* below 1: a composite glyph */
    int16_t xMin, yMin, xMax, yMax; /* font units */
};

constexpr size_t TT_GLYPH_HEADER_BYTES = 10;

/* Where a glyph's data is.  `length` is what the location table says: it may be negative, and it
 * may be more than the font has. */
struct TTGlyphData {
    TTTable bytes; /* from the glyph's start to the end of the font */
    int64_t length;
};

/* Locates the data of any glyph index. */
TTGlyphData locateGlyph(const TTFont &font, int32_t glyph);

/* Fills the header from the first bytes of a glyph's data. */
void readGlyf(TTGlyphHeader *header, const TTTable &glyph);

/* Reads a glyph's data from `position` on.  A byte at or past `length` is not the glyph's: asking
 * for one sets `damaged`, and it reads as 0. */
struct TTGlyphCursor {
    TTTable bytes;
    size_t length;
    size_t position;
    bool damaged;
};

inline TTGlyphCursor glyphCursor(const TTGlyphData &glyph, size_t position)
{
    return {glyph.bytes, glyph.length > 0 ? (size_t)glyph.length : 0, position, false};
}

/* Moves past `count` bytes, all of which must be the glyph's. */
inline void cursorSkip(TTGlyphCursor *cursor, size_t count)
{
    if (cursor->damaged || cursor->position > cursor->length ||
        count > cursor->length - cursor->position)
        cursor->damaged = true;
    else
        cursor->position += count;
}

inline uint8_t cursorU8(TTGlyphCursor *cursor)
{
    size_t position = cursor->position;
    cursorSkip(cursor, 1);
    return cursor->damaged ? 0 : tt_u8(cursor->bytes, position);
}

inline uint16_t cursorU16(TTGlyphCursor *cursor)
{
    size_t position = cursor->position;
    cursorSkip(cursor, 2);
    return cursor->damaged ? 0 : tt_u16(cursor->bytes, position);
}

inline int8_t cursorS8(TTGlyphCursor *cursor)
{
    return (int8_t)cursorU8(cursor);
}

inline int16_t cursorS16(TTGlyphCursor *cursor)
{
    return (int16_t)cursorU16(cursor);
}

#endif
