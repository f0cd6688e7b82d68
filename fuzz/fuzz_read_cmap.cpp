/*
 * fuzz_read_cmap.cpp - any bytes as a `cmap` table, of a font of any number of glyphs
 *
 * The first two bytes are the number of glyphs, the others the table.
 */
#include <cstddef>
#include <cstdint>

#include "fuzz/adopted_instance.h"
#include "tools/zolak1_3/truetype/cmap.h"
#include "tools/zolak1_3/truetype/fontreader.h"

/* What every reader of the encoding relies on. */
static void checkEncoding(const TTFont &font)
{
    for (int16_t glyph : font.encoding)
        if (glyph < 0 || glyph >= font.glyphRoom)
            abort();
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    AdoptedInstance instance(rootClass());
    TTTable table = {data, size};
    if (size < 2)
        return 0;
    TTFont font = {};
    font.zone = zcreate(0);
    makeGlyphTable(instance, &font, tt_u16(table, 0));
    readCmap(instance, &font, tt_from(table, 2));
    checkEncoding(font);
    zdelete(font.zone);
    return 0;
}
