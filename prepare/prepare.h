/*
 * prepare.h - the stage before the converter: any PDF in, a plain one out
 *
 * The converter takes a narrow kind of PDF: a classic cross-reference table, no encryption, simple
 * fonts, device colour, opaque paint.  This library rewrites what it refuses or would print wrong,
 * and leaves everything else as it stands, byte for byte where it can.
 */
#ifndef PREPARE_PREPARE_H
#define PREPARE_PREPARE_H

#include <string>
#include <vector>

#include "prepare/document/options.h"
#include "seam/messages.h"

namespace prepare {

enum class Outcome {
    UNCHANGED, /* nothing to do: no output was written */
    REWRITTEN,
    REFUSED, /* an error among the notices says why; no output was written */
};

/* Reads `in` and writes `out` when there is something to do.  `pageMap`, when it is not null, gets
 * the number in the document of each page that is written, in their order.  Throws nothing but
 * std::bad_alloc. */
Outcome prepareFile(const std::string &in, const std::string &out, const Options &options,
                    seam::Notices *notices, std::vector<int> *pageMap = nullptr);

/* Is there something to do?  Stops at the first thing found.  REFUSED as above. */
Outcome probeFile(const std::string &in, const Options &options, seam::Notices *notices);

} // namespace prepare

#endif
