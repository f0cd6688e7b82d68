/*
 * flatedecode.cpp - the Flate decoder family (FlateD_)
 *
 * The caller may stop and go on at any byte of input and output.  The decoding is cut into steps:
 * one symbol (with the match that it begins) or one piece of a stored block, each with the block
 * header before it.  A step that runs out of input is undone and starts over at the next call, so
 * nothing inside a step has to survive a call; output that finds no room waits in the window.
 *
 * Most symbols need none of that: as long as there are 8 bytes of input for them and room for
 * their output, decodeRun takes them in one loop with all state in registers.  It leaves whatever
 * is unusual, untouched, to decodeStep.
 */
#include "tools/compress1_2/flatedecode.h"

#include <algorithm>
#include <new>

#include "tools/compress1_2/adler.h"
#include "tools/compress1_2/bitinput.h"
#include "tools/compress1_2/flatetable.h"
#include "tools/compress1_2/flatewindow.h"

namespace {

constexpr char MODULE[] = "DECODE";
constexpr char SOURCE[] = "tools/compress1_2/flatedecode";

/* The line that each report gives: they name the fault for whoever traces messages, and so stay
 * as they are when the code moves. */
constexpr int LINE_METHOD = 97;
constexpr int LINE_FCHECK = 102;
constexpr int LINE_FDICT = 106;
constexpr int LINE_CHECKSUM = 177;
constexpr int LINE_RESTART = 201;
constexpr int LINE_BLOCK_HEADER = 376;
constexpr int LINE_DYNAMIC = 472;
constexpr int LINE_BAD_CODE = 561;

constexpr int32_t HEADER_BYTES = 2;
constexpr int32_t TRAILER_BYTES = 4;
constexpr int32_t STORED_HEADER_BYTES = 4;

constexpr uint32_t METHOD_DEFLATE = 8;
constexpr uint32_t FLAG_DICTIONARY = 32;

enum BlockType { BLOCK_STORED, BLOCK_FIXED, BLOCK_DYNAMIC };

/* The code for code lengths, and the order in which its own lengths are sent. */
constexpr uint32_t CODE_LENGTH_CODES = 19;
constexpr uint32_t codeLenMap[CODE_LENGTH_CODES + 1] = {16, 17, 18, 0, 8,  7, 9,  6, 10, 5,
                                                        11, 4,  12, 3, 13, 2, 14, 1, 15, 0};

void setState(FlateDecoder *decoder, DecoderState state)
{
    decoder->status = withDecoderState(decoder->status, state);
}

void reportFault(FlateDecoder *decoder, int line, const char *key, const char *text)
{
    control_report(decoder->controller, MODULE, SOURCE, line, SEVERITY_FAULT, key, "%s", text);
}

/* A fault after which the decoder gives nothing more. */
void failDecoder(FlateDecoder *decoder, int line, const char *key, const char *text)
{
    setState(decoder, DECODER_ERROR);
    reportFault(decoder, line, key, text);
}

/* ---- header and trailer of the stream */

bool checkZlibHeader(FlateDecoder *decoder, const uint8_t *in)
{
    uint32_t method = in[0], flags = in[1];
    if ((method & 15) != METHOD_DEFLATE)
        reportFault(decoder, LINE_METHOD, "BADFLATE", "Unknown compression method");
    else if ((method * 256 + flags) % 31 != 0)
        reportFault(decoder, LINE_FCHECK, "BADFLATE", "Bad FCHECK");
    else if (flags & FLAG_DICTIONARY)
        reportFault(decoder, LINE_FDICT, "BADFLATE", "FDICT bit set");
    else
        return true;
    return false;
}

/* The input is behind the last block; it has been given back to a byte boundary. */
void checkAdlerTrailer(FlateDecoder *decoder, const BitInput &input)
{
    if (input.end - input.next < TRAILER_BYTES) {
        decoder->awaitingChecksum = 1;
        return;
    }
    const uint8_t *in = input.next;
    uint32_t expected =
        (uint32_t)in[0] << 24 | (uint32_t)in[1] << 16 | (uint32_t)in[2] << 8 | (uint32_t)in[3];
    if (expected != decoder->adler) {
        failDecoder(decoder, LINE_CHECKSUM, "BADEOF", "Incorrect checksum");
        return;
    }
    setState(decoder, DECODER_DONE);
    decoder->consumed += TRAILER_BYTES;
}

/* ---- block headers */

/* The next symbol, or -1: out of input, or after a report. */
int32_t decodeSymbol(FlateDecoder *decoder, BitInput &input, const FlateTable &table)
{
    bitinput_refill(input);
    int32_t symbol = matchSymbol<false>(table, input.bits, input.count);
    if (symbol == SYMBOL_BAD_CODE)
        failDecoder(decoder, LINE_BAD_CODE, "BADCODE", "Bad code in flate stream");
    return symbol < 0 ? -1 : symbol;
}

bool failDynamic(FlateDecoder *decoder)
{
    failDecoder(decoder, LINE_DYNAMIC, "BADEOF", "Bad dynamic code table in flate stream");
    return false;
}

/* A run of code lengths that one symbol stands for; false when out of input. */
struct LengthRun {
    uint32_t length, count;
};

bool readLengthRun(BitInput &input, uint32_t symbol, uint32_t &previous, LengthRun &run)
{
    static constexpr FlateRange repeats[] = {{2, 3}, {3, 3}, {7, 11}};
    if (symbol < 16) {
        previous = symbol;
        run = {symbol, 1};
        return true;
    }
    FlateRange repeat = repeats[symbol - 16];
    int64_t extra = getBits(input, repeat.extraBits);
    if (extra < 0)
        return false;
    if (symbol != 16)
        previous = 0;
    run = {previous, repeat.base + (uint32_t)extra};
    return true;
}

/* Reads code lengths until there are `wanted` of them.  A last repeat may overshoot, as far as
 * there are code entries. */
bool readCodeLengths(FlateDecoder *decoder, BitInput &input, const FlateTable &table,
                     uint32_t wanted)
{
    uint32_t previous = 0;
    for (uint32_t given = 0; given < wanted;) {
        int32_t symbol = decodeSymbol(decoder, input, table);
        LengthRun run;
        if (symbol < 0 || !readLengthRun(input, (uint32_t)symbol, previous, run))
            return false;
        if (run.count > FLATE_CODES - given)
            return failDynamic(decoder);
        for (; run.count > 0; run.count--)
            decoder->codes[given++].length = run.length;
    }
    return true;
}

bool readDynamicTables(FlateDecoder *decoder, BitInput &input)
{
    int64_t counts = getBits(input, 14);
    if (counts < 0)
        return false;
    uint32_t litlenCodes = (uint32_t)(counts & 31) + 257;
    uint32_t distCodes = (uint32_t)(counts >> 5 & 31) + 1;
    uint32_t lengthCodes = (uint32_t)(counts >> 10) + 4;
    if (litlenCodes > FLATE_LITLEN_CODES || distCodes > FLATE_DIST_CODES)
        return failDynamic(decoder);

    FlateCode lengthCode[CODE_LENGTH_CODES] = {};
    for (uint32_t i = 0; i < lengthCodes; i++) {
        int64_t length = getBits(input, 3);
        if (length < 0)
            return false;
        lengthCode[codeLenMap[i]].length = (uint32_t)length;
    }
    FlateTable codeLengths;
    buildHuffmanTable(codeLengths, lengthCode, CODE_LENGTH_CODES);
    if (!readCodeLengths(decoder, input, codeLengths, litlenCodes + distCodes))
        return false;
    buildHuffmanTable(decoder->litlen, decoder->codes, litlenCodes);
    buildHuffmanTable(decoder->dist, decoder->codes + litlenCodes, distCodes);
    return true;
}

void setFixedTables(FlateDecoder *decoder)
{
    decoder->litlen = fixedLitlenTable;
    decoder->dist = fixedDistTable;
}

/* The length of a stored block stands at the next byte boundary, followed by its complement,
 * which is not looked at. */
bool readStoredHeader(FlateDecoder *decoder, BitInput &input)
{
    bitinput_giveBack(input);
    if (input.end - input.next < STORED_HEADER_BYTES)
        return false;
    decoder->storedRemaining = input.next[0] | input.next[1] << 8;
    input.next += STORED_HEADER_BYTES;
    input.bits = 0;
    input.count = 0;
    return true;
}

/* False when the block cannot start: out of input, or Error after a report. */
bool readBlockHeader(FlateDecoder *decoder, BitInput &input)
{
    decoder->needBlockHeader = 0;
    int64_t header = getBits(input, 3);
    if (header < 0)
        return false;
    if (header & 1)
        decoder->lastBlock = 1;
    decoder->huffmanBlock = (header >> 1) != BLOCK_STORED;
    switch (header >> 1) {
    case BLOCK_STORED:
        return readStoredHeader(decoder, input);
    case BLOCK_FIXED:
        setFixedTables(decoder);
        return true;
    case BLOCK_DYNAMIC:
        return readDynamicTables(decoder, input);
    }
    failDecoder(decoder, LINE_BLOCK_HEADER, "BADEOF", "Bad block header");
    return false;
}

/* ---- steps */

/* What a step may change before it turns out that it cannot be finished. */
struct DecodeState {
    BitInput input;
    uint32_t huffmanBlock;
    int32_t storedRemaining;
    uint32_t needBlockHeader, lastBlock;
};

DecodeState saveDecodeState(const FlateDecoder *decoder, const BitInput &input)
{
    return {input, decoder->huffmanBlock, decoder->storedRemaining, decoder->needBlockHeader,
            decoder->lastBlock};
}

void restoreDecodeState(FlateDecoder *decoder, BitInput &input, const DecodeState &saved)
{
    input = saved.input;
    decoder->huffmanBlock = saved.huffmanBlock;
    decoder->storedRemaining = saved.storedRemaining;
    decoder->needBlockHeader = saved.needBlockHeader;
    decoder->lastBlock = saved.lastBlock;
}

/* One symbol, whatever it is; false when out of input, or Error after a report. */
bool decodeStep(FlateDecoder *decoder, BitInput &input, FlateOutput &out)
{
    int32_t symbol = decodeSymbol(decoder, input, decoder->litlen);
    if (symbol < 0)
        return false;
    if (symbol < FLATE_END_OF_BLOCK) {
        putLiteral(decoder, out, (uint8_t)symbol);
        return true;
    }
    if (symbol == FLATE_END_OF_BLOCK) {
        decoder->needBlockHeader = 1;
        return true;
    }
    if (symbol > FLATE_LAST_LENGTH) {
        failDecoder(decoder, LINE_BAD_CODE, "BADCODE", "Bad code in flate stream");
        return false;
    }
    FlateRange length = lengthTable[symbol - FLATE_FIRST_LENGTH];
    int64_t more = getBits(input, length.extraBits);
    if (more < 0)
        return false;
    symbol = decodeSymbol(decoder, input, decoder->dist);
    if (symbol < 0)
        return false;
    FlateRange distance = distTable[symbol];
    int64_t further = getBits(input, distance.extraBits);
    if (further < 0)
        return false;
    putMatch(decoder, out, length.base + (size_t)more, distance.base + (size_t)further);
    return true;
}

/* One piece of a stored block.  It is the greater half of what remains, however much input there
 * is: a piece is taken whole, and what the output has no room for has to wait in the window. */
void copyStored(FlateDecoder *decoder, BitInput &input, FlateOutput &out)
{
    int32_t piece = decoder->storedRemaining - decoder->storedRemaining / 2;
    size_t count = (size_t)std::min<ptrdiff_t>(piece, input.end - input.next);
    putStored(decoder, out, input.next, count);
    input.next += count;
    decoder->storedRemaining -= (int32_t)count;
    if (decoder->storedRemaining == 0)
        decoder->needBlockHeader = 1;
}

/* Takes bits that are known to be there. */
inline size_t takeBits(uint64_t &bits, uint32_t &count, uint32_t n)
{
    size_t value = (size_t)(bits & (((uint64_t)1 << n) - 1));
    bits >>= n;
    count -= n;
    return value;
}

/* The bits of the longest match must be there after one wide refill. */
static_assert(FLATE_MAX_BITS + 5 + FLATE_MAX_BITS + 13 <= BITINPUT_WIDE_BITS);

/* Takes the rest of a match behind its length symbol and copies it; false, with nothing written,
 * when its distance is no code or it finds no room. */
inline bool takeMatch(const FlateDecoder *decoder, int32_t symbol, uint64_t &bits, uint32_t &count,
                      FlateOutput &out)
{
    FlateRange range = lengthTable[symbol - FLATE_FIRST_LENGTH];
    size_t length = range.base + takeBits(bits, count, range.extraBits);
    int32_t distSymbol = matchSymbol<true>(decoder->dist, bits, count);
    if (distSymbol < 0 || length > flateRoom(out))
        return false;
    range = distTable[distSymbol];
    copyMatch(decoder, out, length, range.base + takeBits(bits, count, range.extraBits));
    return true;
}

/* Decodes symbols of a Huffman block as long as they are whole, known and find room.  Answers
 * whether there was one; the symbol that it stops at is untouched. */
bool decodeRun(FlateDecoder *decoder, BitInput &input, FlateOutput &output)
{
    BitInput in = input;
    FlateOutput out = output;
    bool any = false;
    while (in.end - in.next >= BITINPUT_WIDE_BYTES && out.next < out.end) {
        bitinput_refillWide(in);
        uint64_t bits = in.bits;
        uint32_t count = in.count;
        int32_t symbol = matchSymbol<true>(decoder->litlen, bits, count);
        if (symbol < 0 || symbol > FLATE_LAST_LENGTH)
            break;
        if (symbol < FLATE_END_OF_BLOCK)
            *out.next++ = (uint8_t)symbol;
        else if (symbol == FLATE_END_OF_BLOCK)
            decoder->needBlockHeader = 1;
        else if (!takeMatch(decoder, symbol, bits, count, out))
            break;
        in.bits = bits;
        in.count = count;
        any = true;
        if (symbol == FLATE_END_OF_BLOCK)
            break;
    }
    bitinput_giveBack(in);
    input = in;
    output = out;
    return any;
}

/* Decodes until the input, the room or the stream ends; false when a block header is at fault. */
bool decodeSteps(FlateDecoder *decoder, BitInput &input, FlateOutput &out)
{
    for (;;) {
        bool running = !decoder->needBlockHeader && decoder->huffmanBlock;
        if (!running || !decodeRun(decoder, input, out)) {
            DecodeState before = saveDecodeState(decoder, input);
            if (decoder->needBlockHeader && !readBlockHeader(decoder, input)) {
                restoreDecodeState(decoder, input, before);
                return !FlateD_isError(decoder);
            }
            if (!decoder->huffmanBlock) {
                copyStored(decoder, input, out);
            } else if (!decodeStep(decoder, input, out)) {
                restoreDecodeState(decoder, input, before);
                return true;
            }
        }
        if (flateRoom(out) == 0 || bitinput_isEmpty(input))
            return true;
        if (decoder->lastBlock && decoder->needBlockHeader)
            return true;
    }
}

bool isStreamEnd(const FlateDecoder *decoder)
{
    return decoder->lastBlock && decoder->needBlockHeader && decoder->pending == 0;
}

/* Decodes what the call can; false when a block header is at fault. */
bool decodeCall(FlateDecoder *decoder, BitInput &input, FlateOutput &out)
{
    if (decoder->pending > 0) {
        handOutPending(decoder, out);
        if (isStreamEnd(decoder) || flateRoom(out) == 0)
            return true;
    }
    return decodeSteps(decoder, input, out);
}

} // namespace

FlateDecoder *FlateD_Init(ZelkovController *controller)
{
    FlateDecoder *decoder = new (std::nothrow) FlateDecoder();
    if (!decoder)
        return nullptr;
    decoder->controller = controller;
    decoder->needBlockHeader = 1;
    decoder->adler = ADLER_START;
    return decoder;
}

void FlateD_Free(FlateDecoder *decoder)
{
    delete decoder;
}

int32_t FlateD_ToRaw(FlateDecoder *decoder, const uint8_t *in, int32_t inLen, uint8_t *out,
                     int32_t outMax)
{
    decoder->consumed = decoder->produced = 0;
    if (!FlateD_isBeginRun(decoder)) {
        control_report(decoder->controller, MODULE, SOURCE, LINE_RESTART, SEVERITY_ERROR,
                       "BADENCODE", "Cannot restart encoding.");
        return 0;
    }
    BitInput input = {in, in + std::max(inLen, 0), decoder->bitBuffer, (uint32_t)decoder->bitCount};
    if (FlateD_isBegin(decoder)) {
        if (inLen < HEADER_BYTES)
            return 0;
        if (!checkZlibHeader(decoder, in))
            return -1;
        setState(decoder, DECODER_RUN);
        input.next += HEADER_BYTES;
    }
    if (decoder->awaitingChecksum) {
        checkAdlerTrailer(decoder, input);
        return 0;
    }

    FlateOutput output = {out, out, out + std::max(outMax, 0)};
    bool good = decodeCall(decoder, input, output);
    bitinput_giveBack(input);
    decoder->bitBuffer = (uint32_t)input.bits;
    decoder->bitCount = (int32_t)input.count;
    syncWindow(decoder, output);
    decoder->consumed = (int32_t)(input.next - in);
    decoder->produced = (int32_t)(output.next - out);
    decoder->adler = updateAdler(decoder->adler, out, (size_t)decoder->produced);
    if (!good)
        return -1;
    if (isStreamEnd(decoder))
        checkAdlerTrailer(decoder, input);
    return decoder->produced;
}
