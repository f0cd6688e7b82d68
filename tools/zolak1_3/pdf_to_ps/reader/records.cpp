/*
 * records.cpp - parsed arrays and dictionaries
 */
#include "tools/zolak1_3/pdf_to_ps/reader/records.h"

#include <cstdlib>
#include <cstring>

#include "zelkov/text.h"

namespace {

constexpr int32_t ARRAY_ITEMS = 256;
constexpr uint32_t DICT_ENTRIES = 32;
constexpr uint32_t DICT_KEY_BYTES = 256;

/* The memory that containers may take: a fixed part and so many times the file's size.  One
 * container takes up to ten times its text, and few of them live at once. */
constexpr uint64_t MEMORY_ALWAYS = 64 * 1024 * 1024;
constexpr uint64_t MEMORY_PER_FILE_BYTE = 32;

/* realloc, counted; null without memory, `memory` then stands as it was.  The nodes of the page
 * tree keep their containers while their kids are walked, and a hostile tree refers to one large
 * container from each of them. */
void *resizeMemory(PdfReader *reader, void *memory, size_t before, size_t wanted)
{
    uint64_t &taken = reader->limits.containerBytes;
    uint64_t most = MEMORY_ALWAYS + MEMORY_PER_FILE_BYTE * fgeteof(reader->input);
    if (taken - before + wanted > most)
        return nullptr;
    void *resized = realloc(memory, wanted);
    if (resized)
        taken += wanted - before;
    return resized;
}

void releaseMemory(PdfReader *reader, void *memory, size_t bytes)
{
    reader->limits.containerBytes -= bytes;
    free(memory);
}

size_t arrayBytes(size_t room)
{
    return sizeof(PdfArray) + room * sizeof(ValuePosition);
}

size_t dictBytes(size_t entryRoom)
{
    return sizeof(PdfDict) + entryRoom * sizeof(PdfDictEntry);
}

/* Makes room for one more item; the record may move.  Doubling keeps the whole linear. */
bool growItems(PdfReader *reader, PdfArray **array)
{
    PdfArray *a = *array;
    if (a->count < a->room)
        return true;
    size_t room = (size_t)a->room * 2;
    if (room > INT32_MAX)
        return false;
    a = static_cast<PdfArray *>(
        resizeMemory(reader, a, arrayBytes((size_t)a->room), arrayBytes(room)));
    if (!a)
        return false;
    a->room = (int32_t)room;
    a->items = reinterpret_cast<ValuePosition *>(a + 1);
    *array = a;
    return true;
}

bool growKeys(PdfReader *reader, PdfDict *dict, uint32_t needed)
{
    uint64_t room = dict->keyRoom;
    while (room - dict->keyUsed < needed)
        room *= 2;
    if (room == dict->keyRoom)
        return true;
    if (room > UINT32_MAX)
        return false;
    char *larger =
        static_cast<char *>(resizeMemory(reader, dict->keyText, dict->keyRoom, (size_t)room));
    if (!larger)
        return false;
    dict->keyText = larger;
    dict->keyRoom = (uint32_t)room;
    return true;
}

bool growEntries(PdfReader *reader, PdfDict **dict)
{
    PdfDict *d = *dict;
    if ((uint32_t)d->count < d->entryRoom)
        return true;
    size_t room = (size_t)d->entryRoom * 2;
    d = static_cast<PdfDict *>(resizeMemory(reader, d, dictBytes(d->entryRoom), dictBytes(room)));
    if (!d)
        return false;
    d->entryRoom = (uint32_t)room;
    d->entries = reinterpret_cast<PdfDictEntry *>(d + 1);
    *dict = d;
    return true;
}

} // namespace

PdfArray *newArray(PdfReader *reader)
{
    PdfArray *array =
        static_cast<PdfArray *>(resizeMemory(reader, nullptr, 0, arrayBytes(ARRAY_ITEMS)));
    if (!array) {
        reportOutOfMemory(reader, __LINE__);
        return nullptr;
    }
    *array = {0, ARRAY_ITEMS, reinterpret_cast<ValuePosition *>(array + 1)};
    reader->liveArrays++;
    return array;
}

PdfDict *newDict(PdfReader *reader)
{
    PdfDict *dict =
        static_cast<PdfDict *>(resizeMemory(reader, nullptr, 0, dictBytes(DICT_ENTRIES)));
    char *keys = static_cast<char *>(resizeMemory(reader, nullptr, 0, DICT_KEY_BYTES));
    if (!dict || !keys) {
        releaseMemory(reader, dict, dict ? dictBytes(DICT_ENTRIES) : 0);
        releaseMemory(reader, keys, keys ? DICT_KEY_BYTES : 0);
        reportOutOfMemory(reader, __LINE__);
        return nullptr;
    }
    *dict = {};
    dict->entryRoom = DICT_ENTRIES;
    dict->keyRoom = DICT_KEY_BYTES;
    dict->entries = reinterpret_cast<PdfDictEntry *>(dict + 1);
    dict->keyText = keys;
    reader->liveDicts++;
    return dict;
}

bool appendItem(PdfReader *reader, PdfArray **array, ValuePosition item)
{
    if (!growItems(reader, array)) {
        reportOutOfMemory(reader, __LINE__);
        return false;
    }
    PdfArray *a = *array;
    a->items[a->count++] = item;
    return true;
}

bool appendEntry(PdfReader *reader, PdfDict **dict, const char *key, ValuePosition value)
{
    uint32_t bytes = (uint32_t)lenstr(key) + 1;
    if (!growEntries(reader, dict) || !growKeys(reader, *dict, bytes)) {
        reportOutOfMemory(reader, __LINE__);
        return false;
    }
    PdfDict *d = *dict;
    memcpy(d->keyText + d->keyUsed, key, bytes);
    d->entries[d->count++] = {d->keyUsed, value};
    d->keyUsed += bytes;
    return true;
}

void freeArray(PdfReader *reader, PdfArray *array)
{
    if (!array)
        return;
    reader->liveArrays--;
    releaseMemory(reader, array, arrayBytes((size_t)array->room));
}

void freeDict(PdfReader *reader, PdfDict *dict)
{
    if (!dict)
        return;
    reader->liveDicts--;
    releaseMemory(reader, dict->keyText, dict->keyRoom);
    releaseMemory(reader, dict, dictBytes(dict->entryRoom));
}

int32_t findKey(PdfReader *reader, const PdfDict *dict, const char *key)
{
    for (int32_t i = 0; i < dict->count; i++)
        if (cmpstr(dictKey(dict, i), key) == 0) {
            fputp(reader->input, dict->entries[i].value);
            return i;
        }
    return -1;
}
