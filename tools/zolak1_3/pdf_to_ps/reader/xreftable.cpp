/*
 * xreftable.cpp - where the objects of a document stand
 */
#include "tools/zolak1_3/pdf_to_ps/reader/xreftable.h"

#include <algorithm>
#include <cstdlib>

#include "tools/zolak1_3/pdf_to_ps/reader/decimal.h"
#include "tools/zolak1_3/pdf_to_ps/reader/lexer.h"
#include "zelkov/text.h"

namespace {

constexpr size_t ENTRY_BYTES = 20;
constexpr size_t ENTRY_GENERATION = 11; /* where it stands in an entry */
constexpr size_t ENTRY_TYPE = 17;

} // namespace

bool allocateTable(PdfReader *reader)
{
    int32_t size = reader->xrefSize;
    if (size >= 0 && size <= XREF_SIZE_LIMIT) {
        /* Not touched before it is filled: a large /Size alone takes no memory. */
        reader->xref =
            static_cast<XrefEntry *>(calloc((size_t)std::max(size, 1), sizeof(XrefEntry)));
        reader->xrefCapacity = reader->xref ? size : 0;
    }
    if (!reader->xref)
        reportOutOfMemory(reader, __LINE__);
    return reader->xref != nullptr;
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

void freeTable(PdfReader *reader)
{
    free(reader->xref);
    reader->xref = nullptr;
    reader->xrefCapacity = 0;
}

ValuePosition findObject(PdfReader *reader, int64_t number)
{
    if (number >= reader->xrefCapacity)
        return POSITION_FAILED;
    XrefEntry &entry = reader->xref[number];
    if (entry.isBody)
        return entry.offset;
    fputp(reader->input, entry.offset);
    int32_t headerNumber = readInteger(reader);
    int32_t headerGeneration = readInteger(reader);
    char keyword[KEYWORD_BYTES];
    readKeyword(reader, reader->input, keyword);
    if (cmpstr(keyword, "obj") != 0 || headerGeneration != entry.generation ||
        headerNumber != number)
        return POSITION_FAILED;
    entry.offset = fgetp(reader->input);
    entry.isBody = true;
    return entry.offset;
}
