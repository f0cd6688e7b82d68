/*
 * format.cpp - formatted text into a file
 *
 * Nearly every line is short and is formatted where it stands; a longer one is formatted again,
 * into memory of its size.
 */
#include "zelkov/format.h"

#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <string>

namespace {

constexpr size_t USUAL_BYTES = 512;

int writeFormatted(ZFile *file, const char *format, va_list arguments)
{
    int saved = errno;
    char usual[USUAL_BYTES];
    va_list again;
    va_copy(again, arguments);
    int length = vsnprintf(usual, sizeof usual, format, again);
    va_end(again);
    if (length >= 0 && (size_t)length < sizeof usual) {
        errno = saved;
        return fputm(file, usual, (size_t)length);
    }
    if (length < 0)
        return -1;
    std::string text((size_t)length + 1, '\0');
    vsnprintf(text.data(), text.size(), format, arguments);
    errno = saved;
    return fputm(file, text.data(), (size_t)length);
}

} // namespace

int fputstr_arg(ZFile *file, const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    int result = writeFormatted(file, format, arguments);
    va_end(arguments);
    return fputb(file, '\n') == 0 ? result : -1;
}

int fputstr_arg_noeol(ZFile *file, const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    int result = writeFormatted(file, format, arguments);
    va_end(arguments);
    return result;
}

int fputnumber(ZFile *file, double value)
{
    constexpr int DIGITS = 6; /* those of "%g" */
    constexpr double WHOLE_END = 1e6;
    char text[32];
    std::to_chars_result end;
    /* Most numbers are whole.  A negative zero is not, and neither is what is not a number. */
    if (fabs(value) < WHOLE_END && value == trunc(value) && !(value == 0 && std::signbit(value)))
        end = std::to_chars(text, text + sizeof text, (int32_t)value);
    else
        end = std::to_chars(text, text + sizeof text, value, std::chars_format::general, DIGITS);
    return fputm(file, text, (size_t)(end.ptr - text));
}
