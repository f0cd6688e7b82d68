/*
 * spaces.h - colour spaces in the forms that the converter accepts
 */
#ifndef PREPARE_PAGE_SPACES_H
#define PREPARE_PAGE_SPACES_H

#include "prepare/document/document.h"

namespace prepare {

/* The space with profiles replaced by the device space of their number of components, and tables
 * that hold zero bytes as streams; null when it is no space.  `isChanged` is set when it differs
 * from what was given, which stays as it is. */
QPDFObjectHandle normaliseSpace(Document *document, QPDFObjectHandle space, bool *isChanged);

} // namespace prepare

#endif
