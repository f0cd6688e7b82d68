/*
 * graphics_states_test.cpp - the operator gs, functions, halftones; marked content
 */
#include <gtest/gtest.h>

#include "tests/postscript/page_set.h"
#include "tests/postscript/print_job.h"
#include "tests/support/conversion.h"

namespace {

/* An 8-bit sampled function of one input. */
int sampled(PdfBuilder *pdf, const std::string &samples, const std::string &entries = "")
{
    return pdf->addStream("/FunctionType 0 /Domain [0 1] /Range [0 1] /Size [" +
                              std::to_string(samples.size()) + "] /BitsPerSample 8" + entries,
                          samples);
}

std::string states(const std::string &entries)
{
    return "/Resources << /ExtGState << " + entries + " >> >>";
}

TEST(GraphicsStates, WhatDoesNotShowOnThisDeviceDoesNoHarm)
{
    PageSet set;
    int identity = sampled(&set.pdf, std::string("\0\xFF", 2));
    int spot = set.pdf.addStream("/FunctionType 0 /Domain [-1 1 -1 1] /Range [-1 1] /Size [2 2] "
                                 "/BitsPerSample 8",
                                 std::string("\x10\x80\x90\xF0", 4));
    int thresholds = set.pdf.addStream("/Type /Halftone /HalftoneType 6 /Width 4 /Height 2",
                                       "\x10\x30\x50\x70\x90\xB0\xD0\xF0");
    int squares = set.pdf.addStream("/Type /Halftone /HalftoneType 10 /Xsquare 2 /Ysquare 1",
                                    "\x20\x60\xA0\xC0\xE0");
    const std::string box = "/GS gs 0.4 g 20 20 160 160 re f";
    auto add = [&](const std::string &name, const std::string &entries) {
        set.addLike(name, box, states("/GS << " + entries + " >>"), "0.4 g 20 20 160 160 re f");
    };
    add("/SA", "/SA true");
    add("/OP", "/OP false");
    add("/BG and /UCR by sampled functions", "/BG " + ref(identity) + " /UCR " + ref(identity));
    add("/BG and /UCR by name", "/BG /Default /UCR /Default");
    add("/TR by name", "/TR /Identity");
    add("/TR by four names", "/TR [/Identity /Identity /Identity /Identity]");
    add("/TR by a function that changes nothing", "/TR " + ref(identity));
    add("/HT by name", "/HT /Default");
    add("/HT of type 1 with a spot function by name",
        "/HT << /HalftoneType 1 /Frequency 60 /Angle 45 /SpotFunction /SimpleDot >>");
    add("/HT of type 1 with a sampled spot function",
        "/HT << /HalftoneType 1 /Frequency 60 /Angle 45 /SpotFunction " + ref(spot) +
            " /TransferFunction /Identity >>");
    add("/HT of type 5",
        "/HT << /HalftoneType 5 /Default << /HalftoneType 1 /Frequency 60 /Angle 0 "
        "/SpotFunction /Round >> /Black << /HalftoneType 1 /Frequency 60 /Angle 45 "
        "/SpotFunction /Ellipse >> >>");
    add("/HT of type 6", "/HT " + ref(thresholds));
    add("/HT of type 10", "/HT " + ref(squares));
    add("/HTP", "/HTP [0 0]");
    add("an empty state", "/LW 3");
    set.expectRight();
}

TEST(GraphicsStates, TransferFunctionsShow)
{
    PageSet set;
    int inverse = sampled(&set.pdf, std::string("\xFF\0", 2));
    int filtered = set.pdf.addStream("/FunctionType 0 /Domain [0 1] /Range [0 1] /Size [2] "
                                     "/BitsPerSample 8 /Filter /ASCIIHexDecode",
                                     "FF00>");
    const std::string gray = "/GS gs 0.25 g 20 20 160 160 re f";
    const std::string inverted = "0.75 g 20 20 160 160 re f";
    set.addLike("one function", gray, states("/GS << /TR " + ref(inverse) + " >>"), inverted);
    set.addLike("one filtered function", gray, states("/GS << /TR " + ref(filtered) + " >>"),
                inverted);
    std::string four = "[" + ref(inverse) + " /Identity " + ref(inverse) + " " + ref(inverse) + "]";
    set.addLike("four functions", "/GS gs 0.25 0.25 0.25 rg 20 20 160 160 re f",
                states("/GS << /TR " + four + " >>"), "0.75 0.25 0.75 rg 20 20 160 160 re f");
    set.addLike("/Default takes it back", "/GS gs /GT gs 0.25 g 20 20 160 160 re f",
                states("/GS << /TR " + ref(inverse) + " >> /GT << /TR /Default >>"),
                "0.25 g 20 20 160 160 re f");
    set.expectRight();
}

TEST(GraphicsStates, AnUnknownStateIsOneErrorAndThePageGoesOn)
{
    PageSet set;
    set.faultless = false;
    set.addLike("missing", "/Nothing gs 20 20 60 60 re f", "", "20 20 60 60 re f");
    set.expectRight();
}

TEST(MarkedContent, LeavesNothingBehind)
{
    PageSet set;
    set.add("all operators",
            "/P MP /P << /Lang (en) >> DP /P /Props DP /Span BMC 20 20 60 60 re f EMC "
            "/P << /MCID 0 /K [1 2 << /A /B >>] >> BDC 100 100 60 60 re f EMC /P /Props BDC EMC",
            "/Resources << /Properties << /Props << /X 1 >> >> >>");
    set.addLike("sh is passed over", "/Sh0 sh 20 20 60 60 re f", "", "20 20 60 60 re f");
    set.expectRight();
}

TEST(CompatibilitySections, UnknownOperatorsAreIgnored)
{
    PageSet set;
    set.add("BX EX", "BX 1 2 unknown (text) another EX 20 20 60 60 re f "
                     "BX BX zzz EX yyy EX 100 100 60 60 re f");
    set.expectRight();
}

TEST(CompatibilitySections, OutsideOfThemAnUnknownOperatorCounts)
{
    PageSet set;
    set.faultless = false;
    set.addLike("unknown", "1 2 unknown 20 20 60 60 re f (x) [1 2] /a zzz 100 100 60 60 re f", "",
                "20 20 60 60 re f 100 100 60 60 re f");
    set.expectRight();
    PrintOptions options;
    options.strict = false;
    PrintedJob job = printPages(pageDescription("1 2 unknown 20 20 60 60 re f zzz"), options);
    EXPECT_EQ(faultsOf(job), std::vector<std::string>{
                                 "%%[ pdf_to_ps: 2 errors in page content, 0 fonts replaced ]%%"});
}

} // namespace
