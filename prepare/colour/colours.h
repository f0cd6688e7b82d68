/*
 * colours.h - colours and graphics states in content
 */
#ifndef PREPARE_COLOUR_COLOURS_H
#define PREPARE_COLOUR_COLOURS_H

#include "prepare/content/evaluate.h"
#include "prepare/content/rewrite.h"

namespace prepare {

/* Writes colours of spaces that are converted as device colours, and the parameters of lines that
 * graphics states hold as operators. */
extern const ContentPass colourPass;

extern const Observer colourObserver;

/* Has the graphics state parameters that the converter drops? */
bool hasLineParameters(QPDFObjectHandle graphicsState);

/* Removes them from a copy. */
QPDFObjectHandle withoutLineParameters(QPDFObjectHandle graphicsState);

} // namespace prepare

#endif
