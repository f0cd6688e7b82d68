/*
 * pages.h - pages of which nothing is written but what stands in the tables
 *
 * The last stage of a document that is to be interpreted in a job.  It takes whatever the passes
 * have made, or have left as it was, and makes every page, resource and stream anew: content by the
 * operators' table (content.h), dictionaries by one table for each kind.  What fits into none is
 * not written.
 */
#ifndef PREPARE_CANONICAL_PAGES_H
#define PREPARE_CANONICAL_PAGES_H

#include "prepare/document/document.h"

namespace prepare {

/* Makes the page's content canonical, one stream in clear.  Needs all passes done with the page.
 * Throws LimitReached. */
void settlePage(Document *document, Page *page);

/* Makes the resources that the page's content names canonical, and says what was left out.  Needs
 * all pages settled, and the fonts written. */
void settleResources(Document *document, Page *page);

/* Takes everything from the page. */
void clearPage(Document *document, Page *page);

} // namespace prepare

#endif
