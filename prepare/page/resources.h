/*
 * resources.h - resources that the content does not use
 */
#ifndef PREPARE_PAGE_RESOURCES_H
#define PREPARE_PAGE_RESOURCES_H

#include "prepare/document/document.h"

namespace prepare {

/* Would the converter stop at something in the page's resources, or print it wrong?  Forms in use
 * are followed.  Needs the page scanned. */
bool resourcesNeedWork(Document *document, const Page &page);

/* Gives the page a resource dictionary of its own that holds what the page uses, and no patterns
 * when it uses none.  Nothing is dropped that could not be seen to be unused. */
void dropUnused(Document *document, Page *page);

/* The same for the resources of forms and glyphs, when all pages are done. */
void dropUnusedInForms(Document *document);

/* Does a form or glyph paint itself, through others too? */
bool hasLoops(Document *document);

/* Removes forms and glyphs that paint themselves, and what is nested deeper than anybody
 * nests. */
void cutLoops(Document *document);

} // namespace prepare

#endif
