/*
 * adler_test.cpp - the Adler-32 checksum
 */
#include <gtest/gtest.h>

#include <string>

#include "tests/compress/encoders.h"
#include "tests/compress/samples.h"
#include "tools/compress1_2/adler.h"

namespace {

uint32_t checksum(const std::string &data, uint32_t from = ADLER_START)
{
    return updateAdler(from, reinterpret_cast<const uint8_t *>(data.data()), data.size());
}

TEST(Adler, OfNothingIsOne)
{
    EXPECT_EQ(checksum(""), 1U);
}

TEST(Adler, OfAKnownText)
{
    EXPECT_EQ(checksum("Wikipedia"), 0x11E60398U);
}

TEST(Adler, TakingTheRemainderLateGivesTheSameValue)
{
    for (size_t size : std::initializer_list<size_t>{1, 15, 16, 17, 5551, 5552, 5553, 11104, 70000})
        for (int kind = 0; kind < SAMPLE_KINDS; kind++) {
            std::string data = sampleOf(kind, size, size);
            EXPECT_EQ(checksum(data), adlerOf(data)) << size << " " << kind;
        }
}

TEST(Adler, GreatestBytesDoNotOverflow)
{
    std::string data(100000, '\xFF');
    EXPECT_EQ(checksum(data), adlerOf(data));
    /* both sums just below the modulus at the start */
    uint32_t sums = 0xFFF0FFF0;
    uint32_t a = sums & 0xFFFF, b = sums >> 16;
    for (char byte : data) {
        a = (a + (uint8_t)byte) % 65521;
        b = (b + a) % 65521;
    }
    EXPECT_EQ(checksum(data, sums), b << 16 | a);
}

TEST(Adler, PiecesGiveTheSameAsTheWhole)
{
    std::string data = sampleNoise(3000, 5);
    for (size_t cut = 0; cut <= data.size(); cut += 7)
        EXPECT_EQ(checksum(data.substr(cut), checksum(data.substr(0, cut))), adlerOf(data));
}

} // namespace
