/*
 * print_job.h - page descriptions through the prolog, the trailer and Ghostscript
 */
#ifndef TESTS_POSTSCRIPT_PRINT_JOB_H
#define TESTS_POSTSCRIPT_PRINT_JOB_H

#include <string>
#include <vector>

#include "tests/support/picture.h"

struct PrintOptions {
    bool strict = true;    /* the prolog's switch: the first error stops the job */
    bool levelTwo = false; /* Level 3 operators, filters and resources do not exist */
    bool pipe = false;     /* the job comes through a pipe, which nobody can look ahead in */
    bool probe = true;     /* measure the stacks around each operator and at the end of a page */
    int dpi = 108;
    long memoryMegabytes = 0; /* limit of Ghostscript's address space; 0: none */
    std::string prolog;       /* another text for it; empty: the program's */
    std::string before;       /* PostScript that runs before the prolog */
    std::string afterProlog;  /* and behind it, with the prolog's dictionary as the current one */
    std::string after;        /* and behind the trailer */
    bool trailer = true;      /* it is there */
    bool safer = true;        /* Ghostscript keeps away from files */
    int timeoutSeconds = 120; /* then it is killed */
};

/* What came out of a job. */
struct PrintedJob {
    int status;
    std::vector<std::string> lines; /* what the job printed, its errors included */
    std::vector<Picture> pages;
    std::vector<std::string> files; /* what it has made beside them */
};

/* Prints the text of page descriptions, what stands between the "/TmpFont" line and the trailer. */
PrintedJob printPages(const std::string &pages, const PrintOptions &options = {});

/* Prints a text that needs no prolog; of the options those count that are not about one. */
PrintedJob printText(const std::string &postscript, const PrintOptions &options);

/* Prints a whole file, one that the program has written. */
PrintedJob printFile(const std::string &postscript, int dpi = 108);

/* The lines of a job that report a fault: PostScript errors, what the probe has found, and the
 * prolog's count when it has counted errors. */
std::vector<std::string> faultsOf(const PrintedJob &job);

/* One page description of 200 by 200 points: resources as they would be written, then content that
 * is passed through unencoded. */
std::string pageDescription(const std::string &content, const std::string &resources = "");

/* "<< /Length n >>", the line "PageContents" and the bytes. */
std::string passedThrough(const std::string &content, const std::string &entries = "");

/* The prolog as the program writes it. */
std::string prologText();

#endif
