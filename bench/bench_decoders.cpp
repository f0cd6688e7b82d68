/*
 * bench_decoders.cpp - throughput of the decoders, by bytes of output
 *
 * Input and output go through buffers of 2048 bytes, as in a decoding chain, and for comparison of
 * 1 MiB; zlib's inflate gets the same buffers.  The data is made by formula, several megabytes of
 * each kind; the label tells which, and how far it compresses.  A file named in the environment
 * variable BENCH_FILE is measured too.
 */
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <zlib.h>

#include "tests/compress/encoders.h"
#include "tests/compress/quiet_controller.h"
#include "tests/compress/samples.h"
#include "tests/compress/zlib_encoder.h"
#include "tools/zolak1_3/zolak_filter/chain.h"

namespace {

constexpr size_t SAMPLE_BYTES = 4 << 20;
constexpr int32_t LARGE_PIECE = 1 << 20;

enum Kind { TEXT, PAGE, FONT, IMAGE, RUNS, NOISE, NAMED_FILE };

const std::string &sample(int64_t kind)
{
    static std::string made[NAMED_FILE + 1];
    std::string &data = made[kind];
    if (data.empty() && kind == NAMED_FILE) {
        const char *name = getenv("BENCH_FILE");
        std::ifstream file(name ? name : "", std::ios::binary);
        data.assign(std::istreambuf_iterator<char>(file), {});
    } else if (data.empty()) {
        data = sampleOf((int)kind, SAMPLE_BYTES, 1);
    }
    return data;
}

const char *const kindNames[] = {"text", "page", "font", "image", "runs", "noise", "file"};

void tell(benchmark::State &state, int64_t kind, const std::string &encoded)
{
    const std::string &data = sample(kind);
    char label[80];
    snprintf(label, sizeof label, "%s, %.2f : 1", kindNames[kind],
             (double)data.size() / (double)encoded.size());
    state.SetLabel(label);
    state.SetBytesProcessed((int64_t)state.iterations() * (int64_t)data.size());
}

uint8_t out[LARGE_PIECE];

/* Decodes all of it; answers the bytes that came out. */
size_t decode(int32_t id, const std::string &encoded, int32_t piece, ZelkovController *controller)
{
    ChainElement decoder = {id, filterInit(id, controller), nullptr, 0, nullptr, 0};
    const uint8_t *in = reinterpret_cast<const uint8_t *>(encoded.data());
    size_t left = encoded.size(), made = 0;
    while (!filterIsDone(decoder)) {
        int32_t count =
            filterToRaw(decoder, in, (int32_t)std::min(left, (size_t)piece), out, piece);
        int32_t used = filterConsumed(decoder);
        if (count < 0 || (count == 0 && used == 0))
            break;
        in += used;
        left -= (size_t)used;
        made += (size_t)count;
        benchmark::DoNotOptimize(out);
    }
    filterFree(decoder);
    return made;
}

void decodeRepeatedly(benchmark::State &state, int32_t id,
                      std::string (*encode)(const std::string &))
{
    QuietController controller;
    const std::string &data = sample(state.range(0));
    std::string encoded = encode(data);
    for (auto _ : state)
        if (decode(id, encoded, (int32_t)state.range(1), controller) != data.size())
            state.SkipWithError("wrong output");
    tell(state, state.range(0), encoded);
}

void Flate(benchmark::State &state)
{
    decodeRepeatedly(state, DECODER_FLATE,
                     [](const std::string &data) { return encodeFlate(data); });
}

void LZW(benchmark::State &state)
{
    decodeRepeatedly(state, DECODER_LZW, [](const std::string &data) { return encodeLZW(data); });
}

void ASCII85(benchmark::State &state)
{
    decodeRepeatedly(state, DECODER_ASCII85, encodeASCII85);
}

void ASCIIHex(benchmark::State &state)
{
    decodeRepeatedly(state, DECODER_ASCIIHEX, encodeASCIIHex);
}

size_t inflateAll(const std::string &encoded, size_t piece)
{
    z_stream stream = {};
    inflateInit(&stream);
    stream.next_in = reinterpret_cast<Bytef *>(const_cast<char *>(encoded.data()));
    size_t left = encoded.size(), made = 0;
    int result = Z_OK;
    while (result == Z_OK) {
        uInt given = (uInt)std::min(left, piece);
        stream.avail_in = given;
        stream.next_out = out;
        stream.avail_out = (uInt)piece;
        result = inflate(&stream, Z_NO_FLUSH);
        left -= given - stream.avail_in;
        made += piece - stream.avail_out;
        benchmark::DoNotOptimize(out);
    }
    inflateEnd(&stream);
    return made;
}

void ZlibInflate(benchmark::State &state)
{
    const std::string &data = sample(state.range(0));
    std::string encoded = encodeFlate(data);
    for (auto _ : state)
        if (inflateAll(encoded, (size_t)state.range(1)) != data.size())
            state.SkipWithError("wrong output");
    tell(state, state.range(0), encoded);
}

size_t runChain(const std::string &encoded, int count, const char *const *names,
                ZelkovController *controller)
{
    constexpr size_t PIECE = FILTER_BUFFER_BYTES;
    DecodingChain *chain = chainInit(controller, count, names);
    const uint8_t *in = reinterpret_cast<const uint8_t *>(encoded.data());
    size_t left = encoded.size(), made = 0;
    while (chain_isBeginRun(chain)) {
        int32_t done = chain_ToRaw(chain, in, (int32_t)std::min(left, PIECE), out, PIECE);
        if (done < 0)
            break;
        made += (size_t)done;
        in += chainConsumed(chain);
        left -= (size_t)chainConsumed(chain);
        benchmark::DoNotOptimize(out);
    }
    chainFree(chain);
    return made;
}

void ChainASCII85Flate(benchmark::State &state)
{
    static const char *const names[] = {"/ASCII85Decode", "/FlateDecode"};
    QuietController controller;
    const std::string &data = sample(state.range(0));
    std::string encoded = encodeASCII85(encodeFlate(data));
    for (auto _ : state)
        if (runChain(encoded, 2, names, controller) != data.size())
            state.SkipWithError("wrong output");
    tell(state, state.range(0), encoded);
}

void allKinds(benchmark::internal::Benchmark *b)
{
    int last = getenv("BENCH_FILE") ? NAMED_FILE : NOISE;
    for (int64_t piece : {FILTER_BUFFER_BYTES, LARGE_PIECE})
        for (int64_t kind = TEXT; kind <= last; kind++)
            b->Args({kind, piece});
    b->Unit(benchmark::kMillisecond);
}

void textAndNoise(benchmark::internal::Benchmark *b)
{
    b->Args({TEXT, FILTER_BUFFER_BYTES})->Args({NOISE, FILTER_BUFFER_BYTES});
    b->Unit(benchmark::kMillisecond);
}

BENCHMARK(Flate)->Apply(allKinds);
BENCHMARK(ZlibInflate)->Apply(allKinds);
BENCHMARK(LZW)->Apply(allKinds);
BENCHMARK(ASCII85)->Apply(textAndNoise);
BENCHMARK(ASCIIHex)->Apply(textAndNoise);
BENCHMARK(ChainASCII85Flate)->Arg(TEXT)->Unit(benchmark::kMillisecond);

} // namespace
