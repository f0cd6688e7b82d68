/*
 * type3_test.cpp - insert_ttfont: the text of the font, and what it refuses
 */
#include <gtest/gtest.h>

#include "tests/support/scratch_directory.h"
#include "tests/truetype/conversion.h"
#include "tests/truetype/font_builder.h"
#include "tools/zolak1_3/truetype/truetype.h"
#include "zelkov/zelkov.h"

namespace {

using Reports = std::vector<std::string>;

/* One glyph without data, and whatever the test adds. */
FontBuilder smallFont()
{
    FontBuilder font;
    font.glyphs = {""};
    font.advances = {500};
    return font;
}

std::string nameTableOf(unsigned nameID, const std::string &text)
{
    return nameTable({{3, 1, 0x409, nameID, utf16(text)}});
}

/* ---- one whole font */

/* Four glyphs: an empty one, a triangle, a dot with a curve, and both of them as a composite. */
FontBuilder wholeFont()
{
    FontBuilder font;
    font.unitsPerEm = 2048;
    font.box = {-10, -20, 300, 400};
    font.locaFormat = 0;
    font.advances = {600, 1000};
    font.glyphs = {
        "",
        simpleGlyph({{{0, 0, ON}, {100, 0, ON}, {50, 80, ON}}}, {0, 0, 100, 80}),
        simpleGlyph({{{0, 0, ON}, {100, 0, OFF}, {100, 100, ON}}}, {0, 0, 100, 100}),
        compositeGlyph({{0x0001, 1, 0, 0}, {0x0001 | 0x0008, 2, -25, 90, {0x2000}}},
                       {-25, 0, 100, 140}),
    };
    font.replaced["name"] = nameTable({
        {3, 1, 0x409, 0, utf16("Public domain")},
        {3, 1, 0x409, 1, utf16("Sample Sans")},
        {3, 1, 0x409, 2, utf16("Book")},
        {3, 1, 0x409, 3, utf16("unique")},
        {3, 1, 0x409, 4, utf16("Sample Sans Book")},
        {3, 1, 0x409, 5, utf16("Version 1.0")},
        {3, 1, 0x409, 6, utf16("SampleSans-Book")},
        {3, 1, 0x409, 7, utf16("trademark")},
    });
    FontBytes post = postHeader(2, 0, -13, 32768, -150, 50, 1);
    post.u16(4).u16(0).u16(36).u16(258).u16(108);
    post.u8(3).text("dot");
    font.replaced["post"] = post;
    font.replaced["cmap"] = cmapTable(
        {{3, 1,
          cmapFormat4(
              {{'A', 'A', 1 - 'A'}, {0xE4, 0xE4, 3 - 0xE4}, {0x2022, 0x2022, 2 - 0x2022}})}});
    return font;
}

/* The 64 lines of an encoding that has ".notdef" at all codes but these. */
std::string encodingText(const std::map<int, std::string> &names)
{
    std::string text;
    char comment[16];
    for (int code = 0; code < 256; code++) {
        auto found = names.find(code);
        text += "/" + (found == names.end() ? ".notdef" : found->second) + " ";
        if (code % 4 == 3) {
            snprintf(comment, sizeof comment, "%% 0x%x\n", (unsigned)code - 3);
            text += comment;
        }
    }
    return text;
}

TEST(InsertTTFont, WritesThisTextForASmallFont)
{
    FontConversion conversion = convertFont(wholeFont().build());

    std::string expected = "%!PS-Adobe-3.0 Resource-Font\n"
                           "%%BeginFont: SampleSans-Book\n"
                           "20 dict begin\n"
                           "/FontType 3 def\n"
                           "/FontName (SampleSans-Book) def\n"
                           "/FontInfo 9 dict dup begin\n"
                           "/FullName (Sample Sans Book) def\n"
                           "/Notice (Public domain) def\n"
                           "/FamilyName (Sample Sans) def\n"
                           "/Weight (Book) def\n"
                           "/version (Version 1.0) def\n"
                           "/italicAngle -12.500000 def\n"
                           "/underlineThickness 50 def\n"
                           "/underlinePosition -150 def\n"
                           "/isFixedPitch true def end def\n"
                           "/FontMatrix [0.0004883 0 0 0.0004883 0 0] def\n"
                           "/FontBBox [-10 -20 300 400] def\n"
                           "/Encoding [\n" +
                           encodingText({{'A', "A"}, {0xE4, "adieresis"}, {0x95, "dot"}}) +
                           "] def\n"
                           "/CharProcs 5 dict def CharProcs begin\n"
                           "/.notdef { % 0 - U+ffff\n"
                           "600 0 0 0 0 0 setcachedevice\n"
                           " } bind def\n"
                           "/A { % 1 - U+0041\n"
                           "1000 0 0 0 100 80 setcachedevice\n"
                           "0 0 moveto\n"
                           "100 0 lineto\n"
                           "50 80 lineto\n"
                           " closepath \n"
                           "fill\n"
                           " } bind def\n"
                           "/dot { % 2 - U+2022\n"
                           "1000 0 0 0 100 100 setcachedevice\n"
                           "0 0 moveto\n"
                           "66 0 100 33 100 100 curveto\n"
                           " closepath \n"
                           "fill\n"
                           " } bind def\n"
                           "/adieresis { % 3 - U+00e4\n"
                           "1000 0 -25 0 100 140 setcachedevice\n"
                           "% flags 21 glyph A\n"
                           "matrix currentmatrix [ 1.0000000 0.0000000 0.0000000 1.0000000 0 0 ] "
                           "concat\n"
                           "0 0 moveto\n"
                           "100 0 lineto\n"
                           "50 80 lineto\n"
                           " closepath \n"
                           "setmatrix\n"
                           "% flags 9 glyph dot\n"
                           "matrix currentmatrix [ 0.5000000 0.0000000 0.0000000 0.5000000 -25 90 "
                           "] concat\n"
                           "0 0 moveto\n"
                           "66 0 100 33 100 100 curveto\n"
                           " closepath \n"
                           "setmatrix\n"
                           "fill\n"
                           " } bind def\n"
                           "end\n"
                           "/BuildGlyph {\n"
                           "exch /CharProcs get exch\n"
                           "2 copy known not {pop /.notdef} if \n"
                           "get exec } bind def\n"
                           "/BuildChar { 1 index /Encoding get exch get\n"
                           "1 index /BuildGlyph get exec } bind def\n"
                           "currentdict end definefont pop\n"
                           "%%%%EndFont\n";
    EXPECT_EQ(conversion.text, expected);
    EXPECT_EQ(conversion.reports, Reports{});
}

TEST(InsertTTFont, WritesTheSameForEitherLocationFormat)
{
    FontBuilder font = wholeFont();
    std::string withShortEntries = convertFont(font.build()).text;
    font.locaFormat = 1;
    EXPECT_EQ(convertFont(font.build()).text, withShortEntries);
}

/* ---- the font dictionary */

TEST(InsertTTFont, UnitsPerEmGiveTheFontMatrix)
{
    /* The scale is rounded to single precision, its division by 1000 is not: at 6400 units per em
     * a division in single precision would give 0.0001562. */
    for (auto [unitsPerEm, unit] : std::map<unsigned, std::string>{{2048, "0.0004883"},
                                                                   {1000, "0.0010000"},
                                                                   {1, "1.0000000"},
                                                                   {3, "0.3333333"},
                                                                   {6400, "0.0001563"},
                                                                   {65535, "0.0000153"}}) {
        FontBuilder font = smallFont();
        font.unitsPerEm = unitsPerEm;
        EXPECT_TRUE(hasLine(convertFont(font.build()),
                            "/FontMatrix [" + unit + " 0 0 " + unit + " 0 0] def"))
            << unitsPerEm;
    }
}

TEST(InsertTTFont, AFontWithoutNamesHasNeitherFontNameNorInfoNames)
{
    FontConversion conversion = convertFont(smallFont().build());
    EXPECT_TRUE(conversion.text.starts_with("%!PS-Adobe-3.0 Resource-Font\n"
                                            "%%BeginFont: \n"
                                            "20 dict begin\n"
                                            "/FontType 3 def\n"
                                            "/FontInfo 9 dict dup begin\n"
                                            "/italicAngle 0.000000 def\n"
                                            "/underlineThickness 0 def\n"
                                            "/underlinePosition 0 def\n"
                                            "/isFixedPitch false def end def\n"));
    EXPECT_EQ(conversion.reports, Reports{});
}

TEST(InsertTTFont, EachInfoLineComesWithItsNameAlone)
{
    const std::map<unsigned, std::string> lines = {
        {0, "/Notice (text) def"},   {1, "/FamilyName (text) def"}, {2, "/Weight (text) def"},
        {4, "/FullName (text) def"}, {5, "/version (text) def"},    {6, "/FontName (text) def"},
    };
    for (unsigned nameID = 0; nameID < 8; nameID++) {
        FontBuilder font = smallFont();
        font.replaced["name"] = nameTableOf(nameID, "text");
        FontConversion conversion = convertFont(font.build());
        for (const auto &[lineID, line] : lines)
            EXPECT_EQ(hasLine(conversion, line), lineID == nameID) << nameID << line;
        EXPECT_TRUE(hasLine(conversion, "/FontInfo 9 dict dup begin"));
        EXPECT_TRUE(hasLine(conversion, "/isFixedPitch false def end def"));
    }
}

TEST(InsertTTFont, ItalicAnglePrintsIntegerAndFraction)
{
    struct {
        int integer;
        unsigned fraction;
        const char *text;
    } const angles[] = {
        {-13, 32768, "-12.500000"},     {0, 0, "0.000000"}, {12, 0, "12.000000"},
        {-1, 65535, "-0.000015"},       {0, 1, "0.000015"}, {-32768, 0, "-32768.000000"},
        {32767, 65535, "32768.000000"}, /* does not fit a single-precision number */
    };
    for (const auto &angle : angles) {
        FontBuilder font = smallFont();
        font.replaced["post"] = postHeader(3, 0, angle.integer, angle.fraction);
        EXPECT_TRUE(
            hasLine(convertFont(font.build()), std::string("/italicAngle ") + angle.text + " def"))
            << angle.text;
    }
}

TEST(InsertTTFont, UnderlineValuesAreSignedFontUnits)
{
    FontBuilder font = smallFont();
    font.unitsPerEm = 2048;
    font.replaced["post"] = postHeader(3, 0, 0, 0, -32768, 32767, 0x80000000);
    FontConversion conversion = convertFont(font.build());
    EXPECT_TRUE(hasLine(conversion, "/underlineThickness 32767 def"));
    EXPECT_TRUE(hasLine(conversion, "/underlinePosition -32768 def"));
    EXPECT_TRUE(hasLine(conversion, "/isFixedPitch true def end def"));
}

TEST(InsertTTFont, FontBoxIsSignedFontUnits)
{
    FontBuilder font = smallFont();
    font.box = {-32768, -1, 32767, 0};
    EXPECT_TRUE(hasLine(convertFont(font.build()), "/FontBBox [-32768 -1 32767 0] def"));
}

TEST(InsertTTFont, TheEncodingHasFourNamesALineAndTheirFirstCode)
{
    FontConversion conversion = convertFont(smallFont().build());
    size_t start = conversion.text.find("/Encoding [\n");
    ASSERT_NE(start, std::string::npos);
    std::string encoding = encodingText({});
    EXPECT_EQ(conversion.text.substr(start, 12 + encoding.size() + 6),
              "/Encoding [\n" + encoding + "] def\n");
    EXPECT_TRUE(hasLine(conversion, "/.notdef /.notdef /.notdef /.notdef % 0x0"));
    EXPECT_TRUE(hasLine(conversion, "/.notdef /.notdef /.notdef /.notdef % 0x4"));
    EXPECT_TRUE(hasLine(conversion, "/.notdef /.notdef /.notdef /.notdef % 0xfc"));
}

TEST(InsertTTFont, CodesWithoutGlyphHaveTheNameOfGlyphZero)
{
    FontBuilder font = smallFont();
    font.names = {"first"};
    EXPECT_EQ(encodingNames(convertFont(font.build())), Reports(256, "first"));
}

TEST(InsertTTFont, CharProcsHasRoomForOneProcedureMoreThanThereAre)
{
    for (size_t count : {0U, 1U, 2U, 300U}) {
        FontBuilder font = smallFont();
        font.glyphs.assign(count, "");
        FontConversion conversion = convertFont(font.build());
        EXPECT_TRUE(hasLine(conversion, "/CharProcs " + std::to_string(count + 1) +
                                            " dict def CharProcs begin"));
        EXPECT_EQ(glyphNames(conversion).size(), count);
        EXPECT_TRUE(hasLine(conversion, "%%%%EndFont"));
    }
}

TEST(InsertTTFont, ALongNameIsWrittenInFull)
{
    FontBuilder font = smallFont();
    font.replaced["name"] = nameTableOf(0, std::string(30000, 'x'));
    EXPECT_TRUE(
        hasLine(convertFont(font.build()), "/Notice (" + std::string(30000, 'x') + ") def"));
}

TEST(InsertTTFont, FontsFollowOneAnotherInOneOutput)
{
    ScratchDirectory scratch;
    RecordedInstance instance;
    ZFile *input = fopenr("", scratch.write("f.ttf", wholeFont().build()).c_str(), "", 0);
    ZFile *output = fopenw("", (scratch / "out.ps").c_str(), "", 0);
    fputstr(output, "/F1");
    insert_ttfont(instance, input, output);
    frewind(input);
    fputstr(output, "/F2");
    insert_ttfont(instance, input, output);
    fclosx(input);
    fclosx(output);
    std::string font = convertFont(wholeFont().build()).text;
    EXPECT_EQ(readFile(scratch / "out.ps"), "/F1\n" + font + "/F2\n" + font);
}

TEST(InsertTTFont, ReadsATemporaryFileThatWasWrittenAndRewound)
{
    ScratchDirectory scratch;
    RecordedInstance instance;
    std::string font = wholeFont().build();
    ZFile *temporary = fopent("", (scratch / "ttenc.tmp").c_str(), "", 0);
    fputm(temporary, font.data(), font.size());
    frewind(temporary);
    ZFile *output = fopenw("", (scratch / "out.ps").c_str(), "", 0);
    insert_ttfont(instance, temporary, output);
    fclosx(temporary);
    fclosx(output);
    EXPECT_EQ(readFile(scratch / "out.ps"), convertFont(font).text);
}

/* ---- refusals */

TEST(InsertTTFont, OnlyVersionOneIsATrueTypeFile)
{
    for (auto [version, shown] : std::map<uint32_t, std::string>{{0, "0"},
                                                                 {0x00020000, "20000"},
                                                                 {0x4F54544F, "4f54544f"},
                                                                 {0x74727565, "74727565"},
                                                                 {0xFFFFFFFF, "ffffffff"}}) {
        FontBuilder font = wholeFont();
        font.version = version;
        FontConversion conversion = convertFont(font.build());
        EXPECT_EQ(conversion.reports, Reports{"ZOLAK:1381 4 TTFONT: Unknown File Version number [" +
                                              shown + "], or not a TrueType file"});
        EXPECT_EQ(conversion.text, "");
    }
}

TEST(InsertTTFont, AnEmptyFileIsNoTrueTypeFile)
{
    FontConversion conversion = convertFont("");
    EXPECT_EQ(conversion.reports, Reports{"ZOLAK:1381 4 TTFONT: Unknown File Version number [0], "
                                          "or not a TrueType file"});
    EXPECT_EQ(conversion.text, "");
}

TEST(InsertTTFont, AVersionCutShortReadsZerosForItsRest)
{
    FontConversion conversion = convertFont(std::string("\x12\x34\x56", 3));
    EXPECT_EQ(conversion.reports, Reports{"ZOLAK:1381 4 TTFONT: Unknown File Version number "
                                          "[12345600], or not a TrueType file"});
}

TEST(InsertTTFont, AReadThatFallsShortIsAReadingError)
{
    /* The file is read from the handle's position; from anywhere but the start it falls short. */
    ScratchDirectory scratch;
    RecordedInstance instance;
    ZFile *input = fopenr("", scratch.write("f.ttf", wholeFont().build()).c_str(), "", 0);
    ZFile *output = fopenw("", (scratch / "out.ps").c_str(), "", 0);
    fputp(input, 1);
    EXPECT_EQ(insert_ttfont(instance, input, output), 0);
    EXPECT_EQ(instance.controller.takeTextsWithLines(),
              Reports{"ZOLAK:1368 4 READERR: Reading error."});
    EXPECT_TRUE(instance.stopped());
    EXPECT_EQ(fgetp(output), 0U);
    fclosx(input);
    fclosx(output);
}

TEST(InsertTTFont, EveryReportNamesItsSource)
{
    ScratchDirectory scratch;
    RecordedInstance instance;
    ZFile *input = fopenr("", scratch.write("f.ttf", "none").c_str(), "", 0);
    insert_ttfont(instance, input, nullptr);
    fclosx(input);
    std::vector<RecordedReport> reports = instance.controller.take();
    ASSERT_EQ(reports.size(), 1U);
    EXPECT_EQ(reports[0].source, "tools/zolak1_3/truetype");
}

TEST(InsertTTFont, DoesNothingOnceTheInstanceIsStopped)
{
    ScratchDirectory scratch;
    RecordedInstance instance;
    ZFile *input = fopenr("", scratch.write("f.ttf", wholeFont().build()).c_str(), "", 0);
    ZFile *output = fopenw("", (scratch / "out.ps").c_str(), "", 0);
    control_report(instance.controller, "TEST", "test", 1, SEVERITY_ERROR, "STOP", "stop");
    instance.controller.take();
    EXPECT_EQ(insert_ttfont(instance, input, output), 0);
    EXPECT_EQ(fgetp(input), 0U);
    EXPECT_EQ(fgetp(output), 0U);
    EXPECT_TRUE(instance.controller.take().empty());
    fclosx(input);
    fclosx(output);
}

TEST(InsertTTFont, OneFaultIsReportedAndNoOther)
{
    /* Each font has every fault from its own on; the first in the order of reading is told. */
    FontBuilder font = smallFont();
    font.replaced["cmap"] = "";
    std::string told[] = {"ZOLAK:802 4 TTFONT: No Recognised Encoding Table",
                          "ZOLAK:1320 4 TTFONT: Postscript table in wrong format 4",
                          "ZOLAK:835 4 TTFONT: Wrong units per em",
                          "ZOLAK:830 4 TTFONT: Wrong indexToLocFormat",
                          "ZOLAK:604 4 TTFONT: Cannot decode font name fields",
                          "ZOLAK:1440 4 TTFONT: TrueType font lacks the loca table",
                          "ZOLAK:1381 4 TTFONT: Unknown File Version number [2], or not a TrueType "
                          "file"};
    for (size_t fault = 0; fault < std::size(told); fault++) {
        if (fault == 1)
            font.replaced["post"] = postHeader(4, 0);
        if (fault == 2)
            font.unitsPerEm = 0;
        if (fault == 3)
            font.locaFormat = 2;
        if (fault == 4)
            font.replaced["name"] = nameTable({});
        if (fault == 5)
            font.replaced["loca"] = "";
        if (fault == 6)
            font.version = 2;
        FontConversion conversion = convertFont(font.build());
        EXPECT_EQ(conversion.reports, Reports{told[fault]});
        EXPECT_EQ(conversion.text, "");
    }
}

} // namespace
