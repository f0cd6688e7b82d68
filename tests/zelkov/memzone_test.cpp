/*
 * memzone_test.cpp - memory zones: many blocks, one release
 */
#include "zelkov/memzone.h"

#include <cstdint>
#include <cstring>
#include <gtest/gtest.h>
#include <vector>

TEST(MemZone, AllocationsAreAlignedAndApart)
{
    MemZone *zone = zcreate(0);
    ASSERT_NE(zone, nullptr);
    std::vector<unsigned char *> blocks;
    const size_t sizes[] = {1, 7, 16, 1000, 20000, 100000, 3, 64 * 1024, 1};
    for (size_t i = 0; i < std::size(sizes); i++) {
        auto *block = static_cast<unsigned char *>(zalloc(zone, sizes[i]));
        ASSERT_NE(block, nullptr);
        EXPECT_EQ(reinterpret_cast<uintptr_t>(block) % alignof(std::max_align_t), 0U);
        memset(block, (int)i + 1, sizes[i]);
        blocks.push_back(block);
    }
    for (size_t i = 0; i < std::size(sizes); i++) {
        EXPECT_EQ(blocks[i][0], i + 1);
        EXPECT_EQ(blocks[i][sizes[i] - 1], i + 1);
    }
    EXPECT_EQ(zdelete(zone), 0);
}

TEST(MemZone, AnImpossibleRequestIsNullAndTheZoneGoesOn)
{
    MemZone *zone = zcreate(100);
    EXPECT_EQ(zalloc(zone, SIZE_MAX), nullptr);
    EXPECT_EQ(zalloc(zone, SIZE_MAX - 40), nullptr);
    EXPECT_NE(zalloc(zone, 10), nullptr);
    EXPECT_EQ(zdelete(zone), 0);
    EXPECT_EQ(zdelete(nullptr), 0);
}
