/*
 * containers.cpp - arrays and dictionaries
 *
 * One scan serves for parsing a container and for passing over it: the scan reads the members and
 * hands their positions to the record that is being built, or to nobody.  Passing over a container
 * goes through the memo, so that a container inside others is scanned once.
 */
#include "tools/zolak1_3/pdf_to_ps/containers.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "tools/zolak1_3/pdf_to_ps/lexer.h"
#include "tools/zolak1_3/pdf_to_ps/streams.h"
#include "tools/zolak1_3/pdf_to_ps/textobjects.h"
#include "zelkov/text.h"

namespace {

constexpr int32_t ARRAY_ITEMS = 256;
constexpr uint32_t DICT_ENTRIES = 32;
constexpr uint32_t DICT_KEY_BYTES = 256;

/* ---- levels of nesting, measured for the memo */

/* Counts one container being scanned and how many levels are found in it. */
class ScanLevel {
  public:
    explicit ScanLevel(ConverterInstance *inst)
        : level(inst, &ReaderLimits::parsedDepth), limits(inst->limits),
          deepestBefore(inst->limits.deepestParsed)
    {
        limits.deepestParsed = limits.parsedDepth;
    }

    ~ScanLevel()
    {
        if (limits.deepestParsed < deepestBefore)
            limits.deepestParsed = deepestBefore;
    }

    ScanLevel(const ScanLevel &) = delete;
    ScanLevel &operator=(const ScanLevel &) = delete;

    bool tooDeep() const { return level.tooDeep; }
    int16_t levels() const { return (int16_t)(limits.deepestParsed - limits.parsedDepth + 1); }

  private:
    NestingLevel level;
    ReaderLimits &limits;
    int32_t deepestBefore;
};

/* The remembered container at `start`, unless it would nest too deeply here, which a new scan
 * will report. */
const ReadContainer *recall(ConverterInstance *inst, uint32_t start)
{
    const ReadContainer *known = memo_find(&inst->memo, start);
    ReaderLimits &limits = inst->limits;
    if (!known || limits.parsedDepth + known->levels > NESTING_LIMIT)
        return nullptr;
    if (limits.deepestParsed < limits.parsedDepth + known->levels)
        limits.deepestParsed = limits.parsedDepth + known->levels;
    return known;
}

/* ---- records */

/* The memory that containers may take: a fixed part and so many times the file's size.  One
 * container takes up to ten times its text, and few of them live at once. */
constexpr uint64_t MEMORY_ALWAYS = 64 * 1024 * 1024;
constexpr uint64_t MEMORY_PER_FILE_BYTE = 32;

/* realloc, counted; null without memory, `memory` then stands as it was.  The nodes of the page
 * tree keep their containers while their kids are walked, and a hostile tree refers to one large
 * container from each of them. */
void *resizeMemory(ConverterInstance *inst, void *memory, size_t before, size_t wanted)
{
    uint64_t &taken = inst->limits.containerBytes;
    uint64_t most = MEMORY_ALWAYS + MEMORY_PER_FILE_BYTE * fgeteof(inst->input);
    if (taken - before + wanted > most)
        return nullptr;
    void *resized = realloc(memory, wanted);
    if (resized)
        taken += wanted - before;
    return resized;
}

void releaseMemory(ConverterInstance *inst, void *memory, size_t bytes)
{
    inst->limits.containerBytes -= bytes;
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

PdfArray *newArray(ConverterInstance *inst)
{
    PdfArray *array =
        static_cast<PdfArray *>(resizeMemory(inst, nullptr, 0, arrayBytes(ARRAY_ITEMS)));
    if (!array) {
        reportOutOfMemory(inst, __LINE__);
        return nullptr;
    }
    *array = {0, ARRAY_ITEMS, reinterpret_cast<ValuePosition *>(array + 1)};
    inst->liveArrays++;
    return array;
}

/* Makes room for one more item; the record may move.  Doubling keeps the whole linear. */
bool growItems(ConverterInstance *inst, PdfArray **array)
{
    PdfArray *a = *array;
    if (a->count < a->room)
        return true;
    size_t room = (size_t)a->room * 2;
    if (room > INT32_MAX)
        return false;
    a = static_cast<PdfArray *>(
        resizeMemory(inst, a, arrayBytes((size_t)a->room), arrayBytes(room)));
    if (!a)
        return false;
    a->room = (int32_t)room;
    a->items = reinterpret_cast<ValuePosition *>(a + 1);
    *array = a;
    return true;
}

/* Appends an item; the record may move. */
bool appendItem(ConverterInstance *inst, PdfArray **array, ValuePosition item)
{
    if (!growItems(inst, array)) {
        reportOutOfMemory(inst, __LINE__);
        return false;
    }
    PdfArray *a = *array;
    a->items[a->count++] = item;
    return true;
}

PdfDict *newDict(ConverterInstance *inst)
{
    PdfDict *dict = static_cast<PdfDict *>(resizeMemory(inst, nullptr, 0, dictBytes(DICT_ENTRIES)));
    char *keys = static_cast<char *>(resizeMemory(inst, nullptr, 0, DICT_KEY_BYTES));
    if (!dict || !keys) {
        releaseMemory(inst, dict, dict ? dictBytes(DICT_ENTRIES) : 0);
        releaseMemory(inst, keys, keys ? DICT_KEY_BYTES : 0);
        reportOutOfMemory(inst, __LINE__);
        return nullptr;
    }
    *dict = {};
    dict->entryRoom = DICT_ENTRIES;
    dict->keyRoom = DICT_KEY_BYTES;
    dict->entries = reinterpret_cast<PdfDictEntry *>(dict + 1);
    dict->keyText = keys;
    inst->liveDicts++;
    return dict;
}

bool growKeys(ConverterInstance *inst, PdfDict *dict, uint32_t needed)
{
    uint64_t room = dict->keyRoom;
    while (room - dict->keyUsed < needed)
        room *= 2;
    if (room == dict->keyRoom)
        return true;
    if (room > UINT32_MAX)
        return false;
    char *larger = static_cast<char *>(resizeMemory(inst, dict->keyText, dict->keyRoom, room));
    if (!larger)
        return false;
    dict->keyText = larger;
    dict->keyRoom = (uint32_t)room;
    return true;
}

bool growEntries(ConverterInstance *inst, PdfDict **dict)
{
    PdfDict *d = *dict;
    if ((uint32_t)d->count < d->entryRoom)
        return true;
    size_t room = (size_t)d->entryRoom * 2;
    d = static_cast<PdfDict *>(resizeMemory(inst, d, dictBytes(d->entryRoom), dictBytes(room)));
    if (!d)
        return false;
    d->entryRoom = (uint32_t)room;
    d->entries = reinterpret_cast<PdfDictEntry *>(d + 1);
    *dict = d;
    return true;
}

/* Appends an entry; the record may move. */
bool appendEntry(ConverterInstance *inst, PdfDict **dict, const char *key, ValuePosition value)
{
    uint32_t bytes = (uint32_t)lenstr(key) + 1;
    if (!growEntries(inst, dict) || !growKeys(inst, *dict, bytes)) {
        reportOutOfMemory(inst, __LINE__);
        return false;
    }
    PdfDict *d = *dict;
    memcpy(d->keyText + d->keyUsed, key, bytes);
    d->entries[d->count++] = {d->keyUsed, value};
    d->keyUsed += bytes;
    return true;
}

/* ---- arrays */

/* Reads one item and moves behind it; POSITION_FAILED, reported, when it is none. */
ValuePosition scanItem(ConverterInstance *inst)
{
    ZFile *input = inst->input;
    uint32_t start = fgetp(input);
    ValuePosition item = resolveValue(inst);
    if (item == POSITION_FAILED) {
        zolakReport(inst, __LINE__, SEVERITY_ERROR, "READERR", "Reading error.");
        return POSITION_FAILED;
    }
    if (fgetp(input) != start)
        return item;

    PdfType type = peekType(inst);
    if (type == PDF_NONE || type == PDF_KEYWORD) {
        zolakReport(inst, __LINE__, SEVERITY_ERROR, "READERR", "Reading error.");
        return POSITION_FAILED;
    }
    skipObject(inst);
    return inst->errorFlag ? POSITION_FAILED : item;
}

/* Scans the items behind a '[' up to and with the ']'.  With a null `array` they are passed
 * over. */
bool scanItems(ConverterInstance *inst, PdfArray **array)
{
    ZFile *input = inst->input;
    for (;;) {
        skipWhite(inst, input);
        if (inst->errorFlag)
            return false;
        if (fgetb(input) == ']')
            return true;
        input->position--;
        ValuePosition item = scanItem(inst);
        if (item == POSITION_FAILED)
            return false;
        if (array && !appendItem(inst, array, item))
            return false;
    }
}

/* Scans the array at the position; false on failure.  What is no array at all is no reported
 * failure. */
bool scanArray(ConverterInstance *inst, PdfArray **array)
{
    ZFile *input = inst->input;
    skipWhite(inst, input);
    if (inst->errorFlag)
        return false;
    uint32_t start = fgetp(input);
    if (fgetb(input) != '[')
        return false;
    if (array && !(*array = newArray(inst)))
        return false;

    ScanLevel level(inst);
    if (level.tooDeep() || !scanItems(inst, array))
        return false;
    memo_keep(&inst->memo, {start, fgetp(input), 0, 0, level.levels(), PDF_ARRAY, false, true});
    return true;
}

/* ---- dictionaries */

/* What a scan finds in a dictionary besides its entries. */
struct DictScan {
    uint32_t start; /* of the first '<' */
    int16_t levels;
    bool hasLength;            /* is there a /Length? */
    ValuePosition lengthValue; /* the first one's value */
};

/* Reads the value of an entry and moves behind it.  *isNull tells a direct null, whose entry is
 * dropped. */
ValuePosition scanEntryValue(ConverterInstance *inst, bool *isNull)
{
    ZFile *input = inst->input;
    uint32_t start = fgetp(input);
    ValuePosition value = resolveValue(inst);
    *isNull = false;
    if (value == POSITION_FAILED) {
        zolakReport(inst, __LINE__, SEVERITY_ERROR, "BADDICT", "Bad dictionary key-value pair.");
        return POSITION_FAILED;
    }
    if (fgetp(input) != start)
        return value;

    PdfType type = peekType(inst);
    if (type == PDF_NONE)
        zolakReport(inst, __LINE__, SEVERITY_ERROR, "BADOBJ", "PDF object expected");
    *isNull = type == PDF_NULL;
    skipObject(inst);
    return inst->errorFlag ? POSITION_FAILED : value;
}

enum PairEnd { PAIR_MORE, PAIR_LAST, PAIR_FAILED };

/* At ">>" moves behind it; else the input stays where it is. */
PairEnd scanDictEnd(ConverterInstance *inst)
{
    ZFile *input = inst->input;
    skipWhite(inst, input);
    if (inst->errorFlag)
        return PAIR_FAILED;
    uint32_t start = fgetp(input);
    int first = fgetb(input);
    int second = fgetb(input);
    if (errno) {
        zolakReport(inst, __LINE__, SEVERITY_ERROR, "READERR", "Reading error.");
        return PAIR_FAILED;
    }
    if (first == '>' && second == '>')
        return PAIR_LAST;
    fputp(input, start);
    return PAIR_MORE;
}

/* Scans the entries behind a "<<" up to and with the ">>".  With a null `dict` they are passed
 * over. */
bool scanEntries(ConverterInstance *inst, PdfDict **dict, DictScan *scan)
{
    for (;;) {
        PairEnd end = scanDictEnd(inst);
        if (end != PAIR_MORE)
            return end == PAIR_LAST;
        char key[NAME_BYTES];
        if (!scanName(inst, key))
            return false;
        bool isNull;
        ValuePosition value = scanEntryValue(inst, &isNull);
        if (value == POSITION_FAILED)
            return false;
        if (isNull)
            continue;
        if (!scan->hasLength && cmpstr(key, "/Length") == 0) {
            scan->hasLength = true;
            scan->lengthValue = value;
        }
        if (dict && !appendEntry(inst, dict, key, value))
            return false;
    }
}

bool scanDict(ConverterInstance *inst, PdfDict **dict, DictScan *scan)
{
    if (inst->errorFlag)
        return false;
    ZFile *input = inst->input;
    skipWhite(inst, input);
    *scan = {};
    scan->start = fgetp(input);
    int first = fgetb(input);
    int second = fgetb(input);
    if (errno || first != '<' || second != '<') {
        zolakReport(inst, __LINE__, SEVERITY_ERROR, "BADDICT", "Dictionary expected.");
        return false;
    }
    if (dict && !(*dict = newDict(inst)))
        return false;

    ScanLevel level(inst);
    if (level.tooDeep() || !scanEntries(inst, dict, scan))
        return false;
    scan->levels = level.levels();
    return true;
}

/* Moves behind the container of that type that begins behind the white space, if it is
 * remembered. */
const ReadContainer *skipKnown(ConverterInstance *inst)
{
    skipWhite(inst, inst->input);
    if (inst->errorFlag)
        return nullptr;
    const ReadContainer *known = recall(inst, fgetp(inst->input));
    if (known)
        fputp(inst->input, known->end);
    return known;
}

} // namespace

PdfType classifyDict(ConverterInstance *inst)
{
    ZFile *input = inst->input;
    if (const ReadContainer *known = recall(inst, fgetp(input)))
        return (PdfType)known->type;

    DictScan scan;
    if (!scanDict(inst, nullptr, &scan))
        return PDF_NONE;
    uint32_t end = fgetp(input);
    char keyword[KEYWORD_BYTES];
    readKeyword(inst, input, keyword);
    PdfType type = cmpstr(keyword, "stream") == 0 ? PDF_STREAM : PDF_DICTIONARY;
    if (!inst->errorFlag)
        memo_keep(&inst->memo, {scan.start, end, scan.lengthValue, 0, scan.levels, (int8_t)type,
                                scan.hasLength, true});
    return type;
}

void skipArray(ConverterInstance *inst)
{
    if (!skipKnown(inst))
        scanArray(inst, nullptr);
}

void skipDict(ConverterInstance *inst)
{
    DictScan scan;
    if (!skipKnown(inst))
        scanDict(inst, nullptr, &scan);
}

void skipStream(ConverterInstance *inst)
{
    PdfStream stream = {};
    if (const ReadContainer *known = skipKnown(inst)) {
        readStreamData(inst, known->hasLength, known->lengthValue, &stream);
        return;
    }
    DictScan scan;
    if (scanDict(inst, nullptr, &scan))
        readStreamData(inst, scan.hasLength, scan.lengthValue, &stream);
}

PdfArray *parseArray(ConverterInstance *inst)
{
    PdfArray *array = nullptr;
    if (scanArray(inst, &array))
        return array;
    freeArray(inst, array);
    return nullptr;
}

PdfDict *parseDict(ConverterInstance *inst)
{
    PdfDict *dict = nullptr;
    DictScan scan;
    if (scanDict(inst, &dict, &scan))
        return dict;
    freeDict(inst, dict);
    return nullptr;
}

void freeArray(ConverterInstance *inst, PdfArray *array)
{
    if (!array)
        return;
    inst->liveArrays--;
    releaseMemory(inst, array, arrayBytes((size_t)array->room));
}

void freeDict(ConverterInstance *inst, PdfDict *dict)
{
    if (!dict)
        return;
    inst->liveDicts--;
    releaseMemory(inst, dict->keyText, dict->keyRoom);
    releaseMemory(inst, dict, dictBytes(dict->entryRoom));
}

int32_t findKey(ConverterInstance *inst, const PdfDict *dict, const char *key)
{
    for (int32_t i = 0; i < dict->count; i++)
        if (cmpstr(dictKey(dict, i), key) == 0) {
            fputp(inst->input, dict->entries[i].value);
            return i;
        }
    return -1;
}

ArrayPtr readArray(ConverterInstance *inst)
{
    return ArrayPtr(parseArray(inst), {inst});
}

DictPtr readDict(ConverterInstance *inst)
{
    return DictPtr(parseDict(inst), {inst});
}

void forgetContainers(ConverterInstance *inst)
{
    memo_clear(&inst->memo);
}
