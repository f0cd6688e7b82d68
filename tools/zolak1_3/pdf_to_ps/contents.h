/*
 * contents.h - page content: passed through, or decoded with DECODE
 */
#ifndef PDF_TO_PS_CONTENTS_H
#define PDF_TO_PS_CONTENTS_H

#include "tools/zolak1_3/pdf_to_ps/streams.h"

/* Reports what in the stream's /Filter the output side cannot decode. */
void checkStreamFilters(ConverterInstance *inst, const PdfDict *dict);

/* Writes one content stream of a page. */
void writePageContents(ConverterInstance *inst, const PdfStream *stream);

#endif
