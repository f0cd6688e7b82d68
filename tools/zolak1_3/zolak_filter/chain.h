/*
 * chain.h - the decoding chain: a stream's decoders, joined by buffers
 *
 * The elements stand in the order of the stream's /Filter: encoded bytes go in at the first,
 * decoded ones come out at the last.
 */
#ifndef ZOLAK_FILTER_CHAIN_H
#define ZOLAK_FILTER_CHAIN_H

#include <cstdint>

#include "tools/zolak1_3/zolak_filter/dispatch.h"

/* Bytes of every buffer between the file, the decoders and the output. */
constexpr int32_t FILTER_BUFFER_BYTES = 2048;

/* Filters of one stream that are set up.  Each takes some 40,000 bytes, and its name only a few of
 * the file. */
constexpr int32_t MAX_FILTERS = 64;

/* chainInit makes it, its caller owns it, chainFree ends it. */
struct DecodingChain {
    ZelkovController *controller;
    int32_t consumed; /* bytes taken from the caller by the last chain_ToRaw */
    int32_t produced; /* bytes written to the caller's output by it */
    int32_t state;    /* a DecoderState */
    int32_t count;
    ChainElement *elements; /* `count` of them, owned */
    bool moved; /* the last chain_ToRaw took, decoded or passed on a byte in any of its stages */
    int64_t decoded; /* bytes that all decoders together have made so far */
};

/* A chain of the named filters, in the state Begin; null after a report, or without memory.  Those
 * beyond MAX_FILTERS cannot be set up, nor can one without a name. */
DecodingChain *chainInit(ZelkovController *controller, int32_t count, const char *const *names);

/* Moves bytes on by one stage for each element: takes what the first one has room for, lets each
 * decode what it can, and writes what the last one has to `out`.  Answers the bytes written, which
 * may be 0 although more is to come, or -1 after a decoder's fault and in the states Done and
 * Error.  An outMax of FILTER_BUFFER_BYTES always empties the last element; with less, bytes that
 * still wait there when the chain is Done are lost. */
int32_t chain_ToRaw(DecodingChain *chain, const uint8_t *in, int32_t inLen, uint8_t *out,
                    int32_t outMax);

int32_t chainConsumed(const DecodingChain *chain);

/* 1 as long as there may be more to decode. */
int32_t chain_isBeginRun(const DecodingChain *chain);

/* Null is accepted. */
void chainFree(DecodingChain *chain);

#endif
