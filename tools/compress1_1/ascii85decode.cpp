/*
 * ascii85decode.cpp - the ASCII85 decoder family (ASCII85D_)
 *
 * Two paths that agree: five digits in a row are turned into four bytes at once; everything else
 * (a group cut by the end of the input, dropped bytes, "z", "~", faults) is collected digit by
 * digit in the decoder's record, where it survives the call.
 */
#include "tools/compress1_1/ascii85decode.h"

#include <algorithm>
#include <new>

namespace {

constexpr char MODULE[] = "DECODE";
constexpr char SOURCE[] = "tools/compress1_1/ascii85decode";

constexpr int32_t GROUP_DIGITS = 5;
constexpr int32_t GROUP_BYTES = 4;
constexpr uint8_t FIRST_DIGIT = '!'; /* value 0 */
constexpr uint8_t LAST_DIGIT = 'u';  /* value 84 */
constexpr uint8_t ZERO_GROUP = 'z';
constexpr uint8_t END_MARK = '~';
constexpr uint8_t PAD_VALUE = LAST_DIGIT - FIRST_DIGIT;
constexpr int32_t NO_GROUP = -1;

/* What is left of a call's input and room. */
struct Pieces {
    const uint8_t *in, *inEnd;
    uint8_t *out, *outEnd;
};

bool roomForGroup(const Pieces &left)
{
    return left.outEnd - left.out >= GROUP_BYTES;
}

void storeBigEndian(uint8_t *to, uint32_t value)
{
    to[0] = (uint8_t)(value >> 24);
    to[1] = (uint8_t)(value >> 16);
    to[2] = (uint8_t)(value >> 8);
    to[3] = (uint8_t)value;
}

/* Decodes groups as long as five digits stand in a row and their value fits. */
void decodePlainGroups(Pieces &left)
{
    ptrdiff_t groups =
        std::min((left.inEnd - left.in) / GROUP_DIGITS, (left.outEnd - left.out) / GROUP_BYTES);
    for (; groups > 0; groups--) {
        uint64_t value = 0;
        bool digits = true;
        for (int i = 0; i < GROUP_DIGITS; i++) {
            uint32_t digit = (uint32_t)left.in[i] - FIRST_DIGIT;
            digits &= digit <= PAD_VALUE;
            value = value * 85 + digit;
        }
        if (!digits || value > UINT32_MAX)
            return;
        storeBigEndian(left.out, (uint32_t)value);
        left.in += GROUP_DIGITS;
        left.out += GROUP_BYTES;
    }
}

/* Fills the current group until it is complete, the input ends or a mark is met. */
void collectDigits(ASCII85Decoder *decoder, Pieces &left)
{
    while (left.in < left.inEnd && decoder->digitCount < GROUP_DIGITS) {
        uint8_t byte = *left.in++;
        if (byte == END_MARK) {
            decoder->state = DECODER_DONE;
            return;
        }
        if (byte == ZERO_GROUP) {
            /* Inside a group it is dropped, but it ends the collecting all the same. */
            if (decoder->digitCount == 0) {
                std::fill_n(decoder->digits, GROUP_DIGITS, (uint8_t)0);
                decoder->digitCount = GROUP_DIGITS;
            }
            return;
        }
        if (byte >= FIRST_DIGIT && byte <= LAST_DIGIT)
            decoder->digits[decoder->digitCount++] = (uint8_t)(byte - FIRST_DIGIT);
    }
}

/* Turns the collected digits into the bytes to hand out.  n digits stand for n - 1 bytes, which
 * are kept at the end of `group`.  False after a fault. */
bool decodeGroup(ASCII85Decoder *decoder)
{
    int32_t held = decoder->digitCount;
    uint64_t value = 0;
    for (int32_t i = 0; i < GROUP_DIGITS; i++)
        value = value * 85 + (i < held ? decoder->digits[i] : PAD_VALUE);
    if (held == 1 || value > UINT32_MAX) {
        decoder->state = DECODER_ERROR;
        return false;
    }
    uint8_t bytes[GROUP_BYTES];
    storeBigEndian(bytes, (uint32_t)value);
    decoder->outputIndex = GROUP_DIGITS - held;
    std::copy_n(bytes, held - 1, decoder->group + decoder->outputIndex);
    decoder->digitCount = GROUP_DIGITS;
    return true;
}

void handOut(ASCII85Decoder *decoder, Pieces &left)
{
    while (decoder->outputIndex < GROUP_BYTES)
        *left.out++ = decoder->group[decoder->outputIndex++];
    decoder->digitCount = 0;
    decoder->outputIndex = NO_GROUP;
}

/* There is room for a group, and the state is Run. */
int32_t decodeAll(ASCII85Decoder *decoder, Pieces &left)
{
    do {
        if (decoder->digitCount == 0) {
            decodePlainGroups(left);
            if (!roomForGroup(left))
                return 0;
        }
        collectDigits(decoder, left);
        bool done = stateIsDone(decoder->state);
        bool complete = decoder->digitCount == GROUP_DIGITS;
        if (!complete && (!done || decoder->digitCount == 0))
            return 0;
        if (!decodeGroup(decoder))
            return -1;
        handOut(decoder, left);
    } while (roomForGroup(left) && !stateIsDone(decoder->state));
    return 0;
}

} // namespace

ASCII85Decoder *ASCII85D_Init(ZelkovController *controller)
{
    ASCII85Decoder *decoder = new (std::nothrow) ASCII85Decoder();
    if (!decoder)
        return nullptr;
    decoder->controller = controller;
    decoder->outputIndex = NO_GROUP;
    return decoder;
}

void ASCII85D_Free(ASCII85Decoder *decoder)
{
    delete decoder;
}

int32_t ASCII85D_ToRaw(ASCII85Decoder *decoder, const uint8_t *in, int32_t inLen, uint8_t *out,
                       int32_t outMax)
{
    decoder->consumed = decoder->produced = 0;
    if (stateIsError(decoder->state)) {
        control_report(decoder->controller, MODULE, SOURCE, __LINE__, SEVERITY_ERROR, "BADENCODE",
                       "Cannot restart encoding.");
        return 0;
    }
    if (stateIsDone(decoder->state))
        return 0;
    decoder->state = DECODER_RUN;
    if (outMax < GROUP_BYTES)
        return 0;

    Pieces left = {in, in + std::max(inLen, 0), out, out + outMax};
    int32_t result = decodeAll(decoder, left);
    decoder->consumed = (int32_t)(left.in - in);
    decoder->produced = (int32_t)(left.out - out);
    return result < 0 ? result : decoder->produced;
}

void ASCII85D_setEODInput(ASCII85Decoder *decoder)
{
    decoder->state = DECODER_DONE;
}
