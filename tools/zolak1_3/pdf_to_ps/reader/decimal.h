/*
 * decimal.h - decimal integers in the lines of cross-reference sections
 */
#ifndef PDF_TO_PS_DECIMAL_H
#define PDF_TO_PS_DECIMAL_H

#include <cerrno>
#include <cstdint>
#include <cstdlib>

/* The integer at the start of *text, behind white space and a sign, 0 when there is none; moves on
 * behind it.  errno stays as it was. */
inline int64_t readDecimal(const char **text)
{
    int saved = errno;
    char *end;
    int64_t value = strtoll(*text, &end, 10);
    *text = end;
    errno = saved;
    return value;
}

inline int64_t toDecimal(const char *text)
{
    return readDecimal(&text);
}

#endif
