/*
 * lexer.cpp - white space, keywords, booleans and numbers
 *
 * Bytes come through fgetb, and whether a read failed is told by errno alone, which stays set: a
 * failure anywhere before makes every later read count as failed.  A byte too many is put back by
 * stepping the position back.
 */
#include "tools/zolak1_3/pdf_to_ps/lexer.h"

#include <cerrno>
#include <limits>

#include "zelkov/text.h"

void countScanned(ConverterInstance *inst, uint32_t bytes)
{
    uint64_t &scanned = inst->limits.bytesScanned;
    scanned += bytes;
    if (scanned <= SCANNED_ALWAYS || inst->errorFlag)
        return;
    if (scanned > SCANNED_ALWAYS + SCANNED_PER_FILE_BYTE * fgeteof(inst->input))
        zolakReport(inst, __LINE__, SEVERITY_ERROR, "BADOBJ", "Objects are shared too often.");
}

void skipWhite(ConverterInstance *inst, ZFile *input)
{
    if (inst->errorFlag)
        return;
    uint32_t start = input->position;
    int c = fgetb(input);
    while (!errno && (isSpaceByte(c) || c == '%')) {
        if (c == '%') {
            char comment[LINE_BYTES];
            fgetstr(input, comment);
        }
        c = fgetb(input);
    }
    if (errno)
        zolakReport(inst, __LINE__, SEVERITY_ERROR, "BADSPACE",
                    "Error occurred during skipping white spaces.");
    countScanned(inst, input->position - start);
    if (!inst->errorFlag)
        input->position--;
}

int readKeyword(ConverterInstance *inst, ZFile *input, char *buffer)
{
    *buffer = 0;
    skipWhite(inst, input);
    if (inst->errorFlag)
        return 0;
    int c = 0;
    for (int length = 0; length < KEYWORD_BYTES - 1;) {
        c = fgetb(input);
        if (errno) {
            zolakReport(inst, __LINE__, SEVERITY_ERROR, "READERR", "Reading error.");
            return c;
        }
        if (!isLetterByte(c))
            break;
        buffer[length++] = (char)c;
        buffer[length] = 0;
    }
    /* Also behind the 255th letter, which is then read twice. */
    input->position--;
    return c;
}

int readBoolean(ConverterInstance *inst)
{
    char keyword[KEYWORD_BYTES];
    readKeyword(inst, inst->input, keyword);
    if (inst->errorFlag)
        return -1;
    if (cmpstr(keyword, "false") == 0)
        return 0;
    if (cmpstr(keyword, "true") == 0)
        return 1;
    zolakReport(inst, __LINE__, SEVERITY_ERROR, "NOBOOL", "Boolean object expected.");
    return -1;
}

double readNumber(ConverterInstance *inst)
{
    constexpr int MOST_CHARACTERS = 255;
    ZFile *input = inst->input;
    skipWhite(inst, input);
    if (inst->errorFlag)
        return 0.0;

    char text[MOST_CHARACTERS + 1];
    int length = 0;
    bool hasPoint = false;
    while (length < MOST_CHARACTERS) {
        int c = fgetb(input);
        if (errno)
            break;
        bool isSign = (c == '-' || c == '+') && length == 0;
        bool isPoint = c == '.' && !hasPoint;
        if (!isSign && !isPoint && !isDigitByte(c))
            break;
        hasPoint |= isPoint;
        text[length++] = (char)c;
    }
    text[length] = 0;
    input->position--;
    if (length == 0)
        zolakReport(inst, __LINE__, SEVERITY_ERROR, "NONUMBER",
                    "Couldn't read number from PDF file.");
    return atod(text);
}

int32_t readInteger(ConverterInstance *inst)
{
    double value = readNumber(inst);
    if (value >= (double)std::numeric_limits<int32_t>::max())
        return std::numeric_limits<int32_t>::max();
    if (value <= (double)std::numeric_limits<int32_t>::min())
        return std::numeric_limits<int32_t>::min();
    return (int32_t)value;
}
