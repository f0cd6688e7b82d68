/*
 * streams.cpp - decoding by libqpdf, compression by zlib
 */
#include "prepare/model/streams.h"

#include <new>

#include <qpdf/Pipeline.hh>
#include <zlib.h>

namespace prepare {

namespace {

/* Keeps what a stream decodes to.  What is thrown here must pass libqpdf's own handlers, which
 * turn every std::exception into a warning. */
struct Sink : Pipeline {
    Sink(std::string *into, size_t most) : Pipeline("decoded", nullptr), text(into), limit(most) {}

    void write(unsigned char const *data, size_t size) override
    {
        if (size > limit - text->size())
            throw LimitReached{"A stream is too large when decoded."};
        text->append(reinterpret_cast<const char *>(data), size);
    }

    void finish() override {}

    std::string *text;
    size_t limit;
};

std::string deflated(const std::string &data)
{
    uLongf size = compressBound(data.size());
    std::string packed(size, '\0');
    if (compress2(reinterpret_cast<Bytef *>(packed.data()), &size,
                  reinterpret_cast<const Bytef *>(data.data()), data.size(),
                  Z_DEFAULT_COMPRESSION) != Z_OK)
        throw std::bad_alloc();
    packed.resize(size);
    return packed;
}

} // namespace

QPDFObjectHandle newFlateStream(QPDF *pdf, const std::string &data)
{
    QPDFObjectHandle stream = QPDFObjectHandle::newStream(pdf);
    replaceWithFlate(stream, data);
    return stream;
}

void replaceWithFlate(QPDFObjectHandle stream, const std::string &data)
{
    stream.replaceStreamData(deflated(data), QPDFObjectHandle::newName("/FlateDecode"),
                             QPDFObjectHandle::newNull());
}

std::string decodeStream(QPDFObjectHandle stream, size_t limit, bool *damaged)
{
    std::string text;
    Sink sink(&text, limit);
    bool good = false;
    try {
        bool attempted = false;
        good = stream.pipeStreamData(&sink, &attempted, 0, qpdf_dl_generalized, true, false) &&
               attempted;
        if (!attempted)
            text.clear(); /* a filter that is not for content, or is not known */
    } catch (const std::exception &) {
        good = false;
    }
    if (!good && damaged)
        *damaged = true;
    return text;
}

std::string readContent(QPDFObjectHandle contents, size_t limit, bool *damaged)
{
    if (contents.isStream())
        return decodeStream(contents, limit, damaged);
    std::string content;
    if (!contents.isArray())
        return content;
    for (QPDFObjectHandle stream : contents.getArrayAsVector()) {
        if (!stream.isStream())
            continue;
        content += decodeStream(stream, limit - content.size(), damaged);
        content.push_back('\n');
        if (content.size() >= limit)
            throw LimitReached{"The page's content is too large."};
    }
    return content;
}

} // namespace prepare
