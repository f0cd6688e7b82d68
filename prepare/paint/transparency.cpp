/*
 * transparency.cpp - the handler of transparent paint
 *
 * A path is held back until the operator that paints it is known, because its colours must stand in
 * front of it; behind it the document's own colours are selected again.  Forms in which something
 * depends on the place are copied for each place; what they paint, and what all else paints, leaves
 * marks (backdrop.h) for what comes later.
 */
#include "prepare/paint/transparency.h"

#include <array>
#include <cstdio>

#include "prepare/content/evaluate.h"
#include "prepare/images/replaced.h"
#include "prepare/paint/mask.h"
#include "prepare/paint/region.h"
#include "prepare/paint/survey.h"

namespace prepare {

namespace {

/* Images that were computed, by image and place. */
struct FlatImages {
    struct Known {
        FlatImage flat;
        std::string name;    /* of the resource; empty: it needs none */
        std::string failure; /* why there is none */
    };
    std::map<std::string, Known> known;
};

/* Forms as they are painted in some place, by their new content. */
struct PlacedForms {
    struct Placed {
        std::string name;
        QPDFObjectHandle form;
    };
    std::map<std::pair<QPDFObjGen, std::string>, Placed> forms;
};

enum Ink { FILL, STROKE };

/* What becomes of one paint: of a fill, a stroke, or an image. */
struct Seen {
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
    bool takesMask = false;  /* it can be painted through the image of a mask */
    bool takesLimit = false; /* it can be clipped */
    bool hasOwnMask = false; /* which takes the place of the state's */
    Ink ink = FILL;
};

struct TransparencyHandler : Handler {
    void begin(Rewriter *rewriter) override;
    bool placesForm(const Rewriter &rewriter, QPDFObjectHandle form) const override;
    bool take(Rewriter *rewriter, const Operation &operation) override;
    void end(Rewriter *rewriter) override { flush(rewriter); }

  private:
    bool takePath(Rewriter *rewriter, const Operation &operation);
    void paintPath(Rewriter *rewriter, const Operation &operation);
    void paintThroughMask(Rewriter *rewriter, const Operation &operation, const Seen &seen);
    bool takeText(Rewriter *rewriter, const Operation &operation);
    bool takeObject(Rewriter *rewriter, const Operation &operation);
    bool takeImage(Rewriter *rewriter, const Operation &operation, QPDFObjectHandle image);
    bool takeStencil(Rewriter *rewriter, const Operation &operation);
    bool takeForm(Rewriter *rewriter, QPDFObjectHandle form);
    void flush(Rewriter *rewriter);

    TextPen pen;
    std::string path; /* operations that are held back */
    std::string clip; /* "W" or "W*" among them */

  public:
    std::shared_ptr<Painting> painting; /* what has been painted, here and in what this joins */
};

Painting *paintingOf(const Rewriter *rewriter)
{
    return static_cast<TransparencyHandler *>(handlerOf(*rewriter, transparencyPass))
        ->painting.get();
}

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

/* ---- what becomes of paint ---- */

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

/* Something of one colour. */
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

/* Marks what was painted; in these boxes only, where it leaves room between them. */
void leaveMark(Rewriter *rewriter, const Seen &seen, const Painted &painted,
               const std::vector<Box> &boxes = {})
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

/* A clip to the limit, in the space of the content. */
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

/* ---- images that are computed ---- */

std::string placeKey(QPDFObjectHandle image, const ImagePlace &place, const DeviceColour &colour)
{
    std::string key = image.isNull() ? colourText(colour, false) : image.getObjGen().unparse(' ');
    auto add = [&](double value) {
        char text[32];
        snprintf(text, sizeof text, " %.4g", value);
        key += text;
    };
    auto addLayer = [&](const Layer &layer) {
        for (size_t c = 0; c < layer.colour.components; c++)
            add(layer.colour.values[c]);
        add(layer.alpha);
    };
    for (const Step &step : place.chain.steps) {
        key += " |";
        addLayer(step.below);
        addLayer(step.behind);
        add(step.alpha);
        add((double)step.blend);
    }
    if (place.mask) {
        const Matrix &m = place.toMask;
        key += " " + QPDFObjectHandle(place.softMask).unparse();
        for (double value : {m.a, m.b, m.c, m.d, m.e, m.f})
            add(value);
    }
    return key + (place.chain.isKnown ? "" : "?");
}

/* The image for a place; image null: one colour behind a mask. */
const FlatImages::Known &flatImageOf(Rewriter *rewriter, QPDFObjectHandle image,
                                     const ImagePlace &place, const DeviceColour &colour)
{
    Document *document = rewriter->document;
    FlatImages &images = document->memos.of<FlatImages>();
    auto [at, isNew] = images.known.try_emplace(placeKey(image, place, colour));
    FlatImages::Known &known = at->second;
    if (!known.failure.empty())
        throw LimitReached{known.failure};
    if (!isNew)
        return known;
    try {
        known.flat = image.isNull() ? flattenColour(document, colour, place)
                                    : flattenImage(document, image, place);
    } catch (const LimitReached &limit) {
        known.failure = limit.text;
        throw;
    }
    bool isOther = known.flat.kind != FlatKind::NOTHING &&
                   !(known.flat.kind == FlatKind::AS_IS && known.flat.image.isSameObjectAs(image));
    if (isOther && !known.flat.image.isNull())
        known.name = newName(document, "/PfI");
    return known;
}

/* What paints the image in the unit square. */
std::string paintText(const FlatImages::Known &known)
{
    const FlatImage &flat = known.flat;
    std::string text = "q ";
    if (flat.kind == FlatKind::STENCIL)
        text += colourText(flat.colour, false) + " ";
    if (flat.kind == FlatKind::CLIPPED)
        text += flat.clip + "W n ";
    const Box &part = flat.part;
    if (!contains(part, {0, 0, 1, 1}))
        text += concatText(
            {part.right - part.left, 0, 0, part.top - part.bottom, part.left, part.bottom});
    return text + known.name + " Do Q";
}

/* ---- the handler ---- */

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
    painting->scene.groups.front().isKnockout =
        rewriter->depth == 0 && knockout.isBool() && knockout.getBoolValue();
}

bool TransparencyHandler::placesForm(const Rewriter &rewriter, QPDFObjectHandle form) const
{
    if (isSpent(*painting) || painting->places >= MAX_PLACES || rewriter.depth >= MAX_FORM_DEPTH)
        return false;
    return (needsOf(rewriter.document, form) & NEED_TRANSPARENCY) || isActive(rewriter);
}

/* The colour as it is seen, to stand in front of what is painted; and the document's own, to stand
 * behind it. */
void select(Rewriter *rewriter, const Seen &seen, Ink ink, std::string *front, std::string *behind)
{
    if (seen.isPlain)
        return;
    *front += colourText(seen.colour, ink == STROKE) + "\n";
    *behind += "\n" + selectText(rewriter, paintOf(rewriter, ink), ink == STROKE);
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

bool TransparencyHandler::takePath(Rewriter *rewriter, const Operation &operation)
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
                                           const Seen &seen)
{
    DeviceColour colour = deviceColourOf(paintOf(rewriter, FILL));
    ImagePlace place = {seen.chain, seen.mask, seen.softMask, Matrix()};
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
        text = "q " + path + "\n" + rule + " n " + concatText(seen.mask->placement * *back) +
               paintText(*known) + " Q\n" + path + "\n";
    } else if (!known) {
        askForRegion(rewriter, seen.box, "a soft mask");
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
    fill.takesMask = !strokes && !isPattern(paintOf(rewriter, FILL));
    stroke.box = pathBox(state, true);
    stroke.ink = STROKE;
    fill.takesLimit = stroke.takesLimit = fills != strokes;
    Seen filled, stroked;
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
    const Seen &only = fills ? filled : stroked;
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

bool TransparencyHandler::takeText(Rewriter *rewriter, const Operation &operation)
{
    Box box = showText(&pen, rewriter->state, operation);
    int mode = rewriter->state.now.text.mode & 3;
    if (mode == 3)
        return false;
    Painted fill, stroke;
    fill.box = stroke.box = box;
    stroke.ink = STROKE;
    Seen filled, stroked;
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

/* A stencil is painted in the fill colour. */
bool TransparencyHandler::takeStencil(Rewriter *rewriter, const Operation &operation)
{
    Painted painted;
    painted.box = imageBox(rewriter->state);
    Seen seen = resolveColour(rewriter, painted);
    leaveMark(rewriter, seen, painted);
    if (seen.isNothing)
        return true;
    if (seen.isPlain)
        return false;
    std::string front, behind;
    select(rewriter, seen, FILL, &front, &behind);
    emit(rewriter, front + std::string(operation.source) + behind);
    return true;
}

/* The image without its masks, for what cannot be computed. */
bool TransparencyHandler::takeImage(Rewriter *rewriter, const Operation &operation,
                                    QPDFObjectHandle image)
{
    Painted painted;
    painted.box = imageBox(rewriter->state);
    painted.isPartial = painted.takesMask = painted.takesLimit = true;
    painted.hasOwnMask = image.getDict().getKey("/SMask").isStream();
    Seen seen = resolve(rewriter, painted);
    addMark(&paintingOf(rewriter)->scene, {seen.box, false, false, {}});
    if (seen.isNothing)
        return true;
    if (isEmpty(seen.box))
        return false;
    ImagePlace place = {seen.chain, seen.mask, seen.softMask, Matrix()};
    if (seen.mask) {
        std::optional<Matrix> back = inverseOf(seen.mask->placement);
        place.toMask = rewriter->state.now.ctm * back.value_or(Matrix{0, 0, 0, 0, -1, -1});
    }
    Document *document = rewriter->document;
    ReplacedImages &images = document->memos.of<ReplacedImages>();
    try {
        const FlatImages::Known &known = flatImageOf(rewriter, image, place, {});
        if (known.flat.isGuessed)
            askForRegion(rewriter, seen.box, "a transparent picture");
        if (known.name.empty() && isLimited(seen)) {
            images.kept.insert(image.getObjGen());
            if (known.flat.kind != FlatKind::NOTHING)
                emit(rewriter, "q " + limitText(*rewriter, seen.limit) +
                                   std::string(operation.source) + " Q");
            return true;
        }
        if (known.name.empty()) { /* nothing of it, or nothing to be done */
            images.kept.insert(image.getObjGen());
            return known.flat.kind == FlatKind::NOTHING;
        }
        if (isMasked(image)) /* it is painted under other names on all pages */
            images.replaced.insert(image.getObjGen());
        putResource(rewriter, XOBJECT, known.name, known.flat.image);
        std::string text = paintText(known);
        if (isLimited(seen))
            text = "q " + limitText(*rewriter, seen.limit) + text + " Q";
        emit(rewriter, text);
        return true;
    } catch (const LimitReached &limit) {
        say(document, Message::PictureDrawn, rewriter->page->number, {limit.text});
    }
    images.kept.insert(image.getObjGen());
    askForRegion(rewriter, seen.box, "a transparent picture");
    return false;
}

bool TransparencyHandler::takeForm(Rewriter *rewriter, QPDFObjectHandle form)
{
    const GraphicsState &now = rewriter->state.now;
    GraphicsState inner = stateInForm(now, form);
    if (isEmpty(inner.clip))
        return false;
    painting->places++;
    painting->work += FORM_WORK;
    std::optional<Group> group = groupOf(now, form);
    if (group && group->alpha <= 0)
        return true;
    if (group)
        painting->scene.groups.push_back(*group);
    std::optional<std::string> content = rewriteForm(rewriter, form, inner);
    if (group)
        leaveGroup(painting.get());
    if (!content)
        return false;
    PlacedForms &placed = rewriter->document->memos.of<PlacedForms>();
    PlacedForms::Placed &copy = placed.forms[{form.getObjGen(), *content}];
    if (copy.name.empty()) {
        copy.form = form.copyStream();
        copy.form.getDict().removeKey("/Group");
        replaceWithFlate(copy.form, *content);
        copy.name = addResource(rewriter, XOBJECT, "/PfG", copy.form);
    }
    putResource(rewriter, XOBJECT, copy.name, copy.form);
    emit(rewriter, copy.name + " Do");
    return true;
}

bool TransparencyHandler::takeObject(Rewriter *rewriter, const Operation &operation)
{
    QPDFObjectHandle object = namedResource(rewriter->scope, XOBJECT, operation);
    if (isForm(object) && placesForm(*rewriter, object))
        return takeForm(rewriter, object);
    if (isForm(object) && isActive(*rewriter))
        askForRegion(rewriter, stateInForm(rewriter->state.now, object).clip, "a transparent form");
    if (isImage(object) && isActive(*rewriter) && isStencil(object))
        return takeStencil(rewriter, operation);
    if (isImage(object) && !isStencil(object) && (isActive(*rewriter) || isMasked(object)))
        return takeImage(rewriter, operation, object);
    survey(painting.get(), &rewriter->state, &pen, operation, rewriter->depth);
    return false;
}

bool TransparencyHandler::take(Rewriter *rewriter, const Operation &operation)
{
    painting->work++;
    if (takePath(rewriter, operation))
        return true;
    const Operator &op = *operation.op;
    if (op.paintsPath() && isActive(*rewriter)) {
        paintPath(rewriter, operation);
        return true;
    }
    flush(rewriter);
    if (op.is(SHOWS_TEXT) && isActive(*rewriter))
        return takeText(rewriter, operation);
    if (op.id == Op::PAINT_OBJECT)
        return takeObject(rewriter, operation);
    bool isImageOrShading = op.id == Op::INLINE_IMAGE || op.id == Op::SHADING_FILL;
    if (isImageOrShading && isActive(*rewriter)) {
        Painted painted;
        painted.box = op.id == Op::INLINE_IMAGE ? imageBox(rewriter->state) : rewriter->state.now.clip;
        Seen seen = resolve(rewriter, painted);
        if (seen.isNothing)
            return true;
        if (!seen.isPlain && seen.chain.isKnown)
            askForRegion(rewriter, seen.box, "a transparent shading");
    }
    survey(painting.get(), &rewriter->state, &pen, operation, rewriter->depth);
    return false;
}

} // namespace

namespace {

void watchMasks(Walk *walk, int category, const std::string &, QPDFObjectHandle found)
{
    if (category == XOBJECT && isImage(found) && isMasked(found))
        addNeed(walk, NEED_TRANSPARENCY);
}

void watchState(Walk *walk)
{
    if (!isOpaque(walk->state->now.transparency))
        addNeed(walk, NEED_TRANSPARENCY);
}

} // namespace

const ContentPass transparencyPass = {"transparency", NEED_TRANSPARENCY, [] {
                                          return std::unique_ptr<Handler>(new TransparencyHandler);
                                      }};

const Observer transparencyObserver = {
    .name = "transparency", .resource = watchMasks, .graphicsState = watchState};

} // namespace prepare
