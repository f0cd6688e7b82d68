/*
 * state.cpp - paint and transparency by value
 */
#include "prepare/model/state.h"

#include <algorithm>
#include <iterator>

#include "prepare/model/objects.h"

namespace prepare {

namespace {

/* ORDER: that of Blend. */
constexpr const char *blendNames[] = {
    "/Normal",     "/Multiply",   "/Screen",    "/Overlay",    "/Darken",     "/Lighten",
    "/ColorDodge", "/ColorBurn",  "/HardLight", "/SoftLight",  "/Difference", "/Exclusion",
    "/Hue",        "/Saturation", "/Color",     "/Luminosity",
};

/* A name, or the first known one of an array. */
Blend blendOf(QPDFObjectHandle object)
{
    if (!object.isArray()) {
        for (size_t i = 0; i < std::size(blendNames); i++)
            if (nameOr(object) == blendNames[i])
                return (Blend)i;
        return Blend::NORMAL;
    }
    constexpr int MOST = 32;
    for (int i = 0; i < std::min(object.getArrayNItems(), MOST); i++) {
        QPDFObjectHandle item = object.getArrayItem(i);
        Blend blend = item.isArray() ? Blend::NORMAL : blendOf(item);
        if (blend != Blend::NORMAL || nameOr(item) == "/Normal" || nameOr(item) == "/Compatible")
            return blend;
    }
    return Blend::NORMAL;
}

bool isSameObject(QPDFObjectHandle a, QPDFObjectHandle b)
{
    return a.isSameObjectAs(b) || (a.isNull() && b.isNull());
}

} // namespace

const ColourSpace &SelectedSpace::read() const
{
    if (!known)
        known = readSpace(around ? *around : ResourceScope(), found);
    if (!known)
        known = deviceSpace(1);
    return *known;
}

const SpaceRef &deviceSpaceRef(size_t components)
{
    static const SpaceRef gray = std::make_shared<SelectedSpace>(deviceSpace(1)),
                          rgb = std::make_shared<SelectedSpace>(deviceSpace(3)),
                          cmyk = std::make_shared<SelectedSpace>(deviceSpace(4));
    return components == 3 ? rgb : components == 4 ? cmyk : gray;
}

DeviceColour deviceColourOf(const Paint &paint)
{
    const ColourSpace &space = paint.space->read();
    return toDevice(space, paint.values.empty() ? initialColour(space) : paint.values);
}

bool isDevice(const Paint &paint)
{
    return !paint.pattern && !paint.space->object().isInitialized();
}

bool isPattern(const Paint &paint)
{
    return paint.pattern || paint.space->read().family == Family::PATTERN;
}

bool isSame(const Paint &a, const Paint &b)
{
    bool isSamePattern = a.pattern == b.pattern ||
                         (a.pattern && b.pattern && a.pattern->base == b.pattern->base &&
                          isSameObject(a.pattern->object, b.pattern->object));
    return a.space == b.space && a.values == b.values && isSamePattern;
}

bool isOpaque(const Transparency &transparency)
{
    return transparency.fillAlpha >= 1 && transparency.strokeAlpha >= 1 &&
           transparency.blend == Blend::NORMAL && !transparency.softMask.isInitialized();
}

void applyTransparency(QPDFObjectHandle graphicsState, const Matrix &ctm, Transparency *now)
{
    auto alpha = [&](const char *key, double before) {
        return std::clamp(numberOr(entryOf(graphicsState, key), before), 0.0, 1.0);
    };
    now->fillAlpha = alpha("/ca", now->fillAlpha);
    now->strokeAlpha = alpha("/CA", now->strokeAlpha);
    QPDFObjectHandle mode = entryOf(graphicsState, "/BM");
    if (!mode.isNull())
        now->blend = blendOf(mode);
    QPDFObjectHandle mask = entryOf(graphicsState, "/SMask");
    if (mask.isNull())
        return;
    now->softMask = mask.isDictionary() ? mask : QPDFObjectHandle();
    now->softMaskMatrix = ctm;
}

GraphicsState inherited(const GraphicsState &outer)
{
    GraphicsState inner = outer;
    inner.fill.isInherited = inner.stroke.isInherited = inner.text.isFontInherited = true;
    return inner;
}

} // namespace prepare
