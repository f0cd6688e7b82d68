/*
 * bitinput.h - a call's input read by bits, first bit lowest
 *
 * Bytes are loaded ahead of their use, as many as 64 bits hold.  What a decoder keeps between
 * calls is less: bitinput_giveBack returns the bytes of which no bit has been used.
 */
#ifndef COMPRESS_BITINPUT_H
#define COMPRESS_BITINPUT_H

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

struct BitInput {
    const uint8_t *next, *end; /* bytes not loaded yet */
    uint64_t bits;             /* the low `count` bits are not used yet; zero above */
    uint32_t count;            /* at most 63 */
};

/* Bytes that bitinput_refillWide needs to see. */
constexpr ptrdiff_t BITINPUT_WIDE_BYTES = 8;

/* Bits that are there after bitinput_refillWide. */
constexpr uint32_t BITINPUT_WIDE_BITS = 56;

/* Loads bytes until at least 56 bits are there; 8 bytes must be left.  Leaves bits of the next
 * byte above `count`, which the next load puts there again: the next call must be another one, or
 * bitinput_giveBack. */
inline void bitinput_refillWide(BitInput &in)
{
    uint64_t loaded;
    memcpy(&loaded, in.next, sizeof loaded);
    if constexpr (std::endian::native == std::endian::big)
        loaded = __builtin_bswap64(loaded);
    in.bits |= loaded << in.count;
    in.next += (63 - in.count) / 8;
    in.count |= BITINPUT_WIDE_BITS;
}

/* Loads bytes until at least 56 bits are there, as far as there are any. */
inline void bitinput_refill(BitInput &in)
{
    for (; in.count < BITINPUT_WIDE_BITS && in.next < in.end; in.count += 8)
        in.bits |= (uint64_t)*in.next++ << in.count;
}

/* The whole bytes that were loaded and not used stand in the input again. */
inline void bitinput_giveBack(BitInput &in)
{
    in.next -= in.count / 8;
    in.count %= 8;
    in.bits &= ((uint64_t)1 << in.count) - 1;
}

/* Is there no byte left of which no bit has been used? */
inline bool bitinput_isEmpty(const BitInput &in)
{
    return in.next == in.end && in.count < 8;
}

/* Takes n bits, at most 32; -1, with nothing taken, when there are not as many. */
inline int64_t getBits(BitInput &in, uint32_t n)
{
    if (in.count < n)
        bitinput_refill(in);
    if (in.count < n)
        return -1;
    uint64_t value = in.bits & (((uint64_t)1 << n) - 1);
    in.bits >>= n;
    in.count -= n;
    return (int64_t)value;
}

#endif
