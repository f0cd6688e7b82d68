/*
 * post.cpp - the `post` table
 */
#include "tools/zolak1_3/truetype/post.h"

#include <algorithm>
#include <array>
#include <cstdio>

#include "tools/zolak1_3/truetype/glyphnames.h"
#include "tools/zolak1_3/truetype/report.h"

namespace {

constexpr size_t NAMES_START = 32; /* what the fixed part is followed by */

/* Room for "_65535". */
constexpr size_t GENERATED_NAME_BYTES = 10;

/* A version number in two halves. */
constexpr uint32_t fixedNumber(uint32_t integer, uint32_t fraction)
{
    return integer << 16 | fraction;
}

constexpr uint32_t FORMAT_STANDARD_NAMES = fixedNumber(1, 0);
constexpr uint32_t FORMAT_CUSTOM_NAMES = fixedNumber(2, 0);
constexpr uint32_t FORMAT_NAME_OFFSETS = fixedNumber(2, 0x8000);
constexpr uint32_t FORMAT_NO_NAMES = fixedNumber(3, 0);

/* The names that a table of format 2.0 brings along; null where one cannot be used. */
struct CustomNames {
    const char **names;
    size_t count;
};

/* Which bytes come through the PostScript scanner as part of a name: visible ASCII, without the
 * delimiters. */
constexpr std::array<bool, 256> nameBytes = [] {
    std::array<bool, 256> bytes = {};
    for (size_t byte = '!'; byte <= '~'; byte++)
        bytes[byte] = true;
    for (char delimiter : {'(', ')', '<', '>', '[', ']', '{', '}', '/', '%'})
        bytes[(size_t)delimiter] = false;
    return bytes;
}();

const char *generatedName(ZelkovInstance *instance, TTFont *font, size_t glyph, TTReportLine line)
{
    char *name = static_cast<char *>(zalloc(font->zone, GENERATED_NAME_BYTES));
    if (!name) {
        tt_reportOutOfMemory(instance, line);
        return TT_UNKNOWN_NAME;
    }
    snprintf(name, GENERATED_NAME_BYTES, "_%d", (int)glyph);
    return name;
}

/* The name of `length` bytes at `position`, in the zone; null when it would not come through the
 * PostScript scanner as the one name that it is, or when there is no memory. */
const char *copyName(ZelkovInstance *instance, TTFont *font, const TTTable &table, size_t position,
                     size_t length)
{
    char *name = static_cast<char *>(zalloc(font->zone, length + 1));
    if (!name) {
        tt_reportOutOfMemory(instance, LINE_CUSTOM_NAME);
        return nullptr;
    }
    bool usable = true;
    for (size_t i = 0; i < length; i++) {
        uint8_t byte = tt_u8(table, position + i);
        usable = usable && nameBytes[byte];
        name[i] = (char)byte;
    }
    name[length] = 0;
    return usable ? name : nullptr;
}

/* How many custom names the glyphs refer to. */
size_t neededNames(const TTTable &indices, size_t count)
{
    size_t largest = 0;
    for (size_t i = 0; i < count; i++)
        largest = std::max<size_t>(largest, tt_u16(indices, 2 * i));
    return largest < STANDARD_NAMES ? 0 : largest - STANDARD_NAMES + 1;
}

/* Reads at most `needed` names, a length byte before each; one of length zero, which is also what
 * lies past the end of the font, ends them. */
CustomNames readCustomNames(ZelkovInstance *instance, TTFont *font, const TTTable &table,
                            size_t needed)
{
    CustomNames custom = {};
    needed = std::min(needed, table.size);
    custom.names = static_cast<const char **>(zalloc(font->zone, needed * sizeof(char *)));
    if (!custom.names) {
        tt_reportOutOfMemory(instance, LINE_CUSTOM_NAME_TABLE);
        return custom;
    }
    size_t position = 0;
    while (custom.count < needed) {
        size_t length = tt_u8(table, position);
        if (length == 0)
            break;
        custom.names[custom.count] = copyName(instance, font, table, position + 1, length);
        if (tt_stopped(instance))
            break;
        custom.count++;
        position += 1 + length;
    }
    return custom;
}

/* The name that index `index` stands for, or null. */
const char *indexedName(const CustomNames &custom, size_t index)
{
    if (index < STANDARD_NAMES)
        return tt_standardNames[index];
    index -= STANDARD_NAMES;
    return index < custom.count ? custom.names[index] : nullptr;
}

/* Format 1.0: the standard glyphs in the standard order. */
void nameInStandardOrder(TTFont *font)
{
    for (size_t i = 0; i < STANDARD_NAMES; i++)
        font->glyphs[i].name = tt_standardNames[i];
}

/* Format 2.0: a name index for each glyph, then the names that are not standard. */
void nameByIndex(ZelkovInstance *instance, TTFont *font, const TTTable &table)
{
    size_t count = tt_u16(table, NAMES_START);
    TTTable indices = tt_from(table, NAMES_START + 2);
    CustomNames custom =
        readCustomNames(instance, font, tt_from(indices, 2 * count), neededNames(indices, count));

    size_t indexed = std::min(count, (size_t)font->glyphRoom);
    for (size_t i = 0; i < indexed && !tt_stopped(instance); i++) {
        const char *name = indexedName(custom, tt_u16(indices, 2 * i));
        font->glyphs[i].name = name ? name : generatedName(instance, font, i, LINE_GENERATED_NAME);
    }
    for (size_t i = indexed; i < (size_t)font->glyphCount && !tt_stopped(instance); i++)
        font->glyphs[i].name = generatedName(instance, font, i, LINE_GENERATED_LAST_NAMES);
}

/* Format 2.5: how far each glyph stands from its place in the standard order. */
void nameByOffset(TTFont *font, const TTTable &table)
{
    for (int32_t i = 0; i < font->glyphCount; i++) {
        int32_t index = i + tt_s8(table, NAMES_START + (size_t)i);
        if (index >= 0 && index < (int32_t)STANDARD_NAMES)
            font->glyphs[i].name = tt_standardNames[index];
    }
}

void unknownFormat(ZelkovInstance *instance, const TTTable &table)
{
    float format = (float)tt_s16(table, 0) + (float)tt_u16(table, 2) / 65536.0F;
    tt_reportError(instance, LINE_POST_FORMAT, "Postscript table in wrong format %.1g",
                   (double)format);
}

} // namespace

void readPost(ZelkovInstance *instance, TTFont *font, const TTTable &table)
{
    if (!table.data) {
        font->namesFromCodes = true;
        return;
    }
    font->post.italicAngle = tt_s16(table, 4);
    font->post.italicAngleFraction = tt_u16(table, 6);
    font->post.underlinePosition = tt_s16(table, 8);
    font->post.underlineThickness = tt_s16(table, 10);
    font->post.isFixedPitch = tt_u32(table, 12);

    switch (tt_u32(table, 0)) {
    case FORMAT_STANDARD_NAMES:
        nameInStandardOrder(font);
        break;
    case FORMAT_CUSTOM_NAMES:
        nameByIndex(instance, font, table);
        break;
    case FORMAT_NAME_OFFSETS:
        nameByOffset(font, table);
        break;
    case FORMAT_NO_NAMES:
        font->namesFromCodes = true;
        break;
    default:
        unknownFormat(instance, table);
    }
}
