/*
 * pixels.cpp - pixels through the chain of blends down to the paper
 *
 * As long as nothing but normal painting happens on the way to the paper, a pixel is linear in its
 * alpha and its colour: three numbers for each component, found by trying three colours, stand for
 * the whole chain.  With blend modes each pixel goes through the chain itself (ISO
 * 32000-1, 11.3.6).
 */
#include "prepare/paint/pixels.h"

#include <algorithm>

#include "prepare/paint/plane.h"

namespace prepare {

namespace {

DeviceColour convert(ColourReader *reader, const uint8_t *values)
{
    size_t count = (size_t)reader->samples->components;
    std::vector<double> colour(count);
    for (size_t c = 0; c < count; c++) {
        const DecodeRange &range = reader->ranges[c];
        colour[c] = range.low + (range.high - range.low) * values[c] / reader->samples->maximum;
    }
    return withComponents(toDevice(*reader->space, colour), reader->components);
}

} // namespace

ColourReader makeReader(const Samples &samples, SpacePtr space, size_t components)
{
    ColourReader reader{&samples, std::move(space), components, {}, {}, {}, {}};
    for (int c = 0; c < samples.components; c++)
        reader.ranges.push_back(decodeRange(samples, c));
    if (samples.components == 1)
        for (int v = 0; v <= samples.maximum; v++) {
            uint8_t value = (uint8_t)v;
            reader.table.push_back(convert(&reader, &value));
        }
    return reader;
}

const DeviceColour &colourAt(ColourReader *reader, size_t pixel)
{
    size_t count = (size_t)reader->samples->components;
    const uint8_t *values = &reader->samples->values[pixel * count];
    if (!reader->table.empty())
        return reader->table[std::min<size_t>(*values, reader->table.size() - 1)];
    std::string_view now(reinterpret_cast<const char *>(values), count);
    if (now != reader->lastValues) {
        reader->last = convert(reader, values);
        reader->lastValues = now;
    }
    return reader->last;
}

namespace {

bool isNormal(const Chain &chain)
{
    return std::all_of(chain.steps.begin(), chain.steps.end(),
                       [](const Step &step) { return step.blend == Blend::NORMAL; });
}

} // namespace

Blender makeBlender(const Chain &chain, size_t sourceComponents)
{
    Blender blender{&chain, sourceComponents, isNormal(chain), {}, {}, {}};
    auto tried = [&](double value, double alpha) {
        DeviceColour colour{blender.components, {value, value, value, value}};
        return onPaper(chain, {colour, alpha});
    };
    blender.components = std::max(tried(0, 1).components, tried(0, 0.5).components);
    DeviceColour base = withComponents(tried(0, 0), blender.components);
    DeviceColour low = withComponents(tried(0, 1), blender.components);
    DeviceColour high = withComponents(tried(1, 1), blender.components);
    for (size_t c = 0; c < blender.components; c++) {
        blender.base[c] = base.values[c];
        blender.shift[c] = low.values[c] - base.values[c];
        blender.factor[c] = high.values[c] - low.values[c];
    }
    return blender;
}

void blendPixel(const Blender &blender, const DeviceColour &colour, uint8_t alpha, uint8_t *out)
{
    if (blender.isLinear) {
        for (size_t c = 0; c < blender.components; c++)
            out[c] =
                toByte(blender.base[c] +
                       alpha / 255.0 * (blender.factor[c] * colour.values[c] + blender.shift[c]));
        return;
    }
    DeviceColour seen =
        withComponents(onPaper(*blender.chain, {colour, alpha / 255.0}), blender.components);
    for (size_t c = 0; c < blender.components; c++)
        out[c] = toByte(seen.values[c]);
}

} // namespace prepare
