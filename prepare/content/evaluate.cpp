/*
 * evaluate.cpp - the walk over a page's content
 *
 * Names are looked up from the inside outwards, and counted as used where they are found: a form
 * may rely on the page's resources.  A form is walked once for each font that it may inherit; where
 * it is painted again, only what it takes from outside counts once more.
 */
#include "prepare/content/evaluate.h"

#include "prepare/content/heldpaths.h"

namespace prepare {

namespace {

/* A form, and the font around it. */
using FormInFont = std::pair<QPDFObjGen, QPDFObjGen>;

struct WalkedForm {
    Usage leaked; /* what it uses of the resources around it */
    uint32_t needs = 0;
};

struct EvaluationMemo {
    std::map<FormInFont, WalkedForm> forms;
    std::map<QPDFObjGen, Inheritance> inheritance;
    std::map<QPDFObjGen, uint32_t> needs;
    std::map<QPDFObjGen, Usage> usages;
    std::set<QPDFObjGen> glyphs; /* of Type 3 fonts that have been walked */
};

EvaluationMemo &memoOf(Document *document)
{
    return document->memos.of<EvaluationMemo>();
}

QPDFObjGen keyOf(QPDFObjectHandle object)
{
    return object.isInitialized() ? object.getObjGen() : QPDFObjGen();
}

} // namespace

/* A piece of content being walked. */
struct Frame {
    Walk walk;
    std::span<const Observer *const> observers;
    ResourceScope scope;
    Frame *outer = nullptr;
    int depth = 0;
    Usage own;          /* what it uses of scope.resources */
    Usage leaked;       /* what it uses of the resources around it */
    uint32_t needs = 0; /* of it and what it paints */
    ContentState state;
    Inheritance inheritance;
    bool isPathOpen = false, areStatesInPaths = false;
};

namespace {

void walkContent(Frame *frame, const std::string &content);

template <class Tell> void tell(Frame *frame, Tell observer)
{
    for (const Observer *one : frame->observers)
        observer(*one);
}

/* The resource of a name; counts it as used. */
QPDFObjectHandle use(Frame *frame, int category, const std::string &name)
{
    for (Frame *f = frame; f; f = f->outer) {
        ResourceScope alone{f->scope.resources, nullptr};
        QPDFObjectHandle found = findResource(alone, category, name);
        if (found.isNull() && f->outer)
            continue;
        f->own.names[category].insert(name);
        for (Frame *inner = frame; inner != f; inner = inner->outer)
            inner->leaked.names[category].insert(name);
        frame->walk.page->formsUseObjects |= category == XOBJECT && frame != f;
        tell(frame, [&](const Observer &observer) {
            if (observer.resource)
                observer.resource(&frame->walk, category, name, found);
        });
        return found;
    }
    return QPDFObjectHandle::newNull();
}

void setIncomplete(Frame *frame)
{
    for (Frame *f = frame; f; f = f->outer)
        f->own.complete = f->leaked.complete = false;
}

/* Resources of forms and glyphs that have been walked, for dropping what none of them uses. */
void keepUsage(Frame *frame)
{
    if (!frame->scope.resources.isIndirect())
        return;
    Usage &all = memoOf(frame->walk.document).usages[frame->scope.resources.getObjGen()];
    for (int category = 0; category < CATEGORIES; category++)
        all.names[category].merge(frame->own.names[category]);
    all.complete &= frame->own.complete;
}

/* What something inside inherits comes from outside of this content, too, where that has not
 * selected it. */
void inherit(Frame *frame, const Inheritance &inner)
{
    const GraphicsState &now = frame->state.now;
    frame->inheritance.font |= inner.font && now.text.isFontInherited;
    frame->inheritance.fill |= inner.fill && now.fill.isInherited;
    frame->inheritance.stroke |= inner.stroke && now.stroke.isInherited;
}

/* Walks a stream with resources of its own, or else those of the frame around it. */
WalkedForm walkInner(Frame *outer, QPDFObjectHandle stream, QPDFObjectHandle resources,
                     const GraphicsState &begin)
{
    EvaluationMemo &memo = memoOf(outer->walk.document);
    if (outer->depth >= MAX_FORM_DEPTH) {
        bool isCut = outer->walk.document->options.isCanonical;
        say(outer->walk.document, isCut ? Message::FormsCut : Message::FormsTooDeep,
            outer->walk.page->number);
        setIncomplete(outer);
        return {};
    }
    bool damaged = false;
    std::string content = decodeStream(stream, MAX_CONTENT_BYTES, &damaged);
    if (damaged)
        say(outer->walk.document, Message::StreamCut, outer->walk.page->number);
    Frame frame;
    frame.walk = {outer->walk.document, outer->walk.page, &frame.state, &frame};
    frame.observers = outer->observers;
    frame.outer = outer;
    frame.depth = outer->depth + 1;
    bool hasOwn = resources.isDictionary();
    frame.scope = {hasOwn ? resources : QPDFObjectHandle::newDictionary(), &outer->scope};
    beginContent(&frame.state, &frame.scope, begin);
    walkContent(&frame, content);
    if (frame.areStatesInPaths) {
        replaceWithFlate(stream, withPathsHeld(content));
        addNeed(&frame.walk, NEED_STRUCTURE);
    }
    Inheritance &known = memo.inheritance[stream.getObjGen()];
    known.font |= frame.inheritance.font;
    known.fill |= frame.inheritance.fill;
    known.stroke |= frame.inheritance.stroke;
    memo.needs[stream.getObjGen()] |= frame.needs;
    if (hasOwn)
        keepUsage(&frame);
    return {std::move(frame.leaked), frame.needs};
}

/* A form that was walked before paints the same again: what it takes from outside counts here,
 * too.  It is rewritten in place once, unless it is another one in each place. */
void useWalked(Frame *frame, QPDFObjectHandle stream, const WalkedForm &walked)
{
    frame->walk.page->formsUseObjects |= !walked.leaked.names[XOBJECT].empty();
    bool isOwn = stream.getDict().getKey("/Resources").isDictionary();
    Inheritance inheritance = memoOf(frame->walk.document).inheritance[stream.getObjGen()];
    const GraphicsState &now = frame->state.now;
    bool isCopied = !isOwn || inheritance.font || (inheritance.fill && !isDevice(now.fill)) ||
                    (inheritance.stroke && !isDevice(now.stroke));
    addNeed(&frame->walk, isCopied ? walked.needs : walked.needs & NEED_TRANSPARENCY);
    const Usage leaked = walked.leaked; /* `use` may walk on */
    for (int category = 0; category < CATEGORIES; category++)
        for (const std::string &name : leaked.names[category])
            use(frame, category, name);
    if (!leaked.complete)
        setIncomplete(frame);
}

void walkForm(Frame *frame, QPDFObjectHandle form, const GraphicsState &begin)
{
    EvaluationMemo &memo = memoOf(frame->walk.document);
    FormInFont key = {form.getObjGen(), keyOf(begin.text.font)};
    auto known = memo.forms.find(key);
    if (known != memo.forms.end())
        return useWalked(frame, form, known->second);
    memo.forms[key] = {}; /* a form that paints itself finds itself walked */
    memo.forms[key] = walkInner(frame, form, form.getDict().getKey("/Resources"), begin);
}

void walkGlyphs(Frame *frame, QPDFObjectHandle font)
{
    if (!memoOf(frame->walk.document).glyphs.insert(font.getObjGen()).second)
        return;
    for (auto &[name, glyph] : entriesOf(font.getKey("/CharProcs")))
        if (glyph.isStream())
            walkInner(frame, glyph, font.getKey("/Resources"), inherited(frame->state.now));
}

/* ---- operators that name a resource */

void walkObject(Frame *frame, const std::string &name)
{
    QPDFObjectHandle object = use(frame, XOBJECT, name);
    if (isForm(object)) {
        walkForm(frame, object, inherited(frame->state.now));
        inherit(frame, memoOf(frame->walk.document).inheritance[object.getObjGen()]);
    } else if (isStencil(object)) {
        inherit(frame, {false, true, false});
    }
}

/* A cell is content like that of a form, and begins with a state of its own (8.7.3.1). */
void walkPattern(Frame *frame, const std::string &name)
{
    QPDFObjectHandle pattern = use(frame, PATTERN, name);
    if (!pattern.isStream())
        return;
    GraphicsState begin;
    begin.text = frame->state.now.text;
    walkForm(frame, pattern, begin);
}

/* An inline image names its colour space behind /CS or /ColorSpace. */
void walkInlineImage(Frame *frame, const Operation &operation)
{
    const std::vector<Token> &tokens = operation.operands;
    for (size_t i = 0; i + 1 < tokens.size(); i++) {
        if ((tokens[i].source == "/CS" || tokens[i].source == "/ColorSpace") &&
            tokens[i + 1].kind == TokenKind::NAME)
            use(frame, COLORSPACE, nameValue(tokens[i + 1].source));
        if (tokens[i].source == "/IM" || tokens[i].source == "/ImageMask")
            inherit(frame, {false, true, false});
    }
    tell(frame, [&](const Observer &observer) {
        if (observer.inlineImage)
            observer.inlineImage(&frame->walk, operation);
    });
}

void walkNamed(Frame *frame, Op op, const std::string &name)
{
    if (name.empty())
        return;
    switch (op) {
    case Op::PAINT_OBJECT:
        return walkObject(frame, name);
    case Op::FILL_COLOUR_NAMED:
    case Op::STROKE_COLOUR_NAMED:
        return walkPattern(frame, name);
    case Op::GRAPHICS_STATE:
        use(frame, EXTGSTATE, name);
        return;
    case Op::FILL_SPACE:
    case Op::STROKE_SPACE:
        use(frame, COLORSPACE, name);
        return;
    case Op::SHADING_FILL:
        use(frame, SHADING, name);
        return;
    case Op::BEGIN_MARK_PROPERTIES:
    case Op::MARK_POINT_PROPERTIES:
        use(frame, PROPERTIES, name);
        return;
    default:
        return;
    }
}

/* ---- what depends on the state */

/* What of the inherited state the operation relies on. */
void recordInheritance(Frame *frame, const Operator &op)
{
    Inheritance used;
    bool showsText = op.is(SHOWS_TEXT);
    int mode = frame->state.now.text.mode;
    used.font = showsText;
    used.fill = op.is(FILLS) || (op.is(SETS_COLOUR) && !op.ofStrokes()) ||
                (showsText && mode != 1 && mode != 5);
    used.stroke = op.is(STROKES) || (op.is(SETS_COLOUR) && op.ofStrokes()) ||
                  (showsText && mode != 0 && mode != 4);
    if (used.font || used.fill || used.stroke)
        inherit(frame, used);
}

void tellSelected(Frame *frame, Op op)
{
    QPDFObjectHandle font = frame->state.now.text.font;
    bool hasFont = font.isInitialized() && font.isDictionary();
    tell(frame, [&](const Observer &observer) {
        if (observer.graphicsState && op == Op::GRAPHICS_STATE)
            observer.graphicsState(&frame->walk);
        if (observer.font && hasFont)
            observer.font(&frame->walk, font);
    });
    if (hasFont && font.getKey("/Subtype").isNameAndEquals("/Type3"))
        walkGlyphs(frame, font);
}

void watchPath(Frame *frame, const Operator &op)
{
    bool isState = op.id == Op::SAVE || op.id == Op::RESTORE || op.id == Op::CONCAT;
    frame->areStatesInPaths |= frame->isPathOpen && isState;
    frame->isPathOpen = (frame->isPathOpen || op.is(MAKES_PATH)) && !op.is(ENDS_PATH);
}

void walkOperation(Frame *frame, const Operation &operation)
{
    const Operator &op = *operation.op;
    watchPath(frame, op);
    if (op.is(SHOWS_TEXT))
        tell(frame, [&](const Observer &observer) {
            if (observer.text)
                observer.text(&frame->walk, operation);
        });
    if (op.is(SHOWS_TEXT | FILLS | STROKES | SETS_COLOUR))
        recordInheritance(frame, op);
    if (op.id == Op::INLINE_IMAGE)
        walkInlineImage(frame, operation);
    else if (std::string font = fontName(operation); op.id == Op::FONT_SIZE && !font.empty())
        use(frame, FONT, font);
    else if (op.operands > 0 || op.is(SETS_COLOUR))
        walkNamed(frame, op.id, lastName(operation));
    track(&frame->state, operation);
    if (op.id == Op::FONT_SIZE || op.id == Op::GRAPHICS_STATE)
        tellSelected(frame, op.id);
}

void walkContent(Frame *frame, const std::string &content)
{
    ContentReader reader{content};
    Operation operation;
    while (readOperation(&reader, &operation))
        walkOperation(frame, operation);
}

} // namespace

void addNeed(Walk *walk, uint32_t need)
{
    walk->page->needs |= need;
    for (Frame *frame = walk->frame; frame; frame = frame->outer)
        frame->needs |= need;
}

Inheritance inheritanceOf(Document *document, QPDFObjectHandle form)
{
    return memoOf(document).inheritance[form.getObjGen()];
}

uint32_t needsOf(Document *document, QPDFObjectHandle form)
{
    return memoOf(document).needs[form.getObjGen()];
}

std::map<QPDFObjGen, Usage> &usagesOfForms(Document *document)
{
    return memoOf(document).usages;
}

void evaluatePage(Document *document, Page *page, std::span<const Observer *const> observers)
{
    bool damaged = false;
    page->usage = {};
    page->usage.complete = false; /* until the walk has reached its end */
    page->content = readContent(page->object.getKey("/Contents"), MAX_CONTENT_BYTES, &damaged);
    page->contentRead = true;
    page->contentOf = page->object.getKey("/Contents");
    if (damaged) {
        page->needs |= NEED_CONTENT;
        say(document, Message::ContentCut, page->number);
    }
    Frame frame;
    frame.walk = {document, page, &frame.state, &frame};
    frame.observers = observers;
    frame.scope = {page->object.getKey("/Resources"), nullptr};
    beginContent(&frame.state, &frame.scope);
    walkContent(&frame, page->content);
    page->usage = std::move(frame.own);
    if (!frame.areStatesInPaths)
        return;
    page->needs |= NEED_CONTENT;
    page->content = withPathsHeld(page->content);
    page->contentOf = newFlateStream(&document->source.pdf, page->content);
    page->object.replaceKey("/Contents", page->contentOf);
}

} // namespace prepare
