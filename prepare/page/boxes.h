/*
 * boxes.h - the page's size, crop, rotation and unit
 */
#ifndef PREPARE_PAGE_BOXES_H
#define PREPARE_PAGE_BOXES_H

#include "prepare/model/path.h"
#include "prepare/document/document.h"

namespace prepare {

/* Makes the box that the options name the page's crop box; a page that lacks it keeps its own. */
void chooseBox(const Document &document, Page *page);

/* /UserUnit: points for each unit of the page's space. */
double unitOf(const Page &page);

/* What is seen of the page, in points. */
Box paperBox(const Page &page);

/* Does the converter take the page's boxes as they are?  Needs inherited attributes in place. */
bool boxesNeedWork(const Page &page);

/* One media box of whole numbers that is what is seen of the page, and a rotation by quarter
 * turns.  Letter where no box makes sense. */
void normaliseBoxes(Document *document, Page *page);

} // namespace prepare

#endif
