/*
 * fontfiles.h - embedded font programs
 */
#ifndef PDF_TO_PS_FONTFILES_H
#define PDF_TO_PS_FONTFILES_H

#include "tools/zolak1_3/pdf_to_ps/reader/streams.h"
#include "tools/zolak1_3/pdf_to_ps/writer/run.h"

/* Write the program of a font descriptor: of /FontFile, /FontFile3 and /FontFile2.  Each does
 * nothing once the error flag is set. */
void WriteType1FontFile(ConversionRun *run, const PdfStream *stream);
void WriteType1CFontFile(ConversionRun *run, const PdfStream *stream);
void WriteTrueTypeFontFile(ConversionRun *run, const PdfStream *stream);

#endif
