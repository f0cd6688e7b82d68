/*
 * lexer.cpp - white space, keywords, booleans and numbers
 *
 * Bytes come through fgetb, and whether a read failed is told by errno alone, which stays set: a
 * failure anywhere before makes every later read count as failed.  A byte too many is put back by
 * stepping the position back.
 */
#include "tools/zolak1_3/pdf_to_ps/reader/lexer.h"

#include <cerrno>
#include <limits>

#include "zelkov/text.h"

namespace {

constexpr uint64_t CANCEL_ASKED_EVERY = 65536; /* bytes, about; a power of two */

} // namespace

void countScanned(PdfReader *reader, uint32_t bytes)
{
    uint64_t &scanned = reader->limits.bytesScanned;
    uint64_t before = scanned;
    scanned += bytes;
    if ((before ^ scanned) >= CANCEL_ASKED_EVERY)
        stopWhenCancelled(reader);
    if (scanned <= SCANNED_ALWAYS || reader->errorFlag)
        return;
    if (scanned > SCANNED_ALWAYS + SCANNED_PER_FILE_BYTE * fgeteof(reader->input))
        zolakReport(reader, __LINE__, SEVERITY_ERROR, "BADOBJ", "Objects are shared too often.");
}

void skipWhite(PdfReader *reader, ZFile *input)
{
    if (reader->errorFlag)
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
        zolakReport(reader, __LINE__, SEVERITY_ERROR, "BADSPACE",
                    "Error occurred during skipping white spaces.");
    countScanned(reader, input->position - start);
    if (!reader->errorFlag)
        input->position--;
}

int readKeyword(PdfReader *reader, ZFile *input, char *buffer)
{
    *buffer = 0;
    skipWhite(reader, input);
    if (reader->errorFlag)
        return 0;
    int c = 0;
    for (int length = 0; length < KEYWORD_BYTES - 1;) {
        c = fgetb(input);
        if (errno) {
            zolakReport(reader, __LINE__, SEVERITY_ERROR, "READERR", "Reading error.");
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

int readBoolean(PdfReader *reader)
{
    char keyword[KEYWORD_BYTES];
    readKeyword(reader, reader->input, keyword);
    if (reader->errorFlag)
        return -1;
    if (cmpstr(keyword, "false") == 0)
        return 0;
    if (cmpstr(keyword, "true") == 0)
        return 1;
    zolakReport(reader, __LINE__, SEVERITY_ERROR, "NOBOOL", "Boolean object expected.");
    return -1;
}

double readNumber(PdfReader *reader)
{
    constexpr int MOST_CHARACTERS = 255;
    ZFile *input = reader->input;
    skipWhite(reader, input);
    if (reader->errorFlag)
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
        zolakReport(reader, __LINE__, SEVERITY_ERROR, "NONUMBER",
                    "Couldn't read number from PDF file.");
    return atod(text);
}

int32_t readInteger(PdfReader *reader)
{
    double value = readNumber(reader);
    if (value >= (double)std::numeric_limits<int32_t>::max())
        return std::numeric_limits<int32_t>::max();
    if (value <= (double)std::numeric_limits<int32_t>::min())
        return std::numeric_limits<int32_t>::min();
    return (int32_t)value;
}
