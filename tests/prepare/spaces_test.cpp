/*
 * spaces_test.cpp - code 32 is a glyph like any other: subsets put ink there
 */
#include <gtest/gtest.h>

#include "tests/postscript/print_job.h"
#include "tests/prepare/fonts.h"
#include "tests/prepare/preparation.h"
#include "tests/support/pdf_builder.h"
#include "tests/support/picture.h"
#include "tests/support/printing.h"
#include "tests/truetype/font_builder.h"

namespace {

/* A square of an em but a tenth on each side. */
std::string square()
{
    return simpleGlyph({{{100, 0, ON}, {100, 800, ON}, {900, 800, ON}, {900, 0, ON}}},
                       {100, 0, 900, 800});
}

struct SubsetTable {
    unsigned platform, encoding;
    int first; /* character of the square; the next one is a square, too */
};

/* Two squares, found by this table. */
std::string subsetFont(const SubsetTable &table)
{
    FontBuilder font;
    font.box = {0, 0, 1000, 1000};
    font.glyphs = {simpleGlyph({}), square(), square()};
    font.advances = {1000};
    std::string map;
    if (table.platform == 1) {
        std::vector<unsigned> glyphs((size_t)table.first, 0);
        glyphs.insert(glyphs.end(), {1, 2});
        map = cmapFormat0(glyphs);
    } else {
        map = cmapFormat4({{(unsigned)table.first, (unsigned)table.first + 1, 1 - table.first}});
    }
    font.replaced["cmap"] = cmapTable({{table.platform, table.encoding, map}});
    return font.build();
}

std::string fontWith(PdfBuilder *pdf, const std::string &program, int flags,
                     const std::string &encoding)
{
    int file = pdf->addStream("/Length1 " + std::to_string(program.size()), program);
    int descriptor = pdf->add("<< /Type /FontDescriptor /FontName /ABCDEF+Subset /Flags " +
                              std::to_string(flags) +
                              " /FontBBox [0 0 1000 1000] /ItalicAngle 0 /Ascent 900 /Descent 0 "
                              "/CapHeight 800 /StemV 80 /FontFile2 " +
                              ref(file) + " >>");
    return ref(pdf->add("<< /Type /Font /Subtype /TrueType /BaseFont /ABCDEF+Subset /FirstChar 32 "
                        "/LastChar 33 /Widths [1000 1000] /FontDescriptor " +
                        ref(descriptor) + " " + encoding + " >>"));
}

Picture printed(PdfBuilder *pdf, const std::string &font)
{
    int stream = pdf->addStream("", "BT /F1 60 Tf 20 70 Td ( !) Tj ET");
    pdf->addPage("/MediaBox [0 0 160 200] /Contents " + ref(stream) +
                 " /Resources << /Font << /F1 " + font + " >> >>");
    PrintRun run = printPdf(pdf->build());
    EXPECT_EQ(run.status, 0) << testing::PrintToString(run.messages);
    PrintedJob job = printFile(run.output, 72);
    EXPECT_EQ(faultsOf(job), std::vector<std::string>());
    return job.pages.empty() ? Picture() : job.pages[0];
}

void expectBoth(const Picture &page)
{
    EXPECT_TRUE(hasColour(page, 50, 90, {0, 0, 0}, 72)) << "code 32";
    EXPECT_TRUE(hasColour(page, 110, 90, {0, 0, 0}, 72)) << "code 33";
}

} // namespace

/* Names that stand elsewhere in the encoding, too, or are those of the same character. */
TEST(Spaces, OfTrueTypeSubsetsHaveInk)
{
    struct Row {
        SubsetTable table;
        int flags;
        const char *encoding;
    };
    for (const Row &row :
         {Row{{3, 0, 0xF020}, 4, ""}, Row{{3, 0, 0x20}, 4, ""}, Row{{1, 0, 0x20}, 4, ""},
          Row{{3, 0, 0xF020}, 4, "/Encoding /WinAnsiEncoding"},
          Row{{1, 0, 0x20}, 32, "/Encoding /MacRomanEncoding"},
          Row{{3, 1, 0x20}, 32, "/Encoding /WinAnsiEncoding"},
          Row{{3, 1, 0x41}, 32, "/Encoding << /Differences [32 /A /B] >>"},
          Row{{3, 1, 0x41}, 32, "/Encoding << /Differences [32 /uni0041 /uni0042] >>"}}) {
        SCOPED_TRACE(std::to_string(row.table.platform) + " " + row.encoding);
        PdfBuilder pdf;
        expectBoth(printed(&pdf, fontWith(&pdf, subsetFont(row.table), row.flags, row.encoding)));
    }
}

TEST(Spaces, OfCompositeSubsetsHaveInk)
{
    const char *map = "begincmap 1 begincodespacerange <00> <ff> endcodespacerange 1 begincidrange "
                      "<20> <21> 1 endcidrange endcmap";
    for (bool isOneByte : {true, false}) {
        PdfBuilder pdf;
        int file = pdf.addStream("", subsetFont({3, 1, 0x41}));
        int descriptor =
            pdf.add("<< /Type /FontDescriptor /FontName /Subset /Flags 4 /FontBBox [0 0 1000 1000] "
                    "/ItalicAngle 0 /Ascent 900 /Descent 0 /CapHeight 800 /StemV 80 /FontFile2 " +
                    ref(file) + " >>");
        std::string encoding =
            isOneByte ? ref(pdf.addStream("/Type /CMap /CMapName /Own", map)) : "/Identity-H";
        int descendant =
            pdf.add("<< /Type /Font /Subtype /CIDFontType2 /BaseFont /Subset /CIDSystemInfo << "
                    "/Registry (Adobe) /Ordering (Identity) /Supplement 0 >> /DW 1000 "
                    "/FontDescriptor " +
                    ref(descriptor) + " >>");
        std::string font =
            ref(pdf.add("<< /Type /Font /Subtype /Type0 /BaseFont /Subset /Encoding " + encoding +
                        " /DescendantFonts [" + ref(descendant) + "] >>"));
        if (isOneByte) {
            expectBoth(printed(&pdf, font));
            continue;
        }
        std::string texts = ref(pdf.addStream(
            "", "begincmap 1 begincodespacerange <0000> <ffff> endcodespacerange 2 beginbfchar "
                "<0001> <0020> <0002> <00a0> endbfchar endcmap"));
        int stream = pdf.addStream("", "BT /F1 60 Tf 20 70 Td <00010002> Tj ET");
        pdf.addPage("/MediaBox [0 0 160 200] /Contents " + ref(stream) +
                    " /Resources << /Font << /F1 << /Type /Font /Subtype /Type0 /BaseFont /Subset "
                    "/Encoding /Identity-H /DescendantFonts [" +
                    ref(descendant) + "] /ToUnicode " + texts + " >> >> >>");
        PrintedJob job = printFile(printPdf(pdf.build()).output, 72);
        ASSERT_EQ(job.pages.size(), 1u);
        expectBoth(job.pages[0]);
    }
}

TEST(Spaces, OfCompactSubsetsHaveInk)
{
    for (const char *names : {"/H /H", "/space /H"}) {
        PdfBuilder pdf;
        int file = pdf.addStream("/Subtype /Type1C", compactTable(openTypeFile()));
        int descriptor =
            pdf.add("<< /Type /FontDescriptor /FontName /C059-Roman /Flags 4 /FontBBox [0 0 1000 "
                    "1000] /ItalicAngle 0 /Ascent 900 /Descent 0 /CapHeight 800 /StemV 80 "
                    "/FontFile3 " +
                    ref(file) + " >>");
        std::string font =
            ref(pdf.add("<< /Type /Font /Subtype /Type1 /BaseFont /C059-Roman /FirstChar 32 "
                        "/LastChar 33 /Widths [1000 1000] /Encoding << /Differences [32 " +
                        std::string(names) + "] >> /FontDescriptor " + ref(descriptor) + " >>"));
        Picture page = printed(&pdf, font);
        PointBox box = drawnBox(page, 72);
        EXPECT_LT(box.left, names[1] == 'H' ? 30 : 90);
        EXPECT_GT(box.left, names[1] == 'H' ? 19 : 79);
    }
}
