/*
 * transparency_test.cpp - transparent paint comes out opaque, and looks as it did
 */
#include <cstdlib>

#include <gtest/gtest.h>

#include "tests/prepare/preparation.h"
#include "tests/support/pdf_builder.h"

namespace {

const char HELVETICA[] = "/Font << /F1 << /Type /Font /Subtype /Type1 /BaseFont /Helvetica >> >>";

/* A page with graphics states and forms, in the order in which they are added: /S1, /X1, ... */
struct Transparent {
    PdfBuilder pdf;
    std::string states, objects;
    int count = 0;

    std::string state(const std::string &entries)
    {
        std::string name = "/S" + std::to_string(++count);
        states += name + " << " + entries + " >> ";
        return name + " gs ";
    }

    /* A form with the same resources as are there so far. */
    std::string form(const std::string &entries, const std::string &content)
    {
        std::string name = "/X" + std::to_string(++count);
        objects += name + " " + ref(addForm(entries, content)) + " ";
        return name + " Do ";
    }

    int addForm(const std::string &entries, const std::string &content)
    {
        bool hasBox = holds(entries, "/BBox");
        return pdf.addStream("/Type /XObject /Subtype /Form " +
                                 std::string(hasBox ? "" : "/BBox [0 0 200 200] ") + entries +
                                 " /Resources << " + resources() + " >>",
                             content);
    }

    std::string resources() const
    {
        return "/ExtGState << " + states + ">> /XObject << " + objects + ">> " + HELVETICA;
    }

    std::string page(const std::string &content, const std::string &entries = "")
    {
        int stream = pdf.addStream("", content);
        pdf.addPage("/MediaBox [0 0 200 200] /Contents " + ref(stream) + " /Resources << " +
                    resources() + " >> " + entries);
        return pdf.build();
    }
};

const char GROUP[] = "/Group << /S /Transparency >>";

void expectOpaque(const std::string &clear)
{
    for (const char *part : {"/ca ", "/CA ", "/BM", "/SMask", "/AIS"})
        EXPECT_FALSE(holds(clear, part)) << part;
}

/* Prepares, holds against the original, and answers the document in clear. */
std::string expectFlat(const std::string &pdf)
{
    EXPECT_EQ(probePdf(pdf), 3);
    std::string clear = inClear(expectPrepared(pdf));
    expectOpaque(clear);
    return clear;
}

/* The same where pixels are the only way. */
void expectRegion(const std::string &pdf)
{
    Preparation made = preparePdf(pdf);
    EXPECT_EQ(made.status, 0);
    ASSERT_EQ(made.messages.size(), 1u);
    EXPECT_TRUE(holds(made.messages[0], "PREPARE-D-REGION")) << made.messages[0];
    expectSamePages(pdf, made.pdf);
}

} // namespace

TEST(Transparency, OpaqueStatesAreLeftAlone)
{
    Transparent made;
    std::string state = made.state("/ca 1 /CA 1 /BM /Normal /SMask /None /AIS false");
    EXPECT_EQ(probePdf(made.page(state + "1 0 0 rg 20 20 100 100 re f")), 0);
}

TEST(Transparency, ConstantAlphaOnPaper)
{
    Transparent made;
    std::string clear = expectFlat(made.page(
        "q " + made.state("/ca 0.5") +
        "1 0 0 rg 20 20 60 60 re f 0.2 g 120 120 m 180 120 l 150 180 l f* Q q " +
        made.state("/CA 0.25") + "0 0 1 RG 8 w 20 100 m 80 180 l S Q 1 0 0 rg 90 90 20 20 re f"));
    for (const char *part : {"1 0.5 0.5 rg", "0.75 0.75 1 RG", "0.6 g"})
        EXPECT_TRUE(holds(clear, part)) << part;
}

TEST(Transparency, InksOnPaperAreThinned)
{
    Transparent made;
    std::string clear =
        expectFlat(made.page(made.state("/ca 0.5") + "0.2 0.4 0.6 0 k 20 20 160 160 re f"));
    EXPECT_TRUE(holds(clear, "0.1 0.2 0.3 0 k"));
}

TEST(Transparency, TextKeepsItsCharacters)
{
    Transparent made;
    std::string pdf = made.page(
        "BT /F1 40 Tf 20 140 Td 1 0 0 rg " + made.state("/ca 0.4 /CA 0.5") +
        "(Alpha) Tj 0 -45 Td 1 Tr 0 0 1 RG 2 w (Lines) Tj 0 -45 Td 0 Tr [(Sp) 200 (ace)] TJ ET");
    std::string prepared = expectPrepared(pdf);
    expectOpaque(inClear(prepared));
    EXPECT_EQ(textOf(prepared), textOf(pdf));
    EXPECT_TRUE(holds(textOf(prepared), "Alpha"));
}

TEST(Transparency, LinesOfTextDoNotLieOnEachOther)
{
    Transparent made;
    std::string content = made.state("/ca 0.5") + "BT /F1 20 Tf 20 TL 20 170 Td ";
    for (const char *line : {"Qy first", "Qy second", "Qy third", "Qy last"})
        content += "(" + std::string(line) + ") Tj T* ";
    expectFlat(made.page(content + "ET"));
}

TEST(Transparency, NothingIsPaintedWithAlphaZero)
{
    Transparent made;
    std::string pdf = made.page(
        "0.5 g 5 150 20 20 re f q " + made.state("/ca 0 /CA 0") +
        "40 40 100 100 re W f 0 0 200 200 re B BT /F1 30 Tf 20 20 Td (gone) Tj 2 Tr (too) Tj ET "
        "Q 100 100 20 20 re f");
    std::string clear = expectFlat(pdf);
    EXPECT_TRUE(holds(clear, "W\nn"));
    EXPECT_TRUE(holds(clear, "3 Tr (gone) Tj"));
    EXPECT_TRUE(holds(clear, "3 Tr (too) Tj\n2 Tr"));
}

TEST(Transparency, FillAndStrokeAreOneThing)
{
    Transparent made;
    std::string page = made.page(made.state("/ca 0.5 /CA 0") + "0 0 1 rg 6 w 20 20 50 50 re B " +
                                 made.state("/CA 0.25") + "1 0 0 RG 100 20 50 50 re b*");
    Preparation prepared = preparePdf(page);
    EXPECT_EQ(prepared.messages, std::vector<std::string>());
    std::string clear = inClear(prepared.pdf);
    expectOpaque(clear);
    EXPECT_TRUE(holds(clear, "0.5 0.5 1 rg\n6 w 20 20 50 50 re\nf") ||
                holds(clear, "0.5 0.5 1 rg\n 20 20 50 50 re\nf"));
    EXPECT_TRUE(holds(clear, "1 0.75 0.75 RG\n 100 20 50 50 re\nb*"));
}

TEST(Transparency, OneColourBelow)
{
    Transparent made;
    std::string state = made.state("/ca 0.5");
    std::string clear = expectFlat(made.page("0 0 1 rg 10 10 180 180 re f " + state +
                                             "1 0 0 rg 40 40 120 60 re f 1 g 60 120 50 50 re f"));
    EXPECT_TRUE(holds(clear, "0.5 0 0.5 rg"));
    EXPECT_TRUE(holds(clear, "0.5 0.5 1 rg"));
}

TEST(Transparency, SecondLayerLiesOnTheFirst)
{
    Transparent made;
    std::string state = made.state("/ca 0.5");
    std::string clear =
        expectFlat(made.page(state + "1 0 0 rg 10 10 180 180 re f 0 0 1 rg 40 40 100 100 re f"));
    EXPECT_TRUE(holds(clear, "1 0.5 0.5 rg"));
    EXPECT_TRUE(holds(clear, "0.5 0.25 0.75 rg"));
}

TEST(Transparency, BlendModesOverOneColour)
{
    const char *const modes[] = {"Multiply",   "Screen",     "Overlay",   "Darken",
                                 "Lighten",    "ColorDodge", "ColorBurn", "HardLight",
                                 "SoftLight",  "Difference", "Exclusion", "Hue",
                                 "Saturation", "Color",      "Luminosity"};
    Transparent made;
    std::string content = "0.8 0.5 0.2 rg 0 0 200 200 re f ";
    for (int i = 0; i < 15; i++)
        content += "q " + made.state("/BM /" + std::string(modes[i])) + "0.3 0.6 0.9 rg " +
                   std::to_string(i % 4 * 50 + 5) + " " + std::to_string(i / 4 * 50 + 5) +
                   " 40 40 re f Q ";
    std::string clear = expectFlat(made.page(content));
    EXPECT_TRUE(holds(clear, "0.24 0.3 0.18 rg")); /* Multiply */
    EXPECT_TRUE(holds(clear, "0.86 0.8 0.92 rg")); /* Screen */
    EXPECT_TRUE(holds(clear, "0.5 0.1 0.7 rg"));   /* Difference */
}

TEST(Transparency, ModesHaveNothingToBlendWithOnPaper)
{
    Transparent made;
    std::string state = made.state("/BM [/Unknown /Difference]"),
                multiply = made.state("/BM /Multiply");
    std::string clear = expectFlat(made.page(state + "1 0 0 rg 20 20 60 60 re f " + multiply +
                                             "0 0.5 0 rg 100 100 80 80 re f"));
    EXPECT_FALSE(holds(clear, "0 1 1 rg"));
}

TEST(Transparency, FormInheritsAlphaPieceByPiece)
{
    Transparent made;
    std::string form =
        made.form("/Matrix [0.6 0.3 -0.3 0.6 60 20]",
                  "1 0 0 rg 10 10 60 60 re f 0 0 1 RG 6 w 160 0 30 30 re S BT /F1 30 Tf 20 180 "
                  "Td (form) Tj ET");
    expectFlat(made.page(made.state("/ca 0.5 /CA 0.3") + form));
}

TEST(Transparency, GroupCountsAsOneThing)
{
    Transparent made;
    std::string form = made.form(
        GROUP, "1 0 0 rg 20 20 100 100 re f 0 0 1 rg 70 70 100 100 re f 0 g 90 90 30 30 re f");
    std::string clear = expectFlat(made.page("q " + made.state("/ca 0.4") + form + "Q"));
    EXPECT_TRUE(holds(clear, "1 0.6 0.6 rg"));
    EXPECT_TRUE(holds(clear, "0.6 0.6 1 rg"));
}

TEST(Transparency, GroupsWithinGroups)
{
    for (const char *kind : {"", "/I true", "/K true", "/I true /K true"}) {
        SCOPED_TRACE(kind);
        Transparent made;
        std::string half = made.state("/ca 0.5"), more = made.state("/ca 0.8");
        std::string group = "/Group << /S /Transparency " + std::string(kind) + " >>";
        std::string inner =
            made.form(group, "1 0 0 rg 40 40 120 120 re f " + half + "0 0 1 rg 60 60 60 60 re f");
        std::string outer = made.form(group, more + inner + "0 0.6 0 rg 5 5 30 30 re f");
        expectFlat(
            made.page("0.9 0.9 0.5 rg 0 0 200 200 re f " + half + "0.8 0 0 0.8 10 20 cm " + outer));
    }
}

TEST(Transparency, IsolatedGroupHidesTheBackdropFromModes)
{
    for (const char *kind : {"", "/I true"}) {
        SCOPED_TRACE(kind);
        Transparent made;
        std::string form = made.form("/Group << /S /Transparency " + std::string(kind) + " >>",
                                     made.state("/BM /Multiply") + "0 1 1 rg 40 40 100 100 re f");
        std::string clear = expectFlat(made.page("1 1 0 rg 0 0 200 200 re f " + form));
        EXPECT_EQ(holds(clear, "0 1 0 rg"), *kind == 0);
    }
}

TEST(Transparency, FormAtTwoPlacesIsPaintedForEach)
{
    Transparent made;
    std::string form = made.form("", made.state("/ca 0.5") + "0 0 1 rg 10 10 80 80 re f");
    std::string clear =
        expectFlat(made.page("1 0 0 rg 100 0 100 100 re f " + form + "1 0 0 1 100 0 cm " + form));
    EXPECT_TRUE(holds(clear, "0.5 0.5 1 rg"));
    EXPECT_TRUE(holds(clear, "0.5 0 0.5 rg"));
}

TEST(Transparency, ConstantSoftMask)
{
    Transparent made;
    std::string gray = ref(
        made.addForm("/Group << /S /Transparency /CS /DeviceGray >>", "0.25 g 0 0 200 200 re f"));
    std::string half = ref(made.addForm(GROUP, made.state("/ca 0.5") + "0 0 200 200 re f"));
    std::string content = "1 0 0 rg ";
    content +=
        "q " + made.state("/SMask << /S /Luminosity /G " + gray + " >>") + "10 10 80 80 re f Q ";
    content += "q " + made.state("/SMask << /S /Alpha /G " + half + " >>") + "110 10 80 80 re f Q ";
    content += made.state("/SMask << /S /Luminosity /G " + gray + " >>") +
               made.state("/SMask /None") + "110 110 80 80 re f";
    std::string clear = expectFlat(made.page(content));
    EXPECT_TRUE(holds(clear, "1 0.75 0.75 rg"));
    EXPECT_TRUE(holds(clear, "1 0.5 0.5 rg"));
}

TEST(Transparency, SoftMaskGoesThroughItsFunction)
{
    Transparent made;
    std::string gray = ref(
        made.addForm("/Group << /S /Transparency /CS /DeviceGray >>", "0.25 g 0 0 200 200 re f"));
    std::string turned = "/TR << /FunctionType 2 /Domain [0 1] /C0 [1] /C1 [0] /N 1 >>";
    std::string state = made.state("/SMask << /S /Luminosity /G " + gray + " " + turned + " >>");
    Preparation prepared = preparePdf(made.page("1 0 0 rg " + state + "10 110 80 80 re f"));
    EXPECT_EQ(prepared.messages, std::vector<std::string>());
    EXPECT_TRUE(holds(inClear(prepared.pdf), "1 0.25 0.25 rg"));
}

TEST(Transparency, OutsideOfASoftMaskItsBackdropCounts)
{
    for (const char *backdrop : {"", "/BC [1]", "/BC [0.5]"}) {
        SCOPED_TRACE(backdrop);
        Transparent made;
        std::string mask =
            ref(made.addForm("/BBox [0 0 60 60] " + std::string(GROUP), "1 g 0 0 60 60 re f"));
        std::string state =
            made.state("/SMask << /S /Luminosity /G " + mask + " " + std::string(backdrop) + " >>");
        expectFlat(made.page(state + "0 0 1 rg 10 10 40 40 re f 100 100 60 60 re f"));
    }
}

TEST(Transparency, SoftMaskThatIsSmallerClips)
{
    Transparent made;
    std::string mask =
        ref(made.addForm("/BBox [40 30 120 90] " + std::string(GROUP), "0.5 g 40 30 80 60 re f"));
    std::string state = made.state("/SMask << /S /Luminosity /G " + mask + " >>");
    std::string clear = expectFlat(
        made.page("0.9 1 1 rg 0 0 200 200 re f q " + state +
                  "0 0 1 rg 2 0 0 2 0 0 cm 30 10 30 70 re f 20 10 8 20 re f Q 0 g 5 5 9 9 re f"));
    EXPECT_TRUE(holds(clear, "0.45 0.5 1 rg"));
}

TEST(Transparency, ImageAsSoftMask)
{
    Transparent made;
    std::string ramp;
    for (int i = 0; i < 256; i++)
        ramp.push_back((char)(i / 16 * 16));
    made.objects += "/Im " +
                    ref(made.pdf.addStream("/Type /XObject /Subtype /Image /Width 16 /Height 16 "
                                           "/ColorSpace /DeviceGray /BitsPerComponent 8",
                                           ramp)) +
                    " ";
    std::string mask = ref(made.addForm(GROUP, "q 120 40 -40 120 60 20 cm /Im Do Q"));
    std::string state = made.state("/SMask << /S /Luminosity /G " + mask + " >>");
    expectFlat(made.page("0.8 1 1 rg 0 0 200 200 re f 0.9 0 0 0.9 5 5 cm q " + state +
                         "1 0 0 rg 30 20 m 190 30 l 100 190 l h f Q"));
}

TEST(Transparency, WhatLiesOnManyThingsBecomesPixels)
{
    Transparent made;
    expectRegion(made.page("1 0 0 rg 0 0 100 200 re f 0 0 1 rg 100 0 100 200 re f " +
                           made.state("/ca 0.5") + "0 1 0 rg 60 60 80 80 re f"));
}

TEST(Transparency, GradedSoftMaskBecomesPixels)
{
    Transparent made;
    std::string mask =
        ref(made.addForm(GROUP, "0.2 g 0 0 200 200 re f 1 g 60 60 m 160 60 l 100 160 l h f"));
    expectRegion(made.page("0 0 1 rg " + made.state("/SMask << /S /Luminosity /G " + mask + " >>") +
                           "40 40 120 120 re f"));
}

TEST(Transparency, ColoursAreSelectedAgainBehind)
{
    Transparent made;
    std::string half = made.state("/ca 0.5"), whole = made.state("/ca 1");
    made.objects += "/Im " +
                    ref(made.pdf.addStream("/Type /XObject /Subtype /Image /Width 2 "
                                           "/Height 2 /ImageMask true",
                                           std::string("\x80\x40", 2))) +
                    " ";
    expectFlat(made.page("/DeviceRGB cs 0 0.4 0 sc " + half + "10 10 50 50 re f " + whole +
                         "70 10 50 50 re f " + half + "q 50 0 0 50 130 10 cm /Im Do Q " + whole +
                         "q 50 0 0 50 130 80 cm /Im Do Q 10 80 50 50 re W n " + half +
                         "0 0 100 100 re f " + whole + "10 110 40 40 re f"));
}

TEST(Transparency, GlyphsOfAFontAreFlattenedOnPaper)
{
    Transparent made;
    std::string font = ref(made.pdf.add(
        "<< /Type /Font /Subtype /Type3 /FontBBox [0 0 1000 1000] /FontMatrix [0.001 0 0 0.001 0 "
        "0] /FirstChar 97 /LastChar 97 /Widths [1000] /Encoding << /Differences [97 /a] >> "
        "/Resources << /ExtGState << /H << /ca 0.5 >> >> >> /CharProcs << /a " +
        ref(made.pdf.addStream("", "1000 0 d0 /H gs 1 0 0 rg 100 100 800 800 re f")) + " >> >>"));
    int stream = made.pdf.addStream("", "BT /T 80 Tf 20 60 Td (aa) Tj ET");
    made.pdf.addPage("/MediaBox [0 0 200 200] /Contents " + ref(stream) +
                     " /Resources << /Font << /T " + font + " >> >>");
    std::string clear = expectFlat(made.pdf.build());
    EXPECT_TRUE(holds(clear, "1 0.5 0.5 rg"));
}

/* ---- hostile ---- */

namespace {

/* Without the program that draws regions, whose time is bounded by itself. */
void expectBounded(const std::string &pdf)
{
    std::string path = getenv("PATH");
    setenv("PATH", "/nonexistent", 1);
    Preparation made = preparePdf(pdf);
    setenv("PATH", path.c_str(), 1);
    EXPECT_EQ(made.status, 0);
    EXPECT_TRUE(made.hasOutput);
}

} // namespace

TEST(TransparencyHostile, MasksThatAreMaskedByThemselves)
{
    PdfBuilder pdf;
    int form = pdf.reserve();
    std::string state =
        "/ExtGState << /S << /ca 0.5 /SMask << /S /Luminosity /G " + ref(form) + " >> >> >>";
    std::string content = "/S gs 0.5 g 0 0 100 100 re f /X Do";
    pdf.set(form, "<< /Type /XObject /Subtype /Form /BBox [0 0 200 200] /Group << /S "
                  "/Transparency >> /Resources << " +
                      state + " /XObject << /X " + ref(form) + " >> >> /Length " +
                      std::to_string(content.size()) + " >>\nstream\n" + content + "\nendstream");
    int stream = pdf.addStream("", content);
    pdf.addPage("/MediaBox [0 0 200 200] /Contents " + ref(stream) + " /Resources << " + state +
                " /XObject << /X " + ref(form) + " >> >>");
    expectBounded(pdf.build());
}

TEST(TransparencyHostile, FormsThatDoubleAtEachDepth)
{
    Transparent made;
    std::string content = made.state("/ca 0.9") + "1 0 0 rg 10 10 50 50 re f";
    for (int depth = 0; depth < 11; depth++) {
        std::string form = made.form(depth % 2 ? GROUP : "", content);
        content = "";
        for (int i = 0; i < 8; i++)
            content += form + "1 0 0 1 3 1 cm ";
    }
    expectBounded(made.page(content));
}

TEST(TransparencyHostile, NonsenseInStates)
{
    Transparent made;
    std::string content;
    for (const char *entries : {"/ca (x)", "/ca -5 /CA 1e9", "/BM [[/Multiply] 3 /Screen]", "/BM 7",
                                "/SMask << /S /Luminosity >>", "/SMask << /S /Alpha /G 1 0 R >>",
                                "/SMask << /G << >> /BC [1 2 3 4 5 6] /TR 9 >>", "/SMask [1]"})
        content += "q " + made.state(entries) +
                   "1e9 1e9 -1e9 -1e9 re B* 0 0 0 0 re f 10 10 m f "
                   "1e30 0 0 1e30 0 0 cm 5 5 20 20 re B Q ";
    expectBounded(made.page(content));
}

TEST(TransparencyHostile, MoreMarksThanAreKept)
{
    Transparent made;
    std::string content = made.state("/ca 0.5");
    for (int i = 0; i < 20000; i++)
        content += std::to_string(i % 7 / 10.0) + " g " + std::to_string(i * 37 % 190) + " " +
                   std::to_string(i * 91 % 190) + " 3 3 re f ";
    expectBounded(made.page(content));
}
