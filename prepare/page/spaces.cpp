/*
 * spaces.cpp - profiles and tables in colour spaces
 *
 * An ICC profile's colours are printed as device colours of as many components.  A table in a
 * string ends at its first zero byte on its way through the converter, so such tables become
 * streams.
 */
#include "prepare/page/spaces.h"

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
    if ((family == "/Separation" || family == "/DeviceN") && count > 2)
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
