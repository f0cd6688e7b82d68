/*
 * patterns.cpp - the handler of patterns and shadings
 *
 * Paths are held back while a pattern is selected, until their painting operator says what they
 * are for.  So are text objects (patterntext.cpp).  The selection of patterns is not written at
 * all.
 */
#include "prepare/paint/patterns.h"

#include <algorithm>

#include "prepare/paint/patternhandler.h"
#include "prepare/paint/region.h"
#include "prepare/paint/shading.h"
#include "prepare/paint/tiling.h"

namespace prepare {

namespace {

bool isColourOperator(const Operator &op)
{
    return op.is(SETS_SPACE | SETS_COLOUR | SETS_DEVICE) || op.id == Op::INTENT ||
           op.id == Op::SHADING_FILL;
}

} // namespace

bool isNoColour(const Paint &paint)
{
    return paintsNothing(paint.space->read());
}

bool isReplaced(const Paint &paint)
{
    return !isDevice(paint) && (isPattern(paint) || isNoColour(paint));
}

namespace {

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

} // namespace

bool selectsPattern(Rewriter *rewriter, const Operation &operation)
{
    const Operator &op = *operation.op;
    const GraphicsState &now = rewriter->state.now;
    if (op.is(SETS_COLOUR))
        return isReplaced(op.ofStrokes() ? now.stroke : now.fill);
    std::string name = op.is(SETS_SPACE) ? lastName(operation) : "";
    return !name.empty() && isReplaced({spaceOfName(&rewriter->state, name), {}, nullptr, false});
}

void paintElsewhere(const PatternHandler *handler, Rewriter *rewriter, const Box &box,
                    const std::string &what)
{
    if (rewriter->isPlaced)
        addRegion(rewriter->document, rewriter->page, intersection(box, limits(handler, rewriter)),
                  what);
    else
        say(rewriter->document, Message::PatternPlainInForm, rewriter->page->number, {what});
}

namespace {

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

} // namespace

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

namespace {

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

} // namespace

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

namespace {

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
    return "q " + colourText(plainColour(stroke), true) + "\n" + handler->path + "\nS Q\n";
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
bool visitPath(PatternHandler *handler, Rewriter *rewriter, const Operation &operation)
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

/* ---- sh ---- */

bool visitShading(PatternHandler *handler, Rewriter *rewriter, const Operation &operation)
{
    if (operation.op->id != Op::SHADING_FILL)
        return false;
    QPDFObjectHandle shading = namedResource(rewriter->scope, SHADING, operation);
    const Matrix &ctm = rewriter->state.now.ctm;
    std::optional<Matrix> inwards = inverseOf(ctm);
    Box visible = limits(handler, rewriter);
    if (!inwards || isEmpty(visible))
        return true;
    std::optional<std::string> content = shadingContent(rewriter, rewriter->scope, shading,
                                                        transformed(*inwards, visible), ctm, false);
    if (!content)
        say(rewriter->document, Message::ShadingMissing, rewriter->page->number);
    else if (!content->empty())
        emit(rewriter, "q\n" + *content + "Q\n");
    return true;
}

} // namespace

bool PatternHandler::visit(Rewriter *rewriter, const Operation &operation)
{
    if (rewriter->isUncoloured && isColourOperator(*operation.op))
        return true;
    if (visitText(this, rewriter, operation) || visitPath(this, rewriter, operation))
        return true;
    return selectsPattern(rewriter, operation) || visitShading(this, rewriter, operation) ||
           visitStencil(this, rewriter, operation);
}

void PatternHandler::end(Rewriter *rewriter)
{
    if (isInText)
        endText(this, rewriter);
}

namespace {

void watchPattern(Walk *walk, int category, const std::string &, QPDFObjectHandle)
{
    if (category == PATTERN || category == SHADING)
        addNeed(walk, NEED_PATTERNS);
}

} // namespace

const ContentPass patternPass = {"patterns", NEED_PATTERNS,
                                 [] { return std::unique_ptr<Handler>(new PatternHandler); },
                                 isReplaced};

const Observer patternObserver = {.name = "patterns", .resource = watchPattern};

} // namespace prepare
