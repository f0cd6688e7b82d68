/*
 * attribute.h - attributes of instances: tables of named, typed, bounded values
 *
 * A class describes its attributes in one table; the values lie in the instance record, first the
 * texts, one slot of 257 bytes each, then, at the next multiple of 4, the 32-bit integers.
 */
#ifndef ZELKOV_ATTRIBUTE_H
#define ZELKOV_ATTRIBUTE_H

#include <cstddef>
#include <cstdint>

/* Type codes of values. */
enum ZelkovType : uint8_t {
    TYPE_INTEGER = 1, /* passed as a pointer to an int32_t */
    TYPE_TEXT = 4,    /* passed as the text */
    TYPE_FLAG = 9,    /* passed as a pointer to an int32_t */
};

/* Areas of an instance's attribute storage. */
enum ZelkovArea : uint8_t { AREA_TEXTS = 0, AREA_INTEGERS = 1 };

constexpr size_t TEXT_CHARACTERS = 256;
constexpr size_t TEXT_BYTES = TEXT_CHARACTERS + 1;

/* Where and how a value is stored. */
struct AttributeStorage {
    uint8_t type; /* a ZelkovType */
    uint8_t zero;
    uint8_t area;     /* a ZelkovArea */
    uint8_t position; /* slot in the area */
};

constexpr uint32_t ATTRIBUTE_NUMERIC = 0x40000;

struct AttributeEntry {
    const char *name; /* a '*' marks the shortest abbreviation; null ends the table */
    AttributeStorage storage;
    uint32_t kind; /* ATTRIBUTE_NUMERIC for integers and flags, 0 for texts */
    uint32_t zero;
    float bound; /* the largest integer, or the most characters of a text */
};

enum ClassoptStatus {
    CLASSOPT_STORED = 0,
    CLASSOPT_UNKNOWN = 1,
    CLASSOPT_WRONG_TYPE = 2,
    CLASSOPT_CLAMPED = 3,  /* the bound is stored */
    CLASSOPT_TOO_LONG = 4, /* the attribute keeps its value */
};

/* Stores `value`, of type code `type`, in the attribute that `name` names (abbreviated or in
 * full, without regard to case).  `storage` is the attribute storage of one instance.  Clamping
 * and refusing write a line on standard error. */
int classopt(const char *title, const AttributeEntry *table, void *storage, const char *name,
             const void *value, int32_t type);

/* The entry of a table whose keyword equals `keyword`, or null.  Every entry has `entrySize`
 * bytes and begins with a const char * to its keyword; a null one ends the table. */
const void *findkeyword(const char *keyword, const void *table, size_t entrySize);

#endif
