/*
 * mask.h - masked images as images without masks
 *
 * Where it is known what lies below an image, its pixels are computed with it; where it is not, a
 * mask of two values becomes a stencil or a clip.
 */
#ifndef PREPARE_PAINT_MASK_H
#define PREPARE_PAINT_MASK_H

#include "prepare/images/decode.h"
#include "prepare/paint/survey.h"

namespace prepare {

/* A clip of more rectangles than this is not made. */
constexpr size_t MAX_CLIP_RECTANGLES = 20000;

/* How an image is painted at one place. */
struct ImagePlace {
    Chain chain; /* with everything but the masks below */

    /* The image of a soft mask, if there is one; null: none. */
    const MaskScene *mask = nullptr;
    QPDFObjectHandle softMask; /* its dictionary */
    Matrix toMask;             /* from the image's unit square to that of the mask */
};

enum class FlatKind {
    AS_IS,   /* it is opaque: the image without its masks */
    NOTHING, /* it is all masked */
    PIXELS,  /* an opaque image in `part` of the unit square */
    STENCIL, /* in this colour */
    CLIPPED, /* the image, behind a clip */
};

struct FlatImage {
    FlatKind kind = FlatKind::AS_IS;
    QPDFObjectHandle image;
    Box part = {0, 0, 1, 1};
    DeviceColour colour;
    std::string clip;       /* rectangles in the unit square, in operators */
    bool isGuessed = false; /* computed as if nothing were below, which is not known */
};

/* Has the image a mask of any kind? */
bool isMasked(QPDFObjectHandle image);

/* The image as it is to be painted.  Throws LimitReached when it cannot be decoded or is larger
 * than the bounds of decode.h. */
FlatImage flattenImage(Document *document, QPDFObjectHandle image, const ImagePlace &place);

/* One colour behind the image of a soft mask, in the mask's unit square. */
FlatImage flattenColour(Document *document, const DeviceColour &colour, const ImagePlace &place);

} // namespace prepare

#endif
