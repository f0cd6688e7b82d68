/*
 * dispatch.h - the decoder families behind one interface, told apart by a decoder id
 */
#ifndef ZOLAK_FILTER_DISPATCH_H
#define ZOLAK_FILTER_DISPATCH_H

#include <cstdint>

#include "zelkov/control.h"

/* ORDER DECODER: the families of dispatch.cpp stand in this order. */
enum DecoderId : int32_t {
    DECODER_ASCII85,
    DECODER_ASCIIHEX,
    DECODER_LZW,
    DECODER_FLATE,
    DECODER_RUNLENGTH,
    DECODER_COUNT,
    DECODER_NONE = -1
};

struct FilterName {
    const char *name; /* as it stands in a stream's /Filter, slash included */
    int32_t id;
};

/* The filters that have a decoder; a null name ends the table. */
extern const FilterName filterNames[];

/* One filter of a decoding chain and the bytes on both sides of it. */
struct ChainElement {
    int32_t id;  /* a DecoderId */
    void *state; /* of the family of that id; from filterInit, owned */

    uint8_t *input; /* FILTER_BUFFER_BYTES, owned: bytes that wait to be decoded */
    int32_t inputFill;
    uint8_t *output; /* FILTER_BUFFER_BYTES, owned: decoded bytes that wait to be passed on */
    int32_t outputFill;
};

/* A new decoder state of the family, to be given to filterFree; null on failure, for the
 * RunLength family always, and for an id that is none. */
void *filterInit(int32_t id, ZelkovController *controller);

/* What the element's family answers; for an id that is none, 0 from filterIsDone and -1 from the
 * others. */
int32_t filterIsDone(const ChainElement &element);
int32_t filterConsumed(const ChainElement &element);
int32_t filterToRaw(const ChainElement &element, const uint8_t *in, int32_t inLen, uint8_t *out,
                    int32_t outMax);

/* Releases the element's decoder state; null is accepted. */
void filterFree(const ChainElement &element);

#endif
