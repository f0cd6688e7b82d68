/*
 * scan.h - goes over content an operation at a time, and says whether it is canonical
 *
 * Each byte is looked at once; nothing is kept of an operand but its kind, and the last name.
 */
#ifndef PREPARE_CANONICAL_SCAN_H
#define PREPARE_CANONICAL_SCAN_H

#include <array>
#include <string_view>

#include "prepare/model/operators.h"
#include "prepare/model/scope.h"

namespace prepare {

constexpr size_t MAX_NUMBER_BYTES = 32;
constexpr size_t MAX_STRING_BYTES = 65535; /* decoded */
constexpr size_t MAX_ARRAY_ITEMS = 400;    /* an array lies on the operand stack while it is read */
constexpr size_t MAX_COLOUR_VALUES = 4;
constexpr size_t MAX_MARK_ITEMS =
    50; /* keys of a dictionary in content, and values in its arrays */

/* Kinds of operands; the first letters are those of operators.def. */
enum Kind : char {
    NUMBER = 'n',
    STRING = 's',
    NAME = '/',
    NUMBERS = 'd', /* an array of numbers alone */
    ARRAY = 'a',   /* with strings */
    DICTIONARY = '<',
    OTHER = '?',
};

constexpr size_t MOST_OPERANDS = 6; /* of any operator */

struct Scanner {
    const char *at, *end;
    std::array<char, MOST_OPERANDS + 1> kinds{};
    size_t count = 0;
    std::string_view name = {}; /* the last one, without its slash */

    bool atEnd() const { return at == end; }
};

void skipSpace(Scanner *scanner);

/* Each goes over a number, or a string of either kind; false: it is not canonical, and the scanner
 * stands somewhere in it.  There is a byte that begins one. */
bool scanNumber(Scanner *scanner);
bool scanText(Scanner *scanner);

/* Are operands of these kinds those of the operator? */
bool takes(const Operator &op, std::string_view kinds);

/* Goes over one operation; null: it is not canonical, or the content ends in it. */
const Operator *scanOperation(Scanner *scanner);

/* What kind of resource an operator names; CATEGORIES: none. */
int categoryOf(Op op);

} // namespace prepare

#endif
