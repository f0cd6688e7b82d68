/*
 * pixels.h - the colours of an image's pixels, and what a chain makes of them, for mask.cpp
 */
#ifndef PREPARE_PAINT_PIXELS_H
#define PREPARE_PAINT_PIXELS_H

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "prepare/images/decode.h"
#include "prepare/paint/backdrop.h"

namespace prepare {

/* The colour of each pixel as a device colour of so many components. */
struct ColourReader {
    const Samples *samples;
    SpacePtr space;
    size_t components;
    std::vector<DecodeRange> ranges;
    std::vector<DeviceColour> table; /* of the values, when there is one a pixel */
    std::string lastValues;
    DeviceColour last;
};

ColourReader makeReader(const Samples &samples, SpacePtr space, size_t components);

/* Valid until the next call. */
const DeviceColour &colourAt(ColourReader *reader, size_t pixel);

/* out = base + alpha * (factor * colour + shift), for each component. */
struct Blender {
    const Chain *chain;
    size_t components;
    bool isLinear;
    std::array<double, 4> base, factor, shift;
};

Blender makeBlender(const Chain &chain, size_t sourceComponents);

/* Writes as many bytes as the blender has components. */
void blendPixel(const Blender &blender, const DeviceColour &colour, uint8_t alpha, uint8_t *out);

} // namespace prepare

#endif
