/*
 * convert.h - images that the converter does not accept, as such that it does
 *
 * JBIG2 becomes Group 4, JPEG 2000 a JPEG or Flate data with its opacity as a soft mask, 16 bits
 * become 8.  Images without such a need keep their bytes.
 */
#ifndef PREPARE_IMAGES_CONVERT_H
#define PREPARE_IMAGES_CONVERT_H

#include "prepare/content/evaluate.h"
#include "prepare/content/rewrite.h"
#include "prepare/document/document.h"

namespace prepare {

/* Has the image data, or a colour space, that the converter does not accept? */
bool imageNeedsWork(QPDFObjectHandle image);

/* The same of a "BI" operation. */
bool inlineImageNeedsWork(const Operation &operation);

/* Puts an image that leaves no mark in its place. */
void blankImage(QPDFObjectHandle image);

/* Converts all such images that the page uses, in forms, glyphs, patterns and soft masks too, once
 * a document.  One that cannot be read paints nothing, with a notice IMAGE.  Needs the page
 * scanned. */
void convertImages(Document *document, Page *page);

/* Makes XObjects of inline images that need work. */
extern const ContentPass inlineImagePass;

extern const Observer imageObserver;

} // namespace prepare

#endif
