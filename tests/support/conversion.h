/*
 * conversion.h - runs the program on a PDF file and keeps all that it does
 */
#ifndef TESTS_CONVERSION_H
#define TESTS_CONVERSION_H

#include <string>
#include <vector>

#include "tests/support/run_program.h"
#include "tests/support/scratch_directory.h"

/* The path of the program. */
std::string programPath();

/* What became of one conversion. */
struct Conversion {
    int status;
    std::vector<std::string> messages; /* lines of standard error, but for the next */
    std::string advice;                /* the last one, where it tells who can convert the file */
    bool hasOutput;
    std::string output; /* the whole PostScript file */
    std::string pages;  /* what stands between the "/TmpFont" line and the trailer; in
                         * parentheses, why there is nothing between them */
};

/* Converts `bytes` as doc.pdf, in a directory of its own, with a prolog "P\n" and a trailer "T\n",
 * so that `pages` is all that the document brought. */
Conversion convertPdf(const std::string &bytes, const std::vector<std::string> &switches = {},
                      const ProgramOptions &options = {});

/* The same with the product's own prolog and trailer; `output` can be run. */
Conversion convertForPrinting(const std::string &bytes,
                              const std::vector<std::string> &switches = {});

/* Only the messages of the severities that matter to a test: without INTRO, PAGE and the warning
 * about the version. */
std::vector<std::string> faults(const Conversion &conversion);

/* The text's lines. */
std::vector<std::string> linesOf(const std::string &text);

#endif
