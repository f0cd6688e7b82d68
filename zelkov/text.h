/*
 * text.h - text utilities: length, comparison, search, number conversion
 *
 * Nothing here depends on the locale, allocates, or disturbs errno.
 */
#ifndef ZELKOV_TEXT_H
#define ZELKOV_TEXT_H

#include <cstddef>
#include <cstdint>
#include <string>

/* Length of a NUL-terminated text in bytes. */
size_t lenstr(const char *text);

/* 0 when the two texts are equal, byte for byte; else the sign of the first difference. */
int cmpstr(const char *a, const char *b);

/* 0-based index of the first occurrence of `pattern` in `text`, or -1.  An empty pattern is
 * found at 0. */
int sposstr(const char *pattern, const char *text);

/* The longest valid prefix of `text` read as hexadecimal digits; 0 when there is none.  A value
 * beyond 32 bits keeps its low bits. */
int32_t atox(const char *text);

/* The longest valid prefix of `text` read as a number: sign, digits and one decimal point; 0.0
 * when there is none. */
double atod(const char *text);

/* The text read as a whole decimal integer, sign allowed, held to the 32-bit range.  False, and
 * `*value` untouched, when any other character is present or there is no digit. */
bool textToInteger(const char *text, int32_t *value);

/* Does `given` name `keyword`?  A '*' in the keyword marks its shortest abbreviation: the letters
 * before it are required, those after it may be left off from the end.  Case does not count. */
bool matchesKeyword(const char *given, const char *keyword);

/* The keyword as it is shown: without its '*'. */
std::string plainKeyword(const char *keyword);

/* The byte classes of the POSIX locale; bytes above 127 belong to none. */
inline bool isSpaceByte(int byte)
{
    return byte == ' ' || (byte >= '\t' && byte <= '\r');
}

#endif
