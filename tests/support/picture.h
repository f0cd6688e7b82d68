/*
 * picture.h - rendered pages, and how much two of them differ
 */
#ifndef TESTS_PICTURE_H
#define TESTS_PICTURE_H

#include <cstdint>
#include <gtest/gtest.h>
#include <iosfwd>
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

/* The same, but a pixel differs only where it lies outside of all that the other picture has around
 * it, two of its pixels each way; and each picture is held against the other.  So edges may lie two
 * pixels beside, and a wrong colour, or a thing that is missing, counts as ever. */
PictureDifference compareBesideEdges(const Picture &candidate, const Picture &reference);

/* Right by the strict criterion: same size, area below 1 %, ink below 25 %.  The second bound
 * notices a lost line of text on a page that is mostly white. */
bool isRight(const PictureDifference &difference);

/* "area 0.12 %, ink 3.4 %", or "size 200x100 for 100x200". */
std::string describe(const PictureDifference &difference);

/* Is every channel of every pixel brighter than 207, so that the page counts as blank? */
bool isBlank(const Picture &picture);

enum class Renderer { MUPDF, GHOSTSCRIPT, POPPLER };

/* The document's pages as one of the renderers draws them, at `dpi`; page 1 and following. */
std::vector<Picture> renderPdf(const std::string &bytes, int dpi = 100,
                               Renderer renderer = Renderer::MUPDF);

/* ---- single objects; in points from the lower left corner of a page drawn at `dpi` */

struct Colour {
    int red, green, blue; /* 0 to 255 */

    bool operator==(const Colour &) const = default;
};

/* For messages of failures. */
void PrintTo(const Colour &colour, std::ostream *out);

/* The colour of the pixel that has the point in it; the test fails when that is outside. */
Colour colourAt(const Picture &page, double x, double y, int dpi = 100);

/* Is every channel of the colour there within `tolerance` of the wanted one?  Says what it is. */
testing::AssertionResult hasColour(const Picture &page, double x, double y, Colour wanted,
                                   int dpi = 100, int tolerance = 12);

struct PointBox {
    double left, bottom, right, top;
};

/* The box of what is not paper: of all pixels with a channel of 207 or less; all 0 when there is
 * none. */
PointBox drawnBox(const Picture &page, int dpi = 100);

/* Is each side of the box of what is drawn within `tolerance` points of the wanted one? */
testing::AssertionResult isDrawnIn(const Picture &page, PointBox wanted, int dpi = 100,
                                   double tolerance = 1.5);

#endif
