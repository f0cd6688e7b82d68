/*
 * annotations.h - annotations and form fields as part of the page
 */
#ifndef PREPARE_PAGE_ANNOTATIONS_H
#define PREPARE_PAGE_ANNOTATIONS_H

#include "prepare/document/document.h"

namespace prepare {

/* Paints the page's annotations that are printed (or seen, or none: options.annotations) as forms:
 * behind its content, markers that text shines through in front of it.  Their forms get names in a
 * copy of the page's resources; NEED_ANNOTATIONS is set where there are any.  Needs the page's
 * structure repaired and layers loaded.  Throws LimitReached. */
void drawAnnotations(Document *document, Page *page);

/* Bounds of one page. */
constexpr size_t MAX_ANNOTATIONS = 100000;
constexpr size_t MAX_DRAWN_BYTES = 16u << 20; /* of what is drawn for want of an appearance */

} // namespace prepare

#endif
