/*
 * containers.h - classifying and passing over arrays, dictionaries and streams
 *
 * What objects.cpp needs of containers beyond parsing them.  Each of these reads a container once
 * and remembers where it ends.
 */
#ifndef PDF_TO_PS_CONTAINERS_H
#define PDF_TO_PS_CONTAINERS_H

#include "tools/zolak1_3/pdf_to_ps/objects.h"

/* PDF_STREAM or PDF_DICTIONARY for the dictionary that begins at the position, by the keyword
 * behind it; PDF_NONE when it cannot be parsed.  The input may be left anywhere. */
PdfType classifyDict(ConverterInstance *inst);

/* Pass over the value at the position, as the parse routines of the type would. */
void skipArray(ConverterInstance *inst);
void skipDict(ConverterInstance *inst);
void skipStream(ConverterInstance *inst);

#endif
