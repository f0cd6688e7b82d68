/*
 * filterlist.h - the filter names of a stream
 */
#ifndef PDF_TO_PS_FILTERLIST_H
#define PDF_TO_PS_FILTERLIST_H

#include "tools/zolak1_3/pdf_to_ps/reader/objects.h"

/* The names in the dictionary's /Filter, in order: *filters becomes a list that ends with null,
 * to be given to DestroyFilters.  Answers their number; 0 when there is no /Filter or it is
 * neither a name nor an array.  Every name that the output side cannot decode is reported.  Once
 * the error flag is set nothing is done and *filters is left as it is. */
int32_t CreateFilters(PdfReader *reader, const PdfDict *dict, char ***filters);

/* Releases the names and the list; null is accepted. */
void DestroyFilters(PdfReader *reader, char **filters);

#endif
