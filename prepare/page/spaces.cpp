/*
 * spaces.cpp - profiles and tables in colour spaces
 *
 * An ICC profile's colours are printed as device colours of as many components.  A table in a
 * string ends at its first zero byte on its way through the converter, so such tables become
 * streams.  A separation's tint function becomes a table of samples.
 */
#include "prepare/page/spaces.h"

#include <algorithm>
#include <cmath>

namespace prepare {

namespace {

constexpr int MAX_SPACE_DEPTH = 8;

QPDFObjectHandle mend(Document *document, QPDFObjectHandle space, bool *isChanged, int depth);

QPDFObjectHandle deviceSpace(int components)
{
    const char *name = components == 1   ? "/DeviceGray"
                       : components == 4 ? "/DeviceCMYK"
                                         : "/DeviceRGB";
    return QPDFObjectHandle::newName(name);
}

/* [/ICCBased stream] */
QPDFObjectHandle mendProfile(Document *document, QPDFObjectHandle space, bool *isChanged, int depth)
{
    *isChanged = true;
    QPDFObjectHandle profile = space.getArrayItem(1);
    if (!profile.isStream())
        return QPDFObjectHandle::newNull();
    QPDFObjectHandle dict = profile.getDict();
    QPDFObjectHandle alternate = dict.getKey("/Alternate");
    if (alternate.isArray() && alternate.getArrayNItems() > 0 &&
        nameOr(alternate.getArrayItem(0)) == "/Lab") /* its numbers are not device colours */
        return mend(document, alternate, isChanged, depth + 1);
    return deviceSpace(integerOr(dict.getKey("/N"), 3));
}

/* Puts a mended space at a place of a copy of the array. */
QPDFObjectHandle mendItem(Document *document, QPDFObjectHandle space, int item, bool *isChanged,
                          int depth)
{
    bool isItemChanged = false;
    QPDFObjectHandle mended = mend(document, space.getArrayItem(item), &isItemChanged, depth + 1);
    if (!isItemChanged || mended.isNull())
        return space;
    QPDFObjectHandle copy = space.shallowCopy();
    copy.setArrayItem(item, mended);
    *isChanged = true;
    return copy;
}

/* ---- tint functions ---- */

constexpr int SAMPLES = 256;

int componentsOf(QPDFObjectHandle space)
{
    std::string family =
        nameOr(space.isArray() && space.getArrayNItems() > 0 ? space.getArrayItem(0) : space);
    if (family == "/DeviceCMYK")
        return 4;
    return family == "/DeviceGray" || family == "/CalGray" || family == "/G" ? 1 : 3;
}

double itemOr(QPDFObjectHandle array, int item, double otherwise)
{
    if (!array.isArray() || item >= array.getArrayNItems())
        return otherwise;
    return numberOr(array.getArrayItem(item), otherwise);
}

/* Output `component` of an exponential function, or of several stitched together. */
double valueAt(QPDFObjectHandle function, double x, int component, int depth)
{
    QPDFObjectHandle dict = function.isStream() ? function.getDict() : function;
    if (!dict.isDictionary() || depth > MAX_SPACE_DEPTH)
        return 0;
    QPDFObjectHandle parts = dict.getKey("/Functions"), bounds = dict.getKey("/Bounds");
    if (integerOr(dict.getKey("/FunctionType"), -1) == 3 && parts.isArray() &&
        parts.getArrayNItems() > 0) {
        int part = 0, last = parts.getArrayNItems() - 1;
        while (part < last && x >= itemOr(bounds, part, 1))
            part++;
        double low = part == 0 ? 0 : itemOr(bounds, part - 1, 0);
        double high = part == last ? 1 : itemOr(bounds, part, 1);
        QPDFObjectHandle encode = dict.getKey("/Encode");
        double from = itemOr(encode, 2 * part, 0), to = itemOr(encode, 2 * part + 1, 1);
        double at = high > low ? from + (x - low) * (to - from) / (high - low) : from;
        return valueAt(parts.getArrayItem(part), at, component, depth + 1);
    }
    double exponent = numberOr(dict.getKey("/N"), 1);
    double begin = itemOr(dict.getKey("/C0"), component, 0);
    double end = itemOr(dict.getKey("/C1"), component, 1);
    double power = x > 0 || exponent > 0 ? std::pow(x, exponent) : 0;
    return begin + power * (end - begin);
}

/* The function as a table of samples; null when it is of a kind that is not computed here. */
QPDFObjectHandle sampledTint(Document *document, QPDFObjectHandle function, int components)
{
    QPDFObjectHandle dict = function.isStream() ? function.getDict() : function;
    int type = dict.isDictionary() ? integerOr(dict.getKey("/FunctionType"), -1) : -1;
    if (type != 2 && type != 3)
        return QPDFObjectHandle::newNull();
    std::string samples;
    for (int i = 0; i < SAMPLES; i++)
        for (int c = 0; c < components; c++) {
            double value = valueAt(function, (double)i / (SAMPLES - 1), c, 0);
            samples.push_back((char)std::lround(std::clamp(value, 0.0, 1.0) * 255));
        }
    QPDFObjectHandle stream = newFlateStream(&document->pdf, samples);
    std::string range;
    for (int c = 0; c < components; c++)
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

/* [/Separation name alternate function] */
QPDFObjectHandle mendSeparation(Document *document, QPDFObjectHandle space, bool *isChanged,
                                int depth)
{
    if (space.getArrayNItems() < 4) {
        *isChanged = true;
        return QPDFObjectHandle::newNull();
    }
    space = mendItem(document, space, 2, isChanged, depth);
    QPDFObjectHandle function = space.getArrayItem(3);
    if (function.isStream() && integerOr(function.getDict().getKey("/FunctionType"), -1) == 0)
        return space;
    *isChanged = true;
    QPDFObjectHandle tint = sampledTint(document, function, componentsOf(space.getArrayItem(2)));
    QPDFObjectHandle copy = space.shallowCopy();
    if (tint.isNull()) { /* black ink, the more the higher the tint */
        auto black =
            QPDFObjectHandle::parse("<</FunctionType 2 /Domain [0 1] /C0 [1] /C1 [0] /N 1>>");
        copy.setArrayItem(2, QPDFObjectHandle::newName("/DeviceGray"));
        tint = sampledTint(document, black, 1);
    }
    copy.setArrayItem(3, tint);
    return copy;
}

/* [/Indexed base hival table] */
QPDFObjectHandle mendIndexed(Document *document, QPDFObjectHandle space, bool *isChanged, int depth)
{
    if (space.getArrayNItems() < 4)
        return space;
    space = mendItem(document, space, 1, isChanged, depth);
    QPDFObjectHandle table = space.getArrayItem(3);
    if (!table.isString() || table.getStringValue().find('\0') == std::string::npos)
        return space;
    QPDFObjectHandle copy = space.shallowCopy();
    copy.setArrayItem(3, QPDFObjectHandle::newStream(&document->pdf, table.getStringValue()));
    *isChanged = true;
    return copy;
}

QPDFObjectHandle mend(Document *document, QPDFObjectHandle space, bool *isChanged, int depth)
{
    if (space.isName())
        return space;
    if (!space.isArray() || space.getArrayNItems() == 0 || depth > MAX_SPACE_DEPTH) {
        *isChanged = true;
        return QPDFObjectHandle::newNull();
    }
    std::string family = nameOr(space.getArrayItem(0));
    int count = space.getArrayNItems();
    if (family == "/ICCBased" && count > 1)
        return mendProfile(document, space, isChanged, depth);
    if (family == "/Indexed" || family == "/I")
        return mendIndexed(document, space, isChanged, depth);
    if (family == "/Separation")
        return mendSeparation(document, space, isChanged, depth);
    if (family == "/DeviceN" && count > 2)
        return mendItem(document, space, 2, isChanged, depth);
    if (family == "/Pattern" && count > 1)
        return mendItem(document, space, 1, isChanged, depth);
    return space;
}

} // namespace

QPDFObjectHandle mendSpace(Document *document, QPDFObjectHandle space, bool *isChanged)
{
    return mend(document, space, isChanged, 0);
}

} // namespace prepare
