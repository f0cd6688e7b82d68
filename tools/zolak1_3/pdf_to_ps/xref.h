/*
 * xref.h - the document's index: cross-reference sections and trailers
 *
 * Only classic sections, tables of 20-byte entries, are read; a broken file is not repaired.
 */
#ifndef PDF_TO_PS_XREF_H
#define PDF_TO_PS_XREF_H

#include "tools/zolak1_3/pdf_to_ps/instance.h"

/* What the table knows of one object. */
struct XrefEntry {
    uint32_t offset; /* where "N G obj" begins, or, when `isBody`, what follows that */
    uint16_t generation;
    char type;   /* 'n' in use, 'f' free, 0: no section has told of it */
    bool isBody; /* the header has been read and agreed: it need not be read again */
};
static_assert(sizeof(XrefEntry) == 8, "the table is what grows with the document");

/* The largest /Size for which a table is made. */
constexpr int32_t XREF_SIZE_LIMIT = 8388608;

/* Reads the index: the newest trailer and the table, along the /Prev chain.  Failures are reports
 * of severity 4. */
void openDocumentIndex(ConverterInstance *inst);

/* The offset behind "startxref", found among the last 19 lines; -1, reported, when it is not. */
int64_t findStartXref(ConverterInstance *inst, ZFile *input);

void readXrefTable(ConverterInstance *inst, int64_t startXref);

/* Reads one entry of 20 bytes; -1 when it is malformed or cut off. */
int readXrefEntry(ZFile *input, uint32_t *offset, uint16_t *generation, char *type);

/* Searches forward for a line that begins with "trailer" and reads the dictionary behind it. */
void readTrailer(ConverterInstance *inst);

/* Reports a catalog without /Pages; leaves the input at the value of /Pages. */
void checkCatalog(ConverterInstance *inst);

/* Releases the table. */
void freeDocumentIndex(ConverterInstance *inst);

#endif
