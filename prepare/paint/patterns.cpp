/*
 * patterns.cpp - the handler of patterns and shadings
 *
 * Paths are held back while a pattern is selected, until their painting operator says what they
 * are for.  So are text objects: one with text in a pattern is written once for each pattern, as
 * the clip to that text, and then again with that text invisible.  The selection of patterns is
 * not written at all.
 */
#include "prepare/paint/patterns.h"

#include <algorithm>
#include <cmath>
#include <set>

#include "prepare/images/decode.h"
#include "prepare/paint/region.h"
#include "prepare/paint/shading.h"
#include "prepare/paint/tiling.h"

namespace prepare {

namespace {

constexpr size_t MAX_TEXT_PATTERNS = 8; /* in one text object */
constexpr size_t MAX_MASK_RECTANGLES = 20000;

/* Text shown in a pattern. */
struct PatternText {
    Paint colour;
    Box box; /* about where, in the outermost space */
};

struct PatternHandler : Handler {
    void begin(Rewriter *rewriter) override { firstClip = rewriter->state.now.clip; }
    bool take(Rewriter *rewriter, const Operation &operation) override;
    void end(Rewriter *rewriter) override;

    Box firstClip; /* the clip with which the content begins */

    std::string path; /* held back */
    std::string clip; /* the operator that makes it one; empty: none */

    bool isInText = false;
    std::string text; /* held back, between BT and ET */
    ContentState textBegin;
    std::vector<PatternText> textPatterns;
    double shown = 0; /* on this line, at most */
    bool hasSavedInText = false;
};

bool isColourOperator(const Operator &op)
{
    return op.is(SETS_SPACE | SETS_COLOUR | SETS_DEVICE) || op.id == Op::INTENT ||
           op.id == Op::SHADING_FILL;
}

/* Colours of no ink at all, which are treated like an empty pattern. */
bool isNoColour(const Paint &paint)
{
    return paintsNothing(paint.space->read());
}

/* What has no operators in the end: patterns, and colours of no ink. */
bool isReplaced(const Paint &paint)
{
    return !isDevice(paint) && (isPattern(paint) || isNoColour(paint));
}

/* Where something may be painted by this content, wherever that is itself painted: what the clip
 * was at its beginning belongs to one place only. */
Box limits(const PatternHandler *handler, const Rewriter *rewriter)
{
    const Box &now = rewriter->state.now.clip, &first = handler->firstClip;
    constexpr Box LARGE = {-20000, -20000, 20000, 20000}; /* for glyphs, which have no bounds */
    bool isBounded = contains(EVERYTHING, grown(rewriter->bounds, 1));
    Box box = transformed(rewriter->state.base, isBounded ? rewriter->bounds : LARGE);
    if (now.left > first.left)
        box.left = std::max(box.left, now.left);
    if (now.bottom > first.bottom)
        box.bottom = std::max(box.bottom, now.bottom);
    if (now.right < first.right)
        box.right = std::min(box.right, now.right);
    if (now.top < first.top)
        box.top = std::min(box.top, now.top);
    return box;
}

/* Does the operation select a pattern, or colours where a pattern space is? */
bool selectsPattern(Rewriter *rewriter, const Operation &operation)
{
    const Operator &op = *operation.op;
    const GraphicsState &now = rewriter->state.now;
    if (op.is(SETS_COLOUR))
        return isReplaced(op.ofStrokes() ? now.stroke : now.fill);
    std::string name = op.is(SETS_SPACE) ? lastName(operation) : "";
    return !name.empty() &&
           isReplaced({spaceOfName(&rewriter->state, name), {}, nullptr, false});
}

/* Something in a pattern is painted in one colour: the box, in the outermost space, becomes a
 * picture where it is known to lie on the page. */
void paintElsewhere(const PatternHandler *handler, Rewriter *rewriter, const Box &box,
                    const std::string &what)
{
    if (rewriter->isPlaced)
        addRegion(rewriter->document, rewriter->page, intersection(box, limits(handler, rewriter)),
                  what);
    else
        say(rewriter->document, Message::PatternPlainInForm, rewriter->page->number, {what});
}

/* A pattern of either kind, and its dictionary; null: there is none. */
QPDFObjectHandle objectOf(const PatternRef &pattern)
{
    return pattern ? pattern->object : QPDFObjectHandle::newNull();
}

QPDFObjectHandle dictOf(const PatternRef &pattern)
{
    QPDFObjectHandle object = objectOf(pattern);
    return object.isStream() ? object.getDict() : object;
}

bool isShading(QPDFObjectHandle pattern)
{
    return pattern.isDictionary() && integerOr(pattern.getKey("/PatternType"), 0) == 2;
}

/* A single colour in place of the pattern. */
DeviceColour plainColour(const Paint &paint)
{
    QPDFObjectHandle dict = dictOf(paint.pattern);
    if (isShading(dict))
        return shadingColour(*paint.pattern->scope, dict.getKey("/Shading"));
    QPDFObjectHandle cell = objectOf(paint.pattern);
    if (!cell.isStream() || integerOr(dict.getKey("/PaintType"), 1) == 2)
        return deviceColourOf(paint);
    return tilingColour(*paint.pattern->scope, cell);
}

/* Content that paints the pattern within a box of the outermost space, for the matrix that the
 * content has now.  Nothing when it cannot. */
std::optional<std::string> patternContent(const PatternHandler *handler, Rewriter *rewriter,
                                          const Paint &paint, const Box &box)
{
    if (isNoColour(paint))
        return "";
    QPDFObjectHandle dict = dictOf(paint.pattern);
    if (!dict.isDictionary())
        return "";
    Matrix outwards = matrixOf(dict.getKey("/Matrix")) * paint.pattern->base;
    std::optional<Matrix> inwards = inverseOf(outwards),
                          toUser = inverseOf(rewriter->state.now.ctm);
    Box visible = intersection(box, limits(handler, rewriter));
    if (!inwards || !toUser || isEmpty(visible))
        return "";
    Box there = transformed(*inwards, visible);
    std::optional<std::string> content;
    if (isShading(dict))
        content = shadingContent(rewriter, *paint.pattern->scope, dict.getKey("/Shading"), there,
                                 outwards, true);
    else if (objectOf(paint.pattern).isStream())
        content = tilingContent(rewriter, *paint.pattern, deviceColourOf(paint), there);
    if (!content || content->empty())
        return content;
    return concatText(outwards * *toUser) + "\n" + *content;
}

/* The same; where that cannot be, one colour over all. */
std::string paintOf(const PatternHandler *handler, Rewriter *rewriter, const Paint &colour,
                    const Box &box)
{
    if (auto content = patternContent(handler, rewriter, colour, box))
        return *content;
    paintElsewhere(handler, rewriter, box, "a pattern");
    std::optional<Matrix> toUser = inverseOf(rewriter->state.now.ctm);
    if (!toUser)
        return "";
    Box all = transformed(*toUser, intersection(box, limits(handler, rewriter)));
    return colourText(plainColour(colour), false) + " " + rectangleText(all) + "f\n";
}

/* ---- paths ---- */

std::string filled(const PatternHandler *handler, Rewriter *rewriter, bool isEvenOdd)
{
    const Paint &fill = rewriter->state.now.fill;
    std::string rule = isEvenOdd ? "*" : "";
    if (!isReplaced(fill))
        return handler->path + "\nf" + rule + "\n";
    std::string content = paintOf(handler, rewriter, fill, rewriter->state.path.box);
    if (content.empty())
        return "";
    return "q\n" + handler->path + "\nW" + rule + " n\n" + content + "Q\n";
}

std::string stroked(const PatternHandler *handler, Rewriter *rewriter)
{
    const Paint &stroke = rewriter->state.now.stroke;
    if (!isReplaced(stroke))
        return handler->path + "\nS\n";
    if (isNoColour(stroke))
        return "";
    double reach = rewriter->state.now.lineWidth * scaleOf(rewriter->state.now.ctm);
    paintElsewhere(handler, rewriter, grown(rewriter->state.path.box, 2 * reach + 1),
                   "a line in a pattern");
    return "q " + colourText(plainColour(stroke), true) + "\n" + handler->path +
           "\nS Q\n";
}

/* The painting operator of a path that was held back. */
void paintPath(PatternHandler *handler, Rewriter *rewriter, const Operation &operation)
{
    const Operator &op = *operation.op;
    if (op.is(CLOSES))
        handler->path += " h";
    std::string out;
    if (op.is(FILLS))
        out += filled(handler, rewriter, op.is(EVEN_ODD));
    if (op.is(STROKES))
        out += stroked(handler, rewriter);
    if (!handler->clip.empty())
        out += handler->path + " " + handler->clip + " n\n";
    handler->path.clear();
    handler->clip.clear();
    emit(rewriter, out);
}

/* Paths, while a pattern is selected. */
bool takePath(PatternHandler *handler, Rewriter *rewriter, const Operation &operation)
{
    bool isHeld = !handler->path.empty();
    if (operation.op->is(MAKES_PATH)) {
        const GraphicsState &now = rewriter->state.now;
        if (!isHeld && !isReplaced(now.fill) && !isReplaced(now.stroke))
            return false;
        handler->path += std::string(operation.source) + "\n";
        return true;
    }
    if (!isHeld)
        return false;
    if (operation.op->is(CLIPS)) {
        handler->clip = operation.name;
        return true;
    }
    if (!operation.op->is(ENDS_PATH))
        return false;
    paintPath(handler, rewriter, operation);
    return true;
}

/* ---- text ---- */

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

void noteShownText(PatternHandler *handler, Rewriter *rewriter, const Operation &operation)
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
    auto isFilledHere = [&](const PatternText &text) {
        return isSame(text.colour, now.fill);
    };
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

void beginText(PatternHandler *handler, Rewriter *rewriter)
{
    handler->isInText = true;
    handler->hasSavedInText = false;
    handler->shown = 0;
    handler->textBegin.now = rewriter->state.now;
    handler->textBegin.textMatrix = handler->textBegin.lineMatrix = Matrix();
}

bool takeText(PatternHandler *handler, Rewriter *rewriter, const Operation &operation)
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
        noteShownText(handler, rewriter, operation);
    handler->hasSavedInText |= operation.op->id == Op::SAVE || operation.op->id == Op::RESTORE;
    handler->text += std::string(operation.source) + "\n";
    return true;
}

/* ---- stencil masks ---- */

/* Which pixels of a row are painted, as runs from and to. */
using Runs = std::vector<std::pair<int, int>>;

Runs paintedRuns(const Samples &mask, int row, bool paintsZero)
{
    Runs runs;
    const uint8_t *values = mask.values.data() + (size_t)row * (size_t)mask.width;
    for (int x = 0; x < mask.width;) {
        int begin = x;
        bool isPainted = (values[x] == 0) == paintsZero;
        while (x < mask.width && ((values[x] == 0) == paintsZero) == isPainted)
            x++;
        if (isPainted)
            runs.emplace_back(begin, x);
    }
    return runs;
}

/* The painted pixels as rectangles in pixels, rows that are alike as one; nothing when there are
 * too many. */
std::optional<std::string> maskPath(const Samples &mask)
{
    bool paintsZero = decodeRange(mask, 0).low == 0;
    std::string path;
    size_t count = 0;
    for (int row = 0; row < mask.height;) {
        Runs runs = paintedRuns(mask, row, paintsZero);
        int first = row++;
        while (row < mask.height && paintedRuns(mask, row, paintsZero) == runs)
            row++;
        count += runs.size();
        if (count > MAX_MASK_RECTANGLES)
            return std::nullopt;
        for (auto [begin, end] : runs)
            path += std::to_string(begin) + " " + std::to_string(first) + " " +
                    std::to_string(end - begin) + " " + std::to_string(row - first) + " re\n";
    }
    return path;
}

/* A stencil mask in a pattern; false when it cannot be painted as a clip. */
bool paintStencil(PatternHandler *handler, Rewriter *rewriter, QPDFObjectHandle image)
{
    Samples mask;
    try {
        mask = decodeImage(rewriter->document, image);
    } catch (const LimitReached &) {
        return false;
    }
    if (!mask.isMask || mask.width <= 0 || mask.height <= 0)
        return false;
    std::optional<std::string> path = maskPath(mask);
    if (!path)
        return false;
    if (path->empty())
        return true;
    GraphicsState before = rewriter->state.now;
    Matrix pixels{1.0 / mask.width, 0, 0, -1.0 / mask.height, 0, 1};
    Box box = transformed(before.ctm, Box{0, 0, 1, 1});
    rewriter->state.now.ctm = pixels * before.ctm;
    std::string content = paintOf(handler, rewriter, before.fill, box);
    rewriter->state.now = std::move(before);
    if (!content.empty())
        emit(rewriter, "q " + concatText(pixels) + *path + "W n\n" + content + "Q\n");
    return true;
}

bool takeStencil(PatternHandler *handler, Rewriter *rewriter, const Operation &operation)
{
    bool isInline = operation.op->id == Op::INLINE_IMAGE;
    const Paint &fill = rewriter->state.now.fill;
    if ((operation.op->id != Op::PAINT_OBJECT && !isInline) || !isReplaced(fill))
        return false;
    QPDFObjectHandle image;
    if (isInline)
        image = inlineImage(rewriter->document, rewriter->scope, operation);
    else
        image = namedResource(rewriter->scope, XOBJECT, operation);
    if (!image.isInitialized() || !isStencil(image))
        return false;
    if (paintStencil(handler, rewriter, image))
        return true;
    paintElsewhere(handler, rewriter, transformed(rewriter->state.now.ctm, Box{0, 0, 1, 1}),
                   "a pattern");
    emit(rewriter, "q " + colourText(plainColour(fill), false) + "\n" +
                       std::string(operation.source) + "\nQ");
    return true;
}

/* ---- sh ---- */

bool takeShading(PatternHandler *handler, Rewriter *rewriter, const Operation &operation)
{
    if (operation.op->id != Op::SHADING_FILL)
        return false;
    QPDFObjectHandle shading = namedResource(rewriter->scope, SHADING, operation);
    const Matrix &ctm = rewriter->state.now.ctm;
    std::optional<Matrix> inwards = inverseOf(ctm);
    Box visible = limits(handler, rewriter);
    if (!inwards || isEmpty(visible))
        return true;
    std::optional<std::string> content =
        shadingContent(rewriter, rewriter->scope, shading, transformed(*inwards, visible), ctm,
                       false);
    if (!content)
        say(rewriter->document, Message::ShadingMissing, rewriter->page->number);
    else if (!content->empty())
        emit(rewriter, "q\n" + *content + "Q\n");
    return true;
}

bool PatternHandler::take(Rewriter *rewriter, const Operation &operation)
{
    if (rewriter->isUncoloured && isColourOperator(*operation.op))
        return true;
    if (takeText(this, rewriter, operation) || takePath(this, rewriter, operation))
        return true;
    return selectsPattern(rewriter, operation) || takeShading(this, rewriter, operation) ||
           takeStencil(this, rewriter, operation);
}

void PatternHandler::end(Rewriter *rewriter)
{
    if (isInText)
        endText(this, rewriter);
}

} // namespace

namespace {

void watchPattern(Walk *walk, int category, const std::string &, QPDFObjectHandle)
{
    if (category == PATTERN || category == SHADING)
        addNeed(walk, NEED_PATTERNS);
}

} // namespace

const ContentPass patternPass = {
    "patterns", NEED_PATTERNS, [] { return std::unique_ptr<Handler>(new PatternHandler); },
    isReplaced};

const Observer patternObserver = {.name = "patterns", .resource = watchPattern};

} // namespace prepare
