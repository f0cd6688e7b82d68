/*
 * patterns.h - what is painted with patterns and shadings
 */
#ifndef PREPARE_PAINT_PATTERNS_H
#define PREPARE_PAINT_PATTERNS_H

#include "prepare/content/evaluate.h"
#include "prepare/content/rewrite.h"

namespace prepare {

/* A fill becomes a clip to its path and what the pattern paints there; so do text, by the clip of
 * text mode 7, and stencil masks, by the rectangles that they are made of.  "sh" paints into the
 * clip that there is. */
extern const ContentPass patternPass;

extern const Observer patternObserver;

} // namespace prepare

#endif
