/*
 * driver.h - drives a decoder of any family through encoded data, in pieces of any size
 *
 * Every call gets its input and its room in memory of exactly that size, so that the sanitizers
 * see a single byte read or written too far.
 */
#ifndef TESTS_COMPRESS_DRIVER_H
#define TESTS_COMPRESS_DRIVER_H

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>

#include "tools/compress1_0/decoderstate.h"
#include "tools/compress1_0/lzwdecode.h"
#include "tools/compress1_1/ascii85decode.h"
#include "tools/compress1_2/asciihexdecode.h"
#include "tools/compress1_2/flatedecode.h"

#include "tests/compress/plain_decoders.h"

/* One decoder of the product, whatever its family. */
class Decoder {
  public:
    virtual ~Decoder() = default;
    virtual int32_t toRaw(const uint8_t *in, int32_t inLen, uint8_t *out, int32_t outMax) = 0;
    virtual int32_t consumed() const = 0;
    virtual int32_t produced() const = 0;
    virtual uint32_t state() const = 0;
};

template <class State, auto toRawCall, auto consumedCall, auto producedCall, auto isRunCall,
          auto isDoneCall, auto isErrorCall, auto freeCall>
class DecoderOf : public Decoder {
  public:
    explicit DecoderOf(State *made) : decoder(made) {}
    ~DecoderOf() override { freeCall(decoder); }
    DecoderOf(const DecoderOf &) = delete;
    DecoderOf &operator=(const DecoderOf &) = delete;

    int32_t toRaw(const uint8_t *in, int32_t inLen, uint8_t *out, int32_t outMax) override
    {
        return toRawCall(decoder, in, inLen, out, outMax);
    }
    int32_t consumed() const override { return consumedCall(decoder); }
    int32_t produced() const override { return producedCall(decoder); }
    uint32_t state() const override
    {
        return isErrorCall(decoder)  ? DECODER_ERROR
               : isDoneCall(decoder) ? DECODER_DONE
               : isRunCall(decoder)  ? DECODER_RUN
                                     : DECODER_BEGIN;
    }

    State *decoder;
};

using DecoderASCII85 =
    DecoderOf<ASCII85Decoder, ASCII85D_ToRaw, ASCII85D_Consumed, ASCII85D_Produced, ASCII85D_isRun,
              ASCII85D_isDone, ASCII85D_isError, ASCII85D_Free>;
using DecoderASCIIHex =
    DecoderOf<ASCIIHexDecoder, ASCIIHexD_ToRaw, ASCIIHexD_Consumed, ASCIIHexD_Produced,
              ASCIIHexD_isRun, ASCIIHexD_isDone, ASCIIHexD_isError, ASCIIHexD_Free>;
using DecoderLZW = DecoderOf<LZWDecoder, LZWD_ToRaw, LZWD_Consumed, LZWD_Produced, LZWD_isRun,
                             LZWD_isDone, LZWD_isError, LZWD_Free>;
using DecoderFlate = DecoderOf<FlateDecoder, FlateD_ToRaw, FlateD_Consumed, FlateD_Produced,
                               FlateD_isRun, FlateD_isDone, FlateD_isError, FlateD_Free>;

enum DecoderFamilyId { FAMILY_ASCII85, FAMILY_ASCIIHEX, FAMILY_LZW, FAMILY_FLATE, FAMILIES };

inline std::unique_ptr<Decoder> makeDecoder(int family, ZelkovController *controller)
{
    switch (family) {
    case FAMILY_ASCII85:
        return std::make_unique<DecoderASCII85>(ASCII85D_Init(controller));
    case FAMILY_ASCIIHEX:
        return std::make_unique<DecoderASCIIHex>(ASCIIHexD_Init(controller));
    case FAMILY_LZW:
        return std::make_unique<DecoderLZW>(LZWD_Init(12, controller));
    default:
        return std::make_unique<DecoderFlate>(FlateD_Init(controller));
    }
}

inline std::unique_ptr<PlainDecoder> makePlainDecoder(int family)
{
    switch (family) {
    case FAMILY_ASCII85:
        return std::make_unique<PlainASCII85>();
    case FAMILY_ASCIIHEX:
        return std::make_unique<PlainASCIIHex>();
    case FAMILY_LZW:
        return std::make_unique<PlainLZW>();
    default:
        return std::make_unique<PlainFlate>();
    }
}

/* One call and all that can be seen of it. */
struct CallResult {
    int32_t answer, consumed, produced;
    uint32_t state;
    std::string out;

    bool operator==(const CallResult &) const = default;
};

inline CallResult callDecoder(Decoder &decoder, const char *data, size_t inLen, size_t outMax)
{
    std::unique_ptr<uint8_t[]> in(new uint8_t[inLen]), out(new uint8_t[outMax]);
    if (inLen)
        memcpy(in.get(), data, inLen);
    int32_t answer = decoder.toRaw(in.get(), (int32_t)inLen, out.get(), (int32_t)outMax);
    return {answer,
            decoder.consumed(),
            decoder.produced(),
            decoder.state(),
            {out.get(), out.get() + decoder.produced()}};
}

inline CallResult callPlain(PlainDecoder &decoder, const char *data, size_t inLen, size_t outMax)
{
    std::string out(outMax, '\0');
    int32_t answer = decoder.toRaw(reinterpret_cast<const uint8_t *>(data), (int32_t)inLen,
                                   reinterpret_cast<uint8_t *>(out.data()), (int32_t)outMax);
    out.resize((size_t)decoder.produced);
    return {answer, decoder.consumed, decoder.produced, decoder.state, out};
}

/* What came of decoding a whole piece of data. */
struct Decoded {
    std::string data;
    uint32_t state;
    int32_t answer;  /* of the last call */
    size_t consumed; /* in all */
};

/* Decodes until the decoder is Done or fails, or nothing moves although all input is offered.
 * `inSize` and `outSize` are asked for the sizes before each call.  What is not taken is offered
 * again with more behind it.  `capacity` bounds the output. */
template <class InSizes, class OutSizes>
Decoded decodeWith(Decoder &decoder, const std::string &encoded, InSizes inSize, OutSizes outSize,
                   size_t capacity = SIZE_MAX)
{
    Decoded result = {{}, decoder.state(), 0, 0};
    size_t offered = 0;
    for (int idle = 0; idle < 3 && result.state <= DECODER_RUN && result.data.size() < capacity;) {
        size_t left = encoded.size() - result.consumed;
        offered = std::min(left, offered + inSize());
        CallResult call =
            callDecoder(decoder, encoded.data() + result.consumed, offered, (size_t)outSize());
        result.answer = call.answer;
        result.state = call.state;
        result.consumed += (size_t)call.consumed;
        if (call.answer < 0)
            return result;
        result.data += call.out;
        bool moved = call.consumed > 0 || call.produced > 0;
        offered = moved ? 0 : offered;
        idle = moved || offered < left ? 0 : idle + 1;
    }
    return result;
}

/* The same in pieces of one size. */
inline Decoded decodePieces(Decoder &decoder, const std::string &encoded, size_t inSize,
                            size_t outSize)
{
    return decodeWith(
        decoder, encoded, [&]() { return inSize; }, [&]() { return outSize; });
}

#endif
