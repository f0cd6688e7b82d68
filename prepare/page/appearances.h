/*
 * appearances.h - what annotations look like that bring no appearance
 */
#ifndef PREPARE_PAGE_APPEARANCES_H
#define PREPARE_PAGE_APPEARANCES_H

#include <optional>

#include "prepare/document/document.h"

namespace prepare {

struct Rect {
    double x1 = 0, y1 = 0, x2 = 0, y2 = 0; /* corners in order */
};

/* Four numbers as a rectangle of sensible size; it may have no area. */
std::optional<Rect> readRect(QPDFObjectHandle object);

/* A form in the page's own coordinates. */
struct DrawnForm {
    QPDFObjectHandle form;
    size_t bytes = 0; /* of its content; 0: there is nothing to see, and no form */
};

/* Draws Square, Circle, Line, Ink, PolyLine, Polygon, Highlight, Underline, StrikeOut, Squiggly,
 * FreeText, Link, and the frames of form fields with their text unless they have it.  Throws
 * LimitReached when that takes more than `limit` bytes. */
DrawnForm drawAppearance(Document *document, QPDFObjectHandle annotation, bool hasText,
                         size_t limit);

} // namespace prepare

#endif
