/*
 * composite_fonts_test.cpp - composite fonts come out as simple ones and print the same
 */
#include <gtest/gtest.h>

#include "tests/prepare/fonts.h"
#include "tests/prepare/preparation.h"
#include "tests/support/conversion.h"
#include "tests/support/run_program.h"
#include "tests/support/scratch_directory.h"

namespace {

/* Prints the same, and nothing of the composite font is left. */
std::string expectSimple(const std::string &pdf)
{
    std::string prepared = inClear(expectPrepared(pdf));
    EXPECT_FALSE(holds(prepared, "/Type0"));
    EXPECT_FALSE(holds(prepared, "/FontFile2"));
    EXPECT_FALSE(holds(prepared, "/CIDFont"));
    return prepared;
}

/* A CMap from these ranges to text. */
std::string toUnicode(PdfBuilder *pdf, const std::string &ranges)
{
    return "/ToUnicode " +
           ref(pdf->addStream("", "/CMapName /X def 1 begincodespacerange <0000> <FFFF> "
                                  "endcodespacerange\n" +
                                      ranges));
}

} // namespace

/* What a job says to whoever makes a document of it again. */
TEST(CompositeFonts, WithoutTextsHaveThoseOfTheProgramsTable)
{
    std::string prepared =
        expectPrepared(compositePdf("BT /F1 20 Tf 10 150 Td " + codes("Hamburg") + " Tj ET"));
    EXPECT_TRUE(holds(textOf(prepared), "Hamburg"));
}

TEST(CompositeFonts, GlyphsOfSeveralCharactersSayThemAll)
{
    CompositeSettings settings;
    PdfBuilder pdf;
    settings.toUnicode =
        toUnicode(&pdf, "2 beginbfchar <0024> <00510078> <0025> <0041030A> endbfchar");
    int font = addComposite(&pdf, settings);
    int content = pdf.addStream("", "BT /F1 20 Tf 10 150 Td <00240025> Tj ET");
    pdf.addPage("/MediaBox [0 0 300 200] /Contents " + ref(content) +
                " /Resources << /Font << /F1 " + ref(font) + " >> >>");
    std::string clear = inClear(preparePdf(pdf.build()).pdf);
    EXPECT_TRUE(holds(clear, "/uni00510078"));
    EXPECT_TRUE(holds(clear, "/uni0041030A"));
}

TEST(CompositeFonts, BecomeSimpleCompactOnes)
{
    std::string prepared =
        expectSimple(compositePdf("BT /F1 24 Tf 20 150 Td " + codes("Hamburg") + " Tj ET"));
    EXPECT_TRUE(holds(prepared, "/Type1C"));
}

TEST(CompositeFonts, AllFourShowOperatorsAcrossSubfonts)
{
    /* More glyphs than one subfont holds come first, so that "Ag" stand in different ones. */
    expectSimple(compositePdf("BT /F1 3 Tf 10 -85 Td " + codeRange(36, 110) + " Tj 0 -5 Td " +
                              codeRange(146, 115) + " Tj /F1 20 Tf 18 TL 0 260 Td " + codes("Ag") +
                              " Tj " + codeRange(255, 3) + " ' [" + codes("A") + " -400 " +
                              codeRange(258, 2) + " 200 " + codes("gh") + "] TJ 2 1 " +
                              codes("quote") + " \" " + codeRange(250, 6) + " Tj ET"));
}

TEST(CompositeFonts, ArrayMayBeginWithANumberOrHoldNothingElse)
{
    expectSimple(compositePdf("BT /F1 24 Tf 20 150 Td [-2000 " + codes("x") + "] TJ [-1500] TJ " +
                              codes("y") + " Tj 0 -40 Td [-3000] TJ " + codes("z") + " Tj ET"));
}

TEST(CompositeFonts, ThreeHundredGlyphsOnOnePage)
{
    std::string content = "BT /F1 25 Tf 60 TL 20 760 Td ";
    for (int line = 0; line < 12; line++)
        content += codeRange(36 + 25 * line, 25) + " ' ";
    expectSimple(compositePdf(content + "ET",
                              {"/Identity-H", "/W [36 335 1700]", "", true, "0 0 1200 800"}));
}

TEST(CompositeFonts, SelectionFollowsSavedStates)
{
    expectSimple(compositePdf("BT /F1 20 Tf 10 150 Td " + codes("one") +
                              " Tj ET q BT /H 30 Tf 10 100 Td (two) Tj ET q BT /F1 10 Tf 100 100 "
                              "Td " +
                              codes("three") +
                              " Tj ET Q BT 150 100 Td (four) Tj ET Q BT 10 50 Td " + codes("five") +
                              " Tj /H 12 Tf (six) Tj ET"));
}

TEST(CompositeFonts, WordSpacingLeavesTwoByteSpacesAlone)
{
    /* The code 0x0020 is a glyph here, and the glyph of the space (3) is code 0x0003. */
    expectSimple(compositePdf("BT /F1 20 Tf 30 Tw 10 150 Td <00240020002500030026> Tj 0 Tw 0 -40 "
                              "Td " +
                              codes("a b") + " Tj ET"));
}

TEST(CompositeFonts, CharacterSpacingScaleAndRise)
{
    expectSimple(compositePdf("BT /F1 20 Tf 3 Tc 60 Tz 10 150 Td " + codes("narrow") + " Tj 8 Ts " +
                              codes("up") + " Tj 1 Tr " + codes("line") + " Tj ET"));
}

TEST(CompositeFonts, VerticalWriting)
{
    expectSimple(compositePdf("BT /F1 20 Tf 24 TL 100 190 Td " + codes("abc") + " Tj [" +
                                  codes("d") + " 500 " + codes("e") + "] TJ -40 0 Td " +
                                  codes("fg") + " Tj T* 60 10 Td " + codes("hi") +
                                  " Tj /H 15 Tf 50 0 Td (flat) Tj ET",
                              {"/Identity-V", "", "", true, "0 0 300 200"}));
}

TEST(CompositeFonts, VerticalWritingWithItsOwnMetrics)
{
    Preparation made = preparePdf(
        compositePdf("BT /F1 20 Tf 150 180 Td 2 Tc " + codes("abcd") + " Tj ET",
                     {"/Identity-V", "/DW2 [700 -1200] /W2 [68 [-900 0 500] 69 70 -1500 400 800]",
                      "", true, "0 0 300 200"}));
    /* Each glyph's origin is the point less the position vector; the point goes down by the advance
     * less the character spacing. */
    expectSamePages(compositePdf("BT /F1 20 Tf 1 0 0 1 150 170 Tm " + codes("a") +
                                 " Tj 1 0 0 1 142 148 Tm " + codes("b") +
                                 " Tj 1 0 0 1 142 120 Tm " + codes("c") +
                                 " Tj 1 0 0 1 143.5 94 Tm " + codes("d") + " Tj ET"),
                    made.pdf);
}

TEST(CompositeFonts, WidthsOfBothForms)
{
    expectSimple(
        compositePdf("BT /F1 20 Tf 10 150 Td " + codes("AABBCC") + " Tj ET",
                     {"/Identity-H", "/W [36 [300 900] 38 40 1500]", "", true, "0 0 300 200"}));
}

TEST(CompositeFonts, SharedByPageAndForm)
{
    PdfBuilder pdf;
    int font = addComposite(&pdf);
    std::string resources = "/Resources << /Font << /F1 " + ref(font) + " >> >>";
    int own = pdf.addStream("/Type /XObject /Subtype /Form /BBox [0 0 300 200] " + resources,
                            "BT /F1 20 Tf 10 100 Td " + codes("own") + " Tj ET");
    /* This one has no resources of its own, and takes the font from where it is painted. */
    int inherits = pdf.addStream("/Type /XObject /Subtype /Form /BBox [0 0 300 200]",
                                 "BT 10 50 Td " + codes("taken") + " Tj ET");
    int content = pdf.addStream("", "BT /F1 20 Tf 10 150 Td " + codes("page") +
                                        " Tj ET /X1 Do /F1 30 Tf /X2 Do");
    pdf.addPage("/MediaBox [0 0 300 200] /Contents " + ref(content) +
                " /Resources << /Font << /F1 " + ref(font) + " >> /XObject << /X1 " + ref(own) +
                " /X2 " + ref(inherits) + " >> >>");
    expectSimple(pdf.build());
}

TEST(CompositeFonts, GlyphZeroAndCharactersBeyondTheFont)
{
    Preparation made =
        preparePdf(compositePdf("BT /F1 20 Tf 10 150 Td <0024000000257FFF0026> Tj ET"));
    EXPECT_EQ(made.status, 0);
    EXPECT_FALSE(holds(inClear(made.pdf), "/Type0"));
    EXPECT_EQ(convertForPrinting(made.pdf).status, 0);
}

TEST(CompositeFonts, TextAsClip)
{
    expectSimple(compositePdf("q BT /F1 80 Tf 7 Tr 10 80 Td " + codes("Clip") +
                              " Tj ET 0 0 1 rg 0 0 300 110 re f Q"));
}

TEST(CompositeFonts, TextIsFoundBehindTheWholeWay)
{
    PdfBuilder pdf;
    CompositeSettings settings;
    settings.toUnicode = toUnicode(&pdf, "1 beginbfrange <0024> <005D> <0041> endbfrange");
    int font = addComposite(&pdf, settings);
    int content = pdf.addStream("", "BT /F1 20 Tf 10 150 Td " + codes("Hamburgefonts") + " Tj ET");
    pdf.addPage("/MediaBox [0 0 300 200] /Contents " + ref(content) +
                " /Resources << /Font << /F1 " + ref(font) + " >> >>");
    Preparation made = preparePdf(pdf.build());
    EXPECT_TRUE(holds(textOf(made.pdf), "Hamburgefonts"));
    ScratchDirectory directory;
    directory.write("doc.ps", convertForPrinting(made.pdf).output);
    ProgramOptions options;
    options.directory = directory.path;
    runProgram({"ps2pdf", "doc.ps", "doc.pdf"}, options);
    EXPECT_TRUE(holds(textOf(readFile(directory / "doc.pdf")), "Hamburgefonts"));
}

TEST(CompositeFonts, OneTextForManyCharactersKeepsThemApart)
{
    PdfBuilder pdf;
    CompositeSettings settings;
    settings.toUnicode = toUnicode(&pdf, "3 beginbfchar <0024> <0041> <0025> <0041> <0026> "
                                         "<0041> endbfchar");
    int font = addComposite(&pdf, settings);
    int content = pdf.addStream("", "BT /F1 30 Tf 10 150 Td " + codes("ABC") + " Tj ET");
    pdf.addPage("/MediaBox [0 0 300 200] /Contents " + ref(content) +
                " /Resources << /Font << /F1 " + ref(font) + " >> >>");
    std::string prepared = expectSimple(pdf.build());
    EXPECT_TRUE(holds(textOf(prepared), "AAA"));
}

TEST(CompositeFonts, EmbeddedCMapWithOneAndTwoByteCodes)
{
    PdfBuilder pdf;
    CompositeSettings settings;
    settings.encoding = ref(pdf.addStream(
        "/Type /CMap /CMapName /Own /CIDSystemInfo << /Registry (Adobe) /Ordering (Identity) "
        "/Supplement 0 >>",
        "%!PS-Adobe-3.0 Resource-CMap\n/CIDInit /ProcSet findresource begin 12 dict begin "
        "begincmap /CMapName /Own def /CMapType 1 def 2 begincodespacerange <20> <7F> <8000> "
        "<FFFF> endcodespacerange 1 begincidrange <20> <7E> 3 endcidrange 1 begincidchar <8001> "
        "36 endcidchar endcmap end end"));
    int font = addComposite(&pdf, settings);
    int content = pdf.addStream("", "BT /F1 20 Tf 20 Tw 10 150 Td (a b) Tj <8001428001> Tj ET");
    pdf.addPage("/MediaBox [0 0 300 200] /Contents " + ref(content) +
                " /Resources << /Font << /F1 " + ref(font) + " >> >>");
    expectSimple(pdf.build());
}

TEST(CompositeFonts, CompactProgramWithoutCharacterNumbers)
{
    PdfBuilder pdf;
    int program = pdf.addStream("/Subtype /CIDFontType0C", compactTable(openTypeFile()));
    int descriptor = pdf.add("<< /Type /FontDescriptor /FontName /C059 /Flags 4 /FontBBox "
                             "[0 0 1000 1000] /ItalicAngle 0 /Ascent 900 /Descent -200 /CapHeight "
                             "700 /StemV 80 /FontFile3 " +
                             ref(program) + " >>");
    int descendant = pdf.add("<< /Type /Font /Subtype /CIDFontType0 /BaseFont /C059 "
                             "/CIDSystemInfo << /Registry (Adobe) /Ordering (Identity) /Supplement "
                             "0 >> /DW 600 /FontDescriptor " +
                             ref(descriptor) + " >>");
    int font = pdf.add("<< /Type /Font /Subtype /Type0 /BaseFont /C059 /Encoding /Identity-H "
                       "/DescendantFonts [" +
                       ref(descendant) + "] >>");
    int content = pdf.addStream("", "BT /F1 30 Tf 10 100 Td " + codeRange(20, 12) + " Tj ET");
    pdf.addPage("/MediaBox [0 0 300 200] /Contents " + ref(content) +
                " /Resources << /Font << /F1 " + ref(font) + " >> >>");
    expectSimple(pdf.build());
}

TEST(CompositeFonts, NotEmbeddedLatinBecomesAStandardFont)
{
    PdfBuilder pdf;
    CompositeSettings settings;
    settings.isEmbedded = false;
    settings.toUnicode = toUnicode(&pdf, "1 beginbfrange <0024> <005D> <0041> endbfrange");
    int font = addComposite(&pdf, settings);
    int content = pdf.addStream("", "BT /F1 20 Tf 10 150 Td " + codes("Latin") + " Tj ET");
    pdf.addPage("/MediaBox [0 0 300 200] /Contents " + ref(content) +
                " /Resources << /Font << /F1 " + ref(font) + " >> >>");
    Preparation made = preparePdf(pdf.build());
    EXPECT_EQ(made.messages, std::vector<std::string>());
    std::string clear = inClear(made.pdf);
    EXPECT_TRUE(holds(clear, "/BaseFont /Helvetica"));
    EXPECT_TRUE(holds(textOf(made.pdf), "Latin"));
}

TEST(CompositeFonts, TextWithoutAFontKeepsItsRoomAndIsReported)
{
    CompositeSettings settings;
    settings.isEmbedded = false;
    Preparation made = preparePdf(
        compositePdf("BT /F1 20 Tf 10 150 Td <00240025> Tj /H 20 Tf (X) Tj ET", settings));
    EXPECT_EQ(made.status, 0);
    EXPECT_EQ(made.messages,
              std::vector<std::string>{
                  "PREPARE-L-NOFONT: Page 1: Text in font DejaVuSans is missing: neither the "
                  "document nor the system has the font."});
    /* "X" stands behind the room of two glyphs, each 650 thousandths of 20 points. */
    expectSamePages(onePagePdf("BT /F1 20 Tf 36 150 Td (X) Tj ET",
                               "/MediaBox [0 0 300 200] /Resources << /Font << /F1 << /Type /Font "
                               "/Subtype /Type1 /BaseFont /Helvetica >> >> >>"),
                    made.pdf);
}

TEST(CompositeFonts, UnknownEncodingIsReported)
{
    Preparation made = preparePdf(compositePdf("BT /F1 20 Tf 10 150 Td <0024> Tj ET",
                                               {"/No-Such-H", "", "", true, "0 0 300 200"}));
    EXPECT_EQ(made.status, 0);
    EXPECT_EQ(made.messages,
              std::vector<std::string>{"PREPARE-L-NOCMAP: Page 1: The encoding No-Such-H is not "
                                       "installed; its text is missing."});
}

TEST(CompositeFonts, SelectedByAGraphicsState)
{
    PdfBuilder pdf;
    int font = addComposite(&pdf);
    int content = pdf.addStream("", "BT /G gs 10 150 Td " + codes("state") + " Tj ET");
    pdf.addPage("/MediaBox [0 0 300 200] /Contents " + ref(content) +
                " /Resources << /ExtGState << /G << /Font [" + ref(font) + " 25] >> >> >>");
    expectSimple(pdf.build());
}

TEST(CompositeFonts, RangesOverRangesOfWidthsEnd)
{
    /* 200,000 ranges of all 65,536 numbers: some 13,000 million widths. */
    std::string ranges;
    for (int i = 0; i < 200000; i++)
        ranges += "0 65535 500 ";
    PdfBuilder pdf;
    int below = pdf.add("<< /Type /Font /Subtype /CIDFontType2 /BaseFont /Helvetica /CIDSystemInfo "
                        "<< /Registry (Adobe) /Ordering (Identity) /Supplement 0 >> /W [" +
                        ranges + "] >>");
    int font = pdf.add("<< /Type /Font /Subtype /Type0 /BaseFont /Helvetica /Encoding /Identity-H "
                       "/DescendantFonts [" +
                       ref(below) + "] >>");
    int content = pdf.addStream("", "BT /F1 12 Tf 10 10 Td <00410042> Tj ET");
    pdf.addPage("/MediaBox [0 0 100 100] /Contents " + ref(content) +
                " /Resources << /Font << /F1 " + ref(font) + " >> >>");
    EXPECT_EQ(preparePdf(pdf.build()).status, 0);
}
