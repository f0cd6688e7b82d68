/*
 * lzw.cpp - LZW and run lengths
 */
#include "job/lzw.h"

#include <algorithm>
#include <utility>

namespace job {

namespace {

constexpr unsigned CLEAR = 256, END = 257, FIRST = 258;
constexpr unsigned LAST = 4094; /* the table is cleared before its last code is needed */
constexpr size_t TABLE_SIZE = 1 << 14;
constexpr size_t BUFFER_BYTES = 64 * 1024;
constexpr size_t LONGEST_RUN = 128; /* of either kind */

/* A key is a code and a byte; the slot holds key + 1 above 12 bits of code. */
uint32_t slotOf(uint32_t key, unsigned code)
{
    return (key + 1) << 12 | code;
}

} // namespace

LzwEncoder::LzwEncoder(EncodedSink to) : sink(std::move(to)), table(TABLE_SIZE)
{
    putCode(CLEAR);
}

void LzwEncoder::flush()
{
    sink(out);
    out.clear();
}

void LzwEncoder::putCode(unsigned code)
{
    bits = bits << codeLength | code;
    bitCount += codeLength;
    while (bitCount >= 8) {
        bitCount -= 8;
        out.push_back((uint8_t)(bits >> bitCount));
    }
    if (out.size() >= BUFFER_BYTES)
        flush();
}

void LzwEncoder::clearTable()
{
    std::fill(table.begin(), table.end(), 0);
    nextCode = FIRST;
    codeLength = 9;
}

void LzwEncoder::write(std::span<const uint8_t> bytes)
{
    for (uint8_t byte : bytes) {
        if (prefix < 0) {
            prefix = byte;
            continue;
        }
        uint32_t key = (uint32_t)prefix << 8 | byte;
        size_t slot = (key * 2654435761u) >> 18;
        while (table[slot] && table[slot] >> 12 != key + 1)
            slot = (slot + 1) % TABLE_SIZE;
        if (table[slot]) {
            prefix = (int)(table[slot] & 0xFFF);
            continue;
        }
        putCode((unsigned)prefix);
        table[slot] = slotOf(key, nextCode++);
        prefix = byte;
        /* The decoder's table is one entry behind, and its codes grow one early. */
        if (nextCode > LAST) {
            putCode(CLEAR);
            clearTable();
        } else if (nextCode + 1 > 1u << codeLength) {
            codeLength++;
        }
    }
}

void LzwEncoder::finish()
{
    if (prefix >= 0) {
        putCode((unsigned)prefix);
        nextCode++;
        if (nextCode + 1 > 1u << codeLength && codeLength < 12)
            codeLength++;
    }
    putCode(END);
    if (bitCount > 0)
        out.push_back((uint8_t)(bits << (8 - bitCount)));
    flush();
}

RunLengthEncoder::RunLengthEncoder(EncodedSink to) : sink(std::move(to))
{
}

void RunLengthEncoder::put(uint8_t byte)
{
    out.push_back(byte);
    if (out.size() >= BUFFER_BYTES) {
        sink(out);
        out.clear();
    }
}

void RunLengthEncoder::putLiterals()
{
    for (size_t at = 0; at < literals.size();) {
        size_t count = std::min(literals.size() - at, LONGEST_RUN);
        put((uint8_t)(count - 1));
        for (size_t i = 0; i < count; i++)
            put(literals[at + i]);
        at += count;
    }
    literals.clear();
}

/* A run of less than three bytes is cheaper among the literals. */
void RunLengthEncoder::putRun()
{
    if (runLength >= 3) {
        putLiterals();
        put((uint8_t)(257 - runLength));
        put((uint8_t)last);
    } else {
        literals.insert(literals.end(), runLength, (uint8_t)last);
        if (literals.size() >= LONGEST_RUN)
            putLiterals();
    }
    runLength = 0;
}

void RunLengthEncoder::write(std::span<const uint8_t> bytes)
{
    for (uint8_t byte : bytes) {
        if (runLength > 0 && (byte != last || runLength == LONGEST_RUN))
            putRun();
        last = byte;
        runLength++;
    }
}

void RunLengthEncoder::finish()
{
    putRun();
    putLiterals();
    put(128);
    sink(out);
    out.clear();
}

} // namespace job
