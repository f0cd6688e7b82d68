/*
 * images.h - images as the converter and the printer know them
 *
 * The data keep their bytes where they have one filter that printers know, or none, and agree with
 * the dictionary.  Of others the filters are undone as far as that takes.
 */
#ifndef PREPARE_CANONICAL_IMAGES_H
#define PREPARE_CANONICAL_IMAGES_H

#include "prepare/document/document.h"

namespace prepare {

/* Gives the image a dictionary of known keys alone, once; in its place.  One that cannot be read
 * paints nothing, with a notice of the page. */
void plainImage(Document *document, QPDFObjectHandle image, int page);

constexpr int MAX_PLAIN_SIDE = 1 << 20; /* pixels */
constexpr double MAX_PLAIN_PIXELS = 2e9;

} // namespace prepare

#endif
