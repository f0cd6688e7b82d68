/*
 * streamdata.h - what follows the dictionary of a stream
 */
#ifndef PDF_TO_PS_STREAMDATA_H
#define PDF_TO_PS_STREAMDATA_H

#include "tools/zolak1_3/pdf_to_ps/reader/reader.h"

/* Where the data of a stream lies. */
struct StreamData {
    ValuePosition position; /* first byte behind the line of the keyword "stream" */
    int32_t length;         /* the /Length value; a negative one stands for no data */
};

/* Reads the keyword "stream", passes over the data and reads "endstream".  `hasLength` and
 * `lengthValue` tell of the dictionary's /Length.  False, after a report, on failure. */
bool readStreamData(PdfReader *reader, bool hasLength, ValuePosition lengthValue, StreamData *data);

#endif
