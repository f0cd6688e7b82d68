/*
 * scope.cpp - resources by name
 */
#include "prepare/model/scope.h"

namespace prepare {

const char *categoryKey(int category)
{
    static const char *const keys[CATEGORIES] = {
        "/XObject", "/Font", "/ExtGState", "/ColorSpace", "/Pattern", "/Shading", "/Properties"};
    return keys[category];
}

QPDFObjectHandle findResource(const ResourceScope &scope, int category, const std::string &name)
{
    for (const ResourceScope *s = &scope; s; s = s->outer) {
        QPDFObjectHandle resources = s->resources;
        if (!resources.isInitialized() || !resources.isDictionary())
            continue;
        QPDFObjectHandle found = resources.getKey(categoryKey(category)).getKeyIfDict(name);
        if (!found.isNull())
            return found;
    }
    return QPDFObjectHandle::newNull();
}

} // namespace prepare
