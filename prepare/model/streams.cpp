/*
 * streams.cpp - decoding by libdeflate where that is all, else by libqpdf; compression by zlib
 */
#include "prepare/model/streams.h"

#include <algorithm>
#include <memory>
#include <new>

#include <libdeflate.h>
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

/* Is Flate, without a predictor, all that is to be undone? */
bool isPlainFlate(QPDFObjectHandle dict)
{
    QPDFObjectHandle filter = dict.getKey("/Filter");
    if (filter.isArray() && filter.getArrayNItems() == 1)
        filter = filter.getArrayItem(0);
    return filter.isName() && (filter.getName() == "/FlateDecode" || filter.getName() == "/Fl") &&
           dict.getKey("/DecodeParms").isNull() && dict.getKey("/DP").isNull() &&
           dict.getKey("/F").isNull();
}

/* The data as it stands in the file, without encryption. */
bool readRaw(QPDFObjectHandle stream, size_t limit, std::string *data)
{
    Sink sink(data, limit);
    bool attempted = false;
    return stream.pipeStreamData(&sink, &attempted, 0, qpdf_dl_none, true, false);
}

using Decompressor = std::unique_ptr<libdeflate_decompressor, void (*)(libdeflate_decompressor *)>;

/* Undoes Flate that is whole, ends where the data does, and makes no more than `limit`; else the
 * text is left empty. */
bool inflateWhole(const std::string &data, size_t limit, std::string *text)
{
    constexpr size_t USUAL_RATIO = 4;
    Decompressor decompressor(libdeflate_alloc_decompressor(), libdeflate_free_decompressor);
    if (!decompressor)
        throw std::bad_alloc();
    libdeflate_result result = LIBDEFLATE_INSUFFICIENT_SPACE;
    size_t used = 0, made = 0;
    for (size_t room = USUAL_RATIO * data.size();
         result == LIBDEFLATE_INSUFFICIENT_SPACE && text->size() < limit; room *= 4) {
        text->resize(std::min(room, limit));
        result = libdeflate_zlib_decompress_ex(decompressor.get(), data.data(), data.size(),
                                               text->data(), text->size(), &used, &made);
    }
    text->resize(result == LIBDEFLATE_SUCCESS ? made : 0);
    return result == LIBDEFLATE_SUCCESS;
}

/* The same as decodeStream, for a stream that is as most are; false: it is not. */
bool decodePlain(QPDFObjectHandle stream, size_t limit, std::string *text)
{
    constexpr size_t LEAST = 64, MOST = 64 << 20; /* bytes of data */
    std::string data;
    return isPlainFlate(stream.getDict()) && readRaw(stream, std::min(limit, MOST), &data) &&
           data.size() >= LEAST && inflateWhole(data, limit, text);
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
        if (decodePlain(stream, limit, &text))
            return text;
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
