/*
 * damaged_test.cpp - hostile fonts: nothing is read outside the data, and the work is bounded
 */
#include <gtest/gtest.h>
#include <unistd.h>

#include "tests/support/scratch_directory.h"
#include "tests/truetype/conversion.h"
#include "tests/truetype/font_builder.h"
#include "tools/zolak1_3/truetype/truetype.h"
#include "zelkov/zelkov.h"

namespace {

using Texts = std::vector<std::string>;

constexpr unsigned WORDS = 0x0001, MORE_COMPONENTS = 0x0020;

const Texts DAMAGED = {"ZOLAK:900 3 TTFONT: Glyph g is damaged or too large"};

/* The frame of glyph "g" without a path. */
const std::string WITHOUT_PATH = "/g { % 0 - 0x00\n"
                                 "500 0 -1 -2 3 4 setcachedevice\n"
                                 "fill\n"
                                 " } bind def\n";

FontBuilder fontOf(const std::string &glyph)
{
    FontBuilder font;
    font.glyphs = {glyph};
    font.names = {"g"};
    font.advances = {500};
    return font;
}

const GlyphBox BOX = {-1, -2, 3, 4};

void expectDamaged(const std::string &glyph)
{
    FontConversion conversion = convertFont(fontOf(glyph).build());
    EXPECT_EQ(glyphProcedure(conversion, "g"), WITHOUT_PATH);
    EXPECT_EQ(conversion.reports, DAMAGED);
    EXPECT_TRUE(hasLine(conversion, "%%%%EndFont"));
}

/* ---- simple glyphs */

TEST(DamagedGlyph, ContoursMustRise)
{
    FontBytes flat = glyphHeader(2, BOX);
    expectDamaged(flat.u16(2).u16(2).u16(0).zeros(100));
    FontBytes falling = glyphHeader(2, BOX);
    expectDamaged(falling.u16(2).u16(1).u16(0).zeros(100));
    FontBytes last = glyphHeader(3, BOX);
    expectDamaged(last.u16(0).u16(5).u16(4).u16(0).zeros(100));
}

/* What insert_ttfont reports of a file of that many zero bytes. */
Texts reportsOfZeros(off_t size)
{
    ScratchDirectory directory;
    RecordedInstance instance;
    std::string path = directory.write("font", "");
    EXPECT_EQ(truncate(path.c_str(), size), 0);
    ZFile *input = fopenr("", path.c_str(), "", 0);
    ZFile *output = fopent("", (directory / "out").c_str(), "", 0);
    insert_ttfont(instance, input, output);
    EXPECT_EQ(fgeteof(output), 0U);
    fclosx(input);
    fclosx(output);
    return instance.controller.takeTextsWithLines();
}

TEST(DamagedFont, AFileOfMoreThan128MebibytesIsRefusedUnread)
{
    EXPECT_EQ(
        reportsOfZeros(134217728),
        Texts{"ZOLAK:1381 4 TTFONT: Unknown File Version number [0], or not a TrueType file"});
    EXPECT_EQ(reportsOfZeros(134217729), Texts{"ZOLAK:910 4 TTFONT: Font program is too large"});
}

TEST(DamagedGlyph, TwoThousandPointsAreTheMost)
{
    FontConversion most = convertFont(fontOf(pointHeap(2000)).build());
    EXPECT_EQ(most.reports, Texts{});
    std::string path = glyphPath(most, "g");
    EXPECT_EQ(std::count(path.begin(), path.end(), '\n'), 2000 + 3); /* closepath, long glyph */

    FontConversion more = convertFont(fontOf(pointHeap(2001)).build());
    EXPECT_EQ(glyphPath(more, "g"), "");
    EXPECT_EQ(more.reports, DAMAGED);
    FontConversion all = convertFont(fontOf(pointHeap(65536)).build());
    EXPECT_EQ(glyphPath(all, "g"), "");
    EXPECT_EQ(all.reports, DAMAGED);
    FontBytes contours = glyphHeader(32767, BOX);
    for (unsigned i = 0; i < 32767; i++)
        contours.u16(i);
    expectDamaged(contours);
}

TEST(DamagedGlyph, ARepeatMayOvershootTheLastOfTwoThousandPoints)
{
    std::string glyph = pointHeap(2000);
    glyph.back() = '\xFF';
    FontConversion conversion = convertFont(fontOf(glyph).build());
    EXPECT_EQ(conversion.reports, Texts{});
    EXPECT_TRUE(glyphPath(conversion, "g").starts_with("0 0 moveto\n0 0 lineto\n"));
}

TEST(DamagedGlyph, TwoThousandContoursOfOnePointAreNotTooMany)
{
    FontBytes glyph = glyphHeader(2000);
    for (unsigned i = 0; i < 2000; i++)
        glyph.u16(i);
    glyph.u16(0);
    for (int left = 2000; left > 0; left -= 250)
        glyph.u8(0x39).u8(249);
    EXPECT_EQ(convertFont(fontOf(glyph).build()).reports, Texts{});
}

TEST(DamagedGlyph, EveryByteOfAGlyphMustBeInsideItsLength)
{
    /* Odd lengths need the long location format, and a glyph whose data ends where it should. */
    FontBytes glyph = glyphHeader(2, BOX);
    glyph.u16(1).u16(3).u16(2).text("ii");
    glyph.u8(0x01).u8(0x07 | 0x08).u8(1).u8(0x31); /* 16 bits; short, twice; same */
    glyph.u16(100).u8(1).u8(2);
    glyph.u16(200).u8(3).u8(4);
    std::string whole = glyph;
    for (size_t length = 0; length <= whole.size() + 1; length++) {
        FontBuilder font = fontOf(whole + "zz");
        font.replaced["loca"] = locaTable({0, (uint32_t)length}, 1);
        FontConversion conversion = convertFont(font.build());
        if (length == 0) {
            EXPECT_EQ(conversion.reports, Texts{});
        } else if (length < whole.size()) {
            EXPECT_EQ(conversion.reports, DAMAGED) << length;
            EXPECT_EQ(glyphProcedure(conversion, "g"), WITHOUT_PATH) << length;
        } else {
            EXPECT_EQ(conversion.reports, Texts{}) << length;
            EXPECT_EQ(glyphPath(conversion, "g"), "100 200 moveto\n"
                                                  "99 197 lineto\n"
                                                  " closepath \n"
                                                  "97 193 moveto\n"
                                                  "97 193 lineto\n"
                                                  " closepath \n")
                << length;
        }
    }
}

TEST(DamagedGlyph, InstructionsMustFit)
{
    FontBytes glyph = glyphHeader(1, BOX);
    expectDamaged(glyph.u16(0).u16(0xFFFF).zeros(100));
}

TEST(DamagedGlyph, AComponentThatIsDamagedDrawsNothing)
{
    FontBuilder font;
    font.glyphs = {compositeGlyph({{WORDS, 1, 0, 0}}), simpleGlyph({{{0, 0, ON}}}) + "zz"};
    font.glyphs[1][13] = 9; /* instructions that are not there */
    font.names = {"c", "bad"};
    FontConversion conversion = convertFont(font.build());
    EXPECT_EQ(glyphPath(conversion, "c"),
              "% flags 1 glyph bad\n"
              "matrix currentmatrix [ 1.0000000 0.0000000 0.0000000 1.0000000 0 0 ] concat\n"
              "setmatrix\n");
    EXPECT_EQ(conversion.reports,
              Texts(2, "ZOLAK:900 3 TTFONT: Glyph bad is damaged or too large"));
}

TEST(DamagedGlyph, DataPastTheEndOfTheFontReadsAsZeros)
{
    /* The location table promises more than the file has: the rest of the glyph is zeros. */
    FontBuilder font = fontOf("");
    font.replaced["glyf"] = "";
    FontBytes glyph = glyphHeader(1, BOX);
    font.replaced["zlyf"] = glyph.u16(1).u16(0).u8(1).u8(1).u16(5).u16(6);
    font.replaced["loca"] = locaTable({0, 100}, 1);
    std::string file = font.build();
    file.replace(file.find("zlyf"), 4, "glyf");
    FontConversion conversion = convertFont(file);
    EXPECT_EQ(glyphPath(conversion, "g"), "5 0 moveto\n11 0 lineto\n closepath \n");
    EXPECT_EQ(conversion.reports, Texts{});
}

/* ---- composite glyphs */

TEST(DamagedComposite, RecordsMustLieInsideTheGlyph)
{
    FontBuilder font;
    std::string dot = simpleGlyph({{{7, 8, ON}}});
    std::string composite =
        compositeGlyph({{WORDS, 1, 0, 0}, {0x0080, 1, 0, 0, {1, 2, 3, 4}}}, BOX);
    font.names = {"g", "dot"};
    font.advances = {500};
    for (size_t length = 1; length <= composite.size(); length++) {
        font.glyphs = {composite, dot};
        font.replaced["loca"] = locaTable({0, (uint32_t)length, (uint32_t)composite.size()}, 1);
        FontConversion conversion = convertFont(font.build());
        if (length < composite.size()) {
            EXPECT_EQ(glyphProcedure(conversion, "g"), WITHOUT_PATH) << length;
            ASSERT_FALSE(conversion.reports.empty()) << length;
            EXPECT_EQ(conversion.reports[0], DAMAGED[0]) << length;
        } else {
            EXPECT_NE(glyphPath(conversion, "g").find("setmatrix"), std::string::npos);
        }
    }
}

TEST(DamagedComposite, AGlyphOfAHeaderAloneIsDamaged)
{
    expectDamaged(glyphHeader(-1, BOX));
    expectDamaged(glyphHeader(0, BOX));
}

TEST(DamagedComposite, MoreComponentsThanTheFontHolds)
{
    FontBuilder font = fontOf(compositeGlyph({{WORDS | MORE_COMPONENTS, 0, 0, 0}}, BOX));
    FontConversion conversion = convertFont(font.build());
    EXPECT_EQ(glyphProcedure(conversion, "g"), WITHOUT_PATH);
    EXPECT_EQ(conversion.reports, DAMAGED);
}

/* ---- location table */

TEST(DamagedLoca, ANegativeLengthIsNotAnEmptyGlyph)
{
    FontBuilder font;
    font.glyphs = {simpleGlyph({{{7, 8, ON}}}, BOX), ""};
    font.names = {"g", "h"};
    font.advances = {500};
    font.replaced["loca"] = locaTable({20, 0, 0}, 1);
    font.replaced["glyf"] = std::string(20, 'x') + font.glyphs[0];
    FontConversion simple = convertFont(font.build());
    EXPECT_EQ(glyphProcedure(simple, "g"), "/g { % 0 - 0x00\n"
                                           "500 0 -1 -2 3 4 setcachedevice\n"
                                           "\n"
                                           "%Composite glyph g refers to non-existent glyph g\n"
                                           "fill\n"
                                           " } bind def\n");
    EXPECT_EQ(simple.reports,
              Texts{"ZOLAK:869 3 TTFONT: Composite glyph g refers to non-existent glyph g"});

    font.replaced["glyf"] = std::string(20, 'x') + compositeGlyph({{WORDS, 1, 0, 0}}, BOX);
    FontConversion composite = convertFont(font.build());
    EXPECT_EQ(glyphProcedure(composite, "g"), WITHOUT_PATH);
    EXPECT_EQ(composite.reports, DAMAGED);

    font.locaFormat = 0;
    font.replaced["loca"] = locaTable({20, 0, 0}, 0);
    EXPECT_EQ(convertFont(font.build()).text, composite.text);
}

TEST(DamagedLoca, ALengthOfMoreThanTwoGigabytesIsNotNegative)
{
    FontBuilder font = fontOf(simpleGlyph({{{7, 8, ON}}}));
    font.replaced["loca"] = locaTable({0, 0xFFFFFFFF}, 1);
    FontConversion conversion = convertFont(font.build());
    EXPECT_EQ(glyphPath(conversion, "g"), "7 8 moveto\n closepath \n");
    EXPECT_EQ(conversion.reports, Texts{});
}

TEST(DamagedLoca, AGlyphFarBeyondTheFontReadsAsZeros)
{
    /* Zeros are a composite glyph of one component, glyph 0, which is this one again. */
    FontBuilder font = fontOf("");
    font.replaced["loca"] = locaTable({0xFFFFFF00, 0xFFFFFFFF}, 1);
    FontConversion conversion = convertFont(font.build());
    EXPECT_EQ(conversion.reports,
              Texts{"ZOLAK:883 3 TTFONT: Composite glyph g refers to composite glyph g"});
    EXPECT_TRUE(hasLine(conversion, "500 0 0 0 0 0 setcachedevice"));
    EXPECT_TRUE(hasLine(conversion, "%%%%EndFont"));
}

TEST(DamagedLoca, ATableCutShortHasZerosForItsEntries)
{
    FontBuilder font = fontOf(simpleGlyph({{{7, 8, ON}}}));
    font.glyphs.assign(3, font.glyphs[0]);
    font.names = {"g", "h", "i"};
    font.replaced["loca"] = "";
    uint32_t length = (uint32_t)font.glyphs[0].size() + (uint32_t)font.glyphs[0].size() % 2;
    font.replaced["zoca"] = locaTable({0, length}, 1);
    std::string file = font.build();
    file.replace(file.find("zoca"), 4, "loca");
    FontConversion conversion = convertFont(file);
    EXPECT_EQ(glyphPath(conversion, "g"), "7 8 moveto\n closepath \n");
    EXPECT_EQ(conversion.reports, /* h runs backwards, i is empty */
              Texts{"ZOLAK:869 3 TTFONT: Composite glyph h refers to non-existent glyph h"});
    EXPECT_EQ(glyphNames(conversion), (Texts{"g", "h", "i"}));
}

/* ---- limits of the whole font */

/* Converts into a file that keeps nothing: some of these fonts write hundreds of megabytes. */
Texts reportsOf(const std::string &font, bool *stopped = nullptr)
{
    ScratchDirectory scratch;
    RecordedInstance instance;
    ZFile *input = fopenr("", scratch.write("font.ttf", font).c_str(), "", 0);
    ZFile *output = fopenw("", "/dev/null", "", 0);
    insert_ttfont(instance, input, output);
    fclosx(input);
    fclosx(output);
    if (stopped)
        *stopped = instance.stopped();
    return instance.controller.takeTextsWithLines();
}

/* A composite glyph that draws glyph 1, of 1024 segments, so many times. */
FontBuilder manySegments(int times)
{
    FontBuilder font;
    font.glyphs = {compositeGlyph(std::vector<GlyphComponent>((size_t)times, {0, 1, 0, 0})),
                   pointHeap(1024)};
    font.names = {"c", "heap"};
    return font;
}

TEST(FontLimits, SixteenMillionSegmentsAreTheMost)
{
    /* 16383 times as a component and once by itself: 16777216 in all. */
    FontBuilder font = manySegments(16383);
    EXPECT_EQ(reportsOf(font.build()), Texts{});

    font.glyphs.push_back(pointHeap(1));
    bool stopped = false;
    EXPECT_EQ(reportsOf(font.build(), &stopped),
              Texts{"ZOLAK:910 4 TTFONT: Font program is too large"});
    EXPECT_TRUE(stopped);
}

TEST(FontLimits, AMillionComponentsAreTheMost)
{
    /* 64 glyphs share the data of one composite of 16384 components: 1048576 in all.  The glyphs
     * between them run backwards and find the header of a simple glyph. */
    constexpr int SHARING = 64, DOT = 2 * SHARING;
    std::string composite =
        compositeGlyph(std::vector<GlyphComponent>(16384, GlyphComponent{0, DOT, 0, 0}));
    std::string dot = simpleGlyph({{{0, 0, ON}}});
    uint32_t end = (uint32_t)composite.size();
    std::vector<uint32_t> offsets;
    for (int i = 0; i < SHARING; i++)
        offsets.insert(offsets.end(), {0, end});
    offsets.insert(offsets.end(), {end, end + (uint32_t)dot.size()});

    FontBuilder font;
    font.glyphs.assign(DOT + 1, "");
    font.replaced["glyf"] = composite + dot;
    font.replaced["loca"] = locaTable(offsets, 1);
    EXPECT_EQ(reportsOf(font.build()),
              Texts(SHARING - 1, "ZOLAK:869 3 TTFONT: Composite glyph UNKN refers to non-existent "
                                 "glyph UNKN"));

    font.glyphs.resize(DOT + 3); /* one more that runs backwards, and one that shares */
    offsets.insert(offsets.end(), {0, end});
    font.replaced["loca"] = locaTable(offsets, 1);
    bool stopped = false;
    EXPECT_EQ(reportsOf(font.build(), &stopped).back(),
              "ZOLAK:910 4 TTFONT: Font program is too large");
    EXPECT_TRUE(stopped);
}

TEST(FontLimits, AFontOf65535GlyphsInFewBytesIsWritten)
{
    FontBuilder font;
    font.replaced["maxp"] = FontBytes().u32(0x00010000).u16(65535);
    FontConversion conversion = convertFont(font.build());
    EXPECT_TRUE(hasLine(conversion, "/CharProcs 65536 dict def CharProcs begin"));
    EXPECT_TRUE(hasLine(conversion, "%%%%EndFont"));
}

/* ---- everything at once */

FontBuilder everything()
{
    FontBuilder font;
    font.glyphs = {"", simpleGlyph({{{0, 0, ON}, {10, 0, OFF}, {10, 10, ON}}}),
                   compositeGlyph({{WORDS, 1, 0, 0}, {0x0008, 1, 0, 0, {0x2000}}})};
    font.names = {".notdef", "a", "b"};
    font.advances = {100, 200};
    font.replaced["name"] = nameTable({{3, 1, 0x409, 6, utf16("Name")}});
    font.replaced["cmap"] = cmapTable({{3, 1, cmapFormat4({{'A', 'B', 1 - 'A'}})}});
    return font;
}

TEST(DamagedFont, EveryLengthOfAFontEndsWell)
{
    std::string whole = everything().build();
    std::string text = convertFont(whole).text;
    EXPECT_TRUE(text.ends_with("%%%%EndFont\n"));
    for (size_t length = 0; length < whole.size(); length++) {
        FontConversion conversion = convertFont(whole.substr(0, length));
        EXPECT_EQ(conversion.text.ends_with("%%%%EndFont\n"), !conversion.stopped) << length;
    }
}

TEST(DamagedFont, EveryByteMayBeWrong)
{
    std::string whole = everything().build();
    for (size_t at = 0; at < whole.size(); at++)
        for (char damage : {'\x80', '\xFF'}) {
            std::string font = whole;
            font[at] = damage;
            FontConversion conversion = convertFont(font);
            ASSERT_EQ(conversion.text.ends_with("%%%%EndFont\n"), !conversion.stopped) << at;
        }
}

} // namespace
