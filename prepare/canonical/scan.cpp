/*
 * scan.cpp - the scanner of canonical content
 */
#include "prepare/canonical/scan.h"

#include <cstdint>
#include <cstring>

#include "prepare/model/plain.h"

namespace prepare {

namespace {

/* ---- bytes */

enum ByteClass : uint8_t {
    SPACE = 1,     /* white space */
    DELIMITER = 2, /* of PostScript and PDF alike */
    DIGIT = 4,
    NAME_BYTE = 8, /* of plain names */
    HEX_DIGIT = 16,
    STRING_END = 32 /* what the scanner of strings stops at */
};

constexpr std::array<uint8_t, 256> makeBytes()
{
    std::array<uint8_t, 256> bytes{};
    for (char c : {'\0', '\t', '\n', '\f', '\r', ' '})
        bytes[(uint8_t)c] = SPACE;
    for (char c : {'(', ')', '<', '>', '[', ']', '{', '}', '/', '%'})
        bytes[(uint8_t)c] = DELIMITER;
    for (int c = '0'; c <= '9'; c++)
        bytes[(size_t)c] = DIGIT | NAME_BYTE | HEX_DIGIT;
    for (int c = 0; c < 26; c++)
        for (int first : {'A', 'a'})
            bytes[(size_t)(first + c)] = (uint8_t)(NAME_BYTE | (c < 6 ? HEX_DIGIT : 0));
    for (char c : {'.', '_', '-', '+'})
        bytes[(uint8_t)c] = NAME_BYTE;
    for (char c : {'(', ')', '\\'})
        bytes[(uint8_t)c] |= STRING_END;
    return bytes;
}

constexpr std::array<uint8_t, 256> bytes = makeBytes();

bool is(char c, uint8_t classes)
{
    return (bytes[(uint8_t)c] & classes) != 0;
}

bool endsToken(const Scanner *s)
{
    return s->at == s->end || is(*s->at, SPACE | DELIMITER);
}

} // namespace

void skipSpace(Scanner *s)
{
    while (s->at < s->end && is(*s->at, SPACE))
        s->at++;
}

bool scanNumber(Scanner *s)
{
    constexpr std::string_view GREATEST = "2147483647"; /* whole part: an integer of 32 bits */
    const char *begin = s->at;
    if (*s->at == '+' || *s->at == '-')
        s->at++;
    const char *first = s->at;
    while (s->at < s->end && is(*s->at, DIGIT))
        s->at++;
    long whole = s->at - first, part = 0;
    if (s->at < s->end && *s->at == '.') {
        const char *point = s->at++;
        while (s->at < s->end && is(*s->at, DIGIT))
            s->at++;
        part = s->at - point - 1;
    }
    bool isInRange =
        whole < (long)GREATEST.size() ||
        (whole == (long)GREATEST.size() && std::string_view(first, GREATEST.size()) <= GREATEST);
    return whole + part > 0 && isInRange && s->at - begin <= (long)MAX_NUMBER_BYTES && endsToken(s);
}

namespace {

bool scanName(Scanner *s)
{
    const char *begin = ++s->at;
    while (s->at < s->end && is(*s->at, NAME_BYTE))
        s->at++;
    s->name = {begin, (size_t)(s->at - begin)};
    return !s->name.empty() && s->name.size() <= MAX_RESOURCE_NAME && endsToken(s);
}

/* Behind a backslash. */
bool scanEscape(Scanner *s)
{
    if (s->atEnd())
        return false;
    char c = *s->at++;
    if (c < '0' || c > '7')
        return memchr("nrtbf\\()\r\n", c, 10) != nullptr;
    const char *first = s->at;
    while (s->at < s->end && s->at - first < 2 && *s->at >= '0' && *s->at <= '7')
        s->at++;
    return s->at - first < 2 || c < '4'; /* no more than a byte */
}

bool scanString(Scanner *s)
{
    const char *begin = s->at;
    size_t depth = 0;
    while (!s->atEnd()) {
        char c = *s->at++;
        if (!is(c, STRING_END))
            continue;
        if (c == '(')
            depth++;
        else if (c == ')' && --depth == 0)
            return (size_t)(s->at - begin) <= MAX_STRING_BYTES;
        else if (c == '\\' && !scanEscape(s))
            return false;
    }
    return false;
}

bool scanHex(Scanner *s)
{
    const char *begin = ++s->at;
    while (s->at < s->end && is(*s->at, HEX_DIGIT | SPACE))
        s->at++;
    if (s->atEnd() || *s->at != '>')
        return false;
    s->at++;
    return (size_t)(s->at - begin) <= MAX_STRING_BYTES;
}

} // namespace

bool scanText(Scanner *s)
{
    return *s->at == '(' ? scanString(s) : scanHex(s);
}

namespace {

bool scanArray(Scanner *s, char *kind)
{
    *kind = NUMBERS;
    s->at++;
    for (size_t count = 0; count <= MAX_ARRAY_ITEMS; count++) {
        skipSpace(s);
        if (s->atEnd())
            return false;
        char c = *s->at;
        if (c == ']') {
            s->at++;
            return true;
        }
        bool isText = c == '(' || (c == '<' && s->end - s->at > 1 && s->at[1] != '<');
        if (isText)
            *kind = ARRAY;
        if (!(isText                                             ? scanText(s)
              : is(c, DIGIT) || c == '-' || c == '+' || c == '.' ? scanNumber(s)
                                                                 : false))
            return false;
    }
    return false;
}

/* "true", "false" or "null" */
bool scanWord(Scanner *s)
{
    for (std::string_view word : {"true", "false", "null"})
        if ((size_t)(s->end - s->at) >= word.size() &&
            std::string_view(s->at, word.size()) == word) {
            s->at += word.size();
            return endsToken(s);
        }
    return false;
}

/* A number, a string, a name or a word. */
bool scanSimple(Scanner *s)
{
    char c = *s->at;
    if (c == '/')
        return scanName(s);
    if (c == '(' || c == '<')
        return scanText(s);
    return is(c, DIGIT) || c == '-' || c == '+' || c == '.' ? scanNumber(s) : scanWord(s);
}

/* A simple value, or an array of them. */
bool scanMarkValue(Scanner *s)
{
    if (*s->at != '[')
        return scanSimple(s);
    s->at++;
    for (size_t count = 0;; count++) {
        skipSpace(s);
        if (s->atEnd())
            return false;
        if (*s->at == ']') {
            s->at++;
            return true;
        }
        if (count == MAX_MARK_ITEMS || !scanSimple(s))
            return false;
    }
}

/* Behind "<<": plain names, each with a value. */
bool scanDictionary(Scanner *s)
{
    for (size_t count = 0;; count++) {
        skipSpace(s);
        if (s->end - s->at < 2)
            return false;
        if (s->at[0] == '>' && s->at[1] == '>') {
            s->at += 2;
            return true;
        }
        if (count == MAX_MARK_ITEMS || *s->at != '/' || !scanName(s))
            return false;
        skipSpace(s);
        if (s->atEnd() || !scanMarkValue(s))
            return false;
    }
}

/* An operand, which begins with this byte; its kind, or 0. */
char scanOperand(Scanner *s, char c)
{
    char kind = 0;
    std::string_view name = s->name; /* those in dictionaries name nothing */
    switch (c) {
    case '/':
        return scanName(s) ? NAME : 0;
    case '(':
        return scanString(s) ? STRING : 0;
    case '[':
        return scanArray(s, &kind) ? kind : 0;
    case '<':
        if (s->end - s->at < 2 || s->at[1] != '<')
            return scanHex(s) ? STRING : 0;
        s->at += 2;
        kind = scanDictionary(s) ? DICTIONARY : 0;
        s->name = name;
        return kind;
    default:
        return 0;
    }
}

} // namespace

bool takes(const Operator &op, std::string_view kinds)
{
    if (op.is(SETS_COLOUR))
        return !kinds.empty() && kinds.size() <= MAX_COLOUR_VALUES &&
               kinds.find_first_not_of(NUMBER) == kinds.npos;
    if (op.id == Op::UNKNOWN || kinds.size() != op.types.size())
        return false;
    for (size_t i = 0; i < kinds.size(); i++) {
        char wanted = op.types[i], given = kinds[i];
        bool isKind = given == wanted || (wanted == 'a' && given == NUMBERS) ||
                      (wanted == 'p' && (given == NAME || given == DICTIONARY));
        if (!isKind)
            return false;
    }
    return true;
}

const Operator *scanOperation(Scanner *s)
{
    s->count = 0;
    for (;;) {
        skipSpace(s);
        if (s->atEnd())
            return nullptr;
        char c = *s->at;
        uint8_t kind = bytes[(uint8_t)c];
        if ((kind & DIGIT) || c == '-' || c == '.' || c == '+') {
            if (s->count == MOST_OPERANDS || !scanNumber(s))
                return nullptr;
            s->kinds[s->count++] = NUMBER;
            continue;
        }
        if (kind & DELIMITER) {
            char operand = s->count < MOST_OPERANDS ? scanOperand(s, c) : 0;
            if (!operand)
                return nullptr;
            s->kinds[s->count++] = operand;
            continue;
        }
        const char *begin = s->at;
        do
            s->at++;
        while (!endsToken(s));
        const Operator &op = operatorOf({begin, (size_t)(s->at - begin)});
        return takes(op, {s->kinds.data(), s->count}) ? &op : nullptr;
    }
}

int categoryOf(Op op)
{
    switch (op) {
    case Op::PAINT_OBJECT:
        return XOBJECT;
    case Op::FONT_SIZE:
        return FONT;
    case Op::GRAPHICS_STATE:
        return EXTGSTATE;
    case Op::FILL_SPACE:
    case Op::STROKE_SPACE:
        return COLORSPACE;
    default:
        return CATEGORIES;
    }
}

} // namespace prepare
