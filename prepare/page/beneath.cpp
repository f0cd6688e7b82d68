/*
 * beneath.cpp - a short walk over a page, for boxes
 */
#include "prepare/page/beneath.h"

#include <algorithm>

#include "prepare/content/track.h"

namespace prepare {

namespace {

constexpr size_t MAX_BOXES = 4096;
constexpr size_t MAX_OPERATIONS = 2u << 20;
constexpr int MAX_DEPTH = 12;
constexpr double DARK = 0.3; /* no component of red, green and blue is lighter */

struct Beneath {
    std::vector<Box> boxes;
    size_t operations = 0;
    bool isTooMuch = false;
};

void addBox(Beneath *beneath, const ContentState &state, const Box &box)
{
    Box seen = intersection(box, state.now.clip);
    if (isEmpty(seen))
        return;
    beneath->boxes.push_back(seen);
    beneath->isTooMuch |= beneath->boxes.size() >= MAX_BOXES;
}

bool isDark(const Paint &paint)
{
    if (isPattern(paint))
        return false;
    DeviceColour colour = toRgb(deviceColourOf(paint));
    return std::all_of(colour.values.begin(), colour.values.begin() + 3,
                       [](double value) { return value <= DARK; });
}

/* The line that text stands on; all of the page where it does not run across. */
void addText(Beneath *beneath, const ContentState &state)
{
    const TextState &text = state.now.text;
    int mode = text.mode & 3;
    bool isSeen = mode != 3, fills = mode != 1, strokes = mode != 0;
    bool isType3 = nameOr(entryOf(text.font, "/Subtype")) == "/Type3";
    bool areDark =
        !isType3 && (!fills || isDark(state.now.fill)) && (!strokes || isDark(state.now.stroke));
    if (!isSeen || areDark)
        return;
    Matrix m = state.textMatrix * state.now.ctm;
    Box box = EVERYTHING;
    if (std::abs(m.b) < 1e-6 * std::abs(m.a)) {
        double size = std::abs(text.size * m.d), leading = std::abs(text.leading * m.d);
        box.bottom = m.f - size - leading;
        box.top = m.f + 2 * size;
    }
    addBox(beneath, state, box);
}

void walk(Beneath *beneath, Document *document, const std::string &content,
          const ResourceScope &scope, const GraphicsState &begin, int depth);

void addObject(Beneath *beneath, Document *document, const ContentState &state,
               QPDFObjectHandle object, int depth)
{
    if (isImage(object))
        return addBox(beneath, state, transformed(state.now.ctm, {0, 0, 1, 1}));
    if (!isForm(object))
        return;
    GraphicsState inner = stateInForm(state.now, object);
    if (isEmpty(inner.clip))
        return;
    if (depth >= MAX_DEPTH)
        return addBox(beneath, state, inner.clip);
    bool isDamaged = false;
    std::string content = decodeStream(object, MAX_CONTENT_BYTES, &isDamaged);
    ResourceScope scope = {object.getDict().getKey("/Resources"), state.scope};
    walk(beneath, document, content, scope, inner, depth + 1);
}

void walk(Beneath *beneath, Document *document, const std::string &content,
          const ResourceScope &scope, const GraphicsState &begin, int depth)
{
    ContentState state;
    beginContent(&state, &scope, begin);
    ContentReader reader{content};
    Operation operation;
    while (!beneath->isTooMuch && readOperation(&reader, &operation)) {
        const Operator &op = *operation.op;
        beneath->isTooMuch |= ++beneath->operations > MAX_OPERATIONS;
        double half = state.now.lineWidth * scaleOf(state.now.ctm) / 2;
        if (op.paintsPath() && (op.is(FILLS) || op.is(STROKES)))
            addBox(beneath, state,
                   op.is(STROKES) ? grown(state.path.box, std::max(half, 0.25)) : state.path.box);
        else if (op.is(SHOWS_TEXT))
            addText(beneath, state);
        else if (op.id == Op::SHADING_FILL)
            addBox(beneath, state, EVERYTHING);
        else if (op.id == Op::INLINE_IMAGE)
            addBox(beneath, state, transformed(state.now.ctm, {0, 0, 1, 1}));
        else if (op.id == Op::PAINT_OBJECT)
            addObject(beneath, document, state, namedResource(scope, XOBJECT, operation), depth);
        track(&state, operation);
    }
}

} // namespace

std::vector<Box> paintedBoxes(Document *document, const Page &page)
{
    Beneath beneath;
    bool isDamaged = false;
    std::string content = readContent(entryOf(page, "/Contents"), MAX_CONTENT_BYTES, &isDamaged);
    ResourceScope scope = {entryOf(page, "/Resources"), nullptr};
    walk(&beneath, document, content, scope, {}, 0);
    if (beneath.isTooMuch)
        return {EVERYTHING};
    return std::move(beneath.boxes);
}

} // namespace prepare
