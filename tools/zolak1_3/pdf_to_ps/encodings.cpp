/*
 * encodings.cpp - font encodings and Type 3 fonts
 *
 * A Type 3 font's glyph procedures are PDF content, decoded here and written as it stands.
 */
#include "tools/zolak1_3/pdf_to_ps/encodings.h"

#include "tools/zolak1_3/pdf_to_ps/resources.h"
#include "tools/zolak1_3/pdf_to_ps/serializer.h"
#include "tools/zolak1_3/pdf_to_ps/streams.h"
#include "tools/zolak1_3/zolak_filter/filter.h"
#include "zelkov/format.h"

namespace {

void writeBaseEncoding(ConverterInstance *inst)
{
    NamePtr name = readName(inst);
    if (!name)
        return;
    char text[NAME_PS_BYTES];
    fputstr_arg(inst->output, "/BaseEncoding %s", nameToPS(text, name.get()));
}

void writeEncodingDict(ConverterInstance *inst)
{
    DictPtr dict = readDict(inst);
    if (!dict)
        return;
    writeDictEntry(inst, dict.get(), "/BaseEncoding");
    writeDictEntry(inst, dict.get(), "/Differences");
}

/* Writes the resources of a Type 3 font; false when they could not be read. */
bool writeFontResources(ConverterInstance *inst, const PdfDict *font)
{
    if (findKey(inst, font, "/Resources") < 0)
        return true;
    DictPtr resources = readDict(inst);
    if (!resources)
        return false;
    writeResources(inst, resources.get());
    return true;
}

/* Writes one glyph procedure; false when its stream could not be read. */
bool writeGlyph(ConverterInstance *inst, const char *name)
{
    StreamPtr stream = readStream(inst);
    if (inst->errorFlag)
        return false;
    fputstr_arg(inst->output, "%s { save", name);
    filter(inst, stream.get(), inst->output);
    fputstr(inst->output, " restore }");
    return true;
}

/* Writes the glyph procedures; false when one of them could not be read. */
bool writeGlyphs(ConverterInstance *inst)
{
    DictPtr glyphs = readDict(inst);
    fputstr(inst->output, "/CharProcs <<");
    fputstr(inst->output, "/.notdef {250 0 d0}");
    for (int32_t i = 0; glyphs && i < glyphs->count; i++) {
        fputp(inst->input, glyphs->entries[i].value);
        if (!writeGlyph(inst, dictKey(glyphs.get(), i)))
            return false;
    }
    fputstr(inst->output, ">>");
    return true;
}

} // namespace

int32_t WriteFontEncoding(ConverterInstance *inst, const PdfDict *font)
{
    int32_t index = findKey(inst, font, "/Encoding");
    if (index < 0)
        return index;
    PdfType type = peekType(inst);
    if (type == PDF_NAME)
        writeBaseEncoding(inst);
    else if (type == PDF_DICTIONARY)
        writeEncodingDict(inst);
    return index;
}

void WriteType3Font(ConverterInstance *inst, const char *key, const PdfDict *font)
{
    if (inst->errorFlag || !writeFontResources(inst, font))
        return;
    ZFile *out = inst->output;
    fputstr_arg(out, "%s <<", key);
    fputstr(out, "/FontType 3");
    writeDictEntry(inst, font, "/FontMatrix");
    writeDictEntry(inst, font, "/FontBBox");
    fputstr(out, "<<");
    WriteFontEncoding(inst, font);
    fputstr(out, ">> T3AdjEnc");
    if (findKey(inst, font, "/CharProcs") >= 0 && !writeGlyphs(inst))
        return;
    fputstr(out, "T3DefFnct");
    fputstr(out, ">> definefont pop");
}
