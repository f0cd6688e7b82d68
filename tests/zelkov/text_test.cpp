/*
 * text_test.cpp - texts: comparison, search, numbers independent of the locale
 */
#include "zelkov/text.h"

#include <cerrno>
#include <clocale>
#include <cmath>
#include <cstdlib>
#include <gtest/gtest.h>
#include <string>

TEST(Text, LengthComparisonAndSearch)
{
    EXPECT_EQ(lenstr(""), 0U);
    EXPECT_EQ(lenstr("abc"), 3U);
    EXPECT_EQ(cmpstr("abc", "abc"), 0);
    EXPECT_NE(cmpstr("abc", "ABC"), 0) << "comparison counts case";
    EXPECT_EQ(sposstr("xref", "xref"), 0);
    EXPECT_EQ(sposstr("xref", "startxref"), 5);
    EXPECT_EQ(sposstr("trailer", "trailed"), -1);
    EXPECT_EQ(sposstr("aa", "baaa"), 1) << "the first occurrence";
}

TEST(Text, HexadecimalPrefix)
{
    EXPECT_EQ(atox("48"), 0x48);
    EXPECT_EQ(atox("fF"), 0xFF);
    EXPECT_EQ(atox("4g"), 4) << "the longest valid prefix";
    EXPECT_EQ(atox("g4"), 0);
    EXPECT_EQ(atox(""), 0);
}

TEST(Text, NumberPrefix)
{
    EXPECT_EQ(atod("-12.5"), -12.5);
    EXPECT_EQ(atod("+.5"), 0.5);
    EXPECT_EQ(atod("7."), 7.0);
    EXPECT_EQ(atod("1.2.3"), 1.2);
    EXPECT_EQ(atod("5x"), 5.0);
    EXPECT_EQ(atod("1e5"), 1.0) << "no exponents";
    for (const char *nothing : {"", "-", "+", "--5", "+-5", ".", "-.", "nan", "inf"})
        EXPECT_EQ(std::to_string(atod(nothing)), "0.000000") << nothing << ", and never minus 0";
}

TEST(Text, NumbersAreTheNearestValues)
{
    /* Up to 15 digits go a way of their own; strtod is the judge of both. */
    uint64_t state = 88172645463325252U;
    for (int i = 0; i < 20000; i++) {
        state ^= state << 13;
        state ^= state >> 7;
        state ^= state << 17;
        std::string digits = std::to_string(state).substr(0, 1 + (size_t)i % 20);
        std::string number = digits.substr(0, state % (digits.size() + 1)) + "." +
                             digits.substr(state % (digits.size() + 1));
        EXPECT_EQ(atod(number.c_str()), strtod(number.c_str(), nullptr)) << number;
        EXPECT_EQ(atod(("-" + digits).c_str()), -strtod(digits.c_str(), nullptr)) << digits;
    }
    EXPECT_TRUE(std::signbit(atod("-0")));
    EXPECT_FALSE(std::signbit(atod("0")));
}

TEST(Text, NumbersDoNotDependOnTheLocale)
{
    for (const char *locale : {"de_DE.UTF-8", "de_DE", "C.UTF-8"})
        if (setlocale(LC_ALL, locale))
            break;
    EXPECT_EQ(atod("1.5"), 1.5);
    setlocale(LC_ALL, "C");
}

TEST(Text, WholeIntegersAreHeldToTheirRange)
{
    int32_t value = 7;
    EXPECT_TRUE(textToInteger("-42", &value));
    EXPECT_EQ(value, -42);
    EXPECT_TRUE(textToInteger("99999999999999999999", &value));
    EXPECT_EQ(value, INT32_MAX);
    EXPECT_TRUE(textToInteger("-99999999999", &value));
    EXPECT_EQ(value, INT32_MIN);
    value = 7;
    for (const char *other : {"", "-", "12x", " 1", "1.0", "0x1"})
        EXPECT_FALSE(textToInteger(other, &value)) << other;
    EXPECT_EQ(value, 7) << "untouched";
}

TEST(Text, AnAsteriskMarksTheShortestAbbreviation)
{
    EXPECT_TRUE(matchesKeyword("DEB", "DEB*UG"));
    EXPECT_TRUE(matchesKeyword("debu", "DEB*UG"));
    EXPECT_TRUE(matchesKeyword("Debug", "DEB*UG"));
    EXPECT_FALSE(matchesKeyword("DE", "DEB*UG"));
    EXPECT_FALSE(matchesKeyword("DEBUGS", "DEB*UG"));
    EXPECT_FALSE(matchesKeyword("DEBX", "DEB*UG"));
    EXPECT_TRUE(matchesKeyword("page", "PAGE"));
    EXPECT_FALSE(matchesKeyword("PAG", "PAGE"));
    EXPECT_EQ(plainKeyword("DEB*UG"), "DEBUG");
}
