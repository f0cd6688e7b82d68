/*
 * write.h - the prepared document as a file
 */
#ifndef PREPARE_DOCUMENT_WRITE_H
#define PREPARE_DOCUMENT_WRITE_H

#include "prepare/document/document.h"

namespace prepare {

/* Writes the chosen pages and what they use: classic tables, no encryption, the data of streams as
 * it stands.  Throws what libqpdf throws when it cannot. */
void writeDocument(Document *document, const std::string &path);

} // namespace prepare

#endif
