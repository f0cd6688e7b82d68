/*
 * streams.h - stream objects: a dictionary and where its data lies
 */
#ifndef PDF_TO_PS_STREAMS_H
#define PDF_TO_PS_STREAMS_H

#include "tools/zolak1_3/pdf_to_ps/reader/objects.h"

struct PdfStream {
    PdfDict *dict;
    ValuePosition dictPosition; /* where the dictionary's text begins */
    ValuePosition dataPosition; /* first byte behind the line of the keyword "stream" */
    int32_t length;             /* the /Length value; a negative one stands for no data */
};

/* Parses the stream object at the input's position, its data checked to end at "endstream"; the
 * input is then behind that.  Null on failure, after a report. */
PdfStream *parseStream(PdfReader *reader);

/* Null is accepted. */
void freeStream(PdfReader *reader, PdfStream *stream);

using StreamPtr = Owned<PdfStream, freeStream>;
StreamPtr readStream(PdfReader *reader);

#endif
