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
struct Colour {
    int components = 1;
    double value[4] = {0, 0, 0, 0};
};

constexpr Colour WHITE = {1, {1, 0, 0, 0}};
constexpr Colour BLACK = {1, {0, 0, 0, 0}};

/* A colour and how much of it there is: 0 is nothing. */
struct Layer {
    Colour colour;
    double alpha = 0;
};

Colour toRgb(const Colour &colour);
bool isSame(const Colour &a, const Colour &b);
bool isWhite(const Colour &colour);
double luminosity(const Colour &colour);

/* a where t is 0, b where it is 1. */
Colour mix(const Colour &a, const Colour &b, double t);

/* The mode's function of an opaque backdrop and source. */
Colour blend(Blend mode, const Colour &backdrop, const Colour &source);

/* What is to be seen of `above` painted over `below`. */
Layer composite(const Layer &below, const Layer &above, Blend mode);

/* The layer on white paper. */
Colour onWhite(const Layer &layer);

/* "0.5 g", "1 0 0 rg", "0 0 0 1 k", or the operators of strokes. */
std::string colourText(const Colour &colour, bool isStroke);

} // namespace prepare

#endif
