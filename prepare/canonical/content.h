/*
 * content.h - content of which every reader makes the same
 *
 * Canonical content consists of operators of model/operators.def, each with just the operands that
 * it takes: numbers of digits, a sign and a point; plain names; strings with known escapes; arrays
 * of numbers and strings; flat dictionaries behind marks.  Nothing stands between them but white
 * space: no comments, no inline images, no procedures.  States saved are restored, text that begins
 * ends.  Such content keeps its bytes.  Of other content each faulty operation is written anew.
 */
#ifndef PREPARE_CANONICAL_CONTENT_H
#define PREPARE_CANONICAL_CONTENT_H

#include <functional>
#include <set>
#include <string>
#include <string_view>

#include "prepare/model/scope.h"

namespace prepare {

struct PlainContent {
    bool isChanged = false;
    std::string text;                        /* when it is changed; else it is what it was */
    std::set<std::string> names[CATEGORIES]; /* of resources, as they were, with their slash */
    size_t dropped = 0;     /* operations left out; those in patterns are not counted */
    bool lostPaint = false; /* one of them would have painted */
    bool mixesPaths = false; /* text stands within a path, or a path within text: printers keep the
                              * place of both at the current point */
};

/* Gives a plain name for an odd one, both with their slash. */
using PlainNamer = std::function<std::string(const std::string &)>;

constexpr size_t MAX_SAVES = 500; /* states that are saved at a time; others are not */

/* Reads the content of a page or form, or of a glyph, once.  A glyph begins with d0 or d1; where
 * it has none it gets this width. */
PlainContent plainContent(std::string_view content, bool isGlyph, const PlainNamer &namer,
                          double glyphWidth = 0);

} // namespace prepare

#endif
