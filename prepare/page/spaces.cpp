/*
 * spaces.cpp - profiles and tables in colour spaces
 *
 * An ICC profile's colours are printed as device colours of as many components, where they are
 * about the same; else it becomes a calibrated space, whose colours are converted.  A table in a
 * string ends at its first zero byte on its way through the converter, so such tables become
 * streams.  A separation's tint function becomes a table of samples, in the device space that its
 * alternate comes down to; a space of one ink is a separation.
 */
#include "prepare/page/spaces.h"

#include <cmath>

#include "prepare/colour/convert.h"
#include "prepare/colour/profile.h"

namespace prepare {

namespace {

constexpr int MAX_SPACE_DEPTH = 8;

QPDFObjectHandle normalise(Document *document, QPDFObjectHandle space, bool *isChanged, int depth);

QPDFObjectHandle deviceName(int components)
{
    const char *name = components == 1   ? "/DeviceGray"
                       : components == 4 ? "/DeviceCMYK"
                                         : "/DeviceRGB";
    return QPDFObjectHandle::newName(name);
}

/* [/ICCBased stream] */
QPDFObjectHandle normaliseProfile(Document *document, QPDFObjectHandle space, bool *isChanged,
                                  int depth)
{
    *isChanged = true;
    QPDFObjectHandle profile = space.getArrayItem(1);
    if (!profile.isStream())
        return QPDFObjectHandle::newNull();
    QPDFObjectHandle dict = profile.getDict();
    QPDFObjectHandle alternate = dict.getKey("/Alternate");
    if (alternate.isArray() && alternate.getArrayNItems() > 0 &&
        nameOr(alternate.getArrayItem(0)) == "/Lab") /* its numbers are not device colours */
        return normalise(document, alternate, isChanged, depth + 1);
    QPDFObjectHandle calibrated = spaceOfProfile(document, profile);
    if (!calibrated.isNull())
        return calibrated;
    return deviceName(integerOr(dict.getKey("/N"), 3));
}

/* Puts a normalised space at a place of a copy of the array. */
QPDFObjectHandle normaliseItem(Document *document, QPDFObjectHandle space, int item,
                               bool *isChanged, int depth)
{
    bool isItemChanged = false;
    QPDFObjectHandle normalised =
        normalise(document, space.getArrayItem(item), &isItemChanged, depth + 1);
    if (!isItemChanged || normalised.isNull())
        return space;
    QPDFObjectHandle copy = space.shallowCopy();
    copy.setArrayItem(item, normalised);
    *isChanged = true;
    return copy;
}

/* Is it a space whose colours the converter's tint functions can have? */
bool isDevice(QPDFObjectHandle space)
{
    std::string name = nameOr(space);
    return name == "/DeviceGray" || name == "/DeviceRGB" || name == "/DeviceCMYK";
}

/* [/Separation name alternate function], and /DeviceN with one name in its array */
QPDFObjectHandle normaliseSeparation(Document *document, QPDFObjectHandle space, bool *isChanged,
                                     int depth)
{
    if (space.getArrayNItems() < 4) {
        *isChanged = true;
        return QPDFObjectHandle::newNull();
    }
    space = normaliseItem(document, space, 2, isChanged, depth);
    if (isDevice(space.getArrayItem(2)) && isPlainFunction(space.getArrayItem(3), 1))
        return space;
    *isChanged = true;
    SpacePtr read = readSpace({}, space);
    if (!read)
        return QPDFObjectHandle::newNull();
    QPDFObjectHandle copy = space.shallowCopy();
    copy.setArrayItem(2, deviceName((int)deviceComponents(*read)));
    copy.setArrayItem(3, sampledSpace(document, *read));
    return copy;
}

/* [/DeviceN names alternate function attributes] */
QPDFObjectHandle normaliseColorants(Document *document, QPDFObjectHandle space, bool *isChanged,
                                    int depth)
{
    QPDFObjectHandle names = space.getArrayItem(1);
    if (space.getArrayNItems() < 4 || !names.isArray() || names.getArrayNItems() != 1)
        return space; /* its colours are converted where they are used */
    *isChanged = true;
    QPDFObjectHandle one =
        QPDFObjectHandle::newArray({QPDFObjectHandle::newName("/Separation"), names.getArrayItem(0),
                                    space.getArrayItem(2), space.getArrayItem(3)});
    return normaliseSeparation(document, one, isChanged, depth);
}

/* The table of an Indexed space in device colours. */
QPDFObjectHandle deviceIndexed(Document *document, const ColourSpace &space)
{
    std::string table;
    for (int i = 0; i <= space.high; i++) {
        double index = i;
        DeviceColour colour = toDevice(space, {&index, 1});
        for (size_t c = 0; c < colour.components; c++)
            table.push_back((char)std::lround(colour.values[c] * 255));
    }
    return QPDFObjectHandle::newArray({QPDFObjectHandle::newName("/Indexed"),
                                       deviceName((int)deviceComponents(space)),
                                       QPDFObjectHandle::newInteger(space.high),
                                       QPDFObjectHandle::newStream(&document->source.pdf, table)});
}

/* [/Indexed base hival table] */
QPDFObjectHandle normaliseIndexed(Document *document, QPDFObjectHandle space, bool *isChanged,
                                  int depth)
{
    if (space.getArrayNItems() < 4)
        return space;
    space = normaliseItem(document, space, 1, isChanged, depth);
    if (isConvertedSpace(space.getArrayItem(1))) {
        if (SpacePtr read = readSpace({}, space)) {
            *isChanged = true;
            return deviceIndexed(document, *read);
        }
    }
    QPDFObjectHandle table = space.getArrayItem(3);
    if (!table.isString() || table.getStringValue().find('\0') == std::string::npos)
        return space;
    QPDFObjectHandle copy = space.shallowCopy();
    copy.setArrayItem(3,
                      QPDFObjectHandle::newStream(&document->source.pdf, table.getStringValue()));
    *isChanged = true;
    return copy;
}

QPDFObjectHandle normalise(Document *document, QPDFObjectHandle space, bool *isChanged, int depth)
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
        return normaliseProfile(document, space, isChanged, depth);
    if (family == "/Indexed" || family == "/I")
        return normaliseIndexed(document, space, isChanged, depth);
    if (family == "/Separation")
        return normaliseSeparation(document, space, isChanged, depth);
    if (family == "/DeviceN" && count > 2)
        return normaliseColorants(document, space, isChanged, depth);
    if (family == "/Pattern" && count > 1)
        return normaliseItem(document, space, 1, isChanged, depth);
    return space;
}

} // namespace

QPDFObjectHandle normaliseSpace(Document *document, QPDFObjectHandle space, bool *isChanged)
{
    return normalise(document, space, isChanged, 0);
}

} // namespace prepare
