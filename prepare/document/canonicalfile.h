/*
 * canonicalfile.h - writing a canonical document, or a page by itself
 */
#ifndef PREPARE_DOCUMENT_CANONICALFILE_H
#define PREPARE_DOCUMENT_CANONICALFILE_H

#include <string>

#include "prepare/model/qpdf.h"

namespace prepare {

/* Writes what the root leads to: objects in the order in which they are first named, streams with
 * their data as it stands, one table of cross-references.  Throws std::runtime_error when the file
 * cannot be written. */
void writeCanonicalFile(QPDFObjectHandle root, const std::string &path);

/* A file in memory with this page, which becomes an indirect object of the document that it is of,
 * and nothing of other pages.  Of data that cannot be read to its end it has what there is. */
std::string singlePageFile(QPDFObjectHandle page);

} // namespace prepare

#endif
