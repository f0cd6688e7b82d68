/*
 * overlay.h - content in front of a page's own and behind it
 */
#ifndef PREPARE_PAGE_OVERLAY_H
#define PREPARE_PAGE_OVERLAY_H

#include "prepare/document/document.h"

namespace prepare {

/* Puts content around the page's own.  With anything behind it that one is closed first: text,
 * marks and saved states that it leaves open end, restores that would undo what stands in front of
 * it go, and `back` begins in the page's default state. */
void surroundContent(Document *document, Page *page, std::string front, const std::string &back);

} // namespace prepare

#endif
