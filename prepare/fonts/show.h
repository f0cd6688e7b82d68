/*
 * show.h - text shown in composite fonts, written for their subfonts
 */
#ifndef PREPARE_FONTS_SHOW_H
#define PREPARE_FONTS_SHOW_H

#include <memory>

#include "prepare/content/rewrite.h"

namespace prepare {

std::unique_ptr<Handler> makeFontHandler();

} // namespace prepare

#endif
