/*
 * evaluate.h - one walk over all that a page paints, and who watches it
 *
 * The walk reads a page's content once, follows forms, patterns' cells and the glyphs of Type 3
 * fonts, and keeps the graphics state.  It knows no pass: observers are told what is met, and say
 * what the page needs.
 */
#ifndef PREPARE_CONTENT_EVALUATE_H
#define PREPARE_CONTENT_EVALUATE_H

#include <span>

#include "prepare/content/track.h"
#include "prepare/document/document.h"

namespace prepare {

struct Frame; /* evaluate.cpp */

/* What an observer sees of the walk. */
struct Walk {
    Document *document;
    Page *page;
    ContentState *state; /* before the operation; behind it for `selected` */
    Frame *frame;
};

/* The page needs this, and so does everything that is being painted around this place. */
void addNeed(Walk *walk, uint32_t need);

/* A pass that watches.  What does not concern it is null. */
struct Observer {
    const char *name;

    /* Content names a resource of this kind; null: there is none of that name. */
    void (*resource)(Walk *, int category, const std::string &name,
                     QPDFObjectHandle found) = nullptr;
    void (*font)(Walk *, QPDFObjectHandle font) = nullptr; /* selected, by Tf or gs */
    void (*text)(Walk *, const Operation &) = nullptr;     /* shown */
    void (*inlineImage)(Walk *, const Operation &) = nullptr;
    void (*graphicsState)(Walk *) = nullptr; /* selected; the state is that behind it */
};

/* Reads the page's content into page->content and fills page->usage; adds to page->needs.  Throws
 * LimitReached. */
void evaluatePage(Document *document, Page *page, std::span<const Observer *const> observers);

/* What content takes from the state in which it begins (and from the resources around it). */
struct Inheritance {
    bool font = false;   /* it shows text before it selects a font */
    bool fill = false;   /* it fills, or sets a colour in the space that it finds */
    bool stroke = false; /* the same of strokes */
};

/* Of a form that has been walked. */
Inheritance inheritanceOf(Document *document, QPDFObjectHandle form);
uint32_t needsOf(Document *document, QPDFObjectHandle form);

/* What is used of resources that belong to forms and glyphs, by their object. */
std::map<QPDFObjGen, Usage> &usagesOfForms(Document *document);

} // namespace prepare

#endif
