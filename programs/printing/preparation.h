/*
 * preparation.h - pdf_prepare as a process of its own
 */
#ifndef PRINTING_PREPARATION_H
#define PRINTING_PREPARATION_H

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "seam/pages.h"

#include "seam/messages.h"

/* A run of pdf_prepare by a program that has it in itself.  What it leaves behind goes with it. */
struct OwnPreparation {
    virtual ~OwnPreparation() = default;

    /* In a child, with limits: writes notices as lines on standard error, answers the status. */
    virtual int work() = 0;

    /* When the child has ended: the status of the whole, as the command's; may tell why. */
    virtual int conclude(int status, const std::function<void(const seam::Notice &)> &hear) = 0;

    std::chrono::steady_clock::time_point deadline; /* of the child */
};

/* Makes one of the command's words, the first of which is its name. */
using MakePreparation = std::unique_ptr<OwnPreparation> (*)(std::vector<std::string> words);

/* What it is told; empty: its own defaults. */
struct PreparationOptions {
    seam::PageRanges pages;
    std::string passwordFile, annotations, box, resolution, level, maxTime;
    std::string pageMap;           /* a file that does not exist, for the page map */
    MakePreparation own = nullptr; /* of this program, if pdf_prepare is another name of it */
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
