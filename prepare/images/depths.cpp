/*
 * depths.cpp - values of 1 to 16 bits as bytes
 *
 * Values stand high bit first in rows of whole bytes (ISO 32000-1, 8.9.3).  An image of too many is
 * averaged in squares while it is read, so that no more than one row of sums is kept; indices are
 * picked.  A colour key (8.9.6.4) becomes alpha.
 */
#include "prepare/images/filters.h"

#include <algorithm>

namespace prepare {

namespace {

/* Calls `each` with a row's values, one after the other. */
template <class Each> void forRow(const PackedImage &image, int row, Each each)
{
    const uint8_t *bytes =
        reinterpret_cast<const uint8_t *>(image.bytes.data()) + rowBytes(image) * (size_t)row;
    size_t count = (size_t)image.width * (size_t)image.components;
    unsigned bits = (unsigned)image.bits;
    if (bits == 16) {
        for (size_t i = 0; i < count; i++)
            each((unsigned)bytes[2 * i] << 8 | bytes[2 * i + 1]);
        return;
    }
    unsigned mask = (1u << bits) - 1;
    for (size_t i = 0, at = 0; i < count; i++, at += bits)
        each((unsigned)bytes[at / 8] >> (8 - bits - at % 8) & mask);
}

/* Makes transparent what the colour key masks. */
void applyKey(const PackedImage &image, Samples *samples)
{
    size_t pixels = (size_t)image.width * (size_t)image.height;
    if (samples->alpha.empty())
        samples->alpha.assign(pixels, 255);
    int component = 0;
    bool isInside = true;
    size_t pixel = 0;
    for (int row = 0; row < image.height; row++)
        forRow(image, row, [&](unsigned value) {
            const int *range = &image.key[2 * (size_t)component];
            isInside &= (int)value >= range[0] && (int)value <= range[1];
            if (++component < image.components)
                return;
            if (isInside)
                samples->alpha[pixel] = 0;
            pixel++;
            component = 0;
            isInside = true;
        });
}

/* Averages (or, of indices, picks) the values of squares of pixels. */
struct Reducer {
    const PackedImage &image;
    Samples *samples;
    size_t factor;
    bool isPicked;
    std::vector<uint32_t> sums; /* of one row of squares */

    void addRow(int row)
    {
        size_t components = (size_t)image.components, at = 0;
        bool isFirstRow = (size_t)row % factor == 0;
        forRow(image, row, [&](unsigned value) {
            size_t pixel = at / components;
            uint32_t &sum = sums[pixel / factor * components + at % components];
            if (!isPicked)
                sum += value;
            else if (isFirstRow && pixel % factor == 0)
                sum = value;
            at++;
        });
        bool isLastRow = (size_t)row % factor == factor - 1 || row == image.height - 1;
        if (isLastRow)
            flush((size_t)row % factor + 1);
    }

    void flush(size_t rows)
    {
        size_t components = (size_t)image.components, width = (size_t)image.width;
        unsigned most = (1u << image.bits) - 1;
        for (size_t i = 0; i < sums.size(); i++) {
            size_t columns = std::min(factor, width - i / components * factor);
            uint64_t whole = rows * columns * most;
            uint64_t mean = (sums[i] * 255ull + whole / 2) / whole;
            samples->values.push_back((uint8_t)(isPicked ? sums[i] : mean));
            sums[i] = 0;
        }
    }
};

/* The least factor that brings an image below REDUCED_SAMPLES. */
void reduce(const PackedImage &image, Samples *samples)
{
    if (!image.key.empty())
        throw LimitReached{"An image is too large."};
    auto reduced = [](int size, size_t factor) { return ((size_t)size + factor - 1) / factor; };
    size_t factor = 2, components = (size_t)image.components;
    while (reduced(image.width, factor) * reduced(image.height, factor) * components >
           REDUCED_SAMPLES)
        factor++;
    Reducer reducer{image, samples, factor, isIndexed(image.space), {}};
    samples->width = (int)reduced(image.width, factor);
    samples->height = (int)reduced(image.height, factor);
    if (!reducer.isPicked)
        samples->maximum = 255;
    reducer.sums.assign((size_t)samples->width * components, 0);
    for (int row = 0; row < image.height; row++)
        reducer.addRow(row);
}

} // namespace

Samples unpack(const PackedImage &image)
{
    Samples samples;
    samples.width = image.width;
    samples.height = image.height;
    samples.components = image.components;
    samples.maximum = image.bits >= 8 ? 255 : (1 << image.bits) - 1;
    samples.space = image.space;
    samples.isMask = image.isMask;
    samples.decode = image.decode;
    samples.alpha = image.alpha;
    samples.isLossy = image.isLossy;
    samples.isDamaged = image.isDamaged;
    size_t count = (size_t)image.width * (size_t)image.height * (size_t)image.components;
    if (count > MAX_SAMPLES) {
        reduce(image, &samples);
        return samples;
    }
    samples.values.reserve(count);
    unsigned shift = image.bits == 16 ? 8 : 0;
    for (int row = 0; row < image.height; row++)
        forRow(image, row,
               [&](unsigned value) { samples.values.push_back((uint8_t)(value >> shift)); });
    if (!image.key.empty())
        applyKey(image, &samples);
    return samples;
}

} // namespace prepare
