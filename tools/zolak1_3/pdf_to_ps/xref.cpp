/*
 * xref.cpp - cross-reference sections and trailers
 *
 * The sections are read newest first and an entry is stored only where none is yet, so that the
 * newest one wins.  The trailer of the newest section is read three times: for the size of the
 * table, in its turn along the chain, and, once references resolve, for /Root.
 */
#include "tools/zolak1_3/pdf_to_ps/xref.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <unordered_set>

#include "tools/zolak1_3/pdf_to_ps/backread.h"
#include "tools/zolak1_3/pdf_to_ps/lexer.h"
#include "tools/zolak1_3/pdf_to_ps/objects.h"
#include "zelkov/text.h"

namespace {

constexpr int STARTXREF_LINES = 19;
constexpr size_t ENTRY_BYTES = 20;
constexpr size_t ENTRY_GENERATION = 11; /* where it stands in an entry */
constexpr size_t ENTRY_TYPE = 17;

/* atol, moving on; errno stays as it was. */
int64_t readDecimal(const char **text)
{
    int saved = errno;
    char *end;
    int64_t value = strtoll(*text, &end, 10);
    *text = end;
    errno = saved;
    return value;
}

int64_t toDecimal(const char *text)
{
    return readDecimal(&text);
}

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

void reportBadXref(ConverterInstance *inst, int line)
{
    zolakReport(inst, line, SEVERITY_ERROR, "BADXREF",
                "Unexpected format of cross-reference table.");
}

bool allocateTable(ConverterInstance *inst)
{
    int32_t size = inst->xrefSize;
    if (size >= 0 && size <= XREF_SIZE_LIMIT) {
        /* Not touched before it is filled: a large /Size alone takes no memory. */
        inst->xref = static_cast<XrefEntry *>(calloc((size_t)std::max(size, 1), sizeof(XrefEntry)));
        inst->xrefCapacity = inst->xref ? size : 0;
    }
    if (!inst->xref)
        reportOutOfMemory(inst, __LINE__);
    return inst->xref != nullptr;
}

/* Reads the entries of a subsection as far as the table goes.  What lies beyond /Size is not even
 * passed over. */
bool readEntries(ConverterInstance *inst, const Subsection &section)
{
    int64_t end = std::min<int64_t>(section.first + section.count, inst->xrefCapacity);
    for (int64_t number = section.first; number < end; number++) {
        XrefEntry entry = {};
        if (readXrefEntry(inst->input, &entry.offset, &entry.generation, &entry.type) != 0) {
            reportBadXref(inst, __LINE__);
            return false;
        }
        if (number >= 0 && inst->xref[number].type == 0)
            inst->xref[number] = entry;
    }
    return true;
}

/* Reads a line and moves to what follows its end; false once the error flag is set. */
bool readIndexLine(ConverterInstance *inst, char *line)
{
    fgetstr(inst->input, line);
    skipWhite(inst, inst->input);
    return !inst->errorFlag;
}

/* Moves to the text behind the next line that begins with "trailer": behind the word itself when
 * the dictionary stands on the same line. */
bool findTrailer(ConverterInstance *inst)
{
    constexpr char WORD[] = "trailer";
    constexpr uint32_t WORD_BYTES = sizeof WORD - 1;
    ZFile *input = inst->input;
    char line[LINE_BYTES];
    uint32_t lineStart;
    do {
        lineStart = fgetp(input);
        fgetstr(input, line);
        if (errno) {
            zolakReport(inst, __LINE__, SEVERITY_ERROR, "NOTRAILER",
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

void reportEncrypted(ConverterInstance *inst)
{
    if (inst->ENCRYPT)
        zolakReport(inst, __LINE__, SEVERITY_WARNING, "ENCRYPTED",
                    "PDF document is encrypted and might not be readable.");
    else
        zolakReport(inst, __LINE__, SEVERITY_ERROR, "ENCRYPTED",
                    "Cannot process encrypted PDF document.");
}

/* Takes from a trailer what the index needs of it. */
void takeTrailer(ConverterInstance *inst, const PdfDict *dict)
{
    ZFile *input = inst->input;
    for (int32_t i = 0; i < dict->count; i++)
        if (inst->xrefSize == 0 && cmpstr(dictKey(dict, i), "/Size") == 0) {
            fputp(input, dict->entries[i].value);
            inst->xrefSize = readInteger(inst);
        }
    if (findKey(inst, dict, "/Prev") >= 0)
        inst->xrefPrevious = readInteger(inst);
    for (int32_t i = 0; i < dict->count; i++)
        if (inst->xrefLoaded && cmpstr(dictKey(dict, i), "/Root") == 0)
            inst->rootPosition = dict->entries[i].value;
    for (int32_t i = 0; i < dict->count; i++)
        if (cmpstr(dictKey(dict, i), "/Encrypt") == 0)
            reportEncrypted(inst);
}

/* Reads the trailer that the next line with "trailer" begins; answers where its dictionary ends. */
uint32_t readTrailerUpTo(ConverterInstance *inst)
{
    inst->xrefPrevious = -1;
    if (!findTrailer(inst))
        return fgetp(inst->input);
    DictPtr dict = readDict(inst);
    uint32_t end = fgetp(inst->input);
    if (dict)
        takeTrailer(inst, dict.get());
    else
        reportOutOfMemory(inst, __LINE__);
    return end;
}

/* Reads the section at the position, its trailer included; *bytes grows by its length. */
bool readSection(ConverterInstance *inst, uint64_t *bytes)
{
    ZFile *input = inst->input;
    uint32_t start = fgetp(input);
    char line[LINE_BYTES];
    readIndexLine(inst, line);
    if (sposstr("xref", line) < 0) {
        zolakReport(inst, __LINE__, SEVERITY_ERROR, "NOXREF",
                    "Cross reference table wasn't found at the expected location.");
        return false;
    }
    uint32_t lineStart = fgetp(input);
    while (readIndexLine(inst, line) && sposstr("trailer", line) < 0) {
        if (!readEntries(inst, readSubsection(line)))
            return false;
        lineStart = fgetp(input);
    }
    if (inst->errorFlag)
        return false;
    fputp(input, lineStart);
    uint32_t end = readTrailerUpTo(inst);
    *bytes += end - start;
    return !inst->errorFlag;
}

} // namespace

int64_t findStartXref(ConverterInstance *inst, ZFile *input)
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
    zolakReport(inst, __LINE__, SEVERITY_ERROR, "NOXREF", "Couldn't create cross-reference table.");
    return -1;
}

void readXrefTable(ConverterInstance *inst, int64_t startXref)
{
    ZFile *input = inst->input;
    fputp(input, (uint32_t)startXref);
    readTrailer(inst);
    if (inst->errorFlag)
        return;
    fputp(input, (uint32_t)startXref);
    if (!allocateTable(inst))
        return;

    std::unordered_set<uint32_t> met = {(uint32_t)startXref};
    uint64_t bytes = 0;
    for (;;) {
        if (!readSection(inst, &bytes))
            return;
        if (inst->xrefPrevious == -1)
            break;
        /* Sections that share their bytes, one trailer inside the other, would be read for a time
         * that grows with the square of the file's size. */
        uint32_t previous = (uint32_t)inst->xrefPrevious;
        if (!met.insert(previous).second || bytes > fgeteof(input)) {
            reportBadXref(inst, __LINE__);
            return;
        }
        fputp(input, previous);
    }
    inst->xrefLoaded = 1;
    forgetContainers(inst); /* they were read while no reference resolved */
}

int readXrefEntry(ZFile *input, uint32_t *offset, uint16_t *generation, char *type)
{
    char entry[ENTRY_BYTES + 1];
    if (fgetm(input, entry, ENTRY_BYTES) != ENTRY_BYTES)
        return -1;
    entry[ENTRY_BYTES] = 0;
    *offset = (uint32_t)toDecimal(entry);
    *generation = (uint16_t)toDecimal(entry + ENTRY_GENERATION);
    *type = entry[ENTRY_TYPE];
    return *type == 'n' || *type == 'f' ? 0 : -1;
}

void readTrailer(ConverterInstance *inst)
{
    readTrailerUpTo(inst);
}

void openDocumentIndex(ConverterInstance *inst)
{
    if (inst->errorFlag)
        return;
    int64_t startXref = findStartXref(inst, inst->input);
    if (inst->errorFlag)
        return;
    readXrefTable(inst, startXref);
    if (inst->errorFlag)
        return;
    fputp(inst->input, (uint32_t)startXref);
    readTrailer(inst);
}

void checkCatalog(ConverterInstance *inst)
{
    if (inst->errorFlag)
        return;
    fputp(inst->input, inst->rootPosition);
    DictPtr dict = readDict(inst);
    if (!dict)
        reportOutOfMemory(inst, __LINE__);
    else if (findKey(inst, dict.get(), "/Pages") == -1)
        zolakReport(inst, __LINE__, SEVERITY_ERROR, "NOTREE",
                    "Catalog does not contain pointer to its children.");
}

void freeDocumentIndex(ConverterInstance *inst)
{
    free(inst->xref);
    inst->xref = nullptr;
    inst->xrefCapacity = 0;
}
