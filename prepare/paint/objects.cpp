/*
 * objects.cpp - images, stencils and forms under transparency
 *
 * An image becomes another one, computed with what lies below it; a form in which something depends
 * on the place is copied for each place, known by its new content.
 */
#include <map>
#include <utility>

#include "prepare/images/replaced.h"
#include "prepare/paint/flatimages.h"
#include "prepare/paint/handler.h"

namespace prepare {

namespace {

/* Forms as they are painted in some place, by their new content. */
struct PlacedForms {
    struct Placed {
        std::string name;
        QPDFObjectHandle form;
    };
    std::map<std::pair<QPDFObjGen, std::string>, Placed> forms;
};

} // namespace

/* A stencil is painted in the fill colour. */
bool TransparencyHandler::visitStencil(Rewriter *rewriter, const Operation &operation)
{
    Painted painted;
    painted.box = imageBox(rewriter->state);
    ResolvedPaint resolved = resolveColour(rewriter, painted);
    leaveMark(rewriter, resolved, painted);
    if (resolved.isNothing)
        return true;
    if (resolved.isPlain)
        return false;
    std::string front, behind;
    select(rewriter, resolved, FILL, &front, &behind);
    emit(rewriter, front + std::string(operation.source) + behind);
    return true;
}

/* The image without its masks, for what cannot be computed. */
bool TransparencyHandler::visitImage(Rewriter *rewriter, const Operation &operation,
                                     QPDFObjectHandle image)
{
    Painted painted;
    painted.box = imageBox(rewriter->state);
    painted.isPartial = painted.acceptsMask = painted.acceptsLimit = true;
    painted.hasOwnMask = image.getDict().getKey("/SMask").isStream();
    ResolvedPaint resolved = resolve(rewriter, painted);
    addMark(&paintingOf(rewriter)->scene, {resolved.box, false, false, {}});
    if (resolved.isNothing)
        return true;
    if (isEmpty(resolved.box))
        return false;
    ImagePlace place = {resolved.chain, resolved.mask, resolved.softMask, Matrix()};
    if (resolved.mask) {
        std::optional<Matrix> back = inverseOf(resolved.mask->placement);
        place.toMask = rewriter->state.now.ctm * back.value_or(Matrix{0, 0, 0, 0, -1, -1});
    }
    Document *document = rewriter->document;
    ReplacedImages &images = document->memos.of<ReplacedImages>();
    try {
        const FlatImages::Known &known = flatImageOf(rewriter, image, place, {});
        if (known.flat.isGuessed)
            askForRegion(rewriter, resolved.box, "a transparent picture");
        if (known.name.empty() && isLimited(resolved)) {
            images.kept.insert(image.getObjGen());
            if (known.flat.kind != FlatKind::NOTHING)
                emit(rewriter, "q " + limitText(*rewriter, resolved.limit) +
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
        if (isLimited(resolved))
            text = "q " + limitText(*rewriter, resolved.limit) + text + " Q";
        emit(rewriter, text);
        return true;
    } catch (const LimitReached &limit) {
        say(document, Message::PictureDrawn, rewriter->page->number, {limit.text});
    }
    images.kept.insert(image.getObjGen());
    askForRegion(rewriter, resolved.box, "a transparent picture");
    return false;
}

bool TransparencyHandler::visitForm(Rewriter *rewriter, QPDFObjectHandle form)
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

bool TransparencyHandler::visitObject(Rewriter *rewriter, const Operation &operation)
{
    QPDFObjectHandle object = namedResource(rewriter->scope, XOBJECT, operation);
    if (isForm(object) && placesForm(*rewriter, object))
        return visitForm(rewriter, object);
    if (isForm(object) && isActive(*rewriter))
        askForRegion(rewriter, stateInForm(rewriter->state.now, object).clip, "a transparent form");
    if (isImage(object) && isActive(*rewriter) && isStencil(object))
        return visitStencil(rewriter, operation);
    if (isImage(object) && !isStencil(object) && (isActive(*rewriter) || isMasked(object)))
        return visitImage(rewriter, operation, object);
    survey(painting.get(), &rewriter->state, &pen, operation, rewriter->depth);
    return false;
}

} // namespace prepare
