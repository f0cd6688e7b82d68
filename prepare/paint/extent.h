/*
 * extent.h - boxes of what is painted: paths, strokes, text
 */
#ifndef PREPARE_PAINT_EXTENT_H
#define PREPARE_PAINT_EXTENT_H

#include <map>
#include <memory>
#include <vector>

#include "prepare/content/track.h"
#include "prepare/model/qpdf.h"

namespace prepare {

struct FontWidths; /* extent.cpp */

/* Where text is shown.  The state's text matrix does not move by what is shown; this does. */
struct TextPen {
    double shown = 0; /* since the text matrix was set, in text space */
    std::map<QPDFObjGen, std::shared_ptr<const FontWidths>> fonts;
};

/* The box of what a show operator paints, clip not applied; moves the pen.  Empty when it shows
 * nothing but blanks.  Heights and unknown widths are those of usual fonts. */
Box showText(TextPen *pen, const ContentState &state, const Operation &operation);

/* To be told of every other operation. */
void movePen(TextPen *pen, const Operation &operation);

/* The box of the path when it is filled or stroked, clip not applied. */
Box pathBox(const ContentState &state, bool isStroked);

/* The boxes of the lines that a stroke consists of, where it is a rectangle or a few straight
 * lines; else that of the whole. */
std::vector<Box> strokeBoxes(const ContentState &state);

/* The unit square, which images fill. */
Box imageBox(const ContentState &state);

} // namespace prepare

#endif
