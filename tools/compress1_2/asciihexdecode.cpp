/*
 * asciihexdecode.cpp - the ASCIIHex decoder family (ASCIIHexD_)
 *
 * One table lookup per character.  Long stretches of digits go through a loop that knows nothing
 * of end marks; what stops it (an end mark, a fault, a lone last byte) is looked at outside.
 */
#include "tools/compress1_2/asciihexdecode.h"

#include <algorithm>
#include <array>
#include <new>

namespace {

constexpr char MODULE[] = "DECODE";
constexpr char SOURCE[] = "tools/compress1_2/asciihexdecode";

constexpr uint8_t END_MARK = '>';
constexpr uint8_t NO_DIGIT = 0x80; /* its bit is in no digit's value */

constexpr std::array<uint8_t, 256> makeDigitValues()
{
    std::array<uint8_t, 256> values{};
    values.fill(NO_DIGIT);
    for (uint8_t i = 0; i < 10; i++)
        values[(size_t)'0' + i] = i;
    for (uint8_t i = 0; i < 6; i++)
        values[(size_t)'A' + i] = values[(size_t)'a' + i] = (uint8_t)(10 + i);
    return values;
}

constexpr std::array<uint8_t, 256> digitValues = makeDigitValues();

/* What is left of a call's input and room. */
struct Pieces {
    const uint8_t *in, *inEnd;
    uint8_t *out, *outEnd;
};

/* Decodes pairs while both characters are digits. */
void decodePlainPairs(Pieces &left)
{
    for (ptrdiff_t n = std::min((left.inEnd - left.in) / 2, left.outEnd - left.out); n > 0; n--) {
        uint8_t high = digitValues[left.in[0]], low = digitValues[left.in[1]];
        if ((high | low) & NO_DIGIT)
            return;
        *left.out++ = (uint8_t)(high << 4 | low);
        left.in += 2;
    }
}

int32_t reportWrongCharacter(ASCIIHexDecoder *decoder)
{
    control_report(decoder->controller, MODULE, SOURCE, __LINE__, SEVERITY_FAULT, "CORDATA",
                   "Wrong character in hex stream");
    decoder->state = DECODER_ERROR;
    return -1;
}

/* Decodes one pair, an end mark as its second half included; 0, or -1 after a fault.  The mark
 * takes effect at the next call: what follows it here is still decoded. */
int32_t decodePair(ASCIIHexDecoder *decoder, Pieces &left)
{
    uint8_t high = digitValues[left.in[0]], low = digitValues[left.in[1]];
    if (left.in[1] == END_MARK) {
        decoder->state = DECODER_DONE;
        low = 0;
    }
    left.in += 2;
    if ((high | low) & NO_DIGIT)
        return reportWrongCharacter(decoder);
    *left.out++ = (uint8_t)(high << 4 | low);
    return 0;
}

int32_t decodeAll(ASCIIHexDecoder *decoder, Pieces &left)
{
    for (;;) {
        decodePlainPairs(left);
        if (left.in == left.inEnd || left.out == left.outEnd)
            return 0;
        if (*left.in == END_MARK) {
            left.in++;
            decoder->state = DECODER_DONE;
            return 0;
        }
        if (left.inEnd - left.in < 2)
            return 0;
        if (decodePair(decoder, left) != 0)
            return -1;
    }
}

} // namespace

ASCIIHexDecoder *ASCIIHexD_Init(ZelkovController *controller)
{
    ASCIIHexDecoder *decoder = new (std::nothrow) ASCIIHexDecoder();
    if (decoder)
        decoder->controller = controller;
    return decoder;
}

void ASCIIHexD_Free(ASCIIHexDecoder *decoder)
{
    delete decoder;
}

int32_t ASCIIHexD_ToRaw(ASCIIHexDecoder *decoder, const uint8_t *in, int32_t inLen, uint8_t *out,
                        int32_t outMax)
{
    decoder->consumed = decoder->produced = 0;
    if (!stateIsBeginRun(decoder->state)) {
        control_report(decoder->controller, MODULE, SOURCE, __LINE__, SEVERITY_ERROR, "BADENCODE",
                       "Cannot restart encoding.");
        return 0;
    }
    decoder->state = DECODER_RUN;
    if (inLen <= 0 || outMax <= 0)
        return 0;

    Pieces left = {in, in + inLen, out, out + outMax};
    int32_t result = decodeAll(decoder, left);
    decoder->consumed = (int32_t)(left.in - in);
    decoder->produced = (int32_t)(left.out - out);
    return result < 0 ? result : decoder->produced;
}
