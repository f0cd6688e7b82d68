/*
 * paths_test.cpp - path construction, painting, clipping, the graphics state
 */
#include <gtest/gtest.h>

#include "tests/postscript/page_set.h"

namespace {

/* A star whose middle is outside by the even-odd rule. */
const std::string STAR = "100 180 m 150 30 l 20 120 l 180 120 l 50 30 l ";

TEST(Paths, EveryConstructionOperator)
{
    PageSet set;
    set.add("m l S", "4 w 20 20 m 180 60 l 60 180 l S");
    set.add("c", "4 w 20 20 m 20 180 180 180 180 20 c S");
    set.add("v: the current point is the first control point", "4 w 20 20 m 180 180 180 20 v S");
    set.add("y: the last point is the second control point", "4 w 20 20 m 20 180 180 100 y S");
    set.add("h joins the ends", "10 w 40 40 m 160 40 l 100 160 l h S");
    set.add("re", "6 w 40 60 120 80 re S");
    set.add("re with negative sizes", "6 w 160 140 -120 -80 re S");
    set.add("re that is a line", "6 w 40 60 120 0 re S 40 80 0 80 re S");
    set.add("re leaves its corner as the current point", "4 w 40 40 60 60 re 180 180 l S");
    set.add("n paints nothing and ends the path", "20 20 100 100 re n 4 w 100 100 m 180 180 l S");
    set.expectRight();
}

TEST(Paths, EveryPaintingOperator)
{
    PageSet set;
    const std::string colours = "0.9 0.2 0.1 rg 0 0 0.6 RG 6 w ";
    for (const char *name : {"S", "s", "f", "F", "f*", "B", "B*", "b", "b*"})
        set.add(name, colours + STAR + name);
    set.expectRight();
}

TEST(Paths, ClippingTakesEffectBehindThePaintingOperator)
{
    PageSet set;
    set.dpi = 216;
    const std::string fill = " 0.2 0.6 0.2 rg 0 0 200 200 re f";
    set.add("W n", STAR + "h W n" + fill);
    set.add("W* n", "20 20 160 160 re 60 60 80 80 re W* n" + fill);
    set.add("W f: the path itself is not clipped", "1 0 0 rg 60 60 80 80 re W f" + fill);
    set.add("W S", "20 w 60 60 80 80 re W S" + fill);
    set.add("W* B", "20 w 1 0 0 rg " + STAR + "h W* B" + fill);
    set.add("two clips meet", "20 20 120 120 re W n 60 60 120 120 re W n" + fill);
    set.add("Q ends a clip", "q 20 20 60 60 re W n Q 60 60 80 80 re f");
    set.expectRight();
}

TEST(GraphicsState, LineParameters)
{
    PageSet set;
    const std::string corner = " 30 40 m 100 160 l 170 40 l S";
    set.add("w", "15 w" + corner);
    set.add("w 0 is the thinnest line", "0 w 20 20 160 160 re S 3 w 60 60 80 80 re S");
    for (const char *cap : {"0", "1", "2"})
        set.add(std::string("J ") + cap, "24 w " + std::string(cap) + " J" + corner);
    for (const char *join : {"0", "1", "2"})
        set.add(std::string("j ") + join, "24 w " + std::string(join) + " j" + corner);
    set.add("M cuts long miters", "16 w 2 M 40 40 m 60 170 l 80 40 l S 10 M 120 40 m 140 130 l "
                                  "160 40 l S");
    set.add("d", "8 w [30 10] 0 d 20 60 m 180 60 l S [20] 10 d 20 120 m 180 120 l S");
    set.add("d with an empty array is solid", "8 w [5] 0 d [] 0 d 20 60 m 180 60 l S");
    set.addLike("d of zeros is solid", "8 w [0 0] 0 d 20 60 m 180 60 l S", "",
                "8 w 20 60 m 180 60 l S");
    set.addLike("d with a negative phase", "8 w [30 10] -50 d 20 60 m 180 60 l S", "",
                "8 w [30 10] 30 d 20 60 m 180 60 l S");
    set.add("i and ri change nothing here", "1 i /Perceptual ri 6 w 20 20 m 20 180 180 180 180 "
                                            "20 c S");
    set.expectRight();
}

TEST(GraphicsState, SaveRestoreAndMatrices)
{
    PageSet set;
    set.add("cm multiplies", "0.5 0 0 0.5 20 20 cm 1 0 0.5 1 0 0 cm 0 0 100 200 re f");
    set.add("q Q", "1 0 0 rg q 0 0 1 rg 8 w 0.5 0 0 0.5 0 0 cm 40 40 100 100 re B Q "
                   "100 100 60 60 re f 20 180 m 180 180 l S");
    set.add("q Q nested deep", []() {
        std::string content;
        for (int i = 0; i < 25; i++)
            content += "q 0.97 0 0 0.97 2 2 cm ";
        content += "0 0 200 200 re f ";
        for (int i = 0; i < 25; i++)
            content += "Q ";
        return content + "3 w 5 5 190 190 re S";
    }());
    set.add("every parameter comes back",
            "q 12 w 1 J 1 j [20 10] 0 d 0.5 g 0.7 G Q 4 w 20 20 160 60 re S 20 120 160 60 re f");
    set.expectRight();
}

TEST(GraphicsState, StateMayReachFromOneContentStreamToTheNext)
{
    PdfBuilder pdf;
    int first = pdf.addStream("", "q 0.5 0 0 0.5 0 0 cm 1 0 0 rg");
    int second = pdf.addStream("", "40 40 100 100 re f Q 120 120 60 60 re f");
    PageSet set;
    set.pdf = pdf;
    set.add("whole page", "", "/Contents [" + ref(first) + " " + ref(second) + "]");
    set.expectRight();
}

} // namespace
