/*
 * patternstencils.cpp - stencil masks in patterns
 *
 * The painted pixels of a mask become a path of rectangles, and the pattern is painted through it
 * as a clip, as long as they are not too many.
 */
#include "prepare/images/decode.h"
#include "prepare/paint/patternhandler.h"

namespace prepare {

namespace {

constexpr size_t MAX_MASK_RECTANGLES = 20000;

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

} // namespace

bool visitStencil(PatternHandler *handler, Rewriter *rewriter, const Operation &operation)
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

} // namespace prepare
