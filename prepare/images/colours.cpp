/*
 * colours.cpp - pixel by pixel, each combination of values worked out once
 */
#include "prepare/images/colours.h"

#include <algorithm>
#include <cmath>
#include <unordered_map>

#include "prepare/colour/convert.h"
#include "prepare/images/decode.h"
#include "prepare/images/encode.h"

namespace prepare {

namespace {

/* From stored values to bytes of device colours, each combination worked out once. */
struct Conversion {
    const ColourSpace *space;
    const Samples *samples;
    std::vector<DecodeRange> ranges;
    std::unordered_map<uint64_t, std::array<uint8_t, 4>> known;
    double work = 0;
};

constexpr size_t MAX_KNOWN = 1u << 18;
constexpr size_t MAX_KEY_BYTES = 8;
constexpr double MAX_WORK = 4e9; /* steps of functions */

std::array<uint8_t, 4> convertPixel(Conversion *conversion, const uint8_t *values)
{
    const ColourSpace &space = *conversion->space;
    std::array<double, MAX_COLORANTS> components{};
    for (size_t i = 0; i < space.components; i++) {
        const DecodeRange &range = conversion->ranges[i];
        components[i] =
            range.low + values[i] * (range.high - range.low) / conversion->samples->maximum;
    }
    conversion->work += 64 + (space.tint ? (double)costOf(*space.tint) : 0);
    if (conversion->work > MAX_WORK)
        throw LimitReached{"Its colours take too long to work out."};
    DeviceColour colour = toDevice(space, {components.data(), space.components});
    std::array<uint8_t, 4> bytes{};
    for (size_t i = 0; i < colour.components; i++)
        bytes[i] = (uint8_t)std::lround(colour.values[i] * 255);
    return bytes;
}

std::array<uint8_t, 4> lookUpPixel(Conversion *conversion, const uint8_t *values)
{
    size_t count = conversion->space->components;
    if (count > MAX_KEY_BYTES)
        return convertPixel(conversion, values);
    uint64_t key = 0;
    for (size_t i = 0; i < count; i++)
        key = key << 8 | values[i];
    auto known = conversion->known.find(key);
    if (known != conversion->known.end())
        return known->second;
    if (conversion->known.size() >= MAX_KNOWN)
        conversion->known.clear();
    return conversion->known[key] = convertPixel(conversion, values);
}

QPDFObjectHandle deviceName(size_t components)
{
    return QPDFObjectHandle::newName(components == 1   ? "/DeviceGray"
                                     : components == 3 ? "/DeviceRGB"
                                                       : "/DeviceCMYK");
}

/* ---- inline images */

/* The colour space that an inline image names, in full; null when there is none. */
QPDFObjectHandle inlineSpace(const ResourceScope &scope, const Operation &operation)
{
    const std::vector<Token> &tokens = operation.operands;
    for (size_t i = 0; i + 1 < tokens.size(); i++)
        if ((tokens[i].source == "/CS" || tokens[i].source == "/ColorSpace") &&
            tokens[i + 1].kind == TokenKind::NAME)
            return findResource(scope, COLORSPACE, nameValue(tokens[i + 1].source));
    return QPDFObjectHandle::newNull();
}

bool visitInlineImage(Rewriter *rewriter, const Operation &operation)
{
    if (operation.name != "BI" || !isConvertedSpace(inlineSpace(rewriter->scope, operation)))
        return false;
    QPDFObjectHandle image = inlineImage(rewriter->document, rewriter->scope, operation);
    if (!image.isStream()) {
        say(rewriter->document, Message::PictureMissing, rewriter->page->number,
            {"What it is cannot be read."});
        return true;
    }
    try {
        convertColours(rewriter->document, image);
    } catch (const LimitReached &limit) {
        say(rewriter->document, Message::PictureMissing, rewriter->page->number, {limit.text});
        return true;
    }
    emit(rewriter, nameText(addResource(rewriter, XOBJECT, "/PfI", image)) + " Do");
    return true;
}

struct InlineColourHandler : Handler {
    bool visit(Rewriter *rewriter, const Operation &operation) override
    {
        return operation.op->id == Op::INLINE_IMAGE && visitInlineImage(rewriter, operation);
    }
};

} // namespace

bool imageNeedsColours(QPDFObjectHandle image)
{
    return image.isStream() && isConvertedSpace(image.getDict().getKey("/ColorSpace"));
}

void convertColours(Document *document, QPDFObjectHandle image)
{
    Samples samples = decodeImage(document, image);
    QPDFObjectHandle dict = image.getDict();
    SpacePtr space = readSpace({}, samples.space);
    if (!space || (int)space->components != samples.components)
        throw LimitReached{"Its colour space cannot be read."};
    Conversion conversion{space.get(), &samples, {}, {}};
    for (int i = 0; i < samples.components; i++)
        conversion.ranges.push_back(decodeRange(samples, i));
    size_t pixels = (size_t)samples.width * (size_t)samples.height;
    size_t count = deviceComponents(*space);
    std::vector<uint8_t> bytes;
    bytes.reserve(pixels * count);
    for (size_t i = 0; i < pixels; i++) {
        auto colour = lookUpPixel(&conversion, &samples.values[i * space->components]);
        bytes.insert(bytes.end(), colour.begin(), colour.begin() + (std::ptrdiff_t)count);
    }
    bool isKeyed = dict.getKey("/Mask").isArray();
    if (isKeyed && !samples.alpha.empty())
        dict.replaceKey("/Mask",
                        newStencil(document, samples.width, samples.height, samples.alpha));
    dict.removeKey("/Decode");
    PackedImage converted =
        bytesAsImage(samples.width, samples.height, deviceName(count), (int)count, bytes);
    bool isMasked = dict.hasKey("/SMask") || dict.hasKey("/Mask");
    replaceImage(image, converted,
                 samples.isLossy && !isMasked ? ImageCode::JPEG : ImageCode::FLATE);
}

const ContentPass inlineColourPass = {"inline images' colours", NEED_COLOURS, [] {
                                          return std::unique_ptr<Handler>(new InlineColourHandler);
                                      }};

} // namespace prepare
