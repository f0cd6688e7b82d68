/*
 * version.h - the header line of a PDF file
 */
#ifndef PDF_TO_PS_VERSION_H
#define PDF_TO_PS_VERSION_H

#include "tools/zolak1_3/pdf_to_ps/reader/reader.h"

/* Reads the first line of the input and reports its version: severity 1, with a warning for all
 * but 1.0 to 1.2; severity 4 when it is no PDF header. */
void checkVersion(PdfReader *reader);

#endif
