/*
 * scan.h - what a page uses and needs: its content read once, forms and glyphs followed
 */
#ifndef PREPARE_CONTENT_SCAN_H
#define PREPARE_CONTENT_SCAN_H

#include "prepare/document/document.h"

namespace prepare {

/* Reads the page's content into page->content and fills page->usage; adds to page->needs.  What
 * simple fonts show is noted in the document's font store.  Throws LimitReached. */
void scanPage(Document *document, Page *page);

/* The content of a page or stream, decoded; several streams are joined by a line feed. */
std::string readContent(QPDFObjectHandle contents, size_t limit, bool *damaged);

} // namespace prepare

#endif
