/*
 * fileinput.h - the file of a document, as libqpdf reads it
 */
#ifndef PREPARE_DOCUMENT_FILEINPUT_H
#define PREPARE_DOCUMENT_FILEINPUT_H

#include <memory>
#include <string>

#include <qpdf/InputSource.hh>

namespace prepare {

/* A file that stays open as long as the source lives.  Its length is what it is now: when it cannot
 * be read up to there any more, reading throws.  Throws std::runtime_error when it cannot be
 * opened. */
std::shared_ptr<InputSource> openFileInput(const std::string &path);

} // namespace prepare

#endif
