/*
 * images.h - image data in codes that no small text can hold, made when a test asks for it
 */
#ifndef TESTS_PREPARE_IMAGES_H
#define TESTS_PREPARE_IMAGES_H

#include <cstdint>
#include <string>
#include <vector>

/* A picture of blocks, none like its neighbours: component c at (x, y), 0 to 255. */
uint8_t blockAt(int x, int y, int component);

/* The same as rows of bytes. */
std::string blockBytes(int width, int height, int components);

/* One bit a pixel, 0 is black: a figure that is different at each of its sides. */
std::string figureBits(int width, int height);

/* The figure as JBIG2 for PDF: a page and a generic region coded as Group 4. */
struct Jbig2 {
    std::string page;   /* the segment that says how large the page is */
    std::string region; /* the segment with the figure */
};
Jbig2 jbig2Figure(int width, int height);

/* A word of five letters on 64 by 56 pixels.  One letter stands in a dictionary of its own. */
struct Jbig2Word {
    std::string globals, page;
};
Jbig2Word jbig2Word();

struct JpxSettings {
    int width = 96, height = 80;
    int components = 3;
    int depth = 8; /* of a component */
    bool isLossy = false;
    bool isYcc = false;  /* the second and third component are colour differences */
    int step = 1;        /* of these two, in pixels: 2 halves them both ways */
    int alpha = -1;      /* the component that is opacity; -1: none */
    bool isBare = false; /* a code stream without boxes */
    std::string palette; /* colours of three bytes, for one component of indices; empty: none */
};

/* blockAt as JPEG 2000; with a palette component 0 is (x / 16 + y / 16) modulo its size. */
std::string jpxBlocks(const JpxSettings &settings);

#endif
