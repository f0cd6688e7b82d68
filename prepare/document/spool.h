/*
 * spool.h - data of streams that is to be written in clear
 *
 * The file is written when all pages are done.  Until then a little of such data stays in memory,
 * and the rest waits in a temporary file without a name.
 */
#ifndef PREPARE_DOCUMENT_SPOOL_H
#define PREPARE_DOCUMENT_SPOOL_H

#include <string_view>

#include "prepare/document/document.h"

namespace prepare {

/* A new stream with this data, without a filter; indirect.  Throws std::runtime_error when there is
 * no room for it. */
QPDFObjectHandle newClearStream(Document *document, std::string_view data);

/* Puts other data into a stream, without a filter. */
void replaceWithClear(Document *document, QPDFObjectHandle stream, std::string_view data);

constexpr size_t MOST_IN_MEMORY = 8u << 20; /* bytes, of a document */

} // namespace prepare

#endif
