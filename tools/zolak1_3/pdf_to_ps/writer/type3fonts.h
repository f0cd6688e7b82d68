/*
 * type3fonts.h - Type 3 fonts
 */
#ifndef PDF_TO_PS_TYPE3FONTS_H
#define PDF_TO_PS_TYPE3FONTS_H

#include "tools/zolak1_3/pdf_to_ps/writer/run.h"

/* Writes a whole Type 3 font under its resource name, `key`, with its slash. */
void WriteType3Font(ConversionRun *run, const char *key, const PdfDict *font);

#endif
