/*
 * lzwdecode.cpp - the LZW decoder family (LZWD_)
 *
 * A string is kept as (code of its beginning, last byte), so that a new entry never copies a
 * string; the price is that a string comes out backwards.  Its length is kept beside it, so that
 * it can be written from its end into its place in the output.
 *
 * The caller may stop and go on at any byte.  The input has no bit buffer: a code is fetched from
 * the bytes around its first bit, and what survives a call is the number of bits of the first
 * byte that are still to be used.
 */
#include "tools/compress1_0/lzwdecode.h"

#include <algorithm>
#include <memory>
#include <new>

namespace {

constexpr char MODULE[] = "DECODE";
constexpr char SOURCE[] = "tools/compress1_0/lzwdecode";

constexpr int32_t MIN_BITS = 9;
constexpr int32_t MAX_BITS = 16;
constexpr int32_t SINGLE_BYTES = 256; /* the codes below stand for themselves */
constexpr int32_t CLEAR_CODE = 256;
constexpr int32_t END_CODE = 257;
constexpr int32_t FIRST_FREE_CODE = 258;
constexpr int32_t FIRST_THRESHOLD = 1 << MIN_BITS;
constexpr int32_t NO_CODE = -1;

constexpr int32_t ANSWER_BAD_CODE = -2;
constexpr int32_t ANSWER_AFTER_ERROR = -6;

/* ---- creation */

void reportNoMemory(ZelkovController *controller, int line, const char *text)
{
    control_report(controller, MODULE, SOURCE, line, SEVERITY_FAULT, "NOMEMALL", "%s", text);
}

/* Makes the arrays, all strings single bytes or, for a code that is never set, one zero byte.
 * False without memory; what was made stays in the decoder. */
bool makeTable(LZWDecoder *decoder)
{
    size_t entries = (size_t)decoder->tableSize + 1;
    decoder->Val = new (std::nothrow) uint8_t[entries]();
    if (!decoder->Val) {
        reportNoMemory(decoder->controller, __LINE__, "Unable to create Val array in LZW decode");
        return false;
    }
    decoder->Prev = new (std::nothrow) int16_t[2 * entries];
    if (!decoder->Prev) {
        reportNoMemory(decoder->controller, __LINE__, "Unable to create Prev array in LZW decode");
        return false;
    }
    decoder->Overflow = new (std::nothrow) uint8_t[entries];
    if (!decoder->Overflow) {
        reportNoMemory(decoder->controller, __LINE__,
                       "Unable to create Overflow array in LZW decode");
        return false;
    }
    /* The signed and the unsigned type of one size may share storage. */
    decoder->Length = reinterpret_cast<uint16_t *>(decoder->Prev + entries);
    for (int32_t i = 0; i < SINGLE_BYTES; i++)
        decoder->Val[i] = (uint8_t)i;
    std::fill_n(decoder->Prev, entries, (int16_t)NO_CODE);
    std::fill_n(decoder->Length, entries, (uint16_t)1);
    return true;
}

void clearTable(LZWDecoder *decoder)
{
    decoder->codeWidth = MIN_BITS;
    decoder->nextCode = FIRST_FREE_CODE;
    decoder->threshold = FIRST_THRESHOLD;
    decoder->previousCode = NO_CODE;
    decoder->unsound = false;
}

/* ---- codes */

/* A call's input, by bits: `bit` is the first one not used yet. */
struct CodeInput {
    const uint8_t *bytes;
    size_t bit, bitEnd;
};

CodeInput openInput(const LZWDecoder *decoder, const uint8_t *in, int32_t inLen)
{
    return {in, 8 - (size_t)decoder->bitPosition, (size_t)std::max(inLen, 0) * 8};
}

/* The byte that holds the next bit is the first that is not consumed. */
void closeInput(LZWDecoder *decoder, const CodeInput &input)
{
    decoder->consumed = (int32_t)(input.bit / 8);
    decoder->bitPosition = 8 - (int32_t)(input.bit % 8);
}

bool hasCode(const CodeInput &input, int32_t width)
{
    return input.bit + (size_t)width <= input.bitEnd;
}

/* Reads a code; hasCode has said that it is there. */
int32_t readCode(CodeInput &input, int32_t width)
{
    const uint8_t *from = input.bytes + input.bit / 8;
    int32_t skip = (int32_t)(input.bit % 8); /* at most 7, so that 7 + 16 bits are wanted */
    uint32_t bits = (uint32_t)from[0] << 24 | (uint32_t)from[1] << 16;
    if (skip + width > 16)
        bits |= (uint32_t)from[2] << 8;
    input.bit += (size_t)width;
    return (int32_t)(bits << skip >> (32 - width));
}

/* ---- strings */

/* A prefix as a code.  Unsigned: with 16-bit codes the upper half is negative in storage. */
int32_t prefixOf(const LZWDecoder *decoder, int32_t code)
{
    return (uint16_t)decoder->Prev[code];
}

/* Length of a code's string, found by walking it.  More than tableSize when the entries lead
 * round in a circle. */
int32_t walkLength(const LZWDecoder *decoder, int32_t code)
{
    int32_t length = 1;
    while (decoder->Prev[code] != NO_CODE && length <= (int32_t)decoder->tableSize) {
        code = prefixOf(decoder, code);
        length++;
    }
    return length;
}

int32_t stringLength(const LZWDecoder *decoder, int32_t code)
{
    return decoder->unsound ? walkLength(decoder, code) : decoder->Length[code];
}

/* Writes the last `count` bytes of a code's string so that they end before `end`; answers the
 * code of what stands before them. */
int32_t writeTail(const LZWDecoder *decoder, int32_t code, uint8_t *end, int32_t count)
{
    const uint8_t *last = decoder->Val;
    for (uint8_t *to = end; to != end - count; code = prefixOf(decoder, code))
        *--to = last[code];
    return code;
}

/* The same into the overflow array, behind what is in it. */
int32_t keepTail(LZWDecoder *decoder, int32_t code, int32_t count)
{
    for (; count > 0; count--, code = prefixOf(decoder, code))
        decoder->Overflow[decoder->overflowFill++] = decoder->Val[code];
    return code;
}

/* Where a call's output stands. */
struct Output {
    uint8_t *next, *end;
};

/* Hands out what the last call had no room for. */
void handOutOverflow(LZWDecoder *decoder, Output &out)
{
    while (decoder->overflowFill > 0 && out.next < out.end)
        *out.next++ = decoder->Overflow[--decoder->overflowFill];
}

/* Writes a code's string of `length` bytes, its own first byte after it once more when `again`;
 * what finds no room is kept.  There is room for one byte at least.  Answers the first byte. */
uint8_t putString(LZWDecoder *decoder, int32_t code, int32_t length, bool again, Output &out)
{
    int32_t room = (int32_t)(out.end - out.next);
    int32_t whole = length + again;
    uint8_t *first = out.next;
    if (whole <= room) {
        writeTail(decoder, code, first + length, length);
        if (again)
            first[length] = *first;
        out.next += whole;
        return *first;
    }
    decoder->overflowFill = again; /* that byte comes out last; it is known only at the end */
    int32_t shown = std::min(room, length);
    code = keepTail(decoder, code, length - shown);
    writeTail(decoder, code, first + shown, shown);
    if (again)
        decoder->Overflow[0] = *first;
    out.next = out.end;
    return *first;
}

/* Makes the entry at the next code, unless the table is full, and widens the codes in time. */
void addEntry(LZWDecoder *decoder, uint8_t last)
{
    int32_t code = decoder->nextCode;
    int32_t size = (int32_t)decoder->tableSize;
    if (code >= size)
        return;
    decoder->Prev[code] = (int16_t)decoder->previousCode;
    decoder->Val[code] = last;
    decoder->Length[code] = (uint16_t)(decoder->Length[decoder->previousCode] + 1);
    decoder->nextCode = code + 1;

    int32_t early = decoder->status & LZW_EARLY_CHANGE ? 2 : 1;
    if (code != decoder->threshold - early || decoder->threshold >= size - early)
        return;
    decoder->codeWidth++;
    decoder->threshold *= 2;
    if (decoder->threshold > size - early)
        decoder->threshold = early == 2 ? size - 1 : size;
}

int32_t reportBadCode(LZWDecoder *decoder)
{
    control_report(decoder->controller, MODULE, SOURCE, __LINE__, SEVERITY_FAULT, "CORDATA",
                   "Unexpected code in LZW decode");
    decoder->status = withDecoderState(decoder->status, DECODER_ERROR);
    return ANSWER_BAD_CODE;
}

/* The first code after a clear code.  It is written as one byte whatever it is; one above 255
 * makes the new entries begin with whatever the table held. */
void putFirstCode(LZWDecoder *decoder, int32_t code, Output &out)
{
    *out.next++ = (uint8_t)code;
    decoder->unsound = code >= SINGLE_BYTES;
    decoder->previousCode = code;
}

/* Any further code; 0, or ANSWER_BAD_CODE. */
int32_t putCode(LZWDecoder *decoder, int32_t code, Output &out)
{
    if (code < SINGLE_BYTES) {
        *out.next++ = (uint8_t)code;
        addEntry(decoder, (uint8_t)code);
        decoder->previousCode = code;
        return 0;
    }
    if (code > decoder->nextCode)
        return reportBadCode(decoder);
    /* The encoder may use an entry in the very code that completes it.  The string is then the
     * previous one followed by its own first byte. */
    bool incomplete = code == decoder->nextCode;
    int32_t known = incomplete ? decoder->previousCode : code;
    int32_t length = stringLength(decoder, known);
    if (length > (int32_t)decoder->tableSize)
        return reportBadCode(decoder);
    addEntry(decoder, putString(decoder, known, length, incomplete, out));
    decoder->previousCode = code;
    return 0;
}

int32_t decodeCodes(LZWDecoder *decoder, CodeInput &input, Output &out)
{
    while (out.next < out.end && hasCode(input, decoder->codeWidth)) {
        int32_t code = readCode(input, decoder->codeWidth);
        if (code == CLEAR_CODE) {
            clearTable(decoder);
        } else if (code == END_CODE) {
            decoder->status = withDecoderState(decoder->status, DECODER_DONE);
            return 0;
        } else if (decoder->previousCode == NO_CODE) {
            putFirstCode(decoder, code, out);
        } else if (int32_t fault = putCode(decoder, code, out)) {
            return fault;
        }
    }
    return 0;
}

} // namespace

LZWDecoder *LZWD_Init(int32_t maxBits, ZelkovController *controller)
{
    if (maxBits < MIN_BITS || maxBits > MAX_BITS)
        return nullptr;
    std::unique_ptr<LZWDecoder, void (*)(LZWDecoder *)> decoder(new (std::nothrow) LZWDecoder(),
                                                                LZWD_Free);
    if (!decoder)
        return nullptr;
    decoder->controller = controller;
    decoder->tableSize = 1U << maxBits;
    if (!makeTable(decoder.get()))
        return nullptr;
    decoder->status = DECODER_BEGIN | LZW_EARLY_CHANGE;
    decoder->bitPosition = 8;
    clearTable(decoder.get());
    return decoder.release();
}

void LZWD_Free(LZWDecoder *decoder)
{
    if (!decoder)
        return;
    delete[] decoder->Val;
    delete[] decoder->Prev;
    delete[] decoder->Overflow;
    delete decoder;
}

int32_t LZWD_ToRaw(LZWDecoder *decoder, const uint8_t *in, int32_t inLen, uint8_t *out,
                   int32_t outMax)
{
    decoder->consumed = decoder->produced = 0;
    if (LZWD_isError(decoder)) {
        control_report(decoder->controller, MODULE, SOURCE, __LINE__, SEVERITY_FAULT, "PROGERR",
                       "Can't restart LZW decode after error");
        return ANSWER_AFTER_ERROR;
    }
    CodeInput input = openInput(decoder, in, inLen);
    if (decoder->overflowFill == 0 && !hasCode(input, decoder->codeWidth)) {
        if (LZWD_isEODInput(decoder))
            decoder->status = withDecoderState(decoder->status, DECODER_DONE);
        return 0;
    }
    decoder->status = withDecoderState(decoder->status, DECODER_RUN);

    Output left = {out, out + std::max(outMax, 0)};
    handOutOverflow(decoder, left);
    int32_t fault = decodeCodes(decoder, input, left);
    closeInput(decoder, input);
    decoder->produced = (int32_t)(left.next - out);
    return fault ? fault : decoder->produced;
}

void LZWD_setEODInput(LZWDecoder *decoder)
{
    decoder->status |= LZW_EOD_INPUT;
}

void LZWD_unsetEODInput(LZWDecoder *decoder)
{
    decoder->status &= ~LZW_EOD_INPUT;
}

int32_t LZWD_isEODInput(const LZWDecoder *decoder)
{
    return (decoder->status & LZW_EOD_INPUT) != 0;
}

void LZWD_setOptEarlyChange(LZWDecoder *decoder)
{
    decoder->status |= LZW_EARLY_CHANGE;
}

void LZWD_unsetOptEarlyChange(LZWDecoder *decoder)
{
    decoder->status &= ~LZW_EARLY_CHANGE;
}

int32_t LZWD_isOptEarlyChange(const LZWDecoder *decoder)
{
    return (decoder->status & LZW_EARLY_CHANGE) != 0;
}
