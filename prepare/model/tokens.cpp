/*
 * tokens.cpp - the reader of page content
 *
 * One function for each kind of token and one switch that picks it.  Damaged content is read as
 * viewers read it: what begins nothing is skipped, what does not end ends with the content.
 */
#include "prepare/model/tokens.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>

namespace prepare {

namespace {

enum CharClass : uint8_t { REGULAR, WHITE, DELIMITER };

constexpr std::array<uint8_t, 256> makeClasses()
{
    std::array<uint8_t, 256> classes{};
    for (char c : {'\0', '\t', '\n', '\f', '\r', ' '})
        classes[(uint8_t)c] = WHITE;
    for (char c : {'(', ')', '<', '>', '[', ']', '{', '}', '/', '%'})
        classes[(uint8_t)c] = DELIMITER;
    return classes;
}

constexpr std::array<uint8_t, 256> classes = makeClasses();

bool isRegular(char c)
{
    return classes[(uint8_t)c] == REGULAR;
}

int hexValue(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    return -1;
}

void skipSpace(ContentReader *r)
{
    std::string_view s = r->content;
    for (; r->at < s.size(); r->at++) {
        if (s[r->at] == '%')
            r->at = std::min(s.find_first_of("\r\n", r->at), s.size());
        if (r->at == s.size() || !isWhite(s[r->at]))
            return;
    }
}

/* From an opening parenthesis to behind its closing one. */
void skipString(ContentReader *r)
{
    std::string_view s = r->content;
    size_t depth = 0;
    for (; r->at < s.size(); r->at++) {
        if (s[r->at] == '\\')
            r->at++;
        else if (s[r->at] == '(')
            depth++;
        else if (s[r->at] == ')' && --depth == 0)
            break;
    }
    r->at = std::min(r->at + 1, s.size());
}

void skipRegular(ContentReader *r)
{
    while (r->at < r->content.size() && isRegular(r->content[r->at]))
        r->at++;
}

bool looksNumeric(std::string_view word)
{
    for (char c : word)
        if (!(c >= '0' && c <= '9') && c != '+' && c != '-' && c != '.')
            return false;
    return true;
}

/* "1.5e-3": no number by the rules, but one that producers write, and readers take. */
bool looksExponential(std::string_view word)
{
    size_t mark = word.find_first_of("eE");
    if (mark == word.npos || mark == 0 || !looksNumeric(word.substr(0, mark)))
        return false;
    bool hasDigits = word.find_first_of("0123456789") < mark;
    std::string_view power = word.substr(mark + 1);
    if (!power.empty() && (power[0] == '+' || power[0] == '-'))
        power.remove_prefix(1);
    return hasDigits && !power.empty() && power.find_first_not_of("0123456789") == power.npos;
}

TokenKind skipAngle(ContentReader *r)
{
    std::string_view s = r->content;
    bool isDouble = r->at + 1 < s.size() && s[r->at + 1] == s[r->at];
    if (s[r->at] == '>') {
        r->at += isDouble ? 2 : 1;
        return isDouble ? TokenKind::DICT_END : TokenKind::JUNK;
    }
    if (isDouble) {
        r->at += 2;
        return TokenKind::DICT_BEGIN;
    }
    r->at = std::min(s.find('>', r->at), s.size() - 1) + 1;
    return TokenKind::HEX_STRING;
}

/* Behind one byte that is a token of its own. */
TokenKind one(ContentReader *r, TokenKind kind)
{
    r->at++;
    return kind;
}

TokenKind skipToken(ContentReader *r)
{
    size_t begin = r->at;
    switch (r->content[begin]) {
    case '(':
        skipString(r);
        return TokenKind::STRING;
    case '<':
    case '>':
        return skipAngle(r);
    case '/':
        r->at++;
        skipRegular(r);
        return TokenKind::NAME;
    case '[':
        return one(r, TokenKind::ARRAY_BEGIN);
    case ']':
        return one(r, TokenKind::ARRAY_END);
    case ')':
    case '{':
    case '}':
        return one(r, TokenKind::JUNK);
    default:
        break;
    }
    skipRegular(r);
    std::string_view word = r->content.substr(begin, r->at - begin);
    return looksNumeric(word) || looksExponential(word) ? TokenKind::NUMBER : TokenKind::WORD;
}

/* Is this what may follow an inline image: white space, the end, or text? */
bool endsImage(std::string_view s, size_t at)
{
    if (at < s.size() && isRegular(s[at]))
        return false;
    constexpr size_t LOOK_AHEAD = 12;
    for (size_t i = at; i < std::min(s.size(), at + LOOK_AHEAD); i++)
        if (((uint8_t)s[i] < 32 && !isWhite(s[i])) || (uint8_t)s[i] > 126 || s[i] == '\0')
            return false;
    return true;
}

/* Components of a space by its name or the first of its array; 0: that takes more to tell. */
size_t inlineComponents(std::string_view space)
{
    if (space == "/G" || space == "/DeviceGray" || space == "/I" || space == "/Indexed")
        return 1;
    return space == "/RGB" || space == "/DeviceRGB"     ? 3
           : space == "/CMYK" || space == "/DeviceCMYK" ? 4
                                                        : 0;
}

/* The bytes of an inline image's data by its entries; 0: they do not tell, as where a filter has
 * been over it. */
size_t inlineLength(const std::vector<Token> &entries)
{
    constexpr double LARGEST = 1 << 20;
    double width = 0, height = 0, bits = 8;
    size_t components = 0;
    bool isMask = false;
    for (size_t i = 0; i + 1 < entries.size(); i++) {
        std::string_view key = entries[i].source, value = entries[i + 1].source;
        if (key == "/F" || key == "/Filter")
            return 0;
        if (key == "/W" || key == "/Width")
            width = numberValue(entries[i + 1]);
        else if (key == "/H" || key == "/Height")
            height = numberValue(entries[i + 1]);
        else if (key == "/BPC" || key == "/BitsPerComponent")
            bits = numberValue(entries[i + 1]);
        else if (key == "/IM" || key == "/ImageMask")
            isMask = value == "true";
        else if (key == "/CS" || key == "/ColorSpace")
            components = inlineComponents(
                value == "[" && i + 2 < entries.size() ? entries[i + 2].source : value);
    }
    if (isMask) {
        bits = 1;
        components = 1;
    }
    if (!(width >= 1 && width <= LARGEST && height >= 1 && height <= LARGEST && bits >= 1 &&
          bits <= 16))
        return 0;
    return ((size_t)width * (size_t)bits * components + 7) / 8 * (size_t)height;
}

/* Behind data of that length, and behind its "EI"; nothing where that does not stand there. */
bool skipKnownData(ContentReader *r, size_t length, Token *data)
{
    std::string_view s = r->content;
    size_t begin = r->at, at = begin + length;
    if (length == 0 || length > s.size() - begin)
        return false;
    while (at < s.size() && isWhite(s[at]))
        at++;
    if (s.substr(at, 2) != "EI" || (at + 2 < s.size() && isRegular(s[at + 2])))
        return false;
    *data = {TokenKind::INLINE_DATA, s.substr(begin, at - begin)};
    r->at = at + 2;
    return true;
}

/* Behind "ID": the data up to its "EI", and behind that. */
Token skipInlineData(ContentReader *r, const std::vector<Token> &entries)
{
    std::string_view s = r->content;
    if (r->at < s.size() && isWhite(s[r->at]))
        r->at++;
    if (Token data; skipKnownData(r, inlineLength(entries), &data))
        return data;
    size_t begin = r->at;
    for (size_t at = s.find("EI", begin); at != s.npos; at = s.find("EI", at + 1)) {
        if ((at > begin && !isWhite(s[at - 1])) || !endsImage(s, at + 2))
            continue;
        r->at = at + 2;
        return {TokenKind::INLINE_DATA, s.substr(begin, at - begin)};
    }
    r->at = s.size();
    return {TokenKind::INLINE_DATA, s.substr(begin)};
}

/* Behind "BI": entries, "ID", data, "EI". */
void readInlineImage(ContentReader *r, Operation *operation)
{
    for (;;) {
        Token token = readToken(r);
        if (token.kind == TokenKind::END || operation->operands.size() > MAX_OPERANDS)
            return;
        if (token.kind == TokenKind::WORD && token.source == "EI")
            return;
        if (token.kind == TokenKind::WORD && token.source == "ID") {
            operation->operands.push_back(skipInlineData(r, operation->operands));
            return;
        }
        operation->operands.push_back(token);
    }
}

bool isOperator(const Token &token)
{
    return token.kind == TokenKind::WORD && token.source != "true" && token.source != "false" &&
           token.source != "null";
}

} // namespace

bool isWhite(char c)
{
    return classes[(uint8_t)c] == WHITE;
}

std::string_view Operation::leadingSpace() const
{
    size_t size = 0;
    while (size < source.size() && isWhite(source[size]))
        size++;
    return source.substr(0, size);
}

Token readToken(ContentReader *reader)
{
    skipSpace(reader);
    size_t begin = reader->at;
    if (begin >= reader->content.size())
        return {TokenKind::END, {}};
    TokenKind kind = skipToken(reader);
    return {kind, reader->content.substr(begin, reader->at - begin)};
}

bool readOperation(ContentReader *reader, Operation *operation)
{
    size_t begin = reader->at;
    operation->operands.clear();
    operation->name = {};
    operation->op = &operatorOf({});
    for (;;) {
        Token token = readToken(reader);
        bool full = operation->operands.size() >= MAX_OPERANDS;
        if (token.kind == TokenKind::END || full) {
            if (full)
                reader->at = reader->content.size();
            operation->source = reader->content.substr(begin, reader->at - begin);
            return false;
        }
        if (!isOperator(token)) {
            operation->operands.push_back(token);
            continue;
        }
        operation->name = token.source;
        operation->op = &operatorOf(token.source);
        if (token.source == "BI") {
            operation->operands.clear();
            readInlineImage(reader, operation);
        }
        operation->source = reader->content.substr(begin, reader->at - begin);
        return true;
    }
}

bool numbersOf(const Operation &operation, double *values, size_t count)
{
    if (operation.operands.size() < count)
        return false;
    size_t first = operation.operands.size() - count;
    for (size_t i = 0; i < count; i++) {
        const Token &token = operation.operands[first + i];
        if (token.kind != TokenKind::NUMBER)
            return false;
        values[i] = numberValue(token);
    }
    return true;
}

double numberValue(const Token &token)
{
    std::string_view s = token.source;
    bool negative = !s.empty() && s[0] == '-';
    while (!s.empty() && (s[0] == '-' || s[0] == '+'))
        s.remove_prefix(1); /* some producers write "--5" */
    double value = 0;
    auto read = std::from_chars(s.data(), s.data() + s.size(), value, std::chars_format::general);
    if (read.ec == std::errc::result_out_of_range) /* too small, or too large: "1e99" */
        value = s.find('-') == s.npos ? HUGE_VAL : 0;
    constexpr double LARGEST = 1e9;
    value = std::clamp(value, -LARGEST, LARGEST);
    return negative ? -value : value;
}

namespace {

/* Behind a backslash; appends what it means. */
void appendEscape(std::string_view s, size_t *at, std::string *text)
{
    static const char letters[] = "nrtbf", meant[] = "\n\r\t\b\f";
    char c = s[*at];
    if (c >= '0' && c <= '7') {
        int value = 0;
        for (int i = 0; i < 3 && *at < s.size() && s[*at] >= '0' && s[*at] <= '7'; i++)
            value = value * 8 + (s[(*at)++] - '0');
        text->push_back((char)value);
        return;
    }
    (*at)++;
    if (c == '\r') {
        if (*at < s.size() && s[*at] == '\n')
            (*at)++;
        return;
    }
    if (c == '\n')
        return;
    const char *letter = std::find(letters, letters + 5, c);
    text->push_back(letter < letters + 5 ? meant[letter - letters] : c);
}

std::string literalValue(std::string_view s)
{
    std::string text;
    size_t end = s.size() > 1 && s.back() == ')' ? s.size() - 1 : s.size();
    for (size_t at = 1; at < end;) {
        if (s[at] == '\\' && at + 1 < end) {
            at++;
            appendEscape(s.substr(0, end), &at, &text);
        } else if (s[at] == '\r') { /* an end of line is one line feed, however it is written */
            text.push_back('\n');
            at += at + 1 < end && s[at + 1] == '\n' ? 2 : 1;
        } else {
            text.push_back(s[at++]);
        }
    }
    return text;
}

std::string hexStringValue(std::string_view s)
{
    std::string text;
    int high = -1;
    for (char c : s) {
        int digit = hexValue(c);
        if (digit < 0)
            continue;
        if (high < 0) {
            high = digit;
            continue;
        }
        text.push_back((char)(high * 16 + digit));
        high = -1;
    }
    if (high >= 0)
        text.push_back((char)(high * 16));
    return text;
}

} // namespace

std::string stringValue(const Token &token)
{
    return token.kind == TokenKind::HEX_STRING ? hexStringValue(token.source)
                                               : literalValue(token.source);
}

std::string nameValue(std::string_view source)
{
    std::string name;
    for (size_t i = 0; i < source.size(); i++) {
        if (source[i] == '#' && i + 2 < source.size()) {
            int high = hexValue(source[i + 1]), low = hexValue(source[i + 2]);
            if (high >= 0 && low >= 0) {
                name.push_back((char)(high * 16 + low));
                i += 2;
                continue;
            }
        }
        name.push_back(source[i]);
    }
    return name;
}

std::string literalString(const std::string &bytes)
{
    std::string text = "(";
    for (char c : bytes) {
        if (c == '(' || c == ')' || c == '\\') {
            text.push_back('\\');
            text.push_back(c);
        } else if ((uint8_t)c < 32) {
            char octal[8];
            snprintf(octal, sizeof octal, "\\%03o", (unsigned)(uint8_t)c);
            text += octal;
        } else {
            text.push_back(c);
        }
    }
    text.push_back(')');
    return text;
}

std::string numberText(double value, int places)
{
    if (!std::isfinite(value))
        return "0";
    char text[400];
    snprintf(text, sizeof text, "%.*f", places, value);
    std::string s = text;
    s.erase(s.find_last_not_of('0') + 1);
    if (s.back() == '.')
        s.pop_back();
    return s == "-0" ? "0" : s;
}

std::string nameText(const std::string &name)
{
    std::string text = "/";
    for (size_t i = 1; i < name.size(); i++) {
        char c = name[i];
        if (isRegular(c) && c != '#' && (uint8_t)c > 32 && (uint8_t)c < 127) {
            text.push_back(c);
            continue;
        }
        char hex[4];
        snprintf(hex, sizeof hex, "#%02x", (unsigned)(uint8_t)c);
        text += hex;
    }
    return text;
}

} // namespace prepare
