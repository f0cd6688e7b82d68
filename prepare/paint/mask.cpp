/*
 * mask.cpp - masked images as images without masks
 *
 * An image with its own masks and the soft mask of the state becomes the cheapest thing that prints
 * the same: the image as it is, a stencil in one colour, a clip, or pixels computed with what lies
 * below (pixels.h).
 */
#include "prepare/paint/mask.h"

#include <algorithm>
#include <cmath>

#include "prepare/images/encode.h"
#include "prepare/paint/pixels.h"
#include "prepare/paint/plane.h"

namespace prepare {

namespace {

/* Everything about an image at one place. */
struct Work {
    Document *document;
    const Samples *samples;
    SpacePtr space;
    Plane plane;
    const Chain *chain;
};

FlatImage pixels(const Work &work)
{
    const Samples &samples = *work.samples;
    const Plane &plane = work.plane;
    int width = std::max(samples.width, plane.width);
    int height = std::max(samples.height, plane.height);
    Blender blender = makeBlender(*work.chain, deviceComponents(*work.space));
    if (pixelsOf(width, height) > MAX_SAMPLES / blender.components)
        throw LimitReached{"A masked picture is too large."};
    Part part{0, 0, width, height};
    if (!plane.alpha.empty()) { /* in pixels of the result */
        Part seen = visiblePart(plane);
        part.left = (int)((int64_t)seen.left * width / plane.width);
        part.right = (int)(((int64_t)seen.right * width + plane.width - 1) / plane.width);
        part.top = (int)((int64_t)seen.top * height / plane.height);
        part.bottom = (int)(((int64_t)seen.bottom * height + plane.height - 1) / plane.height);
    }
    ColourReader reader = makeReader(samples, work.space, blender.components);
    int columns = part.right - part.left, rows = part.bottom - part.top;
    std::vector<uint8_t> out(pixelsOf(columns, rows) * blender.components);
    uint8_t *at = out.data();
    for (int y = part.top; y < part.bottom; y++) {
        size_t row = pixelsOf(samples.width, scaled(y, height, samples.height));
        size_t maskRow =
            plane.alpha.empty() ? 0 : pixelsOf(plane.width, scaled(y, height, plane.height));
        for (int x = part.left; x < part.right; x++, at += blender.components) {
            uint8_t alpha = plane.alpha.empty()
                                ? 255
                                : plane.alpha[maskRow + (size_t)scaled(x, width, plane.width)];
            blendPixel(blender, colourAt(&reader, row + (size_t)scaled(x, width, samples.width)),
                       alpha, at);
        }
    }
    const char *name = blender.components == 1   ? "/DeviceGray"
                       : blender.components == 3 ? "/DeviceRGB"
                                                 : "/DeviceCMYK";
    PackedImage image =
        bytesAsImage(columns, rows, QPDFObjectHandle::newName(name), (int)blender.components, out);
    bool isPhoto = samples.isLossy && blender.components != 4;
    FlatImage flat;
    flat.kind = FlatKind::PIXELS;
    flat.image = newImage(work.document, image, isPhoto ? ImageCode::JPEG : ImageCode::FLATE);
    flat.part = {(double)part.left / width, 1 - (double)part.bottom / height,
                 (double)part.right / width, 1 - (double)part.top / height};
    return flat;
}

bool isOneColour(const Samples &samples)
{
    size_t count = (size_t)samples.components;
    for (size_t i = count; i < samples.values.size(); i++)
        if (samples.values[i] != samples.values[i - count])
            return false;
    return true;
}

FlatImage stencil(const Work &work)
{
    ColourReader reader = makeReader(*work.samples, work.space, deviceComponents(*work.space));
    std::vector<uint8_t> painted = work.plane.alpha;
    for (uint8_t &pixel : painted)
        pixel = pixel >= 128;
    FlatImage flat;
    flat.kind = FlatKind::STENCIL;
    flat.image = newStencil(work.document, work.plane.width, work.plane.height, painted);
    flat.colour = onPaper(*work.chain, {colourAt(&reader, 0), 1});
    return flat;
}

FlatImage clipped(const Work &work, QPDFObjectHandle image)
{
    FlatImage flat;
    flat.clip = clipOf(work.plane);
    flat.kind = FlatKind::CLIPPED;
    flat.image = image;
    return flat;
}

/* ---- what there is to an image ---- */

/* The image under its own data, without masks. */
QPDFObjectHandle withoutMasks(QPDFObjectHandle image)
{
    QPDFObjectHandle copy = image.copyStream();
    for (const char *key : {"/SMask", "/Mask", "/SMaskInData"})
        copy.getDict().removeKey(key);
    return copy;
}

/* Undoes what was done to colours that were mixed with a matte before they were stored. */
void undoMatte(Samples *samples, const Plane &plane, QPDFObjectHandle matte)
{
    if (!matte.isArray() || matte.getArrayNItems() < samples->components || plane.alpha.empty() ||
        samples->maximum != 255)
        return;
    size_t count = (size_t)samples->components;
    std::vector<double> colour;
    for (int c = 0; c < samples->components; c++) {
        DecodeRange range = decodeRange(*samples, c);
        double span = range.high - range.low;
        double value = numberOr(matte.getArrayItem(c), 0);
        colour.push_back(span != 0 ? (value - range.low) / span * 255 : 0);
    }
    for (int y = 0; y < samples->height; y++)
        for (int x = 0; x < samples->width; x++) {
            uint8_t alpha =
                plane.alpha[pixelsOf(plane.width, scaled(y, samples->height, plane.height)) +
                            (size_t)scaled(x, samples->width, plane.width)];
            if (alpha == 0)
                continue;
            uint8_t *value = &samples->values[(pixelsOf(samples->width, y) + (size_t)x) * count];
            for (size_t c = 0; c < count; c++)
                value[c] = toByte((colour[c] + (value[c] - colour[c]) * 255 / alpha) / 255);
        }
}

/* The image's own mask of whatever kind. */
Plane ownPlane(Document *document, QPDFObjectHandle image, Samples *samples)
{
    QPDFObjectHandle dict = image.getDict(), soft = dict.getKey("/SMask");
    if (soft.isStream()) {
        Plane plane = planeOf(document, soft);
        undoMatte(samples, plane, soft.getDict().getKey("/Matte"));
        return plane;
    }
    if (!samples->alpha.empty())
        return {samples->width, samples->height, std::move(samples->alpha)};
    if (dict.getKey("/Mask").isStream())
        return planeOf(document, dict.getKey("/Mask"));
    return {};
}

/* The image of a soft mask as alpha for each pixel of a grid in the unit square. */
Plane maskPlane(Document *document, const ImagePlace &place, int width, int height)
{
    const MaskScene &mask = *place.mask;
    Samples samples = decodeImage(document, mask.image);
    SpacePtr space = readSpace({}, samples.space);
    if (!space)
        throw LimitReached{"A mask's colours are not known."};
    std::array<uint8_t, 256> transfer{};
    for (int v = 0; v < 256; v++)
        transfer[(size_t)v] = toByte(transferred(place.softMask, v / 255.0));
    uint8_t outside = transfer[toByte(luminosity(mask.backdrop.colour))];
    Plane own = ownPlane(document, mask.image, &samples);
    ColourReader reader = makeReader(samples, space, deviceComponents(*space));
    Plane plane{width, height, std::vector<uint8_t>(pixelsOf(width, height), outside)};
    const Matrix &m = place.toMask;
    for (int y = 0; y < height; y++)
        for (int x = 0; x < width; x++) {
            double u = (x + 0.5) / width, v = 1 - (y + 0.5) / height;
            double s = m.a * u + m.c * v + m.e, t = 1 - (m.b * u + m.d * v + m.f);
            if (!(s >= 0 && s <= 1 && t >= 0 && t <= 1))
                continue;
            int column = std::min((int)(s * samples.width), samples.width - 1);
            int row = std::min((int)(t * samples.height), samples.height - 1);
            size_t pixel = pixelsOf(samples.width, row) + (size_t)column;
            Layer layer = {colourAt(&reader, pixel), 1};
            if (!own.alpha.empty())
                layer.alpha =
                    own.alpha[pixelsOf(own.width, scaled(row, samples.height, own.height)) +
                              (size_t)scaled(column, samples.width, own.width)] /
                    255.0;
            Layer seen = composite(mask.backdrop, layer, Blend::NORMAL);
            plane.alpha[pixelsOf(width, y) + (size_t)x] = transfer[toByte(luminosity(seen.colour))];
        }
    return plane;
}

/* The grid in which a mask's image keeps its detail on the image. */
void maskGrid(const ImagePlace &place, int *width, int *height)
{
    QPDFObjectHandle image = place.mask->image;
    QPDFObjectHandle dict = image.getDict();
    static constexpr double MOST = 4096;
    auto side = [](double pixels, int least) {
        return (int)std::max(std::min(std::ceil(pixels - 1e-3), MOST), (double)least);
    };
    const Matrix &m = place.toMask;
    double columns = integerOr(dict.getKey("/Width"), 1),
           rows = integerOr(dict.getKey("/Height"), 1);
    *width = side(std::hypot(m.a * columns, m.b * rows), *width);
    *height = side(std::hypot(m.c * columns, m.d * rows), *height);
}

FlatImage flatten(const Work &work, QPDFObjectHandle image, bool hadMasks)
{
    const Plane &plane = work.plane;
    bool isMasked = !plane.alpha.empty() && !isOpaque(plane);
    bool isFree = isPlainAnywhere(*work.chain); /* of what lies below, where it is opaque */
    FlatImage flat;
    flat.image = image;
    if (!isMasked && isPlain(*work.chain)) {
        if (hadMasks)
            flat.image = withoutMasks(image);
        flat.isGuessed = !work.chain->isKnown && !isFree;
        return flat;
    }
    if (isMasked && visiblePart(plane).right == 0) {
        flat.kind = FlatKind::NOTHING;
        return flat;
    }
    bool isHard = isMasked && isBinary(plane);
    if (isHard && isOneColour(*work.samples)) {
        flat = stencil(work);
        flat.isGuessed = !work.chain->isKnown && !isFree;
        return flat;
    }
    if (!work.chain->isKnown && isHard && isFree) {
        flat = clipped(work, withoutMasks(image));
        if (!flat.clip.empty())
            return flat;
    }
    flat = pixels(work);
    flat.isGuessed = !work.chain->isKnown;
    return flat;
}

/* The image's mask as a stencil with the same data, when it is one of single bits; null else. */
QPDFObjectHandle maskAsStencil(QPDFObjectHandle image)
{
    QPDFObjectHandle dict = image.getDict(), mask = dict.getKey("/SMask");
    bool isSoft = mask.isStream();
    if (!isSoft)
        mask = dict.getKey("/Mask");
    if (!mask.isStream())
        return QPDFObjectHandle::newNull();
    QPDFObjectHandle own = mask.getDict();
    double pixels = numberOr(own.getKey("/Width"), 0) * numberOr(own.getKey("/Height"), 0);
    if (pixels > MAX_MASK_PIXELS)
        return QPDFObjectHandle::newNull();
    if (!isSoft)
        return isTrue(own.getKey("/ImageMask")) ? mask : QPDFObjectHandle::newNull();
    bool isIndexed = !own.getKey("/ColorSpace").isName();
    if (integerOr(own.getKey("/BitsPerComponent"), 8) != 1 || isIndexed || own.hasKey("/Matte"))
        return QPDFObjectHandle::newNull();
    QPDFObjectHandle decode = own.getKey("/Decode");
    bool isTurned = decode.isArray() && decode.getArrayNItems() > 1 &&
                    numberOr(decode.getArrayItem(0), 0) > numberOr(decode.getArrayItem(1), 1);
    QPDFObjectHandle stencil = mask.copyStream();
    for (const char *key : {"/ColorSpace", "/BitsPerComponent", "/SMask", "/Mask"})
        stencil.getDict().removeKey(key);
    stencil.getDict().replaceKey("/ImageMask", QPDFObjectHandle::newBool(true));
    stencil.getDict().replaceKey("/Decode", QPDFObjectHandle::parse(isTurned ? "[0 1]" : "[1 0]"));
    return stencil;
}

/* One colour behind single bits, which may be very many. */
bool flattenToStencil(QPDFObjectHandle image, const Samples &samples, const SpacePtr &space,
                      const ImagePlace &place, FlatImage *flat)
{
    if (place.mask || !isOneColour(samples))
        return false;
    QPDFObjectHandle stencil = maskAsStencil(image);
    if (stencil.isNull())
        return false;
    ColourReader reader = makeReader(samples, space, deviceComponents(*space));
    flat->kind = FlatKind::STENCIL;
    flat->image = stencil;
    flat->colour = onPaper(place.chain, {colourAt(&reader, 0), 1});
    flat->isGuessed = !place.chain.isKnown && !isPlainAnywhere(place.chain);
    return true;
}

} // namespace

bool isMasked(QPDFObjectHandle image)
{
    QPDFObjectHandle dict = image.getDict(), mask = dict.getKey("/Mask");
    return dict.getKey("/SMask").isStream() || mask.isStream() || mask.isArray() ||
           integerOr(dict.getKey("/SMaskInData"), 0) != 0;
}

FlatImage flattenImage(Document *document, QPDFObjectHandle image, const ImagePlace &place)
{
    Samples samples = decodeImage(document, image);
    SpacePtr space = readSpace({}, samples.space);
    if (!space)
        throw LimitReached{"The colours of a masked picture are not known."};
    FlatImage flat;
    if (flattenToStencil(image, samples, space, place, &flat))
        return flat;
    Plane plane = ownPlane(document, image, &samples);
    if (place.mask) {
        int width = std::max(samples.width, plane.width);
        int height = std::max(samples.height, plane.height);
        maskGrid(place, &width, &height);
        plane = both(plane, maskPlane(document, place, width, height));
    }
    Work work = {document, &samples, space, std::move(plane), &place.chain};
    return flatten(work, image, isMasked(image));
}

FlatImage flattenColour(Document *document, const DeviceColour &colour, const ImagePlace &place)
{
    Samples samples;
    samples.width = samples.height = 1;
    samples.components = (int)colour.components;
    SpacePtr space = deviceSpace(colour.components);
    const char *name = colour.components == 1   ? "/DeviceGray"
                       : colour.components == 3 ? "/DeviceRGB"
                                                : "/DeviceCMYK";
    samples.space = QPDFObjectHandle::newName(name);
    for (size_t c = 0; c < colour.components; c++)
        samples.values.push_back(toByte(colour.values[c]));
    int width = 1, height = 1;
    maskGrid(place, &width, &height);
    Work work = {document, &samples, space, maskPlane(document, place, width, height),
                 &place.chain};
    return flatten(work, QPDFObjectHandle::newNull(), false);
}

} // namespace prepare
