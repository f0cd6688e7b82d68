/*
 * scope.h - the kinds of resources, and where their names are looked for
 */
#ifndef PREPARE_MODEL_SCOPE_H
#define PREPARE_MODEL_SCOPE_H

#include <string>

#include "prepare/model/qpdf.h"

namespace prepare {

/* The kinds of resources that content names. */
enum Category { XOBJECT, FONT, EXTGSTATE, COLORSPACE, PATTERN, SHADING, PROPERTIES, CATEGORIES };

/* "/XObject" and so on. */
const char *categoryKey(int category);

/* Resources, and those around them, where names are looked for that the inner ones lack. */
struct ResourceScope {
    QPDFObjectHandle resources;
    const ResourceScope *outer = nullptr;
};

/* The resource of a name, or null. */
QPDFObjectHandle findResource(const ResourceScope &scope, int category, const std::string &name);

} // namespace prepare

#endif
