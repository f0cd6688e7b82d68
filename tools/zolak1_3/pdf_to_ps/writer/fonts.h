/*
 * fonts.h - font dictionaries
 */
#ifndef PDF_TO_PS_FONTS_H
#define PDF_TO_PS_FONTS_H

#include "tools/zolak1_3/pdf_to_ps/writer/run.h"

/* Writes the font at the input's position under its resource name, `key`, with its slash: its
 * embedded program, if there is one, and the dictionary by which the PostScript side adjusts and
 * defines the font.  False when the walk over the dictionary has to end. */
bool DefineFont(ConversionRun *run, const char *key);

/* The same for every entry of a /Font resource dictionary. */
void DefineFontResources(ConversionRun *run, const PdfDict *dict);

#endif
