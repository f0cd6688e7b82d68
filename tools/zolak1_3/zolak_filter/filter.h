/*
 * filter.h - writes a stream's data, decoded
 */
#ifndef ZOLAK_FILTER_FILTER_H
#define ZOLAK_FILTER_FILTER_H

#include "tools/zolak1_3/pdf_to_ps/reader/streams.h"

/* Writes the stream's data to `output`, decoded through the filters that CreateFilters answers
 * for it; without any, as it stands.  Moves the input's position.
 *
 * Every error is reported with severity 4, which stops the run; data that ends before its
 * end-of-data mark is a fault of severity 3.  Either way, what was decoded up to there stays
 * written. */
void filter(PdfReader *reader, const PdfStream *stream, ZFile *output);

#endif
