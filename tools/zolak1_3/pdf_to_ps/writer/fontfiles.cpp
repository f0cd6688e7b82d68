/*
 * fontfiles.cpp - embedded font programs
 *
 * Type 1 programs pass through, raw; the PostScript side assembles and runs them.  A TrueType
 * program is decoded into a temporary file and written as a Type 3 font.
 */
#include "tools/zolak1_3/pdf_to_ps/writer/fontfiles.h"

#include <cerrno>
#include <string>

#include "tools/zolak1_3/pdf_to_ps/reader/lexer.h"
#include "tools/zolak1_3/pdf_to_ps/reader/names.h"
#include "tools/zolak1_3/pdf_to_ps/writer/reportlines.h"
#include "tools/zolak1_3/pdf_to_ps/writer/serializer.h"
#include "tools/zolak1_3/truetype/truetype.h"
#include "tools/zolak1_3/zolak_filter/filter.h"
#include "zelkov/format.h"
#include "zelkov/text.h"

namespace {

constexpr int TRAILER_LINES = 8;
constexpr size_t TRAILER_LINE_ZEROS = 64;

void writeRaw(ConversionRun *run, const PdfStream *stream)
{
    copyStreamData(run, stream->dataPosition, stream->length);
}

/* The zeros that close an encrypted program, for a stream that was cut before them. */
void writeTrailer(ConversionRun *run)
{
    ZFile *out = run->output;
    fputstr(out, "currentfile 1 (cleartomark) /SubFileDecode filter AppendFile");
    const std::string zeros(TRAILER_LINE_ZEROS, '0');
    for (int i = 0; i < TRAILER_LINES; i++)
        fputstr(out, zeros.c_str());
    fputstr(out, "cleartomark");
    fputstr(out, "%%EndFont");
}

bool lacksTrailer(ConversionRun *run, const PdfDict *dict)
{
    return findKey(run, dict, "/Length3") >= 0 && readInteger(run) == 0;
}

} // namespace

void WriteType1FontFile(ConversionRun *run, const PdfStream *stream)
{
    if (run->errorFlag)
        return;
    if (findKey(run, stream->dict, "/Filter") >= 0) {
        writeObject(run, stream->dictPosition);
        fputstr(run->output, "AppendFilter");
    } else {
        fputstr_arg(run->output, "%ld AppendCount", (long)stream->length);
    }
    writeRaw(run, stream);
    if (lacksTrailer(run, stream->dict))
        writeTrailer(run);
    fputstr(run->output, "ExecFontFile");
}

void WriteType1CFontFile(ConversionRun *run, const PdfStream *stream)
{
    if (run->errorFlag || findKey(run, stream->dict, "/Subtype") < 0)
        return;
    NamePtr subtype = readName(run);
    if (!subtype || cmpstr(subtype.get(), "/Type1C") != 0)
        return;
    fputstr_arg(run->output, "%ld AppendCount", (long)stream->length);
    writeRaw(run, stream);
    writeObject(run, stream->dictPosition);
    fputstr(run->output, "ExecType1C");
}

void WriteTrueTypeFontFile(ConversionRun *run, const PdfStream *stream)
{
    if (run->errorFlag)
        return;
    std::string name = std::string("ttenc_") + run->baseName;
    ZFile *program = fopent("", name.c_str(), "KV_TMP:.tmp", 0);
    if (errno) {
        zolakReport(run, LINE_NO_TEMPORARY_FONT, SEVERITY_ERROR, "TTFONT",
                    "Can't open temp TT font file for writing.");
        return;
    }
    filter(run, stream, program);
    frewind(program);
    insert_ttfont(run->instance, program, run->output);
    fclosx(program);
}
