/*
 * fuzz_chain.cpp - a decoding chain against its decoders one after the other
 *
 * Input: one byte for the number of filters and one that draws the sizes of the pieces, one byte
 * for each filter, and the encoded data.
 */
#include <vector>

#include "fuzz/fuzz_decoder.h"
#include "tools/zolak1_3/zolak_filter/chain.h"

namespace {

constexpr size_t OUTPUT_LIMIT = 256 * 1024; /* a bomb is not a finding */

/* What one decoder makes of all of its data.  *fault becomes true when it does not like them. */
std::string decodeWhole(int family, const std::string &encoded, ZelkovController *controller,
                        bool *fault)
{
    std::unique_ptr<Decoder> decoder = makeDecoder(family, controller);
    std::string decoded;
    size_t at = 0;
    for (int idle = 0; idle < 2 && decoded.size() < OUTPUT_LIMIT;) {
        CallResult result =
            callDecoder(*decoder, encoded.data() + at, encoded.size() - at, FILTER_BUFFER_BYTES);
        decoded += result.out;
        at += (size_t)result.consumed;
        if (result.answer < 0 || result.state > DECODER_RUN) {
            *fault |= result.state != DECODER_DONE;
            break;
        }
        idle = result.consumed || result.produced ? 0 : idle + 1;
    }
    return decoded;
}

/* What a chain makes of it. */
std::string decodeInChain(DecodingChain *chain, const std::string &encoded, Random &random)
{
    std::string decoded;
    size_t at = 0;
    for (int idle = 0; idle < 2 && decoded.size() < OUTPUT_LIMIT && chain_isBeginRun(chain);) {
        size_t offered = std::min(encoded.size() - at, random.size(1, FILTER_BUFFER_BYTES));
        uint8_t out[FILTER_BUFFER_BYTES];
        int32_t made = chain_ToRaw(chain, reinterpret_cast<const uint8_t *>(encoded.data()) + at,
                                   (int32_t)offered, out, FILTER_BUFFER_BYTES);
        if (made < 0)
            break;
        decoded.append(out, out + made);
        at += (size_t)chainConsumed(chain);
        idle = chain->moved ? 0 : idle + 1;
    }
    return decoded;
}

/* How much is decoded behind an end mark inside a pair of digits depends on the pieces. */
bool dependsOnPieces(int family, const std::string &encoded)
{
    return family == FAMILY_ASCIIHEX && encoded.find('>') < encoded.size() - 1;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static QuietController controller;
    if (size < 2)
        return 0;
    size_t count = 1 + data[0] % 3;
    Random random(data[1]);
    if (size < 2 + count)
        return 0;
    std::string encoded(data + 2 + count, data + size), expected = encoded;
    std::vector<const char *> names;
    bool fault = false;
    for (size_t i = 0; i < count; i++) {
        int id = data[2 + i] % FAMILIES; /* the families stand in the order of the ids */
        names.push_back(filterNames[id].name);
        if (dependsOnPieces(id, expected))
            return 0;
        expected = decodeWhole(id, expected, controller, &fault);
        if (expected.size() >= OUTPUT_LIMIT)
            return 0;
    }
    DecodingChain *chain = chainInit(controller, (int32_t)count, names.data());
    std::string decoded = decodeInChain(chain, encoded, random);
    chainFree(chain);
    require(expected.starts_with(decoded), "the chain decodes something else");
    require(fault || decoded == expected, "the chain loses bytes");
    return 0;
}
