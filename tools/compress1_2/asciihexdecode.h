/*
 * asciihexdecode.h - the ASCIIHex decoder family (ASCIIHexD_)
 *
 * Pairs of hexadecimal digits become bytes, ">" ends the data.  White space is a fault: whoever
 * reads the data drops it first.
 */
#ifndef COMPRESS_ASCIIHEXDECODE_H
#define COMPRESS_ASCIIHEXDECODE_H

#include <cstdint>

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
int32_t ASCIIHexD_Consumed(const ASCIIHexDecoder *decoder);
int32_t ASCIIHexD_Produced(const ASCIIHexDecoder *decoder);

int32_t ASCIIHexD_isBegin(const ASCIIHexDecoder *decoder);
int32_t ASCIIHexD_isRun(const ASCIIHexDecoder *decoder);
int32_t ASCIIHexD_isBeginRun(const ASCIIHexDecoder *decoder);
int32_t ASCIIHexD_isDone(const ASCIIHexDecoder *decoder);
int32_t ASCIIHexD_isError(const ASCIIHexDecoder *decoder);

#endif
