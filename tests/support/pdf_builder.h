/*
 * pdf_builder.h - makes small PDF files: objects in, a correct cross-reference table out
 *
 *     PdfBuilder pdf;
 *     int content = pdf.addStream("", "0 0 m 10 10 l S\n");
 *     pdf.addPage("/MediaBox [0 0 100 100] /Contents " + ref(content));
 *     std::string bytes = pdf.build();
 *
 * What a test damages on purpose it damages in the text that comes out, or through the settings
 * below.
 */
#ifndef TESTS_PDF_BUILDER_H
#define TESTS_PDF_BUILDER_H

#include <cstddef>
#include <map>
#include <string>
#include <vector>

/* "n 0 R" */
std::string ref(int number);

class PdfBuilder {
  public:
    /* Object 1 is the catalog and object 2 the root of the page tree. */
    PdfBuilder();

    /* Adds an object, its text as it stands between "obj" and "endobj"; answers its number. */
    int add(const std::string &text);

    /* Adds a stream object with a correct /Length behind the given entries. */
    int addStream(const std::string &entries, const std::string &data);

    /* Adds a form.  What the entries do not say is the default: a box of [0 0 200 200], and empty
     * resources of its own, so that it finds none of its caller's by accident. */
    int addForm(const std::string &content, const std::string &entries = "");

    /* Adds a page, a child of the root, with the given entries behind /Type and /Parent. */
    int addPage(const std::string &entries);

    /* Sets the text of an object, also of 1 and 2. */
    void set(int number, const std::string &text);

    /* The next number, for an object that is set later. */
    int reserve();

    /* The file.  Entries of `pageTreeRoot` stand in the root of the page tree. */
    std::string build();

    /* The file of build() with an incremental update behind it: the given objects in a section of
     * their own, its trailer with /Prev. */
    std::string buildWithUpdate(const std::map<int, std::string> &objects,
                                const std::string &trailerEntries = "");

    /* After build(): where an object begins, and where the (first) "xref" line does. */
    size_t offsetOf(int number) const { return offsets.at(number); }
    size_t xrefOffset() const { return xref; }

    std::string header = "%PDF-1.2\n";
    std::string catalogEntries; /* added to the catalog */
    std::string rootEntries;    /* added to the root of the page tree */
    std::string trailerEntries; /* added to the trailer */
    int size = -1;              /* /Size; -1: the right one */

  private:
    void writeObject(std::string *file, int number, const std::string &text);
    void writeSection(std::string *file, const std::vector<int> &numbers,
                      const std::string &trailer);

    std::map<int, std::string> objects;
    std::vector<int> pages;
    std::map<int, size_t> offsets;
    size_t xref = 0;
    int next = 3;
};

/* A file of one page, `content` in its single unfiltered content stream.  `entries` go into the
 * page; without a /MediaBox among them it is [0 0 200 200]. */
std::string onePagePdf(const std::string &content, const std::string &entries = "");

#endif
