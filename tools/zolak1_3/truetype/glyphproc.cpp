/*
 * glyphproc.cpp - one glyph as a procedure of the Type 3 font
 *
 * The procedure's frame is written here, and the components of a composite glyph, each under a
 * matrix of its own.  The procedure works in font units; the font's matrix scales them.
 */
#include "tools/zolak1_3/truetype/glyphproc.h"

#include <initializer_list>

#include "tools/zolak1_3/truetype/glyf.h"
#include "tools/zolak1_3/truetype/outline.h"
#include "tools/zolak1_3/truetype/psline.h"
#include "tools/zolak1_3/truetype/report.h"
#include "zelkov/format.h"

namespace {

/* A procedure of more segments may be more than some printers hold in a path. */
constexpr int32_t LONG_GLYPH_SEGMENTS = 100;

/* No honest font comes near; glyphs that share their data could otherwise write without end. */
constexpr uint32_t MAX_COMPONENTS = 1048576;

enum ComponentFlag : uint16_t {
    ARGUMENTS_ARE_WORDS = 0x0001,
    HAS_SCALE = 0x0008,
    MORE_COMPONENTS = 0x0020,
    HAS_X_AND_Y_SCALE = 0x0040,
    HAS_TWO_BY_TWO = 0x0080,
};

constexpr int16_t ONE_214 = 1 << 14; /* 1 in 2.14 form */

/* One component of a composite glyph: another glyph, transformed (in 2.14 form) and moved. */
struct Component {
    uint16_t flags, glyph;
    int16_t a, b, c, d;
    int16_t dx, dy; /* font units; taken as an offset whatever the flags say */
};

void readTransform(TTGlyphCursor *cursor, Component *component)
{
    component->a = component->d = ONE_214;
    component->b = component->c = 0;
    if (component->flags & HAS_SCALE) {
        component->a = component->d = cursorS16(cursor);
    } else if (component->flags & HAS_X_AND_Y_SCALE) {
        component->a = cursorS16(cursor);
        component->d = cursorS16(cursor);
    } else if (component->flags & HAS_TWO_BY_TWO) {
        component->a = cursorS16(cursor);
        component->b = cursorS16(cursor);
        component->c = cursorS16(cursor);
        component->d = cursorS16(cursor);
    }
}

Component readComponent(TTGlyphCursor *cursor)
{
    Component component;
    component.flags = cursorU16(cursor);
    component.glyph = cursorU16(cursor);
    if (component.flags & ARGUMENTS_ARE_WORDS) {
        component.dx = cursorS16(cursor);
        component.dy = cursorS16(cursor);
    } else {
        component.dx = cursorS8(cursor);
        component.dy = cursorS8(cursor);
    }
    readTransform(cursor, &component);
    return component;
}

/* Do all component records lie inside the glyph's data?  Reports when they do not, and when the
 * font has more of them than it may. */
bool checkComponents(ZelkovInstance *instance, TTFont *font, int32_t glyph, TTGlyphCursor cursor)
{
    Component component;
    do {
        component = readComponent(&cursor);
        if (++font->componentsRead > MAX_COMPONENTS) {
            tt_reportTooLarge(instance);
            return false;
        }
        if (cursor.damaged) {
            tt_reportDamagedGlyph(instance, *font, glyph);
            return false;
        }
    } while (component.flags & MORE_COMPONENTS);
    return true;
}

/* "matrix currentmatrix [ %9.7f %9.7f %9.7f %9.7f %hd %hd ] concat" */
void writeMatrix(ZFile *output, const Component &component)
{
    char numbers[6 * PSLINE_NUMBER_BYTES + 6];
    char *to = numbers;
    for (int16_t value : {component.a, component.b, component.c, component.d}) {
        to = psline_putFixed214(to, value);
        *to++ = ' ';
    }
    for (int16_t value : {component.dx, component.dy}) {
        to = psline_putInt(to, value);
        *to++ = ' ';
    }
    psline_text(output, "matrix currentmatrix [ ");
    fputm(output, numbers, (size_t)(to - numbers));
    psline_text(output, "] concat\n");
}

/* "%% flags %x glyph %s" */
void writeComponentComment(const TTFont &font, const Component &component)
{
    char flags[PSLINE_NUMBER_BYTES];
    char *end = psline_putHex(flags, component.flags, 1);
    psline_text(font.output, "% flags ");
    fputm(font.output, flags, (size_t)(end - flags));
    psline_text(font.output, " glyph ");
    fputstr(font.output, tt_glyphName(font, component.glyph));
}

void writeComponents(ZelkovInstance *instance, TTFont *font, int32_t glyph, const TTGlyphData &data)
{
    TTGlyphCursor cursor = glyphCursor(data, TT_GLYPH_HEADER_BYTES);
    if (!checkComponents(instance, font, glyph, cursor))
        return;
    Component component;
    do {
        component = readComponent(&cursor);
        writeComponentComment(*font, component);
        writeMatrix(font->output, component);
        writeOutline(instance, font, component.glyph, glyph);
        if (tt_stopped(instance))
            return;
        fputstr(font->output, "setmatrix");
    } while (component.flags & MORE_COMPONENTS);
}

/* "/%s { %% %d - 0x%2.2x", or "/%s { %% %d - U+%4.4x" in a Unicode font */
void writeOpening(const TTFont &font, int32_t glyph)
{
    const TTGlyph &record = font.glyphs[glyph];
    char numbers[2 * PSLINE_NUMBER_BYTES + 8];
    char *to = psline_putInt(numbers, glyph);
    *to++ = ' ';
    *to++ = '-';
    *to++ = ' ';
    *to++ = font.unicodeFlag ? 'U' : '0';
    *to++ = font.unicodeFlag ? '+' : 'x';
    to = font.unicodeFlag ? psline_putHex(to, record.unicode & 0xFFFF, 4)
                          : psline_putHex(to, record.code & 0xFFFF, 2);
    *to++ = '\n';
    fputb(font.output, '/');
    psline_text(font.output, record.name);
    psline_text(font.output, " { % ");
    fputm(font.output, numbers, (size_t)(to - numbers));
}

/* "%d 0 %hd %hd %hd %hd setcachedevice"; an empty glyph has zeros for its box. */
void writeCacheDevice(const TTFont &font, int32_t glyph, const TTGlyphHeader &header)
{
    char line[6 * PSLINE_NUMBER_BYTES];
    char *to = psline_putInt(line, (int32_t)font.glyphs[glyph].advanceWidth);
    *to++ = ' ';
    for (int16_t value : {(int16_t)0, header.xMin, header.yMin, header.xMax, header.yMax}) {
        to = psline_putInt(to, value);
        *to++ = ' ';
    }
    fputm(font.output, line, (size_t)(to - line));
    psline_text(font.output, "setcachedevice\n");
}

/* The path of a glyph that has data, and the operator that paints it. */
void writeBody(ZelkovInstance *instance, TTFont *font, int32_t glyph, const TTGlyphData &data,
               const TTGlyphHeader &header)
{
    if (header.numberOfContours < 1)
        writeComponents(instance, font, glyph, data);
    else
        writeOutline(instance, font, glyph, glyph);
    if (tt_stopped(instance))
        return;
    if (font->segmentCount > LONG_GLYPH_SEGMENTS)
        fputstr_arg(font->output, "\n%%Glyph %s is too long, may have to be removed",
                    tt_glyphName(*font, glyph));
    psline_text(font->output, "fill\n");
}

} // namespace

void writeGlyphProcedure(ZelkovInstance *instance, TTFont *font, int32_t glyph)
{
    TTGlyphData data = locateGlyph(*font, glyph);
    TTGlyphHeader header = {};
    if (data.length != 0)
        readGlyf(&header, data.bytes);

    font->segmentCount = 0;
    writeOpening(*font, glyph);
    writeCacheDevice(*font, glyph, header);
    if (data.length != 0)
        writeBody(instance, font, glyph, data, header);
    if (tt_stopped(instance))
        return;
    psline_text(font->output, " } bind def\n");
}
