/*
 * region.h - parts of a page that nothing else expresses, as pictures
 *
 * A pass that meets something which cannot be written without pixels asks for the box that it
 * covers.  When the page's passes are done, the boxes are drawn by another program from the
 * document as it came, with its annotations and without its layers that are off, and painted
 * opaquely over the page's end.  That is right in whatever order things were painted, and the text
 * beneath stays in the content.
 */
#ifndef PREPARE_PAINT_REGION_H
#define PREPARE_PAINT_REGION_H

#include <string>

#include "prepare/model/path.h"
#include "prepare/document/document.h"

namespace prepare {

/* Asks for a box in the page's default user space (points, as rewriter->state of a page has it;
 * the space of the page also for what stands in forms).  What lies outside the page does not count;
 * an empty box asks for nothing.  `reason` is a noun for the notice, such as "a blend mode". */
void addRegion(Document *document, Page *page, const Box &box, const std::string &reason);

/* Draws and paints the page's regions, with a notice REGION; NORENDERER and false when that cannot
 * be done.  Needs the page's content in its last form. */
bool paintRegions(Document *document, Page *page);

/* Are there regions that cover the box?  What lies in them need not be right otherwise. */
bool isInRegion(const Page &page, const Box &box);

constexpr int MIN_RESOLUTION = 36, MAX_RESOLUTION = 2400; /* pixels per inch */
constexpr double WHOLE_PAGE_SHARE = 0.6; /* regions with more of the page's area become the page */
constexpr size_t MAX_REGIONS = 16;       /* of a page; more are merged */
constexpr double MAX_PIXELS = 32u << 20; /* of a region; larger ones are drawn coarser */

} // namespace prepare

#endif
