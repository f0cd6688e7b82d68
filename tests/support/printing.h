/*
 * printing.h - runs pdf_print on a document, and takes what it wrote apart
 */
#ifndef TESTS_PRINTING_H
#define TESTS_PRINTING_H

#include <string>
#include <vector>

#include "tests/support/run_program.h"

std::string printProgramPath();

/* What became of one run. */
struct PrintRun {
    int status;
    std::vector<std::string> messages; /* lines of standard error */
    bool hasOutput;
    std::string output;
};

/* Prints `bytes`, as doc.pdf in a directory of its own, into doc.ps; what else is left there is a
 * failure. */
PrintRun printPdf(const std::string &bytes, const std::vector<std::string> &options = {},
                  const ProgramOptions &settings = {});

/* The job of a document, taken as it stands; the test fails when there is none. */
std::string jobOf(const std::string &bytes, const std::vector<std::string> &options = {});

/* The same of a document that is prepared first, as users have it. */
std::string preparedJobOf(const std::string &bytes, const std::vector<std::string> &options = {});

/* The sections of a job, their encoding undone, in order: runtime, shared parts, pages. */
struct Section {
    std::string procedure; /* "PdfPage", "PdfShared"; "exec": the runtime */
    std::string text;
    std::string data; /* as it stands in the job */
};
std::vector<Section> sectionsOf(const std::string &job);

/* The texts of the pages, and the text of what they share; empty: there is nothing shared. */
std::vector<std::string> pageTextsOf(const std::string &job);
std::string sharedTextOf(const std::string &job);

/* How often a text holds another one. */
size_t occurrences(const std::string &text, const std::string &part);

/* The lines of a job that are comments of its structure, in order. */
std::vector<std::string> commentsOf(const std::string &job);

#endif
