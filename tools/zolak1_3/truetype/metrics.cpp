/*
 * metrics.cpp - the `hmtx` table
 *
 * The table begins with full records, as many as `hhea` says; the glyphs after them share the
 * last advance width and have a bearing each.
 */
#include "tools/zolak1_3/truetype/metrics.h"

#include <algorithm>

namespace {

constexpr size_t FULL_RECORD_BYTES = 4;
constexpr size_t BEARING_BYTES = 2;

} // namespace

void readMetrics(TTFont *font, const TTTable &hmtx, const TTTable &hhea)
{
    size_t count = (size_t)font->glyphCount;
    size_t fullRecords = std::min<size_t>(tt_u16(hhea, 34), count);
    uint32_t advance = 0;
    for (size_t i = 0; i < fullRecords; i++) {
        advance = tt_u16(hmtx, i * FULL_RECORD_BYTES);
        font->glyphs[i].advanceWidth = advance;
        font->glyphs[i].leftSideBearing = tt_s16(hmtx, i * FULL_RECORD_BYTES + 2);
    }
    size_t bearings = fullRecords * FULL_RECORD_BYTES;
    for (size_t i = fullRecords; i < count; i++) {
        font->glyphs[i].advanceWidth = advance;
        font->glyphs[i].leftSideBearing =
            tt_s16(hmtx, bearings + (i - fullRecords) * BEARING_BYTES);
    }
}
