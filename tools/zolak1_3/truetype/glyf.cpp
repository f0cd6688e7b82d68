/*
 * glyf.cpp - the `glyf` and `loca` tables
 *
 * The location table has one entry more than the font has glyphs: a glyph reaches from its entry
 * to the next one.  Nothing here trusts them to rise.
 */
#include "tools/zolak1_3/truetype/glyf.h"

namespace {

/* Offset of a glyph's data in the `glyf` table. */
uint32_t glyphOffset(const TTFont &font, size_t entry)
{
    if (font.head.indexToLocFormat == 0)
        return 2U * tt_u16(font.loca, 2 * entry);
    return tt_u32(font.loca, 4 * entry);
}

} // namespace

TTGlyphData locateGlyph(const TTFont &font, int32_t glyph)
{
    uint32_t start = glyphOffset(font, (size_t)glyph);
    uint32_t end = glyphOffset(font, (size_t)glyph + 1);
    return {tt_from(font.glyf, start), (int64_t)end - start};
}

void readGlyf(TTGlyphHeader *header, const TTTable &glyph)
{
    header->numberOfContours = tt_s16(glyph, 0);
    header->xMin = tt_s16(glyph, 2);
    header->yMin = tt_s16(glyph, 4);
    header->xMax = tt_s16(glyph, 6);
    header->yMax = tt_s16(glyph, 8);
}
