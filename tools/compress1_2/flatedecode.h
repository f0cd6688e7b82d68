/*
 * flatedecode.h - the Flate decoder family (FlateD_)
 *
 * A zlib stream (two header bytes, deflate blocks, Adler-32 checksum) becomes bytes again.
 */
#ifndef COMPRESS_FLATEDECODE_H
#define COMPRESS_FLATEDECODE_H

#include <cstdint>

#include "tools/compress1_0/decoderstate.h"
#include "zelkov/control.h"

constexpr int32_t FLATE_WINDOW_BYTES = 32768;
constexpr int32_t FLATE_LITLEN_CODES = 288;
constexpr int32_t FLATE_DIST_CODES = 30;
constexpr int32_t FLATE_CODES = FLATE_LITLEN_CODES + FLATE_DIST_CODES;
constexpr int32_t FLATE_MAX_BITS = 15;

/* One entry of a code table.  `length` is given by symbol; `code` and `symbol` are sorted by
 * length and then by symbol. */
struct FlateCode {
    uint32_t length; /* bits, 0 to 15; 0: the symbol is not used */
    uint32_t code;
    uint32_t symbol;
};

/* A canonical code: start[L] entries have codes shorter than L bits, and the codes of one length
 * follow each other.  limit[L] is one more than the last code of L bits, or the first one when
 * there is none; the code c below it has the entry offset[L] + c. */
struct FlateTable {
    uint32_t start[FLATE_MAX_BITS + 2];
    const FlateCode *codes;
    uint32_t limit[FLATE_MAX_BITS + 1];
    uint32_t offset[FLATE_MAX_BITS + 1];
};

/* One decoder.  FlateD_Init makes it, its caller owns it, FlateD_Free ends it. */
struct FlateDecoder {
    ZelkovController *controller;
    uint32_t status;  /* the state in the two low bits */
    int32_t consumed; /* by the last FlateD_ToRaw */
    int32_t produced;

    uint32_t needBlockHeader;  /* 1: the next thing in the input is a block header */
    uint32_t lastBlock;        /* 1: the current block is the last one */
    uint32_t awaitingChecksum; /* 1: all blocks are decoded, the checksum was not there yet */
    uint32_t adler;            /* Adler-32 of all output so far */

    /* the last 32 KiB of output, used circularly; cleared at creation */
    uint8_t window[FLATE_WINDOW_BYTES];
    int32_t windowPosition; /* 0 to 32767: of the next byte to hand out */
    int32_t pending;        /* bytes from there on that are decoded but found no room */

    uint32_t bitBuffer; /* input bits taken but not used, first one lowest, zero above */
    int32_t bitCount;   /* 0 to 7 between calls */

    /* of a dynamic block: literals and lengths, the distances right behind them */
    FlateCode codes[FLATE_CODES];
    FlateTable litlen;
    FlateTable dist;

    uint32_t huffmanBlock;   /* 0: the current block is stored */
    int32_t storedRemaining; /* bytes of the stored block still to copy */
};

/* A new decoder that reports through the controller; null without memory. */
FlateDecoder *FlateD_Init(ZelkovController *controller);

/* Null is accepted. */
void FlateD_Free(FlateDecoder *decoder);

/* Decodes from the front of `in` what it can and answers the bytes written, or -1 after a fault
 * that stops it at once.  What is not taken of the input must be offered again with more behind
 * it: a symbol, a block header and the checksum are taken whole or not at all.  A call after the
 * end or a fault is an error of severity 4 and answers 0. */
int32_t FlateD_ToRaw(FlateDecoder *decoder, const uint8_t *in, int32_t inLen, uint8_t *out,
                     int32_t outMax);

/* Input bytes taken and bytes written by the last FlateD_ToRaw; 0 for null. */
inline constexpr auto FlateD_Consumed = decoderConsumed<FlateDecoder>;
inline constexpr auto FlateD_Produced = decoderProduced<FlateDecoder>;

inline constexpr auto FlateD_isBegin = decoderIsBegin<FlateDecoder>;
inline constexpr auto FlateD_isRun = decoderIsRun<FlateDecoder>;
inline constexpr auto FlateD_isBeginRun = decoderIsBeginRun<FlateDecoder>;
inline constexpr auto FlateD_isDone = decoderIsDone<FlateDecoder>;
inline constexpr auto FlateD_isError = decoderIsError<FlateDecoder>;

#endif
