/*
 * tiling.h - tiling patterns as forms that are painted again and again
 */
#ifndef PREPARE_PAINT_TILING_H
#define PREPARE_PAINT_TILING_H

#include <string>

#include "prepare/content/rewrite.h"

namespace prepare {

constexpr double MAX_CELLS = 20000; /* repetitions of a cell in one place */

/* Content that paints a tiling pattern's cells wherever they meet the box; both in the pattern's space.
 * `colour` is that of an uncoloured pattern.  Nothing when there are more than MAX_CELLS, or when
 * patterns are nested too deep; empty when no cell meets the box. */
std::optional<std::string> tilingContent(Rewriter *rewriter, const Pattern &pattern,
                                         const DeviceColour &colour, const Box &box);

/* A colour that the pattern has somewhere: what it is painted in where it cannot be itself. */
DeviceColour tilingColour(const ResourceScope &scope, QPDFObjectHandle pattern);

} // namespace prepare

#endif
