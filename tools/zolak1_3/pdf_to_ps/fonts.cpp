/*
 * fonts.cpp - font dictionaries
 *
 * A font is written as its program, when it has one, and a small dictionary for AdjFont: the
 * resource name, the base font, a complete array of widths and the encoding.
 */
#include "tools/zolak1_3/pdf_to_ps/fonts.h"

#include <algorithm>
#include <cmath>

#include "tools/zolak1_3/pdf_to_ps/encodings.h"
#include "tools/zolak1_3/pdf_to_ps/fontfiles.h"
#include "tools/zolak1_3/pdf_to_ps/lexer.h"
#include "tools/zolak1_3/pdf_to_ps/resources.h"
#include "tools/zolak1_3/pdf_to_ps/serializer.h"
#include "zelkov/format.h"
#include "zelkov/text.h"

namespace {

/* Source lines of reports, by which users look them up. */
constexpr int UNSUPPORTED_LINE = 2200;
constexpr int MULTIPLE_MASTER_LINE = 2209;
constexpr int TRUETYPE_LINE = 2213;
constexpr int NO_BASE_FONT_LINE = 2240;
constexpr int BAD_WIDTHS_LINE = 2279;

constexpr const char *supportedTypes[] = {"/Type1", "/TrueType", "/MMType1", "/Type3"};

constexpr int32_t FLAG_NONSYMBOLIC = 32; /* of /Flags */

constexpr int32_t FEWEST_WIDTHS = 256;
constexpr int32_t MOST_WIDTHS = 65536;
constexpr int32_t WIDTHS_PER_LINE = 8;

/* What the font descriptor tells besides the program. */
struct DescriptorFacts {
    int32_t missingWidth;
    bool standardEncoding;
};

bool isSupported(const char *subtype)
{
    for (const char *type : supportedTypes)
        if (cmpstr(type, subtype) == 0)
            return true;
    return false;
}

int32_t roundToInteger(double value)
{
    return (int32_t)std::round(std::clamp<double>(value, INT32_MIN, INT32_MAX));
}

/* ---- programs */

/* Reads the program that the descriptor's key names; false when that failed.  Null when there is
 * no such key. */
bool readProgram(ConverterInstance *inst, const PdfDict *descriptor, const char *key,
                 StreamPtr *program)
{
    program->reset();
    if (findKey(inst, descriptor, key) < 0)
        return true;
    *program = readStream(inst);
    return !inst->errorFlag;
}

void writeTrueType(ConverterInstance *inst, const PdfDict *font, const PdfStream *program)
{
    int32_t baseFont = findKey(inst, font, "/BaseFont");
    if (baseFont < 0) {
        zolakReport(inst, NO_BASE_FONT_LINE, SEVERITY_ERROR, "TTFONT",
                    "BaseFont entry expected for TT font");
    } else {
        writeObject(inst, font->entries[baseFont].value);
        fputstr(inst->output, "");
    }
    WriteTrueTypeFontFile(inst, program);
}

void writeType1C(ConverterInstance *inst, const PdfDict *descriptor, const PdfStream *program)
{
    int32_t charSet = findKey(inst, descriptor, "/CharSet");
    if (charSet >= 0)
        writeObject(inst, descriptor->entries[charSet].value);
    else
        fputstr(inst->output, "()");
    WriteType1CFontFile(inst, program);
}

/* Writes the programs of a descriptor; false when one could not be read. */
bool writePrograms(ConverterInstance *inst, const PdfDict *font, const PdfDict *descriptor)
{
    StreamPtr program;
    if (!readProgram(inst, descriptor, "/FontFile", &program))
        return false;
    if (program)
        WriteType1FontFile(inst, program.get());
    if (!readProgram(inst, descriptor, "/FontFile2", &program))
        return false;
    if (program)
        writeTrueType(inst, font, program.get());
    if (!readProgram(inst, descriptor, "/FontFile3", &program))
        return false;
    if (program)
        writeType1C(inst, descriptor, program.get());
    return true;
}

/* Writes what the descriptor holds and takes its facts; false when the walk has to end. */
bool writeDescriptor(ConverterInstance *inst, const PdfDict *font, DescriptorFacts *facts)
{
    if (findKey(inst, font, "/FontDescriptor") < 0)
        return true;
    DictPtr descriptor = readDict(inst);
    if (!descriptor || !writePrograms(inst, font, descriptor.get()))
        return false;
    if (findKey(inst, descriptor.get(), "/MissingWidth") >= 0)
        facts->missingWidth = roundToInteger(readNumber(inst));
    if (findKey(inst, descriptor.get(), "/Flags") >= 0)
        facts->standardEncoding = (readInteger(inst) & FLAG_NONSYMBOLIC) != 0;
    return true;
}

/* ---- widths */

int32_t readCode(ConverterInstance *inst, const PdfDict *font, const char *key)
{
    return findKey(inst, font, key) >= 0 ? readInteger(inst) : -1;
}

void writeWidth(ConverterInstance *inst, const PdfArray *widths, int64_t index,
                int32_t missingWidth)
{
    if (index < 0 || index >= widths->count) {
        fputstr_arg_noeol(inst->output, "%d ", missingWidth);
        return;
    }
    fputp(inst->input, widths->items[index]);
    fputnumber(inst->output, readNumber(inst));
    fputb(inst->output, ' ');
}

/* Writes the widths of all codes from 0 on: those of the array from first to last, the missing
 * width before and behind. */
void writeWidthValues(ConverterInstance *inst, const PdfArray *widths, int32_t first, int32_t last,
                      int32_t missingWidth)
{
    int32_t codes =
        std::clamp(std::max(first, last < INT32_MAX ? last + 1 : last), FEWEST_WIDTHS, MOST_WIDTHS);
    for (int32_t code = 0; code < codes; code++) {
        bool given = code >= first && code <= last;
        writeWidth(inst, widths, given ? (int64_t)code - first : -1, missingWidth);
        if (code != 0 && code % WIDTHS_PER_LINE == 0)
            fputstr(inst->output, "");
    }
}

/* Writes /Widths, if the font has them; false when they could not be read. */
bool writeWidths(ConverterInstance *inst, const PdfDict *font, int32_t missingWidth)
{
    if (findKey(inst, font, "/Widths") < 0)
        return true;
    ArrayPtr widths = readArray(inst);
    if (!widths) {
        reportOutOfMemory(inst, BAD_WIDTHS_LINE);
        return false;
    }
    int32_t first = readCode(inst, font, "/FirstChar");
    int32_t last = readCode(inst, font, "/LastChar");
    fputstr(inst->output, "/Widths [ ");
    writeWidthValues(inst, widths.get(), first, last, missingWidth);
    fputstr(inst->output, " ]");
    return true;
}

/* ---- the dictionary */

/* Tells of the kinds of fonts that users ask about. */
void reportKind(ConverterInstance *inst, const PdfDict *font, const char *subtype)
{
    if (findKey(inst, font, "/BaseFont") < 0)
        return;
    NamePtr baseFont = readName(inst);
    if (!baseFont)
        return;
    if (cmpstr(subtype, "/MMType1") == 0)
        zolakReport(inst, MULTIPLE_MASTER_LINE, SEVERITY_WARNING, "MMTYPE",
                    "Defining Multiple Master Font %s", baseFont.get());
    if (cmpstr(subtype, "/TrueType") == 0)
        zolakReport(inst, TRUETYPE_LINE, SEVERITY_INFO, "TTYPE", "Defining TrueType Font %s",
                    baseFont.get());
}

/* Writes a font that is not of Type 3; false when the walk has to end. */
bool writeAdjustedFont(ConverterInstance *inst, const char *key, const PdfDict *font)
{
    DescriptorFacts facts = {};
    if (!writeDescriptor(inst, font, &facts))
        return false;
    fputstr(inst->output, "<<");
    fputstr_arg(inst->output, "/Name %s", key);
    writeDictEntry(inst, font, "/BaseFont");
    if (!writeWidths(inst, font, facts.missingWidth))
        return false;
    if (facts.standardEncoding)
        fputstr(inst->output, "/UseStandardEncoding true");
    WriteFontEncoding(inst, font);
    fputstr(inst->output, " >> AdjFont");
    return true;
}

/* Writes one font; false when the walk has to end. */
bool writeFont(ConverterInstance *inst, const char *key)
{
    DictPtr font = readDict(inst);
    if (!font)
        return false;
    if (findKey(inst, font.get(), "/Subtype") < 0)
        return true;
    NamePtr subtype = readName(inst);
    if (!subtype)
        return false;
    if (!isSupported(subtype.get())) {
        zolakReport(inst, UNSUPPORTED_LINE, SEVERITY_FAULT, "BADFONT",
                    "Unsupported font type %s of font %s", subtype.get(), key);
        if (inst->errorFlag)
            return false;
    }
    reportKind(inst, font.get(), subtype.get());
    if (cmpstr(subtype.get(), "/Type3") != 0)
        return writeAdjustedFont(inst, key, font.get());
    WriteType3Font(inst, key, font.get());
    return true;
}

} // namespace

void DefineFontResources(ConverterInstance *inst, const PdfDict *dict)
{
    for (int32_t i = 0; i < dict->count && countResourceEntry(inst); i++) {
        fputp(inst->input, dict->entries[i].value);
        if (!writeFont(inst, dictKey(dict, i)))
            return;
    }
}
