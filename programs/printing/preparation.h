/*
 * preparation.h - pdf_prepare as a process of its own
 */
#ifndef PRINTING_PREPARATION_H
#define PRINTING_PREPARATION_H

#include <functional>
#include <string>
#include <vector>

#include "seam/pages.h"

#include "seam/messages.h"

/* What pdf_prepare does, for a program that has it in itself: takes its arguments, the first of
 * which is its name, and answers the exit status. */
using PrepareCommand = int (*)(int argc, char **argv);

/* What it is told; empty: its own defaults. */
struct PreparationOptions {
    seam::PageRanges pages;
    std::string passwordFile, annotations, resolution, level, maxTime;
    std::string pageMap;              /* a file that does not exist, for the page map */
    PrepareCommand command = nullptr; /* of this program, if pdf_prepare is another name of it */
};

enum class Preparation {
    DONE,    /* `plain` holds it */
    MISSING, /* pdf_prepare is not installed, which has been said */
    FAILED,  /* an error among the notices has said why */
};

/* Prepares the chosen pages of `input` for a job, into the file `plain`.  When it is done,
 * `pageNumbers` has the number in `input` of each page of `plain`. */
Preparation prepareDocument(const PreparationOptions &options, const std::string &input,
                            const std::string &plain, std::vector<int> *pageNumbers,
                            const std::function<void(const seam::Notice &)> &hear);

#endif
