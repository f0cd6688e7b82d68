/*
 * preparation.h - pdf_prepare as a process of its own, where a document needs it
 */
#ifndef PRINTING_PREPARATION_H
#define PRINTING_PREPARATION_H

#include <functional>
#include <string>

#include "seam/messages.h"

/* What it is told; empty: its own defaults. */
struct PreparationOptions {
    std::string pageList, passwordFile, annotations, resolution, level;
};

enum class Preparation {
    UNNEEDED, /* the document can be taken as it stands */
    DONE,     /* `plain` holds it */
    MISSING,  /* pdf_prepare is not installed, which has been said */
    FAILED,   /* an error among the notices has said why */
};

/* Prepares the chosen pages of `input` into the file `plain` when that is needed. */
Preparation prepareDocument(const PreparationOptions &options, const std::string &input,
                            const std::string &plain,
                            const std::function<void(const seam::Notice &)> &hear);

#endif
