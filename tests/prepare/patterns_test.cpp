/*
 * patterns_test.cpp - tiling patterns: the same page without them
 */
#include <gtest/gtest.h>

#include "tests/prepare/preparation.h"
#include "tests/support/pdf_builder.h"

namespace {

/* A cell of 18 by 18, which is a whole number of pixels: a red square and a blue bar. */
const char CELL[] = "1 0 0 rg 2 2 8 8 re f 0 0 1 rg 12 0 4 18 re f";
const char PLAIN[] = "/PatternType 1 /PaintType 1 /TilingType 1 /BBox [0 0 18 18] /XStep 18 "
                     "/YStep 18 /Resources << >>";
const char INK[] = "/PatternType 1 /PaintType 2 /TilingType 1 /BBox [0 0 18 18] /XStep 18 "
                   "/YStep 18 /Resources << >>";
const char HELVETICA[] = "/Font << /F1 << /Type /Font /Subtype /Type1 /BaseFont /Helvetica-Bold "
                         ">> >>";
const char USE[] = "/Pattern cs /P scn ";

struct Patterned {
    PdfBuilder pdf;
    std::string resources = HELVETICA; /* beside the pattern */

    std::string build(const std::string &content, const std::string &entries = PLAIN,
                      const std::string &cell = CELL)
    {
        return buildWith(content, ref(pdf.addStream(entries, cell)));
    }

    std::string buildWith(const std::string &content, const std::string &pattern)
    {
        int stream = pdf.addStream("", content);
        pdf.addPage("/MediaBox [0 0 200 200] /Contents " + ref(stream) +
                    " /Resources << /Pattern "
                    "<< /P " +
                    pattern + " >> " + resources + " >>");
        return pdf.build();
    }
};

/* Prepared without a notice, the page is the same and has no pattern left. */
std::string expectExpressed(const std::string &pdf)
{
    std::string clear = inClear(expectAlike(pdf));
    EXPECT_FALSE(holds(clear, "/Pattern"));
    EXPECT_FALSE(holds(clear, "scn"));
    return clear;
}

std::string form(const std::string &pattern, const std::string &entries = "")
{
    return "/Type /XObject /Subtype /Form /BBox [0 0 200 200] " + entries +
           " /Resources << /Pattern << /P " + pattern + " >> >>";
}

/* Prepared within the bounds; what comes of it is a page that prints. */
void expectBounded(const std::string &pdf)
{
    Preparation made = preparePdf(pdf);
    EXPECT_EQ(made.status, 0);
    EXPECT_TRUE(made.hasOutput);
    EXPECT_LT(made.pdf.size(), 200000u);
}

} // namespace

TEST(Patterns, FillAPathWithCells)
{
    std::string clear = expectExpressed(Patterned().build(
        std::string(USE) + "20 30 m 180 30 l 100 180 l h f 0 1 0 rg 5 5 20 20 re f"));
    EXPECT_TRUE(holds(clear, "W n")) << "a fill is a clip";
    EXPECT_TRUE(holds(clear, "0 1 0 rg")) << "other colours stay";
}

TEST(Patterns, FillByBothRulesAndKeepStrokesAndClips)
{
    std::string star = "100 190 m 150 20 l 20 130 l 180 130 l 50 20 l ";
    expectExpressed(Patterned().build(std::string(USE) + "0 0.5 0 RG 4 w " + star + "b*"));
    expectExpressed(Patterned().build(std::string(USE) + "0 0.5 0 RG 4 w " + star + "b"));
    /* The clip is the star without its middle, and comes after the fill. */
    std::string cells;
    for (int x = 0; x < 200; x += 18)
        for (int y = 0; y < 200; y += 18)
            cells +=
                "q 1 0 0 1 " + std::to_string(x) + " " + std::to_string(y) + " cm " + CELL + " Q ";
    std::string after = "0 0.6 0 rg 60 60 80 40 re f";
    expectPrintedAs(Patterned().build(USE + star + "h W* f " + after),
                    onePagePdf("q " + star + "h W n " + cells + "Q " + star + "h W* n " + after));
}

TEST(Patterns, UncolouredTakeTheColourTheyAreSelectedWith)
{
    Patterned page;
    page.resources = "/ColorSpace << /CS [/Pattern /DeviceRGB] >>";
    std::string shapes = "2 2 8 8 re f 12 0 4 18 re f";
    std::string content = "/CS cs 1 0 0 /P scn 10 10 80 180 re f "
                          "0 0 1 /P scn 110 10 80 180 re f";
    expectExpressed(page.build(content, INK, shapes));
    /* Colours within the cell do not count. */
    Patterned odd;
    odd.resources = page.resources;
    std::string made = preparePdf(odd.build(content, INK, "0 1 0 rg 0 1 0 RG " + shapes)).pdf;
    EXPECT_FALSE(holds(inClear(made), "0 1 0 rg"));
}

TEST(Patterns, LieByTheirMatrixAndNotByThePagesOwn)
{
    for (const char *matrix :
         {"[0.8 0.6 -0.6 0.8 7 3]", "[1 0 0.5 1 0 0]", "[2 0 0 0.5 -5 11]", "[-1 0 0 1 3 0]"}) {
        SCOPED_TRACE(matrix);
        expectExpressed(
            Patterned().build("0.5 0.2 -0.2 0.5 60 20 cm " + std::string(USE) + "0 0 200 200 re f",
                              std::string(PLAIN) + " /Matrix " + matrix));
    }
}

TEST(Patterns, StepsMayBeNegativeOrWiderOrNarrowerThanTheCell)
{
    for (const char *steps : {"/XStep -20 /YStep -20", "/XStep 33 /YStep 27", "/XStep 15 /YStep 18",
                              "/XStep -33 /YStep 20"}) {
        SCOPED_TRACE(steps);
        std::string entries = "/PatternType 1 /PaintType 1 /TilingType 1 /BBox [0 0 20 20] "
                              "/Resources << >> " +
                              std::string(steps);
        expectExpressed(Patterned().build(std::string(USE) + "15 25 170 150 re f", entries,
                                          "1 0 0 rg 2 2 8 8 re f"));
    }
}

TEST(Patterns, LargeCellsArePaintedOnceAndSmallOnesInBlocks)
{
    std::string large = "/PatternType 1 /PaintType 1 /TilingType 1 /BBox [0 0 2000 2000] /XStep "
                        "2000 /YStep 2000 /Resources << >>";
    std::string clear = expectExpressed(Patterned().build(std::string(USE) + "15 25 170 150 re f",
                                                          large, "1 0 0 rg 0 0 100 100 re f"));
    EXPECT_EQ(clear.find(" Do"), clear.rfind(" Do"));
    std::string small = "/PatternType 1 /PaintType 1 /TilingType 1 /BBox [0 0 7.2 7.2] /XStep 7.2 "
                        "/YStep 7.2 /Resources << >>";
    clear = expectExpressed(Patterned().build(std::string(USE) + "4 4 190 190 re f", small,
                                              "0 0.5 0 rg 0 0 3.6 7.2 re f"));
    EXPECT_TRUE(holds(clear, "57.6 0 cm")) << "eight cells";
}

TEST(Patterns, CellsBeginWithAStateOfTheirOwn)
{
    /* The page's line width, dashes and text state are not the cell's. */
    Patterned page;
    page.resources = "";
    expectExpressed(page.build(
        "9 w [4 4] 0 d 2 J BT 8 Tc 50 Tz ET " + std::string(USE) + "10 10 180 180 re f",
        "/PatternType 1 /PaintType 1 /TilingType 1 /BBox [0 0 54 54] /XStep 54 /YStep 54 "
        "/Resources << " +
            std::string(HELVETICA) + " >>",
        "5 5 m 50 5 l S BT /F1 20 Tf 4 20 Td (Cell) Tj ET"));
}

TEST(Patterns, FillText)
{
    for (const char *mode : {"0 Tr", "0 0.6 0 RG 2 Tr"}) {
        SCOPED_TRACE(mode);
        std::string clear = expectExpressed(Patterned().build(
            std::string(USE) + "BT /F1 60 Tf 10 120 Td " + mode +
            " (Tile) Tj 0 -80 Td [(T) -100 (ex) 50 (t)] TJ 0 Tr 0 g /F1 12 Tf 0 -20 Td (plain) Tj "
            "ET 0 0 1 rg 180 180 20 20 re f"));
        EXPECT_TRUE(holds(clear, "7 Tr"));
    }
    EXPECT_TRUE(holds(textOf(preparePdf(Patterned().build(std::string(USE) +
                                                          "BT /F1 60 Tf 10 120 Td (Tile) Tj ET"))
                                 .pdf),
                      "Tile"));
}

TEST(Patterns, SelectedWithinATextObject)
{
    expectExpressed(Patterned().build("BT /F1 60 Tf 10 120 Td 0 0.5 0 rg (Ti) Tj " +
                                      std::string(USE) + "(le) Tj 0 -80 Td (Text) Tj ET"));
}

TEST(Patterns, PaintStencilMasks)
{
    Patterned page;
    std::string mask = ref(page.pdf.addStream("/Type /XObject /Subtype /Image /ImageMask true "
                                              "/Width 8 /Height 4 /BitsPerComponent 1",
                                              "\x0F\xF0\x3C\xFF"));
    page.resources = "/XObject << /Im " + mask + " >>";
    expectExpressed(page.build(std::string(USE) + "q 160 20 -20 80 30 10 cm /Im Do Q "
                                                  "q 100 0 0 60 40 120 cm BI /IM true /W 2 /H 2 "
                                                  "/BPC 1 /D [1 0] ID \x80\x40 EI Q"));
}

TEST(Patterns, InFormsLieByTheFormsOwnSpace)
{
    Patterned page;
    std::string pattern = ref(page.pdf.addStream(PLAIN, CELL));
    std::string inner = ref(page.pdf.addStream(form(pattern, "/Matrix [0.6 0.3 -0.3 0.6 70 10]"),
                                               std::string(USE) + "10 10 150 150 re f"));
    page.resources = "/XObject << /X " + inner + " >>";
    expectExpressed(page.buildWith("/X Do q 0.4 0 0 0.4 100 110 cm /X Do Q", pattern));
}

TEST(Patterns, InPatterns)
{
    Patterned page;
    std::string inner =
        ref(page.pdf.addStream("/PatternType 1 /PaintType 1 /TilingType 1 /BBox "
                               "[0 0 7.2 7.2] /XStep 7.2 /YStep 7.2 /Resources << >>",
                               "1 0 0 rg 0 0 3.6 7.2 re f"));
    std::string outer = ref(page.pdf.addStream(
        "/PatternType 1 /PaintType 1 /TilingType 1 /BBox [0 0 54 54] /XStep 54 /YStep 54 "
        "/Resources << /Pattern << /P " +
            inner + " >> >>",
        std::string(USE) + "5 5 40 30 re f"));
    expectExpressed(page.buildWith(std::string(USE) + "10 10 180 180 re f", outer));
}

TEST(Patterns, InGlyphs)
{
    Patterned page;
    std::string pattern = ref(page.pdf.addStream("/PatternType 1 /PaintType 1 /TilingType 1 /BBox "
                                                 "[0 0 200 200] /XStep 200 /YStep 200 /Resources "
                                                 "<< >>",
                                                 "1 0 0 rg 0 0 100 200 re f 0 0 1 rg 100 0 100 "
                                                 "200 re f"));
    std::string glyph =
        ref(page.pdf.addStream("", "1000 0 d0 " + std::string(USE) + "0 0 800 800 re f"));
    page.resources = "/Font << /T3 << /Type /Font /Subtype /Type3 /FontBBox [0 0 1000 1000] "
                     "/FontMatrix [0.001 0 0 0.001 0 0] /FirstChar 97 /LastChar 97 /Widths [1000] "
                     "/CharProcs << /a " +
                     glyph +
                     " >> /Encoding << /Differences [97 /a] >> /Resources << /Pattern << "
                     "/P " +
                     pattern + " >> >> >> >>";
    expectAlike(page.buildWith("BT /T3 80 Tf 15 100 Td (aa) Tj ET", pattern));
}

TEST(Patterns, LinesInPatternsBecomePixels)
{
    std::string pdf = Patterned().build("/Pattern CS /P SCN 12 w 30 30 m 170 30 l 100 170 l s");
    Preparation made = preparePdf(pdf);
    ASSERT_EQ(made.messages.size(), 1u);
    EXPECT_TRUE(holds(made.messages[0], "PREPARE-D-REGION: Page 1:")) << made.messages[0];
    EXPECT_TRUE(holds(made.messages[0], "a line in a pattern")) << made.messages[0];
    expectAlikePages(pdf, made.pdf);
}

TEST(Patterns, MoreCellsThanAnyoneSeesBecomePixels)
{
    std::string entries = "/PatternType 1 /PaintType 1 /TilingType 1 /BBox [0 0 1 1] /XStep 1 "
                          "/YStep 1 /Resources << >>";
    std::string pdf = Patterned().build(std::string(USE) + "10 10 180 180 re f", entries,
                                        "0 0 1 rg 0 0 1 1 re f");
    Preparation made = preparePdf(pdf);
    ASSERT_EQ(made.messages.size(), 1u);
    EXPECT_TRUE(holds(made.messages[0], "PREPARE-D-REGION: Page 1:")) << made.messages[0];
}

TEST(Patterns, ThatNobodyUsesAreDropped)
{
    std::string made = expectPrepared(Patterned().build("0 0 1 rg 10 10 50 50 re f"));
    EXPECT_FALSE(holds(inClear(made), "/Pattern"));
}

TEST(Patterns, WithinThemselvesEnd)
{
    Patterned page;
    int loop = page.pdf.reserve();
    std::string entries = "/PatternType 1 /PaintType 1 /TilingType 1 /BBox [0 0 50 50] /XStep 50 "
                          "/YStep 50 /Length 31 /Resources << /Pattern << /P " +
                          ref(loop) + " >> >>";
    page.pdf.set(loop, "<< " + entries + " >>\nstream\n/Pattern cs /P scn 0 0 9 9 re f\nendstream");
    expectBounded(page.buildWith(std::string(USE) + "10 10 180 180 re f", ref(loop)));
    /* And many of them, each twice in the one around it. */
    Patterned deep;
    std::string inner = ref(deep.pdf.addStream(PLAIN, CELL));
    for (int i = 0; i < 30; i++)
        inner = ref(deep.pdf.addStream(
            "/PatternType 1 /PaintType 1 /TilingType 1 /BBox [0 0 50 50] /XStep 50 /YStep 50 "
            "/Resources << /Pattern << /P " +
                inner + " >> >>",
            std::string(USE) + "5 5 40 30 re f 1 1 2 2 re f"));
    expectBounded(deep.buildWith(std::string(USE) + "10 10 180 180 re f", inner));
}

TEST(Patterns, WithoutSensePaintNothingMuch)
{
    for (const char *entries :
         {"/PatternType 1 /BBox [0 0 0 0] /XStep 1 /YStep 1", "/PatternType 1", "/PatternType 9",
          "/PatternType 1 /BBox [0 0 9 9] /XStep 0 /YStep 0",
          "/PatternType 1 /BBox [0 0 9 9] /XStep 1e-30 /YStep 0.00001",
          "/PatternType 1 /BBox [0 0 9 9] /XStep 9 /YStep 9 /Matrix [0 0 0 0 0 0]",
          "/PatternType 1 /BBox [0 0 9 9] /XStep 9 /YStep 9 /Matrix [1 1 1 1 5 5]",
          "/PatternType 1 /BBox [-99999999 -99999999 99999999 99999999] /XStep 9 /YStep 9",
          "/PatternType 2"}) {
        SCOPED_TRACE(entries);
        expectBounded(
            Patterned().build(std::string(USE) + "10 10 180 180 re f B W n q BT (x) Tj", entries));
    }
    expectBounded(Patterned().buildWith(std::string(USE) + "10 10 180 180 re f", "null"));
    expectBounded(Patterned().buildWith("/Pattern cs /Q scn 10 10 180 180 re f", "7"));
}
