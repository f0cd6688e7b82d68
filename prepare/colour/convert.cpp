/*
 * convert.cpp - images and functions in device colours
 */
#include "prepare/colour/convert.h"

#include <algorithm>
#include <cmath>
#include <unordered_map>

#include "prepare/images/encode.h"

namespace prepare {

namespace {

constexpr int SAMPLES = 256; /* of a function with one input */

/* What the converter writes CIE based spaces with. */
constexpr double USUAL_GAMMA = 2.2, GAMMA_ERROR = 0.25;
constexpr std::array<double, 3> USUAL_WHITE = {0.9505, 1, 1.089};
constexpr double WHITE_ERROR = 0.02;

bool isUsualWhite(const ColourSpace &space)
{
    for (size_t i = 0; i < 3; i++)
        if (std::abs(space.white[i] - USUAL_WHITE[i]) > WHITE_ERROR)
            return false;
    return true;
}

bool isUsualGamma(const ColourSpace &space)
{
    size_t count = space.family == Family::CAL_GRAY ? 1 : 3;
    for (size_t i = 0; i < count; i++)
        if (std::abs(space.gamma[i] - USUAL_GAMMA) > GAMMA_ERROR)
            return false;
    return true;
}

/* ---- images ---- */

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

/* ---- functions ---- */

std::vector<double> numbersOf(QPDFObjectHandle array)
{
    std::vector<double> numbers;
    if (array.isArray())
        for (int i = 0; i < array.getArrayNItems(); i++)
            numbers.push_back(numberOr(array.getArrayItem(i), 0));
    return numbers;
}

/* A sampled function of one input from 0 to 1, outputs from 0 to 1. */
QPDFObjectHandle newTable(Document *document, const std::string &samples, size_t outputs)
{
    QPDFObjectHandle stream = newFlateStream(&document->pdf, samples);
    std::string range;
    for (size_t i = 0; i < outputs; i++)
        range += " 0 1";
    auto put = [&](const char *key, const std::string &value) {
        stream.getDict().replaceKey(key, QPDFObjectHandle::parse(value));
    };
    put("/FunctionType", "0");
    put("/Domain", "[0 1]");
    put("/Range", "[" + range + "]");
    put("/Size", "[" + std::to_string(SAMPLES) + "]");
    put("/BitsPerSample", "8");
    return stream;
}

} // namespace

bool isConverted(const ColourSpace &space)
{
    switch (space.family) {
    case Family::DEVICE_N:
        return true;
    case Family::SEPARATION:
        return space.colorants[0] == "/All" || space.colorants[0] == "/None";
    case Family::CAL_GRAY:
        return !isUsualWhite(space) || !isUsualGamma(space);
    case Family::CAL_RGB:
        return !isUsualGamma(space);
    case Family::LAB:
        return !isUsualWhite(space);
    default:
        return false;
    }
}

bool isConvertedSpace(QPDFObjectHandle space)
{
    if (!space.isInitialized() || !space.isArray() || space.getArrayNItems() < 2)
        return false;
    std::string family = nameOr(space.getArrayItem(0));
    if (family == "/DeviceN")
        return space.getArrayNItems() > 3;
    if (family == "/Separation") {
        std::string colorant = nameOr(space.getArrayItem(1));
        return space.getArrayNItems() > 3 && (colorant == "/All" || colorant == "/None");
    }
    if (family != "/CalGray" && family != "/CalRGB" && family != "/Lab")
        return false;
    SpacePtr read = readSpace({}, space);
    return read && isConverted(*read);
}

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

QPDFObjectHandle sampledSpace(Document *document, const ColourSpace &space)
{
    std::string samples;
    for (int i = 0; i < SAMPLES; i++) {
        double tint = (double)i / (SAMPLES - 1);
        DeviceColour colour = toDevice(space, {&tint, 1});
        for (size_t c = 0; c < colour.components; c++)
            samples.push_back((char)std::lround(colour.values[c] * 255));
    }
    return newTable(document, samples, deviceComponents(space));
}

QPDFObjectHandle sampledFunction(Document *document, QPDFObjectHandle object)
{
    if (isPlainFunction(object, 1))
        return object;
    FunctionPtr function = readFunction(object);
    if (!function || inputsOf(*function) != 1 || outputsOf(*function) != 1)
        return QPDFObjectHandle::newNull();
    std::string samples;
    for (int i = 0; i < SAMPLES; i++) {
        double x = (double)i / (SAMPLES - 1), y = 0;
        evaluate(*function, {&x, 1}, {&y, 1});
        samples.push_back((char)std::lround(std::clamp(y, 0.0, 1.0) * 255));
    }
    return newTable(document, samples, 1);
}

bool isPlainFunction(QPDFObjectHandle function, size_t inputs)
{
    if (!function.isInitialized() || !function.isStream())
        return false;
    QPDFObjectHandle dict = function.getDict();
    std::vector<double> size = numbersOf(dict.getKey("/Size")),
                        domain = numbersOf(dict.getKey("/Domain")),
                        range = numbersOf(dict.getKey("/Range")),
                        decode = numbersOf(dict.getKey("/Decode")),
                        encode = numbersOf(dict.getKey("/Encode"));
    if (integerOr(dict.getKey("/FunctionType"), -1) != 0 || size.size() != inputs ||
        domain.size() != 2 * inputs || range.size() < 2 || range.size() % 2 != 0)
        return false;
    for (size_t i = 0; i < range.size(); i++) /* it takes the first pair for all */
        if (range[i] != range[i % 2])
            return false;
    for (size_t i = 0; i < encode.size(); i++)
        if (i / 2 >= inputs || encode[i] != (i % 2 ? size[i / 2] - 1 : 0))
            return false;
    return decode.empty() || decode == range;
}

} // namespace prepare
