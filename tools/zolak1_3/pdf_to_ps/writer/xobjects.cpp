/*
 * xobjects.cpp - images and forms
 *
 * The data goes first, undecoded, under an external name; a dictionary that describes it follows
 * and refers to that name.
 */
#include "tools/zolak1_3/pdf_to_ps/writer/xobjects.h"

#include <string>

#include "tools/zolak1_3/pdf_to_ps/reader/names.h"
#include "tools/zolak1_3/pdf_to_ps/reader/objects.h"
#include "tools/zolak1_3/pdf_to_ps/writer/entries.h"
#include "tools/zolak1_3/pdf_to_ps/writer/colorspaces.h"
#include "tools/zolak1_3/pdf_to_ps/writer/contents.h"
#include "tools/zolak1_3/pdf_to_ps/writer/reportlines.h"
#include "tools/zolak1_3/pdf_to_ps/writer/serializer.h"
#include "zelkov/format.h"
#include "zelkov/text.h"

namespace {

/* The name under which the data is stored: base name and key, with the slash of a name. */
std::string externalName(const ConversionRun *run, const char *key)
{
    return std::string("/") + run->baseName + (key + 1);
}

/* Writes the data, behind the word that reads it, and opens the dictionary. */
void beginXObject(ConversionRun *run, const char *key, const PdfStream *stream, const char *reader)
{
    std::string name = externalName(run, key);
    fputstr_arg(run->output, "%ld %s %s", (long)stream->length, name.c_str(), reader);
    copyStreamData(run, stream->dataPosition, stream->length);
    fputstr(run->output, key);
    fputstr(run->output, "<<");
    fputstr_arg(run->output, "/ExternName (%s)", name.c_str() + 1);
}

/* Writes the XObject of that subtype. */
void writeXObject(ConversionRun *run, const char *subtype, const char *key, const PdfStream *stream)
{
    if (cmpstr(subtype, "/Image") == 0)
        WriteImageXObject(run, key, stream);
    else if (cmpstr(subtype, "/Form") == 0)
        WriteFormXObject(run, key, stream);
    else
        zolakReport(run, LINE_UNKNOWN_XOBJECT, SEVERITY_WARNING, "badobj", "Unknown XObject type");
}

} // namespace

bool DefineXObject(ConversionRun *run, const char *key)
{
    StreamPtr stream = readStream(run);
    if (run->errorFlag)
        return false;
    if (findKey(run, stream->dict, "/Subtype") < 0)
        return true;
    NamePtr subtype = readName(run);
    if (run->errorFlag)
        return false;
    writeXObject(run, subtype.get(), key, stream.get());
    return true;
}

void DefineXObjectResources(ConversionRun *run, const PdfDict *dict)
{
    defineEntries(run, dict, DefineXObject);
}

void WriteImageXObject(ConversionRun *run, const char *key, const PdfStream *stream)
{
    if (run->errorFlag)
        return;
    const PdfDict *dict = stream->dict;
    beginXObject(run, key, stream, "ReadCount");
    writeDictEntries(
        run, dict,
        {"/Width", "/Height", "/BitsPerComponent", "/Interpolate", "/ImageMask", "/Intent"});
    checkStreamFilters(run, dict);
    writeDictEntries(run, dict, {"/Filter", "/DecodeParms"});
    if (findKey(run, dict, "/ColorSpace") >= 0) {
        writePiece(run, "/ColorSpace ");
        WriteColorSpace(run);
    }
    writeDictEntry(run, dict, "/Decode");
    fputstr(run->output, ">>");
    fputstr(run->output, "CallImage");
}

void WriteFormXObject(ConversionRun *run, const char *key, const PdfStream *stream)
{
    if (run->errorFlag)
        return;
    const PdfDict *dict = stream->dict;
    if (findKey(run, dict, "/Resources") >= 0) {
        DictPtr resources = readDict(run);
        if (run->errorFlag)
            return;
        run->sink->resources(run, resources.get());
    }
    beginXObject(run, key, stream, run->sink->contentReader());
    writeDictEntries(run, dict,
                     {"/BBox", "/Matrix", "/XUID", "/Filter", "/DecodeParms", "/FormType"});
    fputstr(run->output, ">>");
    fputstr(run->output, "CallForm");
}
