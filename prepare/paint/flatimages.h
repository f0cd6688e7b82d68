/*
 * flatimages.h - images computed for their places, for transparency.cpp and objects.cpp
 */
#ifndef PREPARE_PAINT_FLATIMAGES_H
#define PREPARE_PAINT_FLATIMAGES_H

#include <map>
#include <string>

#include "prepare/content/rewrite.h"
#include "prepare/paint/mask.h"

namespace prepare {

/* Images that were computed, by image and place. */
struct FlatImages {
    struct Known {
        FlatImage flat;
        std::string name;    /* of the resource; empty: it needs none */
        std::string failure; /* why there is none */
    };
    std::map<std::string, Known> known;
};

/* The image for a place; image null: one colour behind a mask.  Throws LimitReached, again each
 * time that it is asked. */
const FlatImages::Known &flatImageOf(Rewriter *rewriter, QPDFObjectHandle image,
                                     const ImagePlace &place, const DeviceColour &colour);

/* What paints the image in the unit square. */
std::string paintText(const FlatImages::Known &known);

} // namespace prepare

#endif
