/*
 * resources.h - the resources that canonical content names, and the content among them
 */
#ifndef PREPARE_CANONICAL_RESOURCES_H
#define PREPARE_CANONICAL_RESOURCES_H

#include "prepare/canonical/content.h"
#include "prepare/document/document.h"

namespace prepare {

/* Faulty operations that were left out of a page's content and of what it paints. */
struct LeftOut {
    size_t operations = 0;
    bool lostPaint = false;
};

/* Makes the content canonical, with the document's names for odd ones.  What is left out of it is
 * added to `leftOut`. */
PlainContent plainContentOf(Document *document, std::string_view content, LeftOut *leftOut);

/* Resources with those of these names alone, each made anew.  Names that `resources` lacks are left
 * out.  Forms and glyphs are made canonical on the way, each once. */
QPDFObjectHandle plainResources(Document *document, int page, QPDFObjectHandle resources,
                                const std::set<std::string> (&names)[CATEGORIES], LeftOut *leftOut);

} // namespace prepare

#endif
