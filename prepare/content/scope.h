/*
 * scope.h - resources, and those around them
 */
#ifndef PREPARE_CONTENT_SCOPE_H
#define PREPARE_CONTENT_SCOPE_H

#include <string>

#include "prepare/document/qpdf.h"

namespace prepare {

/* Resources, and those around them, where names are looked for that the inner ones lack. */
struct ResourceScope {
    QPDFObjectHandle resources;
    const ResourceScope *outer = nullptr;
};

/* The resource of a name, or null. */
QPDFObjectHandle findResource(const ResourceScope &scope, int category, const std::string &name);

} // namespace prepare

#endif
