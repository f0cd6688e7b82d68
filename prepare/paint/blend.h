/*
 * blend.h - colours, what is painted over what, and the sixteen blend modes
 *
 * Colours are gray, RGB or CMYK; two of one kind are mixed as they are, gray and CMYK as CMYK, and
 * others as RGB.  All values are from 0 to 1.
 */
#ifndef PREPARE_PAINT_BLEND_H
#define PREPARE_PAINT_BLEND_H

#include "prepare/model/space.h"
#include "prepare/content/track.h"

namespace prepare {

constexpr DeviceColour WHITE = {1, {1, 0, 0, 0}};
constexpr DeviceColour BLACK = {1, {0, 0, 0, 0}};

/* A colour and how much of it there is: 0 is nothing. */
struct Layer {
    DeviceColour colour;
    double alpha = 0;
};

/* The colour in another kind: gray in RGB or CMYK, CMYK in RGB; others stay. */
DeviceColour withComponents(const DeviceColour &colour, size_t components);

bool isSame(const DeviceColour &a, const DeviceColour &b);
bool isWhite(const DeviceColour &colour);
double luminosity(const DeviceColour &colour);

/* a where t is 0, b where it is 1. */
DeviceColour mix(const DeviceColour &a, const DeviceColour &b, double t);

/* The mode's function of an opaque backdrop and source. */
DeviceColour blend(Blend mode, const DeviceColour &backdrop, const DeviceColour &source);

/* What is to be seen of `above` painted over `below`. */
Layer composite(const Layer &below, const Layer &above, Blend mode);

/* The layer on white paper. */
DeviceColour onWhite(const Layer &layer);

} // namespace prepare

#endif
