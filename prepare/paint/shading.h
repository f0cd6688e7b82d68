/*
 * shading.h - shadings as content: pictures, rectangles and circles in place of the operator
 */
#ifndef PREPARE_PAINT_SHADING_H
#define PREPARE_PAINT_SHADING_H

#include <string>

#include "prepare/content/rewrite.h"

namespace prepare {

/* Content that paints the shading within the box, both in the shading's space.  `toPaper` leads
 * from there to points on paper.  `isPattern`: its background is painted, too.  The names
 * in it are looked for in `scope`.  Nothing when it cannot be read. */
std::optional<std::string> shadingContent(Rewriter *rewriter, const ResourceScope &scope,
                                          QPDFObjectHandle shading, const Box &box, const Matrix &toPaper, bool isPattern);

/* A colour from its middle. */
DeviceColour shadingColour(const ResourceScope &scope, QPDFObjectHandle shading);

} // namespace prepare

#endif
