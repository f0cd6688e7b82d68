/*
 * composite_test.cpp - composite glyphs: components, their transforms, and what cannot be drawn
 */
#include <gtest/gtest.h>

#include "tests/truetype/conversion.h"
#include "tests/truetype/font_builder.h"

namespace {

using Texts = std::vector<std::string>;

constexpr unsigned WORDS = 0x0001, XY_VALUES = 0x0002, SCALE = 0x0008, XY_SCALE = 0x0040,
                   TWO_BY_TWO = 0x0080;

/* Glyph 1, "dot", is one point; glyph 0, "c", is the composite. */
FontBuilder fontOf(const std::vector<GlyphComponent> &components)
{
    FontBuilder font;
    font.glyphs = {compositeGlyph(components, {-1, -2, 3, 4}), simpleGlyph({{{7, 8, ON}}})};
    font.names = {"c", "dot"};
    font.advances = {500};
    return font;
}

const std::string DOT_PATH = "7 8 moveto\n closepath \n";
const std::string UNCHANGED =
    "matrix currentmatrix [ 1.0000000 0.0000000 0.0000000 1.0000000 0 0 ] concat\n";

/* The bracketed part of the only component's matrix. */
std::string matrixOf(const GlyphComponent &component)
{
    FontConversion conversion = convertFont(fontOf({component}).build());
    EXPECT_EQ(conversion.reports, Texts{});
    std::string path = glyphPath(conversion, "c");
    size_t start = path.find('[');
    return path.substr(start, path.find(']') + 1 - start);
}

TEST(Composite, AComponentIsDrawnUnderItsMatrix)
{
    EXPECT_EQ(glyphProcedure(convertFont(fontOf({{WORDS | XY_VALUES, 1, 10, -20}}).build()), "c"),
              "/c { % 0 - 0x00\n"
              "500 0 -1 -2 3 4 setcachedevice\n"
              "% flags 3 glyph dot\n"
              "matrix currentmatrix [ 1.0000000 0.0000000 0.0000000 1.0000000 10 -20 ] concat\n" +
                  DOT_PATH +
                  "setmatrix\n"
                  "fill\n"
                  " } bind def\n");
}

TEST(Composite, ComponentsFollowOneAnotherWhileTheirFlagSaysSo)
{
    EXPECT_EQ(
        glyphPath(convertFont(fontOf({{WORDS, 1, 0, 0}, {0, 1, 0, 0}, {WORDS, 1, 0, 0}}).build()),
                  "c"),
        "% flags 21 glyph dot\n" + UNCHANGED + DOT_PATH + "setmatrix\n" + "% flags 20 glyph dot\n" +
            UNCHANGED + DOT_PATH + "setmatrix\n" + "% flags 1 glyph dot\n" + UNCHANGED + DOT_PATH +
            "setmatrix\n");
}

TEST(Composite, OffsetsAreSignedWordsOrBytes)
{
    EXPECT_EQ(matrixOf({WORDS, 1, -32768, 32767}),
              "[ 1.0000000 0.0000000 0.0000000 1.0000000 -32768 32767 ]");
    EXPECT_EQ(matrixOf({0, 1, -128, 127}), "[ 1.0000000 0.0000000 0.0000000 1.0000000 -128 127 ]");
    EXPECT_EQ(matrixOf({0, 1, 255, 128}), "[ 1.0000000 0.0000000 0.0000000 1.0000000 -1 -128 ]");
}

TEST(Composite, PointNumbersAreTakenAsOffsets)
{
    for (unsigned flags : {WORDS, WORDS | XY_VALUES})
        EXPECT_EQ(matrixOf({flags, 1, 3, 4}), "[ 1.0000000 0.0000000 0.0000000 1.0000000 3 4 ]");
}

TEST(Composite, OneScaleIsForBothDirections)
{
    EXPECT_EQ(matrixOf({WORDS | SCALE, 1, 5, 6, {0x2000}}),
              "[ 0.5000000 0.0000000 0.0000000 0.5000000 5 6 ]");
    EXPECT_EQ(matrixOf({SCALE, 1, 5, 6, {0xC000}}),
              "[ -1.0000000 0.0000000 0.0000000 -1.0000000 5 6 ]");
}

TEST(Composite, TwoScalesAreForXAndY)
{
    EXPECT_EQ(matrixOf({WORDS | XY_SCALE, 1, 0, 0, {0x7FFF, 0x8000}}),
              "[ 1.9999390 0.0000000 0.0000000 -2.0000000 0 0 ]");
}

TEST(Composite, FourValuesAreTheMatrix)
{
    EXPECT_EQ(matrixOf({WORDS | TWO_BY_TWO, 1, 1, 2, {0x4000, 0x0001, 0xFFFF, 0xE000}}),
              "[ 1.0000000 0.0000610 -0.0000610 -0.5000000 1 2 ]");
}

TEST(Composite, OfSeveralTransformsTheSimplestCounts)
{
    EXPECT_EQ(matrixOf({WORDS | SCALE | XY_SCALE | TWO_BY_TWO, 1, 0, 0, {0x2000}}),
              "[ 0.5000000 0.0000000 0.0000000 0.5000000 0 0 ]");
    EXPECT_EQ(matrixOf({WORDS | XY_SCALE | TWO_BY_TWO, 1, 0, 0, {0x2000, 0x1000}}),
              "[ 0.5000000 0.0000000 0.0000000 0.2500000 0 0 ]");
}

TEST(Composite, FlagsArePrintedWhole)
{
    FontConversion conversion = convertFont(fontOf({{0xFF17, 1, 0, 0}}).build());
    EXPECT_TRUE(hasLine(conversion, "% flags ff17 glyph dot"));
}

TEST(Composite, InstructionsAfterTheLastComponentAreIgnored)
{
    FontBuilder font = fontOf({});
    font.glyphs[0] = compositeGlyph({{WORDS | 0x0100, 1, 0, 0}}) + std::string("\0\2zz", 4);
    EXPECT_EQ(glyphPath(convertFont(font.build()), "c"),
              "% flags 101 glyph dot\n" + UNCHANGED + DOT_PATH + "setmatrix\n");
}

TEST(Composite, AnyNumberOfContoursBelowOneIsAComposite)
{
    for (int contours : {0, -1, -2, -32768}) {
        FontBuilder font = fontOf({});
        FontBytes glyph = glyphHeader(contours);
        font.glyphs[0] = glyph.u16(0).u16(1).u8(0).u8(0);
        EXPECT_EQ(glyphPath(convertFont(font.build()), "c"),
                  "% flags 0 glyph dot\n" + UNCHANGED + DOT_PATH + "setmatrix\n");
    }
}

TEST(Composite, ANestedCompositeIsReportedAndNotDrawn)
{
    FontBuilder font = fontOf({{WORDS, 2, 0, 0}, {WORDS, 1, 0, 0}});
    font.glyphs.push_back(compositeGlyph({{WORDS, 1, 0, 0}}));
    font.names.push_back("inner");
    FontConversion conversion = convertFont(font.build());
    EXPECT_EQ(glyphPath(conversion, "c"), "% flags 21 glyph inner\n" + UNCHANGED +
                                              "\n"
                                              "%Composite glyph c refers to composite glyph inner\n"
                                              "setmatrix\n"
                                              "% flags 1 glyph dot\n" +
                                              UNCHANGED + DOT_PATH + "setmatrix\n");
    EXPECT_EQ(conversion.reports,
              Texts{"ZOLAK:883 3 TTFONT: Composite glyph c refers to composite glyph inner"});
    EXPECT_TRUE(hasLine(conversion, "%%%%EndFont"));
}

TEST(Composite, AGlyphThatRefersToItselfIsANestedComposite)
{
    FontConversion conversion = convertFont(fontOf({{WORDS, 0, 0, 0}}).build());
    EXPECT_EQ(conversion.reports,
              Texts{"ZOLAK:883 3 TTFONT: Composite glyph c refers to composite glyph c"});
}

TEST(Composite, AnEmptyComponentIsReportedAndNotDrawn)
{
    FontBuilder font = fontOf({{WORDS, 2, 0, 0}});
    font.glyphs.push_back("");
    font.names.push_back("space");
    FontConversion conversion = convertFont(font.build());
    EXPECT_EQ(glyphProcedure(conversion, "c"),
              "/c { % 0 - 0x00\n"
              "500 0 -1 -2 3 4 setcachedevice\n"
              "% flags 1 glyph space\n" +
                  UNCHANGED +
                  "\n"
                  "%Composite glyph c refers to non-existent glyph space\n"
                  "setmatrix\n"
                  "fill\n"
                  " } bind def\n");
    EXPECT_EQ(conversion.reports,
              Texts{"ZOLAK:869 3 TTFONT: Composite glyph c refers to non-existent glyph space"});
}

TEST(Composite, AnEmptyGlyphByItselfDrawsNoReport)
{
    FontBuilder font = fontOf({{WORDS, 1, 0, 0}});
    font.glyphs.push_back("");
    EXPECT_EQ(convertFont(font.build()).reports, Texts{});
}

TEST(Composite, AComponentBeyondTheGlyphTableIsUnknown)
{
    FontBuilder font = fontOf({{WORDS, 65535, 0, 0}});
    FontConversion conversion = convertFont(font.build());
    EXPECT_TRUE(hasLine(conversion, "% flags 1 glyph UNKN"));
    EXPECT_EQ(conversion.reports,
              Texts{"ZOLAK:869 3 TTFONT: Composite glyph c refers to non-existent glyph UNKN"});
}

TEST(Composite, SegmentsOfAllComponentsCountTogether)
{
    GlyphContour fifty;
    for (int i = 0; i < 50; i++)
        fifty.push_back({i, 0, ON});
    FontBuilder font = fontOf({{WORDS, 1, 0, 0}, {WORDS, 1, 0, 0}});
    font.glyphs[1] = simpleGlyph({fifty});
    EXPECT_EQ(convertFont(font.build()).text.find("too long"), std::string::npos);
    font.glyphs[0] = compositeGlyph({{WORDS, 1, 0, 0}, {WORDS, 1, 0, 0}, {WORDS, 2, 0, 0}});
    font.glyphs.push_back(simpleGlyph({{{0, 0, ON}}}));
    EXPECT_TRUE(glyphPath(convertFont(font.build()), "c")
                    .ends_with("setmatrix\n\n%Glyph c is too long, may have to be removed\n"));
}

} // namespace
