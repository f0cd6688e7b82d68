/*
 * preparation.h - pdf_prepare as a process of its own, where a document needs it
 */
#ifndef PRINTING_PREPARATION_H
#define PRINTING_PREPARATION_H

#include <functional>
#include <string>
#include <vector>

#include "seam/pages.h"

/* What it is told; empty: its own defaults. */
struct PreparationOptions {
    seam::PageRanges pages;
    std::string passwordFile, annotations, resolution, level;
    std::string pageMap; /* a file that does not exist, for the page map */
};

/* What pdf_prepare says of a document. */
struct Notice {
    std::string key, text;
    int page; /* 0: the document */
};

enum class Preparation {
    UNNEEDED,    /* the document can be taken as it stands */
    DONE,        /* `plain` holds it */
    MISSING,     /* pdf_prepare is not installed */
    NO_PAGE_MAP, /* it cannot be read: errno says why */
    FAILED,      /* a notice has said why */
};

/* Prepares the chosen pages of `input` into the file `plain` when that is needed.  When it is done,
 * `pageNumbers` has the number in `input` of each page of `plain`. */
Preparation prepareDocument(const PreparationOptions &options, const std::string &input,
                            const std::string &plain, std::vector<int> *pageNumbers,
                            const std::function<void(const Notice &)> &notice);

#endif
