/*
 * shading.cpp - the seven types of shadings
 *
 * An axial shading is a picture one pixel high, placed along its axis, between two rectangles.  A
 * radial one is a heap of circles.  A shading by function, and meshes, are pictures; a mesh is
 * painted through a clip to its outline.
 */
#include "prepare/paint/shading.h"

#include <algorithm>
#include <cmath>

#include "prepare/paint/mesh.h"

namespace prepare {

namespace {

constexpr size_t MAX_MESH_BYTES = 64u << 20;
constexpr size_t MAX_OUTLINE_PARTS = 4000;
constexpr double MAX_PICTURE_SIDE = 2048; /* pixels */
constexpr double MESH_RESOLUTION = 150.0 / 72;
constexpr int FUNCTION_SIDE = 512;        /* pixels of a picture of a function of two inputs */
constexpr double MAX_FUNCTION_WORK = 2e8; /* steps */
constexpr double MAX_SHADING_WORK = 3e9;  /* of one document */

/* Small pictures, by their content. */
struct ShadingPictures {
    std::map<std::string, QPDFObjectHandle> byContent;
};

struct Shading {
    int type = 0;
    SpacePtr space;
    FunctionPtr function;  /* may be null: for meshes */
    size_t components = 1; /* of the device space */
    QPDFObjectHandle dict;
    QPDFObjectHandle stream; /* of meshes */

    double first = 0, last = 1; /* of the parameter */
    bool extendsStart = false, extendsEnd = false;
};

std::vector<double> numbersOf(QPDFObjectHandle array, size_t most)
{
    std::vector<double> numbers;
    if (array.isArray())
        for (int i = 0; i < array.getArrayNItems() && numbers.size() < most; i++)
            numbers.push_back(numberOr(array.getArrayItem(i), 0));
    return numbers;
}

bool isTrue(QPDFObjectHandle object)
{
    return object.isBool() && object.getBoolValue();
}

std::optional<Shading> readShading(const ResourceScope &scope, QPDFObjectHandle object)
{
    Shading shading;
    if (object.isStream())
        shading.stream = object;
    shading.dict = object.isStream() ? object.getDict() : object;
    if (!shading.dict.isDictionary())
        return std::nullopt;
    shading.type = integerOr(entryOf(shading.dict, "/ShadingType"), 0);
    shading.space = readSpace(scope, entryOf(shading.dict, "/ColorSpace"));
    if (!shading.space || shading.space->family == Family::PATTERN || shading.type < 1 ||
        shading.type > 7)
        return std::nullopt;
    shading.components = deviceComponents(*shading.space);
    QPDFObjectHandle function = entryOf(shading.dict, "/Function");
    if (!function.isNull()) {
        shading.function = readFunction(function);
        if (!shading.function)
            return std::nullopt;
    }
    if (shading.type <= 3 && !shading.function)
        return std::nullopt;
    if (shading.function && inputsOf(*shading.function) != (shading.type == 1 ? 2u : 1u))
        return std::nullopt;
    std::vector<double> domain = numbersOf(entryOf(shading.dict, "/Domain"), 4);
    if (domain.size() >= 2 && shading.type != 1) {
        shading.first = domain[0];
        shading.last = domain[1];
    }
    QPDFObjectHandle extend = entryOf(shading.dict, "/Extend");
    if (extend.isArray() && extend.getArrayNItems() >= 2) {
        shading.extendsStart = isTrue(extend.getArrayItem(0));
        shading.extendsEnd = isTrue(extend.getArrayItem(1));
    }
    return shading;
}

/* The colour where the function's inputs are these. */
DeviceColour colourAt(const Shading &shading, std::span<const double> inputs)
{
    std::array<double, MAX_COLORANTS> values{};
    std::span<double> outputs(values.data(), std::min(shading.space->components, values.size()));
    evaluate(*shading.function, inputs, outputs);
    return toDevice(*shading.space, outputs);
}

/* The colour at a part of the way from the first parameter to the last. */
DeviceColour colourAlong(const Shading &shading, double part)
{
    double t = shading.first + part * (shading.last - shading.first);
    return colourAt(shading, {&t, 1});
}

void appendBytes(std::string *bytes, const DeviceColour &colour)
{
    for (size_t i = 0; i < colour.components; i++)
        bytes->push_back((char)std::lround(colour.values[i] * 255));
}

std::string placed(double a, double b, double c, double d, double e, double f)
{
    return concatText({a, b, c, d, e, f});
}

std::string rectangle(double left, double bottom, double right, double top)
{
    return numberText(left) + " " + numberText(bottom) + " " + numberText(right - left) + " " +
           numberText(top - bottom) + " re ";
}

std::string filledBox(const Box &box, const DeviceColour &colour)
{
    return colourText(colour, false) + " " + rectangle(box.left, box.bottom, box.right, box.top) +
           "f\n";
}

/* A picture in a device space; the name of its resource. */
std::string addPicture(Rewriter *rewriter, int width, int height, size_t components,
                       const std::string &bytes)
{
    constexpr size_t MOST_KNOWN = 1u << 14; /* bytes of pictures that are looked up */
    std::string key = std::to_string(height) + " " + std::to_string(components) + " ";
    if (bytes.size() <= MOST_KNOWN) {
        QPDFObjectHandle known = rewriter->document->memos.of<ShadingPictures>().byContent[key + bytes];
        if (known.isInitialized()) {
            std::string name = "/PfI" + std::to_string(known.getObjectID());
            putResource(rewriter, XOBJECT, name, known);
            return name;
        }
    }
    QPDFObjectHandle image = newFlateStream(&rewriter->document->source.pdf, bytes);
    const char *space = components == 1   ? "/DeviceGray"
                        : components == 3 ? "/DeviceRGB"
                                          : "/DeviceCMYK";
    QPDFObjectHandle dict = image.getDict();
    dict.replaceKey("/Type", QPDFObjectHandle::newName("/XObject"));
    dict.replaceKey("/Subtype", QPDFObjectHandle::newName("/Image"));
    dict.replaceKey("/Width", QPDFObjectHandle::newInteger(width));
    dict.replaceKey("/Height", QPDFObjectHandle::newInteger(height));
    dict.replaceKey("/BitsPerComponent", QPDFObjectHandle::newInteger(8));
    dict.replaceKey("/ColorSpace", QPDFObjectHandle::newName(space));
    if (bytes.size() <= MOST_KNOWN)
        rewriter->document->memos.of<ShadingPictures>().byContent[key + bytes] = image;
    std::string name = "/PfI" + std::to_string(image.getObjectID());
    putResource(rewriter, XOBJECT, name, image);
    return name;
}

/* ---- type 1 ---- */

std::string functionContent(Rewriter *rewriter, const Shading &shading)
{
    std::vector<double> domain = numbersOf(entryOf(shading.dict, "/Domain"), 4);
    if (domain.size() < 4)
        domain = {0, 1, 0, 1};
    std::vector<double> m = numbersOf(entryOf(shading.dict, "/Matrix"), 6);
    if (m.size() < 6)
        m = {1, 0, 0, 1, 0, 0};
    double width = domain[1] - domain[0], height = domain[3] - domain[2];
    double affordable = MAX_FUNCTION_WORK / (double)(costOf(*shading.function) + 16);
    int side = (int)std::clamp(std::sqrt(affordable), 16.0, (double)FUNCTION_SIDE);
    std::string bytes;
    for (int row = 0; row < side; row++)
        for (int column = 0; column < side; column++) {
            double point[2] = {domain[0] + width * (column + 0.5) / side,
                               domain[3] - height * (row + 0.5) / side};
            appendBytes(&bytes, colourAt(shading, point));
        }
    rewriter->document->budget.shadingWork += (double)side * side * (double)costOf(*shading.function);
    std::string name = addPicture(rewriter, side, side, shading.components, bytes);
    return "q " + placed(m[0], m[1], m[2], m[3], m[4], m[5]) +
           placed(width, 0, 0, height, domain[0], domain[2]) + name + " Do Q\n";
}

/* ---- type 2 ---- */

/* Colours along a part of the axis, as many as they need to run smoothly. */
std::string coloursAlong(const Shading &shading, double from, double to, int *count)
{
    constexpr int LEAST = 256, MOST = 4096, STEP = 2; /* pixels; of 255 */
    size_t size = shading.components;
    for (*count = LEAST;; *count *= 2) {
        std::string bytes;
        int widest = 0;
        for (int i = 0; i < *count; i++) {
            appendBytes(&bytes, colourAlong(shading, from + (to - from) * (i + 0.5) / *count));
            for (size_t c = 0; i > 0 && c < size; c++)
                widest = std::max(widest, std::abs((uint8_t)bytes[bytes.size() - 1 - c] -
                                                   (uint8_t)bytes[bytes.size() - 1 - c - size]));
        }
        double work = (double)*count * 2 * (double)costOf(*shading.function);
        if (widest <= STEP || *count >= MOST || work > MAX_FUNCTION_WORK)
            return bytes;
    }
}

/* In units of the axis: its start at (0, 0) and its end at (1, 0). */
std::string axialContent(Rewriter *rewriter, const Shading &shading, const Box &box)
{
    std::vector<double> v = numbersOf(entryOf(shading.dict, "/Coords"), 4);
    if (v.size() < 4)
        return "";
    Matrix axis{v[2] - v[0], v[3] - v[1], v[1] - v[3], v[2] - v[0], v[0], v[1]};
    std::optional<Matrix> inwards = inverseOf(axis);
    if (!inwards)
        return "";
    Box there = transformed(*inwards, box);
    std::string text = "q " + placed(axis.a, axis.b, axis.c, axis.d, axis.e, axis.f) + "\n";
    double from = std::max(0.0, there.left), to = std::min(1.0, there.right);
    double middle = (from + to) / 2; /* the ends reach below the picture, so that no gap shows */
    if (shading.extendsStart && there.left < 0)
        text += filledBox({there.left, there.bottom, from < to ? middle : there.right, there.top},
                          colourAlong(shading, 0));
    if (shading.extendsEnd && there.right > 1)
        text += filledBox({from < to ? middle : there.left, there.bottom, there.right, there.top},
                          colourAlong(shading, 1));
    if (from < to) {
        int count;
        std::string bytes = coloursAlong(shading, from, to, &count);
        rewriter->document->budget.shadingWork += 2 * count * (double)costOf(*shading.function);
        std::string name = addPicture(rewriter, count, 1, shading.components, bytes);
        text += "q " + placed(to - from, 0, 0, there.top - there.bottom, from, there.bottom) +
                name + " Do Q\n";
    }
    return text + "Q\n";
}

/* ---- type 3 ---- */

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
    return rectangle(box.left, box.bottom, box.right, box.top) + circlePath(circle) + "W* n\n";
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

/* ---- types 4 to 7 ---- */

std::optional<Mesh> readMeshOf(Rewriter *rewriter, const Shading &shading)
{
    MeshFormat format;
    QPDFObjectHandle dict = shading.dict;
    auto bits = [&](const char *key) {
        return (unsigned)std::clamp(integerOr(dict.getKey(key), 0), 0, 64);
    };
    format.type = shading.type;
    format.coordinateBits = bits("/BitsPerCoordinate");
    format.componentBits = bits("/BitsPerComponent");
    format.flagBits = shading.type == 5 ? 0 : bits("/BitsPerFlag");
    format.components = shading.function ? 1 : shading.space->components;
    format.verticesPerRow = (size_t)std::max(0, integerOr(dict.getKey("/VerticesPerRow"), 0));
    format.decode = numbersOf(dict.getKey("/Decode"), 4 + 2 * MAX_COLORANTS);
    format.colour = [&](std::span<const double> values) {
        MeshColour colour{};
        if (shading.function) {
            colour[0] = (float)values[0];
            return colour;
        }
        DeviceColour device = toDevice(*shading.space, values);
        for (size_t i = 0; i < colour.size(); i++)
            colour[i] = (float)device.values[i];
        return colour;
    };
    if (!shading.stream.isInitialized() || !isSound(format))
        return std::nullopt;
    bool damaged = false;
    Mesh mesh = readMesh(format, decodeStream(shading.stream, MAX_MESH_BYTES, &damaged));
    if (damaged)
        say(rewriter->document, Message::ShadingDamaged, rewriter->page->number);
    if (mesh.isCut)
        say(rewriter->document, Message::ShadingCut, rewriter->page->number);
    return mesh;
}

/* Colours of all parameters that a mesh has, looked up instead of worked out for each pixel. */
struct Ramp {
    double first = 0, last = 0;
    std::vector<DeviceColour> colours;
    const DeviceColour &at(double t) const
    {
        double part = last > first ? (t - first) / (last - first) : 0;
        double index = std::clamp(part, 0.0, 1.0) * (double)(colours.size() - 1);
        return colours[(size_t)std::lround(index)];
    }
};

Ramp rampOf(const Shading &shading)
{
    constexpr int COUNT = 1024;
    auto [first, last] = domainOf(*shading.function, 0);
    Ramp ramp{first, last, {}};
    for (int i = 0; i < COUNT; i++) {
        double t = first + (last - first) * i / (COUNT - 1);
        ramp.colours.push_back(colourAt(shading, {&t, 1}));
    }
    return ramp;
}

std::string pictureBytes(const Shading &shading, const MeshPicture &picture)
{
    Ramp ramp;
    if (shading.function)
        ramp = rampOf(shading);
    std::string bytes;
    for (size_t i = 0; i < picture.covered.size(); i++) {
        DeviceColour colour{shading.components, {}};
        const float *values = &picture.values[i * picture.components];
        if (shading.function)
            colour = ramp.at(values[0]);
        else
            for (size_t c = 0; c < shading.components; c++)
                colour.values[c] = std::clamp((double)values[c], 0.0, 1.0);
        appendBytes(&bytes, colour);
    }
    return bytes;
}

/* The covered pixels as rectangles in pixels, runs of rows that are alike as one. */
std::string coveredPath(const MeshPicture &picture)
{
    std::string path;
    size_t width = (size_t)picture.width;
    auto row = [&](int y) { return picture.covered.data() + (size_t)y * width; };
    for (int y = 0; y < picture.height;) {
        int first = y++;
        while (y < picture.height && std::equal(row(first), row(first) + width, row(y)))
            y++;
        for (int x = 0; x < picture.width; x++) {
            int begin = x;
            while (x < picture.width && row(first)[x])
                x++;
            if (x > begin)
                path += std::to_string(begin) + " " + std::to_string(picture.height - y) + " " +
                        std::to_string(x - begin) + " " + std::to_string(y - first) + " re\n";
        }
    }
    return path;
}

std::optional<std::string> meshContent(Rewriter *rewriter, const Shading &shading, const Box &box,
                                       const Matrix &toPaper)
{
    std::optional<Mesh> mesh = readMeshOf(rewriter, shading);
    if (!mesh)
        return std::nullopt;
    Box visible = intersection(boxOf(*mesh), box);
    double width = visible.right - visible.left, height = visible.top - visible.bottom;
    if (isEmpty(visible) || width <= 0 || height <= 0)
        return "";
    double scale = std::max(std::hypot(toPaper.a, toPaper.b), std::hypot(toPaper.c, toPaper.d));
    auto pixels = [&](double side) {
        return (int)std::clamp(std::ceil(side * scale * MESH_RESOLUTION), 1.0, MAX_PICTURE_SIDE);
    };
    MeshPicture picture;
    picture.width = pixels(width);
    picture.height = pixels(height);
    picture.components = shading.function ? 1 : shading.components;
    bool isPainted = paintMesh(*mesh, visible, &picture);
    rewriter->document->budget.shadingWork += picture.work;
    if (!isPainted) {
        say(rewriter->document, Message::ShadingTooSlow, rewriter->page->number);
        return "";
    }
    std::string clip = outlineOf(*mesh, MAX_OUTLINE_PARTS);
    std::string place = placed(width, 0, 0, height, visible.left, visible.bottom);
    std::string name = addPicture(rewriter, picture.width, picture.height, shading.components,
                                  pictureBytes(shading, picture));
    if (!clip.empty())
        return "q\n" + clip + "W n " + place + name + " Do Q\n";
    return "q " + place + "q " + placed(1.0 / picture.width, 0, 0, 1.0 / picture.height, 0, 0) +
           "\n" + coveredPath(picture) + "W n " +
           placed(picture.width, 0, 0, picture.height, 0, 0) + name + " Do Q Q\n";
}

std::optional<std::string> contentOf(Rewriter *rewriter, const Shading &shading, const Box &box,
                                     const Matrix &toPaper)
{
    switch (shading.type) {
    case 1:
        return functionContent(rewriter, shading);
    case 2:
        return axialContent(rewriter, shading, box);
    case 3:
        return radialContent(shading, box);
    default:
        return meshContent(rewriter, shading, box, toPaper);
    }
}

} // namespace

std::optional<std::string> shadingContent(Rewriter *rewriter, const ResourceScope &scope,
                                          QPDFObjectHandle object,
                                          const Box &box, const Matrix &toPaper, bool isPattern)
{
    std::optional<Shading> shading = readShading(scope, object);
    if (!shading || rewriter->document->budget.shadingWork > MAX_SHADING_WORK)
        return std::nullopt;
    QPDFObjectHandle limits = entryOf(shading->dict, "/BBox");
    QPDFObjectHandle background = entryOf(shading->dict, "/Background");
    std::string text;
    if (limits.isArray()) {
        Box inner = boxOf(limits);
        text += rectangle(inner.left, inner.bottom, inner.right, inner.top) + "W n\n";
    }
    if (isPattern && background.isArray())
        text += filledBox(box, toDevice(*shading->space, numbersOf(background, MAX_COLORANTS)));
    std::optional<std::string> content = contentOf(rewriter, *shading, box, toPaper);
    if (!content)
        return std::nullopt;
    return text + *content;
}

DeviceColour shadingColour(const ResourceScope &scope, QPDFObjectHandle object)
{
    constexpr double MIDDLE = 0.5;
    std::optional<Shading> shading = readShading(scope, object);
    if (!shading || !shading->function)
        return {1, {MIDDLE, 0, 0, 0}};
    if (shading->type != 1)
        return colourAlong(*shading, MIDDLE);
    double point[2];
    for (size_t i = 0; i < 2; i++) {
        auto [low, high] = domainOf(*shading->function, i);
        point[i] = (low + high) / 2;
    }
    return colourAt(*shading, point);
}

} // namespace prepare
