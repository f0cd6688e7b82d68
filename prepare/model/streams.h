/*
 * streams.h - the data of streams, decoded and put in place
 */
#ifndef PREPARE_MODEL_STREAMS_H
#define PREPARE_MODEL_STREAMS_H

#include <string>

#include "prepare/model/qpdf.h"

namespace prepare {

/* Decoded content of one page with its forms, and any other stream at most. */
constexpr size_t MAX_CONTENT_BYTES = 256u << 20;

/* Something met a bound of ours; whoever can do without it goes on.  No std::exception, which
 * libqpdf would turn into a warning of its own. */
struct LimitReached {
    std::string text;
};

/* A stream with this data, compressed; indirect. */
QPDFObjectHandle newFlateStream(QPDF *pdf, const std::string &data);

/* Puts other data into a stream, compressed. */
void replaceWithFlate(QPDFObjectHandle stream, const std::string &data);

/* Decodes a stream as far as its data goes; `damaged` is set when that is not to its end.  Throws
 * LimitReached beyond `limit` bytes. */
std::string decodeStream(QPDFObjectHandle stream, size_t limit, bool *damaged);

/* The content of a page or stream, decoded; several streams are joined by a line feed. */
std::string readContent(QPDFObjectHandle contents, size_t limit, bool *damaged);

} // namespace prepare

#endif
