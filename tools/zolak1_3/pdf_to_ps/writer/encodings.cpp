/*
 * encodings.cpp - font encodings
 */
#include "tools/zolak1_3/pdf_to_ps/writer/encodings.h"

#include "tools/zolak1_3/pdf_to_ps/reader/names.h"
#include "tools/zolak1_3/pdf_to_ps/reader/objects.h"
#include "tools/zolak1_3/pdf_to_ps/writer/serializer.h"
#include "zelkov/format.h"

namespace {

void writeBaseEncoding(ConversionRun *run)
{
    NamePtr name = readName(run);
    if (!name)
        return;
    char text[NAME_PS_BYTES];
    fputstr_arg(run->output, "/BaseEncoding %s", nameToPS(text, name.get()));
}

void writeEncodingDict(ConversionRun *run)
{
    DictPtr dict = readDict(run);
    if (!dict)
        return;
    writeDictEntry(run, dict.get(), "/BaseEncoding");
    writeDictEntry(run, dict.get(), "/Differences");
}

} // namespace

int32_t WriteFontEncoding(ConversionRun *run, const PdfDict *font)
{
    int32_t index = findKey(run, font, "/Encoding");
    if (index < 0)
        return index;
    PdfType type = peekType(run);
    if (type == PDF_NAME)
        writeBaseEncoding(run);
    else if (type == PDF_DICTIONARY)
        writeEncodingDict(run);
    return index;
}
