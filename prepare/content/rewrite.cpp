/*
 * rewrite.cpp - the chain of handlers, and forms inside content
 *
 * A form with resources of its own that selects its fonts itself means the same wherever it is
 * painted: it is rewritten in place, once.  Any other form gets a copy for each font that it
 * inherits and each set of resources that it relies on.
 */
#include "prepare/content/rewrite.h"

#include <algorithm>

#include "prepare/content/scan.h"
#include "prepare/fonts/store.h"
#include "prepare/paint/transparency.h"

namespace prepare {

namespace {

void rewriteStream(Rewriter *rewriter, const std::string &content);

std::unique_ptr<Rewriter> innerRewriter(const Rewriter *outer, QPDFObjectHandle resources)
{
    auto inner = std::make_unique<Rewriter>();
    inner->document = outer->document;
    inner->page = outer->page;
    inner->passes = outer->passes;
    inner->scope = {resources.isDictionary() ? resources : outer->scope.resources, &outer->scope};
    inner->outer = outer;
    inner->depth = outer->depth + 1;
    inner->state.now.text = outer->state.now.text;
    return inner;
}

/* The new content of a form or glyph; nothing when it stays as it is. */
std::optional<std::string> rewriteInner(const Rewriter *outer, QPDFObjectHandle stream,
                                        QPDFObjectHandle resources)
{
    bool damaged = false;
    std::string content = decodeStream(stream, MAX_CONTENT_BYTES, &damaged);
    std::unique_ptr<Rewriter> inner = innerRewriter(outer, resources);
    inner->bounds = boxOf(stream.getDict().getKey("/BBox"));
    rewriteStream(inner.get(), content);
    if (!inner->taken)
        return std::nullopt;
    return std::move(inner->out);
}

void rewriteFormInPlace(Rewriter *rewriter, QPDFObjectHandle form, QPDFObjectHandle resources)
{
    if (!rewriter->document->rewrittenForms.insert(form.getObjGen()).second)
        return;
    if (auto content = rewriteInner(rewriter, form, resources))
        replaceWithFlate(form, *content);
}

/* The name of the form's copy for this context; empty when it needs none. */
std::string copyForm(Rewriter *rewriter, QPDFObjectHandle form)
{
    Document *document = rewriter->document;
    QPDFObjectHandle font = rewriter->state.now.text.font;
    QPDFObjGen fontKey = font.isInitialized() ? font.getObjGen() : QPDFObjGen();
    FormCopyKey key{form.getObjGen(), fontKey, rewriter->scope.resources.getObjGen(),
                    rewriter->page->number};
    auto known = document->formCopyNames.find(key);
    if (known != document->formCopyNames.end()) {
        if (!known->second.name.empty())
            putResource(rewriter, XOBJECT, known->second.name, known->second.form);
        return known->second.name;
    }
    document->formCopyNames[key] = {}; /* a form that paints itself ends here */
    auto content = rewriteInner(rewriter, form, form.getDict().getKey("/Resources"));
    if (!content)
        return "";
    if (++document->formCopies > MAX_FORM_COPIES)
        throw LimitReached{"Too many forms rely on what is around them."};
    QPDFObjectHandle copy = form.copyStream();
    replaceWithFlate(copy, *content);
    std::string name = addResource(rewriter, XOBJECT, "/PfX", copy);
    document->formCopyNames[key] = {name, copy};
    return name;
}

/* Rewrites what a Do paints; true when it is to be painted under another name. */
bool takeForm(Rewriter *rewriter, const Operation &operation, std::string *name)
{
    if (operation.name != "Do" || operation.operands.empty() || rewriter->depth >= MAX_FORM_DEPTH)
        return false;
    const Token &operand = operation.operands.back();
    if (operand.kind != TokenKind::NAME)
        return false;
    QPDFObjectHandle form = findResource(rewriter->scope, XOBJECT, nameValue(operand.source));
    if (!form.isStream() || !form.getDict().getKey("/Subtype").isNameAndEquals("/Form"))
        return false;
    if (dependsOnPlace(*rewriter, form))
        return false; /* its handler rewrites it */
    QPDFObjectHandle resources = form.getDict().getKey("/Resources");
    bool inherits = rewriter->document->inheritingForms.count(form.getObjGen()) > 0;
    if (resources.isDictionary() && !inherits) {
        rewriteFormInPlace(rewriter, form, resources);
        return false;
    }
    *name = copyForm(rewriter, form);
    return !name->empty();
}

void rewriteGlyphs(Rewriter *rewriter, QPDFObjectHandle font)
{
    if (!rewriter->document->rewrittenForms.insert(font.getObjGen()).second ||
        rewriter->depth >= MAX_FORM_DEPTH)
        return;
    QPDFObjectHandle resources = font.getKey("/Resources");
    for (auto &[name, glyph] : entriesOf(font.getKey("/CharProcs")))
        if (glyph.isStream())
            if (auto content = rewriteInner(rewriter, glyph, resources))
                replaceWithFlate(glyph, *content);
}

/* Offers an operation to the handlers from `stage` on. */
void offer(Rewriter *rewriter, const Operation &operation, size_t stage)
{
    for (; stage < rewriter->handlers.size(); stage++) {
        size_t before = rewriter->stage;
        rewriter->stage = stage + 1;
        bool taken = rewriter->handlers[stage]->take(rewriter, operation);
        rewriter->stage = before;
        if (taken) {
            rewriter->taken = true;
            return;
        }
    }
    rewriter->out += operation.source;
    if (operation.name == "Do" && !operation.operands.empty())
        rewriter->painted.insert(nameValue(operation.operands.back().source));
}

void rewriteOperation(Rewriter *rewriter, const Operation &operation)
{
    std::string name;
    if (takeForm(rewriter, operation, &name)) {
        rewriter->taken = true;
        rewriter->stage = 0;
        emit(rewriter, nameText(name) + " Do");
    } else {
        offer(rewriter, operation, 0);
    }
    if (!rewriter->isTracked)
        track(&rewriter->state, operation);
    rewriter->isTracked = false;
    QPDFObjectHandle font = rewriter->state.now.text.font;
    if (operation.name == "Tf" && font.isInitialized() && font.isDictionary() &&
        font.getKey("/Subtype").isNameAndEquals("/Type3"))
        rewriteGlyphs(rewriter, font);
}

void rewriteStream(Rewriter *rewriter, const std::string &content)
{
    for (const ContentPass *pass : *rewriter->passes)
        rewriter->handlers.push_back(pass->make());
    rewriter->state.scope = &rewriter->scope;
    if (rewriter->page->needs & NEED_TRANSPARENCY)
        startPainting(rewriter);
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
        rewriter->document->formUsage[resources.getObjGen()].names[category].insert(name);
}

std::optional<std::string> rewriteForm(const Rewriter *outer, QPDFObjectHandle form,
                                       const GraphicsState &begin)
{
    bool damaged = false;
    std::string content = decodeStream(form, MAX_CONTENT_BYTES, &damaged);
    std::unique_ptr<Rewriter> inner = innerRewriter(outer, form.getDict().getKey("/Resources"));
    inner->bounds = boxOf(form.getDict().getKey("/BBox"));
    inner->state.now = begin;
    inner->painting = outer->painting;
    rewriteStream(inner.get(), content);
    if (!inner->taken)
        return std::nullopt;
    return std::move(inner->out);
}

std::string addResource(Rewriter *rewriter, int category, const std::string &prefix,
                        QPDFObjectHandle resource)
{
    std::string name = prefix + std::to_string(++rewriter->document->uniqueNames);
    putResource(rewriter, category, name, resource);
    return name;
}

Box boxOf(QPDFObjectHandle array)
{
    if (!array.isArray() || array.getArrayNItems() < 4)
        return EVERYTHING;
    double v[4];
    for (int i = 0; i < 4; i++)
        v[i] = numberOr(array.getArrayItem(i), 0);
    return {std::min(v[0], v[2]), std::min(v[1], v[3]), std::max(v[0], v[2]), std::max(v[1], v[3])};
}

std::string rewriteCell(const Rewriter *outer, QPDFObjectHandle cell, bool isUncoloured)
{
    bool damaged = false;
    std::string content = decodeStream(cell, MAX_CONTENT_BYTES, &damaged);
    std::unique_ptr<Rewriter> inner = innerRewriter(outer, cell.getDict().getKey("/Resources"));
    inner->bounds = boxOf(cell.getDict().getKey("/BBox"));
    inner->isUncoloured = isUncoloured;
    inner->state.now = GraphicsState();
    rewriteStream(inner.get(), content);
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
    rewriteStream(&rewriter, page->content);
    if (!rewriter.taken)
        return;
    page->object.replaceKey("/Contents", newFlateStream(&document->pdf, rewriter.out));
    if (!page->formsUseObjects) /* others have taken the place of some */
        page->usage.names[XOBJECT] = std::move(rewriter.painted);
}

} // namespace prepare
