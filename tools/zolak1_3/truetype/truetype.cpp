/*
 * truetype.cpp - the entry: a font file comes into memory, is read and is written
 *
 * Everything that one conversion allocates comes from one memory zone, released here.
 */
#include "tools/zolak1_3/truetype/truetype.h"

#include "tools/zolak1_3/truetype/fontreader.h"
#include "tools/zolak1_3/truetype/report.h"
#include "tools/zolak1_3/truetype/type3.h"

namespace {

constexpr uint32_t TRUETYPE_VERSION = 0x00010000;

/* The file comes into memory whole, and a few compressed bytes of a document can stand for it.
 * The largest fonts have some 40 million bytes. */
constexpr uint32_t MAX_FONT_BYTES = 134217728;

/* The whole file into the zone. */
void loadFont(ZelkovInstance *instance, TTFont *font, ZFile *input)
{
    uint32_t size = fgeteof(input);
    if (size > MAX_FONT_BYTES) {
        tt_reportTooLarge(instance);
        return;
    }
    uint8_t *buffer = static_cast<uint8_t *>(zalloc(font->zone, size));
    if (!buffer) {
        tt_reportOutOfMemory(instance, LINE_FONT_MEMORY);
        return;
    }
    if (fgetm(input, buffer, size) != fgeteof(input)) {
        tt_reportReadError(instance, LINE_FONT_READ);
        return;
    }
    font->data = {buffer, size};
}

void checkVersion(ZelkovInstance *instance, const TTFont &font)
{
    uint32_t version = tt_u32(font.data, 0);
    if (version != TRUETYPE_VERSION)
        tt_reportError(instance, LINE_SFNT_VERSION,
                       "Unknown File Version number [%x], or not a TrueType file", version);
}

void convert(ZelkovInstance *instance, TTFont *font, ZFile *input)
{
    loadFont(instance, font, input);
    if (tt_stopped(instance))
        return;
    checkVersion(instance, *font);
    if (tt_stopped(instance))
        return;
    readFont(instance, font);
    if (tt_stopped(instance))
        return;
    writeType3Font(instance, font);
}

} // namespace

int insert_ttfont(ZelkovInstance *instance, ZFile *input, ZFile *output)
{
    if (tt_stopped(instance))
        return 0;
    TTFont font = {};
    font.zone = zcreate(0);
    font.output = output;
    if (font.zone)
        convert(instance, &font, input);
    else
        tt_reportOutOfMemory(instance, LINE_FONT_MEMORY);
    return zdelete(font.zone);
}
