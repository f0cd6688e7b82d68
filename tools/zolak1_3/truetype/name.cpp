/*
 * name.cpp - the `name` table
 *
 * The strings come out as single bytes: dropping the zero bytes turns the UTF-16 of ASCII text
 * into ASCII text.  Of several records for one name the last counts, so only that one is copied;
 * records can overlap, and copying all of them would let a small font ask for gigabytes.
 */
#include "tools/zolak1_3/truetype/name.h"

#include <algorithm>

#include "tools/zolak1_3/truetype/report.h"

namespace {

constexpr size_t RECORDS_START = 6;
constexpr size_t RECORD_BYTES = 12;

enum Platform : uint16_t { PLATFORM_MACINTOSH = 1, PLATFORM_MICROSOFT = 3 };

/* The low byte of a Microsoft language ID is the language, the high byte its region. */
constexpr unsigned LANGUAGE_NEUTRAL = 0;
constexpr unsigned LANGUAGE_ENGLISH = 9;

/* The texts of the names in the table's storage; null data where there is none. */
struct NameTexts {
    TTTable texts[TT_NAME_COUNT];
};

TTTable recordText(const TTTable &table, size_t record)
{
    size_t storage = tt_u16(table, 4);
    TTTable text = tt_from(table, storage + tt_u16(table, record + 10));
    text.size = std::min<size_t>(text.size, tt_u16(table, record + 8));
    return text;
}

/* Collects the names of one platform; false when no record belongs to it. */
bool collectNames(NameTexts *names, const TTTable &table, Platform platform)
{
    bool seen = false;
    size_t count = tt_u16(table, 2);
    for (size_t i = 0; i < count; i++) {
        size_t record = RECORDS_START + i * RECORD_BYTES;
        if (tt_u16(table, record) != platform)
            continue;
        seen = true;
        unsigned language = tt_u16(table, record + 4) & 0xFFU;
        unsigned nameID = tt_u16(table, record + 6);
        if ((language == LANGUAGE_NEUTRAL || language == LANGUAGE_ENGLISH) &&
            nameID < TT_NAME_COUNT)
            names->texts[nameID] = recordText(table, record);
    }
    return seen;
}

bool isControl(uint8_t byte)
{
    return byte < ' ' || byte == 0x7F;
}

/* Writes the text as it may stand inside a PostScript string, and its terminator, to `to`, which
 * has room for twice the text and one byte more; answers the end.  The PostScript name also
 * stands in a comment line, which it must not end. */
char *copyText(char *to, const TTTable &text, int nameID)
{
    for (size_t i = 0; i < text.size; i++) {
        uint8_t byte = tt_u8(text, i);
        if (byte == 0)
            continue;
        if (byte == '(')
            byte = '[';
        else if (byte == ')')
            byte = ']';
        else if (byte == '\\')
            *to++ = '\\';
        else if (nameID == TT_NAME_POSTSCRIPT && isControl(byte))
            byte = ' ';
        *to++ = (char)byte;
    }
    *to++ = 0;
    return to;
}

/* One area receives the strings one after another. */
void copyNames(ZelkovInstance *instance, TTFont *font, const NameTexts &names)
{
    size_t room = 0;
    for (const TTTable &text : names.texts)
        room += 2 * text.size + 1;
    char *area = static_cast<char *>(zalloc(font->zone, room));
    if (!area) {
        tt_reportOutOfMemory(instance, LINE_FONT_MEMORY);
        return;
    }
    for (int nameID = 0; nameID < TT_NAME_COUNT; nameID++)
        if (names.texts[nameID].data) {
            font->names[nameID] = area;
            area = copyText(area, names.texts[nameID], nameID);
        }
}

} // namespace

void readNames(ZelkovInstance *instance, TTFont *font, const TTTable &table)
{
    NameTexts names = {};
    std::fill_n(font->names, TT_NAME_COUNT, nullptr);
    if (!collectNames(&names, table, PLATFORM_MICROSOFT) &&
        !collectNames(&names, table, PLATFORM_MACINTOSH)) {
        tt_reportError(instance, LINE_NO_FONT_NAMES, "Cannot decode font name fields");
        return;
    }
    copyNames(instance, font, names);
}
