/*
 * document.cpp - notices, streams in and out, and small readers of objects
 */
#include "prepare/document/document.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <stdexcept>

#include <qpdf/Pipeline.hh>
#include <zlib.h>

namespace prepare {

namespace {

/* Takes what a stream decodes to.  What is thrown here must pass libqpdf's own handlers, which
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

const char *categoryKey(int category)
{
    static const char *const keys[CATEGORIES] = {
        "/XObject", "/Font", "/ExtGState", "/ColorSpace", "/Pattern", "/Shading", "/Properties"};
    return keys[category];
}

QPDFObjectHandle entryOf(const Page &page, const char *key)
{
    QPDFObjectHandle object = page.object;
    return object.getKeyIfDict(key);
}

QPDFObjectHandle entryOf(QPDFObjectHandle object, const char *key)
{
    bool isDictionary = object.isInitialized() && object.isDictionary();
    return isDictionary ? object.getKey(key) : QPDFObjectHandle::newNull();
}

std::map<std::string, QPDFObjectHandle> entriesOf(QPDFObjectHandle object)
{
    if (!object.isInitialized() || !object.isDictionary())
        return {};
    return object.getDictAsMap();
}

void say(Document *document, Message message, int page,
         std::initializer_list<std::string_view> values)
{
    document->notices->add(seam::notice(message, page, values));
}

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

double numberOr(QPDFObjectHandle object, double otherwise)
{
    double value = otherwise;
    try {
        if (object.isNumber())
            value = object.getNumericValue();
    } catch (const std::range_error &) { /* more digits than libqpdf's integers have */
        return otherwise;
    }
    return std::isfinite(value) ? value : otherwise;
}

int integerOr(QPDFObjectHandle object, int otherwise)
{
    if (!object.isNumber())
        return otherwise;
    double value = numberOr(object, otherwise);
    return (int)std::clamp(value, (double)INT_MIN, (double)INT_MAX);
}

std::string nameOr(QPDFObjectHandle object, const std::string &otherwise)
{
    return object.isName() ? object.getName() : otherwise;
}

} // namespace prepare
