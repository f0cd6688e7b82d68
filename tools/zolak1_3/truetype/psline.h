/*
 * psline.h - the lines of glyph procedures, formatted by hand
 *
 * A font has some hundred thousand of these lines, and printf would take most of the conversion's
 * time.  What comes out is what the printf format beside each function gives, byte for byte.
 */
#ifndef TRUETYPE_PSLINE_H
#define TRUETYPE_PSLINE_H

#include <cstdint>

#include "zelkov/file.h"

struct TTPoint {
    int32_t x, y;
};

/* Most bytes that one of the psline_put functions writes. */
constexpr int PSLINE_NUMBER_BYTES = 12;

/* These write a number without terminator and answer its end. */
char *psline_putInt(char *to, int32_t value);                   /* "%d" */
char *psline_putHex(char *to, uint32_t value, int leastDigits); /* "%x", "%2.2x", "%4.4x" */
char *psline_putFixed214(char *to, int16_t value);              /* "%9.7f" of value / 16384 */

/* These write a whole line. */
void psline_moveto(ZFile *file, TTPoint point); /* "%d %d moveto" */
void psline_lineto(ZFile *file, TTPoint point); /* "%d %d lineto" */
/* "%d %d %d %d %d %d curveto" */
void psline_curveto(ZFile *file, TTPoint control1, TTPoint control2, TTPoint end);

/* Writes the text as it stands, without a line end. */
void psline_text(ZFile *file, const char *text);

#endif
