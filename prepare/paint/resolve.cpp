/*
 * resolve.cpp - one paint on its way to the paper
 *
 * ISO 32000-1, 11.3 and 11.4: the alphas of the state and of the groups around, each times its soft
 * mask, make a chain of steps; backdrop.h says what lies below at each.  One mask of the chain may
 * be an image, when the paint can be shown through it and its step commutes with those further in.
 * After a bounded number of paints on a page, each is taken as if nothing were known below.
 */
#include "prepare/paint/resolve.h"

#include "prepare/paint/region.h"

namespace prepare {

const Paint &paintOf(const Rewriter *rewriter, PaintSide side)
{
    const GraphicsState &now = rewriter->state.now;
    return side == STROKE ? now.stroke : now.fill;
}

bool isActive(const Rewriter &rewriter)
{
    return !isOpaque(rewriter.state.now.transparency) || !isPlain(paintingOf(&rewriter)->scene);
}

void askForRegion(Rewriter *rewriter, const Box &box, const char *reason)
{
    if (paintingOf(rewriter)->isPage)
        addRegion(rewriter->document, rewriter->page, box, reason);
    else /* it has no place of its own that could be drawn */
        say(rewriter->document, Message::PaintedOpaque, rewriter->page->number, {reason});
}

namespace {

/* The alphas of soft masks from the innermost paint out; false: one of them is not constant. */
struct Masks {
    std::vector<double> alphas;
    bool isKnown = true;
    const MaskScene *image = nullptr;
    QPDFObjectHandle softMask;
    size_t imageStep = 0;
    Box limit = EVERYTHING;
};

void addMask(Rewriter *rewriter, Masks *masks, double alpha, QPDFObjectHandle softMask,
             const Matrix &matrix, const Box &box)
{
    masks->alphas.push_back(alpha);
    if (!softMask.isInitialized() || alpha <= 0)
        return;
    MaskValue value = maskValue(paintingOf(rewriter), softMask, matrix, box, rewriter->depth);
    masks->alphas.back() *= value.alpha;
    masks->limit = intersection(masks->limit, value.limit);
    masks->isKnown &= value.isKnown && !(value.image && masks->image);
    if (!value.image || masks->image)
        return;
    masks->image = value.image;
    masks->softMask = softMask;
    masks->imageStep = masks->alphas.size() - 1;
}

Masks masksAt(Rewriter *rewriter, const Box &box, const Painted &painted)
{
    Masks masks;
    const Transparency &now = rewriter->state.now.transparency;
    addMask(rewriter, &masks, painted.side == FILL ? now.fillAlpha : now.strokeAlpha,
            painted.hasOwnMask ? QPDFObjectHandle() : now.softMask, now.softMaskMatrix, box);
    const std::vector<Group> &groups = paintingOf(rewriter)->scene.groups;
    for (size_t level = groups.size(); level-- > 1;)
        addMask(rewriter, &masks, groups[level].alpha, groups[level].softMask,
                groups[level].softMaskMatrix, box);
    return masks;
}

/* A mask of a group acts on each paint in it, as long as they lie on nothing there. */
bool commutes(const Chain &chain, size_t step)
{
    for (size_t i = 0; i < step; i++)
        if (chain.steps[i].below.alpha > 0 || chain.steps[i].blend != Blend::NORMAL)
            return false;
    return true;
}

} // namespace

ResolvedPaint resolve(Rewriter *rewriter, const Painted &painted)
{
    ContentState *state = &rewriter->state;
    const Transparency &now = state->now.transparency;
    ResolvedPaint resolved;
    resolved.box = intersection(painted.box, state->now.clip);
    if (isEmpty(resolved.box))
        return resolved;
    countWork(paintingOf(rewriter));
    if (isSpent(*paintingOf(rewriter))) { /* as if nothing were below */
        resolved.chain.isKnown = false;
        resolved.chain.steps.push_back({{}, {}, 1, Blend::NORMAL});
        askForRegion(rewriter, resolved.box, "transparency");
        return resolved;
    }
    Masks masks = masksAt(rewriter, resolved.box, painted);
    if (!contains(masks.limit, resolved.box)) {
        Box left = intersection(resolved.box, masks.limit);
        resolved.isNothing = isEmpty(left);
        bool canClip = painted.acceptsLimit && !masks.image;
        masks.isKnown &= canClip;
        if (canClip) {
            resolved.limit = masks.limit;
            resolved.box = left;
        }
    }
    bool isPartial = painted.isPartial || masks.image;
    resolved.chain =
        chainOf(paintingOf(rewriter)->scene, resolved.box, masks.alphas, now.blend, isPartial);
    for (const Step &step : resolved.chain.steps)
        resolved.isNothing |= step.alpha <= 0;
    bool canMask = painted.acceptsMask && masks.isKnown && masks.image &&
                   commutes(resolved.chain, masks.imageStep);
    if (canMask) {
        resolved.mask = masks.image;
        resolved.softMask = masks.softMask;
    }
    resolved.chain.isKnown &= masks.isKnown && (!masks.image || canMask);
    resolved.isPlain = isPlain(resolved.chain) && !resolved.mask;
    if (!resolved.chain.isKnown && !resolved.isNothing && !painted.isPartial)
        askForRegion(rewriter, resolved.box, "transparency");
    return resolved;
}

ResolvedPaint resolveColour(Rewriter *rewriter, const Painted &painted)
{
    ResolvedPaint resolved = resolve(rewriter, painted);
    if (resolved.chain.steps.empty())
        return resolved;
    Layer layer = {deviceColourOf(paintOf(rewriter, painted.side)), 1};
    bool hasPattern = isPattern(paintOf(rewriter, painted.side));
    if (hasPattern && !resolved.isPlain && !resolved.isNothing && resolved.chain.isKnown)
        askForRegion(rewriter, resolved.box, "a transparent pattern");
    resolved.isPlain |= hasPattern;
    resolved.colour = onPaper(resolved.chain, layer);
    return resolved;
}

void leaveMark(Rewriter *rewriter, const ResolvedPaint &resolved, const Painted &painted,
               const std::vector<Box> &boxes)
{
    if (isEmpty(resolved.box) || resolved.chain.steps.empty() || resolved.isNothing)
        return;
    bool isKnown = resolved.chain.isKnown && !resolved.mask && !painted.isPartial &&
                   !isPattern(paintOf(rewriter, painted.side));
    Layer layer = {deviceColourOf(paintOf(rewriter, painted.side)), 1};
    Mark mark = {resolved.box, painted.covers && rewriter->state.now.isClipRectangle, isKnown,
                 inGroup(resolved.chain, layer)};
    if (boxes.empty())
        addMark(&paintingOf(rewriter)->scene, mark);
    for (const Box &box : boxes) {
        mark.box = intersection(box, resolved.box);
        addMark(&paintingOf(rewriter)->scene, mark);
    }
}

bool isLimited(const ResolvedPaint &resolved)
{
    return !contains(resolved.limit, EVERYTHING);
}

std::string limitText(const Rewriter &rewriter, const Box &limit)
{
    std::optional<Matrix> back = inverseOf(rewriter.state.now.ctm);
    if (!back)
        return "";
    const double corners[4][2] = {{limit.left, limit.bottom},
                                  {limit.right, limit.bottom},
                                  {limit.right, limit.top},
                                  {limit.left, limit.top}};
    std::string text;
    for (const double *p : corners)
        text += numberText(back->a * p[0] + back->c * p[1] + back->e) + " " +
                numberText(back->b * p[0] + back->d * p[1] + back->f) +
                (p == corners[0] ? " m " : " l ");
    return text + "h W n ";
}

void select(Rewriter *rewriter, const ResolvedPaint &resolved, PaintSide side, std::string *front,
            std::string *behind)
{
    if (resolved.isPlain)
        return;
    *front += colourText(resolved.colour, side == STROKE) + "\n";
    *behind += "\n" + selectText(rewriter, paintOf(rewriter, side), side == STROKE);
}

} // namespace prepare
