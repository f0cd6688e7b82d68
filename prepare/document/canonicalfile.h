/*
 * canonicalfile.h - writing a canonical document
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

} // namespace prepare

#endif
