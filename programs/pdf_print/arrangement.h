/*
 * arrangement.h - the options that say how pages lie on sheets
 */
#ifndef PDF_PRINT_ARRANGEMENT_H
#define PDF_PRINT_ARRANGEMENT_H

#include "programs/pdf_print/options.h"

/* Acts on such an option; false: it is another one.  Ends the process where its value is none. */
bool readArrangement(seam::Option option, const char *value, Arguments *arguments);

/* What follows from them all together.  Ends the process where they do not go together. */
void completeArrangement(Arguments *arguments);

#endif
