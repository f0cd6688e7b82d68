/*
 * blend.cpp - the formulas of compositing
 *
 * A separable mode is a function of one component, where 1 is light: components of CMYK are turned
 * round before and after.  The other four work on RGB.
 */
#include "prepare/paint/blend.h"

#include <algorithm>
#include <cmath>

namespace prepare {

namespace {

/* The same in CMYK; only of gray and CMYK. */
DeviceColour toCmyk(const DeviceColour &colour)
{
    if (colour.components == 4)
        return colour;
    return {4, {0, 0, 0, 1 - colour.values[0]}};
}

/* Brings two colours to one kind. */
void unite(DeviceColour *a, DeviceColour *b)
{
    if (a->components == b->components)
        return;
    bool isCmyk = a->components != 3 && b->components != 3;
    *a = isCmyk ? toCmyk(*a) : toRgb(*a);
    *b = isCmyk ? toCmyk(*b) : toRgb(*b);
}

double hardLight(double b, double s)
{
    return s <= 0.5 ? 2 * b * s : b + (2 * s - 1) - b * (2 * s - 1);
}

double softLight(double b, double s)
{
    if (s <= 0.5)
        return b - (1 - 2 * s) * b * (1 - b);
    double d = b <= 0.25 ? ((16 * b - 12) * b + 4) * b : std::sqrt(b);
    return b + (2 * s - 1) * (d - b);
}

double colourDodge(double b, double s)
{
    if (b <= 0)
        return 0;
    return s >= 1 ? 1 : std::min(1.0, b / (1 - s));
}

double colourBurn(double b, double s)
{
    if (b >= 1)
        return 1;
    return s <= 0 ? 0 : 1 - std::min(1.0, (1 - b) / s);
}

double separable(Blend mode, double b, double s)
{
    switch (mode) {
    case Blend::MULTIPLY:
        return b * s;
    case Blend::SCREEN:
        return b + s - b * s;
    case Blend::OVERLAY:
        return hardLight(s, b);
    case Blend::DARKEN:
        return std::min(b, s);
    case Blend::LIGHTEN:
        return std::max(b, s);
    case Blend::COLOR_DODGE:
        return colourDodge(b, s);
    case Blend::COLOR_BURN:
        return colourBurn(b, s);
    case Blend::HARD_LIGHT:
        return hardLight(b, s);
    case Blend::SOFT_LIGHT:
        return softLight(b, s);
    case Blend::DIFFERENCE:
        return std::abs(b - s);
    case Blend::EXCLUSION:
        return b + s - 2 * b * s;
    default:
        return s;
    }
}

double light(const std::array<double, 4> &c)
{
    return 0.3 * c[0] + 0.59 * c[1] + 0.11 * c[2];
}

double saturation(const std::array<double, 4> &c)
{
    return std::max({c[0], c[1], c[2]}) - std::min({c[0], c[1], c[2]});
}

/* Moves a colour to this lightness, and towards gray as far as it leaves the range. */
DeviceColour withLight(DeviceColour c, double wanted)
{
    double by = wanted - light(c.values);
    for (size_t i = 0; i < 3; i++)
        c.values[i] += by;
    double l = light(c.values);
    double least = std::min({c.values[0], c.values[1], c.values[2]});
    double most = std::max({c.values[0], c.values[1], c.values[2]});
    for (size_t i = 0; i < 3; i++) {
        if (least < 0)
            c.values[i] = l + (c.values[i] - l) * l / (l - least);
        if (most > 1)
            c.values[i] = l + (c.values[i] - l) * (1 - l) / (most - l);
    }
    return c;
}

DeviceColour withSaturation(DeviceColour c, double wanted)
{
    double least = std::min({c.values[0], c.values[1], c.values[2]}), range = saturation(c.values);
    for (size_t i = 0; i < 3; i++)
        c.values[i] = range > 0 ? (c.values[i] - least) * wanted / range : 0;
    return c;
}

DeviceColour inseparable(Blend mode, const DeviceColour &b, const DeviceColour &s)
{
    switch (mode) {
    case Blend::HUE:
        return withLight(withSaturation(s, saturation(b.values)), light(b.values));
    case Blend::SATURATION:
        return withLight(withSaturation(b, saturation(s.values)), light(b.values));
    case Blend::COLOR:
        return withLight(s, light(b.values));
    default:
        return withLight(b, light(s.values));
    }
}

} // namespace

DeviceColour withComponents(const DeviceColour &colour, size_t components)
{
    if (components == 3)
        return toRgb(colour);
    return components == 4 && colour.components == 1 ? toCmyk(colour) : colour;
}

bool isSame(const DeviceColour &a, const DeviceColour &b)
{
    constexpr double CLOSE = 0.5 / 255;
    DeviceColour x = a, y = b;
    unite(&x, &y);
    for (size_t i = 0; i < x.components; i++)
        if (std::abs(x.values[i] - y.values[i]) > CLOSE)
            return false;
    return true;
}

bool isWhite(const DeviceColour &colour)
{
    return isSame(colour, WHITE);
}

double luminosity(const DeviceColour &colour)
{
    return light(toRgb(colour).values);
}

DeviceColour mix(const DeviceColour &a, const DeviceColour &b, double t)
{
    DeviceColour x = a, y = b;
    unite(&x, &y);
    for (size_t i = 0; i < x.components; i++)
        x.values[i] += (y.values[i] - x.values[i]) * t;
    return x;
}

DeviceColour blend(Blend mode, const DeviceColour &backdrop, const DeviceColour &source)
{
    if (mode == Blend::NORMAL)
        return source;
    if (mode >= Blend::HUE)
        return inseparable(mode, toRgb(backdrop), toRgb(source));
    DeviceColour b = backdrop, s = source;
    unite(&b, &s);
    bool isSubtractive = s.components == 4;
    for (size_t i = 0; i < s.components; i++)
        s.values[i] = isSubtractive ? 1 - separable(mode, 1 - b.values[i], 1 - s.values[i])
                                    : separable(mode, b.values[i], s.values[i]);
    return s;
}

Layer composite(const Layer &below, const Layer &above, Blend mode)
{
    if (below.alpha <= 0)
        return above;
    if (above.alpha <= 0)
        return below;
    DeviceColour source = above.colour;
    if (mode != Blend::NORMAL)
        source = mix(source, blend(mode, below.colour, source), below.alpha);
    double alpha = below.alpha + above.alpha - below.alpha * above.alpha;
    return {mix(below.colour, source, above.alpha / alpha), alpha};
}

DeviceColour onWhite(const Layer &layer)
{
    return layer.alpha >= 1 ? layer.colour : mix(WHITE, layer.colour, layer.alpha);
}

} // namespace prepare
