/*
 * xref.cpp - cross-reference sections and trailers
 *
 * The sections are read newest first and an entry is stored only where none is yet, so that the
 * newest one wins.  The trailer of the newest section is read three times: for the size of the
 * table, in its turn along the chain, and, once references resolve, for /Root.
 */
#include "tools/zolak1_3/pdf_to_ps/reader/xref.h"

#include <algorithm>
#include <cerrno>
#include <unordered_set>

#include "tools/zolak1_3/pdf_to_ps/reader/backread.h"
#include "tools/zolak1_3/pdf_to_ps/reader/decimal.h"
#include "tools/zolak1_3/pdf_to_ps/reader/lexer.h"
#include "tools/zolak1_3/pdf_to_ps/reader/objects.h"
#include "tools/zolak1_3/pdf_to_ps/reader/xreftable.h"
#include "zelkov/text.h"

namespace {

constexpr int STARTXREF_LINES = 19;

int32_t holdTo32Bits(int64_t value)
{
    return (int32_t)std::clamp<int64_t>(value, INT32_MIN, INT32_MAX);
}

/* The header line of a subsection: its first object number and how many entries follow.  What is
 * missing is 0. */
struct Subsection {
    int64_t first;
    int64_t count;
};

Subsection readSubsection(const char *line)
{
    const char *text = line;
    int64_t first = holdTo32Bits(readDecimal(&text));
    int64_t count = holdTo32Bits(readDecimal(&text));
    return {first, count};
}

void reportBadXref(PdfReader *reader, int line)
{
    zolakReport(reader, line, SEVERITY_ERROR, "BADXREF",
                "Unexpected format of cross-reference table.");
}

/* Reads the entries of a subsection as far as the table goes.  What lies beyond /Size is not even
 * passed over. */
bool readEntries(PdfReader *reader, const Subsection &section)
{
    int64_t end = std::min<int64_t>(section.first + section.count, reader->xrefCapacity);
    for (int64_t number = section.first; number < end; number++) {
        XrefEntry entry = {};
        if (readXrefEntry(reader->input, &entry.offset, &entry.generation, &entry.type) != 0) {
            reportBadXref(reader, __LINE__);
            return false;
        }
        if (number >= 0 && reader->xref[number].type == 0)
            reader->xref[number] = entry;
    }
    return true;
}

/* Reads a line and moves to what follows its end; false once the error flag is set. */
bool readIndexLine(PdfReader *reader, char *line)
{
    fgetstr(reader->input, line);
    skipWhite(reader, reader->input);
    return !reader->errorFlag;
}

/* Moves to the text behind the next line that begins with "trailer": behind the word itself when
 * the dictionary stands on the same line. */
bool findTrailer(PdfReader *reader)
{
    constexpr char WORD[] = "trailer";
    constexpr uint32_t WORD_BYTES = sizeof WORD - 1;
    ZFile *input = reader->input;
    char line[LINE_BYTES];
    uint32_t lineStart;
    do {
        lineStart = fgetp(input);
        fgetstr(input, line);
        if (errno) {
            zolakReport(reader, __LINE__, SEVERITY_ERROR, "NOTRAILER",
                        "Expected trailing section not found.");
            return false;
        }
    } while (sposstr(WORD, line) != 0);

    const char *rest = line + WORD_BYTES;
    while (isSpaceByte(*rest))
        rest++;
    if (*rest == '<')
        fputp(input, lineStart + WORD_BYTES);
    return true;
}

void reportEncrypted(PdfReader *reader)
{
    if (reader->acceptsEncrypted)
        zolakReport(reader, __LINE__, SEVERITY_WARNING, "ENCRYPTED",
                    "PDF document is encrypted and might not be readable.");
    else
        zolakReport(reader, __LINE__, SEVERITY_ERROR, "ENCRYPTED",
                    "Cannot process encrypted PDF document.");
}

/* Takes from a trailer what the index needs of it. */
void takeTrailer(PdfReader *reader, const PdfDict *dict)
{
    ZFile *input = reader->input;
    for (int32_t i = 0; i < dict->count; i++)
        if (reader->xrefSize == 0 && cmpstr(dictKey(dict, i), "/Size") == 0) {
            fputp(input, dict->entries[i].value);
            reader->xrefSize = readInteger(reader);
        }
    if (findKey(reader, dict, "/Prev") >= 0)
        reader->xrefPrevious = readInteger(reader);
    for (int32_t i = 0; i < dict->count; i++)
        if (reader->xrefLoaded && cmpstr(dictKey(dict, i), "/Root") == 0)
            reader->rootPosition = dict->entries[i].value;
    for (int32_t i = 0; i < dict->count; i++)
        if (cmpstr(dictKey(dict, i), "/Encrypt") == 0)
            reportEncrypted(reader);
    for (int32_t i = 0; i < dict->count; i++)
        reader->namesOtherTable |= cmpstr(dictKey(dict, i), "/XRefStm") == 0;
}

/* Reads the trailer that the next line with "trailer" begins; answers where its dictionary ends. */
uint32_t readTrailerUpTo(PdfReader *reader)
{
    reader->xrefPrevious = -1;
    if (!findTrailer(reader))
        return fgetp(reader->input);
    DictPtr dict = readDict(reader);
    uint32_t end = fgetp(reader->input);
    if (dict)
        takeTrailer(reader, dict.get());
    else
        reportOutOfMemory(reader, __LINE__);
    return end;
}

/* Reads the section at the position, its trailer included; *bytes grows by its length. */
bool readSection(PdfReader *reader, uint64_t *bytes)
{
    ZFile *input = reader->input;
    uint32_t start = fgetp(input);
    char line[LINE_BYTES];
    readIndexLine(reader, line);
    if (sposstr("xref", line) < 0) {
        zolakReport(reader, __LINE__, SEVERITY_ERROR, "NOXREF",
                    "Cross reference table wasn't found at the expected location.");
        return false;
    }
    uint32_t lineStart = fgetp(input);
    while (readIndexLine(reader, line) && sposstr("trailer", line) < 0) {
        if (!readEntries(reader, readSubsection(line)))
            return false;
        lineStart = fgetp(input);
    }
    if (reader->errorFlag)
        return false;
    fputp(input, lineStart);
    uint32_t end = readTrailerUpTo(reader);
    *bytes += end - start;
    return !reader->errorFlag;
}

} // namespace

int64_t findStartXref(PdfReader *reader, ZFile *input)
{
    fputp(input, fgeteof(input));
    char line[LINE_BYTES];
    for (int lines = 0; lines < STARTXREF_LINES && !errno; lines++) {
        readLineBackward(input, line);
        if (errno || sposstr("startxref", line) != 0)
            continue;
        fgetstr(input, line);
        fgetstr(input, line);
        if (!errno)
            return toDecimal(line);
    }
    zolakReport(reader, __LINE__, SEVERITY_ERROR, "NOXREF",
                "Couldn't create cross-reference table.");
    return -1;
}

void readXrefTable(PdfReader *reader, int64_t startXref)
{
    ZFile *input = reader->input;
    fputp(input, (uint32_t)startXref);
    readTrailer(reader);
    if (reader->errorFlag)
        return;
    fputp(input, (uint32_t)startXref);
    if (!allocateTable(reader))
        return;

    std::unordered_set<uint32_t> met = {(uint32_t)startXref};
    uint64_t bytes = 0;
    for (;;) {
        if (!readSection(reader, &bytes))
            return;
        if (reader->xrefPrevious == -1)
            break;
        /* Sections that share their bytes, one trailer inside the other, would be read for a time
         * that grows with the square of the file's size. */
        uint32_t previous = (uint32_t)reader->xrefPrevious;
        if (!met.insert(previous).second || bytes > fgeteof(input)) {
            reportBadXref(reader, __LINE__);
            return;
        }
        fputp(input, previous);
    }
    reader->xrefLoaded = 1;
    forgetContainers(reader); /* they were read while no reference resolved */
}

void readTrailer(PdfReader *reader)
{
    readTrailerUpTo(reader);
}

void openDocumentIndex(PdfReader *reader)
{
    if (reader->errorFlag)
        return;
    int64_t startXref = findStartXref(reader, reader->input);
    if (reader->errorFlag)
        return;
    readXrefTable(reader, startXref);
    if (reader->errorFlag)
        return;
    fputp(reader->input, (uint32_t)startXref);
    readTrailer(reader);
}

void checkCatalog(PdfReader *reader)
{
    if (reader->errorFlag)
        return;
    fputp(reader->input, reader->rootPosition);
    DictPtr dict = readDict(reader);
    if (!dict)
        reportOutOfMemory(reader, __LINE__);
    else if (findKey(reader, dict.get(), "/Pages") == -1)
        zolakReport(reader, __LINE__, SEVERITY_ERROR, "NOTREE",
                    "Catalog does not contain pointer to its children.");
}
