/*
 * textobjects.h - reading a name without keeping it
 */
#ifndef PDF_TO_PS_TEXTOBJECTS_H
#define PDF_TO_PS_TEXTOBJECTS_H

#include "tools/zolak1_3/pdf_to_ps/objects.h"

/* Reads a name into `name` (NAME_BYTES); false, after a report, on failure. */
bool scanName(ConverterInstance *inst, char *name);

#endif
