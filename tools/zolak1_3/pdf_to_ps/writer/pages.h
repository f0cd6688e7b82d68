/*
 * pages.h - the description of one page
 */
#ifndef PDF_TO_PS_PAGES_H
#define PDF_TO_PS_PAGES_H

#include "tools/zolak1_3/pdf_to_ps/reader/streams.h"
#include "tools/zolak1_3/pdf_to_ps/writer/run.h"

/* Lower-left and upper-right corner, in units of PDF user space. */
struct PageBox {
    int32_t llx, lly, urx, ury;
};

/* A rectangle after rotation, its corners in order; wide enough for every box. */
struct Rectangle {
    int64_t x1, y1, x2, y2;
};

/* What a page inherits from the nodes above it, handed down by value.  The containers belong to
 * the node that read them. */
struct PageAttributes {
    PageBox MediaBox;
    PageBox CropBox;
    int32_t hasCropBox;
    int64_t rotation;             /* degrees counterclockwise: minus the /Rotate of the page */
    const PdfDict *resources;     /* or null */
    const PdfArray *contentArray; /* one of the two, or neither */
    const PdfStream *contentStream;
};

/* The visible part of the page as it lies on the paper: what is to become of (0, 0), and the size.
 * Not above 0 where the page has no area. */
Rectangle pageRectangle(const PageAttributes &attributes);

#endif
