/*
 * extgstates.h - extended graphics states
 */
#ifndef PDF_TO_PS_EXTGSTATES_H
#define PDF_TO_PS_EXTGSTATES_H

#include "tools/zolak1_3/pdf_to_ps/writer/run.h"

/* Defines every entry of an /ExtGState resource dictionary. */
void DefineExtGStateResources(ConversionRun *run, const PdfDict *dict);

#endif
