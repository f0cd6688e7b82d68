/*
 * heldpaths.h - paths in one piece
 */
#ifndef PREPARE_CONTENT_HELDPATHS_H
#define PREPARE_CONTENT_HELDPATHS_H

#include <string>

namespace prepare {

/* The content with each path just in front of what paints it, behind all that stood within it.  A
 * path is no part of the graphics state: saved and restored states leave it as it is, and it is
 * painted by the matrix of the moment, as most readers do.  In PostScript it would stay where its
 * points were set, and a restored state would bring the one before back. */
std::string withPathsHeld(const std::string &content);

} // namespace prepare

#endif
