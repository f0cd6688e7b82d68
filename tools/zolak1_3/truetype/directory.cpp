/*
 * directory.cpp - the table directory
 *
 * Only a table's start is taken: lengths and checksums are wrong in too many fonts that print
 * well, and every read is bounded by the end of the font anyway.
 */
#include "tools/zolak1_3/truetype/directory.h"

#include <cstring>

#include "tools/zolak1_3/truetype/report.h"

namespace {

constexpr size_t RECORDS_START = 12;
constexpr size_t RECORD_BYTES = 16;

struct WantedTable {
    char tag[5];
    TTTable TTDirectory::*table;
};

const WantedTable wantedTables[] = {
    {"name", &TTDirectory::name}, {"head", &TTDirectory::head}, {"hhea", &TTDirectory::hhea},
    {"post", &TTDirectory::post}, {"glyf", &TTDirectory::glyf}, {"cmap", &TTDirectory::cmap},
    {"maxp", &TTDirectory::maxp}, {"hmtx", &TTDirectory::hmtx}, {"loca", &TTDirectory::loca},
};

/* In the order in which a missing one is looked for.  A missing cmap is told by its reader; the
 * fonts of PDF documents have often no `name` and sometimes no `post`. */
const WantedTable requiredTables[] = {
    {"head", &TTDirectory::head}, {"maxp", &TTDirectory::maxp}, {"hhea", &TTDirectory::hhea},
    {"hmtx", &TTDirectory::hmtx}, {"loca", &TTDirectory::loca}, {"glyf", &TTDirectory::glyf},
};

/* Tables of other tags, the embedded bitmaps EBDT, EBLC and EBSC among them, are not used. */
void takeRecord(TTDirectory *directory, const TTTable &data, size_t record)
{
    if (!tt_has(data, record, 4))
        return;
    for (const WantedTable &wanted : wantedTables)
        if (memcmp(data.data + record, wanted.tag, 4) == 0)
            directory->*wanted.table = tt_from(data, tt_u32(data, record + 8));
}

} // namespace

void readDirectory(ZelkovInstance *instance, TTDirectory *directory, const TTTable &data)
{
    *directory = {};
    size_t count = tt_u16(data, 4);
    for (size_t i = 0; i < count; i++)
        takeRecord(directory, data, RECORDS_START + i * RECORD_BYTES);

    for (const WantedTable &required : requiredTables)
        if (!(directory->*required.table).data) {
            tt_reportError(instance, LINE_MISSING_TABLE, "TrueType font lacks the %s table",
                           required.tag);
            return;
        }
}
