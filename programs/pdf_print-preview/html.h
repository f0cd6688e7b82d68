/*
 * html.h - the page that people look at
 */
#ifndef PREVIEW_HTML_H
#define PREVIEW_HTML_H

#include <string>
#include <vector>

/* What is told of one page of a document. */
struct PageView {
    int number;
    std::string anchor;  /* unique in the file: a page may be printed more than once */
    double area = 1;     /* share of the page that differs, 0 to 1 */
    std::string verdict; /* the figure in words */
    std::vector<std::string> messages; /* of pdf_print */
    /* Addresses of the pictures; empty: there is none. */
    std::string original, print, difference;
};

/* Text from anywhere as HTML: what could be markup is escaped, control characters and bytes that
 * are no UTF-8 become U+FFFD. */
std::string htmlOf(const std::string &text);

/* The beginning of the file: the summary, the messages that concern the whole document, a table of
 * the pages (their pictures are not used). */
std::string htmlBeginning(const std::string &title, const std::string &summary,
                          const std::vector<std::string> &messages,
                          const std::vector<PageView> &pages);

/* The part of one page. */
std::string htmlPage(const PageView &page);

std::string htmlEnd();

#endif
