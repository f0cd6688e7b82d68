/*
 * names.h - name tokens, and names as PostScript has them
 */
#ifndef PDF_TO_PS_NAMES_H
#define PDF_TO_PS_NAMES_H

#include <cstddef>

#include "tools/zolak1_3/pdf_to_ps/reader/reader.h"

/* A name: '/' and at most 139 decoded characters, terminated. */
constexpr size_t NAME_BYTES = 141;

/* Reads a name into `name` (NAME_BYTES); false, after a report, on failure. */
bool scanName(PdfReader *reader, char *name);

/* The same as a text of its own; null on failure. */
char *parseName(PdfReader *reader);
void freeName(PdfReader *reader, char *name);

using NamePtr = Owned<char, freeName>;
NamePtr readName(PdfReader *reader);

/* 1 for the bytes that stand in a name as they are. */
int isRegularChar(int byte);

/* Copies a name, every byte that is not regular as "#xx"; answers `destination`, which has room
 * for three times the name. */
char *nameToPS(char *destination, const char *name);
constexpr size_t NAME_PS_BYTES = 3 * NAME_BYTES;

#endif
