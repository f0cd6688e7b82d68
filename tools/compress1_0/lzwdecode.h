/*
 * lzwdecode.h - the LZW decoder family (LZWD_)
 *
 * Codes of 9 bits and more, high bit first; 256 clears the table, 257 ends the data.
 */
#ifndef COMPRESS_LZWDECODE_H
#define COMPRESS_LZWDECODE_H

#include <cstdint>

#include "tools/compress1_0/decoderstate.h"
#include "zelkov/control.h"

/* Bits of LZWDecoder::status above the two of the state. */
constexpr uint32_t LZW_EARLY_CHANGE = 4; /* codes grow one code earlier than they must */
constexpr uint32_t LZW_EOD_INPUT = 8;    /* the caller declares that no more input comes */

/* One decoder.  LZWD_Init makes it, its caller owns it, LZWD_Free ends it.
 *
 * The string of a code is that of its prefix followed by its last byte.  The arrays have
 * tableSize + 1 entries each. */
struct LZWDecoder {
    ZelkovController *controller;

    uint8_t *Val;       /* last byte of the code's string */
    int16_t *Prev;      /* code of the string's prefix; -1 when there is none */
    uint32_t tableSize; /* 2 to the power of the greatest code width */

    uint32_t status;
    int32_t consumed; /* by the last LZWD_ToRaw */
    int32_t produced;

    /* code reading */
    int32_t nextCode;     /* the first code without an entry; 258 after a clear code */
    int32_t threshold;    /* the next code value near which the width grows */
    int32_t codeWidth;    /* bits, 9 to 16 */
    int32_t previousCode; /* -1 right after a clear code */
    int32_t bitPosition;  /* bits of the current input byte not used yet, 1 to 8 */

    /* bytes of a string that found no room, last byte first */
    uint8_t *Overflow;
    int32_t overflowFill;

    /* What lets a string be written without walking it twice: the length of each code's string.
     * It lies behind Prev in the same storage.  Not to be trusted while `unsound`: the codes
     * since the last clear code began with one above 255, so that entries may lead anywhere. */
    uint16_t *Length;
    bool unsound;
};

/* A new decoder for codes of at most maxBits bits, EarlyChange on, that reports through the
 * controller.  Null when maxBits is not 9 to 16, or without memory. */
LZWDecoder *LZWD_Init(int32_t maxBits, ZelkovController *controller);

/* Null is accepted. */
void LZWD_Free(LZWDecoder *decoder);

/* Decodes from the front of `in` what it can and answers the bytes written.  A code that is not
 * there whole is not taken; a byte whose bits are used in part is not taken either and must stand
 * at the front of the next call's input.  -2 after a code that has no meaning, -6 for a call
 * after that, both reported. */
int32_t LZWD_ToRaw(LZWDecoder *decoder, const uint8_t *in, int32_t inLen, uint8_t *out,
                   int32_t outMax);

/* Input bytes taken and bytes written by the last LZWD_ToRaw; 0 for null. */
inline constexpr auto LZWD_Consumed = decoderConsumed<LZWDecoder>;
inline constexpr auto LZWD_Produced = decoderProduced<LZWDecoder>;

inline constexpr auto LZWD_isBegin = decoderIsBegin<LZWDecoder>;
inline constexpr auto LZWD_isRun = decoderIsRun<LZWDecoder>;
inline constexpr auto LZWD_isBeginRun = decoderIsBeginRun<LZWDecoder>;
inline constexpr auto LZWD_isDone = decoderIsDone<LZWDecoder>;
inline constexpr auto LZWD_isError = decoderIsError<LZWDecoder>;

/* No more input comes: a call that cannot read a code ends the data. */
void LZWD_setEODInput(LZWDecoder *decoder);
void LZWD_unsetEODInput(LZWDecoder *decoder);
int32_t LZWD_isEODInput(const LZWDecoder *decoder);

void LZWD_setOptEarlyChange(LZWDecoder *decoder);
void LZWD_unsetOptEarlyChange(LZWDecoder *decoder);
int32_t LZWD_isOptEarlyChange(const LZWDecoder *decoder);

#endif
