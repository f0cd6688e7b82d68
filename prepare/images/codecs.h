/*
 * codecs.h - the codes that only images are kept in, one function each
 *
 * Each fills an image's sizes, `bytes` and flags from its data.  Throws LimitReached where the data
 * gives nothing at all or asks for more than the bounds of decode.h.
 */
#ifndef PREPARE_IMAGES_CODECS_H
#define PREPARE_IMAGES_CODECS_H

#include "prepare/images/decode.h"

namespace prepare {

/* Does an image stay within the bounds?  Throws LimitReached if not. */
void checkSize(double width, double height, double components, double bits = 8);

/* DCTDecode.  `transform` is /ColorTransform, -1 where it is not given. */
void decodeJpeg(const std::string &data, int transform, PackedImage *image);

/* JPXDecode.  image->space is /ColorSpace or null; alpha is taken when `wantsAlpha`. */
void decodeJpx(const std::string &data, bool wantsAlpha, PackedImage *image);

/* JBIG2Decode, by the program jbig2dec; image->width and height are those of the dictionary. */
void decodeJbig2(Document *document, const std::string &data, const std::string &globals,
                 PackedImage *image);

struct FaxParameters {
    int k = 0;
    int columns = 1728, rows = 0;
    bool hasEndOfLine = false, isByteAligned = false, isBlack1 = false;
};

/* CCITTFaxDecode: bytes as the filter gives them, at most `wanted`. */
std::string decodeFax(const std::string &data, const FaxParameters &parameters, size_t wanted,
                      bool *isDamaged);

/* One-bit rows, 0 is black, as Group 4; empty when libtiff cannot. */
std::string encodeFax(const std::string &rows, int width, int height);

/* Bytes of one, three or four components as a JPEG of this quality without subsampling. */
std::string encodeJpeg(const uint8_t *bytes, int width, int height, int components, int quality);

} // namespace prepare

#endif
