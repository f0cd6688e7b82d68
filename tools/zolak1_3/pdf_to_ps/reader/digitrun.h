/*
 * digitrun.h - integers told from reals
 */
#ifndef PDF_TO_PS_DIGITRUN_H
#define PDF_TO_PS_DIGITRUN_H

#include "tools/zolak1_3/pdf_to_ps/reader/reader.h"

enum NumberKind { NUMBER_UNREADABLE, NUMBER_INTEGER, NUMBER_REAL };

/* Integer or real: a point anywhere in the run of digits and points decides.  `first` is the sign,
 * digit or point that it begins with, which has been read. */
NumberKind classifyNumber(PdfReader *reader, int first);

#endif
