/*
 * beneath.h - what a page has painted where a marker is to lie
 */
#ifndef PREPARE_PAGE_BENEATH_H
#define PREPARE_PAGE_BENEATH_H

#include <vector>

#include "prepare/document/document.h"

namespace prepare {

/* Boxes, in the page's user space, of all that a page paints but dark text: under a marker that
 * multiplies, dark text looks as above it, and nothing else does.  Within bounds; beyond them, one
 * box of everything.  Of light text the box is the line, from edge to edge. */
std::vector<Box> paintedBoxes(Document *document, const Page &page);

} // namespace prepare

#endif
