/*
 * decode.h - images as samples: every filter, every depth, one byte for each value
 *
 * An image is an image XObject, or an inline image that has been made one (inlineImage).  What
 * comes out are the values as they are stored, before /Decode and before the colour space; `decode`
 * and `space` say what to make of them.  Data that breaks off leaves the rest zero, with a flag.
 */
#ifndef PREPARE_IMAGES_DECODE_H
#define PREPARE_IMAGES_DECODE_H

#include <cstdint>
#include <string>
#include <vector>

#include "prepare/content/track.h"
#include "prepare/document/document.h"

namespace prepare {

/* Bounds of one image. */
constexpr size_t MAX_SAMPLES = 64u << 20; /* width times height times components */
constexpr size_t MAX_PACKED = 64u << 20;  /* bytes of a decoded image, values of few bits packed */
constexpr size_t REDUCED_SAMPLES = 16u << 20;
constexpr size_t MAX_ENCODED = 256u << 20; /* bytes in front of the last filter */
constexpr int MAX_IMAGE_SIDE = 1 << 26;    /* pixels */
constexpr int MAX_IMAGE_COMPONENTS = 32;

/* An image as it is stored: rows from the top, each padded to a whole byte, values high bit first,
 * the components of a pixel one after the other. */
struct PackedImage {
    int width = 0, height = 0; /* pixels; those of the data where it has sizes of its own */
    int components = 1;        /* alpha not counted */
    int bits = 8;              /* of a value: 1, 2, 4, 8 or 16 */
    std::string bytes;         /* rowBytes(image) for each row, height rows */

    /* Null for a mask.  For JPEG 2000 without /ColorSpace a device space by the data; a device
     * space too where the data has another number of components than the space that was named. */
    QPDFObjectHandle space = QPDFObjectHandle::newNull();
    bool isMask = false;        /* /ImageMask: one component of one bit, space null */
    std::vector<double> decode; /* /Decode, two for each component; empty: the default of space */
    std::vector<int> key;       /* /Mask as colours: least and largest value of each component in
                                 * units of `bits`; empty: there is none */

    std::vector<uint8_t> alpha; /* of JPEG 2000 (/SMaskInData): width times height, 255 is opaque,
                                 * already undone in `bytes` where it was multiplied in; empty:
                                 * there is none */
    bool isLossy = false;       /* the data comes from a lossy code, so a JPEG may take its place */
    bool isDamaged = false;     /* part of the data could not be read, and is zero */
};

size_t rowBytes(const PackedImage &image);

/* The same with a byte for each value: width * height * components, no padding.  Values of 16 bits
 * are their high bytes. */
struct Samples {
    int width = 0, height = 0, components = 1;
    int maximum = 255; /* the largest value: 1, 3, 15 or 255 */
    std::vector<uint8_t> values;
    QPDFObjectHandle space = QPDFObjectHandle::newNull();
    bool isMask = false;
    std::vector<double> decode;
    std::vector<uint8_t> alpha; /* as above; and 0 where /Mask as colours masks a pixel */
    bool isLossy = false, isDamaged = false;
};

/* Decodes an image's own data; /SMask and /Mask as a stream are images to be decoded by
 * themselves.  Throws LimitReached beyond the bounds, and when there is nothing to be had: no
 * size, a filter that is not known, data that does not begin as it should, jbig2dec not installed.
 * The text says what. */
PackedImage decodePacked(Document *document, QPDFObjectHandle image);
Samples decodeImage(Document *document, QPDFObjectHandle image);

/* The same values in bytes.  More than MAX_SAMPLES of them (of less than 8 bits each) are averaged
 * in squares to at most REDUCED_SAMPLES, 0 to 255; indices are picked. */
Samples unpack(const PackedImage &image);

/* Component c of a stored value as the image's space takes it: by /Decode, or by the default of
 * the space: 0 to 1; the value itself for /Indexed; the ranges of /Lab and /ICCBased. */
struct DecodeRange {
    double low, high;
};
DecodeRange decodeRange(const Samples &samples, int component);

/* Components of a colour space; 0 for patterns and what is no space. */
int componentsOfSpace(QPDFObjectHandle space);

/* The image of a "BI" operation as an image XObject of its own: keys and filters in full, its
 * colour space looked up in the scope.  Null when it has no data. */
QPDFObjectHandle inlineImage(Document *document, const ResourceScope &scope,
                             const Operation &operation);

} // namespace prepare

#endif
