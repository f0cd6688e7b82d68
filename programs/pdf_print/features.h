/*
 * features.h - the options that ask for features of the printer
 */
#ifndef PDF_PRINT_FEATURES_H
#define PDF_PRINT_FEATURES_H

#include "programs/pdf_print/options.h"

/* Acts on such an option; false: it is another one. */
bool readFeature(seam::Option option, const char *value, Arguments *arguments);

/* Puts what is asked for into the job: as the printer's description says it, or in the language's
 * own way.  Ends the process, as misuse does, where that cannot be. */
void completeFeatures(Arguments *arguments);

#endif
