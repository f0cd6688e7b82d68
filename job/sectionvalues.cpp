/*
 * sectionvalues.cpp - numbers, names, patterns and dictionaries of a section
 */
#include "job/sectionreader.h"

#include <algorithm>
#include <cfloat>
#include <charconv>
#include <cmath>

namespace job {

/* ---- small pieces */

bool SectionReader::refuse(const char *why)
{
    if (cause.empty())
        cause = in.fault ? in.fault : why;
    return false;
}

bool SectionReader::expect(TokenKind kind, const char *why)
{
    return in.next().kind == kind || refuse(why);
}

bool SectionReader::word(std::string_view text)
{
    const Token &token = in.next();
    return (token.kind == TokenKind::WORD && token.is(text)) ||
           refuse("a word stands where another one is due");
}

/* Where the runtime reads by lines or bytes, just these are there. */
bool SectionReader::literal(std::string_view bytes)
{
    return in.follows(bytes) || refuse("a line is not as it must be");
}

bool SectionReader::name(std::string *text, size_t longest)
{
    const Token &token = in.next();
    if (token.kind != TokenKind::NAME)
        return refuse("a name is missing");
    if (token.name().size() > longest)
        return refuse("a name is too long");
    *text = token.name();
    return true;
}

double valueOf(const Token &token)
{
    std::string_view text = token.text;
    text.remove_prefix(text[0] == '+');
    double value = 0;
    auto end = std::from_chars(text.data(), text.data() + text.size(), value);
    return end.ec != std::errc() || std::fabs(value) > FLT_MAX ? HUGE_VAL : value;
}

bool isInRange(const Token &token)
{
    return token.isNumber() && std::isfinite(valueOf(token));
}

bool SectionReader::number()
{
    return isInRange(in.next()) || refuse("a number is missing or out of range");
}

bool SectionReader::whole(int64_t *value, int64_t least, int64_t most)
{
    const Token &token = in.next();
    double read = token.kind == TokenKind::INTEGER ? valueOf(token) : HUGE_VAL;
    if (!(read >= (double)least && read <= (double)most))
        return refuse("a whole number is missing or out of range");
    *value = (int64_t)read;
    return true;
}

bool SectionReader::numbers(int64_t least, int64_t most)
{
    if (!expect(TokenKind::OPEN_ARRAY, "an array is missing"))
        return false;
    for (int64_t count = 0;; count++) {
        const Token &token = in.next();
        if (token.kind == TokenKind::CLOSE_ARRAY)
            return (count >= least && count <= most) || refuse("an array has another length");
        if (!isInRange(token) || count == most)
            return refuse("an array holds other than numbers, or too many");
    }
}

/* ---- patterns of procedures */

namespace {

std::string_view nextOf(std::string_view *pattern)
{
    size_t blank = std::min(pattern->find(' '), pattern->size());
    std::string_view piece = pattern->substr(0, blank);
    pattern->remove_prefix(std::min(blank + 1, pattern->size()));
    return piece;
}

bool matches(const Token &token, std::string_view piece)
{
    if (piece == "#")
        return isInRange(token);
    if (piece == "#n")
        return token.kind == TokenKind::INTEGER && valueOf(token) >= 0 &&
               valueOf(token) <= MOST_OUTPUTS;
    return token.is(piece);
}

} // namespace

/* Reads one of the patterns, none of which begins another one; -1, and a reason: it is none. */
int SectionReader::oneOf(std::span<const std::string_view> patterns)
{
    std::string_view rest[4];
    bool isOut[4] = {};
    std::copy(patterns.begin(), patterns.end(), rest);
    for (;;) {
        const Token &token = in.next();
        bool isAny = false;
        for (size_t i = 0; i < patterns.size(); i++) {
            isOut[i] = isOut[i] || !matches(token, nextOf(&rest[i]));
            if (!isOut[i] && rest[i].empty())
                return (int)i;
            isAny |= !isOut[i];
        }
        if (!isAny) {
            refuse("a procedure is none that the converter writes");
            return -1;
        }
    }
}

bool SectionReader::words(std::string_view pattern)
{
    return oneOf({&pattern, 1}) == 0;
}

/* ---- dictionaries */

bool SectionReader::dictionary(std::span<const Key> keys, Entries *entries)
{
    for (;;) {
        const Token &token = in.next();
        if (token.kind == TokenKind::CLOSE_DICT)
            return true;
        if (token.kind != TokenKind::NAME)
            return refuse("a dictionary holds something that is no key");
        auto key = std::find_if(keys.begin(), keys.end(),
                                [&](const Key &one) { return one.name == token.name(); });
        if (key == keys.end())
            return refuse("a dictionary has a key that is not known");
        size_t row = (size_t)(key - keys.begin());
        if (entries->has(row))
            return refuse("a dictionary has a key twice");
        entries->present |= 1u << row;
        if (!value(*key, entries, row))
            return false;
    }
}

bool SectionReader::value(const Key &key, Entries *entries, size_t row)
{
    std::string text;
    switch (key.value) {
    case Value::INTEGER:
        return whole(&entries->numbers[row], key.least, key.most);
    case Value::NUMBER:
        return number();
    case Value::BOOLEAN:
        entries->numbers[row] = in.next().is("true");
        return entries->numbers[row] || in.last().is("false") || refuse("true or false is missing");
    case Value::NAME:
        if (!name(&text, LONGEST_NAME))
            return false;
        if (key.name == "Name")
            entries->name = text;
        return true;
    case Value::NUMBERS:
        return numbers(key.least, key.most);
    case Value::DIFFERENCES:
        return differences();
    case Value::EXTERNAL:
        return external(entries);
    case Value::FILTERS:
        return filters();
    case Value::PARAMETERS:
        return parameters();
    case Value::SPACE:
        return space(&entries->components, 0);
    case Value::FUNCTION:
    case Value::FUNCTIONS:
        if (!functionNames(key.value == Value::FUNCTIONS))
            return false;
        entries->numbers[row] = !in.last().is("/Identity") && !in.last().is("/Default");
        return true;
    case Value::HALFTONE:
        if (!halftone(0))
            return false;
        entries->numbers[row] = !in.last().is("_defaulthalftone");
        return true;
    }
    return false;
}

bool SectionReader::differences()
{
    if (!expect(TokenKind::OPEN_ARRAY, "an array is missing"))
        return false;
    for (size_t count = 0; count <= MOST_ITEMS; count++) {
        const Token &token = in.next();
        if (token.kind == TokenKind::CLOSE_ARRAY)
            return true;
        if (token.kind != TokenKind::NAME && token.kind != TokenKind::INTEGER)
            return refuse("an encoding holds other than codes and names");
    }
    return refuse("an array is too long");
}

bool SectionReader::external(Entries *entries)
{
    if (!expect(TokenKind::STRING, "a string is missing"))
        return false;
    std::string_view text = in.last().text;
    entries->name = text.substr(1, text.size() - 2);
    return true;
}

bool SectionReader::filters()
{
    constexpr int MOST_FILTERS = 8;
    auto isKnown = [](const Token &token) {
        return token.kind == TokenKind::NAME &&
               std::find(std::begin(filterNames), std::end(filterNames), token.name()) !=
                   std::end(filterNames);
    };
    if (in.next().kind != TokenKind::OPEN_ARRAY)
        return isKnown(in.last()) || refuse("a filter is not known");
    for (int count = 0; in.next().kind != TokenKind::CLOSE_ARRAY; count++)
        if (count == MOST_FILTERS || !isKnown(in.last()))
            return refuse("a filter is not known, or there are too many");
    return true;
}

bool SectionReader::parameters()
{
    if (in.next().kind == TokenKind::OPEN_DICT)
        return parameterDictionary();
    if (in.last().kind != TokenKind::OPEN_ARRAY)
        return refuse("parameters of a filter are no dictionary");
    while (in.next().kind != TokenKind::CLOSE_ARRAY) {
        if (in.last().is("null"))
            continue;
        if (in.last().kind != TokenKind::OPEN_DICT)
            return refuse("parameters of a filter are no dictionary");
        if (!parameterDictionary())
            return false;
    }
    return true;
}

/* A predictor keeps rows in memory. */
bool SectionReader::parameterDictionary()
{
    constexpr int64_t MOST_ROW_BITS = 8 << 24;
    Entries given;
    if (!dictionary(parameterKeys, &given))
        return false;
    constexpr int64_t defaults[] = {1, 8, 1};
    int64_t row = 1;
    for (size_t i = PARAMETER_COLORS; i <= PARAMETER_COLUMNS; i++)
        row *= given.has(i) ? given.numbers[i] : defaults[i - PARAMETER_COLORS];
    return row <= MOST_ROW_BITS || refuse("the rows of a filter are too long");
}

bool SectionReader::functionNames(bool isArray)
{
    if (in.next().kind == TokenKind::NAME)
        return true;
    if (!isArray || in.last().kind != TokenKind::OPEN_ARRAY)
        return refuse("a function's name is missing");
    for (int count = 0; in.next().kind != TokenKind::CLOSE_ARRAY; count++)
        if (count == 4 || in.last().kind != TokenKind::NAME)
            return refuse("functions are other than four names");
    return true;
}

} // namespace job
