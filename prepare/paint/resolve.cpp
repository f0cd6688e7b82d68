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

const Paint &paintOf(const Rewriter *rewriter, Ink ink)
{
    const GraphicsState &now = rewriter->state.now;
    return ink == STROKE ? now.stroke : now.fill;
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
    addMask(rewriter, &masks, painted.ink == FILL ? now.fillAlpha : now.strokeAlpha,
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

Seen resolve(Rewriter *rewriter, const Painted &painted)
{
    ContentState *state = &rewriter->state;
    const Transparency &now = state->now.transparency;
    Seen seen;
    seen.box = intersection(painted.box, state->now.clip);
    if (isEmpty(seen.box))
        return seen;
    countWork(paintingOf(rewriter));
    if (isSpent(*paintingOf(rewriter))) { /* as if nothing were below */
        seen.chain.isKnown = false;
        seen.chain.steps.push_back({{}, {}, 1, Blend::NORMAL});
        askForRegion(rewriter, seen.box, "transparency");
        return seen;
    }
    Masks masks = masksAt(rewriter, seen.box, painted);
    if (!contains(masks.limit, seen.box)) {
        Box left = intersection(seen.box, masks.limit);
        seen.isNothing = isEmpty(left);
        bool canClip = painted.takesLimit && !masks.image;
        masks.isKnown &= canClip;
        if (canClip) {
            seen.limit = masks.limit;
            seen.box = left;
        }
    }
    bool isPartial = painted.isPartial || masks.image;
    seen.chain = chainOf(paintingOf(rewriter)->scene, seen.box, masks.alphas, now.blend, isPartial);
    for (const Step &step : seen.chain.steps)
        seen.isNothing |= step.alpha <= 0;
    bool canMask =
        painted.takesMask && masks.isKnown && masks.image && commutes(seen.chain, masks.imageStep);
    if (canMask) {
        seen.mask = masks.image;
        seen.softMask = masks.softMask;
    }
    seen.chain.isKnown &= masks.isKnown && (!masks.image || canMask);
    seen.isPlain = isPlain(seen.chain) && !seen.mask;
    if (!seen.chain.isKnown && !seen.isNothing && !painted.isPartial)
        askForRegion(rewriter, seen.box, "transparency");
    return seen;
}

Seen resolveColour(Rewriter *rewriter, const Painted &painted)
{
    Seen seen = resolve(rewriter, painted);
    if (seen.chain.steps.empty())
        return seen;
    Layer layer = {deviceColourOf(paintOf(rewriter, painted.ink)), 1};
    bool hasPattern = isPattern(paintOf(rewriter, painted.ink));
    if (hasPattern && !seen.isPlain && !seen.isNothing && seen.chain.isKnown)
        askForRegion(rewriter, seen.box, "a transparent pattern");
    seen.isPlain |= hasPattern;
    seen.colour = onPaper(seen.chain, layer);
    return seen;
}

void leaveMark(Rewriter *rewriter, const Seen &seen, const Painted &painted,
               const std::vector<Box> &boxes)
{
    if (isEmpty(seen.box) || seen.chain.steps.empty() || seen.isNothing)
        return;
    bool isKnown = seen.chain.isKnown && !seen.mask && !painted.isPartial &&
                   !isPattern(paintOf(rewriter, painted.ink));
    Layer layer = {deviceColourOf(paintOf(rewriter, painted.ink)), 1};
    Mark mark = {seen.box, painted.covers && rewriter->state.now.isClipRectangle, isKnown,
                 inGroup(seen.chain, layer)};
    if (boxes.empty())
        addMark(&paintingOf(rewriter)->scene, mark);
    for (const Box &box : boxes) {
        mark.box = intersection(box, seen.box);
        addMark(&paintingOf(rewriter)->scene, mark);
    }
}

bool isLimited(const Seen &seen)
{
    return !contains(seen.limit, EVERYTHING);
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

void select(Rewriter *rewriter, const Seen &seen, Ink ink, std::string *front, std::string *behind)
{
    if (seen.isPlain)
        return;
    *front += colourText(seen.colour, ink == STROKE) + "\n";
    *behind += "\n" + selectText(rewriter, paintOf(rewriter, ink), ink == STROKE);
}

} // namespace prepare
