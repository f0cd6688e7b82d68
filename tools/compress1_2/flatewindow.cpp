/*
 * flatewindow.cpp - a call's output, and the window of what was put out before
 */
#include "tools/compress1_2/flatewindow.h"

namespace {

/* Copies bytes into the window, at most as many as it holds. */
void copyToWindow(FlateDecoder *decoder, size_t position, const uint8_t *from, size_t count)
{
    size_t straight = std::min(count, FLATE_WINDOW_BYTES - position);
    if (straight)
        memcpy(decoder->window + position, from, straight);
    if (count > straight)
        memcpy(decoder->window, from + straight, count - straight);
}

void advanceWindow(FlateDecoder *decoder, size_t count)
{
    decoder->windowPosition =
        (int32_t)(((size_t)decoder->windowPosition + count) & FLATE_WINDOW_MASK);
}

} // namespace

void syncWindow(FlateDecoder *decoder, FlateOutput &out)
{
    size_t written = (size_t)(out.next - out.history);
    size_t kept = std::min<size_t>(written, FLATE_WINDOW_BYTES);
    advanceWindow(decoder, written - kept);
    copyToWindow(decoder, (size_t)decoder->windowPosition, out.next - kept, kept);
    advanceWindow(decoder, kept);
    out.history = out.next;
}

void putLiteral(FlateDecoder *decoder, FlateOutput &out, uint8_t literal)
{
    if (flateRoom(out) > 0) {
        *out.next++ = literal;
        return;
    }
    syncWindow(decoder, out);
    decoder->window[decoder->windowPosition] = literal;
    decoder->pending = 1;
}

void putMatch(FlateDecoder *decoder, FlateOutput &out, size_t length, size_t distance)
{
    size_t fitting = std::min(length, flateRoom(out));
    copyMatch(decoder, out, fitting, distance);
    if (fitting == length)
        return;
    syncWindow(decoder, out);
    size_t to = (size_t)decoder->windowPosition;
    for (size_t i = 0; i < length - fitting; i++, to++)
        decoder->window[to & FLATE_WINDOW_MASK] =
            decoder->window[(to - distance) & FLATE_WINDOW_MASK];
    decoder->pending = (int32_t)(length - fitting);
}

void putStored(FlateDecoder *decoder, FlateOutput &out, const uint8_t *bytes, size_t count)
{
    size_t fitting = std::min(count, flateRoom(out));
    if (fitting)
        memcpy(out.next, bytes, fitting);
    out.next += fitting;
    if (fitting == count)
        return;
    syncWindow(decoder, out);
    copyToWindow(decoder, (size_t)decoder->windowPosition, bytes + fitting, count - fitting);
    decoder->pending = (int32_t)(count - fitting);
}

void handOutPending(FlateDecoder *decoder, FlateOutput &out)
{
    size_t count = std::min((size_t)decoder->pending, flateRoom(out));
    copyFromWindow(decoder, out.next, (size_t)decoder->windowPosition, count);
    advanceWindow(decoder, count);
    decoder->pending -= (int32_t)count;
    out.next += count;
    out.history = out.next;
}
