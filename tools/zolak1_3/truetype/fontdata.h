/*
 * fontdata.h - bounded big-endian reads from font data in memory
 *
 * Font data is hostile until proven otherwise.  Nothing but the functions here touches its bytes,
 * and what lies past the end of a table reads as zero bytes: a harmless value that every reader
 * has to cope with anyway.  A table runs from its offset to the end of the font.
 */
#ifndef TRUETYPE_FONTDATA_H
#define TRUETYPE_FONTDATA_H

#include <cstddef>
#include <cstdint>

/* A piece of the font in memory; nothing looks past `size`.  A null `data` is a table that the
 * font does not have. */
struct TTTable {
    const uint8_t *data;
    size_t size;
};

/* Do `need` bytes stand at `position`?  Nothing here can wrap. */
inline bool tt_has(const TTTable &table, size_t position, size_t need)
{
    return need <= table.size && position <= table.size - need;
}

inline uint8_t tt_u8(const TTTable &table, size_t position)
{
    return position < table.size ? table.data[position] : 0;
}

inline int8_t tt_s8(const TTTable &table, size_t position)
{
    return (int8_t)tt_u8(table, position);
}

inline uint16_t tt_u16(const TTTable &table, size_t position)
{
    if (tt_has(table, position, 2))
        return (uint16_t)(table.data[position] << 8 | table.data[position + 1]);
    return (uint16_t)(tt_u8(table, position) << 8);
}

inline int16_t tt_s16(const TTTable &table, size_t position)
{
    return (int16_t)tt_u16(table, position);
}

inline uint32_t tt_u32(const TTTable &table, size_t position)
{
    if (!tt_has(table, position, 2))
        return (uint32_t)tt_u8(table, position) << 24;
    return (uint32_t)tt_u16(table, position) << 16 | tt_u16(table, position + 2);
}

/* The table from `offset` on; empty, but not missing, when that lies past the end. */
inline TTTable tt_from(const TTTable &table, size_t offset)
{
    if (offset > table.size)
        offset = table.size;
    return {table.data + offset, table.size - offset};
}

#endif
