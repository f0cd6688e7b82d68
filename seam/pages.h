/*
 * pages.h - lists of pages: "2-5,9,12-", "odd", "z-1"
 *
 * A list is read once, from the text that a person or a print system gives, and resolved once,
 * where the number of pages is known.  What comes out is the pages in the order of the list,
 * repeats included; everybody else is handed these numbers (a page map) and derives none again.
 */
#ifndef SEAM_PAGES_H
#define SEAM_PAGES_H

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "seam/messages.h"

namespace seam {

/* What a list may come to, repeats included; a document that has more pages may be taken whole. */
constexpr size_t MOST_CHOSEN_PAGES = 1000000;

/* A page, counted from 1: from the beginning, or from the end, where 1 is the last one. */
struct PagePosition {
    int number;
    bool isFromEnd;
};

enum class PageSet { ALL, ODD, EVEN }; /* by the page's number in the document */

/* One part of a list.  Which way it runs is known from its text, whatever the document's length:
 * backwards where its first page stands behind its last one in every document that is long enough.
 */
struct PageRange {
    PagePosition first, last;
    PageSet set;
    bool isReversed;
    std::string text; /* as it stands in the list */
};

/* A list of pages.  Without parts it names the whole document. */
struct PageRanges {
    std::vector<PageRange> parts;
    PageSet set = PageSet::ALL; /* by places in the list: the first, the third, ... are odd */
    bool isReversed = false;    /* the whole list, last page first */
    bool isBooklet = false; /* two a side, in the order of sheets that are folded in the middle */
    int times = 1;          /* each page so often, one after the other */

    bool isWholeDocument() const
    {
        return parts.empty() && set == PageSet::ALL && !isReversed && !isBooklet && times == 1;
    }
};

/* Stands in a list of chosen pages for one that is blank. */
constexpr int BLANK_PAGE = 0;

/* Reads a list: parts with commas between them, each a page or a range of pages, with ":odd" or
 * ":even" behind it if wanted, or one of these two words alone.  A page is a number from 1, "last"
 * or "z" for the last one, or "r2" for the last but one and so on.  A range without its second end
 * goes on to the last page.  False when it is no such list: `fault` is then a sentence. */
bool readPageRanges(std::string_view text, PageRanges *ranges, std::string *fault);

/* Are the pages in the document's order, each once, in every document that is long enough? */
bool isRising(const PageRanges &ranges);

/* What a list comes to in a document. */
struct ChosenPages {
    std::vector<int> numbers;     /* in the order of the list; empty: `fault` says why.  Those of a
                                   * booklet may be BLANK_PAGE. */
    std::vector<Notice> warnings; /* one for each part that names no page, once */
    std::optional<Notice> fault;  /* an error */
};

/* Takes as many steps as the list has parts and the result has pages. */
ChosenPages choosePages(const PageRanges &ranges, int pageCount);

/* Are the numbers in the document's order, each once? */
bool isRising(const std::vector<int> &numbers);

/* A page map as a text for another program: the n-th page here is page numbers[n - 1] there, or
 * BLANK_PAGE. */
std::string pageMapText(const std::vector<int> &numbers);

/* Reads such a text; false when it is none, or not whole. */
bool readPageMap(std::string_view text, std::vector<int> *numbers);

/* The same with a file; false, with errno set, when it cannot be written or read. */
bool writePageMapFile(const std::string &path, const std::vector<int> &numbers);
bool readPageMapFile(const std::string &path, std::vector<int> *numbers);

} // namespace seam

#endif
