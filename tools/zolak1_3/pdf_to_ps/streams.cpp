/*
 * streams.cpp - stream objects
 *
 * The data is never searched: /Length says where it ends, and "endstream" must stand there.
 */
#include "tools/zolak1_3/pdf_to_ps/streams.h"

#include <cerrno>
#include <cstdlib>

#include "tools/zolak1_3/pdf_to_ps/lexer.h"
#include "zelkov/text.h"

namespace {

bool expectKeyword(ConverterInstance *inst, const char *expected, const char *message)
{
    char keyword[KEYWORD_BYTES];
    readKeyword(inst, inst->input, keyword);
    if (cmpstr(keyword, expected) == 0)
        return true;
    zolakReport(inst, __LINE__, SEVERITY_ERROR, "BADSTREAM", "%s", message);
    return false;
}

/* The first /Length of the dictionary. */
bool findLength(const PdfDict *dict, ValuePosition *value)
{
    for (int32_t i = 0; i < dict->count; i++)
        if (cmpstr(dictKey(dict, i), "/Length") == 0) {
            *value = dict->entries[i].value;
            return true;
        }
    return false;
}

} // namespace

bool readStreamData(ConverterInstance *inst, bool hasLength, ValuePosition lengthValue,
                    PdfStream *stream)
{
    ZFile *input = inst->input;
    if (!expectKeyword(inst, "stream", "Keyword 'stream' is missing."))
        return false;
    char rest[LINE_BYTES];
    fgetstr(input, rest);
    if (errno) {
        zolakReport(inst, __LINE__, SEVERITY_ERROR, "READERR", "Reading error.");
        return false;
    }
    stream->dataPosition = fgetp(input);

    if (hasLength) {
        fputp(input, lengthValue);
        stream->length = readInteger(inst);
    } else {
        zolakReport(inst, __LINE__, SEVERITY_ERROR, "NOLENGTH",
                    "Stream object doesn't contain the /Length keyword.");
    }
    if (inst->errorFlag)
        return false;
    fputp(input, stream->dataPosition + (uint32_t)stream->length);
    return expectKeyword(inst, "endstream", "Keyword 'endstream' is missing.");
}

PdfStream *parseStream(ConverterInstance *inst)
{
    if (inst->errorFlag)
        return nullptr;
    PdfStream *stream = static_cast<PdfStream *>(calloc(1, sizeof(PdfStream)));
    if (!stream) {
        reportOutOfMemory(inst, __LINE__);
        return nullptr;
    }
    inst->liveStreams++;
    stream->dictPosition = fgetp(inst->input);
    stream->dict = parseDict(inst);

    ValuePosition lengthValue = POSITION_NONE;
    if (stream->dict) {
        bool hasLength = findLength(stream->dict, &lengthValue);
        if (readStreamData(inst, hasLength, lengthValue, stream))
            return stream;
    }
    freeStream(inst, stream);
    return nullptr;
}

void freeStream(ConverterInstance *inst, PdfStream *stream)
{
    if (!stream)
        return;
    inst->liveStreams--;
    freeDict(inst, stream->dict);
    free(stream);
}

StreamPtr readStream(ConverterInstance *inst)
{
    return StreamPtr(parseStream(inst), {inst});
}
