/*
 * plane.h - alpha planes of masked images, for mask.cpp and pixels.cpp
 */
#ifndef PREPARE_PAINT_PLANE_H
#define PREPARE_PAINT_PLANE_H

#include <cstdint>
#include <string>
#include <vector>

#include "prepare/images/decode.h"

namespace prepare {

/* A byte for each pixel, 255 is opaque; empty: all opaque. */
struct Plane {
    int width = 0, height = 0;
    std::vector<uint8_t> alpha;
};

/* Larger masks say more than can be printed, and cost a page more than it may take. */
constexpr size_t MAX_MASK_PIXELS = 4u << 20;

size_t pixelsOf(int width, int height);

/* Where the middle of pixel i of `count` lies among `of`. */
int scaled(int i, int count, int of);

/* 0 to 1 as 0 to 255. */
uint8_t toByte(double value);

/* The alpha of a mask's image: of its stored values, with blocks averaged where it is too large. */
Plane planeOf(Document *document, QPDFObjectHandle image);

bool isOpaque(const Plane &plane);

/* Is each pixel opaque or transparent, nearly? */
bool isBinary(const Plane &plane);

/* Both planes, one behind the other, at the larger of their sizes. */
Plane both(const Plane &a, const Plane &b);

/* The pixels that are not all masked: columns and rows, the latter from the top. */
struct Part {
    int left, top, right, bottom;
};

Part visiblePart(const Plane &plane);

/* The plane's opaque pixels as rectangles, rows alike joined; empty when they are too many. */
std::string clipOf(const Plane &plane);

} // namespace prepare

#endif
