/*
 * attribute.cpp - stores attribute values by name and finds keywords
 */
#include "zelkov/attribute.h"

#include <cstdint>
#include <cstring>
#include <string>

#include "zelkov/host.h"
#include "zelkov/text.h"

namespace {

const AttributeEntry *findAttribute(const AttributeEntry *table, const char *name)
{
    for (; table->name; table++)
        if (matchesKeyword(name, table->name))
            return table;
    return nullptr;
}

/* The integers begin after the last text slot, at a multiple of their size. */
size_t integerArea(const AttributeEntry *table)
{
    size_t texts = 0;
    for (; table->name; table++)
        if (table->storage.area == AREA_TEXTS)
            texts++;
    size_t bytes = texts * TEXT_BYTES;
    return (bytes + sizeof(int32_t) - 1) / sizeof(int32_t) * sizeof(int32_t);
}

std::string wholeNumber(float value)
{
    return std::to_string((int64_t)value);
}

int storeText(const AttributeEntry *entry, char *texts, const char *value)
{
    size_t length = lenstr(value);
    if ((float)length > entry->bound) {
        host_say("Value of " + plainKeyword(entry->name) + " is longer than " +
                 wholeNumber(entry->bound) + " characters");
        return CLASSOPT_TOO_LONG;
    }
    memcpy(texts + entry->storage.position * TEXT_BYTES, value, length + 1);
    return CLASSOPT_STORED;
}

int storeInteger(const AttributeEntry *entry, char *integers, int32_t value)
{
    int status = CLASSOPT_STORED;
    if ((double)value > (double)entry->bound) {
        std::string bound = wholeNumber(entry->bound);
        host_say("Value of " + plainKeyword(entry->name) + " is above " + bound + "; " + bound +
                 " is used");
        value = (int32_t)entry->bound;
        status = CLASSOPT_CLAMPED;
    }
    memcpy(integers + entry->storage.position * sizeof value, &value, sizeof value);
    return status;
}

} // namespace

int classopt(const char *, const AttributeEntry *table, void *storage, const char *name,
             const void *value, int32_t type)
{
    const AttributeEntry *entry = findAttribute(table, name);
    if (!entry)
        return CLASSOPT_UNKNOWN;
    if (entry->storage.type != type)
        return CLASSOPT_WRONG_TYPE;

    char *bytes = static_cast<char *>(storage);
    if (entry->storage.area == AREA_TEXTS)
        return storeText(entry, bytes, static_cast<const char *>(value));
    int32_t integer;
    memcpy(&integer, value, sizeof integer);
    return storeInteger(entry, bytes + integerArea(table), integer);
}

const void *findkeyword(const char *keyword, const void *table, size_t entrySize)
{
    for (const char *entry = static_cast<const char *>(table);; entry += entrySize) {
        const char *candidate;
        memcpy(&candidate, entry, sizeof candidate);
        if (!candidate)
            return nullptr;
        if (cmpstr(candidate, keyword) == 0)
            return entry;
    }
}
