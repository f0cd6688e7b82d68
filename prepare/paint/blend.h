/*
 * blend.h - colours, what is painted over what, and the sixteen blend modes
 *
 * Colours are gray, RGB or CMYK; two of one kind are mixed as they are, gray and CMYK as CMYK, and
 * others as RGB.  All values are from 0 to 1.
 */
#ifndef PREPARE_PAINT_BLEND_H
#define PREPARE_PAINT_BLEND_H

#include <string>

#include "prepare/content/state.h"

namespace prepare {

/* A device colour: 1, 3 or 4 components. */
struct FlatColour {
    int components = 1;
    double value[4] = {0, 0, 0, 0};
};

constexpr FlatColour WHITE = {1, {1, 0, 0, 0}};
constexpr FlatColour BLACK = {1, {0, 0, 0, 0}};

/* A colour and how much of it there is: 0 is nothing. */
struct Layer {
    FlatColour colour;
    double alpha = 0;
};

FlatColour toRgb(const FlatColour &colour);
bool isSame(const FlatColour &a, const FlatColour &b);
bool isWhite(const FlatColour &colour);
double luminosity(const FlatColour &colour);

/* a where t is 0, b where it is 1. */
FlatColour mix(const FlatColour &a, const FlatColour &b, double t);

/* The mode's function of an opaque backdrop and source. */
FlatColour blend(Blend mode, const FlatColour &backdrop, const FlatColour &source);

/* What is to be seen of `above` painted over `below`. */
Layer composite(const Layer &below, const Layer &above, Blend mode);

/* The layer on white paper. */
FlatColour onWhite(const Layer &layer);

/* "0.5 g", "1 0 0 rg", "0 0 0 1 k", or the operators of strokes. */
std::string colourText(const FlatColour &colour, bool isStroke);

} // namespace prepare

#endif
