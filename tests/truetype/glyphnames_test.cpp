/*
 * glyphnames_test.cpp - the name tables, whole and through the fonts that use them
 *
 * The checksums were made from the lists outside this program.
 */
#include <gtest/gtest.h>

#include <string_view>

#include "tests/truetype/conversion.h"
#include "tests/truetype/font_builder.h"
#include "tools/zolak1_3/truetype/fontrecord.h"
#include "tools/zolak1_3/truetype/glyphnames.h"

namespace {

/* CRC-32 (polynomial 0xEDB88320) of the names, a line feed after each. */
template <class Names> uint32_t checksum(const Names &names)
{
    uint32_t crc = 0xFFFFFFFF;
    for (const auto &name : names)
        for (char c : std::string(name) + "\n") {
            crc ^= (uint8_t)c;
            for (int bit = 0; bit < 8; bit++)
                crc = crc >> 1 ^ (crc & 1 ? 0xEDB88320 : 0);
        }
    return ~crc;
}

TEST(GlyphNames, TheStandardOrderHasAllItsEntries)
{
    EXPECT_EQ(std::size(tt_standardNames), 258U);
    EXPECT_EQ(checksum(tt_standardNames), 0x2F8232A7U);
    size_t characters = 0;
    for (const char *name : tt_standardNames)
        characters += std::string_view(name).size();
    EXPECT_EQ(characters, 1572U);
}

TEST(GlyphNames, TheStandardOrderHasTheseNames)
{
    const std::map<size_t, std::string> names = {
        {0, ".notdef"},     {1, ".null"},        {2, "CR"},
        {3, "space"},       {10, "quotesingle"}, {36, "A"},
        {61, "Z"},          {67, "grave"},       {68, "a"},
        {93, "z"},          {97, "asciitilde"},  {98, "Adieresis"},
        {143, "notequal"},  {151, "mu"},         {170, "guillemotright"},
        {171, "ellipsis"},  {172, "nbspace"},    {173, "Agrave"},
        {210, "applelogo"}, {229, "scaron"},     {247, "franc"},
        {250, "Idot"},      {251, "Scedilla"},   {256, "ccaron"},
        {257, "dmacron"},
    };
    for (const auto &[index, name] : names)
        EXPECT_EQ(tt_standardNames[index], name) << index;
}

TEST(GlyphNames, EveryCodeHasItsName)
{
    EXPECT_EQ(std::size(tt_codeNames), 256U);
    EXPECT_EQ(checksum(tt_codeNames), 0x26F8F397U);
    size_t characters = 0;
    for (const char *name : tt_codeNames)
        characters += std::string_view(name).size();
    EXPECT_EQ(characters, 1566U);
}

TEST(GlyphNames, CodesHaveTheseNames)
{
    const std::map<size_t, std::string> names = {
        {0, ".null"},       {1, ".notdef"},   {12, ".notdef"},         {13, "CR"},
        {14, ".notdef"},    {31, ".notdef"},  {32, "space"},           {39, "quoteright"},
        {65, "A"},          {96, "grave"},    {126, "asciitilde"},     {127, ".notdef"},
        {128, ".notdef"},   {129, ".notdef"}, {130, "quotesinglbase"}, {140, "OE"},
        {141, ".notdef"},   {144, ".notdef"}, {145, "quoteleft"},      {149, "bullet"},
        {157, ".notdef"},   {158, ".notdef"}, {159, "Ydieresis"},      {160, "nbspace"},
        {173, "sfthyphen"}, {181, "mu"},      {183, "periodcentered"}, {254, "thorn"},
        {255, "ydieresis"},
    };
    for (const auto &[code, name] : names)
        EXPECT_EQ(tt_codeNames[code], name) << code;
}

TEST(GlyphNames, TheDefaultNameIsUnkn)
{
    EXPECT_STREQ(TT_UNKNOWN_NAME, "UNKN");
}

/* ---- through a font */

FontBuilder fontOf(size_t glyphs)
{
    FontBuilder font;
    font.glyphs.assign(glyphs, "");
    return font;
}

TEST(GlyphNames, PostFormatOneAppliesTheWholeStandardOrder)
{
    FontBuilder font = fontOf(258);
    font.replaced["post"] = postHeader(1, 0);
    std::vector<std::string> names = glyphNames(convertFont(font.build()));
    EXPECT_EQ(names.size(), 258U);
    EXPECT_EQ(checksum(names), 0x2F8232A7U);
}

TEST(GlyphNames, PostFormatOneEndsWithTheGlyphsOfTheFont)
{
    FontBuilder font = fontOf(3);
    font.replaced["post"] = postHeader(1, 0);
    EXPECT_EQ(glyphNames(convertFont(font.build())),
              (std::vector<std::string>{".notdef", ".null", "CR"}));

    font.glyphs.assign(260, "");
    std::vector<std::string> names = glyphNames(convertFont(font.build()));
    ASSERT_EQ(names.size(), 260U);
    EXPECT_EQ(names[257], "dmacron");
    EXPECT_EQ(names[258], "UNKN");
    EXPECT_EQ(names[259], "UNKN");
}

TEST(GlyphNames, PostFormatThreeUsesTheNamesOfAllCodesButTheLast)
{
    /* Code c draws glyph c + 1, for every code. */
    FontBuilder font = fontOf(257);
    font.replaced["cmap"] = cmapTable({{3, 0, cmapFormat4({{0xF000, 0xF0FF, 1 - 0xF000}})}});
    std::vector<std::string> names = glyphNames(convertFont(font.build()));
    ASSERT_EQ(names.size(), 257U);
    for (size_t code = 0; code < 255; code++)
        EXPECT_EQ(names[code + 1], tt_codeNames[code]) << code;
    EXPECT_EQ(names[256], "UNKN");
}

} // namespace
