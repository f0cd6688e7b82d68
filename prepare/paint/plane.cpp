/*
 * plane.cpp - alpha planes: read, reduced, combined, and as paths
 *
 * A plane is a mask's image with a byte for each pixel (ISO 32000-1, 8.9.6 and 11.6.5.3).  Two
 * planes are combined at the larger of their sizes; a path is made of rectangles, runs of pixels of
 * rows that are alike.
 */
#include "prepare/paint/plane.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "prepare/model/tokens.h"
#include "prepare/paint/mask.h"

namespace prepare {

size_t pixelsOf(int width, int height)
{
    return (size_t)width * (size_t)height;
}

int scaled(int i, int count, int of)
{
    return std::min((int)(((int64_t)i * 2 + 1) * of / (2 * (int64_t)count)), of - 1);
}

uint8_t toByte(double value)
{
    return (uint8_t)std::lround(std::clamp(value, 0.0, 1.0) * 255);
}

namespace {

/* The alpha of each value of a mask's image. */
std::array<uint8_t, 256> alphaTable(const Samples &mask)
{
    std::array<uint8_t, 256> table{};
    DecodeRange range = decodeRange(mask, 0);
    for (int v = 0; v <= mask.maximum; v++) {
        double value = range.low + (range.high - range.low) * v / mask.maximum;
        table[(size_t)v] = toByte(mask.isMask ? 1 - value : value);
    }
    return table;
}

/* The plane with blocks of pixels averaged, as far as it is too large. */
Plane reduced(Plane plane)
{
    int by = 1;
    while (pixelsOf(plane.width / by + 1, plane.height / by + 1) > MAX_MASK_PIXELS)
        by++;
    if (by == 1)
        return plane;
    Plane small{std::max(plane.width / by, 1), std::max(plane.height / by, 1), {}};
    small.alpha.reserve(pixelsOf(small.width, small.height));
    for (int y = 0; y < small.height; y++)
        for (int x = 0; x < small.width; x++) {
            int bottom = std::min((y + 1) * by, plane.height);
            int right = std::min((x + 1) * by, plane.width);
            int sum = 0, count = 0;
            for (int row = y * by; row < bottom; row++)
                for (int column = x * by; column < right; column++, count++)
                    sum += plane.alpha[pixelsOf(plane.width, row) + (size_t)column];
            small.alpha.push_back((uint8_t)(sum / std::max(count, 1)));
        }
    return small;
}

} // namespace

Plane planeOf(Document *document, QPDFObjectHandle image)
{
    Samples mask = decodeImage(document, image);
    Plane plane{mask.width, mask.height, {}};
    std::array<uint8_t, 256> table = alphaTable(mask);
    plane.alpha.resize(pixelsOf(mask.width, mask.height));
    for (size_t i = 0; i < plane.alpha.size(); i++)
        plane.alpha[i] = table[mask.values[i * (size_t)mask.components]];
    plane = reduced(std::move(plane));
    bool isHard = mask.isMask || integerOr(image.getDict().getKey("/BitsPerComponent"), 8) == 1;
    for (uint8_t &alpha : plane.alpha)
        if (isHard) /* it has been averaged, at most */
            alpha = alpha >= 128 ? 255 : 0;
    return plane;
}

bool isOpaque(const Plane &plane)
{
    return std::all_of(plane.alpha.begin(), plane.alpha.end(), [](uint8_t a) { return a == 255; });
}

bool isBinary(const Plane &plane)
{
    constexpr int SLACK = 2;
    return std::all_of(plane.alpha.begin(), plane.alpha.end(),
                       [](uint8_t a) { return a <= SLACK || a >= 255 - SLACK; });
}

Plane both(const Plane &a, const Plane &b)
{
    if (a.alpha.empty() || b.alpha.empty())
        return a.alpha.empty() ? b : a;
    Plane plane{std::max(a.width, b.width), std::max(a.height, b.height), {}};
    if (pixelsOf(plane.width, plane.height) > MAX_SAMPLES)
        throw LimitReached{"A mask is too large."};
    plane.alpha.resize(pixelsOf(plane.width, plane.height));
    for (int y = 0; y < plane.height; y++)
        for (int x = 0; x < plane.width; x++) {
            auto at = [&](const Plane &p) {
                return p.alpha[pixelsOf(p.width, scaled(y, plane.height, p.height)) +
                               (size_t)scaled(x, plane.width, p.width)];
            };
            plane.alpha[pixelsOf(plane.width, y) + (size_t)x] = (uint8_t)(at(a) * at(b) / 255);
        }
    return plane;
}

Part visiblePart(const Plane &plane)
{
    Part part{plane.width, plane.height, 0, 0};
    for (int y = 0; y < plane.height; y++)
        for (int x = 0; x < plane.width; x++)
            if (plane.alpha[pixelsOf(plane.width, y) + (size_t)x] > 0) {
                part.left = std::min(part.left, x);
                part.right = std::max(part.right, x + 1);
                part.top = std::min(part.top, y);
                part.bottom = y + 1;
            }
    return part;
}

namespace {

struct Run {
    int from, to;
};

bool operator==(const Run &a, const Run &b)
{
    return a.from == b.from && a.to == b.to;
}

std::vector<Run> runsOf(const Plane &plane, int row)
{
    std::vector<Run> runs;
    const uint8_t *alpha = &plane.alpha[pixelsOf(plane.width, row)];
    for (int x = 0; x < plane.width; x++) {
        if (alpha[x] < 128)
            continue;
        int from = x;
        while (x < plane.width && alpha[x] >= 128)
            x++;
        runs.push_back({from, x});
    }
    return runs;
}

} // namespace

std::string clipOf(const Plane &plane)
{
    std::string clip;
    size_t rectangles = 0;
    for (int y = 0; y < plane.height;) {
        std::vector<Run> runs = runsOf(plane, y);
        int end = y + 1;
        while (end < plane.height && runsOf(plane, end) == runs)
            end++;
        if ((rectangles += runs.size()) > MAX_CLIP_RECTANGLES)
            return "";
        for (const Run &run : runs) {
            for (double value :
                 {(double)run.from / plane.width, 1 - (double)end / plane.height,
                  (double)(run.to - run.from) / plane.width, (double)(end - y) / plane.height})
                clip += numberText(value) + " ";
            clip += "re\n";
        }
        y = end;
    }
    return clip;
}

} // namespace prepare
