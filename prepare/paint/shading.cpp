/*
 * shading.cpp - shadings read, and types 1 and 2 of them
 *
 * An axial shading is a picture one pixel high, placed along its axis, between two rectangles; a
 * shading by function is a picture (ISO 32000-1, 8.7.4.5.2 and 8.7.4.5.3).  Pictures have as many
 * pixels as the steps of a function's work allow.
 */
#include "prepare/paint/shading.h"

#include <algorithm>
#include <cmath>

#include "prepare/paint/shadingparts.h"

namespace prepare {

namespace {

constexpr int FUNCTION_SIDE = 512;        /* pixels of a picture of a function of two inputs */
constexpr double MAX_FUNCTION_WORK = 2e8; /* steps */
constexpr double MAX_SHADING_WORK = 3e9;  /* of one document */

/* Small pictures, by their content. */
struct ShadingPictures {
    std::map<std::string, QPDFObjectHandle> byContent;
};

} // namespace

std::vector<double> numbersOf(QPDFObjectHandle array, size_t most)
{
    std::vector<double> numbers;
    if (array.isArray())
        for (int i = 0; i < array.getArrayNItems() && numbers.size() < most; i++)
            numbers.push_back(numberOr(array.getArrayItem(i), 0));
    return numbers;
}

namespace {

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

} // namespace

DeviceColour colourAt(const Shading &shading, std::span<const double> inputs)
{
    std::array<double, MAX_COLORANTS> values{};
    std::span<double> outputs(values.data(), std::min(shading.space->components, values.size()));
    evaluate(*shading.function, inputs, outputs);
    return toDevice(*shading.space, outputs);
}

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

std::string filledBox(const Box &box, const DeviceColour &colour)
{
    return colourText(colour, false) + " " + rectangleText(box) + "f\n";
}

std::string addPicture(Rewriter *rewriter, int width, int height, size_t components,
                       const std::string &bytes)
{
    constexpr size_t MOST_KNOWN = 1u << 14; /* bytes of pictures that are looked up */
    std::string key = std::to_string(height) + " " + std::to_string(components) + " ";
    if (bytes.size() <= MOST_KNOWN) {
        QPDFObjectHandle known =
            rewriter->document->memos.of<ShadingPictures>().byContent[key + bytes];
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

namespace {

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
    rewriter->document->budget.shadingWork +=
        (double)side * side * (double)costOf(*shading.function);
    std::string name = addPicture(rewriter, side, side, shading.components, bytes);
    return "q " + concatText({m[0], m[1], m[2], m[3], m[4], m[5]}) +
           concatText({width, 0, 0, height, domain[0], domain[2]}) + name + " Do Q\n";
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
    std::string text = "q " + concatText(axis) + "\n";
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
        text += "q " + concatText({to - from, 0, 0, there.top - there.bottom, from, there.bottom}) +
                name + " Do Q\n";
    }
    return text + "Q\n";
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
                                          QPDFObjectHandle object, const Box &box,
                                          const Matrix &toPaper, bool isPattern)
{
    std::optional<Shading> shading = readShading(scope, object);
    if (!shading || rewriter->document->budget.shadingWork > MAX_SHADING_WORK)
        return std::nullopt;
    QPDFObjectHandle limits = entryOf(shading->dict, "/BBox");
    QPDFObjectHandle background = entryOf(shading->dict, "/Background");
    std::string text;
    if (limits.isArray()) {
        text += rectangleText(boxOf(limits)) + "W n\n";
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
