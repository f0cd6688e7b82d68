/*
 * prepare.h - the stage before the converter: any PDF in, a plain one out
 *
 * The converter takes a narrow kind of PDF: a classic cross-reference table, no encryption, simple
 * fonts, device colour, opaque paint.  This library rewrites what it refuses or would print wrong,
 * and leaves everything else as it stands, byte for byte where it can.
 */
#ifndef PREPARE_PREPARE_H
#define PREPARE_PREPARE_H

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "seam/messages.h"

namespace prepare {

/* Which annotations become part of the page. */
enum class Annotations { PRINT, SCREEN, NONE };

struct Options {
    /* Pages wanted, ranges with both ends, from 1; empty: all.  What lies beyond the document is
     * left out. */
    std::vector<std::pair<int, int>> pages;
    std::string password;
    Annotations annotations = Annotations::PRINT;
    int level = 3; /* of the printer's language: at 2 there is no Flate and no compact font */
    int resolution = 300; /* pixels per inch of what becomes pixels, 36 to 2400 */
    std::string scratch;  /* path of a directory that does not exist, for the files of other
                           * programs; empty: each makes one of its own */
};

/* Bounds of one document; a page that meets one is written as it stands. */
constexpr size_t MAX_CONTENT_BYTES = 256u << 20; /* decoded content of one page with its forms */
constexpr int MAX_FORM_DEPTH = 12;
constexpr int MAX_FORM_COPIES = 64;

enum class Outcome {
    UNCHANGED, /* nothing to do: no output was written */
    REWRITTEN,
    REFUSED, /* an error among the notices says why; no output was written */
};

/* Reads `in` and writes `out` when there is something to do.  Throws nothing but std::bad_alloc. */
Outcome prepareFile(const std::string &in, const std::string &out, const Options &options,
                    seam::Notices *notices);

/* Is there something to do?  Stops at the first thing found.  REFUSED as above. */
Outcome probeFile(const std::string &in, const Options &options, seam::Notices *notices);

} // namespace prepare

#endif
