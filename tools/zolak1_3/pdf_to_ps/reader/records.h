/*
 * records.h - parsed arrays and dictionaries
 *
 * A record holds, for each member, only its value position.  Its memory is counted: what lives at
 * one time stays in a bound that grows with the file.
 */
#ifndef PDF_TO_PS_RECORDS_H
#define PDF_TO_PS_RECORDS_H

#include "tools/zolak1_3/pdf_to_ps/reader/reader.h"

struct PdfArray {
    int32_t count;
    int32_t room;
    ValuePosition *items; /* the storage that follows the record */
};

struct PdfDictEntry {
    uint32_t keyOffset; /* of the key's text in keyText */
    ValuePosition value;
};

struct PdfDict {
    uint32_t entryRoom;
    uint32_t keyRoom; /* bytes */
    uint32_t keyUsed; /* bytes */
    int32_t count;
    PdfDictEntry *entries; /* the storage that follows the record */
    char *keyText;         /* the keys one after another, each terminated */
};

/* An empty record; null, reported, without memory. */
PdfArray *newArray(PdfReader *reader);
PdfDict *newDict(PdfReader *reader);

/* Append a member; the record may move.  False, reported, without memory: the record is then as it
 * was. */
bool appendItem(PdfReader *reader, PdfArray **array, ValuePosition item);
bool appendEntry(PdfReader *reader, PdfDict **dict, const char *key, ValuePosition value);

/* Null is accepted. */
void freeArray(PdfReader *reader, PdfArray *array);
void freeDict(PdfReader *reader, PdfDict *dict);

using ArrayPtr = Owned<PdfArray, freeArray>;
using DictPtr = Owned<PdfDict, freeDict>;

/* The text of entry `index`'s key, with its slash. */
inline const char *dictKey(const PdfDict *dict, int32_t index)
{
    return dict->keyText + dict->entries[index].keyOffset;
}

/* The index of the first entry with that key, the input moved to its value; -1, and the input
 * where it was, when there is none. */
int32_t findKey(PdfReader *reader, const PdfDict *dict, const char *key);

#endif
