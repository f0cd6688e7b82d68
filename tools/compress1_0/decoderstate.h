/*
 * decoderstate.h - what all decoder families have in common: their states
 *
 * A decoder goes from BEGIN through RUN to DONE or ERROR.  LZW and Flate keep the state in the
 * two low bits of a status word; the others in a word of its own, which reads the same.
 */
#ifndef COMPRESS_DECODERSTATE_H
#define COMPRESS_DECODERSTATE_H

#include <cstdint>

enum DecoderState : uint32_t {
    DECODER_BEGIN = 0, /* no input seen yet */
    DECODER_RUN = 1,
    DECODER_DONE = 2,  /* end of the encoded data reached */
    DECODER_ERROR = 3, /* a fault was found */
};

constexpr uint32_t DECODER_STATE_MASK = 3;

constexpr uint32_t decoderState(uint32_t status)
{
    return status & DECODER_STATE_MASK;
}

/* The status word with another state and its options kept. */
constexpr uint32_t withDecoderState(uint32_t status, DecoderState state)
{
    return (status & ~DECODER_STATE_MASK) | state;
}

constexpr int32_t stateIsBegin(uint32_t status)
{
    return decoderState(status) == DECODER_BEGIN;
}

constexpr int32_t stateIsRun(uint32_t status)
{
    return decoderState(status) == DECODER_RUN;
}

constexpr int32_t stateIsBeginRun(uint32_t status)
{
    return (status & DECODER_DONE) == 0;
}

constexpr int32_t stateIsDone(uint32_t status)
{
    return decoderState(status) == DECODER_DONE;
}

constexpr int32_t stateIsError(uint32_t status)
{
    return decoderState(status) > DECODER_DONE;
}

/* What every family answers about its record in the same way; a family gives each its own name,
 * such as LZWD_isDone.  The counts are those of the last call that decoded; 0 for null. */

template <class Decoder> constexpr uint32_t statusOf(const Decoder *decoder)
{
    if constexpr (requires { decoder->status; })
        return decoder->status;
    else
        return decoder->state;
}

template <class Decoder> int32_t decoderConsumed(const Decoder *decoder)
{
    return decoder ? decoder->consumed : 0;
}

template <class Decoder> int32_t decoderProduced(const Decoder *decoder)
{
    return decoder ? decoder->produced : 0;
}

template <class Decoder> int32_t decoderIsBegin(const Decoder *decoder)
{
    return stateIsBegin(statusOf(decoder));
}

template <class Decoder> int32_t decoderIsRun(const Decoder *decoder)
{
    return stateIsRun(statusOf(decoder));
}

template <class Decoder> int32_t decoderIsBeginRun(const Decoder *decoder)
{
    return stateIsBeginRun(statusOf(decoder));
}

template <class Decoder> int32_t decoderIsDone(const Decoder *decoder)
{
    return stateIsDone(statusOf(decoder));
}

template <class Decoder> int32_t decoderIsError(const Decoder *decoder)
{
    return stateIsError(statusOf(decoder));
}

#endif
