/*
 * fonts.cpp - font dictionaries
 *
 * A font is written as its program, when it has one, and a small dictionary for AdjFont: the
 * resource name, the base font, a complete array of widths and the encoding.
 */
#include "tools/zolak1_3/pdf_to_ps/writer/fonts.h"

#include <algorithm>
#include <cmath>

#include "tools/zolak1_3/pdf_to_ps/reader/names.h"
#include "tools/zolak1_3/pdf_to_ps/reader/objects.h"
#include "tools/zolak1_3/pdf_to_ps/reader/streams.h"
#include "tools/zolak1_3/pdf_to_ps/writer/entries.h"
#include "tools/zolak1_3/pdf_to_ps/writer/encodings.h"
#include "tools/zolak1_3/pdf_to_ps/writer/reportlines.h"
#include "tools/zolak1_3/pdf_to_ps/writer/type3fonts.h"
#include "tools/zolak1_3/pdf_to_ps/writer/fontfiles.h"
#include "tools/zolak1_3/pdf_to_ps/reader/lexer.h"
#include "tools/zolak1_3/pdf_to_ps/writer/serializer.h"
#include "zelkov/format.h"
#include "zelkov/text.h"

namespace {

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
bool readProgram(ConversionRun *run, const PdfDict *descriptor, const char *key, StreamPtr *program)
{
    program->reset();
    if (findKey(run, descriptor, key) < 0)
        return true;
    *program = readStream(run);
    return !run->errorFlag;
}

void writeTrueType(ConversionRun *run, const PdfDict *font, const PdfStream *program)
{
    int32_t baseFont = findKey(run, font, "/BaseFont");
    if (baseFont < 0) {
        zolakReport(run, LINE_NO_BASE_FONT, SEVERITY_ERROR, "TTFONT",
                    "BaseFont entry expected for TT font");
    } else {
        writeObject(run, font->entries[baseFont].value);
        fputstr(run->output, "");
    }
    WriteTrueTypeFontFile(run, program);
}

void writeType1C(ConversionRun *run, const PdfDict *descriptor, const PdfStream *program)
{
    int32_t charSet = findKey(run, descriptor, "/CharSet");
    if (charSet >= 0)
        writeObject(run, descriptor->entries[charSet].value);
    else
        fputstr(run->output, "()");
    WriteType1CFontFile(run, program);
}

/* Writes the programs of a descriptor; false when one could not be read. */
bool writePrograms(ConversionRun *run, const PdfDict *font, const PdfDict *descriptor)
{
    StreamPtr program;
    if (!readProgram(run, descriptor, "/FontFile", &program))
        return false;
    if (program)
        WriteType1FontFile(run, program.get());
    if (!readProgram(run, descriptor, "/FontFile2", &program))
        return false;
    if (program)
        writeTrueType(run, font, program.get());
    if (!readProgram(run, descriptor, "/FontFile3", &program))
        return false;
    if (program)
        writeType1C(run, descriptor, program.get());
    return true;
}

/* Writes what the descriptor holds and takes its facts; false when the walk has to end. */
bool writeDescriptor(ConversionRun *run, const PdfDict *font, DescriptorFacts *facts)
{
    if (findKey(run, font, "/FontDescriptor") < 0)
        return true;
    DictPtr descriptor = readDict(run);
    if (!descriptor || !writePrograms(run, font, descriptor.get()))
        return false;
    if (findKey(run, descriptor.get(), "/MissingWidth") >= 0)
        facts->missingWidth = roundToInteger(readNumber(run));
    if (findKey(run, descriptor.get(), "/Flags") >= 0)
        facts->standardEncoding = (readInteger(run) & FLAG_NONSYMBOLIC) != 0;
    return true;
}

/* ---- widths */

int32_t readCode(ConversionRun *run, const PdfDict *font, const char *key)
{
    return findKey(run, font, key) >= 0 ? readInteger(run) : -1;
}

void writeWidth(ConversionRun *run, const PdfArray *widths, int64_t index, int32_t missingWidth)
{
    if (index < 0 || index >= widths->count) {
        fputstr_arg_noeol(run->output, "%d ", missingWidth);
        return;
    }
    fputp(run->input, widths->items[index]);
    fputnumber(run->output, readNumber(run));
    fputb(run->output, ' ');
}

/* Writes the widths of all codes from 0 on: those of the array from first to last, the missing
 * width before and behind. */
void writeWidthValues(ConversionRun *run, const PdfArray *widths, int32_t first, int32_t last,
                      int32_t missingWidth)
{
    int32_t codes =
        std::clamp(std::max(first, last < INT32_MAX ? last + 1 : last), FEWEST_WIDTHS, MOST_WIDTHS);
    for (int32_t code = 0; code < codes; code++) {
        bool given = code >= first && code <= last;
        writeWidth(run, widths, given ? (int64_t)code - first : -1, missingWidth);
        if (code != 0 && code % WIDTHS_PER_LINE == 0)
            fputstr(run->output, "");
    }
}

/* Writes /Widths, if the font has them; false when they could not be read. */
bool writeWidths(ConversionRun *run, const PdfDict *font, int32_t missingWidth)
{
    if (findKey(run, font, "/Widths") < 0)
        return true;
    ArrayPtr widths = readArray(run);
    if (!widths) {
        reportOutOfMemory(run, LINE_BAD_WIDTHS);
        return false;
    }
    int32_t first = readCode(run, font, "/FirstChar");
    int32_t last = readCode(run, font, "/LastChar");
    fputstr(run->output, "/Widths [ ");
    writeWidthValues(run, widths.get(), first, last, missingWidth);
    fputstr(run->output, " ]");
    return true;
}

/* ---- the dictionary */

/* Tells of the kinds of fonts that users ask about. */
void reportKind(ConversionRun *run, const PdfDict *font, const char *subtype)
{
    if (findKey(run, font, "/BaseFont") < 0)
        return;
    NamePtr baseFont = readName(run);
    if (!baseFont)
        return;
    if (cmpstr(subtype, "/MMType1") == 0)
        zolakReport(run, LINE_MULTIPLE_MASTER, SEVERITY_WARNING, "MMTYPE",
                    "Defining Multiple Master Font %s", baseFont.get());
    if (cmpstr(subtype, "/TrueType") == 0)
        zolakReport(run, LINE_TRUETYPE, SEVERITY_INFO, "TTYPE", "Defining TrueType Font %s",
                    baseFont.get());
}

/* Writes a font that is not of Type 3; false when the walk has to end. */
bool writeAdjustedFont(ConversionRun *run, const char *key, const PdfDict *font)
{
    DescriptorFacts facts = {};
    if (!writeDescriptor(run, font, &facts))
        return false;
    fputstr(run->output, "<<");
    fputstr_arg(run->output, "/Name %s", key);
    writeDictEntry(run, font, "/BaseFont");
    if (!writeWidths(run, font, facts.missingWidth))
        return false;
    if (facts.standardEncoding)
        fputstr(run->output, "/UseStandardEncoding true");
    WriteFontEncoding(run, font);
    fputstr(run->output, " >> AdjFont");
    return true;
}

} // namespace

bool DefineFont(ConversionRun *run, const char *key)
{
    DictPtr font = readDict(run);
    if (!font)
        return false;
    if (findKey(run, font.get(), "/Subtype") < 0)
        return true;
    NamePtr subtype = readName(run);
    if (!subtype)
        return false;
    if (!isSupported(subtype.get())) {
        zolakReport(run, LINE_UNSUPPORTED_FONT, SEVERITY_FAULT, "BADFONT",
                    "Unsupported font type %s of font %s", subtype.get(), key);
        if (run->errorFlag)
            return false;
    }
    reportKind(run, font.get(), subtype.get());
    if (cmpstr(subtype.get(), "/Type3") != 0)
        return writeAdjustedFont(run, key, font.get());
    WriteType3Font(run, key, font.get());
    return true;
}

void DefineFontResources(ConversionRun *run, const PdfDict *dict)
{
    defineEntries(run, dict, DefineFont);
}
