/*
 * transparency.h - transparent paint as opaque paint
 *
 * Constant alpha, blend modes, soft masks, groups and masked images.  Each thing is painted in the
 * colours that it has on paper, where it is known what lies below it: nothing, or one colour.
 * Where that is not known, it is painted as if nothing were there, and its box becomes a region.
 */
#ifndef PREPARE_PAINT_TRANSPARENCY_H
#define PREPARE_PAINT_TRANSPARENCY_H

#include "prepare/content/evaluate.h"
#include "prepare/content/rewrite.h"

namespace prepare {

/* Forms of one page that are rewritten for the place where they are painted. */
constexpr size_t MAX_PLACES = 512;

/* Stands behind layers, and in front of patterns, shadings and fonts. */
extern const ContentPass transparencyPass;

extern const Observer transparencyObserver;

} // namespace prepare

#endif
