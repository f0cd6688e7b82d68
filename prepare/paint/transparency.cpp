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

#include "prepare/images/mask.h"
#include "prepare/paint/region.h"
#include "prepare/paint/survey.h"

namespace prepare {

/* Images that were computed, by image and place. */
struct FlatImages {
    struct Known {
        FlatImage flat;
        std::string name;    /* of the resource; empty: it needs none */
        std::string failure; /* why there is none */
    };
    std::map<std::string, Known> known;
};

namespace {

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
    void noteColour(const Operation &operation);
    std::string selected(Rewriter *rewriter, Ink ink);
    std::string select(Rewriter *rewriter, const Seen &seen, Ink ink);
    void flush(Rewriter *rewriter);

    TextPen pen;
    std::string path;                        /* operations that are held back */
    std::string clip;                        /* "W" or "W*" among them */
    std::array<std::string, 2> inks, spaces; /* operations that selected the colours */
    std::vector<std::array<std::string, 4>> saved;
};

bool isActive(const Rewriter &rewriter)
{
    return !isOpaque(rewriter.state.now.transparency) || !isPlain(rewriter.painting->scene);
}

void askForRegion(Rewriter *rewriter, const Box &box, const char *reason)
{
    if (rewriter->painting->isPage)
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
    MaskValue value = maskValue(rewriter->painting.get(), softMask, matrix, box, rewriter->depth);
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
    const std::vector<Group> &groups = rewriter->painting->scene.groups;
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
    countWork(rewriter->painting.get());
    if (isSpent(*rewriter->painting)) { /* as if nothing were below */
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
    seen.chain = chainOf(rewriter->painting->scene, seen.box, masks.alphas, now.blend, isPartial);
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
    Layer layer = {colourOf(&rewriter->state, painted.ink == STROKE), 1};
    bool hasPattern = isPattern(&rewriter->state, painted.ink == STROKE);
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
                   !isPattern(&rewriter->state, painted.ink == STROKE);
    Layer layer = {colourOf(&rewriter->state, painted.ink == STROKE), 1};
    Mark mark = {seen.box, painted.covers && rewriter->state.now.isClipRectangle, isKnown,
                 inGroup(seen.chain, layer)};
    if (boxes.empty())
        addMark(&rewriter->painting->scene, mark);
    for (const Box &box : boxes) {
        mark.box = intersection(box, seen.box);
        addMark(&rewriter->painting->scene, mark);
    }
}

std::string matrixText(const Matrix &m)
{
    std::string text;
    for (double value : {m.a, m.b, m.c, m.d, m.e, m.f})
        text += numberText(value) + " ";
    return text + "cm ";
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
    if (!document->flatImages)
        document->flatImages = std::make_shared<FlatImages>();
    auto [at, isNew] = document->flatImages->known.try_emplace(placeKey(image, place, colour));
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
        known.name = "/PfI" + std::to_string(++document->uniqueNames);
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
        text += matrixText(
            {part.right - part.left, 0, 0, part.top - part.bottom, part.left, part.bottom});
    return text + known.name + " Do Q";
}

/* ---- the handler ---- */

/* The operators that select the document's colour. */
std::string TransparencyHandler::selected(Rewriter *rewriter, Ink ink)
{
    size_t i = ink;
    if (!inks[i].empty())
        return spaces[i] + " " + inks[i];
    if (isPattern(&rewriter->state, ink == STROKE))
        return "";
    return colourText(colourOf(&rewriter->state, ink == STROKE), ink == STROKE);
}

std::string TransparencyHandler::select(Rewriter *, const Seen &seen, Ink ink)
{
    return seen.isPlain ? "" : colourText(seen.colour, ink == STROKE) + "\n";
}

void TransparencyHandler::noteColour(const Operation &operation)
{
    static const std::map<std::string_view, std::pair<Ink, char>> kinds = {
        {"g", {FILL, 'd'}},   {"rg", {FILL, 'd'}},   {"k", {FILL, 'd'}},    {"cs", {FILL, 's'}},
        {"sc", {FILL, 'c'}},  {"scn", {FILL, 'c'}},  {"G", {STROKE, 'd'}},  {"RG", {STROKE, 'd'}},
        {"K", {STROKE, 'd'}}, {"CS", {STROKE, 's'}}, {"SC", {STROKE, 'c'}}, {"SCN", {STROKE, 'c'}},
    };
    auto known = kinds.find(operation.name);
    if (known == kinds.end())
        return;
    auto [ink, kind] = known->second;
    std::string source(operation.source.substr(operation.leadingSpace().size()));
    if (kind == 's') {
        spaces[ink] = source;
        inks[ink] = " ";
        return;
    }
    bool isInherited = kind == 'c' && spaces[ink].empty();
    if (kind == 'd')
        spaces[ink].clear();
    inks[ink] = isInherited ? "" : source;
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
    static const std::set<std::string_view> making = {"m", "l", "c", "v", "y", "h", "re"};
    bool isMaking = making.count(operation.name) > 0;
    bool isClip = operation.name == "W" || operation.name == "W*";
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
    DeviceColour colour = colourOf(&rewriter->state, false);
    ImagePlace place = {seen.chain, seen.mask, seen.softMask, Matrix()};
    const FlatImages::Known *known = nullptr;
    std::optional<Matrix> back = inverseOf(rewriter->state.now.ctm);
    try {
        if (back)
            known = &flatImageOf(rewriter, QPDFObjectHandle::newNull(), place, colour);
    } catch (const LimitReached &limit) {
        say(rewriter->document, Message::PictureDrawn, rewriter->page->number, {limit.text});
    }
    std::string rule = operation.name.back() == '*' ? "W*" : "W";
    std::string text = path + "\n";
    if (known && known->flat.kind != FlatKind::NOTHING) {
        if (!known->name.empty())
            putResource(rewriter, XOBJECT, known->name, known->flat.image);
        text = "q " + path + "\n" + rule + " n " + matrixText(seen.mask->placement * *back) +
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
    std::string_view name = operation.name;
    bool fills = fillsPath(name), strokes = strokesPath(name);
    const ContentState &state = rewriter->state;
    Painted fill, stroke;
    fill.box = pathBox(state, false);
    fill.covers = isRectangle(state.path);
    fill.takesMask = !strokes && !isPattern(&rewriter->state, false);
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
    std::string painting(name);
    bool closes = name == "s" || name == "b" || name == "b*", isEvenOdd = name.back() == '*';
    bool doesFill = fills && !filled.isNothing, doesStroke = strokes && !stroked.isNothing;
    if (!doesFill && !doesStroke)
        painting = "n";
    else if (fills && strokes && !doesFill)
        painting = closes ? "s" : "S";
    else if (fills && strokes && !doesStroke)
        painting = isEvenOdd ? "f*" : "f";
    std::string text, behind;
    if (doesFill && !filled.isPlain) {
        text += select(rewriter, filled, FILL);
        behind += "\n" + selected(rewriter, FILL);
    }
    if (doesStroke && !stroked.isPlain) {
        text += select(rewriter, stroked, STROKE);
        behind += "\n" + selected(rewriter, STROKE);
    }
    const Seen &only = fills ? filled : stroked;
    if (isLimited(only) && painting != "n") {
        text = "q " + limitText(*rewriter, only.limit) + text + path + "\n" + painting + "\nQ";
        if (!clip.empty())
            text += "\n" + path + "\n" + clip + "n";
    } else {
        text += path + "\n" + clip + painting + behind;
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
        if (!filled.isPlain) {
            before += select(rewriter, filled, FILL);
            behind += "\n" + selected(rewriter, FILL);
        }
        if (!stroked.isPlain) {
            before += select(rewriter, stroked, STROKE);
            behind += "\n" + selected(rewriter, STROKE);
        }
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
    emit(rewriter, select(rewriter, seen, FILL) + std::string(operation.source) + "\n" +
                       selected(rewriter, FILL));
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
    addMark(&rewriter->painting->scene, {seen.box, false, false, {}});
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
    try {
        const FlatImages::Known &known = flatImageOf(rewriter, image, place, {});
        if (known.flat.isGuessed)
            askForRegion(rewriter, seen.box, "a transparent picture");
        if (known.name.empty() && isLimited(seen)) {
            document->maskedImagesUsed.insert(image.getObjGen());
            if (known.flat.kind != FlatKind::NOTHING)
                emit(rewriter, "q " + limitText(*rewriter, seen.limit) +
                                   std::string(operation.source) + " Q");
            return true;
        }
        if (known.name.empty()) { /* nothing of it, or nothing to be done */
            document->maskedImagesUsed.insert(image.getObjGen());
            return known.flat.kind == FlatKind::NOTHING;
        }
        if (isMasked(image)) /* it is painted under other names on all pages */
            document->flatImagesUsed.insert(image.getObjGen());
        putResource(rewriter, XOBJECT, known.name, known.flat.image);
        std::string text = paintText(known);
        if (isLimited(seen))
            text = "q " + limitText(*rewriter, seen.limit) + text + " Q";
        emit(rewriter, text);
        return true;
    } catch (const LimitReached &limit) {
        say(document, Message::PictureDrawn, rewriter->page->number, {limit.text});
    }
    document->maskedImagesUsed.insert(image.getObjGen());
    askForRegion(rewriter, seen.box, "a transparent picture");
    return false;
}

bool TransparencyHandler::takeForm(Rewriter *rewriter, QPDFObjectHandle form)
{
    Painting *painting = rewriter->painting.get();
    ContentState *state = &rewriter->state;
    GraphicsState inner = stateInForm(state, form);
    if (isEmpty(inner.clip))
        return false;
    painting->places++;
    painting->work += FORM_WORK;
    std::optional<Group> group = groupOf(state->now, form);
    if (group && group->alpha <= 0)
        return true;
    if (group)
        painting->scene.groups.push_back(*group);
    std::optional<std::string> content = rewriteForm(rewriter, form, inner);
    if (group)
        leaveGroup(painting);
    if (!content)
        return false;
    FormCopy &copy = rewriter->document->placedForms[{form.getObjGen(), *content}];
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
    Painting *painting = rewriter->painting.get();
    QPDFObjectHandle object = paintedObject(rewriter->state, operation);
    if (isForm(object) && dependsOnPlace(*rewriter, object))
        return takeForm(rewriter, object);
    if (isForm(object) && isActive(*rewriter))
        askForRegion(rewriter, stateInForm(&rewriter->state, object).clip, "a transparent form");
    if (isImage(object) && isActive(*rewriter) && isStencil(object))
        return takeStencil(rewriter, operation);
    if (isImage(object) && !isStencil(object) && (isActive(*rewriter) || isMasked(object)))
        return takeImage(rewriter, operation, object);
    survey(painting, &rewriter->state, &pen, operation, rewriter->depth);
    return false;
}

bool TransparencyHandler::take(Rewriter *rewriter, const Operation &operation)
{
    rewriter->painting->work++;
    if (takePath(rewriter, operation))
        return true;
    std::string_view name = operation.name;
    if (isPathPainting(name) && isActive(*rewriter)) {
        paintPath(rewriter, operation);
        return true;
    }
    flush(rewriter);
    noteColour(operation);
    if (name == "q" && saved.size() < MAX_SAVED)
        saved.push_back({inks[0], inks[1], spaces[0], spaces[1]});
    if (name == "Q" && !saved.empty()) {
        const std::array<std::string, 4> &last = saved.back();
        inks = {last[0], last[1]};
        spaces = {last[2], last[3]};
        saved.pop_back();
    }
    if (isShow(name) && isActive(*rewriter))
        return takeText(rewriter, operation);
    if (name == "Do")
        return takeObject(rewriter, operation);
    bool isImageOrShading = name == "BI" || name == "sh";
    if (isImageOrShading && isActive(*rewriter)) {
        Painted painted;
        painted.box = name == "BI" ? imageBox(rewriter->state) : rewriter->state.now.clip;
        Seen seen = resolve(rewriter, painted);
        if (seen.isNothing)
            return true;
        if (!seen.isPlain && seen.chain.isKnown)
            askForRegion(rewriter, seen.box, "a transparent shading");
    }
    survey(rewriter->painting.get(), &rewriter->state, &pen, operation, rewriter->depth);
    return false;
}

} // namespace

void startPainting(Rewriter *rewriter)
{
    if (rewriter->painting)
        return;
    rewriter->painting = std::make_shared<Painting>();
    rewriter->painting->document = rewriter->document;
    rewriter->painting->isPage = rewriter->depth == 0;
    QPDFObjectHandle knockout = entryOf(entryOf(*rewriter->page, "/Group"), "/K");
    rewriter->painting->scene.groups.front().isKnockout =
        rewriter->depth == 0 && knockout.isBool() && knockout.getBoolValue();
}

bool dependsOnPlace(const Rewriter &rewriter, QPDFObjectHandle form)
{
    const Painting *painting = rewriter.painting.get();
    if (!painting || isSpent(*painting) || painting->places >= MAX_PLACES ||
        rewriter.depth >= MAX_FORM_DEPTH)
        return false;
    return rewriter.document->transparentForms.count(form.getObjGen()) > 0 || isActive(rewriter);
}

const ContentPass transparencyPass = {"transparency", NEED_TRANSPARENCY, [] {
                                          return std::unique_ptr<Handler>(new TransparencyHandler);
                                      }};

} // namespace prepare
