/*
 * halftones.h - halftones as PostScript dictionaries
 */
#ifndef PDF_TO_PS_HALFTONES_H
#define PDF_TO_PS_HALFTONES_H

#include "tools/zolak1_3/pdf_to_ps/writer/run.h"

/* Writes the halftone at the input's position.  What it defines on the way, functions and threshold
 * data, is named by `prefix`, which has the slash of a name, and a suffix. */
void WriteHalftone(ConversionRun *run, const char *prefix);

#endif
