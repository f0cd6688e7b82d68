/*
 * dispatch.cpp - one row of functions for each decoder family
 */
#include "tools/zolak1_3/zolak_filter/dispatch.h"

#include "tools/compress1_0/lzwdecode.h"
#include "tools/compress1_0/runlengthdecode.h"
#include "tools/compress1_1/ascii85decode.h"
#include "tools/compress1_2/asciihexdecode.h"
#include "tools/compress1_2/flatedecode.h"

namespace {

constexpr int32_t LZW_MAX_BITS = 12;

/* No state of the RunLength family is made with this parameter: the filter is known, and setting
 * it up fails. */
constexpr int32_t RUNLENGTH_PARAMETER = 8;

struct DecoderFamily {
    void *(*init)(ZelkovController *controller);
    int32_t (*isDone)(const void *state);
    int32_t (*consumed)(const void *state);
    int32_t (*toRaw)(void *state, const uint8_t *in, int32_t inLen, uint8_t *out, int32_t outMax);
    void (*release)(void *state);
};

/* The row of a family whose functions take a Decoder. */
template <class Decoder, int32_t (*isDone)(const Decoder *), int32_t (*consumed)(const Decoder *),
          int32_t (*toRaw)(Decoder *, const uint8_t *, int32_t, uint8_t *, int32_t),
          void (*release)(Decoder *)>
constexpr DecoderFamily makeFamily(void *(*init)(ZelkovController *))
{
    return {
        init,
        [](const void *state) { return isDone(static_cast<const Decoder *>(state)); },
        [](const void *state) { return consumed(static_cast<const Decoder *>(state)); },
        [](void *state, const uint8_t *in, int32_t inLen, uint8_t *out, int32_t outMax) {
            return toRaw(static_cast<Decoder *>(state), in, inLen, out, outMax);
        },
        [](void *state) { release(static_cast<Decoder *>(state)); },
    };
}

/* ORDER DECODER */
constexpr DecoderFamily families[] = {
    makeFamily<ASCII85Decoder, ASCII85D_isDone, ASCII85D_Consumed, ASCII85D_ToRaw, ASCII85D_Free>(
        [](ZelkovController *c) -> void * { return ASCII85D_Init(c); }),
    makeFamily<ASCIIHexDecoder, ASCIIHexD_isDone, ASCIIHexD_Consumed, ASCIIHexD_ToRaw,
               ASCIIHexD_Free>([](ZelkovController *c) -> void * { return ASCIIHexD_Init(c); }),
    makeFamily<LZWDecoder, LZWD_isDone, LZWD_Consumed, LZWD_ToRaw, LZWD_Free>(
        [](ZelkovController *c) -> void * { return LZWD_Init(LZW_MAX_BITS, c); }),
    makeFamily<FlateDecoder, FlateD_isDone, FlateD_Consumed, FlateD_ToRaw, FlateD_Free>(
        [](ZelkovController *c) -> void * { return FlateD_Init(c); }),
    makeFamily<RunLengthDecoder, RLED_isDone, RLED_Consumed, RLED_ToRaw, RLED_Free>(
        [](ZelkovController *c) -> void * { return RLED_Init(RUNLENGTH_PARAMETER, c); }),
};
static_assert(sizeof families / sizeof families[0] == DECODER_COUNT);

/* The row of an id, or null. */
const DecoderFamily *familyOf(int32_t id)
{
    return id >= 0 && id < DECODER_COUNT ? &families[id] : nullptr;
}

} // namespace

const FilterName filterNames[] = {
    {"/ASCII85Decode", DECODER_ASCII85},
    {"/ASCIIHexDecode", DECODER_ASCIIHEX},
    {"/LZWDecode", DECODER_LZW},
    {"/FlateDecode", DECODER_FLATE},
    {"/RunLengthDecode", DECODER_RUNLENGTH},
    {nullptr, DECODER_NONE},
};
static_assert(sizeof filterNames / sizeof filterNames[0] == DECODER_COUNT + 1,
              "one row for each decoder, and the end mark");

void *filterInit(int32_t id, ZelkovController *controller)
{
    const DecoderFamily *family = familyOf(id);
    return family ? family->init(controller) : nullptr;
}

int32_t filterIsDone(const ChainElement &element)
{
    const DecoderFamily *family = familyOf(element.id);
    return family ? family->isDone(element.state) : 0;
}

int32_t filterConsumed(const ChainElement &element)
{
    const DecoderFamily *family = familyOf(element.id);
    return family ? family->consumed(element.state) : -1;
}

int32_t filterToRaw(const ChainElement &element, const uint8_t *in, int32_t inLen, uint8_t *out,
                    int32_t outMax)
{
    const DecoderFamily *family = familyOf(element.id);
    return family ? family->toRaw(element.state, in, inLen, out, outMax) : -1;
}

void filterFree(const ChainElement &element)
{
    if (const DecoderFamily *family = familyOf(element.id))
        family->release(element.state);
}
