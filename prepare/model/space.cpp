/*
 * space.cpp - reading spaces, and the way from each of them to a device colour
 */
#include "prepare/model/space.h"

#include <algorithm>
#include <cmath>
#include <unordered_map>

#include "prepare/model/tokens.h"
#include "prepare/model/objects.h"
#include "prepare/model/streams.h"

namespace prepare {

namespace {

constexpr int MAX_SPACE_DEPTH = 8;
constexpr int MAX_INDEX = 255;

SpacePtr read(const ResourceScope &scope, QPDFObjectHandle object, int depth);

SpacePtr newDevice(Family family, size_t components)
{
    auto space = std::make_shared<ColourSpace>();
    space->family = family;
    space->components = components;
    return space;
}

const SpacePtr deviceGray = newDevice(Family::GRAY, 1);
const SpacePtr deviceRgb = newDevice(Family::RGB, 3);
const SpacePtr deviceCmyk = newDevice(Family::CMYK, 4);
const SpacePtr patternAlone = newDevice(Family::PATTERN, 0);

const std::unordered_map<std::string, SpacePtr> namedSpaces = {
    {"/DeviceGray", deviceGray}, {"/G", deviceGray},    {"/CalGray", deviceGray},
    {"/DeviceRGB", deviceRgb},   {"/RGB", deviceRgb},   {"/CalRGB", deviceRgb},
    {"/DeviceCMYK", deviceCmyk}, {"/CMYK", deviceCmyk}, {"/CalCMYK", deviceCmyk},
    {"/Pattern", patternAlone},
};

/* ---- reading ---- */

template <size_t count>
void readArray(QPDFObjectHandle dict, const char *key, std::array<double, count> *values)
{
    QPDFObjectHandle array = entryOf(dict, key);
    if (!array.isArray() || (size_t)array.getArrayNItems() < count)
        return;
    for (size_t i = 0; i < count; i++)
        (*values)[i] = numberOr(array.getArrayItem((int)i), (*values)[i]);
}

void readCurves(QPDFObjectHandle dict, ColourSpace *space)
{
    QPDFObjectHandle string = entryOf(dict, CURVES_KEY);
    std::string bytes = string.isString() ? string.getStringValue() : "";
    if (bytes.size() != 2 * CURVE_SAMPLES * space->components)
        return;
    for (size_t i = 0; i < bytes.size(); i += 2)
        space->curves.push_back(((uint8_t)bytes[i] << 8 | (uint8_t)bytes[i + 1]) / 65535.0);
}

/* Are its colours those of the device space, to what nobody sees?  On a grid. */
bool isNear(const ColourSpace &space)
{
    constexpr int STEPS = 5;
    constexpr double NEAR = 0.06;
    bool isGray = space.components == 1;
    for (int i = 0; i < (isGray ? STEPS : STEPS * STEPS * STEPS); i++) {
        std::array<double, 3> values;
        for (int c = 0, rest = i; c < 3; c++, rest /= STEPS)
            values[(size_t)c] = (rest % STEPS) / (STEPS - 1.0);
        DeviceColour colour = toDevice(space, {values.data(), space.components});
        for (size_t c = 0; c < space.components; c++)
            if (std::abs(colour.values[c] - values[c]) > NEAR)
                return false;
    }
    return true;
}

SpacePtr readCie(Family family, QPDFObjectHandle dict)
{
    auto space = std::make_shared<ColourSpace>();
    space->family = family;
    space->components = family == Family::CAL_GRAY ? 1 : 3;
    readArray(dict, "/WhitePoint", &space->white);
    readArray(dict, "/Matrix", &space->matrix);
    readArray(dict, "/Range", &space->range);
    if (family == Family::CAL_RGB)
        readArray(dict, "/Gamma", &space->gamma);
    else
        space->gamma[0] = numberOr(entryOf(dict, "/Gamma"), 1);
    for (double &value : space->white)
        value = value > 0 ? value : 1;
    for (double &value : space->gamma)
        value = value > 0 ? value : 1;
    readCurves(dict, space.get());
    space->isNearDevice = family != Family::LAB && isNear(*space);
    return space;
}

SpacePtr readProfile(const ResourceScope &scope, QPDFObjectHandle profile, int depth)
{
    if (!profile.isStream())
        return nullptr;
    QPDFObjectHandle dict = profile.getDict();
    SpacePtr alternate = read(scope, dict.getKey("/Alternate"), depth + 1);
    if (alternate && alternate->family == Family::LAB) /* its numbers are not device colours */
        return alternate;
    SpacePtr device = deviceSpace((size_t)std::clamp(integerOr(dict.getKey("/N"), 3), 0, 5));
    return device ? device : alternate;
}

SpacePtr readIndexed(const ResourceScope &scope, QPDFObjectHandle array, int depth)
{
    auto space = std::make_shared<ColourSpace>();
    space->family = Family::INDEXED;
    space->base = read(scope, array.getArrayItem(1), depth + 1);
    if (!space->base || space->base->family == Family::INDEXED ||
        space->base->family == Family::PATTERN)
        return nullptr;
    space->high = std::clamp(integerOr(array.getArrayItem(2), 0), 0, MAX_INDEX);
    QPDFObjectHandle table = array.getArrayItem(3);
    bool damaged = false;
    if (table.isString())
        space->table = table.getStringValue();
    else if (table.isStream())
        space->table = decodeStream(table, MAX_CONTENT_BYTES, &damaged);
    space->table.resize((size_t)(space->high + 1) * space->base->components);
    return space;
}

SpacePtr readSeparation(const ResourceScope &scope, QPDFObjectHandle array, Family family,
                        int depth)
{
    auto space = std::make_shared<ColourSpace>();
    space->family = family;
    QPDFObjectHandle names = array.getArrayItem(1);
    if (names.isArray())
        for (QPDFObjectHandle name : names.getArrayAsVector())
            space->colorants.push_back(nameOr(name));
    else
        space->colorants.push_back(nameOr(names));
    space->components = space->colorants.size();
    space->base = read(scope, array.getArrayItem(2), depth + 1);
    bool isBase = space->base && space->base->family != Family::INDEXED &&
                  space->base->family != Family::PATTERN;
    if (!isBase || space->components == 0 || space->components > MAX_COLORANTS)
        return nullptr;
    space->tint = readFunction(array.getArrayItem(3));
    return space;
}

SpacePtr readPattern(const ResourceScope &scope, QPDFObjectHandle array, int depth)
{
    auto space = std::make_shared<ColourSpace>(*patternAlone);
    if (array.getArrayNItems() > 1)
        space->base = read(scope, array.getArrayItem(1), depth + 1);
    if (space->base && space->base->family == Family::PATTERN)
        space->base = nullptr;
    space->components = space->base ? space->base->components : 0;
    return space;
}

SpacePtr readFamily(const ResourceScope &scope, QPDFObjectHandle array, int depth)
{
    std::string family = nameOr(array.getArrayItem(0));
    int count = array.getArrayNItems();
    if (family == "/Pattern")
        return readPattern(scope, array, depth);
    if (count > 1 && family == "/ICCBased")
        return readProfile(scope, array.getArrayItem(1), depth);
    if (count > 1 && family == "/CalGray")
        return readCie(Family::CAL_GRAY, array.getArrayItem(1));
    if (count > 1 && family == "/CalRGB")
        return readCie(Family::CAL_RGB, array.getArrayItem(1));
    if (count > 1 && family == "/Lab")
        return readCie(Family::LAB, array.getArrayItem(1));
    if (count > 3 && (family == "/Indexed" || family == "/I"))
        return readIndexed(scope, array, depth);
    if (count > 3 && family == "/Separation")
        return readSeparation(scope, array, Family::SEPARATION, depth);
    if (count > 3 && family == "/DeviceN")
        return readSeparation(scope, array, Family::DEVICE_N, depth);
    return read(scope, array.getArrayItem(0), depth + 1);
}

SpacePtr read(const ResourceScope &scope, QPDFObjectHandle object, int depth)
{
    if (depth > MAX_SPACE_DEPTH || !object.isInitialized())
        return nullptr;
    if (object.isArray())
        return object.getArrayNItems() > 0 ? readFamily(scope, object, depth) : nullptr;
    if (!object.isName())
        return nullptr;
    auto named = namedSpaces.find(object.getName());
    if (named != namedSpaces.end())
        return named->second;
    return read(scope, findResource(scope, COLORSPACE, object.getName()), depth + 1);
}

/* ---- CIE based colours ---- */

using Triple = std::array<double, 3>;

/* XYZ of a white given to that of another, by the Bradford cones. */
Triple adapted(const Triple &xyz, const Triple &from, const Triple &to)
{
    static constexpr double cones[9] = {0.8951, 0.2664, -0.1614, -0.7502, 1.7135,
                                        0.0367, 0.0389, -0.0685, 1.0296};
    static constexpr double back[9] = {0.9869929, -0.1470543, 0.1599627, 0.4323053, 0.5183603,
                                       0.0492912, -0.0085287, 0.0400428, 0.9684867};
    auto times = [](const double *m, const Triple &v) {
        return Triple{m[0] * v[0] + m[1] * v[1] + m[2] * v[2],
                      m[3] * v[0] + m[4] * v[1] + m[5] * v[2],
                      m[6] * v[0] + m[7] * v[1] + m[8] * v[2]};
    };
    Triple seen = times(cones, xyz), source = times(cones, from), target = times(cones, to);
    for (size_t i = 0; i < 3; i++)
        seen[i] *= source[i] > 0 ? target[i] / source[i] : 1;
    return times(back, seen);
}

double companded(double linear)
{
    linear = std::isfinite(linear) ? std::clamp(linear, 0.0, 1.0) : 0;
    return linear <= 0.0031308 ? 12.92 * linear : 1.055 * std::pow(linear, 1 / 2.4) - 0.055;
}

DeviceColour rgbOf(const Triple &xyz, const Triple &white)
{
    static constexpr Triple D65 = {0.95047, 1, 1.08883};
    Triple v = adapted(xyz, white, D65);
    return {3,
            {companded(3.2404542 * v[0] - 1.5371385 * v[1] - 0.4985314 * v[2]),
             companded(-0.9692660 * v[0] + 1.8760108 * v[1] + 0.0415560 * v[2]),
             companded(0.0556434 * v[0] - 0.2040259 * v[1] + 1.0572252 * v[2]), 0}};
}

/* A component without its gamma or curve. */
double linearised(const ColourSpace &space, size_t component, double value)
{
    value = std::clamp(value, 0.0, 1.0);
    if (space.curves.empty())
        return std::pow(value, space.gamma[component]);
    const double *curve = &space.curves[component * CURVE_SAMPLES];
    double place = value * (CURVE_SAMPLES - 1);
    size_t low = (size_t)place, high = std::min(low + 1, CURVE_SAMPLES - 1);
    return curve[low] + (curve[high] - curve[low]) * (place - (double)low);
}

DeviceColour fromCalRgb(const ColourSpace &space, const Triple &abc)
{
    Triple linear, xyz;
    for (size_t i = 0; i < 3; i++)
        linear[i] = linearised(space, i, abc[i]);
    const std::array<double, 9> &m = space.matrix;
    for (size_t i = 0; i < 3; i++)
        xyz[i] = m[i] * linear[0] + m[i + 3] * linear[1] + m[i + 6] * linear[2];
    return rgbOf(xyz, space.white);
}

DeviceColour fromLab(const ColourSpace &space, const Triple &lab)
{
    auto stage = [](double x) { return x >= 6.0 / 29 ? x * x * x : 108.0 / 841 * (x - 4.0 / 29); };
    double m = (std::clamp(lab[0], 0.0, 100.0) + 16) / 116;
    double a = std::clamp(lab[1], std::min(space.range[0], space.range[1]),
                          std::max(space.range[0], space.range[1]));
    double b = std::clamp(lab[2], std::min(space.range[2], space.range[3]),
                          std::max(space.range[2], space.range[3]));
    const Triple &w = space.white;
    return rgbOf({w[0] * stage(m + a / 500), w[1] * stage(m), w[2] * stage(m - b / 200)}, w);
}

/* ---- other spaces ---- */

DeviceColour fromIndex(const ColourSpace &space, double index)
{
    size_t count = space.base->components;
    size_t at = (size_t)std::clamp(std::isnan(index) ? 0 : index, 0.0, (double)space.high);
    std::vector<double> decode = defaultDecode(*space.base, 8);
    std::array<double, MAX_COLORANTS> values{};
    for (size_t i = 0; i < count; i++)
        values[i] = decode[2 * i] + (uint8_t)space.table[at * count + i] *
                                        (decode[2 * i + 1] - decode[2 * i]) / 255;
    return toDevice(*space.base, {values.data(), count});
}

DeviceColour fromColorants(const ColourSpace &space, std::span<const double> tints)
{
    if (!space.tint) { /* black ink, the more the higher the tints */
        double ink = 0;
        for (double tint : tints)
            ink += std::clamp(tint, 0.0, 1.0);
        return {1, {1 - std::min(ink, 1.0), 0, 0, 0}};
    }
    std::array<double, MAX_COLORANTS> values{};
    std::span<double> outputs(values.data(), space.base->components);
    evaluate(*space.tint, tints, outputs);
    return toDevice(*space.base, outputs);
}

DeviceColour deviceColour(size_t components, std::span<const double> values)
{
    DeviceColour colour{components, {}};
    for (size_t i = 0; i < components; i++)
        colour.values[i] = std::clamp(values[i], 0.0, 1.0);
    return colour;
}

} // namespace

SpacePtr readSpace(const ResourceScope &scope, QPDFObjectHandle object)
{
    return read(scope, object, 0);
}

SpacePtr deviceSpace(size_t components)
{
    return components == 1   ? deviceGray
           : components == 3 ? deviceRgb
           : components == 4 ? deviceCmyk
                             : nullptr;
}

size_t deviceComponents(const ColourSpace &space)
{
    switch (space.family) {
    case Family::GRAY:
    case Family::CAL_GRAY:
        return 1;
    case Family::CMYK:
        return 4;
    case Family::SEPARATION:
    case Family::DEVICE_N:
        return space.tint ? deviceComponents(*space.base) : 1;
    case Family::INDEXED:
        return deviceComponents(*space.base);
    case Family::PATTERN:
        return space.base ? deviceComponents(*space.base) : 1;
    default:
        return 3;
    }
}

DeviceColour toDevice(const ColourSpace &space, std::span<const double> given)
{
    std::array<double, MAX_COLORANTS> values{};
    for (size_t i = 0; i < std::min(given.size(), space.components); i++)
        values[i] = std::isfinite(given[i]) ? given[i] : 0;
    std::span<const double> all(values.data(), std::min(space.components, values.size()));
    switch (space.family) {
    case Family::CAL_GRAY:
        return {1, {companded(linearised(space, 0, values[0])), 0, 0, 0}};
    case Family::CAL_RGB:
        return fromCalRgb(space, {values[0], values[1], values[2]});
    case Family::LAB:
        return fromLab(space, {values[0], values[1], values[2]});
    case Family::INDEXED:
        return fromIndex(space, values[0]);
    case Family::SEPARATION:
    case Family::DEVICE_N:
        return fromColorants(space, all);
    case Family::PATTERN:
        return space.base ? toDevice(*space.base, all) : DeviceColour{};
    default:
        return deviceColour(space.components, values);
    }
}

DeviceColour toRgb(const DeviceColour &colour)
{
    const std::array<double, 4> &v = colour.values;
    if (colour.components == 1)
        return {3, {v[0], v[0], v[0], 0}};
    if (colour.components == 3)
        return colour;
    auto light = [&](double ink) { return 1 - std::min(1.0, ink + v[3]); };
    return {3, {light(v[0]), light(v[1]), light(v[2]), 0}};
}

bool paintsNothing(const ColourSpace &space)
{
    return (space.family == Family::SEPARATION || space.family == Family::DEVICE_N) &&
           std::all_of(space.colorants.begin(), space.colorants.end(),
                       [](const std::string &name) { return name == "/None"; });
}

std::vector<double> defaultDecode(const ColourSpace &space, int bits)
{
    if (space.family == Family::INDEXED)
        return {0, (double)((1u << std::clamp(bits, 1, 16)) - 1)};
    if (space.family == Family::LAB)
        return {0, 100, space.range[0], space.range[1], space.range[2], space.range[3]};
    std::vector<double> decode;
    for (size_t i = 0; i < space.components; i++)
        decode.insert(decode.end(), {0.0, 1.0});
    return decode;
}

std::vector<double> initialColour(const ColourSpace &space)
{
    if (space.family == Family::CMYK)
        return {0, 0, 0, 1};
    bool isSubtractive = space.family == Family::SEPARATION || space.family == Family::DEVICE_N;
    return std::vector<double>(space.components, isSubtractive ? 1 : 0);
}

std::string colourText(const DeviceColour &colour, bool isStroke)
{
    std::string text;
    for (size_t i = 0; i < colour.components; i++)
        text += numberText(colour.values[i]) + " ";
    const char *name = colour.components == 1   ? isStroke ? "G" : "g"
                       : colour.components == 3 ? isStroke ? "RG" : "rg"
                       : isStroke               ? "K"
                                                : "k";
    return text + name;
}

} // namespace prepare
