/*
 * xref.h - the document's index: cross-reference sections and trailers
 *
 * Only classic sections, tables of 20-byte entries, are read; a broken file is not repaired.
 */
#ifndef PDF_TO_PS_XREF_H
#define PDF_TO_PS_XREF_H

#include "tools/zolak1_3/pdf_to_ps/reader/reader.h"

/* Reads the index: the newest trailer and the table, along the /Prev chain.  Failures are reports
 * of severity 4. */
void openDocumentIndex(PdfReader *reader);

/* The offset behind "startxref", found among the last 19 lines; -1, reported, when it is not. */
int64_t findStartXref(PdfReader *reader, ZFile *input);

void readXrefTable(PdfReader *reader, int64_t startXref);

/* Searches forward for a line that begins with "trailer" and reads the dictionary behind it. */
void readTrailer(PdfReader *reader);

/* Reports a catalog without /Pages; leaves the input at the value of /Pages. */
void checkCatalog(PdfReader *reader);

#endif
