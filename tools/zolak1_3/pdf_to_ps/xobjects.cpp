/*
 * xobjects.cpp - images and forms
 *
 * The data goes first, undecoded, under an external name; a dictionary that describes it follows
 * and refers to that name.
 */
#include "tools/zolak1_3/pdf_to_ps/xobjects.h"

#include <string>

#include "tools/zolak1_3/pdf_to_ps/colorspaces.h"
#include "tools/zolak1_3/pdf_to_ps/contents.h"
#include "tools/zolak1_3/pdf_to_ps/resources.h"
#include "tools/zolak1_3/pdf_to_ps/serializer.h"
#include "zelkov/format.h"
#include "zelkov/text.h"

namespace {

constexpr int UNKNOWN_TYPE_LINE = 2014;

/* The name under which the data is stored: base name and key, with the slash of a name. */
std::string externalName(const ConverterInstance *inst, const char *key)
{
    return std::string("/") + inst->baseName + (key + 1);
}

/* Writes the data and opens the dictionary. */
void beginXObject(ConverterInstance *inst, const char *key, const PdfStream *stream)
{
    std::string name = externalName(inst, key);
    fputstr_arg(inst->output, "%ld %s ReadCount", (long)stream->length, name.c_str());
    copyStreamData(inst, stream->dataPosition, stream->length);
    fputstr(inst->output, key);
    fputstr(inst->output, "<<");
    fputstr_arg(inst->output, "/ExternName (%s)", name.c_str() + 1);
}

/* Writes the XObject of that subtype. */
void writeXObject(ConverterInstance *inst, const char *subtype, const char *key,
                  const PdfStream *stream)
{
    if (cmpstr(subtype, "/Image") == 0)
        WriteImageXObject(inst, key, stream);
    else if (cmpstr(subtype, "/Form") == 0)
        WriteFormXObject(inst, key, stream);
    else
        zolakReport(inst, UNKNOWN_TYPE_LINE, SEVERITY_WARNING, "badobj", "Unknown XObject type");
}

} // namespace

void DefineXObjectResources(ConverterInstance *inst, const PdfDict *dict)
{
    for (int32_t i = 0; i < dict->count && countResourceEntry(inst); i++) {
        fputp(inst->input, dict->entries[i].value);
        StreamPtr stream = readStream(inst);
        if (inst->errorFlag)
            return;
        if (findKey(inst, stream->dict, "/Subtype") < 0)
            continue;
        NamePtr subtype = readName(inst);
        if (inst->errorFlag)
            return;
        writeXObject(inst, subtype.get(), dictKey(dict, i), stream.get());
    }
}

void WriteImageXObject(ConverterInstance *inst, const char *key, const PdfStream *stream)
{
    if (inst->errorFlag)
        return;
    const PdfDict *dict = stream->dict;
    beginXObject(inst, key, stream);
    writeDictEntries(
        inst, dict,
        {"/Width", "/Height", "/BitsPerComponent", "/Interpolate", "/ImageMask", "/Intent"});
    checkStreamFilters(inst, dict);
    writeDictEntries(inst, dict, {"/Filter", "/DecodeParms"});
    if (findKey(inst, dict, "/ColorSpace") >= 0) {
        writePiece(inst, "/ColorSpace ");
        WriteColorSpace(inst);
    }
    writeDictEntry(inst, dict, "/Decode");
    fputstr(inst->output, ">>");
    fputstr(inst->output, "CallImage");
}

void WriteFormXObject(ConverterInstance *inst, const char *key, const PdfStream *stream)
{
    if (inst->errorFlag)
        return;
    const PdfDict *dict = stream->dict;
    if (findKey(inst, dict, "/Resources") >= 0) {
        DictPtr resources = readDict(inst);
        if (inst->errorFlag)
            return;
        writeResources(inst, resources.get());
    }
    beginXObject(inst, key, stream);
    writeDictEntries(inst, dict,
                     {"/BBox", "/Matrix", "/XUID", "/Filter", "/DecodeParms", "/FormType"});
    fputstr(inst->output, ">>");
    fputstr(inst->output, "CallForm");
}
