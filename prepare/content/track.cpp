/*
 * track.cpp - what each operator does to the state
 */
#include "prepare/content/track.h"

#include <algorithm>
#include <cmath>

#include "prepare/model/objects.h"

namespace prepare {

namespace {

void save(ContentState *state)
{
    if (state->saved.size() < MAX_SAVED)
        state->saved.push_back(state->now);
    else
        state->savedBeyond++;
}

void restore(ContentState *state)
{
    if (state->savedBeyond > 0) {
        state->savedBeyond--;
    } else if (!state->saved.empty()) {
        state->now = std::move(state->saved.back());
        state->saved.pop_back();
    }
}

bool readMatrix(const Operation &operation, Matrix *matrix)
{
    double v[6];
    if (!numbersOf(operation, v, 6))
        return false;
    *matrix = {v[0], v[1], v[2], v[3], v[4], v[5]};
    return true;
}

void concat(ContentState *state, const Operation &operation)
{
    Matrix matrix;
    if (readMatrix(operation, &matrix))
        state->now.ctm = matrix * state->now.ctm;
}

void setNumber(double *field, const Operation &operation, double unit = 1)
{
    double value;
    if (numbersOf(operation, &value, 1))
        *field = value * unit;
}

/* ---- text ---- */

void setFont(ContentState *state, const Operation &operation)
{
    double size;
    std::string name = fontName(operation);
    if (name.empty() || !numbersOf(operation, &size, 1))
        return;
    TextState &text = state->now.text;
    text.font = findResource(*state->scope, FONT, name);
    text.size = size;
    text.isFontInherited = false;
}

void setMode(ContentState *state, const Operation &operation)
{
    double value;
    if (numbersOf(operation, &value, 1))
        state->now.text.mode = (int)std::clamp(value, -1.0, 8.0);
}

void setTextMatrix(ContentState *state, const Operation &operation)
{
    if (readMatrix(operation, &state->lineMatrix))
        state->textMatrix = state->lineMatrix;
}

void nextLine(ContentState *state)
{
    moveLine(state, 0, -state->now.text.leading);
}

void moveBy(ContentState *state, const Operation &operation)
{
    double v[2];
    if (!numbersOf(operation, v, 2))
        return;
    if (operation.op->id == Op::MOVE_TEXT_LEADING)
        state->now.text.leading = -v[1];
    moveLine(state, v[0], v[1]);
}

/* aw ac string " */
void setSpacing(ContentState *state, const Operation &operation)
{
    const std::vector<Token> &operands = operation.operands;
    if (operands.size() < 3 || operands[operands.size() - 3].kind != TokenKind::NUMBER)
        return;
    state->now.text.wordSpace = numberValue(operands[operands.size() - 3]);
    state->now.text.charSpace = numberValue(operands[operands.size() - 2]);
}

/* Modes from 4 on make text part of the clip. */
void clipByText(ContentState *state)
{
    if (state->now.text.mode >= 4)
        state->now.isClipRectangle = false;
}

/* ---- the dictionary of a graphics state ---- */

void setGraphicsState(ContentState *state, const Operation &operation)
{
    QPDFObjectHandle dict = namedResource(*state->scope, EXTGSTATE, operation);
    applyTransparency(dict, state->now.ctm, &state->now.transparency);
    state->now.lineWidth = numberOr(entryOf(dict, "/LW"), state->now.lineWidth);
    QPDFObjectHandle font = entryOf(dict, "/Font");
    if (!font.isArray() || font.getArrayNItems() < 2)
        return;
    state->now.text.font = font.getArrayItem(0);
    state->now.text.size = numberOr(font.getArrayItem(1), 0);
    state->now.text.isFontInherited = false;
}

void setLineWidth(ContentState *state, const Operation &operation)
{
    double value;
    if (numbersOf(operation, &value, 1))
        state->now.lineWidth = std::abs(value);
}

/* ---- paths ---- */

void addPoints(ContentState *state, const Operation &operation, size_t points)
{
    double v[6];
    if (!numbersOf(operation, v, 2 * points))
        return;
    for (size_t i = 0; i < points; i++)
        addPoint(&state->path, state->now.ctm, v[2 * i], v[2 * i + 1]);
}

void moveTo(ContentState *state, const Operation &operation)
{
    if (state->path.points > 0 || state->path.rectangles > 0)
        state->path.isPolygon = false;
    addPoints(state, operation, 1);
}

void curveTo(ContentState *state, const Operation &operation)
{
    state->path.isPolygon = false;
    addPoints(state, operation, operation.op->operands / 2);
}

void rectangle(ContentState *state, const Operation &operation)
{
    double v[4];
    if (numbersOf(operation, v, 4))
        addRectangle(&state->path, state->now.ctm, v);
}

void endPath(ContentState *state)
{
    if (state->path.isClip) {
        state->now.isClipRectangle &= isRectangle(state->path) || isEmpty(state->path.box);
        state->now.clip = intersection(state->now.clip, state->path.box);
    }
    state->path = Path();
}

/* ---- colour ---- */

Paint *paintOf(ContentState *state, const Operation &operation)
{
    return operation.op->ofStrokes() ? &state->now.stroke : &state->now.fill;
}

void setSpace(ContentState *state, const Operation &operation)
{
    if (std::string name = lastName(operation); !name.empty())
        *paintOf(state, operation) = {spaceOfName(state, name), {}, nullptr, false};
}

PatternRef patternOf(const ContentState *state, const Operation &operation)
{
    return std::make_shared<Pattern>(
        Pattern{namedResource(*state->scope, PATTERN, operation), state->base, state->scope});
}

/* What was inherited stays so: the space still comes from outside. */
void setColour(ContentState *state, const Operation &operation)
{
    Paint *paint = paintOf(state, operation);
    paint->values.clear();
    paint->pattern = nullptr;
    for (const Token &token : operation.operands) {
        if (token.kind == TokenKind::NUMBER && paint->values.size() < MAX_COLORANTS)
            paint->values.push_back(numberValue(token));
        if (token.kind == TokenKind::NAME)
            paint->pattern = patternOf(state, operation);
    }
}

void setDeviceColour(ContentState *state, const Operation &operation)
{
    size_t count = operation.op->operands;
    std::vector<double> values(count);
    if (numbersOf(operation, values.data(), count))
        *paintOf(state, operation) = {deviceSpaceRef(count), std::move(values), nullptr, false};
}

/* ---- by class, and the others one by one ---- */

void trackText(ContentState *state, const Operation &operation)
{
    TextState &text = state->now.text;
    switch (operation.op->id) {
    case Op::BEGIN_TEXT:
        state->textMatrix = state->lineMatrix = Matrix();
        break;
    case Op::CHAR_SPACE:
        return setNumber(&text.charSpace, operation);
    case Op::WORD_SPACE:
        return setNumber(&text.wordSpace, operation);
    case Op::LEADING:
        return setNumber(&text.leading, operation);
    case Op::TEXT_RISE:
        return setNumber(&text.rise, operation);
    case Op::TEXT_SCALE:
        return setNumber(&text.scale, operation, 0.01);
    case Op::TEXT_MODE:
        return setMode(state, operation);
    case Op::FONT_SIZE:
        return setFont(state, operation);
    case Op::TEXT_MATRIX:
        return setTextMatrix(state, operation);
    case Op::MOVE_TEXT:
    case Op::MOVE_TEXT_LEADING:
        return moveBy(state, operation);
    case Op::NEXT_LINE:
        return nextLine(state);
    case Op::NEXT_LINE_SHOW_SPACED:
        setSpacing(state, operation);
        [[fallthrough]];
    case Op::NEXT_LINE_SHOW:
        nextLine(state);
        [[fallthrough]];
    case Op::SHOW:
    case Op::SHOW_ADJUSTED:
        return clipByText(state);
    default:
        break;
    }
}

void trackPath(ContentState *state, const Operation &operation)
{
    switch (operation.op->id) {
    case Op::MOVE:
        return moveTo(state, operation);
    case Op::LINE:
        return addPoints(state, operation, 1);
    case Op::RECTANGLE:
        return rectangle(state, operation);
    case Op::CLOSE:
        return;
    default:
        return curveTo(state, operation);
    }
}

} // namespace

void beginContent(ContentState *state, const ResourceScope *scope, const GraphicsState &begin)
{
    *state = {};
    state->scope = scope;
    state->now = begin;
    state->base = begin.ctm;
}

void moveLine(ContentState *state, double x, double y)
{
    state->lineMatrix = Matrix{1, 0, 0, 1, x, y} * state->lineMatrix;
    state->textMatrix = state->lineMatrix;
}

GraphicsState stateInForm(const GraphicsState &outer, QPDFObjectHandle form)
{
    GraphicsState inner = inherited(outer);
    inner.ctm = matrixOf(form.getDict().getKey("/Matrix")) * outer.ctm;
    if (Box box = boxOf(form.getDict().getKey("/BBox")); !contains(box, EVERYTHING)) {
        inner.clip = intersection(inner.clip, transformed(inner.ctm, box));
        inner.isClipRectangle &= keepsRectangles(inner.ctm);
    }
    if (isGroup(form)) /* the group has it (11.6.6) */
        inner.transparency = {};
    return inner;
}

std::string lastName(const Operation &operation)
{
    if (operation.operands.empty() || operation.operands.back().kind != TokenKind::NAME)
        return "";
    return nameValue(operation.operands.back().source);
}

std::string fontName(const Operation &operation)
{
    size_t count = operation.operands.size();
    if (count < 2 || operation.operands[count - 2].kind != TokenKind::NAME)
        return "";
    return nameValue(operation.operands[count - 2].source);
}

QPDFObjectHandle namedResource(const ResourceScope &scope, int category,
                               const Operation &operation)
{
    std::string name = lastName(operation);
    return name.empty() ? QPDFObjectHandle::newNull() : findResource(scope, category, name);
}

const SpaceRef &spaceOfName(ContentState *state, const std::string &name)
{
    SpaceRef &known = state->spaces[name];
    if (known)
        return known;
    if (name == "/DeviceGray" || name == "/DeviceRGB" || name == "/DeviceCMYK")
        return known = deviceSpaceRef(name == "/DeviceGray" ? 1 : name == "/DeviceRGB" ? 3 : 4);
    QPDFObjectHandle object = name == "/Pattern" ? QPDFObjectHandle::newNull()
                                                 : findResource(*state->scope, COLORSPACE, name);
    if (object.isNull()) /* a name of its own, or none */
        object = QPDFObjectHandle::newName(name);
    return known = std::make_shared<SelectedSpace>(object, state->scope);
}

void track(ContentState *state, const Operation &operation)
{
    const Operator &op = *operation.op;
    if (op.is(MAKES_PATH))
        return trackPath(state, operation);
    if (op.is(ENDS_PATH))
        return endPath(state);
    if (op.is(SETS_DEVICE))
        return setDeviceColour(state, operation);
    if (op.is(SETS_COLOUR))
        return setColour(state, operation);
    if (op.is(SETS_SPACE))
        return setSpace(state, operation);
    switch (op.id) {
    case Op::SAVE:
        return save(state);
    case Op::RESTORE:
        return restore(state);
    case Op::CONCAT:
        return concat(state, operation);
    case Op::GRAPHICS_STATE:
        return setGraphicsState(state, operation);
    case Op::LINE_WIDTH:
        return setLineWidth(state, operation);
    case Op::CLIP:
    case Op::CLIP_EVEN_ODD:
        state->path.isClip = true;
        return;
    default:
        return trackText(state, operation);
    }
}

} // namespace prepare
