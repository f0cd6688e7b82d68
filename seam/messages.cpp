/*
 * messages.cpp - the table of messages, sentences, and lines written and read
 */
#include "seam/messages.h"

#include <algorithm>
#include <charconv>
#include <functional>

namespace seam {

namespace {

constexpr MessageRow ROWS[] = {
#define MESSAGE(code, key, severity, sentence, advice)                                             \
    {Message::code, #code, #key, Severity::severity, sentence, advice},
#define CONVERTER(key, said, severity, sentence, advice)
#include "seam/messages.def"
#undef MESSAGE
#undef CONVERTER
};

constexpr ConverterRow CONVERTER_ROWS[] = {
#define MESSAGE(code, key, severity, sentence, advice)
#define CONVERTER(key, said, severity, sentence, advice)                                           \
    {key, Said::said, Severity::severity, sentence, advice},
#include "seam/messages.def"
#undef MESSAGE
#undef CONVERTER
};

constexpr std::string_view LETTERS = "DWLE";
constexpr std::string_view MARK = "PREPARE-", PAGE = "Page ";
constexpr size_t MAX_NOTICES = 200;
constexpr size_t MAX_COUNTED = 100000; /* of those that find no room */
constexpr size_t MAX_TEXT_BYTES = 2000;

/* The length of the UTF-8 character at the front of a text; 0: there is none, or it is one that
 * drives terminals. */
size_t characterAt(std::string_view text)
{
    auto byte = [&](size_t i) { return i < text.size() ? (unsigned char)text[i] : 0u; };
    unsigned first = byte(0);
    if (first < 0x80)
        return first >= 0x20 && first != 0x7F ? 1 : 0;
    size_t length = first >= 0xC2 && first < 0xE0   ? 2
                    : first >= 0xE0 && first < 0xF0 ? 3
                    : first >= 0xF0 && first < 0xF5 ? 4
                                                    : 0;
    for (size_t i = 1; i < length; i++)
        if ((byte(i) & 0xC0) != 0x80)
            return 0;
    bool isControl = first == 0xC2 && byte(1) < 0xA0;
    bool isOverlong = (first == 0xE0 && byte(1) < 0xA0) || (first == 0xF0 && byte(1) < 0x90);
    bool isBeyond = (first == 0xED && byte(1) >= 0xA0) || (first == 0xF4 && byte(1) >= 0x90);
    return isControl || isOverlong || isBeyond ? 0 : length;
}

/* A sentence with values in its places; a place for which there is none gets a '?'. */
std::string filled(std::string_view sentence, std::initializer_list<std::string_view> values)
{
    std::string text;
    const std::string_view *value = values.begin();
    while (!sentence.empty()) {
        size_t open = sentence.find('{');
        text += sentence.substr(0, open);
        if (open == std::string_view::npos)
            break;
        text += value != values.end() ? plainText(*value++) : "?";
        sentence.remove_prefix(sentence.find('}', open) + 1);
    }
    return text;
}

const ConverterRow *converterRowOf(Said said, std::string_view key)
{
    for (const ConverterRow &row : CONVERTER_ROWS)
        if (row.key == key && row.said == said)
            return &row;
    return nullptr;
}

bool isKey(std::string_view text)
{
    constexpr size_t LONGEST = 20;
    auto isLetter = [](char c) { return (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9'); };
    return !text.empty() && text.size() <= LONGEST &&
           std::all_of(text.begin(), text.end(), isLetter);
}

/* Reads "Page 3: " off the front; 0 when it does not stand there. */
int readPage(std::string_view *text)
{
    if (!text->starts_with(PAGE))
        return 0;
    const char *from = text->data() + PAGE.size(), *end = text->data() + text->size();
    int page = 0;
    auto [rest, fault] = std::from_chars(from, end, page);
    if (fault != std::errc() || page < 1 || !std::string_view(rest, end).starts_with(": "))
        return 0;
    text->remove_prefix((size_t)(rest - text->data()) + 2);
    return page;
}

} // namespace

char letterOf(Severity severity)
{
    return LETTERS[(size_t)severity];
}

std::span<const MessageRow> messages()
{
    return ROWS;
}

const MessageRow &rowOf(Message message)
{
    return ROWS[(size_t)message];
}

std::span<const ConverterRow> converterRows()
{
    return CONVERTER_ROWS;
}

std::string plainText(std::string_view value, size_t most)
{
    constexpr std::string_view CUT = "...";
    bool isCut = value.size() > most;
    size_t room = isCut ? most - CUT.size() : most;
    std::string text;
    while (!value.empty()) {
        size_t length = characterAt(value);
        if (text.size() + std::max<size_t>(length, 1) > room)
            break;
        text += length > 0 ? value.substr(0, length) : "?";
        value.remove_prefix(std::max<size_t>(length, 1));
    }
    return isCut ? text.append(CUT) : text;
}

std::string sentence(Message message, std::initializer_list<std::string_view> values)
{
    return filled(rowOf(message).sentence, values);
}

Notice notice(Message message, int page, std::initializer_list<std::string_view> values)
{
    const MessageRow &row = rowOf(message);
    return {row.severity, row.key, page, filled(row.sentence, values)};
}

/* ---- all messages of a document */

void Notices::leaveOut(const Notice &notice)
{
    if (more.size() < MAX_COUNTED)
        more.insert(std::hash<std::string>{}(lineOf(notice)));
}

void Notices::add(Notice notice)
{
    if (std::find(shown.begin(), shown.end(), notice) != shown.end())
        return;
    if (shown.size() < MAX_NOTICES) {
        shown.push_back(std::move(notice));
        return;
    }
    auto isLess = [](const Notice &a, const Notice &b) { return a.severity < b.severity; };
    auto least = std::min_element(shown.begin(), shown.end(), isLess);
    if (isLess(*least, notice))
        std::swap(*least, notice);
    leaveOut(notice);
}

bool Notices::hasAny(Severity least) const
{
    return std::any_of(shown.begin(), shown.end(),
                       [&](const Notice &n) { return n.severity >= least; });
}

/* ---- lines between programs */

std::string lineOf(const Notice &notice)
{
    std::string line(MARK);
    line += letterOf(notice.severity);
    line += "-" + notice.key + ": ";
    if (notice.page > 0)
        line.append(PAGE).append(std::to_string(notice.page)).append(": ");
    return line + plainText(notice.text, MAX_TEXT_BYTES);
}

std::vector<std::string> linesOf(const Notices &notices)
{
    std::vector<std::string> lines;
    for (const Notice &one : notices)
        lines.push_back(lineOf(one));
    if (size_t count = notices.moreCount())
        lines.push_back(lineOf(notice(Message::More, 0, {std::to_string(count)})));
    return lines;
}

Notice readLine(std::string_view line)
{
    Notice foreign = notice(Message::ForeignLine, 0, {line});
    if (!line.starts_with(MARK))
        return foreign;
    std::string_view rest = line.substr(MARK.size());
    size_t letter = rest.empty() ? std::string_view::npos : LETTERS.find(rest[0]);
    size_t colon = rest.find(": ");
    if (letter == std::string_view::npos || colon == std::string_view::npos || colon < 2 ||
        rest[1] != '-' || !isKey(rest.substr(2, colon - 2)))
        return foreign;
    std::string_view text = rest.substr(colon + 2);
    int page = readPage(&text);
    return {(Severity)letter, std::string(rest.substr(2, colon - 2)), page,
            plainText(text, MAX_TEXT_BYTES)};
}

/* ---- the converter's messages */

Notice fromConverter(Said said, std::string_view key, int page, std::string_view text)
{
    if (said == Said::ERROR && page > 0)
        return notice(Message::PageCut, page, {text});
    Severity severity = said == Said::ERROR  ? Severity::ERROR
                        : said == Said::INFO ? Severity::DETAIL
                                             : Severity::LOSS;
    const ConverterRow *row = converterRowOf(said, key);
    std::string_view sentence = row ? row->sentence : "{text}";
    return {row ? row->severity : severity, std::string(key), page, filled(sentence, {text})};
}

} // namespace seam
