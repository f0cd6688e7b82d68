/*
 * cmap_test.cpp - readCmap: which subtable is used, and what it makes of codes and glyphs
 */
#include <gtest/gtest.h>

#include "tests/truetype/conversion.h"
#include "tests/truetype/font_builder.h"
#include "tools/zolak1_3/truetype/cmap.h"
#include "tools/zolak1_3/truetype/fontreader.h"

namespace {

using Texts = std::vector<std::string>;

/* A font record with a glyph table, and readCmap on it. */
class ReadCmap : public testing::Test {
  protected:
    ReadCmap() { font.zone = zcreate(0); }
    ~ReadCmap() override { zdelete(font.zone); }

    void read(const std::string &cmap, int32_t glyphCount = 300)
    {
        makeGlyphTable(instance, &font, glyphCount);
        readCmap(instance, &font, {reinterpret_cast<const uint8_t *>(cmap.data()), cmap.size()});
    }

    /* The codes that have a glyph other than 0. */
    std::map<int, int> encoded() const
    {
        std::map<int, int> codes;
        for (int code = 0; code < 256; code++)
            if (font.encoding[code] != 0)
                codes[code] = font.encoding[code];
        return codes;
    }

    Texts reports() { return instance.controller.takeTextsWithLines(); }

    RecordedInstance instance;
    TTFont font = {};
};

using Codes = std::map<int, int>;

std::string unicodeCmap(const std::vector<CmapSegment> &segments)
{
    return cmapTable({{3, 1, cmapFormat4(segments)}});
}

std::string symbolCmap(const std::vector<CmapSegment> &segments)
{
    return cmapTable({{3, 0, cmapFormat4(segments)}});
}

/* ---- choosing */

TEST_F(ReadCmap, UsesTheMicrosoftSubtableWhereverItStands)
{
    std::string unicode = cmapFormat4({{'A', 'A', 5 - 'A'}});
    std::string bytes = cmapFormat0({0, 7});
    for (const auto &records : {std::vector<CmapRecord>{{3, 1, unicode}, {1, 0, bytes}},
                                std::vector<CmapRecord>{{1, 0, bytes}, {3, 1, unicode}}}) {
        read(cmapTable(records));
        EXPECT_EQ(encoded(), (Codes{{'A', 5}}));
        EXPECT_TRUE(font.unicodeFlag);
        EXPECT_EQ(reports(), Texts{});
    }
}

TEST_F(ReadCmap, UsesTheFirstMicrosoftSubtableOfFormatFour)
{
    std::string first = cmapFormat4({{'A', 'A', 5 - 'A'}});
    std::string second = cmapFormat4({{'B', 'B', 6 - 'B'}});
    read(cmapTable({{0, 3, second}, {3, 1, cmapFormat0({0, 7})}, {3, 1, first}, {3, 1, second}}));
    EXPECT_EQ(encoded(), (Codes{{'A', 5}}));
    read(cmapTable({{3, 1, first}, {3, 0, second}}));
    EXPECT_TRUE(font.unicodeFlag);
    EXPECT_EQ(encoded(), (Codes{{'A', 5}}));
}

TEST_F(ReadCmap, RefusesOtherMicrosoftEncodingsEvenBeforeAUsableOne)
{
    std::string usable = cmapFormat4({{'A', 'A', 5 - 'A'}});
    for (unsigned encoding : {2U, 10U, 65535U}) {
        RecordedInstance fresh;
        makeGlyphTable(fresh, &font, 300);
        std::string cmap =
            cmapTable({{3, encoding, usable}, {3, 1, usable}, {1, 0, cmapFormat0({})}});
        readCmap(fresh, &font, {reinterpret_cast<const uint8_t *>(cmap.data()), cmap.size()});
        EXPECT_EQ(fresh.controller.takeTextsWithLines(),
                  Texts{"ZOLAK:671 4 TTFONT: MS Encoding ID " + std::to_string(encoding) +
                        " not supported"});
        EXPECT_TRUE(fresh.stopped());
        EXPECT_EQ(encoded(), Codes{});
        EXPECT_FALSE(font.unicodeFlag);
    }
}

TEST_F(ReadCmap, OtherEncodingsInOtherFormatsArePassedOver)
{
    read(cmapTable({{3, 10, cmapFormat0({0, 7})}, {3, 1, cmapFormat4({{'A', 'A', 5 - 'A'}})}}));
    EXPECT_EQ(encoded(), (Codes{{'A', 5}}));
    EXPECT_EQ(reports(), Texts{});
}

TEST_F(ReadCmap, ByteTableIsUsedAsTheFirstRecordAlone)
{
    std::string bytes = cmapFormat0({0, 7});
    std::string other = FontBytes().u16(6).u16(10).zeros(6);
    read(cmapTable({{1, 0, bytes}, {0, 3, other}}));
    EXPECT_EQ(encoded(), (Codes{{1, 7}}));
    EXPECT_FALSE(font.unicodeFlag);

    read(cmapTable({{0, 3, other}, {1, 0, bytes}}));
    EXPECT_EQ(encoded(), Codes{});
    EXPECT_EQ(reports(), Texts{"ZOLAK:802 4 TTFONT: No Recognised Encoding Table"});
}

TEST_F(ReadCmap, ByteTableMayBeOfAnyPlatform)
{
    for (unsigned platform : {0U, 1U, 3U, 77U}) {
        read(cmapTable({{platform, 9, cmapFormat0({0, 7})}}));
        EXPECT_EQ(encoded(), (Codes{{1, 7}}));
    }
    EXPECT_EQ(reports(), Texts{});
}

TEST_F(ReadCmap, WithoutAUsableSubtableThereIsNoEncoding)
{
    std::string format6 = FontBytes().u16(6).u16(10).zeros(6);
    std::string segments = cmapFormat4({{'A', 'A', 5 - 'A'}});
    for (const std::string &cmap :
         {std::string(), cmapTable({}), cmapTable({{1, 0, format6}}), cmapTable({{0, 3, segments}}),
          cmapTable({{1, 0, segments}, {1, 0, cmapFormat0({0, 7})}})}) {
        RecordedInstance fresh;
        makeGlyphTable(fresh, &font, 300);
        readCmap(fresh, &font, {reinterpret_cast<const uint8_t *>(cmap.data()), cmap.size()});
        EXPECT_EQ(fresh.controller.takeTextsWithLines(),
                  Texts{"ZOLAK:802 4 TTFONT: No Recognised Encoding Table"});
        EXPECT_EQ(encoded(), Codes{});
    }
}

TEST_F(ReadCmap, AMissingTableIsNoRecognisedEncoding)
{
    makeGlyphTable(instance, &font, 300);
    readCmap(instance, &font, {nullptr, 0});
    EXPECT_EQ(reports(), Texts{"ZOLAK:802 4 TTFONT: No Recognised Encoding Table"});
}

TEST_F(ReadCmap, ClearsWhatAnEarlierReadingLeft)
{
    std::fill_n(font.encoding, 256, (int16_t)99);
    font.unicodeFlag = true;
    read(cmapTable({{1, 0, cmapFormat0({0, 7})}}));
    EXPECT_EQ(encoded(), (Codes{{1, 7}}));
    EXPECT_FALSE(font.unicodeFlag);
}

TEST_F(ReadCmap, DoesNothingOnceTheInstanceIsStopped)
{
    control_report(instance.controller, "TEST", "test", 1, SEVERITY_ERROR, "STOP", "stop");
    instance.controller.take();
    read(unicodeCmap({{'A', 'A', 5 - 'A'}}));
    EXPECT_EQ(encoded(), Codes{});
    EXPECT_EQ(reports(), Texts{});
}

/* ---- Unicode */

TEST_F(ReadCmap, UnicodeValuesMapToTheirCodes)
{
    /* Every character of the basic plane, against the list of those that have a code. */
    std::map<uint32_t, int> expected;
    for (int value = 0; value < 256; value++)
        expected[(uint32_t)value] = value;
    for (uint32_t absent :
         {0x82U, 0x83U, 0x84U, 0x85U, 0x86U, 0x87U, 0x88U, 0x89U, 0x8AU, 0x8BU, 0x8CU, 0x91U,
          0x92U, 0x93U, 0x94U, 0x95U, 0x96U, 0x97U, 0x98U, 0x99U, 0x9AU, 0x9BU, 0x9CU, 0x9FU})
        expected.erase(absent);
    const std::map<uint32_t, int> elsewhere = {
        {0x0152, 0x8C}, {0x0153, 0x9C}, {0x0160, 0x8A}, {0x0161, 0x9A}, {0x0178, 0x9F},
        {0x0192, 0x83}, {0x02C6, 0x88}, {0x02DC, 0x98}, {0x2013, 0x96}, {0x2014, 0x97},
        {0x2018, 0x91}, {0x2019, 0x92}, {0x201A, 0x82}, {0x201C, 0x93}, {0x201D, 0x94},
        {0x201E, 0x84}, {0x2020, 0x86}, {0x2021, 0x87}, {0x2022, 0x95}, {0x2026, 0x85},
        {0x2030, 0x89}, {0x2039, 0x8B}, {0x203A, 0x9B}, {0x2122, 0x99},
    };
    expected.insert(elsewhere.begin(), elsewhere.end());
    ASSERT_EQ(expected.size(), 256U);

    makeGlyphTable(instance, &font, 2);
    for (uint32_t unicode = 0; unicode < 0xFFFF; unicode++) {
        std::string cmap = unicodeCmap({{unicode, unicode, 1 - (int)unicode}});
        font.glyphs[1] = {TT_NO_CHARACTER, TT_NO_CHARACTER, "", 0, 0};
        readCmap(instance, &font, {reinterpret_cast<const uint8_t *>(cmap.data()), cmap.size()});
        auto code = expected.find(unicode);
        Codes codes = code == expected.end() ? Codes{} : Codes{{code->second, 1}};
        ASSERT_EQ(encoded(), codes) << std::hex << unicode;
        ASSERT_EQ(font.glyphs[1].unicode, unicode);
        ASSERT_EQ(font.glyphs[1].code, code == expected.end() ? 0xFFFFU : (uint32_t)code->second);
    }
}

TEST_F(ReadCmap, EuroAndTheTwoZCaronsHaveNoCode)
{
    read(unicodeCmap({{0x017D, 0x017E, 10 - 0x017D},
                      {0x20AC, 0x20AC, 12 - 0x20AC},
                      {0x2122, 0x2122, 13 - 0x2122}}));
    EXPECT_EQ(encoded(), (Codes{{0x99, 13}}));
    EXPECT_EQ(font.glyphs[10].code, 0xFFFFU);
    EXPECT_EQ(font.glyphs[12].unicode, 0x20ACU);
}

TEST_F(ReadCmap, TheFirstCharacterOfAGlyphIsTheOneItIsKnownBy)
{
    read(unicodeCmap({{'A', 'A', 5 - 'A'}, {'B', 'B', 5 - 'B'}}));
    EXPECT_EQ(encoded(), (Codes{{'A', 5}, {'B', 5}}));
    EXPECT_EQ(font.glyphs[5].unicode, (uint32_t)'A');
    EXPECT_EQ(font.glyphs[5].code, (uint32_t)'A');
}

TEST_F(ReadCmap, ALaterCharacterTakesTheCode)
{
    read(unicodeCmap({{'A', 'A', 5 - 'A'}, {'A', 'A', 6 - 'A'}}));
    EXPECT_EQ(encoded(), (Codes{{'A', 6}}));
    EXPECT_EQ(font.glyphs[6].code, (uint32_t)'A');
}

TEST_F(ReadCmap, ACharacterWithoutCodeStillNamesItsGlyph)
{
    read(unicodeCmap({{0x3B1, 0x3B1, 5 - 0x3B1}}));
    EXPECT_EQ(encoded(), Codes{});
    EXPECT_EQ(font.glyphs[5].unicode, 0x3B1U);
    EXPECT_EQ(font.glyphs[5].code, 0xFFFFU);
    EXPECT_EQ(font.glyphs[6].unicode, TT_NO_CHARACTER);
    EXPECT_EQ(font.glyphs[6].code, TT_NO_CHARACTER);
}

/* ---- segments */

TEST_F(ReadCmap, SegmentsIncludeBothEnds)
{
    read(unicodeCmap({{'A', 'C', 5 - 'A'}}));
    EXPECT_EQ(encoded(), (Codes{{'A', 5}, {'B', 6}, {'C', 7}}));
}

TEST_F(ReadCmap, ASegmentThatEndsBeforeItStartsIsEmpty)
{
    read(unicodeCmap({{'C', 'A', 5 - 'A'}, {'X', 'X', 5 - 'X'}}));
    EXPECT_EQ(encoded(), (Codes{{'X', 5}}));
}

TEST_F(ReadCmap, TheLastSegmentIsNeverRead)
{
    FontBytes table;
    table.u16(4).u16(0).u16(0).u16(4).zeros(6);
    table.u16('A')
        .u16('B')
        .u16(0)
        .u16('A')
        .u16('B')
        .u16(0x10005U - 'A')
        .u16(0x10006U - 'B')
        .u16(0)
        .u16(0);
    read(cmapTable({{3, 1, table}}));
    EXPECT_EQ(encoded(), (Codes{{'A', 5}}));
}

TEST_F(ReadCmap, OneSegmentOrNoneEncodesNothing)
{
    for (unsigned twice : {0U, 1U, 2U, 3U}) {
        FontBytes table;
        table.u16(4).u16(0).u16(0).u16(twice).zeros(6);
        table.u16('A').u16(0).u16('A').u16(0x10005U - 'A').u16(0).zeros(20);
        read(cmapTable({{3, 1, table}}));
        EXPECT_EQ(encoded(), Codes{});
        EXPECT_EQ(reports(), Texts{});
    }
}

TEST_F(ReadCmap, DeltasWrapAtSixteenBits)
{
    read(unicodeCmap({{'A', 'A', 0x10000 + 5 - 'A'}, {0x2013, 0x2013, 7 - 0x2013}}));
    EXPECT_EQ(encoded(), (Codes{{'A', 5}, {0x96, 7}}));
}

TEST_F(ReadCmap, RangeOffsetsLeadToTheGlyphArrayWithoutDelta)
{
    read(unicodeCmap({{'A', 'C', 1000, {9, 0, 8}}, {'X', 'Y', -77, {3, 4}}}));
    EXPECT_EQ(encoded(), (Codes{{'A', 9}, {'C', 8}, {'X', 3}, {'Y', 4}}));
}

TEST_F(ReadCmap, GlyphArraysBeyondTheEndGiveGlyphZero)
{
    std::string cmap = unicodeCmap({{'A', 'C', 0, {9, 8, 7}}});
    cmap.resize(cmap.size() - 2);
    read(cmap);
    EXPECT_EQ(encoded(), (Codes{{'A', 9}, {'B', 8}}));
    EXPECT_EQ(font.glyphs[0].unicode, (uint32_t)'C');
    EXPECT_EQ(reports(), Texts{});
}

/* ---- the glyph limit */

TEST_F(ReadCmap, AGlyphOfTheGlyphCountIsAcceptedAndOneAboveIsNot)
{
    read(unicodeCmap({{'A', 'B', 10 - 'A'}}), 10);
    EXPECT_EQ(encoded(), (Codes{{'A', 10}}));
    EXPECT_EQ(font.glyphs[10].unicode, (uint32_t)'A');
    EXPECT_EQ(reports(), Texts{"ZOLAK:706 3 TTFONT: Glyph value out of range: 11"});
    EXPECT_FALSE(instance.stopped());
}

TEST_F(ReadCmap, AGlyphOutOfRangeDrawsGlyphZeroAndLeavesItsRecordAlone)
{
    read(unicodeCmap({{'A', 'A', 5 - 'A'}, {'A', 'A', 2000 - 'A'}}));
    EXPECT_EQ(encoded(), Codes{}); /* the code was taken back */
    EXPECT_EQ(font.glyphs[0].unicode, TT_NO_CHARACTER);
    EXPECT_EQ(font.glyphs[0].code, TT_NO_CHARACTER);
    EXPECT_EQ(reports(), Texts{"ZOLAK:706 3 TTFONT: Glyph value out of range: 2000"});
}

TEST_F(ReadCmap, GlyphIndicesAreSigned)
{
    read(unicodeCmap({{'A', 'A', 0x8000 - 'A'}, {'B', 'B', 0, {0xFFFF}}}), 65535);
    EXPECT_EQ(encoded(), Codes{});
    EXPECT_EQ(reports(), (Texts{"ZOLAK:706 3 TTFONT: Glyph value out of range: -32768",
                                "ZOLAK:706 3 TTFONT: Glyph value out of range: -1"}));
}

TEST_F(ReadCmap, GlyphZeroIsARegularGlyph)
{
    read(unicodeCmap({{'A', 'A', -'A'}}));
    EXPECT_EQ(font.glyphs[0].unicode, (uint32_t)'A');
    EXPECT_EQ(font.glyphs[0].code, (uint32_t)'A');
    EXPECT_EQ(reports(), Texts{});
}

TEST_F(ReadCmap, AFontWithoutGlyphsHasALimitToo)
{
    read(unicodeCmap({{'A', 'B', -'A'}}), 0);
    EXPECT_EQ(reports(), Texts{"ZOLAK:706 3 TTFONT: Glyph value out of range: 1"});
}

/* ---- symbol */

TEST_F(ReadCmap, SymbolCharactersOfTheirPageFillTheCodes)
{
    read(symbolCmap({{0xF020, 0xF0FF, 1 - 0xF020}}));
    Codes expected;
    for (int code = 0x20; code <= 0xFF; code++)
        expected[code] = code - 0x1F;
    EXPECT_EQ(encoded(), expected);
    EXPECT_FALSE(font.unicodeFlag);
    EXPECT_EQ(font.glyphs[1].code, 0x20U);
    EXPECT_EQ(font.glyphs[1].unicode, 0xF020U);
}

TEST_F(ReadCmap, SymbolCharactersOfOtherPagesFillNoCode)
{
    for (unsigned page : {0x0000U, 0xF100U, 0xEF00U, 0x7000U}) {
        read(symbolCmap({{page + 0x20, page + 0xFF, 1 - (int)(page + 0x20)}}));
        EXPECT_EQ(encoded(), Codes{});
        EXPECT_EQ(font.glyphs[1].code, page + 0x20);
        EXPECT_EQ(font.glyphs[1].unicode, page + 0x20);
    }
}

TEST_F(ReadCmap, TheFirstAndTheLastCharacterOfTheSymbolPage)
{
    read(symbolCmap({{0xEFFF, 0xF000, 5 - 0xEFFF}, {0xF0FF, 0xF100, 7 - 0xF0FF}}));
    EXPECT_EQ(encoded(), (Codes{{0x00, 6}, {0xFF, 7}}));
    EXPECT_EQ(font.glyphs[5].code, 0xEFFFU);
    EXPECT_EQ(font.glyphs[6].code, 0x00U);
    EXPECT_EQ(font.glyphs[7].code, 0xFFU);
    EXPECT_EQ(font.glyphs[8].code, 0xF100U);
    EXPECT_EQ(reports(), Texts{});
}

TEST_F(ReadCmap, SymbolGlyphsKeepTheirFirstCharacterAndCodesTheirLastGlyph)
{
    read(symbolCmap({{0xF041, 0xF041, 5 - 0xF041},
                     {0xF042, 0xF042, 5 - 0xF042},
                     {0xF041, 0xF041, 6 - 0xF041}}));
    EXPECT_EQ(encoded(), (Codes{{0x41, 6}, {0x42, 5}}));
    EXPECT_EQ(font.glyphs[5].code, 0x41U);
}

TEST_F(ReadCmap, ASymbolGlyphOutOfRangeDrawsGlyphZero)
{
    read(symbolCmap({{0xF041, 0xF041, 5 - 0xF041}, {0xF041, 0xF041, 900 - 0xF041}}));
    EXPECT_EQ(encoded(), Codes{});
    EXPECT_EQ(reports(), Texts{"ZOLAK:706 3 TTFONT: Glyph value out of range: 900"});
}

/* ---- byte table */

TEST_F(ReadCmap, ByteTableGivesEachGlyphItsFirstCode)
{
    read(cmapTable({{1, 0, cmapFormat0({0, 7, 8, 7, 9})}}));
    EXPECT_EQ(encoded(), (Codes{{1, 7}, {2, 8}, {4, 9}})); /* code 3 stays without glyph */
    EXPECT_EQ(font.glyphs[7].code, 1U);
    EXPECT_EQ(font.glyphs[7].unicode, TT_NO_CHARACTER);
    EXPECT_EQ(font.glyphs[0].code, 0U);
}

TEST_F(ReadCmap, ByteTableEndsAtItsLength)
{
    std::vector<unsigned> glyphs;
    for (unsigned code = 0; code < 256; code++)
        glyphs.push_back(code);
    for (auto [length, codes] : std::map<unsigned, size_t>{{0, 0},
                                                           {5, 0},
                                                           {6, 0},
                                                           {7, 0},
                                                           {8, 1},
                                                           {261, 254},
                                                           {262, 255},
                                                           {263, 255},
                                                           {65535, 255}}) {
        std::string table = cmapFormat0(glyphs);
        table[2] = (char)(length >> 8);
        table[3] = (char)length;
        read(cmapTable({{1, 0, table}}));
        EXPECT_EQ(encoded().size(), codes) << length; /* glyph 0 of code 0 is not counted */
    }
    EXPECT_EQ(reports(), Texts{});
}

TEST_F(ReadCmap, ByteTableReachesGlyphsThatTheFontDoesNotHave)
{
    read(cmapTable({{1, 0, cmapFormat0({0, 255})}}), 1);
    EXPECT_EQ(encoded(), (Codes{{1, 255}}));
    EXPECT_EQ(reports(), Texts{});
}

TEST_F(ReadCmap, ByteTableCutShortReadsGlyphZero)
{
    std::string cmap = cmapTable({{1, 0, cmapFormat0({0, 7, 8})}});
    cmap.resize(cmap.size() - 254);
    read(cmap);
    EXPECT_EQ(encoded(), (Codes{{1, 7}}));
}

/* ---- damage */

TEST_F(ReadCmap, AnOffsetBeyondTheTableReadsAsAnEmptyByteTable)
{
    read(FontBytes().u16(0).u16(1).u16(1).u16(0).u32(0xFFFFFFF0));
    EXPECT_EQ(encoded(), Codes{});
    EXPECT_EQ(reports(), Texts{});
}

TEST_F(ReadCmap, EveryLengthOfTheTableIsSafe)
{
    std::string whole =
        cmapTable({{1, 0, cmapFormat0({0, 7})},
                   {3, 1, cmapFormat4({{'A', 'C', 0, {9, 8, 7}}, {'X', 'Z', 5 - 'X'}})}});
    for (size_t length = 0; length <= whole.size(); length++) {
        RecordedInstance fresh;
        /* An exact allocation, so that a sanitizer sees a read beyond it. */
        std::vector<uint8_t> cut(whole.begin(), whole.begin() + (ptrdiff_t)length);
        makeGlyphTable(fresh, &font, 300);
        readCmap(fresh, &font, {cut.data(), cut.size()});
        for (int16_t glyph : font.encoding) {
            EXPECT_GE(glyph, 0);
            EXPECT_LE(glyph, 300);
        }
    }
}

TEST_F(ReadCmap, OverlappingSegmentsAreFollowedForAMillionCharacters)
{
    /* 16 segments of 65535 characters each draw glyph 0: their glyphs lie past the end.  The 17th
     * has glyph u + 1 for character u; 16 of its characters come within the 1048576. */
    FontBytes table;
    table.u16(4).zeros(4).u16(2 * 18).zeros(6);
    for (int i = 0; i < 17; i++)
        table.u16(0xFFFE);
    table.u16(0xFFFF).u16(0).zeros(17 * 2).u16(0xFFFF); /* ends, pad, starts */
    table.zeros(16 * 2).u16(1).u16(1);                  /* deltas */
    for (int i = 0; i < 16; i++)
        table.u16(0xFFFE);
    table.u16(0).u16(0); /* range offsets */
    read(cmapTable({{3, 1, table}}));
    Codes expected;
    for (int code = 0; code < 16; code++)
        expected[code] = code + 1;
    EXPECT_EQ(encoded(), expected);
    EXPECT_EQ(reports(), Texts{});
}

TEST_F(ReadCmap, ManySegmentsBeyondTheTableEndQuickly)
{
    read(cmapTable({{3, 1, FontBytes().u16(4).zeros(4).u16(0xFFFF).zeros(6)}}));
    EXPECT_EQ(encoded(), Codes{});
    EXPECT_EQ(reports(), Texts{});
}

TEST_F(ReadCmap, TheGlyphTableHasARecordForEveryIndexThatAReaderTouches)
{
    for (auto [glyphCount, room] :
         std::map<int32_t, int32_t>{{0, 258}, {257, 258}, {258, 259}, {65535, 65536}}) {
        makeGlyphTable(instance, &font, glyphCount);
        EXPECT_EQ(font.glyphCount, glyphCount);
        EXPECT_EQ(font.glyphRoom, room);
        const TTGlyph &last = font.glyphs[room - 1];
        EXPECT_EQ(last.code, TT_NO_CHARACTER);
        EXPECT_EQ(last.unicode, TT_NO_CHARACTER);
        EXPECT_STREQ(last.name, "UNKN");
    }
}

/* ---- through a font */

TEST(Encoding, SymbolFontsPrintCodesAndUnicodeFontsCharacters)
{
    FontBuilder font;
    font.glyphs.assign(4, "");
    font.names = {".notdef", "a", "b", "c"};
    font.replaced["cmap"] =
        symbolCmap({{0xF005, 0xF005, 1 - 0xF005}, {0x1234, 0x1234, 2 - 0x1234}});
    FontConversion symbol = convertFont(font.build());
    EXPECT_TRUE(hasLine(symbol, "/.notdef { % 0 - 0xffff"));
    EXPECT_TRUE(hasLine(symbol, "/a { % 1 - 0x05"));
    EXPECT_TRUE(hasLine(symbol, "/b { % 2 - 0x1234"));
    EXPECT_TRUE(hasLine(symbol, "/.notdef /a /.notdef /.notdef % 0x4"));

    font.replaced["cmap"] = unicodeCmap({{5, 5, 1 - 5}, {0xABCD, 0xABCD, 2 - 0xABCD}});
    FontConversion unicode = convertFont(font.build());
    EXPECT_TRUE(hasLine(unicode, "/.notdef { % 0 - U+ffff"));
    EXPECT_TRUE(hasLine(unicode, "/a { % 1 - U+0005"));
    EXPECT_TRUE(hasLine(unicode, "/b { % 2 - U+abcd"));
}

TEST(Encoding, AGlyphPastTheLastStandsInTheEncodingByItsName)
{
    FontBuilder font;
    font.glyphs.assign(2, "");
    font.replaced["post"] = postHeader(1, 0);
    font.replaced["cmap"] = unicodeCmap({{'A', 'A', 2 - 'A'}});
    FontConversion conversion = convertFont(font.build());
    EXPECT_EQ(encodingNames(conversion)['A'], "CR");
    EXPECT_EQ(glyphNames(conversion), (Texts{".notdef", ".null"}));
}

TEST(Encoding, AnyGlyphOfAByteTableHasAName)
{
    FontBuilder font;
    font.glyphs.assign(1, "");
    font.names = {".notdef"};
    font.replaced["cmap"] = cmapTable({{1, 0, cmapFormat0({0, 255})}});
    EXPECT_EQ(encodingNames(convertFont(font.build()))[1], "UNKN");

    /* The name that `post` gives it, though the font does not have it. */
    font.replaced["cmap"] = cmapTable({{1, 0, cmapFormat0({0, 5})}});
    font.names.assign(10, "more");
    EXPECT_EQ(encodingNames(convertFont(font.build()))[1], "more");
}

} // namespace
