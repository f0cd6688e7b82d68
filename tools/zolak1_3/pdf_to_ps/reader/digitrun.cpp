/*
 * digitrun.cpp - integers told from reals
 *
 * The lexer takes 255 characters of a number at a time; the run that they stand in is scanned once.
 */
#include "tools/zolak1_3/pdf_to_ps/reader/digitrun.h"

#include <cerrno>

#include "tools/zolak1_3/pdf_to_ps/reader/lexer.h"
#include "zelkov/text.h"

namespace {

/* Scans the run of digits and points at the position; false when a read fails. */
bool scanDigits(PdfReader *reader, DigitRun *run)
{
    ZFile *input = reader->input;
    *run = {fgetp(input), 0, 0};
    for (;;) {
        int byte = fgetb(input);
        if (errno)
            return false;
        if (byte == '.') {
            run->pointEnd = fgetp(input);
        } else if (!isDigitByte(byte)) {
            run->end = fgetp(input) - 1;
            countScanned(reader, run->end - run->start);
            return true;
        }
    }
}

} // namespace

NumberKind classifyNumber(PdfReader *reader, int first)
{
    uint32_t start = fgetp(reader->input);
    DigitRun &known = reader->digits;
    if (start < known.start || start >= known.end) {
        DigitRun run;
        if (!scanDigits(reader, &run))
            return NUMBER_UNREADABLE;
        known = run;
    }
    return first == '.' || known.pointEnd > start ? NUMBER_REAL : NUMBER_INTEGER;
}
