/*
 * canonical_content_test.cpp - content of which every reader makes the same
 */
#include <gtest/gtest.h>

#include "prepare/canonical/content.h"
#include "prepare/canonical/scan.h"

namespace {

using namespace prepare;

PlainContent plain(const std::string &content, bool isGlyph = false)
{
    return plainContent(
        content, isGlyph,
        [](const std::string &name) { return "/P" + std::to_string(name.size()); }, 250);
}

/* The content as it is written, with one blank for all white space. */
std::string written(const std::string &content, bool isGlyph = false)
{
    PlainContent made = plain(content, isGlyph);
    std::string text = made.isChanged ? made.text : content;
    std::string line;
    for (char c : text)
        if (c != '\n' && c != ' ')
            line += c;
        else if (!line.empty() && line.back() != ' ')
            line += ' ';
    if (!line.empty() && line.back() == ' ')
        line.pop_back();
    return line;
}

bool stays(const std::string &content, bool isGlyph = false)
{
    PlainContent made = plain(content, isGlyph);
    return !made.isChanged && made.text.empty() && made.dropped == 0;
}

std::string repeated(const std::string &text, size_t times)
{
    std::string all;
    for (size_t i = 0; i < times; i++)
        all += text;
    return all;
}

} // namespace

/* The runtime of jobs keeps a path and the place of text at the current point, as printers do. */
TEST(CanonicalContent, TextWithinAPathAndPathsWithinTextAreNoticed)
{
    for (const char *content :
         {"0 0 m 9 9 l BT (a) Tj ET h f", "0 0 9 9 re BT (a) Tj ET S", "0 0 9 9 re W BT ET n",
          "BT (a) Tj 0 0 9 9 re f (b) Tj ET", "BT 0 0 m 9 9 l (a) Tj ET S"})
        EXPECT_TRUE(plain(content).mixesPaths) << content;
    for (const char *content :
         {"0 0 m BT (a) Tj ET 0 0 9 9 re f", "0 0 9 9 re n BT (a) Tj ET 0 0 9 9 re f",
          "0 0 9 9 re BT (a) Tj ET n", "BT (a) Tj 0 0 9 9 re f 1 0 Td (b) Tj ET",
          "BT (a) Tj ET 0 0 9 9 re f BT (b) Tj ET", "0 0 9 9 re W n BT (a) Tj ET"})
        EXPECT_FALSE(plain(content).mixesPaths) << content;
}

TEST(CanonicalContent, OperatorsWithTheirOperandsStayByteForByte)
{
    for (const char *content :
         {"", " \n", "q Q", "q\r\n1 0 0 1 0 0 cm\tQ", "1. .5 -.5 +3 re", "0 0 m 1 1 l h S n",
          "BT /F1 9 Tf (a(b)\\)\\n\\003) Tj <41 4> Tj [(a)-3<42>]TJ T* (x)' 1 2 (y)\" ET",
          "[]0 d [1 2]0 d", "/A.b_c-D+9 gs", "/DeviceRGB cs 1 0 0 sc .5 scn 1 2 3 4 SCN",
          "/Tag<</MCID 3/A(b)/C/D/E true/F null/G<41>>>BDC EMC /P /M DP /T MP /T BMC EMC", "BX EX",
          "/X Do/Y Do", "(a\\\nb\nc)Tj", "(\x80\xff)Tj", "/Intent ri 1 i 2 M"})
        EXPECT_TRUE(stays(content)) << content << " -> " << written(content);
}

TEST(CanonicalContent, LooseNumbersBecomeThoseThatReadersTake)
{
    EXPECT_EQ(written("--5 w"), "-5 w");
    EXPECT_EQ(written("1-2 w"), "1 w");
    EXPECT_EQ(written("4.5.6 w"), "4.5 w");
    EXPECT_EQ(written("1.5e2 w"), "150 w");
    EXPECT_EQ(written("25E-1 w 1e99 w 1e-99 w"), "2.5 w 1000000000 w 0 w");
    EXPECT_EQ(written("- w . w"), "0 w 0 w");
    EXPECT_EQ(written("q 99999999999 0 m Q"), "q 1000000000 0 m Q");
}

TEST(CanonicalContent, NumbersHaveAtMost32BytesAndAWholePartOf32Bits)
{
    std::string digits = "." + std::string(31, '3');
    EXPECT_TRUE(stays(digits + " w"));
    EXPECT_EQ(written(digits + "3 w"), "0.333333333 w");
    EXPECT_TRUE(stays("2147483647 w -2147483647 w 0000000001 w"));
    EXPECT_EQ(written("2147483648 w 00000000001 w"), "1000000000 w 1 w");
}

TEST(CanonicalContent, NamesArePlainAndShort)
{
    std::string longest(64, 'a');
    EXPECT_TRUE(stays("/" + longest + " gs"));
    EXPECT_EQ(written("/" + longest + "a gs"), "/P66 gs");
    EXPECT_EQ(written("/A#42 gs"), "/AB gs");
    EXPECT_EQ(written("/A#20B gs"), "/P4 gs");
    EXPECT_EQ(written("/A:B 9 Tf"), "/P4 9 Tf");
    EXPECT_EQ(written("/A:B Do"), "/P4 Do");
    EXPECT_EQ(written("/A:B cs"), "/P4 cs");
    EXPECT_EQ(written("/ gs"), "/P1 gs");
    EXPECT_EQ(written("/A:B BMC EMC"), "/Odd BMC EMC");
}

TEST(CanonicalContent, NamesOfResourcesAreReportedAsTheyWere)
{
    PlainContent made = plain("/F1 9 Tf /A#20B Do /G gs /DeviceRGB cs /Tag /M BDC EMC /F#31 9 Tf");
    EXPECT_EQ(made.names[FONT], (std::set<std::string>{"/F1"}));
    EXPECT_EQ(made.names[XOBJECT], (std::set<std::string>{"/A B"}));
    EXPECT_EQ(made.names[EXTGSTATE], (std::set<std::string>{"/G"}));
    EXPECT_EQ(made.names[COLORSPACE], (std::set<std::string>{"/DeviceRGB"}));
    EXPECT_TRUE(made.names[PROPERTIES].empty());
}

TEST(CanonicalContent, StringsHaveKnownEscapes)
{
    EXPECT_EQ(written("(a\\x) Tj"), "(ax) Tj");
    EXPECT_TRUE(stays("(\\1\\07a) Tj"));
    EXPECT_EQ(written("(\\777) Tj"), "(\xff) Tj");
    EXPECT_TRUE(stays("(\\377) Tj"));
    EXPECT_EQ(written("<4x1> Tj"), "(A) Tj");
    EXPECT_EQ(written("(abc"), "");
}

TEST(CanonicalContent, StringsHaveAtMost65535Bytes)
{
    std::string longest(65533, 'a'); /* and parentheses */
    EXPECT_TRUE(stays("(" + longest + ") Tj"));
    EXPECT_EQ(written("(aa" + longest + ") Tj"), "(aa" + longest + ") Tj");
    PlainContent made = plain("(aaa" + longest + ") Tj");
    EXPECT_EQ(made.dropped, 1u);
    EXPECT_TRUE(made.lostPaint);
}

/* They lie on the interpreter's operand stack, which at Level 2 has room for 500. */
TEST(CanonicalContent, ArraysHaveAtMost400ItemsAndThoseOfTextAreDivided)
{
    const std::string most = "1" + repeated(" 1", 399);
    EXPECT_TRUE(stays("[" + most + "] TJ"));
    EXPECT_EQ(written("[" + most + " (a)] TJ"), "[" + most + "] TJ [(a)] TJ");
    EXPECT_EQ(written("[" + repeated("1 ", 800) + "(a) 2] TJ"),
              "[" + most + "] TJ [" + most + "] TJ [(a) 2] TJ");
    EXPECT_EQ(plain("[" + repeated("1 ", 100000) + "] TJ").dropped, 0u);
    EXPECT_TRUE(stays("[" + most + "] 0 d"));
    EXPECT_EQ(plain("[" + most + " 1] 0 d").dropped, 1u);
}

TEST(CanonicalContent, FaultyOperationsAreLeftOutAndCounted)
{
    struct Case {
        const char *content, *written;
        size_t dropped;
        bool lostPaint;
    };
    for (const Case &one : std::initializer_list<Case>{
             {"1 2 m 3 l S", "1 2 m S", 1, false},
             {"q foo Q", "q Q", 1, false},
             {"1 2 3 4 5 6 7 8 l", "7 8 l", 0, false},
             {"/F /G Tf", "", 1, false},
             {"/F Tj", "", 1, true},
             {"3 Do", "", 1, true},
             {"(a) TJ", "", 1, true},
             {"[(a)] 0 d", "", 1, false},
             {"sc 1 2 3 4 5 sc", "", 2, false},
             {"1 0 0 1 0 0", "", 1, false},
             {"true w", "", 1, false},
             {"{ 1 } w } w", "1 w", 1, false},
             {"1 ) w", "1 w", 0, false},
         }) {
        PlainContent made = plain(one.content);
        EXPECT_EQ(written(one.content), one.written);
        EXPECT_EQ(made.dropped, one.dropped) << one.content;
        EXPECT_EQ(made.lostPaint, one.lostPaint) << one.content;
    }
}

TEST(CanonicalContent, UnknownOperatorsBetweenMarksOfCompatibilityAreNotCounted)
{
    PlainContent made = plain("BX 1 foo EX 2 foo");
    EXPECT_EQ(made.dropped, 1u);
    EXPECT_EQ(written("BX 1 foo EX 2 foo"), "BX EX");
}

TEST(CanonicalContent, CommentsAndInlineImagesAreNotInIt)
{
    EXPECT_EQ(written("q % a ( comment\nQ"), "q Q");
    EXPECT_EQ(written("q BI /W 1 /H 1 /BPC 8 /CS /G ID x EI Q"), "q Q");
    EXPECT_TRUE(plain("BI /W 1 ID x EI").lostPaint);
    EXPECT_EQ(written("(a%b) Tj % c"), "(a%b) Tj");
}

TEST(CanonicalContent, OperatorsOfPatternsAreNotInIt)
{
    PlainContent made = plain("/Pattern cs /P scn /S sh 1 /P SCN 0 g");
    EXPECT_EQ(made.dropped, 0u);
    EXPECT_EQ(written("/Pattern cs /P scn /S sh 1 /P SCN 0 g"), "0 g");
    EXPECT_EQ(written("/Pa#74tern CS"), "");
}

TEST(CanonicalContent, StatesAndTextAreBalanced)
{
    EXPECT_EQ(written("Q q q 0 g"), "q q 0 g Q Q");
    EXPECT_EQ(written("BT BT ET ET"), "BT ET BT ET");
    EXPECT_EQ(written("ET BT"), "BT ET");
    EXPECT_TRUE(stays("q BT Q ET"));
    EXPECT_EQ(plain("Q ET").dropped, 0u);
    EXPECT_TRUE(stays(repeated("q ", 500) + repeated("Q ", 500)));
    EXPECT_EQ(written(repeated("q ", 502) + "0 g " + repeated("Q ", 502)),
              repeated("q ", 500) + "0 g " + repeated("Q ", 499) + "Q");
}

TEST(CanonicalContent, DictionariesOfMarksAreFlat)
{
    EXPECT_TRUE(stays("/T << /A [1/B(c)true] >> BDC EMC"));
    EXPECT_EQ(written("/T << /A [1 --2 /B] >> BDC EMC"), "/T << /A [ 1 -2 /B ] >> BDC EMC");
    EXPECT_EQ(written("/T << /A [[1]] >> BDC EMC"), "/T BMC EMC");
    for (size_t count : {50u, 51u}) {
        std::string array = "/T << /A [" + repeated("1 ", count) + "] >> BDC EMC";
        EXPECT_EQ(stays(array), count == 50) << written(array);
        std::string keys = "/T << " + repeated("/A 1 ", count) + ">> BDC EMC";
        EXPECT_EQ(stays(keys), count == 50) << written(keys);
    }
    EXPECT_EQ(written("/T << /A << /B 1 >> >> DP"), "/T MP");
    EXPECT_EQ(written("/T << /A#20B 1 >> BDC EMC"), "/T BMC EMC");
    EXPECT_EQ(written("/T << /A --1 /B (\\q) >> BDC EMC"), "/T << /A -1 /B (q) >> BDC EMC");
    EXPECT_EQ(written("/T << /A >> BDC EMC"), "/T BMC EMC");
    EXPECT_EQ(written("/T /A:B BDC EMC"), "/T BMC EMC");
}

TEST(CanonicalContent, WidthsOfGlyphsStandInGlyphsAlone)
{
    EXPECT_TRUE(stays("500 0 d0 0 0 m", true));
    EXPECT_TRUE(stays("500 0 0 0 9 9 d1", true));
    EXPECT_EQ(written("500 0 d0 0 0 m"), "0 0 m");
    EXPECT_EQ(written("q 500 0 d0 0 0 m Q", true), "500 0 d0 q 0 0 m Q");
    EXPECT_EQ(written("0 0 m", true), "250 0 d0 0 0 m");
    EXPECT_EQ(written("", true), "250 0 d0");
    EXPECT_EQ(written("1 0 d0 2 0 d0 0 0 m", true), "1 0 d0 0 0 m");
}

TEST(CanonicalContent, WhatIsWrittenIsCanonical)
{
    for (const char *content :
         {"--5 w", "q(a\\x)Tj[(a)1-2]TJ", "Q q BT", "/A#20 gs/T<</A[[1]]>>BDC", "%\nq", "1 2 3 m(",
          "BT/F 1 Tf BT", "<<>>[[1]2]0 d", "1e5 1e5 l", "\x01\x02q", "(a)(b)(c)Tj\xffQ"}) {
        PlainContent once = plain(content);
        ASSERT_TRUE(once.isChanged) << content;
        PlainContent twice = plain(once.text);
        EXPECT_FALSE(twice.isChanged) << content << " -> " << once.text << " -> " << twice.text;
    }
}
