/*
 * encode.h - samples back into images
 */
#ifndef PREPARE_IMAGES_ENCODE_H
#define PREPARE_IMAGES_ENCODE_H

#include "prepare/images/decode.h"

namespace prepare {

enum class ImageCode {
    FLATE,
    JPEG, /* quality 90, no subsampling; one, three or four components of 8 bits */
    FAX,  /* Group 4; one component of one bit */
};

/* Puts this data in the place of an image's own: sizes, depth, filter and, unless it is a mask, the
 * space.  Everything else in the dictionary stays; image.decode, key and alpha are not looked at.
 * What a code cannot take is written as Flate. */
void replaceImage(QPDFObjectHandle stream, const PackedImage &image, ImageCode code);

/* A new image XObject with this data; /Decode where image.decode has values. */
QPDFObjectHandle newImage(Document *document, const PackedImage &image, ImageCode code);

/* Bytes as an image of that many components in a space. */
PackedImage bytesAsImage(int width, int height, QPDFObjectHandle space, int components,
                         const std::vector<uint8_t> &bytes);

/* One byte a pixel as the image of a soft mask (or of anything gray). */
QPDFObjectHandle newGrayImage(Document *document, int width, int height,
                              const std::vector<uint8_t> &bytes);

/* A stencil: one bit a pixel, painted where the byte is not zero. */
QPDFObjectHandle newStencil(Document *document, int width, int height,
                            const std::vector<uint8_t> &painted);

} // namespace prepare

#endif
