/*
 * bench_decoders.cpp - throughput of the decoders, by bytes of output
 *
 * Input and output go through buffers of 2048 bytes, as in a decoding chain; zlib's inflate gets
 * the same buffers.  The data is made by formula, several megabytes of each kind; the label tells
 * how far it compresses.  A file named in the environment variable BENCH_FILE is measured too.
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
#include "tools/zolak1_3/zolak_filter/chain.h"

namespace {

constexpr size_t SAMPLE_BYTES = 4 << 20;
constexpr int32_t PIECE = FILTER_BUFFER_BYTES;

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

std::string encodeFlate(const std::string &data)
{
    uLongf size = compressBound((uLong)data.size());
    std::string encoded(size, '\0');
    compress2(reinterpret_cast<Bytef *>(encoded.data()), &size,
              reinterpret_cast<const Bytef *>(data.data()), (uLong)data.size(), 6);
    encoded.resize(size);
    return encoded;
}

void tell(benchmark::State &state, int64_t kind, const std::string &encoded)
{
    const std::string &data = sample(kind);
    char label[80];
    snprintf(label, sizeof label, "%s, %.2f : 1", kindNames[kind],
             (double)data.size() / (double)encoded.size());
    state.SetLabel(label);
    state.SetBytesProcessed((int64_t)state.iterations() * (int64_t)data.size());
}

/* Decodes all of it; answers the bytes that came out. */
size_t decode(int32_t id, const std::string &encoded, ZelkovController *controller)
{
    static uint8_t out[PIECE];
    ChainElement decoder = {id, filterInit(id, controller), nullptr, 0, nullptr, 0};
    const uint8_t *in = reinterpret_cast<const uint8_t *>(encoded.data());
    size_t left = encoded.size(), made = 0;
    while (!filterIsDone(decoder)) {
        int32_t count =
            filterToRaw(decoder, in, (int32_t)std::min<size_t>(left, PIECE), out, PIECE);
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
        if (decode(id, encoded, controller) != data.size())
            state.SkipWithError("wrong output");
    tell(state, state.range(0), encoded);
}

void Flate(benchmark::State &state)
{
    decodeRepeatedly(state, DECODER_FLATE, encodeFlate);
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

size_t inflateAll(const std::string &encoded)
{
    static uint8_t out[PIECE];
    z_stream stream = {};
    inflateInit(&stream);
    stream.next_in = reinterpret_cast<Bytef *>(const_cast<char *>(encoded.data()));
    size_t left = encoded.size(), made = 0;
    int result = Z_OK;
    while (result == Z_OK) {
        uInt given = (uInt)std::min<size_t>(left, PIECE);
        stream.avail_in = given;
        stream.next_out = out;
        stream.avail_out = PIECE;
        result = inflate(&stream, Z_NO_FLUSH);
        left -= given - stream.avail_in;
        made += PIECE - stream.avail_out;
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
        if (inflateAll(encoded) != data.size())
            state.SkipWithError("wrong output");
    tell(state, state.range(0), encoded);
}

size_t runChain(const std::string &encoded, int count, const char *const *names,
                ZelkovController *controller)
{
    static uint8_t out[PIECE];
    ConverterInstance inst = {};
    inst.controller = controller;
    DecodingChain *chain = chainInit(&inst, count, names);
    const uint8_t *in = reinterpret_cast<const uint8_t *>(encoded.data());
    size_t left = encoded.size(), made = 0;
    while (chain_isBeginRun(chain)) {
        int32_t done = chain_ToRaw(chain, in, (int32_t)std::min<size_t>(left, PIECE), out, PIECE);
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

void kinds(benchmark::internal::Benchmark *b)
{
    for (int64_t kind = TEXT; kind <= NOISE; kind++)
        b->Arg(kind);
    if (getenv("BENCH_FILE"))
        b->Arg(NAMED_FILE);
    b->Unit(benchmark::kMillisecond);
}

BENCHMARK(Flate)->Apply(kinds);
BENCHMARK(ZlibInflate)->Apply(kinds);
BENCHMARK(LZW)->Apply(kinds);
BENCHMARK(ASCII85)->Arg(TEXT)->Arg(NOISE)->Unit(benchmark::kMillisecond);
BENCHMARK(ASCIIHex)->Arg(TEXT)->Arg(NOISE)->Unit(benchmark::kMillisecond);
BENCHMARK(ChainASCII85Flate)->Arg(TEXT)->Unit(benchmark::kMillisecond);

} // namespace
