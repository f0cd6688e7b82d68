/*
 * scan.cpp - one walk over a page's content
 *
 * Names are looked up from the inside outwards, and counted as used where they are found: a form
 * may rely on the page's resources.  A form is walked once for each font that it may inherit.
 */
#include "prepare/content/scan.h"

#include <unordered_map>

#include "prepare/colour/colours.h"
#include "prepare/colour/convert.h"
#include "prepare/content/state.h"
#include "prepare/fonts/store.h"
#include "prepare/images/convert.h"
#include "prepare/images/mask.h"
#include "prepare/page/layers.h"
#include "prepare/page/names.h"

namespace prepare {

namespace {

/* A piece of content being walked. */
struct Frame {
    Document *document;
    Page *page;
    ResourceScope scope;
    Frame *outer;
    int depth;
    Usage own;    /* what it uses of scope.resources */
    Usage leaked; /* what it uses of the resources around it */
    ContentState state;
    bool hasOwnFont = false; /* a font was selected here, not outside */
    bool inheritsFont = false;
    QPDFObjGen stream = {}; /* the form or glyph */
};

void scanStream(Frame *frame, const std::string &content);

/* Content that is off needs silencing. */
void noteLayer(Frame *frame, int category, QPDFObjectHandle found)
{
    if ((category == PROPERTIES && isOff(frame->document, found)) ||
        (category == XOBJECT && isPaintOff(frame->document, found)))
        frame->page->needs |= NEED_LAYERS;
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
        frame->page->formsUseObjects |= category == XOBJECT && frame != f;
        noteLayer(frame, category, found);
        bool isWritten = category != PATTERN && category != SHADING && category != PROPERTIES;
        if (isWritten && !found.isNull() && isOddName(name))
            frame->page->needs |= NEED_NAMES;
        return found;
    }
    return QPDFObjectHandle::newNull();
}

/* Something transparent is painted, here and so in all that is around it. */
void noteTransparency(Frame *frame)
{
    frame->page->needs |= NEED_TRANSPARENCY;
    for (Frame *f = frame; f->outer; f = f->outer)
        frame->document->transparentForms.insert(f->stream);
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
    Usage &all = frame->document->formUsage[frame->scope.resources.getObjGen()];
    for (int category = 0; category < CATEGORIES; category++)
        all.names[category].merge(frame->own.names[category]);
    all.complete &= frame->own.complete;
}

/* Walks a stream with resources of its own, or else those of the frame around it. */
void scanInner(Frame *outer, QPDFObjectHandle stream, QPDFObjectHandle resources)
{
    if (outer->depth >= MAX_FORM_DEPTH) {
        say(outer->document, Message::FormsTooDeep, outer->page->number);
        return setIncomplete(outer);
    }
    bool damaged = false;
    std::string content = decodeStream(stream, MAX_CONTENT_BYTES, &damaged);
    if (damaged)
        say(outer->document, Message::StreamCut, outer->page->number);
    Frame frame{outer->document, outer->page, {}, outer, outer->depth + 1, {}, {}, {}};
    bool hasOwn = resources.isDictionary();
    frame.scope.resources = hasOwn ? resources : QPDFObjectHandle::newDictionary();
    frame.scope.outer = &outer->scope;
    frame.state.now.text = outer->state.now.text;
    frame.stream = stream.getObjGen();
    scanStream(&frame, content);
    if (frame.inheritsFont) {
        frame.document->inheritingForms.insert(stream.getObjGen());
        outer->inheritsFont |= !outer->hasOwnFont;
    }
    if (hasOwn)
        keepUsage(&frame);
    QPDFObjectHandle font = outer->state.now.text.font;
    QPDFObjGen fontKey = font.isInitialized() ? font.getObjGen() : QPDFObjGen();
    outer->document->scannedForms[{stream.getObjGen(), fontKey}] = std::move(frame.leaked);
}

/* Has the stream been walked in this context?  Then only what it takes from outside counts. */
bool useScanned(Frame *frame, QPDFObjectHandle stream)
{
    QPDFObjectHandle font = frame->state.now.text.font;
    QPDFObjGen fontKey = font.isInitialized() ? font.getObjGen() : QPDFObjGen();
    auto known = frame->document->scannedForms.find({stream.getObjGen(), fontKey});
    if (known == frame->document->scannedForms.end())
        return false;
    const Usage usage = known->second;
    frame->page->formsUseObjects |= !usage.names[XOBJECT].empty();
    for (int category = 0; category < CATEGORIES; category++)
        for (const std::string &name : usage.names[category])
            use(frame, category, name);
    if (!usage.complete)
        setIncomplete(frame);
    if (frame->document->transparentForms.count(stream.getObjGen()))
        noteTransparency(frame);
    return true;
}

void scanForm(Frame *frame, QPDFObjectHandle form)
{
    if (useScanned(frame, form))
        return;
    /* A form that paints itself finds itself walked. */
    QPDFObjectHandle font = frame->state.now.text.font;
    QPDFObjGen fontKey = font.isInitialized() ? font.getObjGen() : QPDFObjGen();
    frame->document->scannedForms[{form.getObjGen(), fontKey}] = {};
    scanInner(frame, form, form.getDict().getKey("/Resources"));
}

void scanGlyphs(Frame *frame, QPDFObjectHandle font)
{
    if (!frame->document->scannedType3.insert(font.getObjGen()).second)
        return;
    for (auto &[name, glyph] : entriesOf(font.getKey("/CharProcs")))
        if (glyph.isStream())
            scanInner(frame, glyph, font.getKey("/Resources"));
}

void useFont(Frame *frame, QPDFObjectHandle font)
{
    frame->hasOwnFont = true;
    if (!font.isDictionary())
        return;
    uint32_t need = fontNeed(frame->document, font);
    frame->page->needs |= need;
    if (font.getKey("/Subtype").isNameAndEquals("/Type3"))
        scanGlyphs(frame, font);
}

void scanXObject(Frame *frame, const std::string &name)
{
    QPDFObjectHandle object = use(frame, XOBJECT, name);
    if (object.isStream() && object.getDict().getKey("/Subtype").isNameAndEquals("/Form"))
        scanForm(frame, object);
    if (object.isStream() && imageNeedsWork(object))
        frame->page->needs |= NEED_IMAGES;
    if (isImage(object) && isMasked(object))
        noteTransparency(frame);
}

void scanPattern(Frame *frame, const std::string &name)
{
    QPDFObjectHandle pattern = use(frame, PATTERN, name);
    frame->page->needs |= NEED_PATTERNS;
    if (pattern.isStream())
        scanForm(frame, pattern); /* a cell is content like that of a form */
}

void scanShown(Frame *frame, const Operation &operation)
{
    if (!frame->hasOwnFont)
        frame->inheritsFont = true;
    QPDFObjectHandle font = frame->state.now.text.font;
    if (!font.isInitialized() || !font.isDictionary())
        return;
    FontUse *shown = simpleFontUse(frame->document, font);
    if (!shown)
        return;
    for (const Token &token : operation.operands)
        if (token.kind == TokenKind::STRING || token.kind == TokenKind::HEX_STRING)
            noteShown(shown, token);
}

void scanGraphicsState(Frame *frame, const std::string &name)
{
    QPDFObjectHandle state = use(frame, EXTGSTATE, name);
    if (state.getKeyIfDict("/Font").isArray())
        frame->page->needs |= NEED_COMPOSITE; /* the converter does not select it */
    if (hasLineParameters(state))
        frame->page->needs |= NEED_COLOURS;
}

void scanSpace(Frame *frame, QPDFObjectHandle space)
{
    if (!isConvertedSpace(space))
        return;
    frame->page->needs |= NEED_COLOURS;
    SpacePtr read = readSpace(frame->scope, space);
    if (read && paintsNothing(*read))
        frame->page->needs |= NEED_PATTERNS; /* they can paint nothing, too */
}

/* An inline image names its colour space behind /CS or /ColorSpace. */
void scanInlineImage(Frame *frame, const Operation &operation)
{
    const std::vector<Token> &tokens = operation.operands;
    for (size_t i = 0; i + 1 < tokens.size(); i++)
        if ((tokens[i].source == "/CS" || tokens[i].source == "/ColorSpace") &&
            tokens[i + 1].kind == TokenKind::NAME)
            scanSpace(frame, use(frame, COLORSPACE, nameValue(tokens[i + 1].source)));
    if (inlineImageNeedsWork(operation))
        frame->page->needs |= NEED_INLINE_IMAGES;
}

enum class Kind { XOBJECT, GSTATE, COLORSPACE, COLOUR, SHADING, MARK, FONT, SHOW, IMAGE };

const std::unordered_map<std::string_view, Kind> kinds = {
    {"Do", Kind::XOBJECT},    {"gs", Kind::GSTATE},  {"cs", Kind::COLORSPACE},
    {"CS", Kind::COLORSPACE}, {"scn", Kind::COLOUR}, {"SCN", Kind::COLOUR},
    {"sh", Kind::SHADING},    {"BDC", Kind::MARK},   {"DP", Kind::MARK},
    {"Tf", Kind::FONT},       {"Tj", Kind::SHOW},    {"TJ", Kind::SHOW},
    {"'", Kind::SHOW},        {"\"", Kind::SHOW},    {"BI", Kind::IMAGE},
};

std::string lastName(const Operation &operation)
{
    if (operation.operands.empty() || operation.operands.back().kind != TokenKind::NAME)
        return "";
    return nameValue(operation.operands.back().source);
}

/* Operators that name a resource in their last operand. */
void scanNamed(Frame *frame, Kind kind, const std::string &name)
{
    switch (kind) {
    case Kind::XOBJECT:
        return scanXObject(frame, name);
    case Kind::GSTATE:
        return scanGraphicsState(frame, name);
    case Kind::COLORSPACE:
        return scanSpace(frame, use(frame, COLORSPACE, name));
    case Kind::COLOUR:
        return scanPattern(frame, name);
    case Kind::SHADING:
        use(frame, SHADING, name);
        frame->page->needs |= NEED_PATTERNS;
        return;
    case Kind::MARK:
        use(frame, PROPERTIES, name);
        return;
    default:
        return;
    }
}

void scanOperation(Frame *frame, const Operation &operation)
{
    auto known = kinds.find(operation.name);
    if (known == kinds.end())
        return track(&frame->state, operation);
    Kind kind = known->second;
    if (kind == Kind::SHOW) {
        scanShown(frame, operation);
    } else if (kind == Kind::IMAGE) {
        scanInlineImage(frame, operation);
    } else if (kind == Kind::FONT && operation.operands.size() >= 2) {
        const Token &name = operation.operands[operation.operands.size() - 2];
        if (name.kind == TokenKind::NAME)
            use(frame, FONT, nameValue(name.source));
    } else if (std::string name = lastName(operation); !name.empty()) {
        scanNamed(frame, kind, name);
    }
    track(&frame->state, operation);
    if (kind == Kind::GSTATE && !isOpaque(frame->state.now.transparency))
        noteTransparency(frame);
    bool mayChangeFont = kind == Kind::FONT || kind == Kind::GSTATE;
    if (mayChangeFont && frame->state.now.text.font.isInitialized())
        useFont(frame, frame->state.now.text.font);
}

void scanStream(Frame *frame, const std::string &content)
{
    frame->state.scope = &frame->scope;
    ContentReader reader{content};
    Operation operation;
    while (readOperation(&reader, &operation))
        scanOperation(frame, operation);
}

} // namespace

std::string readContent(QPDFObjectHandle contents, size_t limit, bool *damaged)
{
    if (contents.isStream())
        return decodeStream(contents, limit, damaged);
    std::string content;
    if (!contents.isArray())
        return content;
    for (QPDFObjectHandle stream : contents.getArrayAsVector()) {
        if (!stream.isStream())
            continue;
        content += decodeStream(stream, limit - content.size(), damaged);
        content.push_back('\n');
        if (content.size() >= limit)
            throw LimitReached{"The page's content is too large."};
    }
    return content;
}

void scanPage(Document *document, Page *page)
{
    bool damaged = false;
    page->usage = {};
    page->usage.complete = false; /* until the walk has reached its end */
    page->content = readContent(page->object.getKey("/Contents"), MAX_CONTENT_BYTES, &damaged);
    page->contentRead = true;
    if (damaged) {
        page->needs |= NEED_CONTENT;
        say(document, Message::ContentCut, page->number);
    }
    Frame frame{document, page, {}, nullptr, 0, {}, {}, {}};
    frame.scope.resources = page->object.getKey("/Resources");
    scanStream(&frame, page->content);
    page->usage = std::move(frame.own);
}

} // namespace prepare
