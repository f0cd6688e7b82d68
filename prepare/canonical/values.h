/*
 * values.h - dictionaries by tables: which keys one may have, and what each may hold
 *
 * What stands in no table, or is not of its kind, is not written.  A new dictionary is made for
 * each that is read, so nothing comes along by accident.
 */
#ifndef PREPARE_CANONICAL_VALUES_H
#define PREPARE_CANONICAL_VALUES_H

#include <initializer_list>
#include <span>
#include <string>

#include "prepare/model/objects.h"

namespace prepare {

enum class ValueKind {
    INTEGER, /* from low to high */
    NUMBER,  /* the same, with fractions */
    NUMBERS, /* an array of `count` numbers from low to high */
    BOOLEAN,
    WORD, /* one of `words`, with blanks between them */
};

struct Field {
    const char *key;
    ValueKind kind;
    double low = 0, high = 0;
    int count = 0;
    const char *words = "";
};

constexpr double LARGEST_NUMBER = 1e9; /* of any sign; all integers up to it have 32 bits */

/* The value as the field has it, made anew; null: it is none. */
QPDFObjectHandle plainValue(const Field &field, QPDFObjectHandle value);

/* A dictionary with those of the fields that are as they are to be. */
QPDFObjectHandle plainDictionary(std::span<const Field> fields, QPDFObjectHandle source);

/* A number between two bounds, as an object; integers stay such. */
QPDFObjectHandle plainNumber(QPDFObjectHandle number, double low, double high);

QPDFObjectHandle newNumbers(std::initializer_list<double> numbers);

} // namespace prepare

#endif
