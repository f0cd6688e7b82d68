/*
 * psline.cpp - the lines of glyph procedures, formatted by hand
 *
 * A line is put together in a small buffer on the stack and handed to the file in one piece.
 */
#include "tools/zolak1_3/truetype/psline.h"

#include <cstring>

namespace {

constexpr char decimalPairs[] = "00010203040506070809101112131415161718192021222324"
                                "25262728293031323334353637383940414243444546474849"
                                "50515253545556575859606162636465666768697071727374"
                                "75767778798081828384858687888990919293949596979899";

/* Six numbers with their blanks, the operator and the line end. */
constexpr int LINE_BYTES_MOST = 6 * PSLINE_NUMBER_BYTES + 16;

int countDigits(uint32_t value)
{
    int digits = 1;
    for (uint64_t power = 10; value >= power; power *= 10)
        digits++;
    return digits;
}

char *putUnsigned(char *to, uint32_t value)
{
    char *end = to + countDigits(value);
    char *from = end;
    while (value >= 10) {
        from -= 2;
        memcpy(from, decimalPairs + 2 * (value % 100), 2);
        value /= 100;
    }
    if (from > to)
        *to = (char)('0' + value);
    return end;
}

char *putPoint(char *to, TTPoint point)
{
    to = psline_putInt(to, point.x);
    *to++ = ' ';
    to = psline_putInt(to, point.y);
    *to++ = ' ';
    return to;
}

/* Ends the line that begins at `line` with an operator, and writes it. */
template <size_t size>
void endLine(ZFile *file, const char *line, char *to, const char (&operatorAndEnd)[size])
{
    memcpy(to, operatorAndEnd, size - 1);
    fputm(file, line, (size_t)(to - line) + size - 1);
}

} // namespace

char *psline_putInt(char *to, int32_t value)
{
    uint32_t magnitude = (uint32_t)value;
    if (value < 0) {
        *to++ = '-';
        magnitude = 0 - magnitude;
    }
    return putUnsigned(to, magnitude);
}

char *psline_putHex(char *to, uint32_t value, int leastDigits)
{
    int digits = 1;
    while (digits < 8 && value >> (4 * digits) != 0)
        digits++;
    if (digits < leastDigits)
        digits = leastDigits;
    for (int i = digits; i-- > 0;)
        *to++ = "0123456789abcdef"[value >> (4 * i) & 0xF];
    return to;
}

/* The value is a whole number of 1/16384, so seven decimals come from one exact division.  A
 * remainder of just one half goes to the even digit, as in printf. */
char *psline_putFixed214(char *to, int16_t value)
{
    constexpr uint32_t ONE = 16384, DECIMALS = 10000000;
    uint32_t magnitude = (uint32_t)(value < 0 ? -value : value);
    uint64_t scaled = (uint64_t)magnitude * DECIMALS;
    uint32_t rounded = (uint32_t)(scaled / ONE);
    uint32_t rest = (uint32_t)(scaled % ONE);
    if (rest > ONE / 2 || (rest == ONE / 2 && rounded % 2 == 1))
        rounded++;

    if (value < 0)
        *to++ = '-';
    *to++ = (char)('0' + rounded / DECIMALS);
    *to++ = '.';
    uint32_t decimals = rounded % DECIMALS;
    for (int i = 7; i-- > 0; decimals /= 10)
        to[i] = (char)('0' + decimals % 10);
    return to + 7;
}

void psline_moveto(ZFile *file, TTPoint point)
{
    char line[LINE_BYTES_MOST];
    endLine(file, line, putPoint(line, point), "moveto\n");
}

void psline_lineto(ZFile *file, TTPoint point)
{
    char line[LINE_BYTES_MOST];
    endLine(file, line, putPoint(line, point), "lineto\n");
}

void psline_curveto(ZFile *file, TTPoint control1, TTPoint control2, TTPoint end)
{
    char line[LINE_BYTES_MOST];
    char *to = putPoint(line, control1);
    to = putPoint(to, control2);
    endLine(file, line, putPoint(to, end), "curveto\n");
}

void psline_text(ZFile *file, const char *text)
{
    fputm(file, text, strlen(text));
}
