/*
 * tokens.cpp - the scanner
 *
 * A token is looked at in one piece: the window is filled until the longest one fits.  Byte classes
 * are those of the language: white space is six bytes, delimiters are ten, and the rest is regular,
 * of which only the printing ASCII characters stand in our text outside of strings.
 */
#include "job/tokens.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace job {

namespace {

constexpr size_t WINDOW_BYTES = 4 * LONGEST_TOKEN;

/* LITERAL: stands for itself in a string. */
enum Class : uint8_t { WHITE = 1, DIGIT = 2, REGULAR = 4, PLAIN = 8, HEX = 16, LITERAL = 32 };

constexpr std::array<uint8_t, 256> makeClasses()
{
    std::array<uint8_t, 256> classes = {};
    for (int byte = '!'; byte <= '~'; byte++)
        if (std::string_view("()<>[]{}/%").find((char)byte) == std::string_view::npos)
            classes[(size_t)byte] |= REGULAR;
    for (char c : std::string_view("\0\t\n\f\r ", 6))
        classes[(size_t)c] |= WHITE;
    for (int byte = 0; byte < 256; byte++)
        if (byte != '(' && byte != ')' && byte != '\\' && byte != '\r')
            classes[(size_t)byte] |= LITERAL;
    for (int byte = 0; byte < 128; byte++) {
        bool isDigit = byte >= '0' && byte <= '9';
        bool isLetter = (byte >= 'A' && byte <= 'Z') || (byte >= 'a' && byte <= 'z');
        uint8_t &set = classes[(size_t)byte];
        set |= isDigit ? DIGIT : 0;
        set |= isDigit || isLetter || byte == '.' || byte == '_' || byte == '-' || byte == '+'
                   ? PLAIN
                   : 0;
        set |= isDigit || (byte >= 'A' && byte <= 'F') || (byte >= 'a' && byte <= 'f') ? HEX : 0;
    }
    return classes;
}

constexpr std::array<uint8_t, 256> classes = makeClasses();

bool is(uint8_t byte, Class of)
{
    return classes[byte] & of;
}

const uint8_t *pastAll(const uint8_t *from, const uint8_t *end, Class of)
{
    while (from < end && is(*from, of))
        from++;
    return from;
}

} // namespace

/* ---- the window */

Scanner::Scanner(ReadBytes more)
    : at(nullptr), filled(nullptr), read(std::move(more)),
      window(std::make_unique_for_overwrite<uint8_t[]>(WINDOW_BYTES))
{
    at = filled = begun = window.get();
    fill(LONGEST_TOKEN);
}

/* Reads on until so many bytes lie in the window, or all. */
void Scanner::fill(size_t wanted)
{
    if (isAll || (size_t)(filled - at) >= wanted)
        return;
    size_t kept = (size_t)(filled - at);
    memmove(window.get(), at, kept);
    passed += (uint64_t)(at - begun);
    at = begun = window.get();
    while (kept < WINDOW_BYTES && !isAll) {
        size_t got = read(window.get() + kept, WINDOW_BYTES - kept);
        isAll = got == 0;
        kept += got;
    }
    filled = window.get() + kept;
    cut();
}

void Scanner::cut()
{
    uint64_t left = limitAt == UINT64_MAX ? UINT64_MAX : limitAt - position();
    end = left < (uint64_t)(filled - at) ? at + left : filled;
}

uint64_t Scanner::limit(uint64_t count)
{
    uint64_t earlier = limitAt;
    limitAt = std::min(earlier, position() + count);
    cut();
    return earlier;
}

void Scanner::unlimit(uint64_t earlier)
{
    limitAt = earlier;
    isAgain = false;
    cut();
}

bool Scanner::skip(uint64_t count)
{
    for (;;) {
        uint64_t step = std::min<uint64_t>(count, (uint64_t)(end - at));
        at += step;
        count -= step;
        if (count == 0)
            return true;
        if (isAll || end != filled)
            return false;
        fill(LONGEST_TOKEN);
    }
}

bool Scanner::follows(std::string_view bytes)
{
    fill(LONGEST_TOKEN);
    if ((size_t)(end - at) < bytes.size() || memcmp(at, bytes.data(), bytes.size()) != 0)
        return false;
    at += bytes.size();
    return true;
}

bool Scanner::comment()
{
    fill(LONGEST_TOKEN);
    return takesComments && end - at > 1 && at[0] == '%' && at[1] == ' ' && passComment();
}

/* ---- tokens */

const Token &Scanner::made(TokenKind kind, const uint8_t *from)
{
    token.kind = kind;
    token.text = {(const char *)from, (size_t)(at - from)};
    return token;
}

const Token &Scanner::failed(const char *why)
{
    if (!fault)
        fault = why;
    token.kind = TokenKind::FAULT;
    token.text = {};
    return token;
}

const Token &Scanner::number(const uint8_t *from)
{
    TokenKind kind = TokenKind::INTEGER;
    const uint8_t *to = from + (*from == '-' || *from == '+'), *first = to;
    token.hasExponent = false;
    to = pastAll(to, end, DIGIT);
    bool hasDigits = to > first;
    if (to < end && *to == '.') {
        first = ++to;
        to = pastAll(to, end, DIGIT);
        hasDigits |= to > first;
        kind = TokenKind::REAL;
    }
    if (hasDigits && to < end && (*to == 'e' || *to == 'E')) {
        to++;
        first = to += to < end && (*to == '-' || *to == '+');
        to = pastAll(to, end, DIGIT);
        hasDigits = to > first;
        token.hasExponent = true;
        kind = TokenKind::REAL;
    }
    at = to;
    if (!hasDigits || (to < end && is(*to, REGULAR)) || (size_t)(to - from) > LONGEST_NUMBER)
        return failed("a number is not well-formed");
    return made(kind, from);
}

const Token &Scanner::name(const uint8_t *from)
{
    bool isImmediate = at < end && *at == '/';
    at += isImmediate;
    const uint8_t *first = at;
    at = pastAll(at, end, PLAIN);
    if (at == first || (at < end && (is(*at, REGULAR) || *at >= 127)))
        return failed("a name is not plain");
    if ((size_t)(at - first) > LONGEST_NAME)
        return failed("a name is too long");
    return made(isImmediate ? TokenKind::IMMEDIATE : TokenKind::NAME, from);
}

const Token &Scanner::word(const uint8_t *from)
{
    at = pastAll(from, end, REGULAR);
    if (at == from)
        return failed("a byte is no character of a program");
    return made(TokenKind::WORD, from);
}

/* Behind a backslash in a string. */
bool Scanner::escape()
{
    if (at == end)
        return false;
    uint8_t byte = *at++;
    if (byte >= '0' && byte <= '7') {
        for (int i = 0; i < 2 && at < end && *at >= '0' && *at <= '7'; i++)
            at++;
        token.stringBytes++;
        return true;
    }
    if (byte == '\r' || byte == '\n') {
        at += byte == '\r' && at < end && *at == '\n';
        return true;
    }
    token.stringBytes++;
    return memchr("nrtbf\\()", byte, 8);
}

const Token &Scanner::string(const uint8_t *from)
{
    int depth = 1;
    token.stringBytes = 0;
    while (depth > 0) {
        const uint8_t *plain = at;
        at = pastAll(at, end, LITERAL);
        token.stringBytes += (size_t)(at - plain);
        if (at == end)
            return failed("a string does not end");
        uint8_t byte = *at++;
        if (byte == '\\') {
            if (!escape())
                return failed("an escape in a string is not known");
            continue;
        }
        if (byte == '\r')
            at += at < end && *at == '\n';
        depth += byte == '(' ? 1 : byte == ')' ? -1 : 0;
        token.stringBytes += depth > 0;
    }
    if (token.stringBytes > MOST_ITEMS || (size_t)(at - from) > LONGEST_TOKEN)
        return failed("a string is too long");
    return made(TokenKind::STRING, from);
}

const Token &Scanner::hexString(const uint8_t *from)
{
    size_t digits = 0;
    for (; at < end && *at != '>'; at++) {
        if (!is(*at, HEX) && !is(*at, WHITE))
            return failed("a string has other than hexadecimal digits");
        digits += is(*at, HEX);
    }
    if (at == end)
        return failed("a string does not end");
    at++;
    token.stringBytes = (digits + 1) / 2;
    if (token.stringBytes > MOST_ITEMS || (size_t)(at - from) > LONGEST_TOKEN)
        return failed("a string is too long");
    return made(TokenKind::STRING, from);
}

const Token &Scanner::bracket(const uint8_t *from)
{
    bool isTwice = at < end && *at == *from;
    switch (*from) {
    case '(':
        return string(from);
    case '<':
        if (!isTwice)
            return hexString(from);
        at++;
        return made(TokenKind::OPEN_DICT, from);
    case '>':
        if (!isTwice)
            return failed("a bracket stands alone");
        at++;
        return made(TokenKind::CLOSE_DICT, from);
    case '[':
        return made(TokenKind::OPEN_ARRAY, from);
    case ']':
        return made(TokenKind::CLOSE_ARRAY, from);
    case '{':
        return made(TokenKind::OPEN_PROCEDURE, from);
    case '}':
        return made(TokenKind::CLOSE_PROCEDURE, from);
    case ')':
        return failed("a bracket stands alone");
    default:
        return failed("a byte is no character of a program");
    }
}

/* Comments of a converted font: a line of printing characters, without a brace, up to a line feed.
 */
bool Scanner::passComment()
{
    while (at < end && *at != '\n') {
        if (*at < ' ' || *at == 127 || *at == '{' || *at == '}')
            return false;
        at++;
    }
    return at < end;
}

bool Scanner::passWhite()
{
    for (;;) {
        const uint8_t *first = at;
        at = pastAll(at, end, WHITE);
        if (at > first)
            white = at[-1];
        if (at == end && end == filled && !isAll) {
            fill(LONGEST_TOKEN);
            continue;
        }
        if (at == end || *at != '%')
            return true;
        if (!takesComments || !passComment())
            return false;
    }
}

const Token &Scanner::next()
{
    if (isAgain) {
        isAgain = false;
        return token;
    }
    white = 0;
    if (end - at >= 2 && is(at[0], WHITE) && !is(at[1], WHITE) && at[1] != '%')
        white = *at++; /* which is so nearly always */
    else if (!passWhite())
        return failed("a comment stands where none may stand");
    if (!isAll && (size_t)(filled - at) < LONGEST_TOKEN)
        fill(LONGEST_TOKEN);
    const uint8_t *from = at;
    if (at == end)
        return made(TokenKind::END, from);
    uint8_t first = *at++;
    if (is(first, DIGIT) || first == '-' || first == '+' || first == '.')
        return number(from);
    if (first == '/')
        return name(from);
    return is(first, REGULAR) || first >= 127 ? word(from) : bracket(from);
}

} // namespace job
