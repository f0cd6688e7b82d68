/*
 * rewrite.cpp - the chain of handlers, and forms inside content
 *
 * A form with resources of its own that takes nothing from the state around it which a pass
 * replaces means the same wherever it is painted: it is rewritten in place, once.  Any other form
 * gets a copy for each font, paint and set of resources that it inherits; and for each place where
 * it inherits a pattern, because a pattern lies on the page and not on the form (8.7.3.1).
 */
#include "prepare/content/rewrite.h"

#include <algorithm>
#include <tuple>

#include "prepare/content/evaluate.h"

namespace prepare {

namespace {

/* A form as it is painted in one context. */
struct FormCopyKey {
    QPDFObjGen form, font, resources;
    int page;
    std::string paints; /* that it inherits and a pass replaces */
    bool operator<(const FormCopyKey &other) const
    {
        return std::tie(form, font, resources, page, paints) <
               std::tie(other.form, other.font, other.resources, other.page, other.paints);
    }
};

struct FormCopy {
    std::string name; /* empty: it needs no copy */
    QPDFObjectHandle form;
    bool isLeftOut = false; /* there are too many */
};

struct RewriteMemo {
    std::set<QPDFObjGen> rewritten;                   /* forms in place, and Type 3 fonts */
    std::map<QPDFObjGen, QPDFObjectHandle> originals; /* of forms that may be copied afterwards */
    std::map<FormCopyKey, FormCopy> copies;
    int page = 0, copiesOfPage = 0;
};

RewriteMemo &memoOf(const Rewriter *rewriter)
{
    return rewriter->document->memos.of<RewriteMemo>();
}

void rewriteContent(Rewriter *rewriter, const std::string &content);

std::unique_ptr<Rewriter> innerRewriter(const Rewriter *outer, QPDFObjectHandle stream,
                                        QPDFObjectHandle resources, const ResourceScope &around,
                                        const GraphicsState &begin)
{
    auto inner = std::make_unique<Rewriter>();
    inner->document = outer->document;
    inner->page = outer->page;
    inner->passes = outer->passes;
    inner->scope = {resources.isDictionary() ? resources : around.resources, &around};
    inner->outer = outer;
    inner->depth = outer->depth + 1;
    inner->bounds = boxOf(stream.getDict().getKey("/BBox"));
    beginContent(&inner->state, &inner->scope, begin);
    return inner;
}

/* The content as the document has it. */
std::string contentOf(const Rewriter *rewriter, QPDFObjectHandle stream)
{
    const RewriteMemo &memo = memoOf(rewriter);
    auto original = memo.originals.find(stream.getObjGen());
    if (original != memo.originals.end())
        stream = original->second;
    bool damaged = false;
    return decodeStream(stream, MAX_CONTENT_BYTES, &damaged);
}

/* What a form inherits that is the same wherever it is painted. */
GraphicsState withoutPlace(const GraphicsState &outer)
{
    GraphicsState begin;
    begin.text = outer.text;
    begin.fill = outer.fill;
    begin.stroke = outer.stroke;
    return inherited(begin);
}

/* The new content of a form or glyph; nothing when it stays as it is. */
std::optional<std::string> rewriteInner(const Rewriter *outer, QPDFObjectHandle stream,
                                        QPDFObjectHandle resources, const GraphicsState &begin,
                                        bool isPlaced)
{
    auto inner = innerRewriter(outer, stream, resources, outer->scope, begin);
    inner->isPlaced = isPlaced;
    rewriteContent(inner.get(), contentOf(outer, stream));
    if (!inner->isRewritten)
        return std::nullopt;
    return std::move(inner->out);
}

void rewriteFormInPlace(Rewriter *rewriter, QPDFObjectHandle form, const Inheritance &inheritance)
{
    RewriteMemo &memo = memoOf(rewriter);
    if (!memo.rewritten.insert(form.getObjGen()).second)
        return;
    auto content = rewriteInner(rewriter, form, form.getDict().getKey("/Resources"),
                                withoutPlace(rewriter->state.now), false);
    if (!content)
        return;
    bool isPlacedElsewhere = needsOf(rewriter->document, form) & NEED_TRANSPARENCY;
    if (inheritance.fill || inheritance.stroke || isPlacedElsewhere)
        memo.originals[form.getObjGen()] = form.copyStream();
    replaceWithFlate(form, *content);
}

/* ---- copies */

bool isReplaced(const Rewriter &rewriter, const Paint &paint)
{
    return std::any_of(rewriter.passes->begin(), rewriter.passes->end(),
                       [&](auto *pass) { return pass->replaces && pass->replaces(paint); });
}

/* What tells an inherited paint from others; empty: no pass replaces it. */
std::string keyOfPaint(const Rewriter &rewriter, const Paint &paint)
{
    if (!isReplaced(rewriter, paint))
        return "";
    std::string key = "space " + QPDFObjectHandle(paint.space->object()).unparse();
    if (!isPattern(paint))
        return key;
    for (double value : paint.values)
        key += " " + numberText(value);
    constexpr int PLACES = 6;
    const GraphicsState &now = rewriter.state.now;
    key += " at " + numbersText(now.ctm, PLACES) + rectangleText(now.clip);
    if (paint.pattern)
        key += QPDFObjectHandle(paint.pattern->object).unparse() + " from " +
               numbersText(paint.pattern->base, PLACES);
    return key;
}

/* Does a form paint in a pattern from outside? */
bool inheritsPattern(const Rewriter &rewriter, const Inheritance &inheritance)
{
    const GraphicsState &now = rewriter.state.now;
    return (inheritance.fill && isPattern(now.fill)) ||
           (inheritance.stroke && isPattern(now.stroke));
}

bool mayCopy(const Rewriter *rewriter)
{
    RewriteMemo &memo = memoOf(rewriter);
    if (memo.page != rewriter->page->number) {
        memo.page = rewriter->page->number;
        memo.copiesOfPage = 0;
    }
    return memo.copiesOfPage < MAX_FORM_COPIES;
}

FormCopy newCopy(Rewriter *rewriter, QPDFObjectHandle form, bool followsPattern)
{
    const GraphicsState &now = rewriter->state.now;
    if (!mayCopy(rewriter))
        return {"", {}, true};
    auto content = rewriteInner(rewriter, form, form.getDict().getKey("/Resources"),
                                followsPattern ? stateInForm(now, form) : withoutPlace(now),
                                followsPattern && rewriter->isPlaced);
    if (!content)
        return {};
    memoOf(rewriter).copiesOfPage++;
    FormCopy copy = {"", form.copyStream()};
    replaceWithFlate(copy.form, *content);
    copy.name = addResource(rewriter, XOBJECT, "/PfX", copy.form);
    return copy;
}

/* The form is not painted here; what it covers on the page has to be drawn. */
void leaveOut(Rewriter *rewriter, QPDFObjectHandle form)
{
    if (!rewriter->isPlaced)
        return say(rewriter->document, Message::FormsLeftOut, rewriter->page->number);
    const GraphicsState now = stateInForm(rewriter->state.now, form);
    Box box = intersection(now.clip, boxOf(entryOf(*rewriter->page, "/MediaBox")));
    rewriter->page->leftOut = unionOf(rewriter->page->leftOut, box);
}

/* The form's copy for this context. */
FormCopy copyForm(Rewriter *rewriter, QPDFObjectHandle form, const Inheritance &inheritance)
{
    RewriteMemo &memo = memoOf(rewriter);
    const GraphicsState &now = rewriter->state.now;
    FormCopyKey key{form.getObjGen(),
                    now.text.font.isInitialized() ? now.text.font.getObjGen() : QPDFObjGen(),
                    rewriter->scope.resources.getObjGen(), rewriter->page->number, ""};
    if (inheritance.fill)
        key.paints = keyOfPaint(*rewriter, now.fill);
    if (inheritance.stroke)
        key.paints += "/" + keyOfPaint(*rewriter, now.stroke);
    if (memo.copies.try_emplace(key).second) /* a form that paints itself finds an empty one */
        memo.copies[key] = newCopy(rewriter, form, inheritsPattern(*rewriter, inheritance));
    FormCopy copy = memo.copies[key];
    if (!copy.name.empty())
        putResource(rewriter, XOBJECT, copy.name, copy.form);
    return copy;
}

/* Rewrites what a Do paints; true when it is to be painted under another name, or, where that is
 * empty, not at all. */
bool visitForm(Rewriter *rewriter, const Operation &operation, std::string *name)
{
    if (operation.op->id != Op::PAINT_OBJECT || rewriter->depth >= MAX_FORM_DEPTH)
        return false;
    QPDFObjectHandle form = namedResource(rewriter->scope, XOBJECT, operation);
    if (!isForm(form))
        return false;
    for (const std::unique_ptr<Handler> &handler : rewriter->handlers)
        if (handler->placesForm(*rewriter, form))
            return false;
    Inheritance inheritance = inheritanceOf(rewriter->document, form);
    const GraphicsState &now = rewriter->state.now;
    bool inheritsReplaced = (inheritance.fill && isReplaced(*rewriter, now.fill)) ||
                            (inheritance.stroke && isReplaced(*rewriter, now.stroke));
    bool isOwn = form.getDict().getKey("/Resources").isDictionary();
    if (isOwn && !inheritance.font && !inheritsReplaced) {
        rewriteFormInPlace(rewriter, form, inheritance);
        return false;
    }
    FormCopy copy = copyForm(rewriter, form, inheritance);
    *name = copy.name;
    if (copy.isLeftOut)
        leaveOut(rewriter, form);
    return copy.isLeftOut || !name->empty();
}

void rewriteGlyphs(Rewriter *rewriter, QPDFObjectHandle font)
{
    if (rewriter->depth >= MAX_FORM_DEPTH ||
        !memoOf(rewriter).rewritten.insert(font.getObjGen()).second)
        return;
    QPDFObjectHandle resources = font.getKey("/Resources");
    GraphicsState begin = withoutPlace(rewriter->state.now);
    for (auto &[name, glyph] : entriesOf(font.getKey("/CharProcs")))
        if (glyph.isStream())
            if (auto content = rewriteInner(rewriter, glyph, resources, begin, false))
                replaceWithFlate(glyph, *content);
}

/* ---- operations */

/* Offers an operation to the handlers from `stage` on. */
void offer(Rewriter *rewriter, const Operation &operation, size_t stage)
{
    for (; stage < rewriter->handlers.size(); stage++) {
        size_t before = rewriter->stage;
        rewriter->stage = stage + 1;
        bool isHandled = rewriter->handlers[stage]->visit(rewriter, operation);
        rewriter->stage = before;
        if (isHandled) {
            rewriter->isRewritten = true;
            return;
        }
    }
    rewriter->out += operation.source;
    if (operation.op->id == Op::PAINT_OBJECT && !operation.operands.empty())
        rewriter->painted.insert(nameValue(operation.operands.back().source));
}

void rewriteOperation(Rewriter *rewriter, const Operation &operation)
{
    std::string name;
    if (visitForm(rewriter, operation, &name)) {
        rewriter->isRewritten = true;
        rewriter->stage = 0;
        emit(rewriter, name.empty() ? "" : nameText(name) + " Do");
    } else {
        offer(rewriter, operation, 0);
    }
    if (!rewriter->isTracked)
        track(&rewriter->state, operation);
    rewriter->isTracked = false;
    QPDFObjectHandle font = rewriter->state.now.text.font;
    if (operation.op->id == Op::FONT_SIZE && font.isInitialized() && font.isDictionary() &&
        font.getKey("/Subtype").isNameAndEquals("/Type3"))
        rewriteGlyphs(rewriter, font);
}

void rewriteContent(Rewriter *rewriter, const std::string &content)
{
    for (const ContentPass *pass : *rewriter->passes)
        rewriter->handlers.push_back(pass->make());
    for (const std::unique_ptr<Handler> &handler : rewriter->handlers)
        handler->begin(rewriter);
    ContentReader reader{content};
    Operation operation;
    while (readOperation(&reader, &operation))
        rewriteOperation(rewriter, operation);
    for (size_t i = 0; i < rewriter->handlers.size(); i++) {
        rewriter->stage = i + 1;
        rewriter->handlers[i]->end(rewriter);
    }
    rewriter->out += operation.source;
}

/* The name under which a space is a resource here. */
const std::string &nameOfSpace(Rewriter *rewriter, const SpaceRef &space)
{
    std::string &name = rewriter->spaceNames[space];
    if (!name.empty())
        return name;
    QPDFObjectHandle entries = entryOf(rewriter->scope.resources, categoryKey(COLORSPACE));
    for (auto &[known, object] : entriesOf(entries))
        if (object.isSameObjectAs(space->object()))
            name = known;
    if (name.empty())
        name = newName(rewriter->document, "/PfC");
    putResource(rewriter, COLORSPACE, name, space->object());
    return name;
}

} // namespace

void emit(Rewriter *rewriter, const std::string &content)
{
    ContentReader reader{content};
    Operation operation;
    size_t stage = rewriter->stage;
    if (!rewriter->out.empty() && !isWhite(rewriter->out.back()))
        rewriter->out.push_back('\n');
    while (readOperation(&reader, &operation))
        offer(rewriter, operation, stage);
    rewriter->out += operation.source;
}

Handler *handlerOf(const Rewriter &rewriter, const ContentPass &pass)
{
    for (size_t i = 0; i < rewriter.handlers.size(); i++)
        if ((*rewriter.passes)[i] == &pass)
            return rewriter.handlers[i].get();
    return nullptr;
}

void putResource(Rewriter *rewriter, int category, const std::string &name,
                 QPDFObjectHandle resource)
{
    QPDFObjectHandle resources = rewriter->scope.resources;
    QPDFObjectHandle entries = resources.getKey(categoryKey(category));
    if (!entries.isDictionary())
        entries =
            resources.replaceKeyAndGetNew(categoryKey(category), QPDFObjectHandle::newDictionary());
    if (!entries.hasKey(name))
        entries.replaceKey(name, resource);
    if (rewriter->depth == 0)
        rewriter->page->usage.names[category].insert(name);
    else if (resources.isIndirect())
        usagesOfForms(rewriter->document)[resources.getObjGen()].names[category].insert(name);
}

std::string addResource(Rewriter *rewriter, int category, const std::string &prefix,
                        QPDFObjectHandle resource)
{
    std::string name = newName(rewriter->document, prefix);
    putResource(rewriter, category, name, resource);
    return name;
}

std::string selectText(Rewriter *rewriter, const Paint &paint, bool isStroke)
{
    if (isPattern(paint))
        return "";
    QPDFObjectHandle object = paint.space->object();
    bool isResource = object.isInitialized() && !object.isName();
    if (!isResource || isReplaced(*rewriter, paint))
        return colourText(deviceColourOf(paint), isStroke);
    std::string text = nameOfSpace(rewriter, paint.space) + (isStroke ? " CS" : " cs");
    constexpr int PLACES = 9;
    for (double value : paint.values)
        text += " " + numberText(value, PLACES);
    return text + (paint.values.empty() ? "" : isStroke ? " SCN" : " scn");
}

std::optional<std::string> rewriteForm(const Rewriter *outer, QPDFObjectHandle form,
                                       const GraphicsState &begin)
{
    auto inner = innerRewriter(outer, form, form.getDict().getKey("/Resources"), outer->scope,
                               begin);
    inner->isPlaced = outer->isPlaced;
    inner->joinsOuter = true;
    rewriteContent(inner.get(), contentOf(outer, form));
    if (!inner->isRewritten)
        return std::nullopt;
    return std::move(inner->out);
}

std::string rewriteCell(const Rewriter *outer, QPDFObjectHandle cell, const ResourceScope &around,
                        bool isUncoloured)
{
    auto inner = innerRewriter(outer, cell, cell.getDict().getKey("/Resources"), around, {});
    inner->isUncoloured = isUncoloured;
    rewriteContent(inner.get(), contentOf(outer, cell));
    return std::move(inner->out);
}

void rewritePage(Document *document, Page *page, const std::vector<const ContentPass *> &passes)
{
    Rewriter rewriter;
    rewriter.document = document;
    rewriter.page = page;
    rewriter.passes = &passes;
    rewriter.scope.resources = page->object.getKey("/Resources");
    rewriter.bounds = boxOf(page->object.getKey("/MediaBox"));
    rewriter.isPlaced = true;
    beginContent(&rewriter.state, &rewriter.scope);
    rewriteContent(&rewriter, page->content);
    if (!rewriter.isRewritten)
        return;
    if (document->options.isCanonical) { /* it is looked at again, and written in clear */
        page->content = std::move(rewriter.out);
        page->contentOf = QPDFObjectHandle::newStream(&document->source.pdf, page->content);
        page->object.replaceKey("/Contents", page->contentOf);
        page->isContentOurs = true;
    } else {
        page->object.replaceKey("/Contents", newFlateStream(&document->source.pdf, rewriter.out));
    }
    if (!page->formsUseObjects) /* others have taken the place of some */
        page->usage.names[XOBJECT] = std::move(rewriter.painted);
}

} // namespace prepare
