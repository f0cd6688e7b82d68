/*
 * states.h - graphics states and halftones as the converter knows them
 */
#ifndef PREPARE_CANONICAL_STATES_H
#define PREPARE_CANONICAL_STATES_H

#include "prepare/document/document.h"

namespace prepare {

/* A graphics state made anew, maybe empty; null of what is no dictionary. */
QPDFObjectHandle plainState(Document *document, QPDFObjectHandle state);

} // namespace prepare

#endif
