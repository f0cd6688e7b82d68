/*
 * labels.cpp - the number tree of page labels
 */
#include "job/labels.h"

#include <algorithm>

#include "tools/zolak1_3/pdf_to_ps/reader/lexer.h"
#include "tools/zolak1_3/pdf_to_ps/reader/names.h"
#include "tools/zolak1_3/pdf_to_ps/reader/strings.h"

namespace job {

namespace {

constexpr int32_t DEEPEST_TREE = 16;
constexpr size_t MOST_RANGES = 100000;
constexpr size_t LONGEST_LABEL = 200;

/* From page `first` (counted from 0) on. */
struct Range {
    int64_t first;
    std::string style, prefix;
    int64_t start;
};

std::string romanNumber(int64_t number)
{
    struct Digit {
        int value;
        const char *text;
    };
    constexpr Digit digits[] = {{1000, "m"}, {900, "cm"}, {500, "d"}, {400, "cd"}, {100, "c"},
                                {90, "xc"},  {50, "l"},   {40, "xl"}, {10, "x"},   {9, "ix"},
                                {5, "v"},    {4, "iv"},   {1, "i"}};
    std::string text;
    for (const Digit &digit : digits)
        for (; number >= digit.value && text.size() < LONGEST_LABEL; number -= digit.value)
            text += digit.text;
    return text;
}

std::string letterNumber(int64_t number)
{
    if (number < 1)
        return "";
    size_t count = std::min((size_t)((number - 1) / 26) + 1, LONGEST_LABEL);
    return std::string(count, (char)('a' + (number - 1) % 26));
}

std::string inCapitals(std::string text)
{
    for (char &c : text)
        c = (char)(c >= 'a' && c <= 'z' ? c - 32 : c);
    return text;
}

/* What can stand in a comment: UTF-16 becomes what of it is ASCII, and so does everything else. */
std::string printable(const std::string &bytes)
{
    bool isWide = bytes.size() >= 2 && (uint8_t)bytes[0] == 0xFE && (uint8_t)bytes[1] == 0xFF;
    std::string text;
    for (size_t at = isWide ? 3 : 0; at < bytes.size(); at += isWide ? 2 : 1) {
        bool isAscii = bytes[at] >= ' ' && bytes[at] <= '~' && (!isWide || bytes[at - 1] == 0);
        text += isAscii ? bytes[at] : '?';
    }
    return text;
}

std::string textEntry(ConversionRun *run, const PdfDict *dict, const char *key)
{
    if (findKey(run, dict, key) < 0)
        return "";
    PdfType type = peekType(run);
    if (type == PDF_NAME) {
        NamePtr name = readName(run);
        return name ? name.get() + 1 : "";
    }
    if (type != PDF_STRING)
        return "";
    StringPtr string = readString(run);
    return string ? printable(string.get()) : "";
}

void readRange(ConversionRun *run, int64_t first, std::vector<Range> *ranges)
{
    DictPtr dict = readDict(run);
    if (!dict)
        return;
    Range range = {first, textEntry(run, dict.get(), "/S"), textEntry(run, dict.get(), "/P"), 1};
    if (findKey(run, dict.get(), "/St") >= 0)
        range.start = readInteger(run);
    ranges->push_back(range);
}

void readTree(ConversionRun *run, int32_t depth, std::vector<Range> *ranges)
{
    DictPtr node = readDict(run);
    if (!node || depth > DEEPEST_TREE)
        return;
    if (findKey(run, node.get(), "/Nums") >= 0) {
        ArrayPtr numbers = readArray(run);
        for (int32_t i = 0; numbers && i + 1 < numbers->count; i += 2) {
            if (run->errorFlag || ranges->size() >= MOST_RANGES)
                return;
            fputp(run->input, numbers->items[i]);
            int64_t first = readInteger(run);
            fputp(run->input, numbers->items[i + 1]);
            readRange(run, first, ranges);
        }
    }
    if (findKey(run, node.get(), "/Kids") >= 0) {
        ArrayPtr kids = readArray(run);
        for (int32_t i = 0; kids && i < kids->count; i++) {
            if (run->errorFlag || ranges->size() >= MOST_RANGES)
                return;
            fputp(run->input, kids->items[i]);
            readTree(run, depth + 1, ranges);
        }
    }
}

} // namespace

std::string styledNumber(const std::string &style, int64_t number)
{
    if (style == "D")
        return std::to_string(number);
    if (style == "r" || style == "R")
        return style == "R" ? inCapitals(romanNumber(number)) : romanNumber(number);
    if (style == "a" || style == "A")
        return style == "A" ? inCapitals(letterNumber(number)) : letterNumber(number);
    return "";
}

void readLabels(ConversionRun *run, Plan *plan)
{
    fputp(run->input, run->rootPosition);
    DictPtr catalog = readDict(run);
    if (!catalog || findKey(run, catalog.get(), "/PageLabels") < 0)
        return;
    std::vector<Range> ranges;
    readTree(run, 0, &ranges);
    std::stable_sort(ranges.begin(), ranges.end(),
                     [](const Range &a, const Range &b) { return a.first < b.first; });
    for (PlannedPage &page : plan->pages) {
        int64_t at = page.inDocument - 1;
        auto behind = std::upper_bound(ranges.begin(), ranges.end(), at,
                                       [](int64_t a, const Range &b) { return a < b.first; });
        if (behind == ranges.begin())
            continue;
        const Range &range = behind[-1];
        std::string label =
            range.prefix + styledNumber(range.style, range.start + (at - range.first));
        if (!label.empty())
            page.label = label.substr(0, LONGEST_LABEL);
    }
}

} // namespace job
