/*
 * text_test.cpp - the text operators, with fonts that every interpreter has
 */
#include <gtest/gtest.h>

#include "tests/postscript/page_set.h"

namespace {

const std::string FONTS =
    "/Resources << /Font << /F1 << /Type /Font /Subtype /Type1 /BaseFont /Helvetica >> "
    "/F2 << /Type /Font /Subtype /Type1 /BaseFont /Times-Bold >> "
    "/F3 << /Type /Font /Subtype /Type1 /BaseFont /Courier >> >> >>";

TEST(Text, PositioningOperators)
{
    PageSet set;
    auto add = [&set](const std::string &name, const std::string &content) {
        set.add(name, "BT /F1 24 Tf " + content + " ET", FONTS);
    };
    add("Td", "20 150 Td (First) Tj 30 -60 Td (Second) Tj -20 -40 Td (Third) Tj");
    add("TD sets the leading", "20 150 Td (One) Tj 10 -30 TD (Two) Tj T* (Three) Tj T* (Four) Tj");
    add("TL T*", "20 160 Td 28 TL (One) Tj T* (Two) Tj T* (Three) Tj");
    add("Tm", "1 0 0 1 20 150 Tm (Plain) Tj 0.8 0.6 -0.6 0.8 40 20 Tm (Turned) Tj");
    add("Tm with the size in it", "/F2 1 Tf 30 0 0 30 20 130 Tm (Wide) Tj 18 0 6 40 20 40 Tm "
                                  "(Slanted) Tj");
    add("Td is in the scale of Tm", "2 0 0 2 20 120 Tm (Two) Tj 10 -30 Td (Down) Tj");
    add("Tm mirrors", "-1 0 0 1 180 150 Tm (Mirror) Tj 1 0 0 -1 20 60 Tm (Flipped) Tj");
    add("'", "24 TL 20 160 Td (One) Tj (Two) ' (Three) '");
    add("\"", "24 TL 20 160 Td (One two) Tj 10 2 (Three four) \" (Five six) '");
    add("TJ moves back by thousandths",
        "20 150 Td [(A) 120 (W) 120 (A) 95 (Y)] TJ 0 -40 Td [(a) -500 (b) -1000 (c)] TJ "
        "0 -40 Td [-2000 (right)] TJ");
    add("text goes on where it ended", "20 100 Td (One) Tj (Two) Tj [(Three)] TJ");
    add("BT begins at the origin again", "20 150 Td (One) Tj ET BT /F1 24 Tf 60 60 Td (Two) Tj");
    set.expectRight();
}

TEST(Text, StateOperators)
{
    PageSet set;
    auto add = [&set](const std::string &name, const std::string &content) {
        set.add(name, "BT /F1 22 Tf 20 150 Td " + content + " ET", FONTS);
    };
    add("Tc", "4 Tc (Spread) Tj 0 -50 Td -2 Tc (Narrow) Tj");
    add("Tw", "20 Tw (a b c) Tj 0 -50 Td -4 Tw (a b c d e) Tj");
    add("Tc and Tw together", "3 Tc 15 Tw (a b cd) Tj 0 -50 Td [(e f) -300 (g h)] TJ");
    add("Tz", "50 Tz (Narrow letters) Tj 0 -50 Td 150 Tz (Wide) Tj");
    add("Tz reaches Tc, Tw and TJ", "60 Tz 5 Tc 20 Tw (a b) Tj 0 -50 Td [(c) -2000 (d)] TJ");
    add("Ts", "(x) Tj 10 Ts (2) Tj -10 Ts (i) Tj 0 Ts (y) Tj");
    add("Ts in a turned text", "0.7 0.7 -0.7 0.7 60 40 Tm (x) Tj 10 Ts (2) Tj 0 Ts (y) Tj");
    add("Tf changes font and size", "(one) Tj /F2 40 Tf (two) Tj /F3 12 Tf (three) Tj");
    add("a negative size", "/F1 -30 Tf 80 -40 Td (Turned) Tj");
    add("the state survives ET", "5 Tc (One) Tj ET BT 20 80 Td (Two) Tj");
    add("q and Q between text objects",
        "(One) Tj ET q BT /F2 40 Tf 20 90 Td (Two) Tj ET Q BT 20 40 Td (Three) Tj");
    add("colours of text",
        "1 0 0 rg (Red) Tj 0 -50 Td 0 0 1 rg (Blue) Tj 0 -50 Td 0.5 g (Gray) Tj");
    set.add("strings in hexadecimal and with escapes",
            "BT /F1 24 Tf 20 150 Td <48656C6C6F> Tj 0 -40 Td (\\050par\\051 \\(en\\)) Tj 0 -40 Td "
            "(two\\\nlines) Tj ET",
            FONTS);
    add("a size of zero shows nothing", "(Seen) Tj /F1 0 Tf (unseen) Tj /F1 22 Tf (too) Tj");
    set.expectRight();
}

TEST(Text, AllRenderModes)
{
    PageSet set;
    set.dpi = 216;
    for (int mode = 0; mode < 8; mode++) {
        std::string m = std::to_string(mode);
        set.add("Tr " + m,
                "1 0.6 0 rg 0 0 0.7 RG 2 w q BT /F2 70 Tf " + m +
                    " Tr 10 110 Td (Abg) Tj 2 Tc 0 -80 Td [(O) 100 (il)] TJ ET "
                    "0 0.6 0 rg 0 90 200 40 re f Q 170 5 25 25 re f",
                FONTS);
    }
    set.add("invisible text moves on",
            "BT /F1 30 Tf 20 100 Td 5 Tc 10 Tw 3 Tr (a b) Tj 0 Tr (c) Tj "
            "ET",
            FONTS);
    set.add("a clip of several strings",
            "BT /F2 120 Tf 7 Tr 20 100 Td (I) Tj 80 -70 Td (L) Tj ET 1 0 0 rg 0 0 200 200 re f",
            FONTS);
    set.expectRight();
}

/* The path is no part of the text object; what waits for a painting operator still waits. */
TEST(Text, APathSurvivesTheTextThatComesBeforeItsPainting)
{
    PageSet set;
    set.hasJob = false; /* prepared, such pages are pictures: another renderer's */
    set.dpi = 216;
    const std::string text = " BT /F1 24 Tf 20 150 Td (Text) Tj 0 -30 Td [(wo) 20 (rd)] TJ ET ";
    set.add("closed behind the text", "8 w 20 20 m 180 20 l 100 90 l" + text + "s", FONTS);
    set.add("continued behind the text", "8 w 20 20 m 100 90 l" + text + "180 20 l S", FONTS);
    set.add("a curve", "20 20 m 20 100 180 100 180 20 c" + text + "f", FONTS);
    set.add("a clip that waits", "20 20 160 80 re W" + text + "n 0 0 200 60 re f", FONTS);
    set.add("begun and painted inside of BT and ET",
            "8 w BT /F1 24 Tf 20 20 m 180 20 l 100 90 l 20 150 Td (Text) Tj s (more) Tj ET", FONTS);
    set.add("begun inside of BT and ET",
            "8 w BT /F1 24 Tf 20 20 m 180 20 l 100 90 l 20 150 Td (Text) Tj ET s", FONTS);
    set.add("text outlines", "20 20 160 60 re 1 Tr" + text + "f", FONTS);
    set.add("text that is clipped with",
            "20 20 160 40 re 7 Tr BT /F2 90 Tf 10 80 Td (Te) Tj (xt) Tj ET f "
            "1 0 0 rg 0 0 200 200 re f",
            FONTS);
    set.add("text of size zero", "20 20 160 60 re BT /F1 0 Tf 20 150 Td (Text) Tj ET f", FONTS);
    set.expectRight();
}

TEST(Text, AMissingFontResourceIsReplaced)
{
    PageSet set;
    set.faultless = false;
    set.addLike("no such font", "BT /Nowhere 30 Tf 20 100 Td (Text) Tj ET", FONTS,
                "BT /F1 30 Tf 20 100 Td (Text) Tj ET", FONTS);
    set.expectRight();
}

} // namespace
