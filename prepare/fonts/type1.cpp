/*
 * type1.cpp - the reader of Type 1 programs
 *
 * The text is read token by token for the few names that matter; charstrings and subroutines are
 * the bytes that follow a count and one of the words that read bytes.  Nothing is executed: that is
 * enough for programs in the form that "Adobe Type 1 Font Format", chapters 2 and 10, asks for.
 */
#include "prepare/fonts/type1.h"

#include <algorithm>
#include <cmath>
#include <set>

#include "prepare/fonts/eexec.h"
#include "prepare/model/tokens.h"

namespace prepare {

namespace {

constexpr size_t MAX_ARRAY = 64;

/* The numbers between brackets of either kind, or one number. */
std::vector<double> readNumbers(ContentReader *reader)
{
    std::vector<double> numbers;
    Token token = readToken(reader);
    if (token.kind == TokenKind::NUMBER)
        return {numberValue(token)};
    if (token.source == "true")
        return {1};
    if (token.kind != TokenKind::ARRAY_BEGIN && token.source != "{")
        return {};
    for (token = readToken(reader); token.kind == TokenKind::NUMBER && numbers.size() < MAX_ARRAY;
         token = readToken(reader))
        numbers.push_back(numberValue(token));
    return numbers;
}

/* "dup 65 /A put" up to "def"; or the name of the standard one. */
void readEncodingArray(ContentReader *reader, Encoding *encoding)
{
    Token before{TokenKind::END, {}};
    for (int i = 0; i < 4096; i++) {
        Token token = readToken(reader);
        if (token.kind == TokenKind::END || token.source == "def" || token.source == "readonly")
            return;
        if (token.source == "StandardEncoding") {
            *encoding = *namedEncoding("/StandardEncoding");
            return;
        }
        if (token.kind == TokenKind::NAME && before.kind == TokenKind::NUMBER) {
            double code = numberValue(before);
            if (code >= 0 && code < 256 && token.source != "/.notdef")
                (*encoding)[(size_t)code] = std::string(token.source.substr(1));
        }
        if (token.kind == TokenKind::WORD && token.source.substr(0, 2) == "8#") {
            /* octal codes; the digits are read below as a number */
            double code = 0;
            for (char c : token.source.substr(2))
                code = code * 8 + (c - '0');
            Token name = readToken(reader);
            if (name.kind == TokenKind::NAME && code >= 0 && code < 256)
                (*encoding)[(size_t)code] = std::string(name.source.substr(1));
        }
        before = token;
    }
}

void readClearPart(std::string_view text, Type1Program *program)
{
    ContentReader reader{text};
    for (Token token = readToken(&reader); token.kind != TokenKind::END;
         token = readToken(&reader)) {
        if (token.source == "/FontMatrix") {
            std::vector<double> numbers = readNumbers(&reader);
            if (numbers.size() == 6 && numbers[0] * numbers[3] - numbers[1] * numbers[2] != 0)
                std::copy(numbers.begin(), numbers.end(), program->matrix);
        } else if (token.source == "/Encoding") {
            readEncodingArray(&reader, &program->encoding);
        }
    }
}

/* Hint values and the operators that they have in compact fonts. */
struct PrivateName {
    const char *name;
    int number;
    bool isArray, isPairs;
};

constexpr PrivateName privateNames[] = {
    {"/BlueValues", 6, true, true},         {"/OtherBlues", 7, true, true},
    {"/FamilyBlues", 8, true, true},        {"/FamilyOtherBlues", 9, true, true},
    {"/StdHW", 10, false, false},           {"/StdVW", 11, false, false},
    {"/BlueScale", 1209, false, false},     {"/BlueShift", 1210, false, false},
    {"/BlueFuzz", 1211, false, false},      {"/StemSnapH", 1212, true, false},
    {"/StemSnapV", 1213, true, false},      {"/ForceBold", 1214, false, false},
    {"/LanguageGroup", 1217, false, false},
};

void keepPrivate(const PrivateName &row, std::vector<double> numbers, Type1Program *program)
{
    constexpr size_t MOST = 14;
    auto isOdd = [](double v) { return !(std::fabs(v) <= 16000); };
    if (numbers.empty() || numbers.size() > MOST || (row.isPairs && numbers.size() % 2) ||
        std::any_of(numbers.begin(), numbers.end(), isOdd))
        return;
    if (!row.isArray)
        numbers.erase(numbers.begin() + 1, numbers.end());
    for (size_t i = numbers.size(); row.isArray && i-- > 1;) {
        numbers[i] -= numbers[i - 1];
        if (numbers[i] < 0)
            return; /* such arrays rise */
    }
    for (const auto &[number, values] : program->privateValues)
        if (number == row.number)
            return;
    program->privateValues.emplace_back(row.number, numbers);
}

/* What has been seen of a private part. */
struct PrivateReader {
    ContentReader reader;
    Type1Program *program;
    std::set<std::string, std::less<>> byteWords = {"RD", "-|"};
    Token before[2] = {{TokenKind::END, {}}, {TokenKind::END, {}}}; /* the last one first */
    double lenIV = 4;
    bool hasUnread = false; /* multiple masters */
};

/* The bytes behind a word that reads them; false when they are not all there. */
bool readCounted(PrivateReader *r, std::string *bytes)
{
    double count = numberValue(r->before[0]);
    std::string_view all = r->reader.content;
    if (count < 0 || r->reader.at >= all.size() || count > (double)(all.size() - r->reader.at - 1))
        return false;
    std::string_view counted = all.substr(r->reader.at + 1, (size_t)count);
    r->reader.at += 1 + (size_t)count;
    *bytes = r->lenIV < 0 ? std::string(counted)
                          : decrypted(counted, CHARSTRING_KEY, (size_t)std::min(r->lenIV, 64.0));
    return true;
}

void readPrivateName(PrivateReader *r, const Token &token)
{
    if (token.source == "/lenIV") {
        std::vector<double> value = readNumbers(&r->reader);
        r->lenIV = value.empty() ? 4 : value[0];
    }
    if (token.source == "/WeightVector" || token.source == "/BlendDesignPositions")
        r->hasUnread = true;
    for (const PrivateName &row : privateNames)
        if (token.source == row.name)
            keepPrivate(row, readNumbers(&r->reader), r->program);
    /* "/X {string currentfile exch readstring pop}": X reads bytes. */
    size_t at = r->reader.at;
    if (readToken(&r->reader).source == "{" && readToken(&r->reader).source == "string")
        r->byteWords.insert(std::string(token.source.substr(1)));
    r->reader.at = at;
}

/* "dup 5 33 RD bytes" and "/A 120 RD bytes". */
void readBytes(PrivateReader *r)
{
    std::string bytes;
    Token owner = r->before[1];
    if (!readCounted(r, &bytes))
        return;
    if (owner.kind == TokenKind::NAME)
        r->program->charstrings.emplace(owner.source.substr(1), std::move(bytes));
    else if (owner.kind == TokenKind::NUMBER)
        r->program->subrs.emplace((int)numberValue(owner), std::move(bytes));
}

void readPrivatePart(PrivateReader *r)
{
    for (Token token = readToken(&r->reader); token.kind != TokenKind::END;
         token = readToken(&r->reader)) {
        if (token.kind == TokenKind::NAME)
            readPrivateName(r, token);
        if (token.kind == TokenKind::WORD && r->before[0].kind == TokenKind::NUMBER &&
            r->byteWords.count(token.source))
            readBytes(r);
        r->before[1] = r->before[0];
        r->before[0] = token;
    }
}

} // namespace

std::optional<Type1Program> readType1(const std::string &data)
{
    std::string joined = withoutSegments(data);
    Type1Program program;
    size_t clearSize = 0;
    std::string text = privatePart(joined, &clearSize);
    readClearPart(std::string_view(joined).substr(0, clearSize), &program);
    PrivateReader reader;
    reader.reader.content = text;
    reader.program = &program;
    readPrivatePart(&reader);
    bool hasMasters = std::string_view(joined).substr(0, clearSize).find("/WeightVector") !=
                      std::string_view::npos;
    if (reader.hasUnread || hasMasters || program.charstrings.empty())
        return std::nullopt;
    return program;
}

} // namespace prepare
