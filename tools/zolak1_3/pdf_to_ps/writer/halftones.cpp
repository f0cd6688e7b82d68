/*
 * halftones.cpp - halftones as PostScript dictionaries
 *
 * Functions and threshold data are written right where the dictionary needs them: they leave
 * nothing on the operand stack but what the dictionary takes.
 */
#include "tools/zolak1_3/pdf_to_ps/writer/halftones.h"

#include <string>

#include "tools/zolak1_3/pdf_to_ps/reader/objects.h"
#include "tools/zolak1_3/pdf_to_ps/writer/functions.h"
#include "tools/zolak1_3/pdf_to_ps/reader/lexer.h"
#include "tools/zolak1_3/pdf_to_ps/writer/reportlines.h"
#include "tools/zolak1_3/pdf_to_ps/writer/serializer.h"
#include "tools/zolak1_3/pdf_to_ps/reader/streams.h"
#include "zelkov/format.h"

namespace {

/* The components of a type 5 halftone, in the order in which they are written. */
constexpr const char *colorants[] = {
    "/Red", "/Green", "/Blue", "/Cyan", "/Magenta", "/Yellow", "/Black", "/Gray", "/Default",
};

/* A halftone's dictionary, by itself or of a stream. */
struct Halftone {
    StreamPtr stream;
    DictPtr ownDict;
    const PdfDict *dict;
};

/* Writes the function that `key` names, if there is one: a name is looked up as it stands, any
 * other is defined first, as prefix + suffix. */
void writeFunction(ConversionRun *run, const PdfDict *dict, const char *key, const char *prefix,
                   const char *suffix, int inputs)
{
    if (findKey(run, dict, key) < 0)
        return;
    if (peekType(run) == PDF_NAME) {
        writeDictEntry(run, dict, key);
        fputstr(run->output, "/Function findRes");
        return;
    }
    DefineFunctionResource(run, prefix, suffix, inputs);
    fputstr_arg(run->output, "%s %s%s /Function findRes", key, prefix, suffix);
}

void writeScreen(ConversionRun *run, const PdfDict *dict, const char *prefix)
{
    writeDictEntries(run, dict, {"/Frequency", "/Angle", "/AccurateScreens"});
    writeFunction(run, dict, "/SpotFunction", prefix, "HTSpot", 2);
    writeFunction(run, dict, "/TransferFunction", prefix, "HTTrans", 1);
}

void writeComponents(ConversionRun *run, const PdfDict *dict, const char *prefix)
{
    for (const char *colorant : colorants) {
        int32_t index = findKey(run, dict, colorant);
        if (index < 0)
            continue;
        fputstr(run->output, colorant);
        WriteHalftone(run, (std::string(prefix) + (colorant + 1)).c_str());
    }
}

void reportUnsupported(ConversionRun *run)
{
    zolakReport(run, LINE_UNSUPPORTED_HALFTONE, SEVERITY_WARNING, "BADHT",
                "Unsupported halftone type.");
}

void writeThresholds(ConversionRun *run, const Halftone &halftone, const char *prefix)
{
    if (!halftone.stream) {
        reportUnsupported(run);
        return;
    }
    const PdfDict *dict = halftone.dict;
    writeDictEntries(run, dict, {"/Width", "/Height", "/Xsquare", "/Ysquare"});
    std::string name = std::string(prefix) + "Halftone";
    fputstr_arg(run->output, "%ld %s AddCreatedFile ReadCount", (long)halftone.stream->length,
                name.c_str());
    copyStreamData(run, halftone.stream->dataPosition, halftone.stream->length);
    fputstr_arg(run->output, "/Thresholds (%s) (r) file <<", name.c_str() + 1);
    writeDictEntries(run, dict, {"/Filter", "/DecodeParms"});
    fputstr(run->output, ">> begin SetFilter end");
    writeFunction(run, dict, "/TransferFunction", prefix, "Trans", 1);
}

/* Reads the halftone's dictionary; false when it is neither dictionary nor stream, or on
 * failure. */
bool readHalftone(ConversionRun *run, PdfType type, Halftone *halftone)
{
    if (type == PDF_STREAM) {
        halftone->stream = readStream(run);
        halftone->dict = halftone->stream ? halftone->stream->dict : nullptr;
    } else if (type == PDF_DICTIONARY) {
        halftone->ownDict = readDict(run);
        halftone->dict = halftone->ownDict.get();
    }
    return halftone->dict && !run->errorFlag;
}

void writeByType(ConversionRun *run, const Halftone &halftone, const char *prefix)
{
    switch (readInteger(run)) {
    case 1:
        writeScreen(run, halftone.dict, prefix);
        break;
    case 5:
        writeComponents(run, halftone.dict, prefix);
        break;
    case 6:
    case 10:
        writeThresholds(run, halftone, prefix);
        break;
    default:
        reportUnsupported(run);
    }
}

} // namespace

void WriteHalftone(ConversionRun *run, const char *prefix)
{
    /* Components that are shared multiply like other resources, and are counted like them. */
    if (!countResourceEntry(run))
        return;
    NestingLevel level(run, run->written.halftoneDepth);
    if (level.tooDeep)
        return;
    PdfType type = peekType(run);
    if (type == PDF_NAME) {
        fputstr(run->output, "_defaulthalftone");
        return;
    }
    Halftone halftone = {};
    if (!readHalftone(run, type, &halftone))
        return;
    fputstr(run->output, "<< ");
    writeDictEntry(run, halftone.dict, "/HalftoneType");
    if (findKey(run, halftone.dict, "/HalftoneType") >= 0)
        writeByType(run, halftone, prefix);
    fputstr(run->output, ">> ");
}
