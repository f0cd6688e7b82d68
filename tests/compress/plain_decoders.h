/*
 * plain_decoders.h - the decoders once more, as plainly as they can be written
 *
 * One byte, one bit, one step at a time, nothing prepared and nothing skipped.  The decoders of
 * the product must answer every single call as these do: same bytes, same counts, same state,
 * same reports, wherever the caller stops.
 */
#ifndef TESTS_COMPRESS_PLAIN_DECODERS_H
#define TESTS_COMPRESS_PLAIN_DECODERS_H

#include <cstdint>
#include <string>
#include <vector>

class PlainDecoder {
  public:
    virtual ~PlainDecoder() = default;
    virtual int32_t toRaw(const uint8_t *in, int32_t inLen, uint8_t *out, int32_t outMax) = 0;

    int32_t consumed = 0, produced = 0;
    uint32_t state = 0;
    std::vector<std::string> reports; /* "severity key: text" */

  protected:
    void report(int severity, const std::string &keyAndText)
    {
        reports.push_back(std::to_string(severity) + " " + keyAndText);
    }
};

class PlainASCIIHex : public PlainDecoder {
  public:
    int32_t toRaw(const uint8_t *in, int32_t inLen, uint8_t *out, int32_t outMax) override;
};

class PlainASCII85 : public PlainDecoder {
  public:
    int32_t toRaw(const uint8_t *in, int32_t inLen, uint8_t *out, int32_t outMax) override;

  private:
    bool decodeGroup();

    std::vector<uint8_t> digits;
    std::string group; /* decoded bytes to hand out */
};

class PlainLZW : public PlainDecoder {
  public:
    explicit PlainLZW(int maxBits = 12);
    int32_t toRaw(const uint8_t *in, int32_t inLen, uint8_t *out, int32_t outMax) override;

    bool earlyChange = true, endOfInput = false;

  private:
    bool canRead(int32_t inLen) const;
    int readCode(const uint8_t *in);
    bool stringOf(int code, std::string &text) const;
    void put(const std::string &text, uint8_t *out, int32_t outMax);
    void addEntry(uint8_t last);
    bool take(int code, uint8_t *out, int32_t outMax);

    int tableSize;
    std::vector<int> prefix;
    std::vector<uint8_t> last;
    int next = 258, threshold = 512, width = 9, previous = -1, bitPosition = 8;
    std::string overflow; /* first byte first */
};

class PlainFlate : public PlainDecoder {
  public:
    PlainFlate();
    int32_t toRaw(const uint8_t *in, int32_t inLen, uint8_t *out, int32_t outMax) override;

  private:
    struct Entry {
        int length = 0;
        uint32_t code = 0;
        int symbol = 0;
    };
    struct Table {
        int start[17];
        Entry *entries;
    };
    struct Saved {
        uint32_t bitBuffer;
        int bitCount, huffman, storedRemaining, needHeader, last;
    };

    int getBits(int n);
    int decodeSymbol(const Table &table);
    void build(Table &table, Entry *entries, int n);
    void setFixedTables();
    bool readDynamicTables();
    bool readBlockHeader();
    bool checkHeader(const uint8_t *in);
    void updateAdler(const uint8_t *out, int32_t count);
    void checkTrailer();
    void flush(uint8_t *out);
    bool huffmanStep();
    void storedStep();
    void fail(const std::string &keyAndText);

    /* the call's */
    const uint8_t *input = nullptr;
    int32_t left = 0, room = 0, outAt = 0;

    int needHeader = 1, last = 0, awaiting = 0;
    uint32_t adler = 1;
    std::vector<uint8_t> window;
    int position = 0, pending = 0;
    uint32_t bitBuffer = 0;
    int bitCount = 0;
    Entry entries[318];
    Table litlen = {}, dist = {};
    int huffman = 0, storedRemaining = 0;
};

#endif
