/*
 * picture.h - rendered pages, and how much two of them differ
 */
#ifndef TESTS_PICTURE_H
#define TESTS_PICTURE_H

#include <cstdint>
#include <string>
#include <vector>

/* A picture of 8-bit red, green and blue, rows from the top. */
struct Picture {
    int width = 0;
    int height = 0;
    std::vector<uint8_t> rgb; /* 3 * width * height bytes */

    const uint8_t *at(int x, int y) const
    {
        return &rgb[3 * ((size_t)y * (size_t)width + (size_t)x)];
    }
};

/* A binary PPM (P6) or PGM (P5) file; the test fails when it is none. */
Picture readPicture(const std::string &path);

/* How much two pictures differ: both go through a mean over 3 by 3 pixels and are scaled down by 2;
 * a pixel differs when one of its channels does by more than 48 of 255.  The better of the nine
 * positions one pixel around counts. */
struct PictureDifference {
    bool sameSize; /* to 2 pixels; the other two mean nothing when it is false */
    double area;   /* differing pixels of all pixels, 0 to 1 */
    double ink;    /* differing pixels, to the pixels that have ink in either picture */
};

PictureDifference comparePictures(const Picture &candidate, const Picture &reference);

/* Right by the strict criterion: same size, area below 1 %, ink below 25 %.  The second bound
 * notices a lost line of text on a page that is mostly white. */
bool isRight(const PictureDifference &difference);

/* "area 0.12 %, ink 3.4 %", or "size 200x100 for 100x200". */
std::string describe(const PictureDifference &difference);

/* Is every channel of every pixel brighter than 207, so that the page counts as blank? */
bool isBlank(const Picture &picture);

/* The page as MuPDF's `mutool draw` draws it, at `dpi`; page 1 and following. */
std::vector<Picture> renderPdf(const std::string &bytes, int dpi = 100);

#endif
