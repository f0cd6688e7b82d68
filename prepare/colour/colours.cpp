/*
 * colours.cpp - the handler of colours
 */
#include "prepare/colour/colours.h"

#include "prepare/colour/convert.h"

namespace prepare {

namespace {

/* Keys of graphics states, and the operators that say the same. */
struct LineParameter {
    const char *key, *operation;
};

constexpr LineParameter lineParameters[] = {
    {"/LW", "w"}, {"/LC", "J"}, {"/LJ", "j"}, {"/ML", "M"}, {"/FL", "i"},
};

struct ColourHandler : Handler {
    bool visit(Rewriter *rewriter, const Operation &operation) override;
};

/* cs, CS: the initial colour of a space that is converted. */
bool visitSpace(Rewriter *rewriter, const Operation &operation)
{
    std::string name = lastName(operation);
    if (name.empty())
        return false;
    Paint paint{spaceOfName(&rewriter->state, name), {}, nullptr, false};
    if (!isConverted(paint.space->read()))
        return false;
    emit(rewriter, colourText(deviceColourOf(paint), operation.op->ofStrokes()));
    return true;
}

/* sc, scn, SC, SCN */
bool visitColour(Rewriter *rewriter, const Operation &operation)
{
    const GraphicsState &now = rewriter->state.now;
    bool isStroke = operation.op->ofStrokes();
    Paint paint = isStroke ? now.stroke : now.fill;
    if (!isConverted(paint.space->read()))
        return false;
    paint.values.clear();
    for (const Token &token : operation.operands)
        if (token.kind == TokenKind::NUMBER && paint.values.size() < MAX_COLORANTS)
            paint.values.push_back(numberValue(token));
    emit(rewriter, colourText(deviceColourOf(paint), isStroke));
    return true;
}

/* [[lengths] phase] */
std::string dashText(QPDFObjectHandle dash)
{
    if (!dash.isArray() || dash.getArrayNItems() < 2 || !dash.getArrayItem(0).isArray())
        return "";
    std::string text = " [";
    for (QPDFObjectHandle length : dash.getArrayItem(0).getArrayAsVector())
        text += numberText(numberOr(length, 0)) + " ";
    return text + "] " + numberText(numberOr(dash.getArrayItem(1), 0)) + " d";
}

bool visitGraphicsState(Rewriter *rewriter, const Operation &operation)
{
    QPDFObjectHandle state = namedResource(rewriter->scope, EXTGSTATE, operation);
    if (!hasLineParameters(state))
        return false;
    std::string text(operation.source);
    for (const LineParameter &parameter : lineParameters)
        if (QPDFObjectHandle value = state.getKey(parameter.key); value.isNumber())
            text += " " + numberText(numberOr(value, 0)) + " " + parameter.operation;
    text += dashText(state.getKey("/D"));
    if (QPDFObjectHandle intent = state.getKey("/RI"); intent.isName())
        text += " " + nameText(intent.getName()) + " ri";
    emit(rewriter, text);
    return true;
}

bool ColourHandler::visit(Rewriter *rewriter, const Operation &operation)
{
    const Operator &op = *operation.op;
    return op.is(SETS_SPACE) ? visitSpace(rewriter, operation)
           : op.is(SETS_COLOUR)
               ? visitColour(rewriter, operation)
               : op.id == Op::GRAPHICS_STATE && visitGraphicsState(rewriter, operation);
}

bool isConvertedPaint(const Paint &paint)
{
    return isConverted(paint.space->read());
}

void watchColour(Walk *walk, int category, const std::string &, QPDFObjectHandle found)
{
    if (category == EXTGSTATE && hasLineParameters(found))
        addNeed(walk, NEED_COLOURS);
    if (category != COLORSPACE || !isConvertedSpace(found))
        return;
    addNeed(walk, NEED_COLOURS);
    SpacePtr read = readSpace(*walk->state->scope, found);
    if (read && paintsNothing(*read))
        addNeed(walk, NEED_PATTERNS); /* they can paint nothing, too */
}

} // namespace

bool hasLineParameters(QPDFObjectHandle state)
{
    if (!state.isInitialized() || !state.isDictionary())
        return false;
    for (const LineParameter &parameter : lineParameters)
        if (state.hasKey(parameter.key))
            return true;
    return state.hasKey("/D") || state.hasKey("/RI");
}

QPDFObjectHandle withoutLineParameters(QPDFObjectHandle state)
{
    QPDFObjectHandle copy = state.shallowCopy();
    for (const LineParameter &parameter : lineParameters)
        copy.removeKey(parameter.key);
    copy.removeKey("/D");
    copy.removeKey("/RI");
    return copy;
}

const ContentPass colourPass = {"colours", NEED_COLOURS,
                                [] { return std::unique_ptr<Handler>(new ColourHandler); },
                                isConvertedPaint};

const Observer colourObserver = {.name = "colours", .resource = watchColour};

} // namespace prepare
