/*
 * convert.cpp - functions in tables, and which spaces are converted
 */
#include "prepare/colour/convert.h"

#include <algorithm>
#include <cmath>
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

bool isUsual(const ColourSpace &space)
{
    if (space.family == Family::CAL_GRAY && !isUsualWhite(space))
        return false;
    size_t count = space.family == Family::CAL_GRAY ? 1 : 3;
    for (size_t i = 0; i < count; i++)
        if (std::abs(space.gamma[i] - USUAL_GAMMA) > GAMMA_ERROR)
            return false;
    return true;
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
    QPDFObjectHandle stream = newFlateStream(&document->source.pdf, samples);
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
    case Family::CAL_RGB:
        return !space.isNearDevice || (space.curves.empty() && !isUsual(space));
    case Family::LAB: /* its colours can lie beyond the white, which printers cut off by component
                       */
        return true;
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
