/*
 * xreftable.h - where the objects of a document stand
 */
#ifndef PDF_TO_PS_XREFTABLE_H
#define PDF_TO_PS_XREFTABLE_H

#include "tools/zolak1_3/pdf_to_ps/reader/reader.h"

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

/* Makes the table for the /Size that was read, every entry unknown; false, reported, without memory
 * or when the size is beyond the limit. */
bool allocateTable(PdfReader *reader);

/* Releases the table. */
void freeTable(PdfReader *reader);

/* Reads one entry of 20 bytes; -1 when it is malformed or cut off. */
int readXrefEntry(ZFile *input, uint32_t *offset, uint16_t *generation, char *type);

/* Where the body of object `number` begins: behind its header "N G obj", which must agree with the
 * table.  POSITION_FAILED when there is no such object. */
ValuePosition findObject(PdfReader *reader, int64_t number);

#endif
