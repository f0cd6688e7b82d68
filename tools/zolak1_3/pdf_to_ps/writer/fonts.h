/*
 * fonts.h - font dictionaries
 */
#ifndef PDF_TO_PS_FONTS_H
#define PDF_TO_PS_FONTS_H

#include "tools/zolak1_3/pdf_to_ps/writer/run.h"

/* Writes every entry of a /Font resource dictionary: its embedded program, if there is one, and
 * the dictionary by which the PostScript side adjusts and defines the font. */
void DefineFontResources(ConversionRun *run, const PdfDict *dict);

#endif
