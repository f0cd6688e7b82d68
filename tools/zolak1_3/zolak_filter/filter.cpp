/*
 * filter.cpp - from a stream's data in the file, through the decoding chain, to an output file
 *
 * errno is tested after file calls and never cleared, so that an error from before shows here at
 * the latest.  Data that runs past the end of the file is such an error.
 */
#include "tools/zolak1_3/zolak_filter/filter.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "tools/zolak1_3/pdf_to_ps/reader/filterlist.h"
#include "tools/zolak1_3/zolak_filter/chain.h"
#include "tools/zolak1_3/zolak_filter/report.h"
#include "zelkov/text.h"

namespace {

/* What the decoders of one stream may make, all together.  Filters over filters multiply: a few
 * kilobytes could otherwise fill every disk, or run for years and write nothing. */
constexpr int64_t MAX_DECODED_BYTES = 1073741824;

/* What a stream may be decoded into. */
constexpr uint64_t RESULT_ALWAYS = 64 * 1024 * 1024;
constexpr uint64_t RESULT_PER_FILE_BYTE = 200;

constexpr int32_t COPY_BYTES = 64 * 1024;

/* Passes in a row in which nothing moves: after the first, a decoder may still have something to
 * say about what it holds; after the second nothing will ever change. */
constexpr int IDLE_PASSES = 2;

void report(PdfReader *reader, FilterReportLine line, Severity severity, const char *text)
{
    control_report(reader->controller, FILTER_MODULE, FILTER_SOURCE, line, severity, FILTER_KEY,
                   "%s", text);
}

/* Reads up to `count` bytes with the outcome of as many single reads: fewer only with errno set,
 * at the end of the file as well. */
int32_t readBytes(ZFile *input, uint8_t *to, int32_t count)
{
    int32_t done = 0;
    for (;;) {
        done += (int32_t)fgetm(input, to + done, (size_t)(count - done));
        if (done == count || errno != 0)
            return done;
        int byte = fgetb(input);
        if (byte < 0)
            return done;
        to[done++] = (uint8_t)byte;
    }
}

void copyUndecoded(PdfReader *reader, const PdfStream *stream, ZFile *output)
{
    uint8_t block[COPY_BYTES];
    int32_t left = stream->length;
    while (left > 0) {
        int32_t wanted = std::min(left, COPY_BYTES);
        int32_t count = readBytes(reader->input, block, wanted);
        if (fputm(output, block, (size_t)count) != 0 || count < wanted)
            break;
        left -= count;
    }
    if (errno)
        report(reader, LINE_COPY, SEVERITY_ERROR, "Error copying stream data.");
}

/* Data of these filters is text, which may be broken into lines. */
bool isTextFilter(const char *name)
{
    return cmpstr(name, "/ASCIIHexDecode") == 0 || cmpstr(name, "/ASCII85Decode") == 0;
}

/* The encoded data: what has been read of it, and what waits for the chain. */
struct EncodedData {
    ZFile *input;
    int32_t length;
    bool dropsSpace; /* white space is no data */
    int32_t readSoFar;
    uint64_t written; /* decoded, in the output */
    int32_t fill;
    uint8_t bytes[FILTER_BUFFER_BYTES];
};

/* Answers how many of the bytes are left when white space is taken out. */
int32_t dropSpace(uint8_t *bytes, int32_t count)
{
    return (int32_t)(std::remove_if(bytes, bytes + count, isSpaceByte) - bytes);
}

/* Fills the buffer as far as there is data. */
void fillBuffer(EncodedData &data)
{
    while (data.fill < FILTER_BUFFER_BYTES && data.readSoFar < data.length) {
        int32_t wanted = std::min(FILTER_BUFFER_BYTES - data.fill, data.length - data.readSoFar);
        uint8_t *to = data.bytes + data.fill;
        int32_t count = readBytes(data.input, to, wanted);
        data.readSoFar += count;
        data.fill += data.dropsSpace ? dropSpace(to, count) : count;
        if (count < wanted)
            return;
    }
}

void dropFront(EncodedData &data, int32_t count)
{
    data.fill -= count;
    memmove(data.bytes, data.bytes + count, (size_t)data.fill);
}

enum PassResult { PASS_MORE, PASS_IDLE, PASS_ENDED };

uint64_t mostDecoded(ZFile *input)
{
    return RESULT_ALWAYS + RESULT_PER_FILE_BYTE * fgeteof(input);
}

/* Reads, decodes and writes what fits into the buffers. */
PassResult decodePass(PdfReader *reader, DecodingChain *chain, EncodedData &data, ZFile *output)
{
    int32_t before = data.readSoFar;
    fillBuffer(data);
    uint8_t decoded[FILTER_BUFFER_BYTES];
    int32_t count = chain_ToRaw(chain, data.bytes, data.fill, decoded, FILTER_BUFFER_BYTES);
    if (count < 0) {
        report(reader, LINE_DECODE, SEVERITY_ERROR, "Error uncompressing stream data.");
        return PASS_ENDED;
    }
    fputm(output, decoded, (size_t)count);
    if (errno) {
        report(reader, LINE_WRITE, SEVERITY_ERROR, "Error writing decoded data to file.");
        return PASS_ENDED;
    }
    data.written += (uint64_t)count;
    if (chain->decoded > MAX_DECODED_BYTES || data.written > mostDecoded(data.input)) {
        report(reader, LINE_TOO_LARGE, SEVERITY_ERROR, "Stream data is too large.");
        return PASS_ENDED;
    }
    dropFront(data, chainConsumed(chain));
    stopWhenCancelled(reader);
    if (!chain_isBeginRun(chain) || reader->errorFlag)
        return PASS_ENDED;
    return chain->moved || data.readSoFar > before ? PASS_MORE : PASS_IDLE;
}

void decode(PdfReader *reader, DecodingChain *chain, EncodedData &data, ZFile *output)
{
    for (int idle = 0; idle < IDLE_PASSES;) {
        PassResult result = decodePass(reader, chain, data, output);
        if (result == PASS_ENDED)
            return;
        idle = result == PASS_IDLE ? idle + 1 : 0;
    }
    report(reader, LINE_DATA_ENDED, SEVERITY_FAULT,
           "Stream data ended before its end-of-data mark.");
}

void copyDecoded(PdfReader *reader, const PdfStream *stream, int32_t count,
                 const char *const *names, ZFile *output)
{
    DecodingChain *chain = chainInit(reader->controller, count, names);
    if (!chain) {
        report(reader, LINE_NO_CHAIN, SEVERITY_ERROR, "Can't create decoding chain.");
        return;
    }
    EncodedData data = {reader->input, stream->length, isTextFilter(names[0]), 0, 0, 0, {}};
    decode(reader, chain, data, output);
    chainFree(chain);
}

} // namespace

void filter(PdfReader *reader, const PdfStream *stream, ZFile *output)
{
    if (reader->errorFlag)
        return;
    char **names = nullptr;
    int32_t count = CreateFilters(reader, stream->dict, &names);
    fputp(reader->input, stream->dataPosition);
    if (count == 0)
        copyUndecoded(reader, stream, output);
    else
        copyDecoded(reader, stream, count, names, output);
    DestroyFilters(reader, names);
}
