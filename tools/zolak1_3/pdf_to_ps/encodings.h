/*
 * encodings.h - font encodings and Type 3 fonts
 */
#ifndef PDF_TO_PS_ENCODINGS_H
#define PDF_TO_PS_ENCODINGS_H

#include "tools/zolak1_3/pdf_to_ps/objects.h"

/* Writes the encoding keys of a font into the dictionary that the caller has opened; the index of
 * /Encoding, or a negative number and nothing written when there is none. */
int32_t WriteFontEncoding(ConverterInstance *inst, const PdfDict *font);

/* Writes a whole Type 3 font under its resource name, `key`, with its slash. */
void WriteType3Font(ConverterInstance *inst, const char *key, const PdfDict *font);

#endif
