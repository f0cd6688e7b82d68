/*
 * fontreader.cpp - the order in which the tables are read
 */
#include "tools/zolak1_3/truetype/fontreader.h"

#include <algorithm>

#include "tools/zolak1_3/truetype/cmap.h"
#include "tools/zolak1_3/truetype/directory.h"
#include "tools/zolak1_3/truetype/glyphnames.h"
#include "tools/zolak1_3/truetype/head.h"
#include "tools/zolak1_3/truetype/metrics.h"
#include "tools/zolak1_3/truetype/name.h"
#include "tools/zolak1_3/truetype/post.h"
#include "tools/zolak1_3/truetype/report.h"

namespace {

/* The walk ends one code before the last: code 255 has never named a glyph. */
constexpr int NAMING_CODES = TT_ENCODING_CODES - 1;
static_assert(NAMING_CODES < (int)CODE_NAMES, "each of these codes has a name");

/* Names the glyphs after the codes that draw them, for a font whose `post` has no names. */
void nameFromCodes(TTFont *font)
{
    for (int code = 0; code < NAMING_CODES; code++) {
        int16_t glyph = font->encoding[code];
        font->glyphs[glyph].name = glyph == 0 ? ".notdef" : tt_codeNames[code];
    }
}

void readHeadAndNames(ZelkovInstance *instance, TTFont *font, const TTDirectory &directory)
{
    if (directory.name.data)
        readNames(instance, font, directory.name);
    if (!tt_stopped(instance))
        readHead(instance, font, directory.head);
}

void readGlyphTables(ZelkovInstance *instance, TTFont *font, const TTDirectory &directory)
{
    makeGlyphTable(instance, font, tt_u16(directory.maxp, 4));
    if (tt_stopped(instance))
        return;
    readPost(instance, font, directory.post);
    if (tt_stopped(instance))
        return;
    readMetrics(font, directory.hmtx, directory.hhea);
    readCmap(instance, font, directory.cmap);
    if (font->namesFromCodes && !tt_stopped(instance))
        nameFromCodes(font);
}

} // namespace

void makeGlyphTable(ZelkovInstance *instance, TTFont *font, int32_t glyphCount)
{
    int32_t room = std::max(glyphCount + 1, (int32_t)STANDARD_NAMES);
    font->glyphs = static_cast<TTGlyph *>(zalloc(font->zone, (size_t)room * sizeof(TTGlyph)));
    if (!font->glyphs) {
        tt_reportOutOfMemory(instance, LINE_GLYPH_TABLE);
        return;
    }
    font->glyphCount = glyphCount;
    font->glyphRoom = room;
    std::fill_n(font->glyphs, room,
                TTGlyph{TT_NO_CHARACTER, TT_NO_CHARACTER, TT_UNKNOWN_NAME, 0, 0});
}

void readFont(ZelkovInstance *instance, TTFont *font)
{
    TTDirectory directory;
    readDirectory(instance, &directory, font->data);
    if (tt_stopped(instance))
        return;
    font->glyf = directory.glyf;
    font->loca = directory.loca;
    readHeadAndNames(instance, font, directory);
    if (!tt_stopped(instance))
        readGlyphTables(instance, font, directory);
}
