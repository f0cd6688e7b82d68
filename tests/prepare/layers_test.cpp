/*
 * layers_test.cpp - optional content: what is off is not printed, what is on stays as it is
 */
#include <gtest/gtest.h>

#include "tests/postscript/print_job.h"
#include "tests/prepare/preparation.h"
#include "tests/support/conversion.h"
#include "tests/support/pdf_builder.h"
#include "tests/support/picture.h"

namespace {

const char FONT[] = "/Font << /F1 << /Type /Font /Subtype /Type1 /BaseFont /Helvetica >> >>";
const char SQUARES[] = "/OC /M BDC 1 0 0 rg 20 20 60 60 re f EMC 0 0 1 rg 120 120 60 60 re f";

/* Two groups, A and B, and one more object that can name them. */
struct Layered {
    PdfBuilder pdf;
    std::string a = ref(pdf.add("<< /Type /OCG /Name (A) >>"));
    std::string b = ref(pdf.add("<< /Type /OCG /Name (B) >>"));

    /* The page, with `member` as what the content calls /M. */
    std::string build(const std::string &settings, const std::string &member,
                      const std::string &content = SQUARES, const std::string &resources = "",
                      const std::string &entries = "")
    {
        pdf.catalogEntries =
            "/OCProperties << /OCGs [" + a + " " + b + "] /D << " + settings + " >> >>";
        int stream = pdf.addStream("", content);
        pdf.addPage("/MediaBox [0 0 200 200] /Contents " + ref(stream) + " " + entries +
                    " /Resources << " + resources + (holds(resources, "/Font") ? "" : FONT) +
                    " /Properties << /M " + member + " >> >>");
        return pdf.build();
    }
};

/* Off: the document is prepared without the first square.  On: nobody touches it. */
void expectState(const std::string &pdf, bool isOn)
{
    EXPECT_EQ(probePdf(pdf), isOn ? 0 : 3);
    Preparation made = preparePdf(pdf);
    EXPECT_EQ(made.messages, std::vector<std::string>());
    if (isOn)
        EXPECT_EQ(made.pdf, pdf);
    else
        expectSamePages(onePagePdf("0 0 1 rg 120 120 60 60 re f"), made.pdf);
}

/* Prepared, and printed by way of the converter, the document is this page. */
void expectPrintsAs(const std::string &pdf, const std::string &expected)
{
    Preparation made = preparePdf(pdf);
    EXPECT_EQ(made.messages, std::vector<std::string>());
    PrintedJob job = printFile(convertForPrinting(made.pdf).output, 100);
    EXPECT_EQ(faultsOf(job), std::vector<std::string>());
    std::vector<Picture> pages = renderPdf(expected), prepared = renderPdf(made.pdf);
    ASSERT_EQ(job.pages.size(), 1u);
    ASSERT_EQ(prepared.size(), 1u);
    for (const Picture *page : {&job.pages[0], &prepared[0]}) {
        PictureDifference difference = comparePictures(*page, pages.at(0));
        EXPECT_TRUE(isRight(difference)) << describe(difference);
    }
}

std::string offIn(const Layered &layered)
{
    return "/OFF [" + layered.a + "]";
}

} // namespace

TEST(Layers, GroupFollowsTheDefaultSettings)
{
    for (auto [settings, isOn] : {std::pair<const char *, bool>{"", true},
                                  {"/OFF [A]", false},
                                  {"/OFF [B]", true},
                                  {"/BaseState /OFF", false},
                                  {"/BaseState /OFF /ON [A]", true},
                                  {"/BaseState /OFF /ON [B]", false},
                                  {"/BaseState /ON /OFF [A B]", false}}) {
        Layered layered;
        std::string text = settings;
        for (auto [name, number] : {std::pair{'A', layered.a}, {'B', layered.b}})
            if (size_t at = text.rfind(name); at != text.npos && text[at - 1] != '/')
                text.replace(at, 1, number);
        SCOPED_TRACE(settings);
        expectState(layered.build(text, layered.a), isOn);
    }
}

TEST(Layers, MembershipFollowsItsPolicy)
{
    struct Row {
        const char *policy;
        bool bothOn, oneOn, noneOn; /* visible when so many groups are on */
    };
    for (const Row &row :
         {Row{"", true, true, false}, Row{"/P /AnyOn", true, true, false},
          Row{"/P /AllOn", true, false, false}, Row{"/P /AnyOff", false, true, true},
          Row{"/P /AllOff", false, false, true}})
        for (int groupsOff = 0; groupsOff <= 2; groupsOff++) {
            SCOPED_TRACE(std::string(row.policy) + ", off: " + std::to_string(groupsOff));
            Layered layered;
            std::string off = groupsOff == 0   ? ""
                              : groupsOff == 1 ? layered.a
                                               : layered.a + " " + layered.b;
            std::string member = ref(layered.pdf.add("<< /Type /OCMD /OCGs [" + layered.a + " " +
                                                     layered.b + "] " + row.policy + " >>"));
            bool isOn = groupsOff == 0 ? row.bothOn : groupsOff == 1 ? row.oneOn : row.noneOn;
            expectState(layered.build("/OFF [" + off + "]", member), isOn);
        }
}

TEST(Layers, MembershipFollowsItsExpressionBeforeItsPolicy)
{
    /* A is off, B is on. */
    for (auto [expression, isOn] : {std::pair<const char *, bool>{"[/And A B]", false},
                                    {"[/Or A B]", true},
                                    {"[/Not A]", true},
                                    {"[/Not B]", false},
                                    {"[/And B [/Not [/Or A [/Not B]]]]", true},
                                    {"[/Or A [/And A B]]", false}}) {
        SCOPED_TRACE(expression);
        Layered layered;
        std::string text;
        for (const char *at = expression; *at; at++) {
            bool isGroup = (*at == 'A' || *at == 'B') && (at[1] == ' ' || at[1] == ']');
            text += isGroup ? (*at == 'A' ? layered.a : layered.b) : std::string(1, *at);
        }
        std::string member = ref(layered.pdf.add("<< /Type /OCMD /OCGs [" + layered.a +
                                                 "] /P /AllOff /VE " + text + " >>"));
        expectState(layered.build(offIn(layered), member), isOn);
    }
}

TEST(Layers, StateInPrintIsTheGroupsOwnWhereTheSettingsAskForIt)
{
    for (bool isOn : {false, true}) {
        Layered layered;
        std::string group = ref(layered.pdf.add("<< /Type /OCG /Name (C) /Usage << /Print << "
                                                "/PrintState /" +
                                                std::string(isOn ? "ON" : "OFF") + " >> >> >>"));
        std::string usage = "/AS [<< /Event /Print /Category [/Print] /OCGs [" + group + "] >>]";
        std::string other = isOn ? "/OFF [" + group + "]" : "";
        std::string pdf = layered.build(other + usage, group);
        EXPECT_EQ(probePdf(pdf), isOn ? 0 : 3);
        if (!isOn)
            expectState(pdf, false);
    }
}

TEST(Layers, GroupThatIsForDesignHidesNothing)
{
    Layered layered;
    std::string group = ref(layered.pdf.add("<< /Type /OCG /Name (C) /Intent /Design >>"));
    EXPECT_EQ(probePdf(layered.build("/OFF [" + group + "]", group)), 0);
}

TEST(Layers, WhatIsOffStillSetsTheState)
{
    Layered layered;
    /* Colour, matrix and clip come from within; marks nest. */
    std::string content =
        "q /OC /M BDC 0 0.6 0 rg /Span << >> BDC 0 0 m 100 0 l 100 100 l h B EMC 0.5 0 0 0.5 0 0 "
        "cm 20 20 300 200 re W* f /Span BMC 10 10 50 50 re b* EMC EMC 0 0 400 400 re f Q";
    Preparation made = preparePdf(layered.build(offIn(layered), layered.a, content));
    expectSamePages(onePagePdf("0 0.6 0 rg 10 10 150 100 re f"), made.pdf);
}

TEST(Layers, TextThatIsOffMovesOn)
{
    Layered layered;
    std::string content = "BT /F1 20 Tf 10 150 Td (Seen) Tj /OC /M BDC 1 0 0 rg (hi) Tj [(hi) -500 "
                          "(hi)] TJ 2 Tr EMC 0 Tr (on) Tj /OC /M BDC 22 TL (more) ' 3 1 (m m) \" "
                          "EMC (after) Tj (next) ' ET";
    /* In units of 1/1000: Seen 2335, hi 778, m 833, space 278; 20 points, and then 1 and 3 more. */
    expectPrintsAs(layered.build(offIn(layered), layered.a, content),
                   onePagePdf("BT /F1 20 Tf 1 0 0 1 10 150 Tm (Seen) Tj 1 0 0 rg "
                              "1 0 0 1 113.38 150 Tm (on) Tj 3 Tw 1 Tc "
                              "1 0 0 1 54.88 106 Tm (after) Tj 1 0 0 1 10 84 Tm (next) Tj ET",
                              "/Resources << " + std::string(FONT) + " >>"));
}

TEST(Layers, TextOfDrawnGlyphsThatIsOffMovesOn)
{
    Layered layered;
    std::string box = ref(layered.pdf.addStream("", "800 0 d0 0 0 600 600 re f"));
    std::string font = ref(layered.pdf.add(
        "<< /Type /Font /Subtype /Type3 /FontBBox [0 0 800 800] /FontMatrix [0.001 0 0 0.001 0 0] "
        "/FirstChar 97 /LastChar 98 /Widths [800 400] /CharProcs << /box " +
        box + " >> /Encoding << /Differences [97 /box /box] >> /Resources << >> >>"));
    std::string content = "BT 0 0 1 rg /T3 30 Tf 1 Tc 20 150 Td (a) Tj /OC /M BDC (ab) Tj "
                          "[(b) 300 (a)] TJ EMC (a) Tj 40 TL /OC /M BDC 0 2 (b) \" EMC (a) Tj ET";
    expectPrintsAs(
        layered.build(offIn(layered), layered.a, content, "/Font << /T3 " + font + " >>"),
        onePagePdf("0 0 1 rg 20 150 18 18 re 112 150 18 18 re 34 110 18 18 re f"));
}

TEST(Layers, FormsImagesAndShadingsThatAreOffAreNotPainted)
{
    Layered layered;
    std::string off = ref(layered.pdf.addStream("/Type /XObject /Subtype /Form /BBox [0 0 200 200] "
                                                "/OC " +
                                                    layered.a,
                                                "1 0 0 rg 0 0 50 50 re f"));
    std::string on = ref(
        layered.pdf.addStream("/Type /XObject /Subtype /Form /BBox [0 0 200 200] /OC " + layered.b,
                              "0 1 0 rg 50 50 50 50 re f /OC /M BDC 100 50 50 50 re f EMC"));
    std::string image = ref(layered.pdf.addStream(
        "/Type /XObject /Subtype /Image /Width 1 /Height 1 /BitsPerComponent 8 /ColorSpace "
        "/DeviceGray /OC " +
            layered.a,
        "\x40"));
    std::string content =
        "/Off Do /On Do q 40 0 0 40 150 0 cm /Im Do Q /OC /M BDC q 40 0 0 40 0 150 cm BI /W 1 /H 1 "
        "/BPC 8 /CS /G ID A EI Q /On Do EMC 0 0 1 rg 150 150 20 20 re f";
    std::string pdf =
        layered.build(offIn(layered), layered.a, content,
                      "/XObject << /Off " + off + " /On " + on + " /Im " + image + " >>");
    expectSamePages(onePagePdf("0 1 0 rg 50 50 50 50 re f 0 0 1 rg 150 150 20 20 re f"),
                    preparePdf(pdf).pdf);
}

TEST(Layers, FormOnTwoPagesRelyingOnTheirPropertiesIsSilencedOnEach)
{
    Layered layered;
    std::string form =
        ref(layered.pdf.addStream("/Type /XObject /Subtype /Form /BBox [0 0 200 200]", SQUARES));
    layered.build(offIn(layered), layered.a, "/X Do", "/XObject << /X " + form + " >>");
    expectPrepared(
        layered.build(offIn(layered), layered.b, "/X Do", "/XObject << /X " + form + " >>"));
}

TEST(Layers, UnclosedAndUnopenedMarksChangeNothingElse)
{
    Layered layered;
    expectPrepared(layered.build(offIn(layered), layered.a,
                                 "EMC EMC 0 0 1 rg 0 0 30 30 re f /OC /M BDC 50 50 50 50 re f"));
}

TEST(Layers, ExpressionsWithoutEndAreVisible)
{
    Layered layered;
    int loop = layered.pdf.reserve();
    layered.pdf.set(loop, "[/And " + ref(loop) + " " + ref(loop) + "]");
    std::string member = ref(layered.pdf.add("<< /Type /OCMD /VE " + ref(loop) + " >>"));
    EXPECT_EQ(probePdf(layered.build(offIn(layered), member)), 0);
    for (const char *text : {"[/Not]", "[/Xor 1 2]", "[null]", "[1]", "[/And null 7 (x)]"}) {
        Layered other;
        std::string odd = ref(other.pdf.add("<< /Type /OCMD /VE " + std::string(text) + " >>"));
        EXPECT_EQ(probePdf(other.build(offIn(other), odd)), 0) << text;
    }
}

TEST(Layers, SettingsOfAWrongKindHideNothing)
{
    for (const char *settings : {"/OFF 7", "/OFF [null 3 (x)]", "/ON /A /BaseState 3",
                                 "/AS [7 << /Event /Print /Category [/Print] /OCGs [1] >>]"}) {
        Layered layered;
        EXPECT_EQ(probePdf(layered.build(settings, layered.a)), 0) << settings;
    }
}
