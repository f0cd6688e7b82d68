/*
 * objects.cpp - small readers of objects
 */
#include "prepare/model/objects.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <stdexcept>

namespace prepare {

QPDFObjectHandle entryOf(QPDFObjectHandle object, const char *key)
{
    bool isDictionary = object.isInitialized() && object.isDictionary();
    return isDictionary ? object.getKey(key) : QPDFObjectHandle::newNull();
}

std::map<std::string, QPDFObjectHandle> entriesOf(QPDFObjectHandle object)
{
    if (!object.isInitialized() || !object.isDictionary())
        return {};
    return object.getDictAsMap();
}

double numberOr(QPDFObjectHandle object, double otherwise)
{
    double value = otherwise;
    try {
        if (object.isNumber())
            value = object.getNumericValue();
    } catch (const std::range_error &) { /* more digits than libqpdf's integers have */
        return otherwise;
    }
    return std::isfinite(value) ? value : otherwise;
}

int integerOr(QPDFObjectHandle object, int otherwise)
{
    if (!object.isNumber())
        return otherwise;
    double value = numberOr(object, otherwise);
    return (int)std::clamp(value, (double)INT_MIN, (double)INT_MAX);
}

bool isTrue(QPDFObjectHandle object)
{
    return object.isBool() && object.getBoolValue();
}

std::string nameOr(QPDFObjectHandle object, const std::string &otherwise)
{
    return object.isName() ? object.getName() : otherwise;
}

namespace {

/* The first `count` numbers of an array; false when it has not that many items. */
bool readNumbers(QPDFObjectHandle array, int count, double *values)
{
    if (!array.isInitialized() || !array.isArray() || array.getArrayNItems() < count)
        return false;
    for (int i = 0; i < count; i++)
        values[i] = numberOr(array.getArrayItem(i), 0);
    return true;
}

} // namespace

bool isForm(QPDFObjectHandle object)
{
    return object.isStream() && nameOr(object.getDict().getKey("/Subtype")) == "/Form";
}

bool isImage(QPDFObjectHandle object)
{
    return object.isStream() && nameOr(object.getDict().getKey("/Subtype")) == "/Image";
}

bool isStencil(QPDFObjectHandle object)
{
    return object.isStream() && isTrue(object.getDict().getKey("/ImageMask"));
}

bool isGroup(QPDFObjectHandle form)
{
    return nameOr(entryOf(form.getDict().getKey("/Group"), "/S")) == "/Transparency";
}

Matrix matrixOf(QPDFObjectHandle array)
{
    double v[6];
    if (!readNumbers(array, 6, v))
        return {};
    return {v[0], v[1], v[2], v[3], v[4], v[5]};
}

Box boxOf(QPDFObjectHandle array)
{
    double v[4];
    if (!readNumbers(array, 4, v))
        return EVERYTHING;
    return {std::min(v[0], v[2]), std::min(v[1], v[3]), std::max(v[0], v[2]), std::max(v[1], v[3])};
}

} // namespace prepare
