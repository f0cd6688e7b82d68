/*
 * encoders.h - small encoders for what the decoders read, and writers of single bits
 */
#ifndef TESTS_COMPRESS_ENCODERS_H
#define TESTS_COMPRESS_ENCODERS_H

#include <cstdint>
#include <string>

/* "z" for zero groups, a shortened last group, "~>" at the end. */
std::string encodeASCII85(const std::string &data);

/* Two digits for each byte, ">" at the end. */
std::string encodeASCIIHex(const std::string &data);

/* Codes of 9 to maxBits bits, a clear code first and whenever the table is full, the end code
 * last. */
std::string encodeLZW(const std::string &data, bool earlyChange = true, int maxBits = 12);

/* Bits packed the first one highest, as LZW codes are. */
class HighBitWriter {
  public:
    /* The low `width` bits of the code. */
    void put(uint32_t code, int width);

    /* The bytes, the last one filled up with zero bits. */
    std::string bytes;

  private:
    int used = 8; /* bits of the last byte */
};

/* Bits packed the first one lowest, as in deflate. */
class LowBitWriter {
  public:
    /* A number: its lowest bit first. */
    void put(uint32_t value, int width);

    /* A Huffman code: its highest bit first. */
    void putCode(uint32_t code, int width);

    /* Zero bits up to the next whole byte. */
    void align() { used = 8; }

    /* Bytes as they are, from the next whole byte on. */
    void putBytes(const std::string &raw);

    std::string bytes;

  private:
    int used = 8;
};

/* The code of a literal, the end of block or a length symbol in a fixed block. */
void putFixedSymbol(LowBitWriter &to, uint32_t symbol);

uint32_t adlerOf(const std::string &data);

/* A zlib stream: header, the deflate blocks as given, and the checksum of `data`. */
std::string zlibStream(const std::string &blocks, const std::string &data);

/* One stored block, as a whole zlib stream; at most 65535 bytes. */
std::string storedStream(const std::string &data);

#endif
