/*
 * pages.cpp - lists of pages, read, resolved and handed over
 */
#include "seam/pages.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdint>
#include <fstream>
#include <set>
#include <sstream>

namespace seam {

namespace {

constexpr int HIGHEST_PAGE = 1 << 30;
constexpr PagePosition FIRST_PAGE = {1, false}, LAST_PAGE = {1, true};
constexpr size_t MOST_WARNINGS = 20;
constexpr char PAGE_MAP_MARK[] = "pages ";

/* ---- reading */

std::string_view withoutBlanks(std::string_view text)
{
    constexpr char BLANKS[] = " \t";
    size_t begin = text.find_first_not_of(BLANKS);
    if (begin == std::string_view::npos)
        return "";
    return text.substr(begin, text.find_last_not_of(BLANKS) + 1 - begin);
}

bool readNumber(std::string_view text, int *number)
{
    auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), *number);
    bool isWhole = error == std::errc() && end == text.data() + text.size();
    return isWhole && text[0] != '-' && *number <= HIGHEST_PAGE;
}

/* "12", "r3", "z", "last" */
bool readPosition(std::string_view text, PagePosition *position)
{
    text = withoutBlanks(text);
    if (text == "z" || text == "last") {
        *position = LAST_PAGE;
        return true;
    }
    position->isFromEnd = text.starts_with("r");
    text.remove_prefix(position->isFromEnd ? 1 : 0);
    return !text.empty() && readNumber(text, &position->number) && position->number >= 1;
}

bool readSet(std::string_view text, PageSet *set)
{
    text = withoutBlanks(text);
    *set = text == "odd" ? PageSet::ODD : PageSet::EVEN;
    return text == "odd" || text == "even";
}

/* Does `first` stand behind `last` in every document that is long enough? */
bool runsBackwards(PagePosition first, PagePosition last)
{
    if (first.isFromEnd != last.isFromEnd)
        return first.isFromEnd;
    return first.isFromEnd ? first.number < last.number : first.number > last.number;
}

/* "5", "2-5", "9-" */
bool readEnds(std::string_view text, PageRange *range)
{
    size_t dash = text.find('-');
    if (!readPosition(text.substr(0, dash), &range->first))
        return false;
    range->last = range->first;
    if (dash == std::string_view::npos)
        return true;
    std::string_view rest = withoutBlanks(text.substr(dash + 1));
    range->last = LAST_PAGE;
    return rest.empty() || readPosition(rest, &range->last);
}

bool readRange(std::string_view text, PageRange *range)
{
    range->text = text;
    range->set = PageSet::ALL;
    if (readSet(text, &range->set)) {
        range->first = FIRST_PAGE;
        range->last = LAST_PAGE;
        range->isReversed = false;
        return true;
    }
    range->set = PageSet::ALL;
    size_t colon = text.find(':');
    if (!readEnds(text.substr(0, colon), range))
        return false;
    range->isReversed = runsBackwards(range->first, range->last);
    return colon == std::string_view::npos || readSet(text.substr(colon + 1), &range->set);
}

/* ---- resolving */

bool isOfSet(int page, PageSet set)
{
    return set == PageSet::ALL || (page % 2 != 0) == (set == PageSet::ODD);
}

/* The page's number; below 1 or beyond the count: there is none. */
int resolve(PagePosition position, int pageCount)
{
    return position.isFromEnd ? pageCount + 1 - position.number : position.number;
}

/* The pages of a part that exist; first > last: none.  In the document's order. */
struct Span {
    int first, last;
    int step; /* 2 where one set is left out */
};

Span spanOf(const PageRange &range, int pageCount)
{
    int first = resolve(range.first, pageCount), last = resolve(range.last, pageCount);
    if (range.isReversed)
        std::swap(first, last);
    Span span = {std::max(first, 1), std::min(last, pageCount), 1};
    if (range.set == PageSet::ALL)
        return span;
    span.first += isOfSet(span.first, range.set) ? 0 : 1;
    span.last -= isOfSet(span.last, range.set) ? 0 : 1;
    span.step = 2;
    return span;
}

/* Adds the pages of a span; false when the list becomes too long. */
bool add(const Span &span, bool isReversed, size_t most, std::vector<int> *numbers)
{
    size_t count = (size_t)((span.last - span.first) / span.step) + 1;
    if (count > most - numbers->size())
        return false;
    int page = isReversed ? span.last : span.first;
    for (size_t i = 0; i < count; i++, page += isReversed ? -span.step : span.step)
        numbers->push_back(page);
    return true;
}

std::string countOf(int pageCount)
{
    return pageCount == 1 ? "1 page" : std::to_string(pageCount) + " pages";
}

/* The whole list's own set, by places in the list, and direction. */
void applyToWhole(const PageRanges &ranges, std::vector<int> *numbers)
{
    if (ranges.set != PageSet::ALL) {
        size_t kept = 0;
        for (size_t at = ranges.set == PageSet::ODD ? 0 : 1; at < numbers->size(); at += 2)
            (*numbers)[kept++] = (*numbers)[at];
        numbers->resize(kept);
    }
    if (ranges.isReversed)
        std::reverse(numbers->begin(), numbers->end());
}

/* The pages two by two, as they lie on the sheets of a booklet: on the front of the first one the
 * last page beside the first, on its back the second beside the last but one, and so on.  Sheets
 * have four pages: the booklet ends with blank ones. */
std::vector<int> asBooklet(std::vector<int> pages)
{
    pages.resize((pages.size() + 3) / 4 * 4, BLANK_PAGE);
    std::vector<int> folded;
    folded.reserve(pages.size());
    for (size_t front = 0, back = pages.size(); front < back; front += 2, back -= 2)
        folded.insert(folded.end(),
                      {pages[back - 1], pages[front], pages[front + 1], pages[back - 2]});
    return folded;
}

std::vector<int> repeated(const std::vector<int> &pages, int times)
{
    std::vector<int> all;
    all.reserve(pages.size() * (size_t)times);
    for (int page : pages)
        all.insert(all.end(), (size_t)times, page);
    return all;
}

} // namespace

bool readPageRanges(std::string_view text, PageRanges *ranges, std::string *fault)
{
    ranges->parts.clear();
    std::string_view rest = text;
    do {
        size_t comma = rest.find(',');
        PageRange range;
        std::string_view part = withoutBlanks(rest.substr(0, comma));
        if (!readRange(part, &range)) {
            *fault = "Not a list of pages, such as 2-5,9,12-: " + std::string(text);
            return false;
        }
        ranges->parts.push_back(std::move(range));
        rest.remove_prefix(std::min(comma, rest.size() - 1) + 1);
    } while (!rest.empty());
    return true;
}

bool isRising(const PageRanges &ranges)
{
    if (ranges.isReversed || ranges.isBooklet || ranges.times > 1)
        return false;
    /* So long that nothing counted from the beginning meets what is counted from the end. */
    constexpr int64_t LONG_DOCUMENT = 4 * (int64_t)HIGHEST_PAGE;
    int64_t before = 0;
    for (const PageRange &range : ranges.parts) {
        auto place = [&](PagePosition position) {
            return position.isFromEnd ? LONG_DOCUMENT - position.number : (int64_t)position.number;
        };
        if (range.isReversed || place(range.first) <= before)
            return false;
        before = place(range.last);
    }
    return true;
}

ChosenPages choosePages(const PageRanges &ranges, int pageCount)
{
    const PageRange whole = {FIRST_PAGE, LAST_PAGE, PageSet::ALL, false, ""};
    const size_t most = std::max(MOST_CHOSEN_PAGES, (size_t)pageCount);
    ChosenPages chosen;
    std::set<std::string_view> missing;
    const std::vector<PageRange> all = {whole};
    for (const PageRange &range : ranges.parts.empty() ? all : ranges.parts) {
        Span span = spanOf(range, pageCount);
        if (span.first > span.last) {
            if (missing.insert(range.text).second && missing.size() <= MOST_WARNINGS)
                chosen.warnings.push_back(
                    notice(Message::PartNotThere, 0, {range.text, countOf(pageCount)}));
        } else if (!add(span, range.isReversed, most, &chosen.numbers)) {
            return {{}, {}, notice(Message::PagesTooMany, 0, {std::to_string(most)})};
        }
    }
    if (missing.size() > MOST_WARNINGS)
        chosen.warnings.push_back(
            notice(Message::PartsNotThere, 0, {std::to_string(missing.size() - MOST_WARNINGS)}));
    if (pageCount == 0)
        return {{}, {}, notice(Message::NoPages, 0)};
    if (chosen.numbers.empty())
        return {{}, {}, notice(Message::PagesNotThere, 0, {countOf(pageCount)})};
    applyToWhole(ranges, &chosen.numbers);
    if (chosen.numbers.empty())
        return {{}, {}, notice(Message::NoEvenPage, 0)};
    if (ranges.isBooklet)
        chosen.numbers = asBooklet(std::move(chosen.numbers));
    if (ranges.times > 1 && chosen.numbers.size() > most / (size_t)ranges.times)
        return {{}, {}, notice(Message::PagesTooMany, 0, {std::to_string(most)})};
    if (ranges.times > 1)
        chosen.numbers = repeated(chosen.numbers, ranges.times);
    return chosen;
}

bool isRising(const std::vector<int> &numbers)
{
    return std::adjacent_find(numbers.begin(), numbers.end(),
                              [](int a, int b) { return a >= b; }) == numbers.end();
}

/* ---- page maps */

std::string pageMapText(const std::vector<int> &numbers)
{
    /* The count comes first, so that what has lost its end is known for it. */
    std::string text = PAGE_MAP_MARK + std::to_string(numbers.size()) + "\n";
    for (int number : numbers)
        text.append(std::to_string(number)).append("\n");
    return text;
}

bool readPageMap(std::string_view text, std::vector<int> *numbers)
{
    numbers->clear();
    if (!text.starts_with(PAGE_MAP_MARK))
        return false;
    text.remove_prefix(sizeof PAGE_MAP_MARK - 1);
    int count = -1;
    while (!text.empty()) {
        size_t end = text.find('\n');
        int number;
        if (end == std::string_view::npos || !readNumber(text.substr(0, end), &number))
            return false;
        text.remove_prefix(end + 1);
        if (count < 0)
            count = number;
        else if (number < 0)
            return false;
        else
            numbers->push_back(number);
    }
    return count >= 0 && numbers->size() == (size_t)count;
}

bool writePageMapFile(const std::string &path, const std::vector<int> &numbers)
{
    errno = 0;
    std::ofstream file(path, std::ios::binary);
    file << pageMapText(numbers);
    file.close();
    return file.good();
}

bool readPageMapFile(const std::string &path, std::vector<int> *numbers)
{
    errno = 0;
    std::ifstream file(path, std::ios::binary);
    std::ostringstream all;
    all << file.rdbuf();
    std::string text = std::move(all).str();
    if (readPageMap(text, numbers))
        return true;
    errno = errno ? errno : EINVAL;
    return false;
}

} // namespace seam
