/*
 * streams.cpp - stream objects
 */
#include "tools/zolak1_3/pdf_to_ps/reader/streams.h"

#include <cstdlib>

#include "tools/zolak1_3/pdf_to_ps/reader/streamdata.h"
#include "zelkov/text.h"

namespace {

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

PdfStream *parseStream(PdfReader *reader)
{
    if (reader->errorFlag)
        return nullptr;
    PdfStream *stream = static_cast<PdfStream *>(calloc(1, sizeof(PdfStream)));
    if (!stream) {
        reportOutOfMemory(reader, __LINE__);
        return nullptr;
    }
    reader->liveStreams++;
    stream->dictPosition = fgetp(reader->input);
    stream->dict = parseDict(reader);

    ValuePosition lengthValue = POSITION_NONE;
    if (stream->dict) {
        bool hasLength = findLength(stream->dict, &lengthValue);
        StreamData data = {};
        if (readStreamData(reader, hasLength, lengthValue, &data)) {
            stream->dataPosition = data.position;
            stream->length = data.length;
            return stream;
        }
    }
    freeStream(reader, stream);
    return nullptr;
}

void freeStream(PdfReader *reader, PdfStream *stream)
{
    if (!stream)
        return;
    reader->liveStreams--;
    freeDict(reader, stream->dict);
    free(stream);
}

StreamPtr readStream(PdfReader *reader)
{
    return StreamPtr(parseStream(reader), {reader});
}
