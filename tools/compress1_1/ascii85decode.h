/*
 * ascii85decode.h - the ASCII85 decoder family (ASCII85D_)
 *
 * Groups of five digits "!" to "u" become four bytes, "z" stands for four zero bytes, "~" ends
 * the data.  Every other byte is dropped.
 */
#ifndef COMPRESS_ASCII85DECODE_H
#define COMPRESS_ASCII85DECODE_H

#include <cstdint>

#include "tools/compress1_0/decoderstate.h"
#include "zelkov/control.h"

/* One decoder.  ASCII85D_Init makes it, its caller owns it, ASCII85D_Free ends it. */
struct ASCII85Decoder {
    ZelkovController *controller;
    int32_t consumed; /* by the last ASCII85D_ToRaw */
    int32_t produced;
    uint32_t state;

    int32_t digitCount;  /* digits collected of the current group, 0 to 5 */
    uint8_t digits[5];   /* each 0 to 84 */
    int32_t outputIndex; /* next byte of `group` to hand out, 0 to 3; -1: no group is pending */
    uint8_t group[4];
};

/* A new decoder that reports through the controller; null without memory. */
ASCII85Decoder *ASCII85D_Init(ZelkovController *controller);

/* Null is accepted. */
void ASCII85D_Free(ASCII85Decoder *decoder);

/* Decodes from the front of `in` what it can and answers the bytes written, or -1 after a fault
 * (a group above 2^32 - 1, a last group of one digit), which is not reported.  A group is never
 * split: with an outMax below 4 nothing is taken.  The ">" behind the "~" is not taken.  After
 * the end it answers 0; a call after a fault is an error of severity 4 and answers 0. */
int32_t ASCII85D_ToRaw(ASCII85Decoder *decoder, const uint8_t *in, int32_t inLen, uint8_t *out,
                       int32_t outMax);

/* Input bytes taken and bytes written by the last ASCII85D_ToRaw. */
inline constexpr auto ASCII85D_Consumed = decoderConsumed<ASCII85Decoder>;
inline constexpr auto ASCII85D_Produced = decoderProduced<ASCII85Decoder>;

inline constexpr auto ASCII85D_isBegin = decoderIsBegin<ASCII85Decoder>;
inline constexpr auto ASCII85D_isRun = decoderIsRun<ASCII85Decoder>;
inline constexpr auto ASCII85D_isBeginRun = decoderIsBeginRun<ASCII85Decoder>;
inline constexpr auto ASCII85D_isDone = decoderIsDone<ASCII85Decoder>;
inline constexpr auto ASCII85D_isError = decoderIsError<ASCII85Decoder>;

/* Declares that no more input comes: the decoder is Done, and digits that it holds are lost. */
void ASCII85D_setEODInput(ASCII85Decoder *decoder);

#endif
