/*
 * profile.cpp - tags of an ICC profile (ICC.1:2010, 7 and 10), read as data
 *
 * Profiles of monitors and cameras, and of gray, have a curve for each component, and a matrix from
 * there to XYZ under D50.  That is a CalRGB or CalGray space but for the curves, which are handed
 * on as samples.
 */
#include "prepare/colour/profile.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <optional>
#include <string_view>

#include "prepare/colour/convert.h"
#include "prepare/model/tokens.h"

namespace prepare {

namespace {

constexpr size_t MAX_PROFILE = 16u << 20;
constexpr size_t HEADER = 128, TAG_ENTRY = 12, MAX_TAGS = 200;

/* A profile in memory.  What lies outside counts as 0. */
struct Profile {
    std::string_view bytes;

    std::string_view part(size_t at, size_t size) const
    {
        return at <= bytes.size() ? bytes.substr(at, size) : std::string_view();
    }
    uint32_t number(size_t at, size_t size) const
    {
        uint32_t value = 0;
        for (size_t i = at; i < at + size; i++)
            value = value << 8 | (i < bytes.size() ? (uint8_t)bytes[i] : 0);
        return value;
    }
    double fixed(size_t at) const { return (int32_t)number(at, 4) / 65536.0; }
};

/* The data of a tag. */
std::optional<Profile> tagOf(const Profile &profile, std::string_view name)
{
    size_t count = std::min<size_t>(profile.number(HEADER, 4), MAX_TAGS);
    for (size_t i = 0; i < count; i++) {
        size_t entry = HEADER + 4 + i * TAG_ENTRY;
        if (profile.part(entry, 4) == name)
            return Profile{
                profile.part(profile.number(entry + 4, 4), profile.number(entry + 8, 4))};
    }
    return std::nullopt;
}

/* curveType: a table, or a gamma, or nothing for a straight line. */
double tableValue(const Profile &curve, double x)
{
    size_t count = curve.number(8, 4);
    if (count == 0)
        return x;
    if (count == 1)
        return std::pow(x, curve.number(12, 2) / 256.0);
    double place = x * (double)(count - 1);
    size_t low = (size_t)place, high = std::min(low + 1, count - 1);
    double a = curve.number(12 + 2 * low, 2), b = curve.number(12 + 2 * high, 2);
    return (a + (b - a) * (place - (double)low)) / 65535;
}

/* parametricCurveType, 10.16: g a b c d e f */
double formulaValue(const Profile &curve, double x)
{
    uint32_t kind = curve.number(8, 2);
    auto p = [&](size_t i) { return curve.fixed(12 + 4 * i); };
    double g = p(0);
    if (kind == 0)
        return std::pow(x, g);
    double power = std::pow(std::max(p(1) * x + p(2), 0.0), g);
    double corner = kind <= 2 ? (p(1) != 0 ? -p(2) / p(1) : 0) : p(4);
    switch (kind) {
    case 1:
        return x >= corner ? power : 0;
    case 2:
        return x >= corner ? power + p(3) : p(3);
    case 3:
        return x >= corner ? power : p(3) * x;
    default:
        return x >= corner ? power + p(5) : p(3) * x + p(6);
    }
}

/* Adds the curve's samples; false: it is none. */
bool addCurve(const std::optional<Profile> &curve, std::string *samples)
{
    if (!curve)
        return false;
    bool isTable = curve->part(0, 4) == "curv", isFormula = curve->part(0, 4) == "para";
    if (!isTable && !(isFormula && curve->number(8, 2) <= 4))
        return false;
    for (size_t i = 0; i < CURVE_SAMPLES; i++) {
        double x = (double)i / (CURVE_SAMPLES - 1);
        double y = isTable ? tableValue(*curve, x) : formulaValue(*curve, x);
        long value = std::lround((std::isfinite(y) ? std::clamp(y, 0.0, 1.0) : 0) * 65535);
        *samples += (char)(value >> 8);
        *samples += (char)(value & 0xff);
    }
    return true;
}

QPDFObjectHandle newSpace(Document *document, const char *family, const std::string &entries,
                          const std::string &samples)
{
    QPDFObjectHandle dict = QPDFObjectHandle::parse("<< " + entries + " >>");
    dict.replaceKey("/WhitePoint", QPDFObjectHandle::parse("[0.9642 1 0.8249]"));
    dict.replaceKey(CURVES_KEY, QPDFObjectHandle::newString(samples));
    return QPDFObjectHandle::newArray(
        {QPDFObjectHandle::newName(family), document->source.pdf.makeIndirectObject(dict)});
}

QPDFObjectHandle graySpace(Document *document, const Profile &profile)
{
    std::string samples;
    bool isXyz = profile.part(20, 4) == "XYZ "; /* else the curve gives lightness */
    if (!isXyz || !addCurve(tagOf(profile, "kTRC"), &samples))
        return QPDFObjectHandle::newNull();
    return newSpace(document, "/CalGray", "", samples);
}

QPDFObjectHandle colourSpace(Document *document, const Profile &profile)
{
    std::string samples, matrix;
    for (const char *name : {"rTRC", "gTRC", "bTRC"})
        if (!addCurve(tagOf(profile, name), &samples))
            return QPDFObjectHandle::newNull();
    for (const char *name : {"rXYZ", "gXYZ", "bXYZ"}) {
        std::optional<Profile> column = tagOf(profile, name);
        if (!column || column->bytes.size() < 20)
            return QPDFObjectHandle::newNull();
        for (size_t i = 0; i < 3; i++)
            matrix += numberText(column->fixed(8 + 4 * i)) + " ";
    }
    return newSpace(document, "/CalRGB", "/Matrix [" + matrix + "]", samples);
}

QPDFObjectHandle readProfile(Document *document, QPDFObjectHandle stream)
{
    bool isDamaged = false;
    std::string bytes;
    try {
        bytes = decodeStream(stream, MAX_PROFILE, &isDamaged);
    } catch (const LimitReached &) {
        return QPDFObjectHandle::newNull();
    }
    Profile profile{bytes};
    std::string_view kind = profile.part(16, 4);
    int count = integerOr(stream.getDict().getKey("/N"), 0);
    QPDFObjectHandle space = count == 1 && kind == "GRAY"   ? graySpace(document, profile)
                             : count == 3 && kind == "RGB " ? colourSpace(document, profile)
                                                            : QPDFObjectHandle::newNull();
    return isConvertedSpace(space) ? space : QPDFObjectHandle::newNull();
}

/* Spaces of profiles by their objects; null: none is needed. */
struct ProfileMemo {
    std::map<QPDFObjGen, QPDFObjectHandle> spaces;
};

} // namespace

QPDFObjectHandle spaceOfProfile(Document *document, QPDFObjectHandle profile)
{
    auto &spaces = document->memos.of<ProfileMemo>().spaces;
    auto [known, isNew] = spaces.try_emplace(profile.getObjGen(), QPDFObjectHandle::newNull());
    if (isNew)
        known->second = readProfile(document, profile);
    return known->second;
}

} // namespace prepare
