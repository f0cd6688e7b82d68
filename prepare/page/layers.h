/*
 * layers.h - optional content: what the document's default settings turn off in print
 */
#ifndef PREPARE_PAGE_LAYERS_H
#define PREPARE_PAGE_LAYERS_H

#include "prepare/content/evaluate.h"
#include "prepare/content/rewrite.h"
#include "prepare/document/document.h"

namespace prepare {

/* Reads the default settings of the document's groups; without any, everything is visible. */
void loadLayers(Document *document);

/* Is what carries this under /OC, a group or a membership, turned off? */
bool isOff(Document *document, QPDFObjectHandle group);

/* The same of a form or image. */
bool isPaintOff(Document *document, QPDFObjectHandle object);

/* Silences what is off.  It goes on setting the state: paths end without being painted, text moves
 * on without being seen. */
extern const ContentPass layerPass;

extern const Observer layerObserver;

} // namespace prepare

#endif
