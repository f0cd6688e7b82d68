/*
 * head.cpp - the `head` table
 */
#include "tools/zolak1_3/truetype/head.h"

#include "tools/zolak1_3/truetype/report.h"

namespace {

void copyDate(uint8_t *date, const TTTable &table, size_t position)
{
    for (size_t i = 0; i < 8; i++)
        date[i] = tt_u8(table, position + i);
}

} // namespace

void readHead(ZelkovInstance *instance, TTFont *font, const TTTable &table)
{
    TTHead *head = &font->head;
    head->version = tt_u32(table, 0);
    head->fontRevision = tt_u32(table, 4);
    head->checkSumAdjustment = tt_u32(table, 8);
    head->magicNumber = tt_u32(table, 12);
    head->flags = tt_u16(table, 16);
    head->unitsPerEm = tt_u16(table, 18);
    copyDate(head->created, table, 20);
    copyDate(head->modified, table, 28);
    head->xMin = tt_s16(table, 36);
    head->yMin = tt_s16(table, 38);
    head->xMax = tt_s16(table, 40);
    head->yMax = tt_s16(table, 42);
    head->macStyle = tt_u16(table, 44);
    head->lowestRecPPEM = tt_u16(table, 46);
    head->fontDirectionHint = tt_s16(table, 48);
    head->indexToLocFormat = tt_s16(table, 50);
    head->glyphDataFormat = tt_s16(table, 52);

    if (head->indexToLocFormat != 0 && head->indexToLocFormat != 1)
        tt_reportError(instance, LINE_LOCA_FORMAT, "Wrong indexToLocFormat");
    else if (head->unitsPerEm == 0)
        tt_reportError(instance, LINE_UNITS_PER_EM, "Wrong units per em");
}
