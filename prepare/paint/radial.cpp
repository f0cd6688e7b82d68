/*
 * radial.cpp - shadings of type 3, as heaps of circles
 *
 * ISO 32000-1, 8.7.4.5.4: the circles between two given ones, each over those before it.  Where one
 * holds the other, circles are painted from the outside in and those of one colour are left out;
 * where not, all are painted, and beyond the ends the area that circles sweep is the hull of two of
 * them, since a circle that grows evenly touches two lines.
 */
#include "prepare/paint/shadingparts.h"

#include <algorithm>
#include <cmath>

namespace prepare {

namespace {

struct Circle {
    double x, y, r;
};

struct Radial {
    Circle start, end;
    Circle at(double s) const
    {
        return {start.x + s * (end.x - start.x), start.y + s * (end.y - start.y),
                start.r + s * (end.r - start.r)};
    }
};

std::string circlePath(const Circle &c)
{
    double k = 0.5522847498 * c.r;
    auto p = [](double x, double y) { return numberText(x) + " " + numberText(y) + " "; };
    double l = c.x - c.r, r = c.x + c.r, b = c.y - c.r, t = c.y + c.r;
    return p(r, c.y) + "m " + p(r, c.y + k) + p(c.x + k, t) + p(c.x, t) + "c " + p(c.x - k, t) +
           p(l, c.y + k) + p(l, c.y) + "c " + p(l, c.y - k) + p(c.x - k, b) + p(c.x, b) + "c " +
           p(c.x + k, b) + p(r, c.y - k) + p(r, c.y) + "c h ";
}

bool isSameByte(const DeviceColour &a, const DeviceColour &b)
{
    for (size_t i = 0; i < a.components; i++)
        if (std::lround(a.values[i] * 255) != std::lround(b.values[i] * 255))
            return false;
    return true;
}

/* Circles one on top of the other, from the start or from the end.  In a heap each lies within the
 * one before, and shows a ring of it. */
std::string circles(const Shading &shading, const Radial &radial, bool isForwards, bool isHeap)
{
    constexpr int COUNT = 256;
    constexpr double HALF = 0.5 / COUNT;
    std::string text;
    std::optional<DeviceColour> before;
    for (int i = 0; i <= COUNT; i++) {
        double s = (double)(isForwards ? i : COUNT - i) / COUNT;
        double ring = isHeap ? isForwards ? s + HALF : s - HALF : s;
        DeviceColour colour = colourAlong(shading, std::clamp(ring, 0.0, 1.0));
        Circle circle = radial.at(s);
        if (circle.r <= 0 || (isHeap && before && isSameByte(colour, *before)))
            continue;
        text += colourText(colour, false) + " " + circlePath(circle) + "f\n";
        before = colour;
    }
    return text;
}

/* All that circles from one to a larger or smaller one cover, when neither holds the other. */
std::string hull(const Circle &a, const Circle &b, const DeviceColour &colour)
{
    double dx = b.x - a.x, dy = b.y - a.y, distance = std::hypot(dx, dy);
    std::string text = colourText(colour, false) + " " + circlePath(a) + "f ";
    if (b.r > 0)
        text += circlePath(b) + "f ";
    if (distance > std::abs(a.r - b.r)) {
        /* The two lines that touch both. */
        double turn = std::acos(std::clamp((a.r - b.r) / distance, -1.0, 1.0));
        double direction = std::atan2(dy, dx);
        auto touch = [](const Circle &c, double angle) {
            return numberText(c.x + c.r * std::cos(angle)) + " " +
                   numberText(c.y + c.r * std::sin(angle)) + " ";
        };
        text += touch(a, direction + turn) + "m " + touch(b, direction + turn) + "l " +
                touch(b, direction - turn) + "l " + touch(a, direction - turn) + "l h f ";
    }
    return text + "\n";
}

/* How far beyond an end circles have to go to cover the box, in parts of the way. */
double reach(const Radial &radial, const Box &box)
{
    double step = std::hypot(radial.end.x - radial.start.x, radial.end.y - radial.start.y) +
                  std::abs(radial.end.r - radial.start.r);
    double size = std::hypot(box.right - box.left, box.top - box.bottom) +
                  std::abs(box.left - radial.start.x) + std::abs(box.bottom - radial.start.y) +
                  radial.start.r + radial.end.r;
    constexpr double MOST = 1000;
    return step > 0 ? std::min(MOST, 2 * size / step) : 0;
}

/* The circle a way beyond the end or before the start, no further than to radius 0. */
Circle beyond(const Radial &radial, double s)
{
    double change = radial.end.r - radial.start.r;
    if (radial.at(s).r < 0 && change != 0)
        s = -radial.start.r / change;
    Circle circle = radial.at(s);
    circle.r = std::max(circle.r, 0.0);
    return circle;
}

/* Everything but a circle. */
std::string clipOutside(const Box &box, const Circle &circle)
{
    return rectangleText(box) + circlePath(circle) + "W* n\n";
}

/* One circle holds the other. */
std::string nestedContent(const Shading &shading, const Radial &radial, const Box &box)
{
    bool grows = radial.end.r > radial.start.r;
    bool fillsOutside = grows ? shading.extendsEnd : shading.extendsStart;
    bool fillsInside = grows ? shading.extendsStart : shading.extendsEnd;
    const Circle &inner = grows ? radial.start : radial.end;
    std::string text;
    if (!fillsInside && inner.r > 0)
        text += clipOutside(unionOf(box, {inner.x - inner.r, inner.y - inner.r, inner.x + inner.r,
                                          inner.y + inner.r}),
                            inner);
    if (fillsOutside)
        text += filledBox(box, colourAlong(shading, grows ? 1 : 0));
    return text + circles(shading, radial, !grows, true);
}

/* The circles move apart: a later one covers what is before it, and the last one, when nothing
 * follows it, shows what its ring has met within it. */
std::string conicContent(const Shading &shading, const Radial &radial, const Box &box)
{
    double far = reach(radial, box);
    std::string text;
    if (shading.extendsStart)
        text += hull(radial.start, beyond(radial, -far), colourAlong(shading, 0));
    text += circles(shading, radial, true, false);
    if (shading.extendsEnd)
        return text + hull(radial.end, beyond(radial, 1 + far), colourAlong(shading, 1));
    if (radial.end.r <= 0)
        return text;
    Box all = unionOf(box, {radial.end.x - radial.end.r, radial.end.y - radial.end.r,
                            radial.end.x + radial.end.r, radial.end.y + radial.end.r});
    std::string within = circlePath(radial.end) + "W n\n";
    if (!shading.extendsStart && radial.start.r > 0)
        within += clipOutside(
            unionOf(all, {radial.start.x - radial.start.r, radial.start.y - radial.start.r,
                          radial.start.x + radial.start.r, radial.start.y + radial.start.r}),
            radial.start);
    std::string start = shading.extendsStart
                            ? hull(radial.start, beyond(radial, -far), colourAlong(shading, 0))
                            : "";
    return "q " + clipOutside(all, radial.end) + text + "Q q " + within +
           circles(shading, radial, false, false) + start + "Q\n";
}

} // namespace

std::string radialContent(const Shading &shading, const Box &box)
{
    std::vector<double> v = numbersOf(entryOf(shading.dict, "/Coords"), 6);
    if (v.size() < 6 || v[2] < 0 || v[5] < 0)
        return "";
    Radial radial{{v[0], v[1], v[2]}, {v[3], v[4], v[5]}};
    double distance = std::hypot(v[3] - v[0], v[4] - v[1]), change = std::abs(v[5] - v[2]);
    if (distance == 0 && change == 0)
        return "";
    bool isNested = distance <= change;
    return "q\n" +
           (isNested ? nestedContent(shading, radial, box) : conicContent(shading, radial, box)) +
           "Q\n";
}

} // namespace prepare
