/*
 * spaces.h - colour spaces as the converter knows them
 */
#ifndef PREPARE_CANONICAL_SPACES_H
#define PREPARE_CANONICAL_SPACES_H

#include "prepare/document/document.h"

namespace prepare {

/* The space made anew: a device space's name, or an array of CalGray, CalRGB, Lab, Indexed or
 * Separation.  Null: it is none of these. */
QPDFObjectHandle plainSpace(Document *document, QPDFObjectHandle space);

/* The name of the device space of 1, 3 or 4 components. */
QPDFObjectHandle deviceSpaceName(int components);

} // namespace prepare

#endif
