/*
 * colour_test.cpp - colour spaces, functions and graphics states that the converter does not know
 */
#include <gtest/gtest.h>

#include "tests/prepare/preparation.h"
#include "tests/support/pdf_builder.h"

namespace {

struct Coloured {
    PdfBuilder pdf;

    std::string calculator(const std::string &program, int inputs, int outputs)
    {
        std::string domain, range;
        for (int i = 0; i < inputs; i++)
            domain += " 0 1";
        for (int i = 0; i < outputs; i++)
            range += " 0 1";
        return ref(pdf.addStream("/FunctionType 4 /Domain [" + domain + "] /Range [" + range + "]",
                                 program));
    }

    /* A space of two inks over DeviceRGB: red is what the first leaves, green what the second. */
    std::string twoInks()
    {
        return "[/DeviceN [/One /Two] /DeviceRGB " +
               calculator("{ 1 exch sub exch 1 exch sub exch 1 }", 2, 3) + "]";
    }

    std::string build(const std::string &content, const std::string &resources)
    {
        int stream = pdf.addStream("", content);
        pdf.addPage("/MediaBox [0 0 200 200] /Contents " + ref(stream) + " /Resources << " +
                    resources + " >>");
        return pdf.build();
    }
};

std::string spaces(const std::string &space)
{
    return "/ColorSpace << /CS " + space + " >>";
}

} // namespace

TEST(Colours, OfSeveralInksBecomeThoseOfTheAlternate)
{
    Coloured page;
    std::string pdf =
        page.build("/CS cs 0.2 0.9 scn 10 10 80 180 re f /CS CS 1 0 SCN 20 w 150 10 m "
                   "150 190 l S",
                   spaces(page.twoInks()));
    std::string clear = inClear(expectAlike(pdf));
    EXPECT_TRUE(holds(clear, "0.8 0.1 1 rg"));
    EXPECT_TRUE(holds(clear, "0 1 1 RG"));
    EXPECT_FALSE(holds(clear, "/DeviceN"));
}

TEST(Colours, SelectingASpaceSelectsItsInitialColour)
{
    Coloured page;
    /* All inks at 1. */
    expectPrintedAs(page.build("/CS cs 10 10 80 180 re f", spaces(page.twoInks())),
                    onePagePdf("0 0 1 rg 10 10 80 180 re f"));
}

TEST(Colours, OneInkIsASeparation)
{
    Coloured page;
    std::string space =
        "[/DeviceN [/One] /DeviceRGB " + page.calculator("{ dup 1 exch sub exch 0 }", 1, 3) + "]";
    std::string clear =
        inClear(expectAlike(page.build("/CS cs 0.25 scn 10 10 80 180 re f", spaces(space))));
    EXPECT_TRUE(holds(clear, "/Separation"));
    EXPECT_TRUE(holds(clear, "/FunctionType 0"));
    EXPECT_FALSE(holds(clear, "/FunctionType 4"));
}

TEST(Colours, OfNoInkLeaveNoMark)
{
    Coloured page;
    std::string none = "[/Separation /None /DeviceGray << /FunctionType 2 /Domain [0 1] /C0 [1] "
                       "/C1 [0] /N 1 >>]";
    std::string content = "0 0 1 rg 0 0 100 200 re f /CS cs 1 scn 50 20 100 40 re f "
                          "/CS CS 1 SCN 9 w 50 100 100 40 re S 0 0.6 0 RG 50 160 60 20 re B "
                          "BT /F1 40 Tf 20 60 Td (none) Tj ET 1 0 0 rg 150 5 40 20 re f";
    expectPrintedAs(page.build(content, spaces(none) +
                                            " /Font << /F1 << /Type /Font /Subtype /Type1 "
                                            "/BaseFont /Helvetica >> >>"),
                    onePagePdf("0 0 1 rg 0 0 100 200 re f 9 w 0 0.6 0 RG 50 160 60 20 re S "
                               "1 0 0 rg 150 5 40 20 re f"));
}

TEST(Colours, OfAllInksAreThoseOfTheAlternate)
{
    Coloured page;
    std::string all =
        "[/Separation /All /DeviceCMYK << /FunctionType 2 /Domain [0 1] /C0 [0 0 0 0] "
        "/C1 [0 0 0 1] /N 1 >>]";
    expectPrintedAs(page.build("/CS cs 0.5 scn 10 10 80 180 re f", spaces(all)),
                    onePagePdf("0.5 g 10 10 80 180 re f"));
}

TEST(Colours, FunctionsOfSeparationsOfEveryKind)
{
    for (const char *function :
         {"<< /FunctionType 2 /Domain [0 1] /C0 [1 1 1] /C1 [0.9 0.1 0.3] /N 1.5 >>",
          "<< /FunctionType 3 /Domain [0 1] /Bounds [0.5] /Encode [0 1 1 0] /Functions [<< "
          "/FunctionType 2 /Domain [0 1] /C0 [1 1 1] /C1 [1 0 0] /N 1 >> << /FunctionType 2 "
          "/Domain "
          "[0 1] /C0 [0 0 1] /C1 [1 0 0] /N 1 >>] >>"}) {
        SCOPED_TRACE(function);
        Coloured page;
        expectAlike(
            page.build("/CS cs 0.2 scn 10 10 50 180 re f 0.5 scn 70 10 50 180 re f "
                       "1 scn 130 10 50 180 re f",
                       spaces("[/Separation /Spot /DeviceRGB " + std::string(function) + "]")));
    }
    Coloured page;
    std::string spot =
        "[/Separation /Spot /DeviceRGB " +
        page.calculator("{ dup dup mul 1 exch sub exch 0.3 mul 1 exch sub 0.5 }", 1, 3) + "]";
    expectAlike(
        page.build("/CS cs 0.2 scn 10 10 50 180 re f 1 scn 70 10 50 180 re f", spaces(spot)));
    /* Samples decoded into another range for each output. */
    Coloured decoded;
    std::string samples = ref(decoded.pdf.addStream(
        "/FunctionType 0 /Domain [0 1] /Range [0 1 0 0.5 0 1] /Size [2] /BitsPerSample 8 /Decode "
        "[1 0 0 0.5 0 1]",
        std::string("\0\0\0\xFF\xFF\x80", 6)));
    expectAlike(decoded.build("/CS cs 0.2 scn 10 10 50 180 re f 1 scn 70 10 50 180 re f",
                              spaces("[/Separation /Spot /DeviceRGB " + samples + "]")));
}

TEST(Colours, ImagesOfSeveralInksBecomeThoseOfTheAlternate)
{
    Coloured page;
    std::string space = page.twoInks();
    std::string image = ref(page.pdf.addStream(
        "/Type /XObject /Subtype /Image /Width 2 /Height 2 /BitsPerComponent 8 /ColorSpace " +
            space + " /Decode [0 1 1 0]",
        std::string("\0\0\xFF\0\0\xFF\x80\x80", 8)));
    std::string clear = inClear(expectAlike(
        page.build("q 80 0 0 80 10 110 cm /Im Do Q q 80 0 0 80 110 10 cm BI /W 2 /H 1 /BPC 4 /CS "
                   "/CS ID \xF0\x0F EI Q",
                   spaces(space) + " /XObject << /Im " + image + " >>")));
    EXPECT_FALSE(holds(clear, "/DeviceN"));
    EXPECT_FALSE(holds(clear, "/Decode ["));
}

TEST(Colours, TablesOfSeveralInksBecomeThoseOfTheAlternate)
{
    Coloured page;
    std::string space = "[/Indexed " + page.twoInks() + " 2 <0000 FF00 80FF>]";
    std::string image = ref(page.pdf.addStream("/Type /XObject /Subtype /Image /Width 3 /Height 1 "
                                               "/BitsPerComponent 8 /ColorSpace " +
                                                   space,
                                               std::string("\0\1\2", 3)));
    expectAlike(page.build("q 180 0 0 80 10 110 cm /Im Do Q /CS cs 1 sc 10 10 80 80 re f",
                           spaces(space) + " /XObject << /Im " + image + " >>"));
}

TEST(Colours, CalibratedOnesWithAnUnusualGammaOrWhite)
{
    for (const char *space :
         {"[/CalRGB << /WhitePoint [0.9505 1 1.089] /Gamma [1 1 1] /Matrix [0.4124 0.2126 0.0193 "
          "0.3576 0.7152 0.1192 0.1805 0.0722 0.9505] >>]",
          "[/Lab << /WhitePoint [0.9642 1 0.8249] /Range [-100 100 -100 100] >>]"}) {
        SCOPED_TRACE(space);
        Coloured page;
        bool isLab = std::string(space).find("Lab") != std::string::npos;
        std::string colours = isLab ? "60 40 -30 sc 10 10 80 180 re f 90 0 0 sc 110 10 80 180 re f"
                                    : "0.2 0.5 0.8 sc 10 10 80 180 re f 0.1 0.1 0.1 sc 110 10 80 "
                                      "180 re f";
        std::string clear = inClear(expectAlike(page.build("/CS cs " + colours, spaces(space))));
        EXPECT_FALSE(holds(clear, "/CalRGB") || holds(clear, "/Lab"));
    }
}

TEST(Colours, UsualCalibratedOnesStay)
{
    Coloured page;
    std::string pdf = page.build("/CS cs 0.2 0.5 0.8 sc 10 10 80 180 re f",
                                 spaces("[/CalRGB << /WhitePoint [0.9505 1 1.089] /Gamma [2.2 2.2 "
                                        "2.2] /Matrix [0.4124 0.2126 0.0193 0.3576 0.7152 0.1192 "
                                        "0.1805 0.0722 0.9505] >>]"));
    EXPECT_EQ(probePdf(pdf), 0);
}

TEST(Colours, InFormsCellsAndGlyphs)
{
    Coloured page;
    std::string resources = "/Resources << " + spaces(page.twoInks()) + " >>";
    std::string paint = "/CS cs 0.2 0.9 scn 0 0 40 40 re f";
    std::string form = ref(
        page.pdf.addStream("/Type /XObject /Subtype /Form /BBox [0 0 50 50] " + resources, paint));
    std::string cell =
        ref(page.pdf.addStream("/PatternType 1 /PaintType 1 /TilingType 1 /BBox [0 0 "
                               "50 50] /XStep 50 /YStep 50 " +
                                   resources,
                               paint));
    std::string glyph = ref(page.pdf.addStream("", "60 0 d0 " + paint));
    std::string font = "<< /Type /Font /Subtype /Type3 /FontBBox [0 0 50 50] /FontMatrix [0.02 0 0 "
                       "0.02 0 0] /FirstChar 97 /LastChar 97 /Widths [60] /CharProcs << /a " +
                       glyph + " >> /Encoding << /Differences [97 /a] >> " + resources + " >>";
    expectAlike(page.build("/F Do BT /T3 40 Tf 100 20 Td (aa) Tj ET /Pattern cs /P scn 10 100 180 "
                           "90 re f",
                           "/XObject << /F " + form + " >> /Pattern << /P " + cell +
                               " >> /Font << /T3 " + font + " >>"));
}

TEST(GraphicsStates, LinesAreDrawnAsTheySay)
{
    std::string state = "/ExtGState << /G << /LW 12 /LC 1 /LJ 1 /ML 3 /D [[30 20] 5] /FL 2 /RI "
                        "/Perceptual >> /H << /LW 3 >> >>";
    std::string content = "/G gs 20 20 m 100 180 l 180 20 l S q /H gs 20 150 m 180 150 l S Q "
                          "20 190 m 180 190 l S";
    std::string clear = inClear(expectAlike(onePagePdf(content, "/Resources << " + state + " >>")));
    EXPECT_FALSE(holds(clear, "/LW"));
}

TEST(GraphicsStates, FunctionsBecomeTablesOrGo)
{
    /* The converter stops at functions that it cannot read. */
    for (const char *entries :
         {"/TR << /FunctionType 2 /Domain [0 1] /C0 [0] /C1 [1] /N 1 >>",
          "/BG << /FunctionType 2 /Domain [0 1] /C0 [0] /C1 [1] /N 2 >>",
          "/TR [/Identity /Identity /Identity << /FunctionType 2 /Domain [0 1] /N 1 >>]",
          "/TR << /FunctionType 9 >>", "/UCR 7", "/TR [1 2 3 4]",
          "/HT << /HalftoneType 1 /Frequency 60 /Angle 45 /SpotFunction << /FunctionType 2 /Domain "
          "[-1 1 -1 1] >> >>",
          "/HT << /HalftoneType 5 /Default << /HalftoneType 1 /Frequency 60 /Angle 45 "
          "/SpotFunction 7 >> >>",
          "/HT 5"}) {
        SCOPED_TRACE(entries);
        expectAlike(
            onePagePdf("/G gs 0.3 g 20 20 100 100 re f",
                       "/Resources << /ExtGState << /G << " + std::string(entries) + " >> >> >>"));
    }
}

TEST(Colours, SpacesWithoutSenseAreBounded)
{
    for (const char *space :
         {"[/DeviceN]", "[/DeviceN [/A /B] /DeviceRGB]", "[/DeviceN 7 8 9]",
          "[/DeviceN [/A /B] /DeviceRGB null]", "[/DeviceN [/A /B] /Pattern << >>]",
          "[/Separation /A [/Indexed /DeviceGray 1 <00FF>] << >>]", "[/CalRGB 7]",
          "[/Lab << /Range "
          "[1 2] >>]",
          "[/Indexed [/DeviceN [/A /B] /DeviceRGB null] 99999 <00>]"}) {
        SCOPED_TRACE(space);
        Coloured page;
        Preparation made = preparePdf(page.build("/CS cs 0.2 0.9 scn 10 10 80 180 re f 1 SCN q /CS "
                                                 "CS 1 2 3 4 5 SCN S BI /W 1 /H 1 /BPC 8 "
                                                 "/CS /CS ID  EI",
                                                 spaces(space)));
        EXPECT_EQ(made.status, 0);
    }
}
