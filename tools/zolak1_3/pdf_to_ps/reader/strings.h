/*
 * strings.h - string tokens
 *
 * A string is kept as a terminated text without a length: one that holds a zero byte ends there for
 * every later use.
 */
#ifndef PDF_TO_PS_STRINGS_H
#define PDF_TO_PS_STRINGS_H

#include "tools/zolak1_3/pdf_to_ps/reader/reader.h"

/* The string's bytes, decoded and terminated; null on failure. */
char *parseString(PdfReader *reader);
void freeString(PdfReader *reader, char *string);

using StringPtr = Owned<char, freeString>;
StringPtr readString(PdfReader *reader);

/* Copies a text with a backslash before each parenthesis and backslash.  `destination` has room
 * for twice the source and a terminator. */
void escapeString(char *destination, const char *source);

#endif
