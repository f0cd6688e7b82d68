/*
 * encoders.cpp - small encoders for what the decoders read
 */
#include "tests/compress/encoders.h"

#include <map>
#include <utility>

std::string encodeASCII85(const std::string &data)
{
    std::string text;
    for (size_t at = 0; at < data.size(); at += 4) {
        size_t count = std::min<size_t>(4, data.size() - at);
        uint32_t value = 0;
        for (size_t i = 0; i < 4; i++)
            value = value << 8 | (i < count ? (uint8_t)data[at + i] : 0U);
        if (value == 0 && count == 4) {
            text += 'z';
            continue;
        }
        char digits[5];
        for (int i = 4; i >= 0; i--, value /= 85)
            digits[i] = (char)('!' + value % 85);
        text.append(digits, count + 1);
    }
    return text + "~>";
}

std::string encodeASCIIHex(const std::string &data)
{
    std::string text;
    for (char byte : data) {
        text += "0123456789ABCDEF"[(uint8_t)byte >> 4];
        text += "0123456789abcdef"[(uint8_t)byte & 15];
    }
    return text + ">";
}

void HighBitWriter::put(uint32_t code, int width)
{
    for (int bit = width - 1; bit >= 0; bit--) {
        if (used == 8) {
            bytes += '\0';
            used = 0;
        }
        bytes.back() = (char)((uint8_t)bytes.back() | (code >> bit & 1) << (7 - used++));
    }
}

std::string encodeLZW(const std::string &data, bool earlyChange, int maxBits)
{
    constexpr uint32_t CLEAR = 256, END = 257, FIRST = 258;
    const uint32_t size = 1U << maxBits;
    std::map<std::pair<uint32_t, uint8_t>, uint32_t> table;
    HighBitWriter out;
    int width = 9;
    uint32_t next = FIRST;
    out.put(CLEAR, width);
    if (data.empty()) {
        out.put(END, width);
        return out.bytes;
    }
    uint32_t held = (uint8_t)data[0];
    for (size_t i = 1; i < data.size(); i++) {
        uint8_t byte = (uint8_t)data[i];
        auto known = table.find({held, byte});
        if (known != table.end()) {
            held = known->second;
            continue;
        }
        out.put(held, width);
        table[{held, byte}] = next++;
        /* The decoder is one entry behind: it makes entry next - 1 with the next code. */
        if (width < maxBits && next - 1 == (1U << width) - (earlyChange ? 1 : 0))
            width++;
        if (next == size) {
            out.put(CLEAR, width);
            table.clear();
            next = FIRST;
            width = 9;
        }
        held = byte;
    }
    out.put(held, width);
    next++;
    if (width < maxBits && next - 1 == (1U << width) - (earlyChange ? 1 : 0))
        width++;
    out.put(END, width);
    return out.bytes;
}

void LowBitWriter::put(uint32_t value, int width)
{
    for (int bit = 0; bit < width; bit++) {
        if (used == 8) {
            bytes += '\0';
            used = 0;
        }
        bytes.back() = (char)((uint8_t)bytes.back() | (value >> bit & 1) << used++);
    }
}

void LowBitWriter::putCode(uint32_t code, int width)
{
    for (int bit = width - 1; bit >= 0; bit--)
        put(code >> bit & 1, 1);
}

void LowBitWriter::putBytes(const std::string &raw)
{
    align();
    bytes += raw;
}

void putFixedSymbol(LowBitWriter &to, uint32_t symbol)
{
    if (symbol < 144)
        to.putCode(0x30 + symbol, 8);
    else if (symbol < 256)
        to.putCode(0x190 + symbol - 144, 9);
    else if (symbol < 280)
        to.putCode(symbol - 256, 7);
    else
        to.putCode(0xC0 + symbol - 280, 8);
}

uint32_t adlerOf(const std::string &data)
{
    uint32_t a = 1, b = 0;
    for (char byte : data) {
        a = (a + (uint8_t)byte) % 65521;
        b = (b + a) % 65521;
    }
    return b << 16 | a;
}

std::string zlibStream(const std::string &blocks, const std::string &data)
{
    uint32_t adler = adlerOf(data);
    std::string trailer;
    for (int shift = 24; shift >= 0; shift -= 8)
        trailer += (char)(adler >> shift);
    return "\x78\x9C" + blocks + trailer;
}

std::string storedStream(const std::string &data)
{
    uint32_t size = (uint32_t)data.size();
    LowBitWriter blocks;
    blocks.put(1, 1); /* last block */
    blocks.put(0, 2); /* stored */
    blocks.align();
    blocks.put(size, 16);
    blocks.put(~size, 16);
    blocks.putBytes(data);
    return zlibStream(blocks.bytes, data);
}
