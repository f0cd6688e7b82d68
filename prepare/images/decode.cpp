/*
 * decode.cpp - the dictionary of an image, and what its values mean
 *
 * Sizes, depth and space are those of the dictionary (ISO 32000-1, 8.9.5); data that says them
 * itself has the last word.  filters.cpp decodes the data, depths.cpp makes bytes of the values.
 */
#include "prepare/images/decode.h"

#include <algorithm>
#include <map>

#include "prepare/images/codecs.h"
#include "prepare/images/filters.h"

namespace prepare {

namespace {

constexpr int MAX_SPACE_DEPTH = 8;

/* A value under its long or short key. */
QPDFObjectHandle either(QPDFObjectHandle dict, const char *key, const char *shortKey)
{
    QPDFObjectHandle value = dict.getKey(key);
    return value.isNull() ? dict.getKey(shortKey) : value;
}

bool hasFilter(const std::vector<Filter> &filters, const char *name)
{
    return std::any_of(filters.begin(), filters.end(),
                       [&](const Filter &filter) { return filter.name == name; });
}

int knownDepth(int bits)
{
    for (int known : {1, 2, 4, 8, 16})
        if (bits <= known)
            return known;
    return 8;
}

/* Sizes, depth and space as the dictionary has them. */
void readHeader(QPDFObjectHandle dict, const std::vector<Filter> &filters, PackedImage *image)
{
    image->isMask = isTrue(either(dict, "/ImageMask", "/IM"));
    image->width = integerOr(either(dict, "/Width", "/W"), 0);
    image->height = integerOr(either(dict, "/Height", "/H"), 0);
    image->bits = knownDepth(integerOr(either(dict, "/BitsPerComponent", "/BPC"), 8));
    bool isBilevel = hasFilter(filters, "/JBIG2Decode") || hasFilter(filters, "/CCITTFaxDecode");
    if (image->isMask || isBilevel)
        image->bits = 1;
    if (!image->isMask)
        image->space = either(dict, "/ColorSpace", "/CS");
    image->components = componentsOfSpace(image->space);
    if (image->components == 0 || isBilevel)
        image->components = 1;
    bool hasOwnSize = hasFilter(filters, "/DCTDecode") || hasFilter(filters, "/JPXDecode");
    if (!hasOwnSize)
        checkSize(image->width, image->height, image->components, image->bits);
}

QPDFObjectHandle deviceSpaceOf(int components)
{
    return QPDFObjectHandle::newName(components == 1   ? "/DeviceGray"
                                     : components == 4 ? "/DeviceCMYK"
                                                       : "/DeviceRGB");
}

/* What the dictionary says of the values, once their number is known. */
void readMeaning(QPDFObjectHandle dict, PackedImage *image)
{
    size_t components = (size_t)image->components;
    if (!image->isMask && componentsOfSpace(image->space) != image->components)
        image->space = deviceSpaceOf(image->components);
    QPDFObjectHandle decode = either(dict, "/Decode", "/D");
    if (decode.isArray() && (size_t)decode.getArrayNItems() >= 2 * components)
        for (size_t i = 0; i < 2 * components; i++)
            image->decode.push_back(numberOr(decode.getArrayItem((int)i), i % 2 == 0 ? 0 : 1));
    QPDFObjectHandle mask = dict.getKey("/Mask");
    if (mask.isArray() && (size_t)mask.getArrayNItems() >= 2 * components)
        for (size_t i = 0; i < 2 * components; i++)
            image->key.push_back(integerOr(mask.getArrayItem((int)i), 0));
}

double arrayNumber(QPDFObjectHandle array, int item, double otherwise)
{
    bool isThere = array.isArray() && item < array.getArrayNItems();
    return isThere ? numberOr(array.getArrayItem(item), otherwise) : otherwise;
}

} // namespace

std::string familyOf(QPDFObjectHandle space)
{
    return nameOr(itemOf(space, 0));
}

bool isIndexed(QPDFObjectHandle space)
{
    return familyOf(space) == "/Indexed" || familyOf(space) == "/I";
}

namespace {

int countComponents(QPDFObjectHandle space, int depth)
{
    static const std::map<std::string, int> fixed = {
        {"/DeviceGray", 1}, {"/G", 1},    {"/CalGray", 1}, {"/Indexed", 1},    {"/I", 1},
        {"/DeviceRGB", 3},  {"/RGB", 3},  {"/CalRGB", 3},  {"/Separation", 1}, {"/Lab", 3},
        {"/DeviceCMYK", 4}, {"/CMYK", 4}, {"/CalCMYK", 4},
    };
    auto known = fixed.find(familyOf(space));
    if (known != fixed.end())
        return known->second;
    if (!space.isArray() || space.getArrayNItems() < 2 || depth > MAX_SPACE_DEPTH)
        return 0;
    QPDFObjectHandle second = space.getArrayItem(1);
    int count = 0;
    if (familyOf(space) == "/ICCBased" && second.isStream())
        count = integerOr(second.getDict().getKey("/N"), 0);
    if (familyOf(space) == "/DeviceN" && second.isArray())
        count = second.getArrayNItems();
    return count > 0 && count <= MAX_IMAGE_COMPONENTS ? count : 0;
}

} // namespace

void checkSize(double width, double height, double components, double bits)
{
    if (width < 1 || height < 1 || components < 1)
        throw LimitReached{"An image has no size."};
    if (width > MAX_IMAGE_SIDE || height > MAX_IMAGE_SIDE || components > MAX_IMAGE_COMPONENTS ||
        width * height * components * bits / 8 > (double)MAX_PACKED)
        throw LimitReached{"An image is too large."};
}

size_t rowBytes(const PackedImage &image)
{
    return ((size_t)image.width * (size_t)image.components * (size_t)image.bits + 7) / 8;
}

PackedImage decodePacked(Document *document, QPDFObjectHandle object)
{
    if (!object.isStream())
        throw LimitReached{"An image has no data."};
    PackedImage image;
    QPDFObjectHandle dict = object.getDict();
    std::vector<Filter> filters = filtersOf(dict);
    readHeader(dict, filters, &image);
    decodeData(document, object, std::move(filters), &image);
    readMeaning(dict, &image);
    return image;
}

Samples decodeImage(Document *document, QPDFObjectHandle image)
{
    PackedImage packed = decodePacked(document, image);
    if (packed.isDamaged)
        say(document, Message::PictureCut, document->pageInWork);
    return unpack(std::move(packed));
}

DecodeRange decodeRange(const Samples &samples, int component)
{
    size_t at = 2 * (size_t)component;
    if (at + 1 < samples.decode.size())
        return {samples.decode[at], samples.decode[at + 1]};
    QPDFObjectHandle space = samples.space;
    std::string family = familyOf(space);
    if (isIndexed(space))
        return {0, (double)samples.maximum};
    if (family == "/Lab" && component == 0)
        return {0, 100};
    QPDFObjectHandle range;
    if (family == "/Lab" || family == "/ICCBased") {
        QPDFObjectHandle dict = itemOf(space, 1);
        range = entryOf(dict.isStream() ? dict.getDict() : dict, "/Range");
    }
    int item = (int)at - (family == "/Lab" ? 2 : 0);
    double least = family == "/Lab" ? -100 : 0, most = family == "/Lab" ? 100 : 1;
    if (!range.isInitialized())
        return {least, most};
    return {arrayNumber(range, item, least), arrayNumber(range, item + 1, most)};
}

int componentsOfSpace(QPDFObjectHandle space)
{
    return countComponents(space, 0);
}

} // namespace prepare
