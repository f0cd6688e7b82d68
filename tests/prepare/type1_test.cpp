/*
 * type1_test.cpp - Type 1 programs as data
 */
#include <gtest/gtest.h>

#include "prepare/fonts/compact.h"
#include "prepare/fonts/type1.h"
#include "tests/prepare/fonts.h"

using namespace prepare;

namespace {

std::string encrypted(const std::string &plain, unsigned key, const std::string &random)
{
    std::string cipher;
    for (char c : random + plain) {
        auto byte = (unsigned char)((unsigned char)c ^ key >> 8);
        cipher.push_back((char)byte);
        key = ((byte + key) * 52845u + 22719u) & 0xFFFF;
    }
    return cipher;
}

/* Numbers from -107 to 1131, and operators from 2000 on. */
std::string charstring(const std::vector<int> &numbersAndOperators)
{
    std::string code;
    for (int item : numbersAndOperators) {
        if (item >= 3200)
            code.push_back(12);
        if (item >= 2000) { /* 2000 + operator; 3200 + escaped one */
            code.push_back((char)(item >= 3200 ? item - 3200 : item - 2000));
        } else if (item > 107) {
            code.push_back((char)((item - 108) / 256 + 247));
            code.push_back((char)((item - 108) % 256));
        } else {
            code.push_back((char)(item + 139));
        }
    }
    return encrypted(code, 4330, "rand");
}

enum Operator {
    RLINETO = 2005,
    CLOSEPATH = 2009,
    CALLSUBR = 2010,
    RETURN = 2011,
    HSBW = 2013,
    ENDCHAR = 2014,
    RMOVETO = 2021,
    HSTEM = 2001,
    VSTEM = 2003,
    SEAC = 3206,
    DIV = 3212,
    CALLOTHER = 3216,
    POP = 3217,
    SETPOINT = 3233,
};

std::string entry(const std::string &head, const std::string &bytes, const std::string &tail)
{
    return head + " " + std::to_string(bytes.size()) + " RD " + bytes + tail + "\n";
}

struct Program {
    std::string subrs, glyphs, privateEntries;
    std::string clear = "/FontName /T def /FontMatrix [0.001 0 0 0.001 0 0] readonly def\n"
                        "/Encoding 256 array 0 1 255 {1 index exch /.notdef put} for\n"
                        "dup 65 /A put dup 8#102 /B put readonly def\n";

    std::string text() const
    {
        std::string priv = "dup /Private 8 dict dup begin /RD {string currentfile exch readstring "
                           "pop} executeonly def /ND {def} def /NP {put} def\n" +
                           privateEntries + "/Subrs 9 array\n" + subrs +
                           "ND 2 index /CharStrings 9 dict dup begin\n" + glyphs + "end end ";
        return "%!PS-AdobeFont-1.0: T\n" + clear + "currentfile eexec\n" +
               encrypted(priv, 55665, "\1\2\3\4") + "\n0000000000\ncleartomark\n";
    }
};

const std::vector<int> BOX = {10, 100, HSBW,    5,   20, RMOVETO, 50,        0,      RLINETO,
                              0,  40,  RLINETO, -50, 0,  RLINETO, CLOSEPATH, ENDCHAR};

/* "M x y", "L x y" and "C ..." for each segment. */
std::string drawn(const Outline &outline)
{
    std::string text;
    for (const Segment &s : outline.path) {
        text += "MLC"[s.kind];
        for (int i = 0; i < (s.kind == Segment::CURVE ? 3 : 1); i++)
            text += " " + std::to_string(s.x[i]) + "," + std::to_string(s.y[i]);
        text += " ";
    }
    return text;
}

std::string drawnGlyph(const std::string &text, const std::string &name)
{
    auto program = readType1(text);
    Outline outline;
    double advance;
    if (!program || !type1Outline(*program, name, &outline, &advance))
        return "failed";
    return drawn(outline) + std::to_string((int)advance);
}

} // namespace

TEST(Type1, EncodingMatrixAndOutline)
{
    Program p;
    p.glyphs = entry("/A", charstring(BOX), " ND");
    auto program = readType1(p.text());
    ASSERT_TRUE(program);
    EXPECT_EQ(program->encoding[65], "A");
    EXPECT_EQ(program->encoding[66], "B");
    EXPECT_EQ(program->matrix[0], 0.001);
    EXPECT_EQ(drawnGlyph(p.text(), "A"), "M 15,20 L 65,20 L 65,60 L 15,60 100");
    EXPECT_EQ(drawnGlyph(p.text(), "B"), "failed");
}

TEST(Type1, SubroutinesDivisionAndHints)
{
    Program p;
    p.subrs = entry("dup 4", charstring({20, 10, HSTEM, RETURN}), " NP");
    p.glyphs = entry("/A", charstring({0,   100,      HSBW,    0, 10,      HSTEM,     30,
                                       8,   VSTEM,    100,     2, DIV,     0,         RMOVETO,
                                       10,  10,       RLINETO, 4, 1,       3,         CALLOTHER,
                                       POP, CALLSUBR, 5,       5, RLINETO, CLOSEPATH, ENDCHAR}),
                     " ND");
    auto program = readType1(p.text());
    ASSERT_TRUE(program);
    Outline outline;
    double advance;
    ASSERT_TRUE(type1Outline(*program, "A", &outline, &advance));
    EXPECT_EQ(drawn(outline), "M 50,0 L 60,10 L 65,15 ");
    ASSERT_EQ(outline.stems.size(), 3u);
    EXPECT_EQ(outline.stems[2], (Stem{false, 20, 10}));
    ASSERT_EQ(outline.changes.size(), 2u);
    EXPECT_EQ(outline.changes[1].at, 2u);
    EXPECT_EQ(outline.changes[1].stems, std::vector<size_t>{2});
}

TEST(Type1, FlexBecomesTwoCurves)
{
    Program p;
    std::vector<int> code = {0, 100, HSBW, 0, 0, RMOVETO, 1, 1, RLINETO, 0, 1, CALLOTHER};
    auto point = [&](int dx, int dy) {
        for (int item : {dx, dy, (int)RMOVETO, 0, 2, (int)CALLOTHER})
            code.push_back(item);
    };
    point(30, 0);
    point(-20, 0);
    point(10, 5);
    point(10, 0);
    point(10, 0);
    point(10, -5);
    point(10, 0);
    for (int item : {50, 61, 1, 3, 0, (int)CALLOTHER, (int)POP, (int)POP, (int)SETPOINT,
                     (int)CLOSEPATH, (int)ENDCHAR})
        code.push_back(item);
    p.glyphs = entry("/A", charstring(code), " ND");
    EXPECT_EQ(drawnGlyph(p.text(), "A"), "M 0,0 L 1,1 C 11,1 21,6 31,6 C 41,6 51,1 61,1 100");
}

TEST(Type1, AccentedLetterIsBothOutlines)
{
    Program p;
    p.glyphs = entry("/A", charstring(BOX), " ND") + entry("/acute", charstring(BOX), " ND") +
               entry("/Aacute", charstring({10, 100, HSBW, 10, 30, 50, 65, 194, SEAC}), " ND");
    EXPECT_EQ(drawnGlyph(p.text(), "Aacute"),
              "M 15,20 L 65,20 L 65,60 L 15,60 M 45,70 L 95,70 L 95,110 L 45,110 100");
}

TEST(Type1, CallsInACircleEnd)
{
    Program p;
    p.subrs = entry("dup 0", charstring({0, CALLSUBR, RETURN}), " NP");
    p.glyphs = entry("/A", charstring({0, 100, HSBW, 0, CALLSUBR, ENDCHAR}), " ND");
    EXPECT_EQ(drawnGlyph(p.text(), "A"), "failed");
}

TEST(Type1, CountsBeyondTheDataTakeNothing)
{
    Program p;
    p.glyphs = "/A 99999 RD x ND\n";
    EXPECT_FALSE(readType1(p.text()));
}

TEST(Type1, HintValuesOfTheFont)
{
    Program p;
    p.privateEntries = "/BlueValues [-15 0 600 610] def /StdHW [33] def /BlueScale 0.04 def "
                       "/OtherBlues [5 1] def\n";
    p.glyphs = entry("/A", charstring(BOX), " ND");
    auto program = readType1(p.text());
    ASSERT_TRUE(program);
    using Values = std::vector<std::pair<int, std::vector<double>>>;
    EXPECT_EQ(program->privateValues, (Values{{6, {-15, 15, 600, 10}}, {10, {33}}, {1209, {0.04}}}))
        << "an array that falls is left out";
}

TEST(Type1, MultipleMastersAreLeftToOthers)
{
    Program p;
    p.clear += "/WeightVector [0.5 0.5] def\n";
    p.glyphs = entry("/A", charstring(BOX), " ND");
    EXPECT_FALSE(readType1(p.text()));
}

TEST(Type1, EveryGlyphOfARealProgramIsAsFreeTypeHasIt)
{
    std::string data = type1File();
    auto program = readType1(data);
    ASSERT_TRUE(program);
    FontLibrary library = openFontLibrary();
    FontProgram opened = openProgram(library, data);
    ASSERT_TRUE(opened.face);
    size_t points = 0;
    for (const auto &[name, code] : program->charstrings) {
        Outline ours, theirs;
        double advance, reference;
        ASSERT_TRUE(type1Outline(*program, name, &ours, &advance)) << name;
        unsigned glyph = FT_Get_Name_Index(opened.face.get(), name.c_str());
        ASSERT_TRUE(readOutline(opened.face.get(), glyph, 1, &theirs, &reference)) << name;
        EXPECT_EQ(advance, reference) << name;
        int box[4] = {0, 0, 0, 0}, wanted[4] = {0, 0, 0, 0};
        growBox(ours, box);
        growBox(theirs, wanted);
        for (int i = 0; i < 4; i++)
            EXPECT_NEAR(box[i], wanted[i], 1) << name;
        points += ours.path.size();
    }
    EXPECT_GT(points, 5000u);
}
