/*
 * colorspaces.h - colour spaces as PostScript
 */
#ifndef PDF_TO_PS_COLORSPACES_H
#define PDF_TO_PS_COLORSPACES_H

#include "tools/zolak1_3/pdf_to_ps/writer/run.h"

/* Writes the colour space at the input's position: text that leaves it on the operand stack.
 * Answers the number of its components, 0 where that is not known from the family's name.  A
 * family that is not supported writes nothing. */
uint32_t WriteColorSpace(ConversionRun *run);

/* Writes the space at the input's position as a resource under its name, with its slash. */
bool DefineColorSpace(ConversionRun *run, const char *key);

/* The same for every entry of a /ColorSpace resource dictionary. */
void DefineColorSpaceResources(ConversionRun *run, const PdfDict *dict);

#endif
