/*
 * flatewindow.h - a call's output, and the window of what was put out before
 *
 * During a call the output itself is the history of what the call has written; the window, which
 * is what survives the call, is brought up to date at its end.  Output that finds no room waits in
 * the window, from the window position on.
 */
#ifndef COMPRESS_FLATEWINDOW_H
#define COMPRESS_FLATEWINDOW_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "tools/compress1_2/flatedecode.h"

constexpr size_t FLATE_WINDOW_MASK = FLATE_WINDOW_BYTES - 1;
static_assert((FLATE_WINDOW_BYTES & FLATE_WINDOW_MASK) == 0);

/* A call's output.  What it has written since `history` is not in the window yet, and stands
 * there for the bytes from the window position on. */
struct FlateOutput {
    uint8_t *history, *next, *end;
};

inline size_t flateRoom(const FlateOutput &out)
{
    return (size_t)(out.end - out.next);
}

/* Copies a few bytes between places that do not overlap, without calling anything. */
inline void copyShort(uint8_t *to, const uint8_t *from, size_t count)
{
    if (count > 16) {
        memcpy(to, from, count);
    } else if (count >= 8) {
        uint64_t head, tail;
        memcpy(&head, from, 8);
        memcpy(&tail, from + count - 8, 8);
        memcpy(to, &head, 8);
        memcpy(to + count - 8, &tail, 8);
    } else if (count >= 4) {
        uint32_t head, tail;
        memcpy(&head, from, 4);
        memcpy(&tail, from + count - 4, 4);
        memcpy(to, &head, 4);
        memcpy(to + count - 4, &tail, 4);
    } else {
        for (size_t i = 0; i < count; i++)
            to[i] = from[i];
    }
}

/* Repeats the bytes `distance` before `to`; where they overlap, bytes just written are repeated
 * again. */
inline void copyOverlapping(uint8_t *to, size_t distance, size_t count)
{
    const uint8_t *from = to - distance;
    if (distance >= count) {
        copyShort(to, from, count);
    } else if (distance == 1) {
        memset(to, *from, count);
    } else {
        for (size_t i = 0; i < count; i++)
            to[i] = from[i];
    }
}

/* Copies bytes of the window, from `position` on and round its end. */
inline void copyFromWindow(const FlateDecoder *decoder, uint8_t *to, size_t position, size_t count)
{
    size_t straight = std::min(count, FLATE_WINDOW_BYTES - position);
    copyShort(to, decoder->window + position, straight);
    copyShort(to + straight, decoder->window, count - straight);
}

/* Repeats `length` bytes; there is room for them. */
inline void copyMatch(const FlateDecoder *decoder, FlateOutput &out, size_t length, size_t distance)
{
    size_t written = (size_t)(out.next - out.history);
    if (distance > written) {
        /* It begins in the window, and may go on at the beginning of the output. */
        size_t back = distance - written;
        size_t old = std::min(length, back);
        copyFromWindow(decoder, out.next,
                       ((size_t)decoder->windowPosition - back) & FLATE_WINDOW_MASK, old);
        out.next += old;
        length -= old;
    }
    if (length > 0)
        copyOverlapping(out.next, distance, length);
    out.next += length;
}

/* Puts out a literal, a match or a piece of a stored block; what finds no room becomes pending. */
void putLiteral(FlateDecoder *decoder, FlateOutput &out, uint8_t literal);
void putMatch(FlateDecoder *decoder, FlateOutput &out, size_t length, size_t distance);
void putStored(FlateDecoder *decoder, FlateOutput &out, const uint8_t *bytes, size_t count);

/* Writes what is pending, as far as there is room.  To be called before anything else is put out
 * in a call. */
void handOutPending(FlateDecoder *decoder, FlateOutput &out);

/* Brings the window up to date with the output. */
void syncWindow(FlateDecoder *decoder, FlateOutput &out);

#endif
