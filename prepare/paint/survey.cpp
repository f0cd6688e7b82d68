/*
 * survey.cpp - each painting operation's box and colour
 *
 * Forms are followed as often as they are painted, because what they leave depends on where they
 * are; a page may do MAX_WORK in all, and beyond that a form counts by its box.
 */
#include "prepare/paint/survey.h"

#include <algorithm>

#include "prepare/model/function.h"

namespace prepare {

namespace {

struct Paintwork {
    Box box;
    bool covers = false;
    bool isKnown = false; /* of one colour */
    DeviceColour colour;
    double alpha = 1;
};

void leaveMark(Painting *painting, const ContentState &state, const Paintwork &paint)
{
    const Transparency &transparency = state.now.transparency;
    Box box = intersection(paint.box, state.now.clip);
    if (painting->mask)
        painting->mask->paints++;
    if (isEmpty(box))
        return;
    bool isKnown = paint.isKnown && !transparency.softMask.isInitialized();
    Mark mark = {box, paint.covers && state.now.isClipRectangle, isKnown, {paint.colour, 1}};
    if (isKnown && (paint.alpha < 1 || transparency.blend != Blend::NORMAL)) {
        countWork(painting);
        Chain chain = chainOf(painting->scene, box, {paint.alpha}, transparency.blend, false);
        mark.isKnown = chain.isKnown;
        mark.layer = inGroup(chain, mark.layer);
    }
    addMark(&painting->scene, mark);
}

void surveyPath(Painting *painting, ContentState *state, const Operator &op)
{
    const Transparency &transparency = state->now.transparency;
    if (op.is(FILLS))
        leaveMark(painting, *state,
                  {pathBox(*state, false), isRectangle(state->path), !isPattern(state->now.fill),
                   deviceColourOf(state->now.fill), transparency.fillAlpha});
    if (op.is(STROKES))
        for (const Box &box : strokeBoxes(*state))
            leaveMark(painting, *state,
                      {box, false, !isPattern(state->now.stroke),
                       deviceColourOf(state->now.stroke),
                       transparency.strokeAlpha});
}

void surveyText(Painting *painting, ContentState *state, TextPen *pen, const Operation &operation)
{
    Box box = showText(pen, *state, operation);
    int mode = state->now.text.mode;
    bool isStroke = mode == 1 || mode == 5, isVisible = mode != 3 && mode != 7;
    if (!isVisible)
        return;
    const Transparency &transparency = state->now.transparency;
    const Paint &paint = isStroke ? state->now.stroke : state->now.fill;
    bool isKnown = !isPattern(paint) && mode != 2 && mode != 6 &&
                   nameOr(entryOf(state->now.text.font, "/Subtype")) != "/Type3";
    leaveMark(painting, *state,
              {box, false, isKnown, deviceColourOf(paint),
               isStroke ? transparency.strokeAlpha : transparency.fillAlpha});
}

void surveyImage(Painting *painting, ContentState *state, QPDFObjectHandle image)
{
    bool isMask = isStencil(image);
    leaveMark(painting, *state,
              {imageBox(*state), false, isMask && !isPattern(state->now.fill),
               deviceColourOf(state->now.fill),
               state->now.transparency.fillAlpha});
    if (!painting->mask || isMask)
        return;
    painting->mask->image = image;
    painting->mask->placement = state->now.ctm;
    painting->mask->imageClip =
        state->now.isClipRectangle ? state->now.clip : Box(); /* else not known */
}

void surveyContent(Painting *painting, QPDFObjectHandle form, const ContentState &outer,
                   const GraphicsState &now, int depth)
{
    painting->work += FORM_WORK;
    bool damaged = false;
    std::string content = decodeStream(form, MAX_CONTENT_BYTES, &damaged);
    ResourceScope scope = {form.getDict().getKey("/Resources"), outer.scope};
    ContentState state;
    beginContent(&state, &scope, now);
    TextPen pen;
    ContentReader reader{content};
    Operation operation;
    while (!isSpent(*painting) && readOperation(&reader, &operation)) {
        survey(painting, &state, &pen, operation, depth);
        track(&state, operation);
    }
}

void surveyForm(Painting *painting, ContentState *state, QPDFObjectHandle form, int depth)
{
    GraphicsState inner = stateInForm(state->now, form);
    if (isEmpty(inner.clip))
        return;
    if (isSpent(*painting) || depth >= MAX_FORM_DEPTH) {
        addMark(&painting->scene, {inner.clip, false, false, {}});
        return;
    }
    std::optional<Group> group = groupOf(state->now, form);
    if (group)
        painting->scene.groups.push_back(*group);
    surveyContent(painting, form, *state, inner, depth + 1);
    if (group)
        leaveGroup(painting);
}

/* ---- soft masks ---- */

DeviceColour colourOfArray(QPDFObjectHandle array)
{
    DeviceColour colour = BLACK;
    if (!array.isArray())
        return colour;
    int count = std::min(array.getArrayNItems(), 4);
    colour.components = count >= 3 ? (size_t)count : 1;
    for (int i = 0; i < count; i++)
        colour.values[(size_t)i] = std::clamp(numberOr(array.getArrayItem(i), 0), 0.0, 1.0);
    return colour;
}

std::string keyOf(QPDFObjectHandle softMask, const Matrix &m)
{
    std::string key =
        softMask.getKey("/G").getObjGen().unparse(' ') + nameOr(softMask.getKey("/S"));
    for (double value : {m.a, m.b, m.c, m.d, m.e, m.f})
        key += " " + std::to_string(value);
    return key + softMask.getKey("/BC").unparse();
}

std::shared_ptr<MaskScene> lookThrough(Painting *outer, QPDFObjectHandle softMask,
                                       const Matrix &matrix, int depth)
{
    auto mask = std::make_shared<MaskScene>();
    QPDFObjectHandle form = softMask.getKey("/G");
    mask->isLuminosity = nameOr(softMask.getKey("/S")) != "/Alpha";
    if (mask->isLuminosity)
        mask->backdrop = {colourOfArray(softMask.getKey("/BC")), 1};
    Painting painting;
    painting.document = outer->document;
    painting.work = outer->work;
    painting.mask = mask.get();
    painting.scene.isPaper = false;
    ResourceScope scope = {QPDFObjectHandle::newDictionary(), nullptr};
    GraphicsState begin;
    begin.ctm = matrix;
    ContentState state;
    beginContent(&state, &scope, begin);
    GraphicsState inner = stateInForm(begin, form);
    inner.transparency = {};
    mask->clip = inner.clip;
    mask->isClipRectangle = inner.isClipRectangle;
    surveyContent(&painting, form, state, inner, depth + 1);
    outer->work = painting.work;
    mask->scene = std::move(painting.scene);
    return mask;
}

/* Is the image all that is painted in the box? */
bool isImageAlone(const MaskScene &mask, const Box &box)
{
    constexpr double SLACK = 0.5;
    return mask.paints == 1 && mask.image.isInitialized() &&
           contains(grown(mask.imageClip, SLACK), intersection(box, mask.clip));
}

} // namespace

void countWork(Painting *painting)
{
    for (const Group &group : painting->scene.groups)
        painting->work += group.marks.size() / MARKS_A_WORK;
    painting->work++;
}

void leaveGroup(Painting *painting)
{
    const std::vector<Group> &groups = painting->scene.groups;
    size_t outer = groups.size() > 1 ? groups[groups.size() - 2].marks.size() : 0;
    painting->work += groups.back().marks.size() * (1 + outer / MARKS_A_WORK);
    endGroup(&painting->scene);
}

bool isSpent(const Painting &painting)
{
    return painting.work > MAX_WORK;
}

void survey(Painting *painting, ContentState *state, TextPen *pen, const Operation &operation,
            int depth)
{
    painting->work++;
    const Operator &op = *operation.op;
    if (op.paintsPath())
        return surveyPath(painting, state, op);
    if (op.is(SHOWS_TEXT))
        return surveyText(painting, state, pen, operation);
    movePen(pen, operation);
    if (op.id == Op::SHADING_FILL)
        return leaveMark(painting, *state, {state->now.clip, false, false, {}, 1});
    if (op.id == Op::INLINE_IMAGE)
        return leaveMark(painting, *state, {imageBox(*state), false, false, {}, 1});
    if (op.id != Op::PAINT_OBJECT)
        return;
    QPDFObjectHandle object = namedResource(*state->scope, XOBJECT, operation);
    if (isForm(object))
        surveyForm(painting, state, object, depth);
    else if (isImage(object))
        surveyImage(painting, state, object);
}

std::optional<Group> groupOf(const GraphicsState &outer, QPDFObjectHandle form)
{
    if (!isGroup(form))
        return std::nullopt;
    QPDFObjectHandle dict = form.getDict().getKey("/Group");
    Group group;
    group.isIsolated = isTrue(dict.getKey("/I"));
    group.isKnockout = isTrue(dict.getKey("/K"));
    group.alpha = outer.transparency.fillAlpha;
    group.blend = outer.transparency.blend;
    group.softMask = outer.transparency.softMask;
    group.softMaskMatrix = outer.transparency.softMaskMatrix;
    return group;
}

MaskValue maskValue(Painting *painting, QPDFObjectHandle softMask, const Matrix &matrix,
                    const Box &box, int depth)
{
    if (!isForm(softMask.getKey("/G")))
        return {};
    if (depth >= MAX_FORM_DEPTH || isSpent(*painting))
        return {false, 1, nullptr, EVERYTHING};
    std::shared_ptr<MaskScene> &mask = painting->masks[keyOf(softMask, matrix)];
    if (!mask)
        mask = lookThrough(painting, softMask, matrix, depth);
    Box seen = intersection(box, mask->clip);
    bool isInside = contains(mask->clip, box), isOutside = isEmpty(seen);
    Chain chain = chainOf(mask->scene, seen, {0}, Blend::NORMAL, true);
    auto valueOf = [&](const Layer &layer) {
        return mask->isLuminosity
                   ? luminosity(composite(mask->backdrop, layer, Blend::NORMAL).colour)
                   : layer.alpha;
    };
    /* What a backdrop means for a mask of alpha is read in different ways. */
    if (!mask->isLuminosity && softMask.getKey("/BC").isArray() && !isInside)
        return {false, 1, nullptr, EVERYTHING};
    double outside = valueOf({});
    if (isOutside)
        return {true, transferred(softMask, outside), nullptr, EVERYTHING};
    double inside = valueOf(chain.steps.front().below);
    if (chain.isKnown && (isInside || inside == outside))
        return {true, transferred(softMask, inside), nullptr, EVERYTHING};
    if (chain.isKnown && mask->isClipRectangle && transferred(softMask, outside) <= 0)
        return {true, transferred(softMask, inside), nullptr, mask->clip};
    if (mask->isLuminosity && isImageAlone(*mask, box))
        return {true, 1, mask.get(), EVERYTHING};
    return {false, 1, nullptr, EVERYTHING};
}

double transferred(QPDFObjectHandle softMask, double value)
{
    QPDFObjectHandle object = softMask.getKey("/TR");
    if (object.isNull() || object.isName())
        return value;
    FunctionPtr function = readFunction(object);
    double result = value;
    if (function && inputsOf(*function) == 1 && outputsOf(*function) == 1)
        evaluate(*function, {&value, 1}, {&result, 1});
    return std::clamp(result, 0.0, 1.0);
}

} // namespace prepare
