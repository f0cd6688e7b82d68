/*
 * meshshading.cpp - shadings of types 4 to 7, as pictures
 *
 * ISO 32000-1, 8.7.4.5.5 to 8.7.4.5.8.  The triangles and patches (mesh.h) are painted into a
 * picture of bounded size, which is shown through a clip: the mesh's outline, or the pixels that
 * are covered when that has too many parts.
 */
#include "prepare/paint/shadingparts.h"

#include <algorithm>
#include <cmath>

#include "prepare/paint/mesh.h"

namespace prepare {

namespace {

constexpr size_t MAX_MESH_BYTES = 64u << 20;
constexpr size_t MAX_OUTLINE_PARTS = 4000;
constexpr double MAX_PICTURE_SIDE = 2048; /* pixels */
constexpr double MESH_RESOLUTION = 150.0 / 72;

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

} // namespace

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
    std::string place = concatText({width, 0, 0, height, visible.left, visible.bottom});
    std::string name = addPicture(rewriter, picture.width, picture.height, shading.components,
                                  pictureBytes(shading, picture));
    if (!clip.empty())
        return "q\n" + clip + "W n " + place + name + " Do Q\n";
    return "q " + place + "q " +
           concatText({1.0 / picture.width, 0, 0, 1.0 / picture.height, 0, 0}) + "\n" +
           coveredPath(picture) + "W n " +
           concatText({(double)picture.width, 0, 0, (double)picture.height, 0, 0}) + name +
           " Do Q Q\n";
}

} // namespace prepare
