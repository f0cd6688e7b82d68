/*
 * objects.h - PDF objects by position: types, strings, names, arrays, dictionaries
 *
 * The input file stays the store of all values.  A parsed array or dictionary holds, for each
 * member, only the value position: the byte offset where the member's text begins, or, for an
 * indirect reference, where the text of the object that it refers to begins.  A consumer seeks to
 * the position, asks peekType what is there and calls the parser of that type.
 *
 * Every routine reads the instance's input from its current position, does nothing once the error
 * flag is set, and answers null or -1 on failure, after a report of severity 4.  What a parse
 * routine answers belongs to the caller.
 */
#ifndef PDF_TO_PS_OBJECTS_H
#define PDF_TO_PS_OBJECTS_H

#include "tools/zolak1_3/pdf_to_ps/reader/records.h"

enum PdfType {
    PDF_NONE = -1,
    PDF_BOOLEAN = 0,
    PDF_INTEGER = 1,
    PDF_REAL = 2,
    PDF_STRING = 3,
    PDF_NAME = 4,
    PDF_ARRAY = 5,
    PDF_DICTIONARY = 6,
    PDF_STREAM = 7,
    PDF_NULL = 8,
    PDF_KEYWORD = 9,
};

/* The type of the next value.  The position is behind the white space before it afterwards;
 * PDF_NONE leaves it anywhere. */
PdfType peekType(PdfReader *reader);

/* Follows one indirect reference: the position just behind the target's "n g obj", and the input
 * is then behind the reference.  For any other value the answer is the current position, and the
 * input stays there.  POSITION_NONE while the table is not loaded, POSITION_FAILED when the
 * reference leads nowhere. */
ValuePosition resolveValue(PdfReader *reader);

/* Passes over the next value of any type. */
void skipObject(PdfReader *reader);

PdfArray *parseArray(PdfReader *reader);
PdfDict *parseDict(PdfReader *reader);

/* The same, owned. */
ArrayPtr readArray(PdfReader *reader);
DictPtr readDict(PdfReader *reader);

/* Forgets what was remembered of containers; needed when references begin to resolve. */
void forgetContainers(PdfReader *reader);

#endif
