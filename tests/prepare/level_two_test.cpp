/*
 * level_two_test.cpp - documents for printers without Flate and compact fonts
 */
#include <gtest/gtest.h>

#include "tests/compress/zlib_encoder.h"
#include "tests/postscript/print_job.h"
#include "tests/prepare/fonts.h"
#include "tests/prepare/preparation.h"
#include "tests/support/conversion.h"
#include "tests/support/pdf_builder.h"
#include "tests/support/printing.h"

namespace {

using Lines = std::vector<std::string>;

/* Where there is no Flate and no compact font, pages are the same. */
TEST(LevelTwo, PagesLookAsTheyDoOnLevelThree)
{
    PdfBuilder pdf;
    std::string font = trueTypeFile();
    int program = pdf.addStream("/Length1 " + std::to_string(font.size()), font);
    int descriptor = pdf.add("<< /Type /FontDescriptor /FontName /Letters /Flags 32 /FontFile2 " +
                             ref(program) + " >>");
    std::string content = "q 100 0 0 100 50 50 cm /I Do Q BT /F 40 Tf 10 150 Td (AB) Tj ET";
    int image = pdf.addStream("/Subtype /Image /Width 2 /Height 2 /BitsPerComponent 8 /ColorSpace "
                              "/DeviceRGB /Filter /FlateDecode",
                              encodeFlate(std::string("\xFF\0\0\0\xFF\0\0\0\xFF\x80\x80\0", 12)));
    pdf.addPage("/MediaBox [0 0 200 200] /Resources << /XObject << /I " + ref(image) +
                " >> /Font << /F << /Type /Font /Subtype /TrueType /BaseFont /Letters /FirstChar "
                "65 /LastChar 66 /Widths [600 600] /Encoding /WinAnsiEncoding /FontDescriptor " +
                ref(descriptor) + " >> >> >> /Contents " + ref(pdf.addStream("", content)));
    PrintRun two = printPdf(pdf.build(), {"--level=2"}), three = printPdf(pdf.build());
    EXPECT_EQ(two.status, 0);
    EXPECT_EQ(occurrences(two.output, "Flate"), 0u);
    EXPECT_EQ(occurrences(two.output, "\n%%LanguageLevel: 2\n"), 1u);
    EXPECT_GT(occurrences(two.output, "/LZWDecode PdfPage"), 0u);
    PrintOptions options;
    options.dpi = 72;
    PrintedJob expected = printText(three.output, options);
    options.levelTwo = true;
    PrintedJob printed = printText(two.output, options);
    EXPECT_EQ(faultsOf(printed), Lines{});
    ASSERT_EQ(printed.pages.size(), 1u);
    ASSERT_EQ(expected.pages.size(), 1u);
    EXPECT_FALSE(isBlank(printed.pages[0]));
    EXPECT_TRUE(isRight(comparePictures(printed.pages[0], expected.pages[0])));
}

TEST(LevelTwo, FontsOfJobsHaveGlyphsOfContent)
{
    std::string pdf = compositePdf("BT /F1 20 Tf 10 50 Td " + codes("Ag") + " Tj ET");
    Preparation made = preparePdf(pdf, {"--level=2", "--canonical"});
    EXPECT_EQ(made.status, 0);
    EXPECT_EQ(made.messages, Lines());
    EXPECT_TRUE(holds(made.pdf, "/Subtype /Type3"));
    for (const char *odd : {"/FlateDecode", "/FontFile", "eexec"})
        EXPECT_FALSE(holds(made.pdf, odd)) << odd;
    PrintedJob expected = printFile(convertForPrinting(preparePdf(pdf).pdf).output);
    PrintedJob printed = printFile(convertForPrinting(made.pdf).output);
    ASSERT_EQ(printed.pages.size(), 1u);
    EXPECT_FALSE(isBlank(printed.pages[0]));
    EXPECT_TRUE(isRight(comparePictures(printed.pages[0], expected.pages[0])));
}

TEST(LevelTwo, StreamsAreInClearAndFontsAreOfType1)
{
    Preparation made =
        preparePdf(compositePdf("BT /F1 20 Tf 10 50 Td " + codes("Ag") + " Tj ET"), {"--level=2"});
    EXPECT_EQ(made.status, 0);
    EXPECT_FALSE(holds(made.pdf, "/FlateDecode"));
    EXPECT_FALSE(holds(made.pdf, "/FontFile3"));
    EXPECT_TRUE(holds(made.pdf, "/FontFile "));
    EXPECT_TRUE(holds(made.pdf, "currentfile eexec\n"));
    EXPECT_EQ(preparePdf(onePagePdf(""), {"--level=4"}).status, 2);
}

TEST(LevelTwo, TextIsDrawnAsItWas)
{
    std::string pdf = compositePdf("BT /F1 40 Tf 10 50 Td " + codes("Ag") + " Tj ET");
    Preparation made = preparePdf(pdf, {"--level=2"});
    expectSamePages(pdf, made.pdf);
}

} // namespace
