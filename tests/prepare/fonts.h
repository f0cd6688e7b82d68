/*
 * fonts.h - fonts of the system, put into small documents in all the ways there are
 */
#ifndef TESTS_PREPARE_FONTS_H
#define TESTS_PREPARE_FONTS_H

#include <string>

#include "tests/support/pdf_builder.h"

/* A TrueType font, a Type 1 program and an OpenType font with compact outlines. */
std::string trueTypeFile();
std::string type1File();
std::string openTypeFile();

/* The compact program inside of an OpenType font. */
std::string compactTable(const std::string &openType);

/* How a composite font is described. */
struct CompositeSettings {
    std::string encoding = "/Identity-H"; /* a name, or a reference */
    std::string entries;                  /* of the descendant, such as /W or /W2 */
    std::string toUnicode;                /* an entry, or nothing */
    bool isEmbedded = true;
    std::string page = "0 0 300 200"; /* the page's box */
};

/* Adds trueTypeFile() as a composite font; answers its number.  Its glyph for an ASCII character c
 * has the number c - 29. */
int addComposite(PdfBuilder *pdf, const CompositeSettings &settings = {});

/* The two-byte codes of a text in that font, as a hexadecimal string. */
std::string codes(const std::string &text);

/* Codes from `first` on, one for each glyph. */
std::string codeRange(int first, int count);

/* One page with the font as /F1 and Helvetica as /H. */
std::string compositePdf(const std::string &content, const CompositeSettings &settings = {});

#endif
