/*
 * tables_test.cpp - the table directory and the tables name, head, maxp, post and hmtx
 */
#include <gtest/gtest.h>

#include "tests/truetype/conversion.h"
#include "tests/truetype/font_builder.h"

namespace {

using Texts = std::vector<std::string>;

FontBuilder smallFont(size_t glyphs = 1)
{
    FontBuilder font;
    font.glyphs.assign(glyphs, "");
    font.advances = {500};
    return font;
}

FontConversion convertWith(const std::string &tag, const std::string &table, size_t glyphs = 1)
{
    FontBuilder font = smallFont(glyphs);
    font.replaced[tag] = table;
    return convertFont(font.build());
}

/* ---- directory */

TEST(TableDirectory, TheFirstMissingTableIsReportedOnceAndNothingIsWritten)
{
    const Texts required = {"head", "maxp", "hhea", "hmtx", "loca", "glyf"};
    FontBuilder font = smallFont();
    for (size_t i = required.size(); i-- > 0;) { /* the last one first, then more and more */
        font.replaced[required[i]] = "";
        FontConversion conversion = convertFont(font.build());
        EXPECT_EQ(conversion.reports,
                  Texts{"ZOLAK:1440 4 TTFONT: TrueType font lacks the " + required[i] + " table"});
        EXPECT_EQ(conversion.text, "");
        EXPECT_TRUE(conversion.stopped);
    }
}

TEST(TableDirectory, AMissingTableIsReportedBeforeAnyOtherFault)
{
    FontBuilder font = smallFont();
    font.replaced["name"] = nameTable({}); /* would be refused */
    font.replaced["glyf"] = "";
    EXPECT_EQ(convertFont(font.build()).reports,
              Texts{"ZOLAK:1440 4 TTFONT: TrueType font lacks the glyf table"});
}

TEST(TableDirectory, AMissingCmapIsNoRecognisedEncoding)
{
    FontConversion conversion = convertWith("cmap", "");
    EXPECT_EQ(conversion.reports, Texts{"ZOLAK:802 4 TTFONT: No Recognised Encoding Table"});
    EXPECT_EQ(conversion.text, "");
}

TEST(TableDirectory, TablesOfOtherTagsAreIgnored)
{
    FontBuilder font = smallFont();
    std::string plain = convertFont(font.build()).text;
    for (const char *tag : {"EBDT", "EBLC", "EBSC", "GSUB", "OS/2", "Head", "cvt "})
        font.replaced[tag] = "something";
    FontConversion conversion = convertFont(font.build());
    EXPECT_EQ(conversion.text, plain);
    EXPECT_EQ(conversion.reports, Texts{});
}

TEST(TableDirectory, ALaterRecordOfATagTakesTheEarliersPlace)
{
    /* A directory of its own: the tables of a good font, but two records for head. */
    FontBuilder font = smallFont();
    font.unitsPerEm = 500;
    font.replaced["zzzz"] = FontBytes().zeros(18).u16(250).zeros(34); /* another head */
    std::string file = font.build();
    file.replace(file.find("zzzz"), 4, "head");
    EXPECT_TRUE(hasLine(convertFont(file), "/FontMatrix [0.0040000 0 0 0.0040000 0 0] def"));
}

TEST(TableDirectory, LengthsAndChecksumsAreNotLookedAt)
{
    std::string good = smallFont().build();
    std::string file = good;
    for (size_t record = 12; record < 12 + 7 * 16; record += 16) {
        file.replace(record + 4, 4, "\xFF\xFF\xFF\xFF");
        file.replace(record + 12, 4, std::string(4, '\0'));
    }
    FontConversion conversion = convertFont(file);
    EXPECT_EQ(conversion.text, convertFont(good).text);
    EXPECT_EQ(conversion.reports, Texts{});
}

TEST(TableDirectory, MoreRecordsThanTheFileHoldsAreNotThere)
{
    std::string file = smallFont().build();
    file.replace(4, 2, "\xFF\xFF");
    FontConversion conversion = convertFont(file);
    EXPECT_TRUE(hasLine(conversion, "%%%%EndFont"));

    FontConversion cut = convertFont(FontBytes().u32(0x00010000).u16(65535).zeros(6));
    EXPECT_EQ(cut.reports, Texts{"ZOLAK:1440 4 TTFONT: TrueType font lacks the head table"});
}

TEST(TableDirectory, ATableBeyondTheEndReadsAsZeros)
{
    std::string file = smallFont().build();
    size_t record = file.find("maxp");
    file.replace(record + 8, 4, "\xFF\xFF\xFF\xF0");
    FontConversion conversion = convertFont(file);
    EXPECT_EQ(conversion.reports, Texts{});
    EXPECT_TRUE(hasLine(conversion, "/CharProcs 1 dict def CharProcs begin"));
}

/* ---- name */

TEST(NameTable, MicrosoftRecordsInEnglishGiveTheNames)
{
    FontConversion conversion = convertWith(
        "name",
        nameTable({{3, 1, 0x409, 1, utf16("Family")}, {3, 1, 0x409, 6, utf16("Family-Roman")}}));
    EXPECT_TRUE(hasLine(conversion, "/FamilyName (Family) def"));
    EXPECT_TRUE(hasLine(conversion, "%%BeginFont: Family-Roman"));
    EXPECT_TRUE(hasLine(conversion, "/FontName (Family-Roman) def"));
}

TEST(NameTable, MacintoshRecordsAreTakenWhenThereAreNoOthers)
{
    FontConversion conversion =
        convertWith("name", nameTable({{1, 0, 0, 1, "Family"}, {1, 0, 0, 6, "Family-Roman"}}));
    EXPECT_TRUE(hasLine(conversion, "/FamilyName (Family) def"));
    EXPECT_TRUE(hasLine(conversion, "/FontName (Family-Roman) def"));
}

TEST(NameTable, OneMicrosoftRecordKeepsTheMacintoshOnesOut)
{
    /* Even one whose language or name is not wanted. */
    for (const NameRecord &record :
         {NameRecord{3, 1, 0x409, 2, utf16("Bold")}, NameRecord{3, 1, 0x411, 1, utf16("Kazoku")},
          NameRecord{3, 1, 0x409, 8, utf16("Maker")}}) {
        FontConversion conversion =
            convertWith("name", nameTable({{1, 0, 0, 1, "Family"}, record}));
        EXPECT_FALSE(hasLine(conversion, "/FamilyName (Family) def"));
        EXPECT_EQ(conversion.reports, Texts{});
    }
}

TEST(NameTable, TheLowByteOfTheLanguageMustBeNeutralOrEnglish)
{
    for (auto [language, taken] : std::map<unsigned, bool>{{0, true},
                                                           {9, true},
                                                           {0x0409, true},
                                                           {0x0809, true},
                                                           {0xFF00, true},
                                                           {0x0407, false},
                                                           {0x0900, true},
                                                           {0x0901, false},
                                                           {8, false},
                                                           {10, false}})
        EXPECT_EQ(hasLine(convertWith("name", nameTable({{3, 1, language, 1, "F"}})),
                          "/FamilyName (F) def"),
                  taken)
            << language;
}

TEST(NameTable, MacintoshRecordsAreChosenByLanguageToo)
{
    FontConversion conversion =
        convertWith("name", nameTable({{1, 0, 0, 1, "English"}, {1, 0, 2, 1, "Deutsch"}}));
    EXPECT_TRUE(hasLine(conversion, "/FamilyName (English) def"));
}

TEST(NameTable, TheEncodingIdIsNotLookedAt)
{
    for (unsigned encoding : {0U, 1U, 10U, 999U})
        EXPECT_TRUE(hasLine(convertWith("name", nameTable({{3, encoding, 9, 1, "F"}})),
                            "/FamilyName (F) def"));
}

TEST(NameTable, TheLaterRecordOfANameWins)
{
    FontConversion conversion =
        convertWith("name", nameTable({{3, 1, 9, 1, "First"}, {3, 1, 0, 1, "Second"}}));
    EXPECT_TRUE(hasLine(conversion, "/FamilyName (Second) def"));
    EXPECT_FALSE(hasLine(conversion, "/FamilyName (First) def"));
}

TEST(NameTable, ParenthesesBecomeBracketsAndBackslashesAreDoubled)
{
    EXPECT_TRUE(hasLine(convertWith("name", nameTable({{3, 1, 9, 4, utf16("Foo (Bold)")}})),
                        "/FullName (Foo [Bold]) def"));
    EXPECT_TRUE(hasLine(convertWith("name", nameTable({{3, 1, 9, 4, "a\\b\\"}})),
                        "/FullName (a\\\\b\\\\) def"));
    FontConversion name = convertWith("name", nameTable({{3, 1, 9, 6, "a\\b"}}));
    EXPECT_TRUE(hasLine(name, "/FontName (a\\\\b) def"));
    EXPECT_TRUE(hasLine(name, "%%BeginFont: a\\\\b"));
}

TEST(NameTable, ZeroBytesAreDropped)
{
    EXPECT_TRUE(
        hasLine(convertWith("name", nameTable({{3, 1, 9, 4, std::string("\0\0a\0\0\0b\0", 8)}})),
                "/FullName (ab) def"));
    EXPECT_TRUE(hasLine(convertWith("name", nameTable({{3, 1, 9, 4, std::string(6, '\0')}})),
                        "/FullName () def"));
    EXPECT_TRUE(hasLine(convertWith("name", nameTable({{3, 1, 9, 4, ""}})), "/FullName () def"));
}

TEST(NameTable, ControlBytesInThePostScriptNameBecomeBlanks)
{
    /* The comment line must not end early and let code follow. */
    FontConversion conversion = convertWith("name", nameTable({{3, 1, 9, 6,
                                                                "a\nquit\r\t\x7F"
                                                                "b"}}));
    EXPECT_TRUE(hasLine(conversion, "%%BeginFont: a quit   b"));
    EXPECT_TRUE(hasLine(conversion, "/FontName (a quit   b) def"));
}

TEST(NameTable, OtherBytesOfANameStayAsTheyAre)
{
    EXPECT_TRUE(hasLine(convertWith("name", nameTable({{3, 1, 9, 6, "M\xFCller %d %s"}})),
                        "%%BeginFont: M\xFCller %d %s"));
    EXPECT_TRUE(hasLine(convertWith("name", nameTable({{3, 1, 9, 0, "one\ntwo\x7F"}})),
                        "/Notice (one\ntwo\x7F) def"));
}

TEST(NameTable, NameIdsAboveSevenAreLeftOut)
{
    FontConversion conversion = convertWith(
        "name", nameTable({{3, 1, 9, 8, "eight"}, {3, 1, 9, 0xFFFF, "x"}, {3, 1, 9, 7, "seven"}}));
    EXPECT_EQ(conversion.text.find("eight"), std::string::npos);
    EXPECT_EQ(conversion.reports, Texts{});
}

TEST(NameTable, WithoutARecordOfEitherPlatformTheFontIsRefused)
{
    for (const std::string &table :
         {nameTable({}), nameTable({{0, 3, 0, 1, "Family"}, {2, 1, 0, 1, "Family"}})}) {
        FontConversion conversion = convertWith("name", table);
        EXPECT_EQ(conversion.reports, Texts{"ZOLAK:604 4 TTFONT: Cannot decode font name fields"});
        EXPECT_EQ(conversion.text, "");
    }
}

TEST(NameTable, MacintoshRecordsOfOtherLanguagesGiveNoNamesAndNoReport)
{
    FontConversion conversion = convertWith("name", nameTable({{1, 0, 2, 1, "Familie"}}));
    EXPECT_EQ(conversion.reports, Texts{});
    EXPECT_EQ(conversion.text.find("Familie"), std::string::npos);
}

TEST(NameTable, TextBeyondTheEndOfTheFontIsMissing)
{
    FontBuilder font = smallFont();
    font.replaced["name"] = nameTable({{3, 1, 9, 1, "abc"}});
    std::string file = font.build(); /* the table stands last: its text ends the file */
    while (file.back() == '\0')
        file.pop_back();
    size_t length = file.size() - 3 - 4; /* the length field of the only record */
    file.replace(length, 2, "\xFF\xFF");
    EXPECT_TRUE(hasLine(convertFont(file), "/FamilyName (abc) def"));
    file.replace(length + 2, 2, "\xFF\xFF"); /* and its offset */
    EXPECT_TRUE(hasLine(convertFont(file), "/FamilyName () def"));
}

TEST(NameTable, MoreRecordsThanTheTableHoldsAreNotThere)
{
    FontBuilder font = smallFont();
    font.replaced["name"] = nameTable({{3, 1, 9, 1, "abc"}}).replace(2, 2, "\xFF\xFF");
    EXPECT_TRUE(hasLine(convertFont(font.build()), "/FamilyName (abc) def"));
}

/* ---- head */

TEST(HeadTable, LocationFormatMustBeZeroOrOne)
{
    for (unsigned format : {2U, 0xFFFFU, 0x100U}) {
        FontBuilder font = smallFont();
        font.locaFormat = format;
        FontConversion conversion = convertFont(font.build());
        EXPECT_EQ(conversion.reports, Texts{"ZOLAK:830 4 TTFONT: Wrong indexToLocFormat"});
        EXPECT_EQ(conversion.text, "");
    }
}

TEST(HeadTable, UnitsPerEmMustNotBeZero)
{
    FontBuilder font = smallFont();
    font.unitsPerEm = 0;
    EXPECT_EQ(convertFont(font.build()).reports, Texts{"ZOLAK:835 4 TTFONT: Wrong units per em"});
    font.locaFormat = 2;
    EXPECT_EQ(convertFont(font.build()).reports,
              Texts{"ZOLAK:830 4 TTFONT: Wrong indexToLocFormat"});
}

TEST(HeadTable, AFontWithoutNamesIsRefusedBeforeItsHeadIsRead)
{
    FontBuilder font = smallFont();
    font.locaFormat = 2;
    font.replaced["name"] = nameTable({});
    EXPECT_EQ(convertFont(font.build()).reports,
              Texts{"ZOLAK:604 4 TTFONT: Cannot decode font name fields"});
}

/* ---- post */

TEST(PostTable, FormatTwoNamesByIndex)
{
    FontConversion conversion =
        convertWith("post", postWithNames({0, 257, 258, 259, 36}, {"first", "second"}), 5);
    EXPECT_EQ(glyphNames(conversion), (Texts{".notdef", "dmacron", "first", "second", "A"}));
}

TEST(PostTable, AnIndexWithoutNameGivesAGeneratedOne)
{
    Texts names;
    for (char c = 'a'; c < 'a' + 10; c++)
        names.push_back(std::string(1, c));
    std::vector<unsigned> indices = {258, 259, 260, 261, 262, 300, 267, 268};
    FontConversion conversion = convertWith("post", postWithNames(indices, names), 8);
    EXPECT_EQ(glyphNames(conversion), (Texts{"a", "b", "c", "d", "e", "_5", "j", "_7"}));
    EXPECT_EQ(conversion.reports, Texts{});
}

TEST(PostTable, GlyphsBeyondTheIndicesGetGeneratedNames)
{
    EXPECT_EQ(glyphNames(convertWith("post", postWithNames({36, 37}, {}), 5)),
              (Texts{"A", "B", "_2", "_3", "_4"}));
    EXPECT_EQ(glyphNames(convertWith("post", postWithNames({}, {}), 2)), (Texts{"_0", "_1"}));
}

TEST(PostTable, MoreIndicesThanGlyphsDoNoHarm)
{
    std::vector<unsigned> indices(1000, 36);
    indices[0] = 3;
    indices[999] = 260; /* all three names are needed, says an index that no glyph has */
    EXPECT_EQ(glyphNames(convertWith("post", postWithNames(indices, {"x", "y", "z"}), 2)),
              (Texts{"space", "A"}));
}

TEST(PostTable, ANameOfLengthZeroEndsTheNames)
{
    EXPECT_EQ(glyphNames(
                  convertWith("post", postWithNames({258, 259, 260, 261}, {"a", "b", "", "d"}), 4)),
              (Texts{"a", "b", "_2", "_3"}));
}

TEST(PostTable, NamesThatNoIndexNeedsAreNotRead)
{
    /* Read to the end, the last name would reach past the font. */
    FontBytes post;
    post.text(postWithNames({258}, {"a"})).u8(255).text("b");
    EXPECT_EQ(glyphNames(convertWith("post", post)), Texts{"a"});
}

TEST(PostTable, ANameCutOffByTheEndOfTheFontCannotBeUsed)
{
    FontBuilder font = smallFont(2);
    FontBytes post = postHeader(2, 0);
    post.u16(2).u16(258).u16(259).u8(1).text("a").u8(200).text("abc");
    font.replaced["zost"] = post; /* tables lie in the order of their tags: now it is the last */
    std::string file = font.build();
    file.replace(file.find("zost"), 4, "post");
    while (file.back() == '\0')
        file.pop_back();
    EXPECT_EQ(glyphNames(convertFont(file)), (Texts{"a", "_1"}));
}

TEST(PostTable, ANameThatPostScriptCannotCarryIsGenerated)
{
    for (const char *name : {"a b", "a(b", "a)b", "a<b", "a>b", "a[b", "a]b", "a{b", "a}b", "a/b",
                             "a%b", "a\nb", "\x7F", "\x80", "\xFF", " ", "x } def quit {"})
        EXPECT_EQ(glyphNames(convertWith("post", postWithNames({36, 258}, {name}), 2)),
                  (Texts{"A", "_1"}))
            << name;
    EXPECT_EQ(glyphNames(convertWith("post", postWithNames({258}, {std::string("a\0b", 3)}))),
              Texts{"_0"});
}

TEST(PostTable, EveryOtherVisibleByteMayStandInAName)
{
    for (const char *name : {"!", "~", "a.b", "a-b", "a_b", "12", "a\\b", "#$&'*+,:;=?@^`|", "\""})
        EXPECT_EQ(glyphNames(convertWith("post", postWithNames({258}, {name}))), Texts{name});
    std::string longest(255, 'x');
    EXPECT_EQ(glyphNames(convertWith("post", postWithNames({258}, {longest}))), Texts{longest});
}

TEST(PostTable, FormatTwoAndAHalfMovesFromTheGlyphsOwnPlace)
{
    FontBytes post = postHeader(2, 0x8000);
    post.u8(0).u8(35).u8(0xFF).u8(127).u8(0x80);
    EXPECT_EQ(glyphNames(convertWith("post", post, 5)),
              (Texts{".notdef", "A", ".null", "dagger", "UNKN"}));
}

TEST(PostTable, FormatTwoAndAHalfNamesOnlyInsideTheStandardOrder)
{
    FontBytes post = postHeader(2, 0x8000);
    post.zeros(257).u8(0).u8(0).u8(0xFF);
    FontConversion conversion = convertWith("post", post, 260);
    Texts names = glyphNames(conversion);
    ASSERT_EQ(names.size(), 260U);
    EXPECT_EQ(names[256], "ccaron");
    EXPECT_EQ(names[257], "dmacron");
    EXPECT_EQ(names[258], "UNKN");
    EXPECT_EQ(names[259], "UNKN"); /* 258, still one too far */
}

TEST(PostTable, FormatThreeNamesGlyphsAfterTheirCodes)
{
    FontBuilder font = smallFont(40);
    font.replaced["post"] = postHeader(3, 0);
    font.replaced["cmap"] =
        cmapTable({{3, 1, cmapFormat4({{65, 65, 36 - 65}, {255, 255, 20 - 255}})}});
    Texts names = glyphNames(convertFont(font.build()));
    ASSERT_EQ(names.size(), 40U);
    EXPECT_EQ(names[0], ".notdef");
    EXPECT_EQ(names[36], "A");
    EXPECT_EQ(names[20], "UNKN"); /* only code 255 reaches it */
    EXPECT_EQ(names[1], "UNKN");
}

TEST(PostTable, FormatThreeTakesTheNameOfTheLastCode)
{
    FontBuilder font = smallFont(3);
    font.replaced["post"] = postHeader(3, 0);
    font.replaced["cmap"] =
        cmapTable({{3, 1, cmapFormat4({{65, 65, 1 - 65}, {97, 97, 1 - 97}, {254, 254, 2 - 254}})}});
    EXPECT_EQ(glyphNames(convertFont(font.build())), (Texts{".notdef", "a", "thorn"}));
}

TEST(PostTable, FormatThreeLeavesGlyphZeroUnknownWhenEveryCodeHasAGlyph)
{
    FontBuilder font = smallFont(2);
    font.replaced["post"] = postHeader(3, 0);
    font.replaced["cmap"] =
        cmapTable({{3, 0, cmapFormat4({{0xF000, 0xF0FF, 0, std::vector<int>(256, 1)}})}});
    EXPECT_EQ(glyphNames(convertFont(font.build())), (Texts{"UNKN", "thorn"}));
}

TEST(PostTable, AFontWithoutTheTableIsNamedFromCodes)
{
    FontBuilder font = smallFont(2);
    font.replaced["cmap"] = cmapTable({{3, 1, cmapFormat4({{66, 66, 1 - 66}})}});
    FontConversion conversion = convertFont(font.build());
    EXPECT_EQ(glyphNames(conversion), (Texts{".notdef", "B"}));
    EXPECT_TRUE(hasLine(conversion, "/italicAngle 0.000000 def"));
    EXPECT_EQ(conversion.reports, Texts{});
}

TEST(PostTable, OtherFormatsAreRefused)
{
    struct {
        unsigned integer, fraction;
        const char *shown;
    } const formats[] = {
        {0, 0, "0"},      {4, 0, "4"},      {1, 1, "1"},      {2, 0x4000, "2"},   {3, 0x8000, "4"},
        {2, 0x5000, "2"}, {2, 0x8001, "3"}, {10, 0, "1e+01"}, {0, 0x8000, "0.5"}, {0xFFFF, 0, "-1"},
    };
    for (const auto &format : formats) {
        FontConversion conversion =
            convertWith("post", postHeader(format.integer, format.fraction));
        EXPECT_EQ(conversion.reports,
                  Texts{std::string("ZOLAK:1320 4 TTFONT: Postscript table in wrong format ") +
                        format.shown});
        EXPECT_EQ(conversion.text, "");
    }
}

TEST(PostTable, AnUnknownFormatIsReportedBeforeTheCmapIsRead)
{
    FontBuilder font = smallFont();
    font.replaced["post"] = postHeader(4, 0);
    font.replaced["cmap"] = "";
    EXPECT_EQ(convertFont(font.build()).reports,
              Texts{"ZOLAK:1320 4 TTFONT: Postscript table in wrong format 4"});
}

TEST(PostTable, GeneratedNamesHaveTheIndexOfTheirGlyphInFull)
{
    FontConversion conversion = convertWith("post", postWithNames({}, {}), 12346);
    Texts names = glyphNames(conversion);
    ASSERT_EQ(names.size(), 12346U);
    for (size_t glyph : {0U, 9U, 10U, 999U, 1000U, 9999U, 10000U, 12345U})
        EXPECT_EQ(names[glyph], "_" + std::to_string(glyph));
    EXPECT_EQ(encodingNames(conversion), Texts(256, "_0"));
}

/* ---- hmtx */

TEST(Metrics, AsManyFullRecordsAsGlyphsOrOneLess)
{
    for (size_t records : {2U, 3U, 4U}) {
        FontBuilder font = smallFont(3);
        font.advances = {10, 20, 30, 40};
        font.advances.resize(records);
        std::string text = convertFont(font.build()).text;
        std::string last = records == 2 ? "20" : "30";
        EXPECT_NE(text.find("\n10 0 0 0 0 0 setcachedevice\n"), std::string::npos);
        EXPECT_NE(text.rfind("\n" + last + " 0 0 0 0 0 setcachedevice\n"), std::string::npos);
        EXPECT_EQ(text.find("\n40 0 0 0 0 0 setcachedevice\n"), std::string::npos) << records;
    }
}

Texts advancesOf(const FontBuilder &font)
{
    Texts advances;
    std::string text = convertFont(font.build()).text;
    for (size_t at = 0; (at = text.find(" 0 0 0 0 0 setcachedevice", at)) != std::string::npos;
         at++)
        advances.push_back(text.substr(text.rfind('\n', at) + 1, at - text.rfind('\n', at) - 1));
    return advances;
}

TEST(Metrics, GlyphsBeyondTheFullRecordsShareTheLastAdvance)
{
    FontBuilder font = smallFont(4);
    font.advances = {1, 65535};
    EXPECT_EQ(advancesOf(font), (Texts{"1", "65535", "65535", "65535"}));
}

TEST(Metrics, WithoutFullRecordsEveryAdvanceIsZero)
{
    FontBuilder font = smallFont(2);
    font.advances = {};
    EXPECT_EQ(advancesOf(font), (Texts{"0", "0"}));
}

TEST(Metrics, MoreFullRecordsThanGlyphsDoNoHarm)
{
    FontBuilder font = smallFont(2);
    font.advances.assign(70, 7);
    font.advances[0] = 6;
    EXPECT_EQ(advancesOf(font), (Texts{"6", "7"}));
    font.replaced["hhea"] = FontBytes().zeros(34).u16(65535);
    EXPECT_EQ(advancesOf(font), (Texts{"6", "7"}));
}

TEST(Metrics, RecordsBeyondTheEndOfTheFontAreZero)
{
    FontBuilder font = smallFont(3);
    font.advances = {100};
    font.replaced["hhea"] = FontBytes().zeros(34).u16(3);
    font.replaced["hmtx"] = "";
    font.replaced["zmtx"] = FontBytes().u16(100).u16(0); /* the last table */
    std::string file = font.build();
    file.replace(file.find("zmtx"), 4, "hmtx");
    FontConversion conversion = convertFont(file);
    EXPECT_NE(conversion.text.find("\n100 0 0 0 0 0 setcachedevice\n"), std::string::npos);
    EXPECT_NE(conversion.text.find("\n0 0 0 0 0 0 setcachedevice\n"), std::string::npos);
}

} // namespace
