/*
 * contents.h - page content: passed through, or decoded where the run says so
 */
#ifndef PDF_TO_PS_CONTENTS_H
#define PDF_TO_PS_CONTENTS_H

#include "tools/zolak1_3/pdf_to_ps/reader/streams.h"
#include "tools/zolak1_3/pdf_to_ps/writer/run.h"

/* Reports what in the stream's /Filter the output side cannot decode. */
void checkStreamFilters(ConversionRun *run, const PdfDict *dict);

/* Writes one content stream of a page. */
void writePageContents(ConversionRun *run, const PdfStream *stream);

#endif
