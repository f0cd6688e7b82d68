/*
 * objects.cpp - the parser: classifying, resolving, parsing and passing over values
 *
 * Recursive descent: to tell a dictionary from a stream is to read it to its end, and to read a
 * container is to classify and pass over all that it holds.
 *
 * One scan serves for parsing a container and for passing over it: the scan reads the members and
 * hands their positions to the record that is being built, or to nobody.  Passing over a container
 * goes through the memo, so that a container inside others is scanned once.
 */
#include "tools/zolak1_3/pdf_to_ps/reader/objects.h"

#include <cerrno>

#include "tools/zolak1_3/pdf_to_ps/reader/digitrun.h"
#include "tools/zolak1_3/pdf_to_ps/reader/lexer.h"
#include "tools/zolak1_3/pdf_to_ps/reader/names.h"
#include "tools/zolak1_3/pdf_to_ps/reader/streamdata.h"
#include "tools/zolak1_3/pdf_to_ps/reader/strings.h"
#include "tools/zolak1_3/pdf_to_ps/reader/xreftable.h"
#include "zelkov/text.h"

namespace {

/* ---- levels of nesting, measured for the memo */

/* Counts one container being scanned and how many levels are found in it. */
class ScanLevel {
  public:
    explicit ScanLevel(PdfReader *reader)
        : level(reader, reader->limits.parsedDepth), limits(reader->limits),
          deepestBefore(reader->limits.deepestParsed)
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
const ReadContainer *recall(PdfReader *reader, uint32_t start)
{
    const ReadContainer *known = memo_find(&reader->memo, start);
    ReaderLimits &limits = reader->limits;
    if (!known || limits.parsedDepth + known->levels > NESTING_LIMIT)
        return nullptr;
    if (limits.deepestParsed < limits.parsedDepth + known->levels)
        limits.deepestParsed = limits.parsedDepth + known->levels;
    return known;
}

/* ---- arrays */

/* Reads one item and moves behind it; POSITION_FAILED, reported, when it is none. */
ValuePosition scanItem(PdfReader *reader)
{
    ZFile *input = reader->input;
    uint32_t start = fgetp(input);
    ValuePosition item = resolveValue(reader);
    if (item == POSITION_FAILED) {
        zolakReport(reader, __LINE__, SEVERITY_ERROR, "READERR", "Reading error.");
        return POSITION_FAILED;
    }
    if (fgetp(input) != start)
        return item;

    PdfType type = peekType(reader);
    if (type == PDF_NONE || type == PDF_KEYWORD) {
        zolakReport(reader, __LINE__, SEVERITY_ERROR, "READERR", "Reading error.");
        return POSITION_FAILED;
    }
    skipObject(reader);
    return reader->errorFlag ? POSITION_FAILED : item;
}

/* Scans the items behind a '[' up to and with the ']'.  With a null `array` they are passed
 * over. */
bool scanItems(PdfReader *reader, PdfArray **array)
{
    ZFile *input = reader->input;
    for (;;) {
        skipWhite(reader, input);
        if (reader->errorFlag)
            return false;
        if (fgetb(input) == ']')
            return true;
        input->position--;
        ValuePosition item = scanItem(reader);
        if (item == POSITION_FAILED)
            return false;
        if (array && !appendItem(reader, array, item))
            return false;
    }
}

/* Scans the array at the position; false on failure.  What is no array at all is no reported
 * failure. */
bool scanArray(PdfReader *reader, PdfArray **array)
{
    ZFile *input = reader->input;
    skipWhite(reader, input);
    if (reader->errorFlag)
        return false;
    uint32_t start = fgetp(input);
    if (fgetb(input) != '[')
        return false;
    if (array && !(*array = newArray(reader)))
        return false;

    ScanLevel level(reader);
    if (level.tooDeep() || !scanItems(reader, array))
        return false;
    memo_keep(&reader->memo, {start, fgetp(input), 0, 0, level.levels(), PDF_ARRAY, false, true});
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
ValuePosition scanEntryValue(PdfReader *reader, bool *isNull)
{
    ZFile *input = reader->input;
    uint32_t start = fgetp(input);
    ValuePosition value = resolveValue(reader);
    *isNull = false;
    if (value == POSITION_FAILED) {
        zolakReport(reader, __LINE__, SEVERITY_ERROR, "BADDICT", "Bad dictionary key-value pair.");
        return POSITION_FAILED;
    }
    if (fgetp(input) != start)
        return value;

    PdfType type = peekType(reader);
    if (type == PDF_NONE)
        zolakReport(reader, __LINE__, SEVERITY_ERROR, "BADOBJ", "PDF object expected");
    *isNull = type == PDF_NULL;
    skipObject(reader);
    return reader->errorFlag ? POSITION_FAILED : value;
}

enum PairEnd { PAIR_MORE, PAIR_LAST, PAIR_FAILED };

/* At ">>" moves behind it; else the input stays where it is. */
PairEnd scanDictEnd(PdfReader *reader)
{
    ZFile *input = reader->input;
    skipWhite(reader, input);
    if (reader->errorFlag)
        return PAIR_FAILED;
    uint32_t start = fgetp(input);
    int first = fgetb(input);
    int second = fgetb(input);
    if (errno) {
        zolakReport(reader, __LINE__, SEVERITY_ERROR, "READERR", "Reading error.");
        return PAIR_FAILED;
    }
    if (first == '>' && second == '>')
        return PAIR_LAST;
    fputp(input, start);
    return PAIR_MORE;
}

/* Scans the entries behind a "<<" up to and with the ">>".  With a null `dict` they are passed
 * over. */
bool scanEntries(PdfReader *reader, PdfDict **dict, DictScan *scan)
{
    for (;;) {
        PairEnd end = scanDictEnd(reader);
        if (end != PAIR_MORE)
            return end == PAIR_LAST;
        char key[NAME_BYTES];
        if (!scanName(reader, key))
            return false;
        bool isNull;
        ValuePosition value = scanEntryValue(reader, &isNull);
        if (value == POSITION_FAILED)
            return false;
        if (isNull)
            continue;
        if (!scan->hasLength && cmpstr(key, "/Length") == 0) {
            scan->hasLength = true;
            scan->lengthValue = value;
        }
        if (dict && !appendEntry(reader, dict, key, value))
            return false;
    }
}

bool scanDict(PdfReader *reader, PdfDict **dict, DictScan *scan)
{
    if (reader->errorFlag)
        return false;
    ZFile *input = reader->input;
    skipWhite(reader, input);
    *scan = {};
    scan->start = fgetp(input);
    int first = fgetb(input);
    int second = fgetb(input);
    if (errno || first != '<' || second != '<') {
        zolakReport(reader, __LINE__, SEVERITY_ERROR, "BADDICT", "Dictionary expected.");
        return false;
    }
    if (dict && !(*dict = newDict(reader)))
        return false;

    ScanLevel level(reader);
    if (level.tooDeep() || !scanEntries(reader, dict, scan))
        return false;
    scan->levels = level.levels();
    return true;
}

/* Moves behind the container of that type that begins behind the white space, if it is
 * remembered. */
const ReadContainer *skipKnown(PdfReader *reader)
{
    skipWhite(reader, reader->input);
    if (reader->errorFlag)
        return nullptr;
    const ReadContainer *known = recall(reader, fgetp(reader->input));
    if (known)
        fputp(reader->input, known->end);
    return known;
}

/* ---- passing over containers */

void skipArray(PdfReader *reader)
{
    if (!skipKnown(reader))
        scanArray(reader, nullptr);
}

void skipDict(PdfReader *reader)
{
    DictScan scan;
    if (!skipKnown(reader))
        scanDict(reader, nullptr, &scan);
}

void skipStream(PdfReader *reader)
{
    StreamData data = {};
    if (const ReadContainer *known = skipKnown(reader)) {
        readStreamData(reader, known->hasLength, known->lengthValue, &data);
        return;
    }
    DictScan scan;
    if (scanDict(reader, nullptr, &scan))
        readStreamData(reader, scan.hasLength, scan.lengthValue, &data);
}

/* ---- types */

PdfType numberType(PdfReader *reader, int first)
{
    switch (classifyNumber(reader, first)) {
    case NUMBER_INTEGER:
        return PDF_INTEGER;
    case NUMBER_REAL:
        return PDF_REAL;
    case NUMBER_UNREADABLE:
        break;
    }
    return PDF_NONE;
}

PdfType classifyKeyword(PdfReader *reader)
{
    char keyword[KEYWORD_BYTES];
    reader->input->position--;
    readKeyword(reader, reader->input, keyword);
    if (cmpstr(keyword, "true") == 0 || cmpstr(keyword, "false") == 0)
        return PDF_BOOLEAN;
    return cmpstr(keyword, "null") == 0 ? PDF_NULL : PDF_KEYWORD;
}

/* PDF_STREAM or PDF_DICTIONARY for the dictionary that begins at the position, by the keyword
 * behind it; PDF_NONE when it cannot be parsed. */
PdfType classifyDict(PdfReader *reader)
{
    ZFile *input = reader->input;
    if (const ReadContainer *known = recall(reader, fgetp(input)))
        return (PdfType)known->type;

    DictScan scan;
    if (!scanDict(reader, nullptr, &scan))
        return PDF_NONE;
    uint32_t end = fgetp(input);
    char keyword[KEYWORD_BYTES];
    readKeyword(reader, input, keyword);
    PdfType type = cmpstr(keyword, "stream") == 0 ? PDF_STREAM : PDF_DICTIONARY;
    if (!reader->errorFlag)
        memo_keep(&reader->memo, {scan.start, end, scan.lengthValue, 0, scan.levels, (int8_t)type,
                                  scan.hasLength, true});
    return type;
}

/* Dictionary, stream or hexadecimal string; the '<' at `start` has been read. */
PdfType classifyAngle(PdfReader *reader, uint32_t start)
{
    int byte = fgetb(reader->input);
    if (errno)
        return PDF_NONE;
    if (byte != '<')
        return PDF_STRING;
    fputp(reader->input, start);
    return classifyDict(reader);
}

/* The type of the value that begins at `start`; the input may be left anywhere. */
PdfType classify(PdfReader *reader, uint32_t start)
{
    int byte = fgetb(reader->input);
    if (errno)
        return PDF_NONE;
    switch (byte) {
    case '[':
        return PDF_ARRAY;
    case '(':
        return PDF_STRING;
    case '/':
        return PDF_NAME;
    case '<':
        return classifyAngle(reader, start);
    case '+':
    case '-':
    case '.':
        return numberType(reader, byte);
    default:
        if (isDigitByte(byte))
            return numberType(reader, byte);
        return isLetterByte(byte) ? classifyKeyword(reader) : PDF_NONE;
    }
}

/* ---- references */

/* Reads "N G R" and answers N, or -1 when the next value is no reference. */
int64_t readReference(PdfReader *reader)
{
    if (peekType(reader) != PDF_INTEGER)
        return -1;
    int32_t number = readInteger(reader);
    if (peekType(reader) != PDF_INTEGER)
        return -1;
    readInteger(reader);
    if (peekType(reader) != PDF_KEYWORD)
        return -1;
    char keyword[KEYWORD_BYTES];
    readKeyword(reader, reader->input, keyword);
    if (cmpstr(keyword, "R") != 0)
        return -1;
    /* A negative number is outside every table, like the largest one. */
    return number < 0 ? (int64_t)UINT32_MAX : number;
}

} // namespace

PdfType peekType(PdfReader *reader)
{
    skipWhite(reader, reader->input);
    if (reader->errorFlag)
        return PDF_NONE;
    uint32_t start = fgetp(reader->input);
    PdfType type = classify(reader, start);
    if (type != PDF_NONE)
        fputp(reader->input, start);
    return type;
}

ValuePosition resolveValue(PdfReader *reader)
{
    uint32_t start = fgetp(reader->input);
    int64_t number = readReference(reader);
    if (number < 0) {
        fputp(reader->input, start);
        return start;
    }
    if (!reader->xrefLoaded)
        return POSITION_NONE;

    uint32_t behind = fgetp(reader->input);
    ValuePosition body = findObject(reader, number);
    if (body != POSITION_FAILED)
        fputp(reader->input, behind);
    return body;
}

void skipObject(PdfReader *reader)
{
    if (reader->errorFlag)
        return;
    char text[KEYWORD_BYTES];
    static_assert(sizeof text >= NAME_BYTES, "names and keywords are passed over through it");
    switch (peekType(reader)) {
    case PDF_NONE:
        zolakReport(reader, __LINE__, SEVERITY_ERROR, "BADOBJ", "PDF object expected.");
        break;
    case PDF_BOOLEAN:
        readBoolean(reader);
        break;
    case PDF_INTEGER:
    case PDF_REAL:
        readNumber(reader);
        break;
    case PDF_STRING:
        readString(reader);
        break;
    case PDF_NAME:
        scanName(reader, text);
        break;
    case PDF_ARRAY:
        skipArray(reader);
        break;
    case PDF_DICTIONARY:
        skipDict(reader);
        break;
    case PDF_STREAM:
        skipStream(reader);
        break;
    case PDF_NULL:
        readKeyword(reader, reader->input, text);
        break;
    case PDF_KEYWORD:
        break;
    }
}

PdfArray *parseArray(PdfReader *reader)
{
    PdfArray *array = nullptr;
    if (scanArray(reader, &array))
        return array;
    freeArray(reader, array);
    return nullptr;
}

PdfDict *parseDict(PdfReader *reader)
{
    PdfDict *dict = nullptr;
    DictScan scan;
    if (scanDict(reader, &dict, &scan))
        return dict;
    freeDict(reader, dict);
    return nullptr;
}

ArrayPtr readArray(PdfReader *reader)
{
    return ArrayPtr(parseArray(reader), {reader});
}

DictPtr readDict(PdfReader *reader)
{
    return DictPtr(parseDict(reader), {reader});
}

void forgetContainers(PdfReader *reader)
{
    memo_clear(&reader->memo);
    reader->digits = {};
}
