/*
 * load.h - opening a document, damaged and encrypted ones too
 */
#ifndef PREPARE_DOCUMENT_LOAD_H
#define PREPARE_DOCUMENT_LOAD_H

#include "prepare/document/document.h"

namespace prepare {

/* Opens the file and finds the pages that are wanted.  False, with a notice: there is no way into
 * the document. */
bool loadDocument(Document *document, const std::string &path);

} // namespace prepare

#endif
