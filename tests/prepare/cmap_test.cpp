/*
 * cmap_test.cpp - CMaps read from text
 */
#include <gtest/gtest.h>

#include "prepare/fonts/cmap.h"

using namespace prepare;

namespace {

CMap sorted(const std::string &text)
{
    CMap cmap = readCMap(text);
    sortCMap(&cmap);
    return cmap;
}

/* The codes of a string with their sizes, "size:code". */
std::string codesOf(const CMap &cmap, std::string_view text)
{
    std::string found;
    uint32_t code;
    while (int bytes = nextCode(cmap, text, &code)) {
        text.remove_prefix((size_t)bytes);
        found += std::to_string(bytes) + ":" + std::to_string(code) + " ";
    }
    return found;
}

int cidOf(const CMap &cmap, uint32_t code)
{
    uint32_t cid;
    return findCid(cmap, code, &cid) ? (int)cid : -1;
}

using Text = std::vector<uint32_t>;

} // namespace

TEST(CMap, CodesOfMixedSizes)
{
    CMap cmap = sorted("3 begincodespacerange <00> <80> <8140> <9FFC> <E04000> <FCFCFF> "
                       "endcodespacerange");
    EXPECT_EQ(codesOf(cmap, "A\x81\x40z\xE0\x41\x02"), "1:65 2:33088 1:122 3:14696706 ");
    EXPECT_EQ(codesOf(cmap, "\x81"), "1:129 ") << "a cut code is what is left of it";
}

TEST(CMap, SecondByteBelongsToTheRange)
{
    CMap cmap = sorted("1 begincodespacerange <2121> <7E7E> endcodespacerange");
    EXPECT_EQ(codesOf(cmap, "\x21\x21\x30\x7E"), "2:8481 2:12414 ");
}

TEST(CMap, RangesSinglesAndLaterDefinitions)
{
    CMap cmap = sorted("2 begincidrange <20> <7e> 1 <0100> <01FF> 1000 endcidrange\n"
                       "1 begincidchar <41> 77 endcidchar");
    EXPECT_EQ(cidOf(cmap, 0x20), 1);
    EXPECT_EQ(cidOf(cmap, 0x41), 77);
    EXPECT_EQ(cidOf(cmap, 0x42), 35);
    EXPECT_EQ(cidOf(cmap, 0x1FF), 1255);
    EXPECT_EQ(cidOf(cmap, 0x200), -1);
}

TEST(CMap, TextOfRangesArraysAndPairs)
{
    CMap cmap = sorted("2 beginbfrange <01> <03> <0041> <10> <11> [<00660069> <D83DDE00>] "
                       "endbfrange 1 beginbfchar <20> <61> endbfchar");
    EXPECT_EQ(findText(cmap, 2), Text{'B'});
    EXPECT_EQ(findText(cmap, 0x10), (Text{'f', 'i'}));
    EXPECT_EQ(findText(cmap, 0x11), Text{0x1F600});
    EXPECT_EQ(findText(cmap, 0x20), Text{'a'});
    EXPECT_EQ(findText(cmap, 4), Text());
}

TEST(CMap, WritingModeAndBase)
{
    CMap cmap = readCMap("/Base-H usecmap /WMode 1 def");
    EXPECT_TRUE(cmap.isVertical);
    EXPECT_EQ(cmap.base, "/Base-H");
}

TEST(CMap, BaseGivesWhatIsNotDefinedAnew)
{
    CMap cmap = readCMap("1 begincidchar <0041> 9 endcidchar");
    addBase(&cmap, identityCMap(false));
    sortCMap(&cmap);
    EXPECT_EQ(cidOf(cmap, 0x41), 9);
    EXPECT_EQ(cidOf(cmap, 0x42), 0x42);
}

TEST(CMap, InstalledOnesAreFoundByNameAlone)
{
    CMap cmap;
    EXPECT_FALSE(loadCMap("/../../etc/passwd", &cmap));
    EXPECT_FALSE(loadCMap("/", &cmap));
    EXPECT_FALSE(loadCMap("/No-Such-CMap-H", &cmap));
}

TEST(CMap, DamageIsSkipped)
{
    CMap cmap = sorted("5 begincidrange <20> 7 3 <30> <2F> 5 <40> <41> 900000 <50> <51> 6");
    EXPECT_EQ(cidOf(cmap, 0x30), -1);
    EXPECT_EQ(cidOf(cmap, 0x40), -1);
    EXPECT_EQ(cidOf(cmap, 0x51), 7);
}
