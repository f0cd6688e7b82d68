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

#include <cstddef>
#include <cstdint>
#include <memory>

#include "tools/zolak1_3/pdf_to_ps/instance.h"

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

/* Where a value's text begins. */
using ValuePosition = uint32_t;
constexpr ValuePosition POSITION_NONE = 0;            /* a reference, before the table is loaded */
constexpr ValuePosition POSITION_FAILED = 0xFFFFFFFF; /* as a result: failure */

/* A name: '/' and at most 139 decoded characters, terminated. */
constexpr size_t NAME_BYTES = 141;

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

/* The type of the next value.  The position is behind the white space before it afterwards;
 * PDF_NONE leaves it anywhere. */
PdfType peekType(ConverterInstance *inst);

/* Follows one indirect reference: the position just behind the target's "n g obj", and the input
 * is then behind the reference.  For any other value the answer is the current position, and the
 * input stays there.  POSITION_NONE while the table is not loaded, POSITION_FAILED when the
 * reference leads nowhere. */
ValuePosition resolveValue(ConverterInstance *inst);

/* Passes over the next value of any type. */
void skipObject(ConverterInstance *inst);

/* The string's bytes, decoded and terminated; a zero byte in it ends it. */
char *parseString(ConverterInstance *inst);
char *parseName(ConverterInstance *inst);
PdfArray *parseArray(ConverterInstance *inst);
PdfDict *parseDict(ConverterInstance *inst);

void freeString(ConverterInstance *inst, char *string);
void freeName(ConverterInstance *inst, char *name);
void freeArray(ConverterInstance *inst, PdfArray *array);
void freeDict(ConverterInstance *inst, PdfDict *dict);

/* The text of entry `index`'s key, with its slash. */
inline const char *dictKey(const PdfDict *dict, int32_t index)
{
    return dict->keyText + dict->entries[index].keyOffset;
}

/* The index of the first entry with that key, the input moved to its value; -1, and the input
 * where it was, when there is none. */
int32_t findKey(ConverterInstance *inst, const PdfDict *dict, const char *key);

/* 1 for the bytes that stand in a name as they are. */
int isRegularChar(int byte);

/* Copies a text with a backslash before each parenthesis and backslash.  `destination` has room
 * for twice the source and a terminator. */
void escapeString(char *destination, const char *source);

/* Copies a name, every byte that is not regular as "#xx"; answers `destination`, which has room
 * for three times the name. */
char *nameToPS(char *destination, const char *name);
constexpr size_t NAME_PS_BYTES = 3 * NAME_BYTES;

/* Owning pointers: each releases through its own routine. */
template <typename T, void (*release)(ConverterInstance *, T *)> struct Release {
    ConverterInstance *inst;
    void operator()(T *record) const { release(inst, record); }
};
template <typename T, void (*release)(ConverterInstance *, T *)>
using Owned = std::unique_ptr<T, Release<T, release>>;

using StringPtr = Owned<char, freeString>;
using NamePtr = Owned<char, freeName>;
using ArrayPtr = Owned<PdfArray, freeArray>;
using DictPtr = Owned<PdfDict, freeDict>;

StringPtr readString(ConverterInstance *inst);
NamePtr readName(ConverterInstance *inst);
ArrayPtr readArray(ConverterInstance *inst);
DictPtr readDict(ConverterInstance *inst);

/* Forgets what was remembered of containers; needed when references begin to resolve. */
void forgetContainers(ConverterInstance *inst);

#endif
