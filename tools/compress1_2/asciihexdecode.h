/*
 * asciihexdecode.h - the ASCIIHex decoder family (ASCIIHexD_)
 *
 * Pairs of hexadecimal digits become bytes, ">" ends the data.  White space is a fault: whoever
 * reads the data drops it first.
 */
#ifndef COMPRESS_ASCIIHEXDECODE_H
#define COMPRESS_ASCIIHEXDECODE_H

#include <cstdint>

#include "tools/compress1_0/decoderstate.h"
#include "zelkov/control.h"

/* One decoder.  ASCIIHexD_Init makes it, its caller owns it, ASCIIHexD_Free ends it. */
struct ASCIIHexDecoder {
    ZelkovController *controller;
    int32_t consumed; /* by the last ASCIIHexD_ToRaw */
    int32_t produced;
    uint32_t state;
};

/* A new decoder that reports through the controller; null without memory. */
ASCIIHexDecoder *ASCIIHexD_Init(ZelkovController *controller);

/* Null is accepted. */
void ASCIIHexD_Free(ASCIIHexDecoder *decoder);

/* Decodes from the front of `in` what it can and answers the bytes written, or -1 after a fault.
 * A last byte that has no partner yet is not taken: the caller offers it again with more behind
 * it.  A call after the end or a fault is an error of severity 4 and answers 0. */
int32_t ASCIIHexD_ToRaw(ASCIIHexDecoder *decoder, const uint8_t *in, int32_t inLen, uint8_t *out,
                        int32_t outMax);

/* Input bytes taken and bytes written by the last ASCIIHexD_ToRaw. */
inline constexpr auto ASCIIHexD_Consumed = decoderConsumed<ASCIIHexDecoder>;
inline constexpr auto ASCIIHexD_Produced = decoderProduced<ASCIIHexDecoder>;

inline constexpr auto ASCIIHexD_isBegin = decoderIsBegin<ASCIIHexDecoder>;
inline constexpr auto ASCIIHexD_isRun = decoderIsRun<ASCIIHexDecoder>;
inline constexpr auto ASCIIHexD_isBeginRun = decoderIsBeginRun<ASCIIHexDecoder>;
inline constexpr auto ASCIIHexD_isDone = decoderIsDone<ASCIIHexDecoder>;
inline constexpr auto ASCIIHexD_isError = decoderIsError<ASCIIHexDecoder>;

#endif
