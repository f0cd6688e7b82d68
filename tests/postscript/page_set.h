/*
 * page_set.h - pages that must look as MuPDF draws them
 *
 *     PageSet set;
 *     set.add("f: nonzero winding", "20 20 100 100 re f");
 *     set.expectRight();
 *
 * All pages stand in one document, which is converted and printed four times: in strict mode with
 * the stacks measured, twice in one job, without Language Level 3, and as a structured job.
 */
#ifndef TESTS_POSTSCRIPT_PAGE_SET_H
#define TESTS_POSTSCRIPT_PAGE_SET_H

#include <string>
#include <vector>

#include "tests/postscript/print_job.h"
#include "tests/support/pdf_builder.h"

class PageSet {
  public:
    /* A page of 200 by 200 points; `entries` go into the page dictionary ("/Resources << >>"). With
     * a /Contents among them `content` does not count. */
    void add(const std::string &name, const std::string &content, const std::string &entries = "");

    /* A page that must look like another one: where MuPDF is no judge, or where the converter
     * leaves something out on purpose.  Everything of that page is given. */
    void addLike(const std::string &name, const std::string &content, const std::string &entries,
                 const std::string &otherContent, const std::string &otherEntries = "");

    /* Prints everything; a page that is not right is a failure with its name.  A page whose
     * reference shows nothing fails, too: it would test nothing. */
    void expectRight();

    PdfBuilder pdf;          /* for objects that the pages use */
    bool levelThree = false; /* the pages need Level 3: no run without it */
    bool faultless = true;   /* no errors counted, no message of the converter above a notice */
    int dpi = 108;     /* a multiple of 36 puts even coordinates between pixels; clips have hard
                          edges, which count less at a higher resolution */
    bool probe = true; /* see PrintOptions */

    bool hasJob = true; /* the pages look the same when they are printed as a job */

  private:
    struct Page {
        std::string name, content, entries; /* printed */
        std::string referenceContent, referenceEntries;
    };
    std::string document(bool reference);
    void expectSameJob(const PrintedJob &exact, const std::vector<Picture> &reference,
                       const std::vector<std::string> &names);
    std::vector<Page> pages;
};

#endif
