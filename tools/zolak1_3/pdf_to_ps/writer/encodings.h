/*
 * encodings.h - font encodings
 */
#ifndef PDF_TO_PS_ENCODINGS_H
#define PDF_TO_PS_ENCODINGS_H

#include "tools/zolak1_3/pdf_to_ps/writer/run.h"

/* Writes the encoding keys of a font into the dictionary that the caller has opened; the index of
 * /Encoding, or a negative number and nothing written when there is none. */
int32_t WriteFontEncoding(ConversionRun *run, const PdfDict *font);

#endif
