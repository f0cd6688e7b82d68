/*
 * adler.cpp - the Adler-32 checksum
 *
 * Two sums modulo 65521: that of the bytes, and that of the first sum's values.  Sixteen bytes
 * are added in one go, each weighted with the number of times it counts in the second sum: a loop
 * that the compiler can do with vectors.  The remainder is taken as seldom as 32 bits allow.
 */
#include "tools/compress1_2/adler.h"

#include <algorithm>

namespace {

constexpr uint32_t ADLER_MODULUS = 65521;
constexpr uint32_t STRIDE = 16;

/* Bytes that can be added before the second sum may pass 32 bits: the greatest n for which
 * 255 n (n + 1) / 2 + (n + 1) (ADLER_MODULUS - 1) < 2^32. */
constexpr uint64_t REMAINDER_EVERY = 5552;
static_assert(255 * REMAINDER_EVERY * (REMAINDER_EVERY + 1) / 2 +
                  (REMAINDER_EVERY + 1) * (ADLER_MODULUS - 1) <=
              UINT32_MAX);
static_assert(REMAINDER_EVERY % STRIDE == 0);

struct Sums {
    uint32_t bytes, sums;
};

void addStride(Sums &total, const uint8_t *bytes)
{
    uint32_t plain = 0, weighted = 0;
    for (uint32_t i = 0; i < STRIDE; i++) {
        plain += bytes[i];
        weighted += (STRIDE - i) * bytes[i];
    }
    total.sums += STRIDE * total.bytes + weighted;
    total.bytes += plain;
}

} // namespace

uint32_t updateAdler(uint32_t adler, const uint8_t *bytes, size_t count)
{
    Sums total = {adler & 0xFFFF, adler >> 16};
    while (count > 0) {
        size_t piece = std::min<size_t>(count, REMAINDER_EVERY);
        count -= piece;
        for (; piece >= STRIDE; piece -= STRIDE, bytes += STRIDE)
            addStride(total, bytes);
        for (; piece > 0; piece--) {
            total.bytes += *bytes++;
            total.sums += total.bytes;
        }
        total.bytes %= ADLER_MODULUS;
        total.sums %= ADLER_MODULUS;
    }
    return total.sums << 16 | total.bytes;
}
