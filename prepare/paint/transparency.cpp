/*
 * transparency.cpp - the handler of transparent paint
 *
 * A path is held back until the operator that paints it is known, because its colours must stand in
 * front of it; behind it the document's own colours are selected again.  Forms in which something
 * depends on the place are copied for each place; what they paint, and what all else paints, leaves
 * marks (backdrop.h) for what comes later.
 *
 * Here are the dispatch, paths and text; objects.cpp has images and forms, resolve.cpp what one
 * paint comes to.
 */
#include "prepare/paint/transparency.h"

#include "prepare/content/evaluate.h"
#include "prepare/paint/flatimages.h"
#include "prepare/paint/handler.h"
#include "prepare/paint/mask.h"

namespace prepare {

Painting *paintingOf(const Rewriter *rewriter)
{
    return static_cast<TransparencyHandler *>(handlerOf(*rewriter, transparencyPass))
        ->painting.get();
}

void TransparencyHandler::begin(Rewriter *rewriter)
{
    if (rewriter->joinsOuter) {
        auto outer = handlerOf(*rewriter->outer, transparencyPass);
        painting = static_cast<TransparencyHandler *>(outer)->painting;
        return;
    }
    painting = std::make_shared<Painting>();
    painting->document = rewriter->document;
    painting->isPage = rewriter->depth == 0;
    QPDFObjectHandle knockout = entryOf(entryOf(*rewriter->page, "/Group"), "/K");
    painting->scene.groups.front().isKnockout = rewriter->depth == 0 && isTrue(knockout);
}

bool TransparencyHandler::placesForm(const Rewriter &rewriter, QPDFObjectHandle form) const
{
    if (isSpent(*painting) || painting->places >= MAX_PLACES || rewriter.depth >= MAX_FORM_DEPTH)
        return false;
    return (needsOf(rewriter.document, form) & NEED_TRANSPARENCY) || isActive(rewriter);
}

/* Writes what was held back, as it stood. */
void TransparencyHandler::flush(Rewriter *rewriter)
{
    if (path.empty() && clip.empty())
        return;
    std::string held = path + clip;
    path.clear();
    clip.clear();
    emit(rewriter, held);
}

bool TransparencyHandler::visitPath(Rewriter *rewriter, const Operation &operation)
{
    bool isMaking = operation.op->is(MAKES_PATH), isClip = operation.op->is(CLIPS);
    if (!isMaking && !isClip)
        return false;
    if (path.empty() && !isActive(*rewriter))
        return false;
    (isClip ? clip : path) += std::string(operation.source) + (isClip ? "\n" : "");
    return true;
}

/* Fills and strokes seen through a mask are an image behind the path as clip. */
void TransparencyHandler::paintThroughMask(Rewriter *rewriter, const Operation &operation,
                                           const ResolvedPaint &resolved)
{
    DeviceColour colour = deviceColourOf(paintOf(rewriter, FILL));
    ImagePlace place = {resolved.chain, resolved.mask, resolved.softMask, Matrix()};
    const FlatImages::Known *known = nullptr;
    std::optional<Matrix> back = inverseOf(rewriter->state.now.ctm);
    try {
        if (back)
            known = &flatImageOf(rewriter, QPDFObjectHandle::newNull(), place, colour);
    } catch (const LimitReached &limit) {
        say(rewriter->document, Message::PictureDrawn, rewriter->page->number, {limit.text});
    }
    std::string rule = operation.op->is(EVEN_ODD) ? "W*" : "W";
    std::string text = path + "\n";
    if (known && known->flat.kind != FlatKind::NOTHING) {
        if (!known->name.empty())
            putResource(rewriter, XOBJECT, known->name, known->flat.image);
        text = "q " + path + "\n" + rule + " n " + concatText(resolved.mask->placement * *back) +
               paintText(*known) + " Q\n" + path + "\n";
    } else if (!known) {
        askForRegion(rewriter, resolved.box, "a soft mask");
    }
    text += clip + "n";
    path.clear();
    clip.clear();
    emit(rewriter, text);
}

void TransparencyHandler::paintPath(Rewriter *rewriter, const Operation &operation)
{
    const Operator &op = *operation.op;
    bool fills = op.is(FILLS), strokes = op.is(STROKES);
    const ContentState &state = rewriter->state;
    Painted fill, stroke;
    fill.box = pathBox(state, false);
    fill.covers = isRectangle(state.path);
    fill.acceptsMask = !strokes && !isPattern(paintOf(rewriter, FILL));
    stroke.box = pathBox(state, true);
    stroke.side = STROKE;
    fill.acceptsLimit = stroke.acceptsLimit = fills != strokes;
    ResolvedPaint filled, stroked;
    if (fills)
        filled = resolveColour(rewriter, fill);
    if (strokes)
        stroked = resolveColour(rewriter, stroke);
    if (fills)
        leaveMark(rewriter, filled, fill);
    if (strokes)
        leaveMark(rewriter, stroked, stroke, strokeBoxes(state));
    if (filled.mask && !filled.isNothing)
        return paintThroughMask(rewriter, operation, filled);
    std::string operatorText(op.name);
    bool closes = op.is(CLOSES), isEvenOdd = op.is(EVEN_ODD);
    bool doesFill = fills && !filled.isNothing, doesStroke = strokes && !stroked.isNothing;
    if (!doesFill && !doesStroke)
        operatorText = "n";
    else if (fills && strokes && !doesFill)
        operatorText = closes ? "s" : "S";
    else if (fills && strokes && !doesStroke)
        operatorText = isEvenOdd ? "f*" : "f";
    std::string text, behind;
    if (doesFill)
        select(rewriter, filled, FILL, &text, &behind);
    if (doesStroke)
        select(rewriter, stroked, STROKE, &text, &behind);
    const ResolvedPaint &only = fills ? filled : stroked;
    if (isLimited(only) && operatorText != "n") {
        text = "q " + limitText(*rewriter, only.limit) + text + path + "\n" + operatorText + "\nQ";
        if (!clip.empty())
            text += "\n" + path + "\n" + clip + "n";
    } else {
        text += path + "\n" + clip + operatorText + behind;
    }
    path.clear();
    clip.clear();
    emit(rewriter, text);
}

bool TransparencyHandler::visitText(Rewriter *rewriter, const Operation &operation)
{
    Box box = showText(&pen, rewriter->state, operation);
    int mode = rewriter->state.now.text.mode & 3;
    if (mode == 3)
        return false;
    Painted fill, stroke;
    fill.box = stroke.box = box;
    stroke.side = STROKE;
    ResolvedPaint filled, stroked;
    if (mode != 1)
        filled = resolveColour(rewriter, fill);
    if (mode != 0)
        stroked = resolveColour(rewriter, stroke);
    leaveMark(rewriter, filled, fill);
    leaveMark(rewriter, stroked, stroke);
    bool isNothing = (mode == 1 || filled.isNothing) && (mode == 0 || stroked.isNothing);
    std::string before, behind;
    if (isNothing) {
        int real = rewriter->state.now.text.mode;
        before = real >= 4 ? "7 Tr " : "3 Tr ";
        behind = "\n" + std::to_string(real) + " Tr";
    } else {
        select(rewriter, filled, FILL, &before, &behind);
        select(rewriter, stroked, STROKE, &before, &behind);
    }
    if (before.empty())
        return false;
    std::string_view source = operation.source.substr(operation.leadingSpace().size());
    emit(rewriter, before + std::string(source) + behind);
    return true;
}

bool TransparencyHandler::visit(Rewriter *rewriter, const Operation &operation)
{
    painting->work++;
    if (visitPath(rewriter, operation))
        return true;
    const Operator &op = *operation.op;
    if (op.paintsPath() && isActive(*rewriter)) {
        paintPath(rewriter, operation);
        return true;
    }
    flush(rewriter);
    if (op.is(SHOWS_TEXT) && isActive(*rewriter))
        return visitText(rewriter, operation);
    if (op.id == Op::PAINT_OBJECT)
        return visitObject(rewriter, operation);
    bool isImageOrShading = op.id == Op::INLINE_IMAGE || op.id == Op::SHADING_FILL;
    if (isImageOrShading && isActive(*rewriter)) {
        Painted painted;
        painted.box =
            op.id == Op::INLINE_IMAGE ? imageBox(rewriter->state) : rewriter->state.now.clip;
        ResolvedPaint resolved = resolve(rewriter, painted);
        if (resolved.isNothing)
            return true;
        if (!resolved.isPlain && resolved.chain.isKnown)
            askForRegion(rewriter, resolved.box, "a transparent shading");
    }
    survey(painting.get(), &rewriter->state, &pen, operation, rewriter->depth);
    return false;
}

namespace {

void watchMasks(Walk *walk, int category, const std::string &, QPDFObjectHandle found)
{
    if (category == XOBJECT && isImage(found) && isMasked(found))
        addNeed(walk, NEED_TRANSPARENCY);
    if (category == XOBJECT && isForm(found) &&
        isTrue(entryOf(found.getDict().getKey("/Group"), "/K")))
        addNeed(walk, NEED_SUBTLE);
}

void watchState(Walk *walk)
{
    const Transparency &now = walk->state->now.transparency;
    if (!isOpaque(now))
        addNeed(walk, NEED_TRANSPARENCY);
    if (now.blend == Blend::HUE || now.blend == Blend::SATURATION)
        addNeed(walk, NEED_SUBTLE);
}

} // namespace

const ContentPass transparencyPass = {"transparency", NEED_TRANSPARENCY, [] {
                                          return std::unique_ptr<Handler>(new TransparencyHandler);
                                      }};

const Observer transparencyObserver = {
    .name = "transparency", .resource = watchMasks, .graphicsState = watchState};

} // namespace prepare
