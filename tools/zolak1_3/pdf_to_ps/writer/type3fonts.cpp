/*
 * type3fonts.cpp - Type 3 fonts
 *
 * A glyph procedure is PDF content, decoded here and written as it stands.
 */
#include "tools/zolak1_3/pdf_to_ps/writer/type3fonts.h"

#include "tools/zolak1_3/pdf_to_ps/reader/objects.h"
#include "tools/zolak1_3/pdf_to_ps/reader/streams.h"
#include "tools/zolak1_3/pdf_to_ps/writer/encodings.h"
#include "tools/zolak1_3/pdf_to_ps/writer/serializer.h"
#include "tools/zolak1_3/zolak_filter/filter.h"
#include "zelkov/format.h"

namespace {

/* Writes the resources of a Type 3 font; false when they could not be read. */
bool writeFontResources(ConversionRun *run, const PdfDict *font)
{
    if (findKey(run, font, "/Resources") < 0)
        return true;
    DictPtr resources = readDict(run);
    if (!resources)
        return false;
    run->sink->resources(run, resources.get());
    return true;
}

/* Writes one glyph procedure; false when its stream could not be read. */
bool writeGlyph(ConversionRun *run, const char *name)
{
    StreamPtr stream = readStream(run);
    if (run->errorFlag)
        return false;
    fputstr_arg(run->output, "%s { save", name);
    filter(run, stream.get(), run->output);
    fputstr(run->output, " restore }");
    return true;
}

/* Writes the glyph procedures; false when one of them could not be read. */
bool writeGlyphs(ConversionRun *run)
{
    DictPtr glyphs = readDict(run);
    fputstr(run->output, "/CharProcs <<");
    fputstr(run->output, "/.notdef {250 0 d0}");
    for (int32_t i = 0; glyphs && i < glyphs->count; i++) {
        fputp(run->input, glyphs->entries[i].value);
        if (!writeGlyph(run, dictKey(glyphs.get(), i)))
            return false;
    }
    fputstr(run->output, ">>");
    return true;
}

} // namespace

void WriteType3Font(ConversionRun *run, const char *key, const PdfDict *font)
{
    if (run->errorFlag || !writeFontResources(run, font))
        return;
    ZFile *out = run->output;
    fputstr_arg(out, "%s <<", key);
    fputstr(out, "/FontType 3");
    writeDictEntry(run, font, "/FontMatrix");
    writeDictEntry(run, font, "/FontBBox");
    fputstr(out, "<<");
    WriteFontEncoding(run, font);
    fputstr(out, ">> T3AdjEnc");
    if (findKey(run, font, "/CharProcs") >= 0 && !writeGlyphs(run))
        return;
    fputstr(out, "T3DefFnct");
    fputstr(out, ">> definefont pop");
}
