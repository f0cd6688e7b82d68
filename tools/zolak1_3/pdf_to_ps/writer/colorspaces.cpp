/*
 * colorspaces.cpp - colour spaces as PostScript
 *
 * The CIE families are written with the fixed figures of a D65 white and an exponent of 1/0.45,
 * whatever /Gamma says; only the white and black points are the document's own.
 */
#include "tools/zolak1_3/pdf_to_ps/writer/colorspaces.h"

#include "tools/zolak1_3/pdf_to_ps/reader/names.h"
#include "tools/zolak1_3/pdf_to_ps/reader/objects.h"
#include "tools/zolak1_3/pdf_to_ps/reader/strings.h"
#include "tools/zolak1_3/pdf_to_ps/writer/entries.h"
#include "tools/zolak1_3/pdf_to_ps/writer/functions.h"
#include "tools/zolak1_3/pdf_to_ps/reader/lexer.h"
#include "tools/zolak1_3/pdf_to_ps/writer/serializer.h"
#include "tools/zolak1_3/pdf_to_ps/reader/streams.h"
#include "zelkov/format.h"
#include "zelkov/text.h"

namespace {

struct FamilyComponents {
    const char *family;
    uint32_t components;
};

constexpr FamilyComponents familyComponents[] = {
    {"/DeviceGray", 1}, {"/DeviceRGB", 3}, {"/DeviceCMYK", 4}, {"/CalGray", 1},
    {"/CalRGB", 3},     {"/Lab", 3},       {"/Separation", 1},
};

/* Where a missing element is read: beyond the end of every file. */
constexpr ValuePosition NOWHERE = 0xFFFFFFFF;

uint32_t componentsOf(const char *family)
{
    for (const FamilyComponents &row : familyComponents)
        if (cmpstr(row.family, family) == 0)
            return row.components;
    return 0;
}

void seekElement(ConversionRun *run, const PdfArray *space, int32_t index)
{
    fputp(run->input, index < space->count ? space->items[index] : NOWHERE);
}

/* Reads the parameters of a CIE family. */
DictPtr readParameters(ConversionRun *run, const PdfArray *space)
{
    seekElement(run, space, 1);
    return readDict(run);
}

void writeEntry(ConversionRun *run, const DictPtr &dict, const char *key)
{
    if (dict)
        writeDictEntry(run, dict.get(), key);
}

bool hasKey(ConversionRun *run, const DictPtr &dict, const char *key)
{
    return dict && findKey(run, dict.get(), key) >= 0;
}

/* ---- the families that are arrays */

void writeCalGray(ConversionRun *run, const PdfArray *space)
{
    DictPtr dict = readParameters(run, space);
    fputstr(run->output, "[/CIEBasedA <<");
    writeEntry(run, dict, "/WhitePoint");
    writeEntry(run, dict, "/BlackPoint");
    writeLines(run->output, {"/MatrixA [0.9505 1 1.089]", "/DecodeA {1 0.45 div exp} bind",
                             "/RangeLMN [0 0.9505 0 1 0 1.089]", ">> ]"});
}

void writeCalRGB(ConversionRun *run, const PdfArray *space)
{
    DictPtr dict = readParameters(run, space);
    fputstr(run->output, "[/CIEBasedABC <<");
    if (hasKey(run, dict, "/Matrix")) {
        writePiece(run, "/MatrixLMN ");
        writeObject(run, fgetp(run->input));
    }
    fputstr(run->output, "/DecodeLMN [{1 0.45 div exp} bind dup dup]");
    writeEntry(run, dict, "/WhitePoint");
    writeEntry(run, dict, "/BlackPoint");
    fputstr(run->output, ">> ]");
}

void writeLabRange(ConversionRun *run, const DictPtr &dict)
{
    if (!hasKey(run, dict, "/Range")) {
        writePiece(run, "-100 100 -100 100");
        return;
    }
    ArrayPtr range = readArray(run);
    for (int32_t i = 0; range && i < 4; i++)
        writeArrayElement(run, range.get(), i);
}

void writeLab(ConversionRun *run, const PdfArray *space)
{
    DictPtr dict = readParameters(run, space);
    fputstr(run->output, "[/CIEBasedABC <<");
    writePiece(run, "/RangeABC [0 100 ");
    writeLabRange(run, dict);
    fputstr(run->output, "]");
    writeEntry(run, dict, "/WhitePoint");
    writeEntry(run, dict, "/BlackPoint");
    writeLines(run->output, {
                                "/DecodeABC [{16 add 116 div} bind {500 div} bind {200 div} bind]",
                                "/MatrixABC [1 1 1 1 0 0 0 0 -1]",
                                "/DecodeLMN",
                                "[{dup 6 29 div ge {dup dup mul mul}",
                                "{4 29 div sub 108 841 div mul} ifelse 0.9505 mul} bind",
                                "{dup 6 29 div ge {dup dup mul mul}",
                                "{4 29 div sub 108 841 div mul} ifelse} bind",
                                "{dup 6 29 div ge {dup dup mul mul}",
                                "{4 29 div sub 108 841 div mul} ifelse 1.089 mul} bind]",
                                ">> ]",
                            });
}

/* Writes a lookup table that is a stream: its dictionary, its decoded size, its raw data.  False
 * when it cannot be read. */
bool writeLookupStream(ConversionRun *run, int32_t hival, uint32_t baseComponents)
{
    StreamPtr lookup = readStream(run);
    if (run->errorFlag)
        return false;
    writeObject(run, lookup->dictPosition);
    fputstr_arg(run->output, "%lld SetIndexed", ((long long)hival + 1) * baseComponents);
    copyStreamData(run, lookup->dataPosition, lookup->length);
    return true;
}

bool writeIndexed(ConversionRun *run, const PdfArray *space)
{
    writePiece(run, "[/Indexed ");
    seekElement(run, space, 1);
    uint32_t baseComponents = WriteColorSpace(run);
    writeArrayElement(run, space, 2);
    seekElement(run, space, 2);
    int32_t hival = readInteger(run);
    seekElement(run, space, 3);
    if (peekType(run) == PDF_STRING)
        writeArrayElement(run, space, 3);
    else if (!writeLookupStream(run, hival, baseComponents))
        return false;
    fputstr(run->output, " ]");
    return true;
}

void writePattern(ConversionRun *run, const PdfArray *space)
{
    fputstr(run->output, "[ /Pattern ");
    if (space->count > 1) {
        seekElement(run, space, 1);
        WriteColorSpace(run);
    }
    fputstr(run->output, " ]");
}

void writeColorant(ConversionRun *run)
{
    NamePtr name = readName(run);
    if (!name)
        return;
    char escaped[2 * NAME_BYTES];
    escapeString(escaped, name.get() + 1);
    fputstr_arg_noeol(run->output, "(%s) ", escaped);
}

bool writeSeparation(ConversionRun *run, const PdfArray *space)
{
    writePiece(run, "[ /Separation ");
    seekElement(run, space, 1);
    writeColorant(run);
    seekElement(run, space, 2);
    WriteColorSpace(run);
    seekElement(run, space, 3);
    StreamPtr tint = readStream(run);
    if (run->errorFlag)
        return false;
    WriteSampledFunction1(run, tint.get());
    fputstr(run->output, " ]");
    return true;
}

bool isDeviceFamily(const char *family)
{
    return cmpstr(family, "/DeviceGray") == 0 || cmpstr(family, "/DeviceRGB") == 0 ||
           cmpstr(family, "/DeviceCMYK") == 0;
}

/* Writes an array of that family; false when a failure ends it in the middle. */
bool writeFamily(ConversionRun *run, const char *family, const PdfArray *space)
{
    bool isPattern = cmpstr(family, "/Pattern") == 0;
    if (isDeviceFamily(family) || (isPattern && space->count == 1))
        fputstr(run->output, family);
    if (cmpstr(family, "/CalGray") == 0)
        writeCalGray(run, space);
    if (cmpstr(family, "/CalRGB") == 0)
        writeCalRGB(run, space);
    if (cmpstr(family, "/Lab") == 0)
        writeLab(run, space);
    if (cmpstr(family, "/Indexed") == 0)
        return writeIndexed(run, space);
    if (isPattern)
        writePattern(run, space);
    if (cmpstr(family, "/Separation") == 0)
        return writeSeparation(run, space);
    return true;
}

/* A bare name is looked up as a resource, also when it is a device family. */
uint32_t writeNamedSpace(ConversionRun *run)
{
    ValuePosition position = fgetp(run->input);
    NamePtr family = readName(run);
    if (!family)
        return 0;
    writeObject(run, position);
    fputstr(run->output, "/ColorSpace findRes");
    return componentsOf(family.get());
}

uint32_t writeArraySpace(ConversionRun *run)
{
    ArrayPtr space = readArray(run);
    if (!space || space->count == 0)
        return 0;
    seekElement(run, space.get(), 0);
    NamePtr family = readName(run);
    if (!family || !writeFamily(run, family.get(), space.get()))
        return 0;
    return componentsOf(family.get());
}

} // namespace

uint32_t WriteColorSpace(ConversionRun *run)
{
    if (run->errorFlag)
        return 0;
    NestingLevel level(run, run->written.colorSpaceDepth);
    if (level.tooDeep)
        return 0;
    return peekType(run) == PDF_NAME ? writeNamedSpace(run) : writeArraySpace(run);
}

bool DefineColorSpace(ConversionRun *run, const char *key)
{
    fputstr(run->output, key);
    WriteColorSpace(run);
    fputstr(run->output, "/ColorSpace defineRes pop");
    return true;
}

void DefineColorSpaceResources(ConversionRun *run, const PdfDict *dict)
{
    defineEntries(run, dict, DefineColorSpace);
}
