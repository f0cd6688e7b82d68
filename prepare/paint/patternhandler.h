/*
 * patternhandler.h - the handler of patterns, for patterns.cpp, patterntext.cpp and
 * patternstencils.cpp
 */
#ifndef PREPARE_PAINT_PATTERNHANDLER_H
#define PREPARE_PAINT_PATTERNHANDLER_H

#include <string>
#include <vector>

#include "prepare/content/rewrite.h"

namespace prepare {

/* Text shown in a pattern. */
struct PatternText {
    Paint colour;
    Box box; /* about where, in the outermost space */
};

struct PatternHandler : Handler {
    void begin(Rewriter *rewriter) override { firstClip = rewriter->state.now.clip; }
    bool visit(Rewriter *rewriter, const Operation &operation) override;
    void end(Rewriter *rewriter) override;

    Box firstClip; /* the clip with which the content begins */

    std::string path; /* held back */
    std::string clip; /* the operator that makes it one; empty: none */

    bool isInText = false;
    std::string text; /* held back, between BT and ET */
    ContentState textBegin;
    std::vector<PatternText> textPatterns;
    double shown = 0; /* on this line, at most */
    bool hasSavedInText = false;
};

/* Colours of no ink at all, which are treated like an empty pattern. */
bool isNoColour(const Paint &paint);

/* What has no operators in the end: patterns, and colours of no ink. */
bool isReplaced(const Paint &paint);

/* Does the operation select a pattern, or colours where a pattern space is? */
bool selectsPattern(Rewriter *rewriter, const Operation &operation);

/* Something in a pattern is painted in one colour: the box, in the outermost space, becomes a
 * picture where it is known to lie on the page. */
void paintElsewhere(const PatternHandler *handler, Rewriter *rewriter, const Box &box,
                    const std::string &what);

/* A single colour in place of the pattern. */
DeviceColour plainColour(const Paint &paint);

/* Content that paints the pattern within a box of the outermost space, for the matrix that the
 * content has now; where that cannot be, one colour over all. */
std::string paintOf(const PatternHandler *handler, Rewriter *rewriter, const Paint &colour,
                    const Box &box);

/* Parts of the handler: text objects, and stencil masks.  True: the operation has been handled. */
bool visitText(PatternHandler *handler, Rewriter *rewriter, const Operation &operation);
void endText(PatternHandler *handler, Rewriter *rewriter);
bool visitStencil(PatternHandler *handler, Rewriter *rewriter, const Operation &operation);

} // namespace prepare

#endif
