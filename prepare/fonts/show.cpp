/*
 * show.cpp - the handler of fonts and text
 *
 * The selection of a composite font is held back; each show operator becomes runs, one for each
 * change of subfont, each with the selection that it needs.  Vertical text has no counterpart in
 * simple fonts: each glyph is placed by a text matrix of its own, and because that loses the line
 * matrix, what moves by lines is written as absolute until the text object ends.
 */
#include "prepare/fonts/show.h"

#include <vector>

#include "prepare/fonts/composite.h"
#include "prepare/fonts/store.h"

namespace prepare {

namespace {

/* The font that the written content has selected, as far as it is one of ours. */
struct Selected {
    const Subfont *subfont = nullptr;
    double size = 0;
};

struct Run {
    Subfont *subfont;
    std::vector<std::string> items; /* of the array, in PDF syntax */
    std::string text;               /* codes not yet in items */
};

struct FontHandler : Handler {
    bool visit(Rewriter *rewriter, const Operation &operation) override;

    Selected selected;
    std::vector<Selected> saved;
    bool isLineLost = false;  /* the written line matrix is not the document's */
    bool isPointLost = false; /* nor is the text matrix */
};

std::string matrixText(const Matrix &matrix)
{
    constexpr int PLACES = 5;
    return numbersText(matrix, PLACES) + "Tm\n";
}

void flushText(Run *run)
{
    if (run->text.empty())
        return;
    run->items.push_back(literalString(run->text));
    run->text.clear();
}

void addNumber(std::vector<Run> *runs, const Token &number)
{
    if (runs->empty())
        runs->push_back({nullptr, {}, {}});
    flushText(&runs->back());
    runs->back().items.emplace_back(number.source);
}

void addGlyph(std::vector<Run> *runs, const Placed &placed)
{
    if (runs->empty() || (runs->back().subfont && runs->back().subfont != placed.subfont))
        runs->push_back({placed.subfont, {}, {}});
    runs->back().subfont = placed.subfont;
    runs->back().text.push_back((char)placed.code);
}

/* Moves the text matrix by a distance in text space. */
void advance(Rewriter *rewriter, double x, double y)
{
    rewriter->state.textMatrix = Matrix{1, 0, 0, 1, x, y} * rewriter->state.textMatrix;
}

double adjustment(const Rewriter *rewriter, const Token &number)
{
    return -numberValue(number) / 1000 * rewriter->state.now.text.size;
}

/* Calls `glyph` for each code that an operator shows and `number` for each adjustment. */
template <class Glyph, class Number>
void forShown(Rewriter *rewriter, CompositeFont *font, const Operation &operation, Glyph glyph,
              Number number)
{
    bool isArray = operation.op->id == Op::SHOW_ADJUSTED;
    const std::vector<Token> &operands = operation.operands;
    size_t first = isArray || operands.empty() ? 0 : operands.size() - 1;
    for (size_t i = first; i < operands.size(); i++) {
        if (isArray && operands[i].kind == TokenKind::NUMBER)
            number(operands[i]);
        if (operands[i].kind != TokenKind::STRING && operands[i].kind != TokenKind::HEX_STRING)
            continue;
        std::string text = stringValue(operands[i]);
        std::string_view left = text;
        uint32_t code;
        while (int bytes = nextCode(font->encoding, left, &code)) {
            left.remove_prefix((size_t)bytes);
            glyph(placeCode(rewriter->document, font, code, bytes, rewriter->page->number),
                  bytes == 1 && code == ' ');
        }
    }
}

/* The selection of a subfont, when it is not selected already. */
std::string selection(FontHandler *handler, Rewriter *rewriter, Subfont *subfont)
{
    double size = rewriter->state.now.text.size;
    if (handler->selected.subfont == subfont && handler->selected.size == size)
        return "";
    handler->selected = {subfont, size};
    putResource(rewriter, FONT, subfont->resource, subfont->font);
    return subfont->resource + " " + numberText(size) + " Tf\n";
}

/* Something must be selected for adjustments alone. */
Subfont *anySubfont(Rewriter *rewriter, CompositeFont *font)
{
    if (!font->subfonts.empty())
        return &font->subfonts.front();
    return placeCode(rewriter->document, font, 0, 2, rewriter->page->number).subfont;
}

std::string horizontalText(FontHandler *handler, Rewriter *rewriter, CompositeFont *font,
                           const Operation &operation)
{
    std::vector<Run> runs;
    const TextState &text = rewriter->state.now.text;
    double x = 0;
    forShown(
        rewriter, font, operation,
        [&](const Placed &placed, bool isSpace) {
            addGlyph(&runs, placed);
            x += placed.width / 1000 * text.size + text.charSpace + (isSpace ? text.wordSpace : 0);
        },
        [&](const Token &number) {
            addNumber(&runs, number);
            x += adjustment(rewriter, number);
        });
    std::string out;
    for (Run &run : runs) {
        flushText(&run);
        out += selection(handler, rewriter, run.subfont ? run.subfont : anySubfont(rewriter, font));
        bool isPlain = run.items.size() == 1 && run.subfont;
        out += isPlain ? run.items[0] + " Tj\n" : "[";
        for (size_t i = 0; !isPlain && i < run.items.size(); i++)
            out += (i ? " " : "") + run.items[i];
        out += isPlain ? "" : "] TJ\n";
    }
    advance(rewriter, x * text.scale, 0);
    return out;
}

std::string verticalText(FontHandler *handler, Rewriter *rewriter, CompositeFont *font,
                         const Operation &operation)
{
    std::string out;
    const TextState &text = rewriter->state.now.text;
    forShown(
        rewriter, font, operation,
        [&](const Placed &placed, bool isSpace) {
            double x = -placed.originX / 1000 * text.size * text.scale;
            double y = -placed.originY / 1000 * text.size;
            out += selection(handler, rewriter, placed.subfont);
            out += matrixText(Matrix{1, 0, 0, 1, x, y} * rewriter->state.textMatrix);
            out += literalString(std::string(1, (char)placed.code)) + " Tj\n";
            advance(rewriter, 0,
                    placed.verticalAdvance / 1000 * text.size + text.charSpace +
                        (isSpace ? text.wordSpace : 0));
        },
        [&](const Token &number) { advance(rewriter, 0, adjustment(rewriter, number)); });
    handler->isLineLost = handler->isPointLost = true;
    return out;
}

/* What the operators ' and " do before they show, as content; the state follows. */
std::string lineBefore(FontHandler *handler, Rewriter *rewriter, const Operation &operation)
{
    std::string out;
    const std::vector<Token> &operands = operation.operands;
    TextState &text = rewriter->state.now.text;
    if (operation.name == "\"" && operands.size() >= 3) {
        text.wordSpace = numberValue(operands[operands.size() - 3]);
        text.charSpace = numberValue(operands[operands.size() - 2]);
        out = numberText(text.wordSpace) + " Tw " + numberText(text.charSpace) + " Tc\n";
    }
    if (operation.name == "'" || operation.name == "\"") {
        moveLine(&rewriter->state, 0, -text.leading);
        if (!handler->isLineLost)
            return out + "T*\n";
        handler->isPointLost = true;
    }
    return out;
}

void showComposite(FontHandler *handler, Rewriter *rewriter, CompositeFont *font,
                   const Operation &operation)
{
    std::string out = lineBefore(handler, rewriter, operation);
    if (font->encoding.isVertical) {
        out += verticalText(handler, rewriter, font, operation);
    } else {
        if (handler->isPointLost)
            out += matrixText(rewriter->state.textMatrix);
        handler->isPointLost = false;
        out += horizontalText(handler, rewriter, font, operation);
    }
    rewriter->isTracked = true;
    if (!out.empty())
        emit(rewriter, out);
}

/* Text in a simple font where the matrices are lost. */
bool showSimple(FontHandler *handler, Rewriter *rewriter, const Operation &operation)
{
    if (!handler->isLineLost)
        return false;
    bool hasLine = operation.name == "'" || operation.name == "\"";
    std::string out = lineBefore(handler, rewriter, operation);
    if (handler->isPointLost)
        out += matrixText(rewriter->state.textMatrix);
    handler->isPointLost = false;
    rewriter->isTracked = hasLine;
    if (hasLine && !operation.operands.empty())
        out += std::string(operation.operands.back().source) + " Tj\n";
    else
        out += operation.source;
    emit(rewriter, out);
    return true;
}

/* Moves by lines where the line matrix is lost: nothing is written before text is shown. */
bool moveLost(FontHandler *handler, const Operation &operation)
{
    bool isMove = operation.name == "Td" || operation.name == "T*";
    if (handler->isLineLost && (isMove || operation.name == "TD")) {
        handler->isPointLost = true;
        return isMove;
    }
    if (operation.name == "Tm" || operation.name == "BT")
        handler->isLineLost = handler->isPointLost = false;
    return false;
}

void trackSaved(FontHandler *handler, std::string_view name)
{
    if (name == "q" && handler->saved.size() < MAX_SAVED)
        handler->saved.push_back(handler->selected);
    if (name == "Q") {
        handler->selected = handler->saved.empty() ? Selected() : handler->saved.back();
        if (!handler->saved.empty())
            handler->saved.pop_back();
    }
}

/* Tf: true when it selects a composite font, which is held back. */
bool holdBack(FontHandler *handler, Rewriter *rewriter, const Operation &operation)
{
    if (operation.operands.size() < 2)
        return false;
    const Token &name = operation.operands[operation.operands.size() - 2];
    if (name.kind != TokenKind::NAME)
        return false;
    QPDFObjectHandle font = findResource(rewriter->scope, FONT, nameValue(name.source));
    if (compositeFont(rewriter->document, font, rewriter->page->number))
        return true;
    handler->selected = {};
    return false;
}

/* gs with a font: the converter does not select it, so it is selected here. */
bool selectByState(FontHandler *handler, Rewriter *rewriter, const Operation &operation)
{
    if (operation.operands.empty() || operation.operands.back().kind != TokenKind::NAME)
        return false;
    QPDFObjectHandle font =
        findResource(rewriter->scope, EXTGSTATE, nameValue(operation.operands.back().source))
            .getKeyIfDict("/Font");
    if (!font.isArray() || font.getArrayNItems() < 2 || !font.getArrayItem(0).isDictionary())
        return false;
    handler->selected = {};
    if (compositeFont(rewriter->document, font.getArrayItem(0), rewriter->page->number))
        return false; /* selected when text is shown */
    std::string name = addResource(rewriter, FONT, "/PfG", font.getArrayItem(0));
    emit(rewriter, std::string(operation.source) + "\n" + name + " " +
                       numberText(numberOr(font.getArrayItem(1), 1)) + " Tf\n");
    return true;
}

bool FontHandler::visit(Rewriter *rewriter, const Operation &operation)
{
    std::string_view name = operation.name;
    trackSaved(this, name);
    if (name == "Tf")
        return holdBack(this, rewriter, operation);
    if (name == "gs")
        return selectByState(this, rewriter, operation);
    if (!operation.op->is(SHOWS_TEXT)) {
        if (name == "TD" && isLineLost && operation.operands.size() >= 2) {
            isPointLost = true;
            double leading = -numberValue(operation.operands.back());
            emit(rewriter, numberText(leading) + " TL\n");
            return true;
        }
        return moveLost(this, operation);
    }
    QPDFObjectHandle font = rewriter->state.now.text.font;
    if (!font.isInitialized())
        return false;
    CompositeFont *composite = compositeFont(rewriter->document, font, rewriter->page->number);
    if (!composite)
        return showSimple(this, rewriter, operation);
    showComposite(this, rewriter, composite, operation);
    return true;
}

} // namespace

std::unique_ptr<Handler> makeFontHandler()
{
    return std::make_unique<FontHandler>();
}

} // namespace prepare
