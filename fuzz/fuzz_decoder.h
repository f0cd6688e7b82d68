/*
 * fuzz_decoder.h - one decoder and its plainly written counterpart, call by call
 *
 * Input: one byte that bounds the sizes of the pieces, one byte that draws them, and the encoded
 * data.  Any difference between the two decoders ends the program.
 */
#ifndef FUZZ_FUZZ_DECODER_H
#define FUZZ_FUZZ_DECODER_H

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "tests/compress/driver.h"
#include "tests/compress/quiet_controller.h"
#include "tests/compress/samples.h"

inline void require(bool holds, const char *promise)
{
    if (holds)
        return;
    fprintf(stderr, "%s\n", promise);
    abort();
}

inline void requireSame(const CallResult &result, const CallResult &expected)
{
    require(result.answer == expected.answer, "another answer");
    require(result.consumed == expected.consumed, "another consumed");
    require(result.produced == expected.produced, "another produced");
    require(result.state == expected.state, "another state");
    require(result.out == expected.out, "other bytes");
}

inline int fuzzDecoder(int family, const uint8_t *data, size_t size)
{
    constexpr size_t OUTPUT_LIMIT = 64 * 1024; /* a bomb is not a finding */
    if (size < 2)
        return 0;
    static QuietController controller;
    std::unique_ptr<Decoder> decoder = makeDecoder(family, controller);
    std::unique_ptr<PlainDecoder> plain = makePlainDecoder(family);
    size_t inMost = (size_t)1 << (data[0] & 15), outMost = (size_t)4 << (data[0] >> 4 & 7);
    Random random(data[1]);
    std::string encoded(data + 2, data + size);
    size_t at = 0, offered = 0, made = 0;
    for (int idle = 0, after = 0; idle < 3 && after < 3 && made < OUTPUT_LIMIT;) {
        offered = std::min(encoded.size() - at, offered + offered / 4 + random.size(1, inMost));
        size_t room = random.size(0, outMost);
        CallResult result = callDecoder(*decoder, encoded.data() + at, offered, room);
        requireSame(result, callPlain(*plain, encoded.data() + at, offered, room));
        at += (size_t)result.consumed;
        made += (size_t)result.produced;
        bool moved = result.consumed || result.produced;
        offered = moved ? 0 : offered;
        if (moved || at + offered < encoded.size())
            idle = 0;
        else if (room >= 4)
            idle++;
        after += result.state > DECODER_RUN;
    }
    return 0;
}

#endif
