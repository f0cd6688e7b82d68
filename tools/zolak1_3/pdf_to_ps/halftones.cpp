/*
 * halftones.cpp - halftones as PostScript dictionaries
 *
 * Functions and threshold data are written right where the dictionary needs them: they leave
 * nothing on the operand stack but what the dictionary takes.
 */
#include "tools/zolak1_3/pdf_to_ps/halftones.h"

#include <string>

#include "tools/zolak1_3/pdf_to_ps/functions.h"
#include "tools/zolak1_3/pdf_to_ps/lexer.h"
#include "tools/zolak1_3/pdf_to_ps/resources.h"
#include "tools/zolak1_3/pdf_to_ps/serializer.h"
#include "tools/zolak1_3/pdf_to_ps/streams.h"
#include "zelkov/format.h"

namespace {

constexpr int UNSUPPORTED_LINE = 2827;

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
void writeFunction(ConverterInstance *inst, const PdfDict *dict, const char *key,
                   const char *prefix, const char *suffix, int inputs)
{
    if (findKey(inst, dict, key) < 0)
        return;
    if (peekType(inst) == PDF_NAME) {
        writeDictEntry(inst, dict, key);
        fputstr(inst->output, "/Function findRes");
        return;
    }
    DefineFunctionResource(inst, prefix, suffix, inputs);
    fputstr_arg(inst->output, "%s %s%s /Function findRes", key, prefix, suffix);
}

void writeScreen(ConverterInstance *inst, const PdfDict *dict, const char *prefix)
{
    writeDictEntries(inst, dict, {"/Frequency", "/Angle", "/AccurateScreens"});
    writeFunction(inst, dict, "/SpotFunction", prefix, "HTSpot", 2);
    writeFunction(inst, dict, "/TransferFunction", prefix, "HTTrans", 1);
}

void writeComponents(ConverterInstance *inst, const PdfDict *dict, const char *prefix)
{
    for (const char *colorant : colorants) {
        int32_t index = findKey(inst, dict, colorant);
        if (index < 0)
            continue;
        fputstr(inst->output, colorant);
        WriteHalftone(inst, (std::string(prefix) + (colorant + 1)).c_str());
    }
}

void reportUnsupported(ConverterInstance *inst)
{
    zolakReport(inst, UNSUPPORTED_LINE, SEVERITY_WARNING, "BADHT", "Unsupported halftone type.");
}

void writeThresholds(ConverterInstance *inst, const Halftone &halftone, const char *prefix)
{
    if (!halftone.stream) {
        reportUnsupported(inst);
        return;
    }
    const PdfDict *dict = halftone.dict;
    writeDictEntries(inst, dict, {"/Width", "/Height", "/Xsquare", "/Ysquare"});
    std::string name = std::string(prefix) + "Halftone";
    fputstr_arg(inst->output, "%ld %s AddCreatedFile ReadCount", (long)halftone.stream->length,
                name.c_str());
    copyStreamData(inst, halftone.stream->dataPosition, halftone.stream->length);
    fputstr_arg(inst->output, "/Thresholds (%s) (r) file <<", name.c_str() + 1);
    writeDictEntries(inst, dict, {"/Filter", "/DecodeParms"});
    fputstr(inst->output, ">> begin SetFilter end");
    writeFunction(inst, dict, "/TransferFunction", prefix, "Trans", 1);
}

/* Reads the halftone's dictionary; false when it is neither dictionary nor stream, or on
 * failure. */
bool readHalftone(ConverterInstance *inst, PdfType type, Halftone *halftone)
{
    if (type == PDF_STREAM) {
        halftone->stream = readStream(inst);
        halftone->dict = halftone->stream ? halftone->stream->dict : nullptr;
    } else if (type == PDF_DICTIONARY) {
        halftone->ownDict = readDict(inst);
        halftone->dict = halftone->ownDict.get();
    }
    return halftone->dict && !inst->errorFlag;
}

void writeByType(ConverterInstance *inst, const Halftone &halftone, const char *prefix)
{
    switch (readInteger(inst)) {
    case 1:
        writeScreen(inst, halftone.dict, prefix);
        break;
    case 5:
        writeComponents(inst, halftone.dict, prefix);
        break;
    case 6:
    case 10:
        writeThresholds(inst, halftone, prefix);
        break;
    default:
        reportUnsupported(inst);
    }
}

} // namespace

void WriteHalftone(ConverterInstance *inst, const char *prefix)
{
    /* Components that are shared multiply like other resources, and are counted like them. */
    if (!countResourceEntry(inst))
        return;
    NestingLevel level(inst, &ReaderLimits::halftoneDepth);
    if (level.tooDeep)
        return;
    PdfType type = peekType(inst);
    if (type == PDF_NAME) {
        fputstr(inst->output, "_defaulthalftone");
        return;
    }
    Halftone halftone = {};
    if (!readHalftone(inst, type, &halftone))
        return;
    fputstr(inst->output, "<< ");
    writeDictEntry(inst, halftone.dict, "/HalftoneType");
    if (findKey(inst, halftone.dict, "/HalftoneType") >= 0)
        writeByType(inst, halftone, prefix);
    fputstr(inst->output, ">> ");
}
