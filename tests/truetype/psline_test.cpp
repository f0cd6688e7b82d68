/*
 * psline_test.cpp - lines formatted by hand are those of printf
 */
#include <gtest/gtest.h>

#include <climits>
#include <cstdarg>
#include <cstring>

#include "tests/support/scratch_directory.h"
#include "tools/zolak1_3/truetype/psline.h"
#include "zelkov/format.h"

namespace {

/* A number as the function puts it; the bytes before and behind must stay. */
template <class Put> std::string put(Put putNumber)
{
    char room[PSLINE_NUMBER_BYTES + 2];
    memset(room, '#', sizeof room);
    char *end = putNumber(room + 1);
    EXPECT_EQ(room[0], '#');
    EXPECT_LE(end, room + 1 + PSLINE_NUMBER_BYTES);
    EXPECT_EQ(*end, '#');
    return std::string(room + 1, end);
}

__attribute__((format(printf, 1, 2))) std::string printed(const char *format, ...)
{
    char text[64];
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    return text;
}

const std::vector<int32_t> extremes = {
    INT_MIN, INT_MIN + 1, -1000000000, -999999999, -100000,    -99999,      -65536, -54612,
    -32769,  -32768,      -10000,      -9999,      -1000,      -999,        -101,   -100,
    -99,     -10,         -9,          -1,         0,          1,           9,      10,
    11,      99,          100,         101,        999,        1000,        9999,   10000,
    32767,   32768,       54612,       65535,      65536,      99999,       100000, 999999,
    1000000, 9999999,     99999999,    999999999,  1000000000, INT_MAX - 1, INT_MAX};

TEST(PsLine, IntegersAreThoseOfPrintf)
{
    for (int32_t value : extremes)
        EXPECT_EQ(put([=](char *to) { return psline_putInt(to, value); }), printed("%d", value));
    for (int32_t value = -70000; value <= 70000; value++)
        ASSERT_EQ(put([=](char *to) { return psline_putInt(to, value); }), printed("%d", value));
}

TEST(PsLine, HexadecimalNumbersAreThoseOfPrintf)
{
    for (uint32_t value : {0U, 1U, 9U, 10U, 15U, 16U, 0xFFU, 0x100U, 0xABCDU, 0xFFFFU, 0x10000U,
                           0x12345678U, 0xFFFFFFFFU}) {
        EXPECT_EQ(put([=](char *to) { return psline_putHex(to, value, 1); }), printed("%x", value));
        EXPECT_EQ(put([=](char *to) { return psline_putHex(to, value, 2); }),
                  printed("%2.2x", value));
        EXPECT_EQ(put([=](char *to) { return psline_putHex(to, value, 4); }),
                  printed("%4.4x", value));
    }
}

TEST(PsLine, EveryTransformValueIsThatOfPrintf)
{
    for (int value = -32768; value <= 32767; value++)
        ASSERT_EQ(put([=](char *to) { return psline_putFixed214(to, (int16_t)value); }),
                  printed("%9.7f", (value >> 14) + (value & 0x3FFF) / 16384.0));
}

/* Every line function against fputstr_arg, in one file each. */
TEST(PsLine, PathLinesAreThoseOfTheFormattedWriter)
{
    ScratchDirectory scratch;
    ZFile *byHand = fopenw("", (scratch / "hand.ps").c_str(), "", 0);
    ZFile *byFormat = fopenw("", (scratch / "format.ps").c_str(), "", 0);
    auto both = [=](TTPoint a, TTPoint b, TTPoint c) {
        psline_moveto(byHand, a);
        fputstr_arg(byFormat, "%d %d moveto", a.x, a.y);
        psline_lineto(byHand, b);
        fputstr_arg(byFormat, "%d %d lineto", b.x, b.y);
        psline_curveto(byHand, a, b, c);
        fputstr_arg(byFormat, "%d %d %d %d %d %d curveto", a.x, a.y, b.x, b.y, c.x, c.y);
    };
    for (int32_t x : extremes)
        for (int32_t y : extremes)
            both({x, y}, {y, -(x / 2)}, {x / 3, y / 7});
    psline_text(byHand, " closepath \n");
    fputstr(byFormat, " closepath ");
    both({INT_MIN, INT_MIN}, {INT_MIN, INT_MIN}, {INT_MIN, INT_MIN});
    fclosx(byHand);
    fclosx(byFormat);
    EXPECT_EQ(readFile(scratch / "hand.ps"), readFile(scratch / "format.ps"));
}

} // namespace
