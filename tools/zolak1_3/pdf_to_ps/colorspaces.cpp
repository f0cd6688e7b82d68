/*
 * colorspaces.cpp - colour spaces as PostScript
 *
 * The CIE families are written with the fixed figures of a D65 white and an exponent of 1/0.45,
 * whatever /Gamma says; only the white and black points are the document's own.
 */
#include "tools/zolak1_3/pdf_to_ps/colorspaces.h"

#include "tools/zolak1_3/pdf_to_ps/functions.h"
#include "tools/zolak1_3/pdf_to_ps/lexer.h"
#include "tools/zolak1_3/pdf_to_ps/resources.h"
#include "tools/zolak1_3/pdf_to_ps/serializer.h"
#include "tools/zolak1_3/pdf_to_ps/streams.h"
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

void seekElement(ConverterInstance *inst, const PdfArray *space, int32_t index)
{
    fputp(inst->input, index < space->count ? space->items[index] : NOWHERE);
}

/* Reads the parameters of a CIE family. */
DictPtr readParameters(ConverterInstance *inst, const PdfArray *space)
{
    seekElement(inst, space, 1);
    return readDict(inst);
}

void writeEntry(ConverterInstance *inst, const DictPtr &dict, const char *key)
{
    if (dict)
        writeDictEntry(inst, dict.get(), key);
}

bool hasKey(ConverterInstance *inst, const DictPtr &dict, const char *key)
{
    return dict && findKey(inst, dict.get(), key) >= 0;
}

/* ---- the families that are arrays */

void writeCalGray(ConverterInstance *inst, const PdfArray *space)
{
    DictPtr dict = readParameters(inst, space);
    fputstr(inst->output, "[/CIEBasedA <<");
    writeEntry(inst, dict, "/WhitePoint");
    writeEntry(inst, dict, "/BlackPoint");
    writeLines(inst->output, {"/MatrixA [0.9505 1 1.089]", "/DecodeA {1 0.45 div exp} bind",
                              "/RangeLMN [0 0.9505 0 1 0 1.089]", ">> ]"});
}

void writeCalRGB(ConverterInstance *inst, const PdfArray *space)
{
    DictPtr dict = readParameters(inst, space);
    fputstr(inst->output, "[/CIEBasedABC <<");
    if (hasKey(inst, dict, "/Matrix")) {
        writePiece(inst, "/MatrixLMN ");
        writeObject(inst, fgetp(inst->input));
    }
    fputstr(inst->output, "/DecodeLMN [{1 0.45 div exp} bind dup dup]");
    writeEntry(inst, dict, "/WhitePoint");
    writeEntry(inst, dict, "/BlackPoint");
    fputstr(inst->output, ">> ]");
}

void writeLabRange(ConverterInstance *inst, const DictPtr &dict)
{
    if (!hasKey(inst, dict, "/Range")) {
        writePiece(inst, "-100 100 -100 100");
        return;
    }
    ArrayPtr range = readArray(inst);
    for (int32_t i = 0; range && i < 4; i++)
        writeArrayElement(inst, range.get(), i);
}

void writeLab(ConverterInstance *inst, const PdfArray *space)
{
    DictPtr dict = readParameters(inst, space);
    fputstr(inst->output, "[/CIEBasedABC <<");
    writePiece(inst, "/RangeABC [0 100 ");
    writeLabRange(inst, dict);
    fputstr(inst->output, "]");
    writeEntry(inst, dict, "/WhitePoint");
    writeEntry(inst, dict, "/BlackPoint");
    writeLines(inst->output, {
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
bool writeLookupStream(ConverterInstance *inst, int32_t hival, uint32_t baseComponents)
{
    StreamPtr lookup = readStream(inst);
    if (inst->errorFlag)
        return false;
    writeObject(inst, lookup->dictPosition);
    fputstr_arg(inst->output, "%lld SetIndexed", ((long long)hival + 1) * baseComponents);
    copyStreamData(inst, lookup->dataPosition, lookup->length);
    return true;
}

bool writeIndexed(ConverterInstance *inst, const PdfArray *space)
{
    writePiece(inst, "[/Indexed ");
    seekElement(inst, space, 1);
    uint32_t baseComponents = WriteColorSpace(inst);
    writeArrayElement(inst, space, 2);
    seekElement(inst, space, 2);
    int32_t hival = readInteger(inst);
    seekElement(inst, space, 3);
    if (peekType(inst) == PDF_STRING)
        writeArrayElement(inst, space, 3);
    else if (!writeLookupStream(inst, hival, baseComponents))
        return false;
    fputstr(inst->output, " ]");
    return true;
}

void writePattern(ConverterInstance *inst, const PdfArray *space)
{
    fputstr(inst->output, "[ /Pattern ");
    if (space->count > 1) {
        seekElement(inst, space, 1);
        WriteColorSpace(inst);
    }
    fputstr(inst->output, " ]");
}

void writeColorant(ConverterInstance *inst)
{
    NamePtr name = readName(inst);
    if (!name)
        return;
    char escaped[2 * NAME_BYTES];
    escapeString(escaped, name.get() + 1);
    fputstr_arg_noeol(inst->output, "(%s) ", escaped);
}

bool writeSeparation(ConverterInstance *inst, const PdfArray *space)
{
    writePiece(inst, "[ /Separation ");
    seekElement(inst, space, 1);
    writeColorant(inst);
    seekElement(inst, space, 2);
    WriteColorSpace(inst);
    seekElement(inst, space, 3);
    StreamPtr tint = readStream(inst);
    if (inst->errorFlag)
        return false;
    WriteSampledFunction1(inst, tint.get());
    fputstr(inst->output, " ]");
    return true;
}

bool isDeviceFamily(const char *family)
{
    return cmpstr(family, "/DeviceGray") == 0 || cmpstr(family, "/DeviceRGB") == 0 ||
           cmpstr(family, "/DeviceCMYK") == 0;
}

/* Writes an array of that family; false when a failure ends it in the middle. */
bool writeFamily(ConverterInstance *inst, const char *family, const PdfArray *space)
{
    bool isPattern = cmpstr(family, "/Pattern") == 0;
    if (isDeviceFamily(family) || (isPattern && space->count == 1))
        fputstr(inst->output, family);
    if (cmpstr(family, "/CalGray") == 0)
        writeCalGray(inst, space);
    if (cmpstr(family, "/CalRGB") == 0)
        writeCalRGB(inst, space);
    if (cmpstr(family, "/Lab") == 0)
        writeLab(inst, space);
    if (cmpstr(family, "/Indexed") == 0)
        return writeIndexed(inst, space);
    if (isPattern)
        writePattern(inst, space);
    if (cmpstr(family, "/Separation") == 0)
        return writeSeparation(inst, space);
    return true;
}

/* A bare name is looked up as a resource, also when it is a device family. */
uint32_t writeNamedSpace(ConverterInstance *inst)
{
    ValuePosition position = fgetp(inst->input);
    NamePtr family = readName(inst);
    if (!family)
        return 0;
    writeObject(inst, position);
    fputstr(inst->output, "/ColorSpace findRes");
    return componentsOf(family.get());
}

uint32_t writeArraySpace(ConverterInstance *inst)
{
    ArrayPtr space = readArray(inst);
    if (!space || space->count == 0)
        return 0;
    seekElement(inst, space.get(), 0);
    NamePtr family = readName(inst);
    if (!family || !writeFamily(inst, family.get(), space.get()))
        return 0;
    return componentsOf(family.get());
}

} // namespace

uint32_t WriteColorSpace(ConverterInstance *inst)
{
    if (inst->errorFlag)
        return 0;
    NestingLevel level(inst, &ReaderLimits::colorSpaceDepth);
    if (level.tooDeep)
        return 0;
    return peekType(inst) == PDF_NAME ? writeNamedSpace(inst) : writeArraySpace(inst);
}

void DefineColorSpaceResources(ConverterInstance *inst, const PdfDict *dict)
{
    for (int32_t i = 0; i < dict->count && countResourceEntry(inst); i++) {
        fputp(inst->input, dict->entries[i].value);
        fputstr(inst->output, dictKey(dict, i));
        WriteColorSpace(inst);
        fputstr(inst->output, "/ColorSpace defineRes pop");
    }
}
