/*
 * options.h - what is wanted of a document, and what is said of it
 */
#ifndef PREPARE_DOCUMENT_OPTIONS_H
#define PREPARE_DOCUMENT_OPTIONS_H

#include <string>

#include "seam/pages.h"

namespace prepare {

/* Which annotations become part of the page. */
enum class Annotations { PRINT, SCREEN, NONE };

/* Which of its boxes a page is. */
enum class PageBox { CROP, MEDIA, TRIM, BLEED, ART };

struct Options {
    seam::PageRanges pages; /* wanted, in their order; what lies beyond the document is left out */
    std::string password;
    Annotations annotations = Annotations::PRINT;
    PageBox box = PageBox::CROP;
    int level = 3; /* of the printer's language: at 2 there is no Flate and no compact font */
    int resolution = 300;      /* pixels per inch of what becomes pixels, 36 to 2400 */
    bool rewrites = false;     /* also a document that needs nothing */
    double programSeconds = 0; /* from the start, in which other programs may run; 0: any */
    bool isCanonical = false;  /* nothing of the document is written but by the tables of
                                * canonical/, which is what a job takes */
    bool endsProcess = false;  /* the process ends behind this document: no memory is given back */
    std::string scratch;       /* path of a directory that does not exist, for the files of other
                                * programs; empty: each makes one of its own */
    volatile int *calledGroup = nullptr; /* where the process group of a called program stands
                                          * while it runs, else 0; null: nobody asks.  Shared with
                                          * whoever ends this process, to end the program too */
};

constexpr int MAX_FORM_DEPTH = 12; /* forms within forms that are followed */

} // namespace prepare

#endif
