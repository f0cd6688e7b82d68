/*
 * colours.cpp - the handler of colours
 */
#include "prepare/colour/colours.h"

#include "prepare/colour/convert.h"
#include "prepare/images/decode.h"

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
    bool take(Rewriter *rewriter, const Operation &operation) override;
};

bool isStrokeOperator(std::string_view name)
{
    return name[0] == 'C' || name[0] == 'S';
}

/* cs, CS: the initial colour of a space that is converted. */
bool takeSpace(Rewriter *rewriter, const Operation &operation)
{
    if ((operation.name != "cs" && operation.name != "CS") || operation.operands.empty())
        return false;
    Colour colour;
    colour.space = nameValue(operation.operands.back().source);
    if (!isConverted(*spaceOf(&rewriter->state, colour)))
        return false;
    emit(rewriter,
         colourText(deviceColourOf(&rewriter->state, colour), isStrokeOperator(operation.name)));
    return true;
}

/* sc, scn, SC, SCN */
bool takeColour(Rewriter *rewriter, const Operation &operation)
{
    std::string_view name = operation.name;
    if (name != "sc" && name != "scn" && name != "SC" && name != "SCN")
        return false;
    bool isStroke = isStrokeOperator(name);
    Colour colour = isStroke ? rewriter->state.now.stroke : rewriter->state.now.fill;
    if (!isConverted(*spaceOf(&rewriter->state, colour)))
        return false;
    colour.values.clear();
    for (const Token &token : operation.operands)
        if (token.kind == TokenKind::NUMBER && colour.values.size() < MAX_COLORANTS)
            colour.values.push_back(numberValue(token));
    emit(rewriter, colourText(deviceColourOf(&rewriter->state, colour), isStroke));
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

bool takeGraphicsState(Rewriter *rewriter, const Operation &operation)
{
    if (operation.name != "gs" || operation.operands.empty())
        return false;
    QPDFObjectHandle state =
        findResource(rewriter->scope, EXTGSTATE, nameValue(operation.operands.back().source));
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

bool takeInlineImage(Rewriter *rewriter, const Operation &operation)
{
    if (operation.name != "BI" || !isConvertedSpace(inlineSpace(rewriter->scope, operation)))
        return false;
    QPDFObjectHandle image = inlineImage(rewriter->document, rewriter->scope, operation);
    if (!image.isStream()) {
        say(rewriter->document, Message::PictureMissing, rewriter->page->number,
            {"What it is cannot be read."});
        return true;
    }
    try {
        convertColours(rewriter->document, image);
    } catch (const LimitReached &limit) {
        say(rewriter->document, Message::PictureMissing, rewriter->page->number, {limit.text});
        return true;
    }
    emit(rewriter, nameText(addResource(rewriter, XOBJECT, "/PfI", image)) + " Do");
    return true;
}

bool ColourHandler::take(Rewriter *rewriter, const Operation &operation)
{
    return takeSpace(rewriter, operation) || takeColour(rewriter, operation) ||
           takeGraphicsState(rewriter, operation) || takeInlineImage(rewriter, operation);
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

QPDFObjectHandle inlineSpace(const ResourceScope &scope, const Operation &operation)
{
    const std::vector<Token> &tokens = operation.operands;
    for (size_t i = 0; i + 1 < tokens.size(); i++)
        if ((tokens[i].source == "/CS" || tokens[i].source == "/ColorSpace") &&
            tokens[i + 1].kind == TokenKind::NAME)
            return findResource(scope, COLORSPACE, nameValue(tokens[i + 1].source));
    return QPDFObjectHandle::newNull();
}

const ContentPass colourPass = {"colours", NEED_COLOURS,
                                [] { return std::unique_ptr<Handler>(new ColourHandler); }};

} // namespace prepare
