/*
 * tree.h - the page tree as it is walked, whatever its counts and parents say
 */
#ifndef PREPARE_DOCUMENT_TREE_H
#define PREPARE_DOCUMENT_TREE_H

#include <vector>

#include "prepare/document/document.h"

namespace prepare {

struct PageTree {
    std::vector<QPDFObjectHandle>
        pages;                /* in their order; a page that is listed twice comes twice */
    bool hasLosses = false;   /* something among the kids is no page, or holds itself */
    bool isIrregular = false; /* the converter would not take it, or would find other attributes */
};

/* Walks the tree of the catalogue.  A page gets the attributes that it inherits on the way to it
 * where its own line of parents leads elsewhere.  Bounds: 256 levels, a million pages, and
 * 10,000 kids of nodes that come again. */
PageTree walkPageTree(Document *document);

} // namespace prepare

#endif
