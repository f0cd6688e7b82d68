/*
 * picture.h - rendered pages: read, compared, written for a browser
 */
#ifndef PREVIEW_PICTURE_H
#define PREVIEW_PICTURE_H

#include <cstdint>
#include <string>
#include <vector>

/* A picture of 8-bit red, green and blue, rows from the top. */
struct Picture {
    int width = 0, height = 0;
    std::vector<uint8_t> rgb; /* 3 * width * height bytes */

    uint8_t *at(int x, int y) { return &rgb[3 * ((size_t)y * (size_t)width + (size_t)x)]; }
    const uint8_t *at(int x, int y) const
    {
        return &rgb[3 * ((size_t)y * (size_t)width + (size_t)x)];
    }
};

/* A binary PPM (P6) of up to 64 million pixels; false when it is none. */
bool readPicture(const std::string &path, Picture *picture);

/* How two pictures of a page differ.  Both go through a mean over 3 by 3 pixels and are made half
 * the size; a pixel differs when one of its channels does by more than 48 of 255.  The better of
 * the nine positions one pixel around counts, so that how a renderer rounds does not. */
struct Difference {
    bool isSameSize = false; /* to 2 pixels; the shares are 1 when it is false */
    double area = 1;         /* differing pixels of all pixels, 0 to 1 */
    double ink = 1;          /* differing pixels of those with ink in either picture */
    Picture marked;          /* the reference in grey, what differs in red */
};

Difference comparePictures(const Picture &candidate, const Picture &reference);

/* "data:image/png;base64,..." */
std::string dataAddress(const Picture &picture);

#endif
