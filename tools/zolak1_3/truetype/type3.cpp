/*
 * type3.cpp - the Type 3 font resource: its dictionary around the glyph procedures
 */
#include "tools/zolak1_3/truetype/type3.h"

#include "tools/zolak1_3/truetype/glyphproc.h"
#include "tools/zolak1_3/truetype/report.h"
#include "zelkov/format.h"

namespace {

constexpr int CODES_PER_LINE = 4;

void writeHeader(const TTFont &font)
{
    const char *name = font.names[TT_NAME_POSTSCRIPT];
    fputstr_arg(font.output, "%%!PS-Adobe-3.0 Resource-Font");
    fputstr_arg(font.output, "%%%%BeginFont: %s", name ? name : "");
    fputstr(font.output, "20 dict begin");
    fputstr(font.output, "/FontType 3 def");
    if (name)
        fputstr_arg(font.output, "/FontName (%s) def", name);
}

/* One entry of FontInfo; a name that the font does not have has none. */
void writeInfoName(const TTFont &font, const char *key, TTNameID nameID)
{
    if (font.names[nameID])
        fputstr_arg(font.output, "/%s (%s) def", key, font.names[nameID]);
}

void writeFontInfo(const TTFont &font)
{
    fputstr(font.output, "/FontInfo 9 dict dup begin");
    writeInfoName(font, "FullName", TT_NAME_FULL);
    writeInfoName(font, "Notice", TT_NAME_NOTICE);
    writeInfoName(font, "FamilyName", TT_NAME_FAMILY);
    writeInfoName(font, "Weight", TT_NAME_SUBFAMILY);
    writeInfoName(font, "version", TT_NAME_VERSION);

    float italicAngle =
        (float)font.post.italicAngle + (float)font.post.italicAngleFraction / 65536.0F;
    fputstr_arg(font.output, "/italicAngle %f def", (double)italicAngle);
    fputstr_arg(font.output, "/underlineThickness %hd def", font.post.underlineThickness);
    fputstr_arg(font.output, "/underlinePosition %hd def", font.post.underlinePosition);
    fputstr_arg(font.output, "/isFixedPitch %s def end def",
                font.post.isFixedPitch ? "true" : "false");
}

void writeMatrixAndBox(const TTFont &font)
{
    /* The scale is a single-precision number, its division is not. */
    double unit = (double)font.scale / 1000.0;
    fputstr_arg(font.output, "/FontMatrix [%9.7f 0 0 %9.7f 0 0] def", unit, unit);
    fputstr_arg(font.output, "/FontBBox [%hd %hd %hd %hd] def", font.head.xMin, font.head.yMin,
                font.head.xMax, font.head.yMax);
}

void writeEncoding(const TTFont &font)
{
    fputstr(font.output, "/Encoding [");
    for (int code = 0; code < TT_ENCODING_CODES; code++) {
        fputstr_arg_noeol(font.output, "/%s ", tt_glyphName(font, font.encoding[code]));
        if (code % CODES_PER_LINE == CODES_PER_LINE - 1)
            fputstr_arg(font.output, "%% 0x%x", (unsigned)(code - (CODES_PER_LINE - 1)));
    }
    fputstr(font.output, "] def");
}

void writeCharProcs(ZelkovInstance *instance, TTFont *font)
{
    fputstr_arg(font->output, "/CharProcs %d dict def CharProcs begin", font->glyphCount + 1);
    for (int32_t glyph = 0; glyph < font->glyphCount && !tt_stopped(instance); glyph++)
        writeGlyphProcedure(instance, font, glyph);
    if (!tt_stopped(instance))
        fputstr(font->output, "end");
}

/* The procedures that the interpreter calls, and the end.  The literal writer leaves percent
 * signs alone, so the last line has four of them. */
void writeTrailer(const TTFont &font)
{
    static const char *const lines[] = {
        "/BuildGlyph {",
        "exch /CharProcs get exch",
        "2 copy known not {pop /.notdef} if ",
        "get exec } bind def",
        "/BuildChar { 1 index /Encoding get exch get",
        "1 index /BuildGlyph get exec } bind def",
        "currentdict end definefont pop",
        "%%%%EndFont",
    };
    for (const char *line : lines)
        fputstr(font.output, line);
}

} // namespace

void writeType3Font(ZelkovInstance *instance, TTFont *font)
{
    font->scale = (float)(1000.0 / font->head.unitsPerEm);
    writeHeader(*font);
    writeFontInfo(*font);
    writeMatrixAndBox(*font);
    writeEncoding(*font);
    writeCharProcs(instance, font);
    if (!tt_stopped(instance))
        writeTrailer(*font);
}
