/*
 * profile.h - ICC profiles that are a matrix and curves
 */
#ifndef PREPARE_COLOUR_PROFILE_H
#define PREPARE_COLOUR_PROFILE_H

#include "prepare/document/document.h"

namespace prepare {

/* The calibrated space, with curves (model/space.h), of the profile of an /ICCBased space, when its
 * colours are others than those of the device space of as many components.  Null: they are about
 * the same, or the profile is of another kind or damaged. */
QPDFObjectHandle spaceOfProfile(Document *document, QPDFObjectHandle profile);

} // namespace prepare

#endif
