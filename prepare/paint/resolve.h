/*
 * resolve.h - what becomes of one paint, for transparency.cpp and its neighbours
 *
 * A fill, a stroke or an image goes through its own alpha, soft mask and blend mode, and through
 * those of every group around it, down to the paper.
 */
#ifndef PREPARE_PAINT_RESOLVE_H
#define PREPARE_PAINT_RESOLVE_H

#include <string>
#include <vector>

#include "prepare/content/rewrite.h"
#include "prepare/paint/backdrop.h"
#include "prepare/paint/survey.h"

namespace prepare {

enum PaintSide { FILL, STROKE };

/* What becomes of one paint: of a fill, a stroke, or an image. */
struct ResolvedPaint {
    bool isNothing = false;
    bool isPlain = true; /* the colour stays */
    Box box;
    DeviceColour colour;
    Chain chain;
    const MaskScene *mask = nullptr; /* it shows through the image of this mask */
    QPDFObjectHandle softMask;
    Box limit = EVERYTHING; /* it is to be clipped to this, in the outermost space */
};

struct Painted {
    Box box;
    bool covers = false;
    bool isPartial = false;  /* it may be transparent in itself */
    bool acceptsMask = false;  /* it can be painted through the image of a mask */
    bool acceptsLimit = false; /* it can be clipped */
    bool hasOwnMask = false; /* which takes the place of the state's */
    PaintSide side = FILL;
};

/* What has been painted so far where this content is painted. */
Painting *paintingOf(const Rewriter *rewriter);

const Paint &paintOf(const Rewriter *rewriter, PaintSide side);

/* Is anything transparent here? */
bool isActive(const Rewriter &rewriter);

/* The box is to become a picture: it cannot be computed. */
void askForRegion(Rewriter *rewriter, const Box &box, const char *reason);

ResolvedPaint resolve(Rewriter *rewriter, const Painted &painted);

/* Something of one colour. */
ResolvedPaint resolveColour(Rewriter *rewriter, const Painted &painted);

/* Marks what was painted; in these boxes only, where it leaves room between them. */
void leaveMark(Rewriter *rewriter, const ResolvedPaint &resolved, const Painted &painted,
               const std::vector<Box> &boxes = {});

bool isLimited(const ResolvedPaint &resolved);

/* A clip to the limit, in the space of the content. */
std::string limitText(const Rewriter &rewriter, const Box &limit);

/* The colour as it is seen, to stand in front of what is painted; and the document's own, to stand
 * behind it. */
void select(Rewriter *rewriter, const ResolvedPaint &resolved, PaintSide side, std::string *front,
            std::string *behind);

} // namespace prepare

#endif
