/*
 * lzw.h - the two compressions of Level 2: LZW, and run lengths
 */
#ifndef JOB_LZW_H
#define JOB_LZW_H

#include <cstdint>
#include <functional>
#include <span>
#include <vector>

namespace job {

using EncodedSink = std::function<void(std::span<const uint8_t>)>;

/* LZW as LZWDecode reads it, the code length growing one code early. */
class LzwEncoder {
  public:
    explicit LzwEncoder(EncodedSink to);
    void write(std::span<const uint8_t> bytes);
    void finish();

  private:
    void putCode(unsigned code);
    void clearTable();
    void flush();

    EncodedSink sink;
    std::vector<uint8_t> out;
    std::vector<uint32_t> table; /* open addressing: key + 1 above, code below; 0: free */
    uint64_t bits = 0;
    unsigned bitCount = 0, codeLength = 9, nextCode = 258;
    int prefix = -1; /* code of what has been read and not written; -1: nothing */
};

/* Runs as RunLengthDecode reads them. */
class RunLengthEncoder {
  public:
    explicit RunLengthEncoder(EncodedSink to);
    void write(std::span<const uint8_t> bytes);
    void finish();

  private:
    void putLiterals();
    void putRun();
    void put(uint8_t byte);

    EncodedSink sink;
    std::vector<uint8_t> out, literals;
    int last = -1;
    unsigned runLength = 0;
};

} // namespace job

#endif
