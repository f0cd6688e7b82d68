/*
 * survey.cpp - each painting operation's box and colour
 *
 * Forms are followed as often as they are painted, because what they leave depends on where they
 * are; a page may do MAX_WORK in all, and beyond that a form counts by its box.
 */
#include "prepare/paint/survey.h"

#include <algorithm>

#include "prepare/colour/function.h"

namespace prepare {

namespace {

struct Paint {
    Box box;
    bool covers = false;
    bool isKnown = false; /* of one colour */
    DeviceColour colour;
    double alpha = 1;
};

void leaveMark(Painting *painting, const ContentState &state, const Paint &paint)
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

void surveyPath(Painting *painting, ContentState *state, std::string_view name)
{
    const Transparency &transparency = state->now.transparency;
    if (fillsPath(name))
        leaveMark(painting, *state,
                  {pathBox(*state, false), isRectangle(state->path), !isPattern(state, false),
                   colourOf(state, false), transparency.fillAlpha});
    if (strokesPath(name))
        for (const Box &box : strokeBoxes(*state))
            leaveMark(painting, *state,
                      {box, false, !isPattern(state, true), colourOf(state, true),
                       transparency.strokeAlpha});
}

void surveyText(Painting *painting, ContentState *state, TextPen *pen, const Operation &operation)
{
    Box box = showText(pen, *state, operation);
    int mode = state->now.text.mode;
    bool isStroke = mode == 1 || mode == 5, isSeen = mode != 3 && mode != 7;
    if (!isSeen)
        return;
    const Transparency &transparency = state->now.transparency;
    bool isKnown = !isPattern(state, isStroke) && mode != 2 && mode != 6 &&
                   nameOr(entryOf(state->now.text.font, "/Subtype")) != "/Type3";
    leaveMark(painting, *state,
              {box, false, isKnown, colourOf(state, isStroke),
               isStroke ? transparency.strokeAlpha : transparency.fillAlpha});
}

void surveyImage(Painting *painting, ContentState *state, QPDFObjectHandle image)
{
    bool isMask = isStencil(image);
    leaveMark(painting, *state,
              {imageBox(*state), false, isMask && !isPattern(state, false), colourOf(state, false),
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
    state.now = now;
    state.scope = &scope;
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
    GraphicsState inner = stateInForm(state, form);
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

/* A name of a resource means something else in a form, so its colour goes there as device colour.
 */
Colour plainColour(const DeviceColour &colour)
{
    static const char *const names[] = {"", "/DeviceGray", "", "/DeviceRGB", "/DeviceCMYK"};
    return {names[colour.components],
            {colour.values.begin(), colour.values.begin() + (ptrdiff_t)colour.components},
            ""};
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
    ContentState state;
    ResourceScope scope = {QPDFObjectHandle::newDictionary(), nullptr};
    state.scope = &scope;
    state.now.ctm = matrix;
    GraphicsState inner = stateInForm(&state, form);
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

DeviceColour colourOf(ContentState *state, bool isStroke)
{
    return deviceColourOf(state, isStroke ? state->now.stroke : state->now.fill);
}

bool isPattern(ContentState *state, bool isStroke)
{
    const Colour &colour = isStroke ? state->now.stroke : state->now.fill;
    return !colour.pattern.empty() || spaceOf(state, colour)->family == Family::PATTERN;
}

bool isSpent(const Painting &painting)
{
    return painting.work > MAX_WORK;
}

QPDFObjectHandle paintedObject(const ContentState &state, const Operation &operation)
{
    if (operation.name != "Do" || operation.operands.empty() ||
        operation.operands.back().kind != TokenKind::NAME)
        return QPDFObjectHandle::newNull();
    return findResource(*state.scope, XOBJECT, nameValue(operation.operands.back().source));
}

bool isForm(QPDFObjectHandle object)
{
    return object.isStream() && nameOr(object.getDict().getKey("/Subtype")) == "/Form";
}

bool isImage(QPDFObjectHandle object)
{
    return object.isStream() && nameOr(object.getDict().getKey("/Subtype")) == "/Image";
}

bool isStencil(QPDFObjectHandle image)
{
    QPDFObjectHandle mask = image.getDict().getKey("/ImageMask");
    return mask.isBool() && mask.getBoolValue();
}

void survey(Painting *painting, ContentState *state, TextPen *pen, const Operation &operation,
            int depth)
{
    painting->work++;
    std::string_view name = operation.name;
    if (isPathPainting(name))
        return surveyPath(painting, state, name);
    if (isShow(name))
        return surveyText(painting, state, pen, operation);
    movePen(pen, operation);
    if (name == "sh")
        return leaveMark(painting, *state, {state->now.clip, false, false, {}, 1});
    if (name == "BI")
        return leaveMark(painting, *state, {imageBox(*state), false, false, {}, 1});
    if (name != "Do")
        return;
    QPDFObjectHandle object = paintedObject(*state, operation);
    if (isForm(object))
        surveyForm(painting, state, object, depth);
    else if (isImage(object))
        surveyImage(painting, state, object);
}

GraphicsState stateInForm(ContentState *state, QPDFObjectHandle form)
{
    const GraphicsState &outer = state->now;
    GraphicsState inner = outer;
    for (Colour GraphicsState::*colour : {&GraphicsState::fill, &GraphicsState::stroke})
        if ((outer.*colour).space.compare(0, 7, "/Device") != 0 && (outer.*colour).pattern.empty())
            inner.*colour = plainColour(deviceColourOf(state, outer.*colour));
    QPDFObjectHandle matrix = form.getDict().getKey("/Matrix"),
                     box = form.getDict().getKey("/BBox");
    double v[6];
    if (matrix.isArray() && matrix.getArrayNItems() == 6) {
        for (int i = 0; i < 6; i++)
            v[i] = numberOr(matrix.getArrayItem(i), 0);
        inner.ctm = Matrix{v[0], v[1], v[2], v[3], v[4], v[5]} * outer.ctm;
    }
    if (box.isArray() && box.getArrayNItems() == 4) {
        for (int i = 0; i < 4; i++)
            v[i] = numberOr(box.getArrayItem(i), 0);
        Box clip = {std::min(v[0], v[2]), std::min(v[1], v[3]), std::max(v[0], v[2]),
                    std::max(v[1], v[3])};
        inner.clip = intersection(inner.clip, transformed(inner.ctm, clip));
        inner.isClipRectangle &= keepsRectangles(inner.ctm);
    }
    if (groupOf(outer, form))
        inner.transparency = {};
    return inner;
}

std::optional<Group> groupOf(const GraphicsState &outer, QPDFObjectHandle form)
{
    QPDFObjectHandle dict = form.getDict().getKey("/Group");
    if (nameOr(entryOf(dict, "/S")) != "/Transparency")
        return std::nullopt;
    auto isTrue = [&](const char *key) {
        QPDFObjectHandle value = dict.getKey(key);
        return value.isBool() && value.getBoolValue();
    };
    Group group;
    group.isIsolated = isTrue("/I");
    group.isKnockout = isTrue("/K");
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
