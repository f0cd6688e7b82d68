/*
 * flatimages.cpp - images computed for their places, each place once
 *
 * A place is known by all that the pixels depend on: the image, the chain down to the paper, and
 * how a soft mask lies on it, with numbers of four digits, so that places that print alike share
 * one image.
 */
#include "prepare/paint/flatimages.h"

#include <cstdio>

namespace prepare {

namespace {

std::string placeKey(QPDFObjectHandle image, const ImagePlace &place, const DeviceColour &colour)
{
    std::string key = image.isNull() ? colourText(colour, false) : image.getObjGen().unparse(' ');
    auto add = [&](double value) {
        char text[32];
        snprintf(text, sizeof text, " %.4g", value);
        key += text;
    };
    auto addLayer = [&](const Layer &layer) {
        for (size_t c = 0; c < layer.colour.components; c++)
            add(layer.colour.values[c]);
        add(layer.alpha);
    };
    for (const Step &step : place.chain.steps) {
        key += " |";
        addLayer(step.below);
        addLayer(step.behind);
        add(step.alpha);
        add((double)step.blend);
    }
    if (place.mask) {
        const Matrix &m = place.toMask;
        key += " " + QPDFObjectHandle(place.softMask).unparse();
        for (double value : {m.a, m.b, m.c, m.d, m.e, m.f})
            add(value);
    }
    return key + (place.chain.isKnown ? "" : "?");
}

} // namespace

const FlatImages::Known &flatImageOf(Rewriter *rewriter, QPDFObjectHandle image,
                                     const ImagePlace &place, const DeviceColour &colour)
{
    Document *document = rewriter->document;
    FlatImages &images = document->memos.of<FlatImages>();
    auto [at, isNew] = images.known.try_emplace(placeKey(image, place, colour));
    FlatImages::Known &known = at->second;
    if (!known.failure.empty())
        throw LimitReached{known.failure};
    if (!isNew)
        return known;
    try {
        known.flat = image.isNull() ? flattenColour(document, colour, place)
                                    : flattenImage(document, image, place);
    } catch (const LimitReached &limit) {
        known.failure = limit.text;
        throw;
    }
    bool isOther = known.flat.kind != FlatKind::NOTHING &&
                   !(known.flat.kind == FlatKind::AS_IS && known.flat.image.isSameObjectAs(image));
    if (isOther && !known.flat.image.isNull())
        known.name = newName(document, "/PfI");
    return known;
}

std::string paintText(const FlatImages::Known &known)
{
    const FlatImage &flat = known.flat;
    std::string text = "q ";
    if (flat.kind == FlatKind::STENCIL)
        text += colourText(flat.colour, false) + " ";
    if (flat.kind == FlatKind::CLIPPED)
        text += flat.clip + "W n ";
    const Box &part = flat.part;
    if (!contains(part, {0, 0, 1, 1}))
        text += concatText(
            {part.right - part.left, 0, 0, part.top - part.bottom, part.left, part.bottom});
    return text + known.name + " Do Q";
}

} // namespace prepare
