/*
 * deflate.h - one stream of Flate after the other, in parts that are compressed and parts that are
 * stored
 */
#ifndef JOB_DEFLATE_H
#define JOB_DEFLATE_H

#include <memory>
#include <vector>

#include <libdeflate.h>
#include <zlib.h>

#include "job/spool.h"

namespace job {

/* How many bits a byte of these would take by itself: 4 or 5 of text, nearly 8 of what is
 * compressed; of some bytes. */
double bitsPerByte(Bytes bytes);

/* What compresses; its memory is kept from one stream to the next.
 *
 *     deflater.begin(&sink);
 *     deflater.write(text); deflater.passThrough(true); deflater.write(data); ...
 *     deflater.finish();
 */
class Deflater {
  public:
    Deflater() = default;
    ~Deflater();
    Deflater(const Deflater &) = delete;
    Deflater &operator=(const Deflater &) = delete;

    /* Begins a stream, which goes to the sink; one that has not been finished is forgotten. */
    void begin(ByteSink *to);

    /* Throws std::bad_alloc. */
    void write(Bytes bytes);

    /* What is written from now on is compressed already, and is stored; or is not. */
    void passThrough(bool isCompressedAlready);

    void finish();

  private:
    void store(Bytes bytes);
    void startStreaming();
    void stream(Bytes bytes, int flush);
    void endStreaming();
    void setLevel(int level);
    void compressWhole();

    ByteSink *sink = nullptr;
    uint32_t checksum = 1;
    bool isStored = false, isStreaming = false;
    std::vector<uint8_t> waiting = {}; /* text behind all that has been written */
    std::vector<uint8_t> packed = {};
    z_stream zlib = {}; /* made when it is first needed */
    bool hasZlib = false;
    std::unique_ptr<libdeflate_compressor, void (*)(libdeflate_compressor *)> whole{
        nullptr, libdeflate_free_compressor};
};

} // namespace job

#endif
