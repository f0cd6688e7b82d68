/*
 * deflate.cpp - libdeflate where all of a text is there, zlib where more follows it
 *
 * libdeflate takes a third of zlib's time, but it ends the stream with what it is given.  So it
 * compresses the last text of a stream, which mostly is all of it, and zlib what stands in front of
 * stored data, or is more than is kept in memory.  Much data is stored by hand, at whole bytes; a
 * little goes through zlib, which remembers the text in front of it for that behind it.
 */
#include "job/deflate.h"

#include <algorithm>
#include <cmath>
#include <new>

namespace job {

namespace {

constexpr size_t MOST_WAITING = 8 << 20; /* bytes of text that are compressed at once */
constexpr size_t WINDOW = 32 << 10;      /* how far back compressed text refers */
constexpr size_t LEAST_WHOLE = 64 << 10; /* bytes of text that need none in front of them */
constexpr size_t PIECE = 64 << 10;       /* bytes of zlib's output */
constexpr int ZLIB_LEVEL = 6, WHOLE_LEVEL = 6;
constexpr uint8_t HEADER[] = {0x78, 0x9C}; /* of a zlib stream: a window of 32 KB */

/* Is it text as of a page?  In what is mostly digits, as a drawing is, and in text with programs of
 * fonts in between zlib finds more to refer to: there the other would be larger by up to a tenth.
 */
bool isPlainText(Bytes text)
{
    constexpr size_t LEAST = 256, SAMPLE = 64 << 10; /* bytes */
    constexpr double LEAST_BITS = 4.0, MOST_BITS = 5.8;
    size_t count = std::min(text.size(), SAMPLE);
    if (count < LEAST) /* of which only zlib makes less */
        return count == 0;
    double bits = bitsPerByte(text.subspan((text.size() - count) / 2, count));
    return bits >= LEAST_BITS && bits <= MOST_BITS;
}

} // namespace

double bitsPerByte(Bytes bytes)
{
    size_t counts[256] = {};
    for (uint8_t byte : bytes)
        counts[byte]++;
    double bits = 0;
    for (size_t count : counts)
        if (count > 0)
            bits -= (double)count * std::log2((double)count / (double)bytes.size());
    return bits / (double)bytes.size();
}

Deflater::~Deflater()
{
    if (hasZlib)
        deflateEnd(&zlib);
}

void Deflater::begin(ByteSink *to)
{
    sink = to;
    checksum = 1;
    isStored = isStreaming = false;
    waiting.clear();
    sink->write(HEADER);
}

void Deflater::write(Bytes bytes)
{
    checksum = libdeflate_adler32(checksum, bytes.data(), bytes.size());
    if (isStored) {
        store(bytes);
        return;
    }
    if (waiting.size() + bytes.size() <= MOST_WAITING) {
        waiting.insert(waiting.end(), bytes.begin(), bytes.end());
        return;
    }
    startStreaming();
    stream(bytes, Z_NO_FLUSH);
}

void Deflater::passThrough(bool isCompressedAlready)
{
    isStored = isCompressedAlready;
}

void Deflater::finish()
{
    if (!isPlainText(waiting))
        startStreaming();
    if (waiting.size() >= LEAST_WHOLE || !isStreaming) {
        endStreaming();
        compressWhole();
    } else {
        stream(waiting, Z_FINISH);
    }
    uint8_t sum[4];
    for (int i = 0; i < 4; i++)
        sum[i] = (uint8_t)(checksum >> (24 - 8 * i));
    sink->write(sum);
}

void Deflater::store(Bytes bytes)
{
    if (!waiting.empty())
        startStreaming();
    if (isStreaming && bytes.size() < WINDOW) {
        setLevel(0);
        stream(bytes, Z_NO_FLUSH);
        setLevel(ZLIB_LEVEL);
        return;
    }
    endStreaming();
    constexpr size_t MOST = 65535;
    while (!bytes.empty()) {
        size_t count = std::min(bytes.size(), MOST);
        uint16_t length = (uint16_t)count, inverse = (uint16_t)~length;
        uint8_t head[] = {0, (uint8_t)length, (uint8_t)(length >> 8), (uint8_t)inverse,
                          (uint8_t)(inverse >> 8)};
        sink->write(head);
        sink->write(bytes.first(count));
        bytes = bytes.subspan(count);
    }
}

/* Hands zlib what has waited. */
void Deflater::startStreaming()
{
    constexpr int RAW_WINDOW = -15, MEMORY = 8;
    if (!hasZlib &&
        deflateInit2(&zlib, ZLIB_LEVEL, Z_DEFLATED, RAW_WINDOW, MEMORY, Z_DEFAULT_STRATEGY) != Z_OK)
        throw std::bad_alloc();
    if (hasZlib && !isStreaming)
        deflateReset(&zlib);
    hasZlib = isStreaming = true;
    stream(waiting, Z_NO_FLUSH);
    waiting.clear();
}

/* Ends what zlib has, at a whole byte. */
void Deflater::endStreaming()
{
    if (isStreaming)
        stream({}, Z_SYNC_FLUSH);
    isStreaming = false;
}

/* How what zlib is given from now on is compressed. */
void Deflater::setLevel(int level)
{
    packed.resize(std::max(packed.size(), PIECE));
    int result;
    do {
        zlib.next_in = nullptr;
        zlib.avail_in = 0;
        zlib.next_out = packed.data();
        zlib.avail_out = (uInt)PIECE;
        result = deflateParams(&zlib, level, Z_DEFAULT_STRATEGY);
        sink->write(Bytes(packed).first(PIECE - zlib.avail_out));
    } while (result == Z_BUF_ERROR || zlib.avail_out == 0);
}

void Deflater::stream(Bytes bytes, int flush)
{
    packed.resize(std::max(packed.size(), PIECE));
    do {
        size_t count = std::min<size_t>(bytes.size(), 1 << 30);
        bool isLast = count == bytes.size();
        zlib.next_in = const_cast<uint8_t *>(bytes.data());
        zlib.avail_in = (uInt)count;
        do {
            zlib.next_out = packed.data();
            zlib.avail_out = (uInt)PIECE;
            deflate(&zlib, isLast ? flush : Z_NO_FLUSH);
            sink->write(Bytes(packed).first(PIECE - zlib.avail_out));
        } while (zlib.avail_out == 0);
        bytes = bytes.subspan(count);
    } while (!bytes.empty());
}

void Deflater::compressWhole()
{
    if (!whole)
        whole.reset(libdeflate_alloc_compressor(WHOLE_LEVEL));
    if (!whole)
        throw std::bad_alloc();
    packed.resize(
        std::max(packed.size(), libdeflate_deflate_compress_bound(whole.get(), waiting.size())));
    size_t size = libdeflate_deflate_compress(whole.get(), waiting.data(), waiting.size(),
                                              packed.data(), packed.size());
    sink->write(Bytes(packed).first(size));
    waiting.clear();
}

} // namespace job
