/*
 * text.cpp - text utilities
 *
 * The number readers take the longest prefix that makes sense and never look at the locale: a
 * document's "1.5" must not turn into 1 where people write "1,5".
 */
#include "zelkov/text.h"

#include <charconv>
#include <cstring>
#include <limits>

size_t lenstr(const char *text)
{
    return strlen(text);
}

int cmpstr(const char *a, const char *b)
{
    return strcmp(a, b);
}

int sposstr(const char *pattern, const char *text)
{
    const char *at = strstr(text, pattern);
    return at ? (int)(at - text) : -1;
}

static int hexDigit(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    return -1;
}

int32_t atox(const char *text)
{
    uint32_t value = 0;
    for (int digit; (digit = hexDigit(*text)) >= 0; text++)
        value = value << 4 | (uint32_t)digit;
    return (int32_t)value;
}

/* A number of few digits, as nearly all are: they and the power of ten are exact, and so their
 * quotient is the nearest value.  False when the text is anything else. */
static bool readShortNumber(const char *text, double *value)
{
    constexpr double POWERS[] = {1e0, 1e1, 1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                 1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};
    constexpr int MOST_DIGITS = 15;
    int64_t digits = 0;
    int count = 0, behindPoint = 0;
    bool hasPoint = false;
    for (;; text++) {
        if (*text == '.' && !hasPoint) {
            hasPoint = true;
            continue;
        }
        if (*text < '0' || *text > '9')
            break;
        if (++count > MOST_DIGITS)
            return false;
        digits = digits * 10 + (*text - '0');
        behindPoint += hasPoint;
    }
    *value = (double)digits / POWERS[behindPoint];
    return true;
}

double atod(const char *text)
{
    bool negative = *text == '-';
    if (*text == '-' || *text == '+')
        text++;
    /* from_chars would also take a second sign, "inf" and "nan". */
    auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
    if (!isDigit(*text) && (*text != '.' || !isDigit(text[1])))
        return 0.0;

    double value = 0.0;
    if (readShortNumber(text, &value))
        return negative ? -value : value;
    auto result = std::from_chars(text, text + strlen(text), value, std::chars_format::fixed);
    if (result.ec == std::errc::result_out_of_range && *text != '0' && *text != '.')
        value = std::numeric_limits<double>::max();
    return negative ? -value : value;
}

bool textToInteger(const char *text, int32_t *value)
{
    bool negative = *text == '-';
    if (*text == '-' || *text == '+')
        text++;
    if (!*text)
        return false;

    const int64_t bound = (int64_t)std::numeric_limits<int32_t>::max() + 1;
    int64_t sum = 0;
    for (; *text; text++) {
        if (*text < '0' || *text > '9')
            return false;
        sum = sum * 10 + (*text - '0');
        if (sum > bound)
            sum = bound;
    }
    if (negative)
        sum = -sum;
    else if (sum == bound)
        sum = bound - 1;
    *value = (int32_t)sum;
    return true;
}

static char lowerCase(char c)
{
    return c >= 'A' && c <= 'Z' ? (char)(c - 'A' + 'a') : c;
}

bool matchesKeyword(const char *given, const char *keyword)
{
    bool mayEnd = false;
    for (; *keyword; keyword++) {
        if (*keyword == '*') {
            mayEnd = true;
            continue;
        }
        if (!*given)
            return mayEnd;
        if (lowerCase(*given++) != lowerCase(*keyword))
            return false;
    }
    return !*given;
}

std::string plainKeyword(const char *keyword)
{
    std::string plain;
    for (; *keyword; keyword++)
        if (*keyword != '*')
            plain += *keyword;
    return plain;
}
