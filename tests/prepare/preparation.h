/*
 * preparation.h - runs pdf_prepare on a document and holds what comes out against the original
 */
#ifndef TESTS_PREPARE_PREPARATION_H
#define TESTS_PREPARE_PREPARATION_H

#include <string>
#include <vector>

struct Preparation {
    int status;
    std::vector<std::string> messages; /* lines of standard error */
    bool hasOutput;
    std::string pdf;
};

std::string preparePath();

/* Prepares `bytes`, with these options. */
Preparation preparePdf(const std::string &bytes, const std::vector<std::string> &options = {});

/* The status of --probe: 0 nothing to do, 3 needed, 1 neither. */
int probePdf(const std::string &bytes);

/* Holds the prepared document, and the PostScript that the converter makes of it, against the
 * original, as two renderers draw it.  The test fails where a page differs. */
void expectSamePages(const std::string &original, const std::string &prepared);

/* Prepares, expects status 0 and the same pages, and answers the prepared document. */
std::string expectPrepared(const std::string &bytes);

/* The same, but it is enough to look like what one of the renderers draws, and edges may lie two
 * pixels beside: they place cells and shadings by pixels, each in its way. */
void expectAlikePages(const std::string &original, const std::string &prepared);

/* Prepares, expects status 0 and pages that are alike, and answers the prepared document. */
std::string expectAlike(const std::string &bytes);

/* Prepared, and printed by way of the converter, the document is this one, drawn otherwise. */
void expectPrintedAs(const std::string &bytes, const std::string &expected);

/* What qpdf makes of a document with these options. */
std::string byQpdf(const std::string &pdf, const std::vector<std::string> &options);

/* The document's streams in clear and its objects one by one, for looking at. */
std::string inClear(const std::string &pdf);

/* The text of the document as pdftotext finds it. */
std::string textOf(const std::string &pdf);

bool holds(const std::string &text, const std::string &part);

/* The number of times that a part stands in a text. */
size_t countOf(const std::string &text, const std::string &part);

/* Where programs are looked for, for as long as it lives. */
class SearchPath {
  public:
    explicit SearchPath(const std::string &path);
    ~SearchPath();
    SearchPath(const SearchPath &) = delete;
    SearchPath &operator=(const SearchPath &) = delete;

  private:
    std::string old;
};

#endif
