/*
 * inline.cpp - inline images as image XObjects
 *
 * ISO 32000-1, 8.9.7: keys, filters and spaces may be abbreviated (tables 93 and 94), and a space
 * may be a name in the resources.
 */
#include "prepare/images/filters.h"

#include <map>

namespace prepare {

namespace {

const std::map<std::string, std::string> longKeys = {
    {"/BPC", "/BitsPerComponent"}, {"/CS", "/ColorSpace"}, {"/D", "/Decode"},
    {"/DP", "/DecodeParms"},       {"/F", "/Filter"},      {"/H", "/Height"},
    {"/IM", "/ImageMask"},         {"/I", "/Interpolate"}, {"/W", "/Width"},
};

const std::map<std::string, std::string> longSpaces = {
    {"/G", "/DeviceGray"}, {"/RGB", "/DeviceRGB"}, {"/CMYK", "/DeviceCMYK"}, {"/I", "/Indexed"}};

QPDFObjectHandle spaceInFull(const ResourceScope &scope, QPDFObjectHandle space)
{
    if (space.isName()) {
        auto full = longSpaces.find(space.getName());
        if (full != longSpaces.end())
            return QPDFObjectHandle::newName(full->second);
        QPDFObjectHandle named = findResource(scope, COLORSPACE, space.getName());
        return named.isNull() ? space : named;
    }
    if (!space.isArray() || space.getArrayNItems() < 2 || familyOf(space) == "/Separation")
        return space;
    QPDFObjectHandle full = space.shallowCopy();
    for (int i = 0; i < 2; i++)
        if (full.getArrayItem(i).isName())
            full.setArrayItem(i, spaceInFull(scope, full.getArrayItem(i)));
    return full;
}

QPDFObjectHandle filtersInFull(QPDFObjectHandle filter)
{
    if (filter.isName())
        return QPDFObjectHandle::newName(inFull(filter.getName()));
    if (!filter.isArray())
        return filter;
    std::vector<QPDFObjectHandle> names = filter.getArrayAsVector();
    for (QPDFObjectHandle &name : names)
        if (name.isName())
            name = QPDFObjectHandle::newName(inFull(name.getName()));
    return QPDFObjectHandle::newArray(names);
}

/* The entries between BI and ID; null when they are no dictionary. */
QPDFObjectHandle inlineEntries(const Operation &operation)
{
    std::string text = "<<";
    for (const Token &token : operation.operands)
        if (token.kind != TokenKind::INLINE_DATA)
            text += " " + std::string(token.source);
    try {
        return QPDFObjectHandle::parse(text + " >>", "inline image");
    } catch (const std::bad_alloc &) {
        throw;
    } catch (const std::exception &) {
        return QPDFObjectHandle::newNull();
    }
}

} // namespace

QPDFObjectHandle inlineImage(Document *document, const ResourceScope &scope,
                             const Operation &operation)
{
    QPDFObjectHandle entries = inlineEntries(operation);
    if (!entries.isDictionary() || operation.operands.empty() ||
        operation.operands.back().kind != TokenKind::INLINE_DATA)
        return QPDFObjectHandle::newNull();
    QPDFObjectHandle image = QPDFObjectHandle::newStream(&document->source.pdf);
    QPDFObjectHandle dict = image.getDict();
    for (auto &[key, value] : entriesOf(entries)) {
        auto full = longKeys.find(key);
        const std::string &name = full == longKeys.end() ? key : full->second;
        if (name != "/Length" && name != "/L")
            dict.replaceKey(name, value);
    }
    dict.replaceKey("/Type", QPDFObjectHandle::newName("/XObject"));
    dict.replaceKey("/Subtype", QPDFObjectHandle::newName("/Image"));
    dict.replaceKey("/ColorSpace", spaceInFull(scope, dict.getKey("/ColorSpace")));
    image.replaceStreamData(std::string(operation.operands.back().source),
                            filtersInFull(dict.getKey("/Filter")), dict.getKey("/DecodeParms"));
    return image;
}

} // namespace prepare
