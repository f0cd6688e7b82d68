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
FlatColour toCmyk(const FlatColour &colour)
{
    if (colour.components == 4)
        return colour;
    return {4, {0, 0, 0, 1 - colour.value[0]}};
}

/* Brings two colours to one kind. */
void unite(FlatColour *a, FlatColour *b)
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

double light(const double *c)
{
    return 0.3 * c[0] + 0.59 * c[1] + 0.11 * c[2];
}

double saturation(const double *c)
{
    return std::max({c[0], c[1], c[2]}) - std::min({c[0], c[1], c[2]});
}

/* Moves a colour to this lightness, and towards gray as far as it leaves the range. */
FlatColour withLight(FlatColour c, double wanted)
{
    double by = wanted - light(c.value);
    for (int i = 0; i < 3; i++)
        c.value[i] += by;
    double l = light(c.value);
    double least = std::min({c.value[0], c.value[1], c.value[2]});
    double most = std::max({c.value[0], c.value[1], c.value[2]});
    for (int i = 0; i < 3; i++) {
        if (least < 0)
            c.value[i] = l + (c.value[i] - l) * l / (l - least);
        if (most > 1)
            c.value[i] = l + (c.value[i] - l) * (1 - l) / (most - l);
    }
    return c;
}

FlatColour withSaturation(FlatColour c, double wanted)
{
    double least = std::min({c.value[0], c.value[1], c.value[2]}), range = saturation(c.value);
    for (int i = 0; i < 3; i++)
        c.value[i] = range > 0 ? (c.value[i] - least) * wanted / range : 0;
    return c;
}

FlatColour inseparable(Blend mode, const FlatColour &b, const FlatColour &s)
{
    switch (mode) {
    case Blend::HUE:
        return withLight(withSaturation(s, saturation(b.value)), light(b.value));
    case Blend::SATURATION:
        return withLight(withSaturation(b, saturation(s.value)), light(b.value));
    case Blend::COLOR:
        return withLight(s, light(b.value));
    default:
        return withLight(b, light(s.value));
    }
}

} // namespace

FlatColour toRgb(const FlatColour &colour)
{
    const double *v = colour.value;
    if (colour.components == 1)
        return {3, {v[0], v[0], v[0], 0}};
    if (colour.components == 3)
        return colour;
    auto ink = [&](int i) { return 1 - std::min(1.0, v[i] + v[3]); };
    return {3, {ink(0), ink(1), ink(2), 0}};
}

bool isSame(const FlatColour &a, const FlatColour &b)
{
    constexpr double CLOSE = 0.5 / 255;
    FlatColour x = a, y = b;
    unite(&x, &y);
    for (int i = 0; i < x.components; i++)
        if (std::abs(x.value[i] - y.value[i]) > CLOSE)
            return false;
    return true;
}

bool isWhite(const FlatColour &colour)
{
    return isSame(colour, WHITE);
}

double luminosity(const FlatColour &colour)
{
    return light(toRgb(colour).value);
}

FlatColour mix(const FlatColour &a, const FlatColour &b, double t)
{
    FlatColour x = a, y = b;
    unite(&x, &y);
    for (int i = 0; i < x.components; i++)
        x.value[i] += (y.value[i] - x.value[i]) * t;
    return x;
}

FlatColour blend(Blend mode, const FlatColour &backdrop, const FlatColour &source)
{
    if (mode == Blend::NORMAL)
        return source;
    if (mode >= Blend::HUE)
        return inseparable(mode, toRgb(backdrop), toRgb(source));
    FlatColour b = backdrop, s = source;
    unite(&b, &s);
    bool isInk = s.components == 4;
    for (int i = 0; i < s.components; i++)
        s.value[i] = isInk ? 1 - separable(mode, 1 - b.value[i], 1 - s.value[i])
                           : separable(mode, b.value[i], s.value[i]);
    return s;
}

Layer composite(const Layer &below, const Layer &above, Blend mode)
{
    if (below.alpha <= 0)
        return above;
    if (above.alpha <= 0)
        return below;
    FlatColour source = above.colour;
    if (mode != Blend::NORMAL)
        source = mix(source, blend(mode, below.colour, source), below.alpha);
    double alpha = below.alpha + above.alpha - below.alpha * above.alpha;
    return {mix(below.colour, source, above.alpha / alpha), alpha};
}

FlatColour onWhite(const Layer &layer)
{
    return layer.alpha >= 1 ? layer.colour : mix(WHITE, layer.colour, layer.alpha);
}

std::string colourText(const FlatColour &colour, bool isStroke)
{
    static const char *const operators[2][5] = {{"", "g", "", "rg", "k"}, {"", "G", "", "RG", "K"}};
    std::string text;
    for (int i = 0; i < colour.components; i++)
        text += numberText(std::clamp(colour.value[i], 0.0, 1.0)) + " ";
    return text + operators[isStroke][colour.components];
}

} // namespace prepare
