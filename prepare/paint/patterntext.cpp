/*
 * patterntext.cpp - text in patterns
 *
 * A text object is held back up to its end.  One with text in a pattern is written once for each
 * pattern, as the clip to that text (ISO 32000-1, 9.3.6), and then again with that text invisible.
 */
#include "prepare/paint/patternhandler.h"

#include <algorithm>
#include <cmath>

namespace prepare {

namespace {

constexpr size_t MAX_TEXT_PATTERNS = 8; /* in one text object */

bool isType3(const TextState &text)
{
    QPDFObjectHandle font = text.font;
    return font.isInitialized() && font.isDictionary() &&
           font.getKey("/Subtype").isNameAndEquals("/Type3");
}

bool fillsText(int mode)
{
    return mode == 0 || mode == 2 || mode == 4 || mode == 6;
}

bool strokesText(int mode)
{
    return mode == 1 || mode == 2 || mode == 5 || mode == 6;
}

/* A box that holds what an operator shows, if glyphs are not wider than they are high. */
Box shownBox(PatternHandler *handler, Rewriter *rewriter, const Operation &operation)
{
    const TextState &text = rewriter->state.now.text;
    double size = std::abs(text.size), width = 0;
    for (const Token &token : operation.operands) {
        if (token.kind == TokenKind::NUMBER && operation.op->id == Op::SHOW_ADJUSTED)
            width += std::abs(numberValue(token)) / 1000 * size;
        if (token.kind == TokenKind::STRING || token.kind == TokenKind::HEX_STRING)
            width += (double)stringValue(token).size() *
                     (size + std::abs(text.charSpace) + std::abs(text.wordSpace));
    }
    handler->shown += width * std::abs(text.scale);
    Box box = {-handler->shown - size, -2 * size - std::abs(text.leading), handler->shown + size,
               2 * size + std::abs(text.rise)};
    return transformed(rewriter->state.textMatrix * rewriter->state.now.ctm, box);
}

void recordShownText(PatternHandler *handler, Rewriter *rewriter, const Operation &operation)
{
    const GraphicsState &now = rewriter->state.now;
    Box box = shownBox(handler, rewriter, operation);
    if (!fillsText(now.text.mode) || !isReplaced(now.fill) || isType3(now.text))
        return;
    for (PatternText &known : handler->textPatterns)
        if (isSame(known.colour, now.fill)) {
            known.box = unionOf(known.box, box);
            return;
        }
    if (handler->textPatterns.size() < MAX_TEXT_PATTERNS)
        handler->textPatterns.push_back({now.fill, box});
}

/* Writes an operator that shows text, in a mode. */
void showIn(Rewriter *rewriter, const Operation &operation, int mode)
{
    int now = rewriter->state.now.text.mode;
    if (mode == now)
        return emit(rewriter, std::string(operation.source));
    emit(rewriter, std::to_string(mode) + " Tr " + std::string(operation.source) + "\n" +
                       std::to_string(now) + " Tr");
}

/* Runs over the operations held back, with the state as it was. */
template <class Write> void replay(PatternHandler *handler, Rewriter *rewriter, Write write)
{
    rewriter->state.now = handler->textBegin.now;
    rewriter->state.textMatrix = handler->textBegin.textMatrix;
    rewriter->state.lineMatrix = handler->textBegin.lineMatrix;
    ContentReader reader{handler->text};
    Operation operation;
    while (readOperation(&reader, &operation)) {
        rewriter->isTracked = false;
        write(operation);
        if (!rewriter->isTracked)
            track(&rewriter->state, operation);
    }
}

/* The clip to the text that is shown in one colour, and the pattern in it. */
void paintText(PatternHandler *handler, Rewriter *rewriter, const PatternText &text)
{
    emit(rewriter, "q BT");
    replay(handler, rewriter, [&](const Operation &operation) {
        bool isMark = operation.op->is(MAKES_PATH | FILLS | STROKES | PAINTS);
        if (isMark || selectsPattern(rewriter, operation))
            return;
        if (!operation.op->is(SHOWS_TEXT))
            return emit(rewriter, std::string(operation.source));
        const GraphicsState &now = rewriter->state.now;
        if (isType3(now.text))
            return;
        bool isShown = fillsText(now.text.mode) && isSame(now.fill, text.colour);
        showIn(rewriter, operation, isShown ? 7 : 3);
    });
    rewriter->state.now = handler->textBegin.now;
    emit(rewriter, "ET\n" + paintOf(handler, rewriter, text.colour, text.box) + "Q");
}

/* Text that is shown where patterns cannot be. */
void showPlain(PatternHandler *handler, Rewriter *rewriter, const Operation &operation)
{
    const GraphicsState &now = rewriter->state.now;
    int mode = now.text.mode;
    bool isPatternFill = fillsText(mode) && isReplaced(now.fill);
    auto isFilledHere = [&](const PatternText &text) { return isSame(text.colour, now.fill); };
    bool isDone =
        std::any_of(handler->textPatterns.begin(), handler->textPatterns.end(), isFilledHere);
    if (isPatternFill && isDone && !isType3(now.text))
        mode = mode == 0 ? 3 : mode == 2 ? 1 : mode == 4 ? 7 : 5;
    else if (isPatternFill) {
        paintElsewhere(handler, rewriter, shownBox(handler, rewriter, operation),
                       "text in a pattern");
        emit(rewriter, colourText(plainColour(now.fill), false));
    }
    if (strokesText(mode) && isNoColour(now.stroke)) {
        mode = mode == 1 ? 3 : mode == 2 ? 0 : mode == 5 ? 7 : 4;
    } else if (strokesText(mode) && isReplaced(now.stroke)) {
        paintElsewhere(handler, rewriter, shownBox(handler, rewriter, operation),
                       "a line in a pattern");
        emit(rewriter, colourText(plainColour(now.stroke), true));
    }
    showIn(rewriter, operation, mode);
}

} // namespace

void endText(PatternHandler *handler, Rewriter *rewriter)
{
    handler->isInText = false;
    if (handler->hasSavedInText)
        handler->textPatterns.clear();
    for (const PatternText &text : handler->textPatterns)
        if (!isNoColour(text.colour))
            paintText(handler, rewriter, text);
    emit(rewriter, "BT");
    replay(handler, rewriter, [&](const Operation &operation) {
        if (operation.op->is(SHOWS_TEXT))
            showPlain(handler, rewriter, operation);
        else if (!selectsPattern(rewriter, operation))
            emit(rewriter, std::string(operation.source));
    });
    handler->text.clear();
    handler->textPatterns.clear();
}

namespace {

void beginText(PatternHandler *handler, Rewriter *rewriter)
{
    handler->isInText = true;
    handler->hasSavedInText = false;
    handler->shown = 0;
    handler->textBegin.now = rewriter->state.now;
    handler->textBegin.textMatrix = handler->textBegin.lineMatrix = Matrix();
}

} // namespace

bool visitText(PatternHandler *handler, Rewriter *rewriter, const Operation &operation)
{
    if (operation.op->id == Op::BEGIN_TEXT && !handler->isInText) {
        beginText(handler, rewriter);
        return true;
    }
    if (!handler->isInText)
        return false;
    if (operation.op->id == Op::END_TEXT) {
        GraphicsState now = rewriter->state.now;
        std::vector<GraphicsState> saved = rewriter->state.saved;
        endText(handler, rewriter);
        emit(rewriter, "ET");
        rewriter->state.now = std::move(now);
        rewriter->state.saved = std::move(saved);
        return true;
    }
    if (operation.op->is(MOVES_TEXT))
        handler->shown = 0;
    if (operation.op->is(SHOWS_TEXT))
        recordShownText(handler, rewriter, operation);
    handler->hasSavedInText |= operation.op->id == Op::SAVE || operation.op->id == Op::RESTORE;
    handler->text += std::string(operation.source) + "\n";
    return true;
}

} // namespace prepare
