/*
 * outline_test.cpp - readGlyf, and simple glyphs as paths
 */
#include <gtest/gtest.h>

#include "tests/truetype/conversion.h"
#include "tests/truetype/font_builder.h"
#include "tools/zolak1_3/truetype/glyf.h"

namespace {

using Texts = std::vector<std::string>;

/* A font whose only glyph, named "g", is this one. */
FontBuilder fontOf(const std::string &glyph)
{
    FontBuilder font;
    font.glyphs = {glyph};
    font.names = {"g"};
    font.advances = {500};
    return font;
}

/* The path of a glyph that draws no report. */
std::string pathOf(const std::string &glyph)
{
    FontConversion conversion = convertFont(fontOf(glyph).build());
    EXPECT_EQ(conversion.reports, Texts{});
    return glyphPath(conversion, "g");
}

std::string pathOf(const std::vector<GlyphContour> &contours)
{
    return pathOf(simpleGlyph(contours));
}

/* ---- header */

TEST(ReadGlyf, ReadsFiveSignedValues)
{
    const uint8_t bytes[] = {0xFF, 0xFE, 0x80, 0x00, 0x7F, 0xFF, 0x00, 0x01, 0xFF, 0xFF, 0x99};
    TTGlyphHeader header;
    readGlyf(&header, {bytes, sizeof bytes});
    EXPECT_EQ(header.numberOfContours, -2);
    EXPECT_EQ(header.xMin, -32768);
    EXPECT_EQ(header.yMin, 32767);
    EXPECT_EQ(header.xMax, 1);
    EXPECT_EQ(header.yMax, -1);
}

TEST(ReadGlyf, ReadsZerosPastTheEnd)
{
    std::vector<uint8_t> bytes = {0x00, 0x01, 0x12};
    TTGlyphHeader header;
    readGlyf(&header, {bytes.data(), bytes.size()});
    EXPECT_EQ(header.numberOfContours, 1);
    EXPECT_EQ(header.xMin, 0x1200);
    EXPECT_EQ(header.yMin, 0);
    EXPECT_EQ(header.xMax, 0);
    EXPECT_EQ(header.yMax, 0);
}

/* ---- lines and curves */

TEST(Outline, ATriangleIsThreePointsAndAClosepath)
{
    EXPECT_EQ(pathOf({{{0, 0, ON}, {100, 0, ON}, {50, 80, ON}}}), "0 0 moveto\n"
                                                                  "100 0 lineto\n"
                                                                  "50 80 lineto\n"
                                                                  " closepath \n");
}

TEST(Outline, OneOffCurvePointIsOneCurve)
{
    EXPECT_EQ(pathOf({{{0, 0, ON}, {100, 0, OFF}, {100, 100, ON}}}), "0 0 moveto\n"
                                                                     "66 0 100 33 100 100 curveto\n"
                                                                     " closepath \n");
}

TEST(Outline, TwoOffCurvePointsAreOneCurvePushedOutPastThem)
{
    EXPECT_EQ(pathOf({{{0, 0, ON}, {90, 0, OFF}, {90, 90, OFF}, {0, 90, ON}}}),
              "0 0 moveto\n"
              "120 0 120 90 0 90 curveto\n"
              " closepath \n");
}

TEST(Outline, ThreeOffCurvePointsAreThreeCurves)
{
    /* Q1 = 60 0, Q2 = 120 60, Q3 = 60 120; midpoints 90 30 and 90 90. */
    EXPECT_EQ(pathOf({{{0, 0, ON}, {60, 0, OFF}, {120, 60, OFF}, {60, 120, OFF}, {0, 120, ON}}}),
              "0 0 moveto\n"
              "40 0 70 10 90 30 curveto\n"
              "110 50 110 70 90 90 curveto\n"
              "70 110 40 120 0 120 curveto\n"
              " closepath \n");
}

TEST(Outline, FiveOffCurvePointsAreFiveCurves)
{
    EXPECT_EQ(pathOf({{{0, 0, ON},
                       {60, 0, OFF},
                       {120, 60, OFF},
                       {180, 0, OFF},
                       {240, 60, OFF},
                       {300, 0, OFF},
                       {360, 0, ON},
                       {180, -60, ON}}}),
              "0 0 moveto\n"
              "40 0 70 10 90 30 curveto\n"
              "110 50 130 50 150 30 curveto\n"
              "170 10 190 10 210 30 curveto\n"
              "230 50 250 50 270 30 curveto\n"
              "290 10 320 0 360 0 curveto\n"
              "180 -60 lineto\n"
              " closepath \n");
}

TEST(Outline, AContourThatEndsOffCurveCurvesBackToItsStart)
{
    EXPECT_EQ(pathOf({{{30, 30, ON}, {90, 0, ON}, {60, 90, OFF}}}), "30 30 moveto\n"
                                                                    "90 0 lineto\n"
                                                                    "70 60 50 70 30 30 curveto\n"
                                                                    " closepath \n");
    EXPECT_EQ(pathOf({{{0, 0, ON}, {90, 0, OFF}, {90, 90, OFF}}}), "0 0 moveto\n"
                                                                   "120 0 120 120 0 0 curveto\n"
                                                                   " closepath \n");
    EXPECT_EQ(pathOf({{{0, 0, ON}, {60, 0, OFF}, {120, 60, OFF}, {60, 120, OFF}}}),
              "0 0 moveto\n"
              "40 0 70 10 90 30 curveto\n"
              "110 50 110 70 90 90 curveto\n"
              "70 110 40 80 0 0 curveto\n"
              " closepath \n");
}

TEST(Outline, TheFirstPointCountsAsOnCurve)
{
    EXPECT_EQ(pathOf({{{7, 8, OFF}, {100, 0, ON}, {50, 80, ON}}}), "7 8 moveto\n"
                                                                   "100 0 lineto\n"
                                                                   "50 80 lineto\n"
                                                                   " closepath \n");
    EXPECT_EQ(pathOf({{{0, 0, OFF}, {90, 0, OFF}, {90, 90, OFF}, {0, 90, OFF}}}),
              "0 0 moveto\n"
              "60 0 90 15 90 45 curveto\n"
              "90 75 75 90 45 90 curveto\n"
              "15 90 0 60 0 0 curveto\n"
              " closepath \n");
}

TEST(Outline, CurvesStartAtThePointBeforeThem)
{
    /* The point before is the end of another curve, or of a line. */
    EXPECT_EQ(pathOf({{{0, 0, ON}, {30, 30, OFF}, {60, 0, ON}, {90, -30, OFF}, {120, 0, ON}}}),
              "0 0 moveto\n"
              "20 20 40 20 60 0 curveto\n"
              "80 -20 100 -20 120 0 curveto\n"
              " closepath \n");
}

TEST(Outline, AContourOfOnePointIsAMovetoAndAClosepath)
{
    EXPECT_EQ(pathOf({{{5, 6, ON}}, {{7, 8, OFF}}}), "5 6 moveto\n"
                                                     " closepath \n"
                                                     "7 8 moveto\n"
                                                     " closepath \n");
}

TEST(Outline, AContourOfTwoPoints)
{
    EXPECT_EQ(pathOf({{{0, 0, ON}, {30, 0, ON}}}), "0 0 moveto\n30 0 lineto\n closepath \n");
    EXPECT_EQ(pathOf({{{0, 0, ON}, {30, 3, OFF}}}), "0 0 moveto\n"
                                                    "20 2 20 2 0 0 curveto\n"
                                                    " closepath \n");
}

TEST(Outline, EachContourStartsAnew)
{
    EXPECT_EQ(pathOf({{{0, 0, ON}, {10, 0, ON}, {0, 10, ON}},
                      {{2, 2, ON}, {2, 5, OFF}, {5, 2, OFF}},
                      {{1, 1, OFF}, {1, 4, OFF}}}),
              "0 0 moveto\n"
              "10 0 lineto\n"
              "0 10 lineto\n"
              " closepath \n"
              "2 2 moveto\n"
              "2 6 6 2 2 2 curveto\n"
              " closepath \n"
              "1 1 moveto\n"
              "1 3 1 3 1 1 curveto\n"
              " closepath \n");
}

TEST(Outline, DivisionsTruncateTowardZero)
{
    /* k = 1: (2 * -1 + 0) / 3 and (0 + 2 * -1) / 3 are 0, not -1; (2 * -4 + 0) / 3 is -2. */
    EXPECT_EQ(pathOf({{{0, 0, ON}, {-1, -4, OFF}, {0, 0, ON}}}), "0 0 moveto\n"
                                                                 "0 -2 0 -2 0 0 curveto\n"
                                                                 " closepath \n");
    /* k = 2: (4 * -1 - 0) / 3 is -1, (4 * 1 - 0) / 3 is 1; (4 * -2 - 0) / 3 is -2. */
    EXPECT_EQ(pathOf({{{0, 0, ON}, {-1, 1, OFF}, {-2, 2, OFF}, {0, 0, ON}}}),
              "0 0 moveto\n"
              "-1 1 -2 2 0 0 curveto\n"
              " closepath \n");
    /* k = 3: the midpoint of -3 and 0 is -1, of 3 and 0 it is 1; (0 + 5 * -3) / 6 is -2. */
    EXPECT_EQ(pathOf({{{0, 0, ON}, {-3, 3, OFF}, {0, 0, OFF}, {-3, 3, OFF}, {0, 0, ON}}}),
              "0 0 moveto\n"
              "-2 2 -2 2 -1 1 curveto\n"
              "0 0 0 0 -1 1 curveto\n"
              "-2 2 -2 2 0 0 curveto\n"
              " closepath \n");
}

TEST(Outline, CurvesOverTheWholeRangeDoNotOverflow)
{
    EXPECT_EQ(pathOf({{{-32768, -32768, ON},
                       {32767, 32767, OFF},
                       {-32768, -32768, OFF},
                       {32767, 32767, ON}}}),
              "-32768 -32768 moveto\n"
              "54612 54612 -54613 -54613 32767 32767 curveto\n"
              " closepath \n");
}

/* ---- how the points are stored */

TEST(Outline, ShortDeltasHaveTheirSignInTheFlags)
{
    FontBytes glyph = glyphHeader(1);
    glyph.u16(3).u16(0);
    glyph.u8(0x01 | 0x02 | 0x04 | 0x10 | 0x20); /* short, positive */
    glyph.u8(0x01 | 0x02 | 0x04);               /* short, negative */
    glyph.u8(0x01 | 0x10 | 0x20);               /* same as before */
    glyph.u8(0x01);                             /* 16 bits */
    glyph.u8(255).u8(10).u16(300);
    glyph.u8(1).u8(200).u16(0xFFFF);
    EXPECT_EQ(pathOf(glyph), "255 1 moveto\n"
                             "245 -199 lineto\n"
                             "245 -199 lineto\n"
                             "545 -200 lineto\n"
                             " closepath \n");
}

TEST(Outline, AFlagIsRepeatedAsOftenAsItsCountSays)
{
    FontBytes glyph = glyphHeader(1);
    glyph.u16(4).u16(0);
    glyph.u8(0x01 | 0x02 | 0x10 | 0x20 | 0x08).u8(2); /* three points to the right */
    glyph.u8(0x01 | 0x04 | 0x10 | 0x20 | 0x08).u8(0); /* one up, not repeated */
    glyph.u8(0x01 | 0x04 | 0x10);                     /* one down */
    glyph.u8(1).u8(2).u8(3);
    glyph.u8(10).u8(20);
    EXPECT_EQ(pathOf(glyph), "1 0 moveto\n"
                             "3 0 lineto\n"
                             "6 0 lineto\n"
                             "6 10 lineto\n"
                             "6 -10 lineto\n"
                             " closepath \n");
}

TEST(Outline, ARepeatThatOvershootsEndsWithThePoints)
{
    FontBytes glyph = glyphHeader(1);
    glyph.u16(1).u16(0);
    glyph.u8(0x01 | 0x02 | 0x10 | 0x20 | 0x08).u8(255);
    glyph.u8(1).u8(2);
    EXPECT_EQ(pathOf(glyph), "1 0 moveto\n3 0 lineto\n closepath \n");
}

TEST(Outline, InstructionsAreSkipped)
{
    FontBytes glyph = glyphHeader(1);
    glyph.u16(0).u16(3).text("\x01\x02\x03");
    glyph.u8(0x01 | 0x02 | 0x04 | 0x10 | 0x20).u8(5).u8(6);
    EXPECT_EQ(pathOf(glyph), "5 6 moveto\n closepath \n");
}

TEST(Outline, CoordinatesWrapAtSixteenBits)
{
    EXPECT_EQ(pathOf({{{32767, -32768, ON}, {32768, -32769, ON}, {65535, -65536, ON}}}),
              "32767 -32768 moveto\n"
              "-32768 32767 lineto\n"
              "-1 0 lineto\n"
              " closepath \n");
}

TEST(Outline, OtherFlagBitsMeanNothing)
{
    FontBytes glyph = glyphHeader(1);
    glyph.u16(0).u16(0).u8(0x01 | 0x40 | 0x80 | 0x10 | 0x20);
    EXPECT_EQ(pathOf(glyph), "0 0 moveto\n closepath \n");
}

/* ---- the frame */

TEST(GlyphProcedure, ASimpleGlyphHasItsBoxAndIsFilled)
{
    FontBuilder font =
        fontOf(simpleGlyph({{{0, 0, ON}, {1, 0, ON}, {0, 1, ON}}}, {-32768, -1, 32767, 2}));
    font.advances = {65535};
    EXPECT_EQ(glyphProcedure(convertFont(font.build()), "g"),
              "/g { % 0 - 0x00\n"
              "65535 0 -32768 -1 32767 2 setcachedevice\n"
              "0 0 moveto\n"
              "1 0 lineto\n"
              "0 1 lineto\n"
              " closepath \n"
              "fill\n"
              " } bind def\n");
}

TEST(GlyphProcedure, AnEmptyGlyphHasNoBoxAndNoFill)
{
    FontBuilder font = fontOf("");
    font.glyphs.push_back(simpleGlyph({{{0, 0, ON}}}, {1, 2, 3, 4})); /* must not be read for it */
    EXPECT_EQ(glyphProcedure(convertFont(font.build()), "g"), "/g { % 0 - 0x00\n"
                                                              "500 0 0 0 0 0 setcachedevice\n"
                                                              " } bind def\n");
}

/* A contour of so many points has as many segments. */
std::string polygon(int points)
{
    GlyphContour contour;
    for (int i = 0; i < points; i++)
        contour.push_back({i, 0, ON});
    return simpleGlyph({contour});
}

TEST(GlyphProcedure, MoreThanAHundredSegmentsGetAComment)
{
    EXPECT_EQ(pathOf(polygon(100)).find("too long"), std::string::npos);
    std::string path = pathOf(polygon(101));
    EXPECT_TRUE(path.ends_with("100 0 lineto\n"
                               " closepath \n"
                               "\n"
                               "%Glyph g is too long, may have to be removed\n"));
    std::string procedure = glyphProcedure(convertFont(fontOf(polygon(101)).build()), "g");
    EXPECT_TRUE(procedure.ends_with("removed\nfill\n } bind def\n"));
}

TEST(GlyphProcedure, SegmentsAreCountedByTheirKind)
{
    /* 1 moveto, then `rest` as many times as it takes to pass from 100 to 101. */
    auto isLong = [](const GlyphContour &contour) {
        return pathOf({contour}).find("too long") != std::string::npos;
    };
    /* One curve over two off-curve points counts once. */
    GlyphContour pairs = {{0, 0, ON}};
    for (int i = 0; i < 99; i++)
        pairs.insert(pairs.end(), {{1, 1, OFF}, {2, 2, OFF}, {3, 3, ON}});
    EXPECT_FALSE(isLong(pairs));
    pairs.push_back({4, 4, ON});
    EXPECT_TRUE(isLong(pairs));
    /* A run of three and more counts each of its points. */
    GlyphContour run(100, {1, 1, OFF});
    EXPECT_FALSE(isLong(run)); /* the first point is the moveto, 99 follow */
    run.push_back({1, 1, OFF});
    EXPECT_TRUE(isLong(run));
    GlyphContour three = {{0, 0, ON}};
    for (int i = 0; i < 33; i++)
        three.insert(three.end(), {{1, 1, OFF}, {2, 2, OFF}, {3, 3, OFF}, {4, 4, ON}});
    EXPECT_FALSE(isLong(three));
    three.insert(three.end(), {{1, 1, OFF}, {2, 2, ON}});
    EXPECT_TRUE(isLong(three));
}

TEST(GlyphProcedure, TheCountStartsAnewWithEachGlyph)
{
    FontBuilder font;
    font.glyphs = {polygon(60), polygon(60), polygon(101), polygon(1)};
    font.names = {"a", "b", "c", "d"};
    FontConversion conversion = convertFont(font.build());
    EXPECT_EQ(conversion.text.find("%Glyph a"), std::string::npos);
    EXPECT_EQ(conversion.text.find("%Glyph b"), std::string::npos);
    EXPECT_NE(conversion.text.find("%Glyph c is too long"), std::string::npos);
    EXPECT_EQ(conversion.text.find("%Glyph d"), std::string::npos);
}

TEST(GlyphProcedure, SeveralContoursCountTogether)
{
    std::vector<GlyphContour> contours(25, {{0, 0, ON}, {1, 0, ON}, {1, 1, ON}, {0, 1, ON}});
    EXPECT_EQ(pathOf(contours).find("too long"), std::string::npos);
    contours.push_back({{0, 0, ON}});
    EXPECT_NE(pathOf(contours).find("too long"), std::string::npos);
}

TEST(GlyphProcedure, TheLowBitsOfLargeCodesArePrinted)
{
    FontBuilder font = fontOf("");
    font.replaced["cmap"] = cmapTable({{3, 1, cmapFormat4({{0xFFFE, 0xFFFE, -0xFFFE}})}});
    EXPECT_TRUE(hasLine(convertFont(font.build()), "/g { % 0 - U+fffe"));
    font.replaced["cmap"] = cmapTable({{3, 0, cmapFormat4({{0xF0FF, 0xF0FF, -0xF0FF}})}});
    EXPECT_TRUE(hasLine(convertFont(font.build()), "/g { % 0 - 0xff"));
    font.replaced["cmap"] = cmapTable({{3, 0, cmapFormat4({{0xF100, 0xF100, -0xF100}})}});
    EXPECT_TRUE(hasLine(convertFont(font.build()), "/g { % 0 - 0xf100"));
}

} // namespace
