/*
 * spaces.cpp - a table of parameters, and a function for each family
 *
 * The converter writes the CIE based families with fixed figures: what it does not read is not
 * among the parameters.
 */
#include "prepare/canonical/spaces.h"

#include "prepare/canonical/functions.h"
#include "prepare/canonical/values.h"
#include "prepare/colour/convert.h"
#include "prepare/document/spool.h"
#include "prepare/images/decode.h"
#include "prepare/images/filters.h"
#include "prepare/model/plain.h"
#include "prepare/model/space.h"

namespace prepare {

namespace {

constexpr double MOST_OF_WHITE = 10, MOST_OF_MATRIX = 100, MOST_OF_LAB = 1000;

constexpr Field grayFields[] = {
    {"/WhitePoint", ValueKind::NUMBERS, 0, MOST_OF_WHITE, 3},
    {"/BlackPoint", ValueKind::NUMBERS, 0, MOST_OF_WHITE, 3},
};

constexpr Field rgbFields[] = {
    {"/WhitePoint", ValueKind::NUMBERS, 0, MOST_OF_WHITE, 3},
    {"/BlackPoint", ValueKind::NUMBERS, 0, MOST_OF_WHITE, 3},
    {"/Matrix", ValueKind::NUMBERS, -MOST_OF_MATRIX, MOST_OF_MATRIX, 9},
};

constexpr Field labFields[] = {
    {"/WhitePoint", ValueKind::NUMBERS, 0, MOST_OF_WHITE, 3},
    {"/BlackPoint", ValueKind::NUMBERS, 0, MOST_OF_WHITE, 3},
    {"/Range", ValueKind::NUMBERS, -MOST_OF_LAB, MOST_OF_LAB, 4},
};

/* A white that PostScript takes: its Y is 1, and the others are more than nothing. */
bool isWhite(QPDFObjectHandle point)
{
    return point.isArray() && numberOr(point.getArrayItem(0), 0) > 0 &&
           numberOr(point.getArrayItem(1), 0) == 1 && numberOr(point.getArrayItem(2), 0) > 0;
}

bool isRange(QPDFObjectHandle range)
{
    auto bound = [&](int i) { return numberOr(range.getArrayItem(i), 0); };
    return bound(0) < bound(1) && bound(2) < bound(3);
}

QPDFObjectHandle cieSpace(const std::string &family, std::span<const Field> fields,
                          QPDFObjectHandle parameters)
{
    QPDFObjectHandle plain = plainDictionary(fields, parameters);
    if (!isWhite(plain.getKey("/WhitePoint")))
        return none();
    if (QPDFObjectHandle range = plain.getKey("/Range"); range.isArray() && !isRange(range))
        plain.removeKey("/Range");
    return QPDFObjectHandle::newArray({QPDFObjectHandle::newName(family), plain});
}

std::string bytesOf(QPDFObjectHandle table)
{
    constexpr size_t MOST = 1u << 20;
    bool damaged = false;
    if (table.isString())
        return table.getStringValue();
    return table.isStream() ? decodeStream(table, MOST, &damaged) : "";
}

QPDFObjectHandle indexedSpace(Document *document, QPDFObjectHandle space)
{
    constexpr int MOST_INDEX = 255;
    QPDFObjectHandle base = plainSpace(document, itemOf(space, 1));
    int high = integerOr(itemOf(space, 2), -1);
    int components = componentsOfSpace(base);
    if (components == 0 || isIndexed(base) || high < 0)
        return none();
    high = std::min(high, MOST_INDEX);
    std::string table = bytesOf(itemOf(space, 3));
    table.resize((size_t)(high + 1) * (size_t)components);
    return QPDFObjectHandle::newArray({QPDFObjectHandle::newName("/Indexed"), base,
                                       QPDFObjectHandle::newInteger(high),
                                       newClearStream(document, table)});
}

QPDFObjectHandle separationSpace(Document *document, QPDFObjectHandle space)
{
    std::string colorant = nameOr(itemOf(space, 1), "/Spot").substr(1);
    colorant = plainOf(colorant, MAX_PLAIN_NAME, "Spot");
    QPDFObjectHandle alternate = plainSpace(document, itemOf(space, 2));
    QPDFObjectHandle tint = none();
    if (alternate.isName())
        tint = plainFunction(document, itemOf(space, 3), 1, (size_t)componentsOfSpace(alternate));
    if (tint.isNull()) {
        SpacePtr read = readSpace({}, space);
        if (!read || read->components != 1)
            return none();
        alternate = deviceSpaceName((int)deviceComponents(*read));
        tint = plainFunction(document, sampledSpace(document, *read), 1, deviceComponents(*read));
    }
    return QPDFObjectHandle::newArray({QPDFObjectHandle::newName("/Separation"),
                                       QPDFObjectHandle::newName("/" + colorant), alternate, tint});
}

QPDFObjectHandle makeSpace(Document *document, QPDFObjectHandle space)
{
    std::string family = familyOf(space);
    if (family == "/DeviceGray" || family == "/DeviceRGB" || family == "/DeviceCMYK")
        return QPDFObjectHandle::newName(family);
    if (!space.isArray())
        return none();
    if (family == "/CalGray")
        return cieSpace(family, grayFields, itemOf(space, 1));
    if (family == "/CalRGB")
        return cieSpace(family, rgbFields, itemOf(space, 1));
    if (family == "/Lab")
        return cieSpace(family, labFields, itemOf(space, 1));
    if (family == "/Separation")
        return separationSpace(document, space);
    if (isIndexed(space))
        return indexedSpace(document, space);
    return none();
}

/* Spaces by what they are written as, which tells objects apart by their numbers. */
struct SpaceMemo {
    std::map<std::string, QPDFObjectHandle> made;
    int depth = 0;
};

} // namespace

QPDFObjectHandle plainSpace(Document *document, QPDFObjectHandle space)
{
    constexpr size_t LONGEST_KEY = 4096;
    constexpr int MAX_SPACE_DEPTH = 4;
    SpaceMemo &memo = document->memos.of<SpaceMemo>();
    if (memo.depth > MAX_SPACE_DEPTH)
        return none();
    std::string key = space.isArray() ? space.unparse() : "";
    auto known = memo.made.find(key);
    if (known != memo.made.end())
        return known->second;
    QPDFObjectHandle made = none();
    struct Nesting {
        explicit Nesting(int *of) : depth(of) { ++*depth; }
        ~Nesting() { --*depth; }
        int *depth;
    } nesting(&memo.depth);
    try {
        made = makeSpace(document, space);
    } catch (const LimitReached &) { /* then it is none */
    }
    if (made.isArray()) /* where it is shared it stays so */
        made = document->source.pdf.makeIndirectObject(made);
    if (!key.empty() && key.size() <= LONGEST_KEY)
        memo.made[key] = made;
    return made;
}

QPDFObjectHandle deviceSpaceName(int components)
{
    return QPDFObjectHandle::newName(components == 1   ? "/DeviceGray"
                                     : components == 4 ? "/DeviceCMYK"
                                                       : "/DeviceRGB");
}

} // namespace prepare
