/*
 * extgstates.h - extended graphics states
 */
#ifndef PDF_TO_PS_EXTGSTATES_H
#define PDF_TO_PS_EXTGSTATES_H

#include "tools/zolak1_3/pdf_to_ps/writer/run.h"

/* Writes the state at the input's position under its resource name, with its slash; false when the
 * walk over the dictionary has to end. */
bool DefineExtGState(ConversionRun *run, const char *name);

/* The same for every entry of an /ExtGState resource dictionary. */
void DefineExtGStateResources(ConversionRun *run, const PdfDict *dict);

#endif
