/*
 * fontfiles.cpp - embedded font programs
 *
 * Type 1 programs pass through, raw; the PostScript side assembles and runs them.  A TrueType
 * program is decoded into a temporary file and written as a Type 3 font.
 */
#include "tools/zolak1_3/pdf_to_ps/fontfiles.h"

#include <cerrno>
#include <string>

#include "tools/zolak1_3/pdf_to_ps/lexer.h"
#include "tools/zolak1_3/pdf_to_ps/serializer.h"
#include "tools/zolak1_3/truetype/truetype.h"
#include "tools/zolak1_3/zolak_filter/filter.h"
#include "zelkov/format.h"
#include "zelkov/text.h"

namespace {

constexpr int NO_TEMPORARY_LINE = 2084;
constexpr int TRAILER_LINES = 8;
constexpr size_t TRAILER_LINE_ZEROS = 64;

void writeRaw(ConverterInstance *inst, const PdfStream *stream)
{
    copyStreamData(inst, stream->dataPosition, stream->length);
}

/* The zeros that close an encrypted program, for a stream that was cut before them. */
void writeTrailer(ConverterInstance *inst)
{
    ZFile *out = inst->output;
    fputstr(out, "currentfile 1 (cleartomark) /SubFileDecode filter AppendFile");
    const std::string zeros(TRAILER_LINE_ZEROS, '0');
    for (int i = 0; i < TRAILER_LINES; i++)
        fputstr(out, zeros.c_str());
    fputstr(out, "cleartomark");
    fputstr(out, "%%EndFont");
}

bool lacksTrailer(ConverterInstance *inst, const PdfDict *dict)
{
    return findKey(inst, dict, "/Length3") >= 0 && readInteger(inst) == 0;
}

} // namespace

void WriteType1FontFile(ConverterInstance *inst, const PdfStream *stream)
{
    if (inst->errorFlag)
        return;
    if (findKey(inst, stream->dict, "/Filter") >= 0) {
        writeObject(inst, stream->dictPosition);
        fputstr(inst->output, "AppendFilter");
    } else {
        fputstr_arg(inst->output, "%ld AppendCount", (long)stream->length);
    }
    writeRaw(inst, stream);
    if (lacksTrailer(inst, stream->dict))
        writeTrailer(inst);
    fputstr(inst->output, "ExecFontFile");
}

void WriteType1CFontFile(ConverterInstance *inst, const PdfStream *stream)
{
    if (inst->errorFlag || findKey(inst, stream->dict, "/Subtype") < 0)
        return;
    NamePtr subtype = readName(inst);
    if (!subtype || cmpstr(subtype.get(), "/Type1C") != 0)
        return;
    fputstr_arg(inst->output, "%ld AppendCount", (long)stream->length);
    writeRaw(inst, stream);
    writeObject(inst, stream->dictPosition);
    fputstr(inst->output, "ExecType1C");
}

void WriteTrueTypeFontFile(ConverterInstance *inst, const PdfStream *stream)
{
    if (inst->errorFlag)
        return;
    std::string name = std::string("ttenc_") + inst->baseName;
    ZFile *program = fopent("", name.c_str(), "KV_TMP:.tmp", 0);
    if (errno) {
        zolakReport(inst, NO_TEMPORARY_LINE, SEVERITY_ERROR, "TTFONT",
                    "Can't open temp TT font file for writing.");
        return;
    }
    filter(inst, stream, program);
    frewind(program);
    insert_ttfont(&inst->header, program, inst->output);
    fclosx(program);
}
