/*
 * colours.h - images in colour spaces that the converter does not accept, in device colours
 */
#ifndef PREPARE_IMAGES_COLOURS_H
#define PREPARE_IMAGES_COLOURS_H

#include "prepare/content/rewrite.h"

namespace prepare {

/* Has an image's own dictionary such a space? */
bool imageNeedsColours(QPDFObjectHandle image);

/* Puts an image into the device space that its colours come down to.  Throws LimitReached when it
 * cannot be read. */
void convertColours(Document *document, QPDFObjectHandle image);

/* Makes XObjects of inline images in such spaces. */
extern const ContentPass inlineColourPass;

} // namespace prepare

#endif
