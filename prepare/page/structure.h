/*
 * structure.h - what a page consists of: inherited attributes, content, resources
 */
#ifndef PREPARE_PAGE_STRUCTURE_H
#define PREPARE_PAGE_STRUCTURE_H

#include "prepare/document/document.h"

namespace prepare {

/* Sets inherited attributes on the page, drops what is no content, and repairs its resources and
 * those of forms and fonts: entries of a wrong kind, filters in short, tables as strings, colour
 * profiles, names that hurt.  Adds NEED_STRUCTURE where that changes what the converter would
 * stop at or print wrong. */
void repairPage(Document *document, Page *page);

/* The same for a form or image that is to become part of the page; false: it cannot. */
bool repairPainted(Document *document, Page *page, QPDFObjectHandle object);

/* Has a form been seen whose resources hold patterns? */
bool formsHavePatterns(Document *document);

} // namespace prepare

#endif
