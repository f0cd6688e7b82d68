/*
 * driver.h - one conversion: from the attributes of an instance to a PostScript file
 */
#ifndef PDF_TO_PS_DRIVER_H
#define PDF_TO_PS_DRIVER_H

#include "tools/zolak1_3/pdf_to_ps/frame/instance.h"

/* Converts FILE into OUTSPEC.  The outcome is the instance's error flag; when it is set there is
 * no output file. */
void runConversion(ConverterInstance *inst);

#endif
