/*
 * rewrite.h - one walk over content with a chain of handlers
 *
 * Each operation is offered to the handlers in turn.  One that handles it writes what stands in its
 * place with `emit`, and the handlers behind it see that as operations again.  What no one handles
 * is copied as it stood; content in which nothing was handled keeps its object and bytes.  Forms
 * and glyphs of Type 3 fonts are rewritten when they are met.
 */
#ifndef PREPARE_CONTENT_REWRITE_H
#define PREPARE_CONTENT_REWRITE_H

#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "prepare/content/track.h"
#include "prepare/document/document.h"

namespace prepare {

struct Rewriter;

/* One pass's view of one piece of content (a page, form or glyph); made anew for each. */
struct Handler {
    virtual ~Handler() = default;

    /* The content begins. */
    virtual void begin(Rewriter *) {}

    /* Handles the operation and answers true, or leaves it to the others.  rewriter->state is that
     * before the operation of the document; what handlers in front wrote is not in it. */
    virtual bool visit(Rewriter *rewriter, const Operation &operation) = 0;

    /* Does this handler rewrite a form itself, because it is another one in each place? */
    virtual bool placesForm(const Rewriter &, QPDFObjectHandle) const { return false; }

    /* The content has ended. */
    virtual void end(Rewriter *) {}
};

/* A pass that works on content.  It has a part where the page has one of its needs. */
struct ContentPass {
    const char *name;
    uint32_t wanted;
    std::unique_ptr<Handler> (*make)();

    /* Is what is painted in this not in the content any more once the pass has been over it?  Then
     * a form that inherits it must be told by a copy of its own.  Null: never. */
    bool (*replaces)(const Paint &) = nullptr;
};

struct Rewriter {
    Document *document;
    Page *page;
    const std::vector<const ContentPass *> *passes;
    ResourceScope scope; /* its resources may be added to */
    const Rewriter *outer = nullptr;
    int depth = 0;
    Box bounds = EVERYTHING;   /* of what may be painted, in the space in which the content begins */
    bool isUncoloured = false; /* a pattern's cell that is painted in a colour from outside */
    bool isPlaced = false;     /* the state's matrices lead to the page: it is painted just there */
    bool joinsOuter = false;   /* what it paints is painted by the content around it */
    ContentState state;
    std::vector<std::unique_ptr<Handler>> handlers; /* one for each pass */
    size_t stage = 0; /* handlers before this one have seen the operation */
    std::string out;
    std::set<std::string> painted; /* names of what the new content paints */
    bool isRewritten = false;
    bool isTracked = false; /* a handler has brought the state behind this operation itself */
    std::map<SpaceRef, std::string> spaceNames; /* here, of those that were asked for */
};

/* Forms of one page that are copied for what they inherit.  Those beyond are left out, and become
 * part of page->leftOut. */
constexpr int MAX_FORM_COPIES = 512;

/* Writes content in place of the operation that the calling handler handles. */
void emit(Rewriter *rewriter, const std::string &content);

/* Runs the content passes over a form as it is painted in one place, where its content begins in
 * this state; nothing when it stays as it is.  What it paints joins what is painted around it. */
std::optional<std::string> rewriteForm(const Rewriter *outer, QPDFObjectHandle form,
                                       const GraphicsState &begin);

/* Adds a resource under a name that stands nowhere else in the document; answers it. */
std::string addResource(Rewriter *rewriter, int category, const std::string &prefix,
                        QPDFObjectHandle resource);

/* Puts a resource under this name, if the scope does not have it there already. */
void putResource(Rewriter *rewriter, int category, const std::string &name,
                 QPDFObjectHandle resource);

/* Operators that select a paint, with the resource that they name; empty for patterns, which have
 * no operators once their pass is done. */
std::string selectText(Rewriter *rewriter, const Paint &paint, bool isStroke);

/* Runs the content passes over a pattern's cell, which inherits nothing; its content in the end.
 * The resources are the cell's own, or else those of `around`, where the pattern was selected. */
std::string rewriteCell(const Rewriter *outer, QPDFObjectHandle cell, const ResourceScope &around,
                        bool isUncoloured);

/* The handler of a pass in this content; null: the pass has no part. */
Handler *handlerOf(const Rewriter &rewriter, const ContentPass &pass);

/* Runs the content passes over a page's content (page->content) and all that it paints, and puts
 * the new content in place when there is any.  Throws LimitReached. */
void rewritePage(Document *document, Page *page, const std::vector<const ContentPass *> &passes);

} // namespace prepare

#endif
