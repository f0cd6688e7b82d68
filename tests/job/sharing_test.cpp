/*
 * sharing_test.cpp - what pages have in common stands once
 */
#include <gtest/gtest.h>

#include "tests/postscript/print_job.h"
#include "tests/support/conversion.h"
#include "tests/support/pdf_builder.h"
#include "tests/support/printing.h"

namespace {

using Lines = std::vector<std::string>;

std::string noise(size_t count)
{
    std::string text;
    uint32_t state = 5;
    for (size_t i = 0; i < count; i++)
        text += (char)((state = state * 1664525 + 1013904223) >> 24);
    return text;
}

int addImage(PdfBuilder &pdf, int width, int height)
{
    return pdf.addStream("/Subtype /Image /BitsPerComponent 8 /ColorSpace /DeviceGray /Width " +
                             std::to_string(width) + " /Height " + std::to_string(height),
                         noise((size_t)width * (size_t)height));
}

/* The same resources on so many pages, each with content of its own. */
std::string pagesWith(PdfBuilder pdf, int count, const std::string &resources,
                      const std::string &content)
{
    for (int i = 0; i < count; i++)
        pdf.addPage("/MediaBox [0 0 100 100] /Resources << " + resources + " >> /Contents " +
                    ref(pdf.addStream("", std::to_string(i % 100) + " 0 9 9 re f " + content)));
    return pdf.build();
}

void expectSamePages(const std::string &pdf, const std::string &job)
{
    Conversion exact = convertForPrinting(pdf);
    ASSERT_EQ(exact.status, 0);
    PrintedJob expected = printFile(exact.output, 36), printed = printFile(job, 36);
    EXPECT_EQ(faultsOf(printed), faultsOf(expected));
    ASSERT_EQ(printed.pages.size(), expected.pages.size());
    for (size_t i = 0; i < printed.pages.size(); i++)
        EXPECT_TRUE(printed.pages[i].rgb == expected.pages[i].rgb) << "page " << i + 1;
}

TEST(JobSharing, ALogoOnAThousandPagesStandsOnce)
{
    PdfBuilder pdf;
    int logo = addImage(pdf, 100, 100);
    std::string document =
        pagesWith(pdf, 1000, "/XObject << /L " + ref(logo) + " >>", "q 50 0 0 50 20 20 cm /L Do Q");
    std::string job = jobOf(document, {"--binary"});
    EXPECT_EQ(occurrences(sharedTextOf(job), "CallImage"), 1u);
    std::vector<std::string> pages = pageTextsOf(job);
    ASSERT_EQ(pages.size(), 1000u);
    for (const std::string &page : pages)
        EXPECT_TRUE(page.starts_with("/L 0 UseShared\n")) << page;
    EXPECT_LT(job.size(), 10000u + 1000u * 450u + 30000u);
    expectSamePages(document, job);
}

TEST(JobSharing, EveryKindOfResource)
{
    PdfBuilder pdf;
    int image = addImage(pdf, 20, 20);
    int function = pdf.addStream("/FunctionType 0 /Domain [0 1] /Range [0 1 0 1 0 1] /Size [2] "
                                 "/BitsPerSample 8",
                                 std::string("\xFF\xFF\xFF\xC0\x20\x60", 6));
    int transfer = pdf.addStream("/FunctionType 0 /Domain [0 1] /Range [0 1] /Size [2] "
                                 "/BitsPerSample 8",
                                 std::string("\xFF\x00", 2));
    int font = pdf.add("<< /Type /Font /Subtype /Type1 /BaseFont /Times-Roman >>");
    int glyph = pdf.addStream("", "600 0 d0 /I Do 0 0 500 500 re f");
    int type3 =
        pdf.add("<< /Type /Font /Subtype /Type3 /FontBBox [0 0 600 600] /FontMatrix "
                "[0.001 0 0 0.001 0 0] /FirstChar 97 /LastChar 97 /Widths [600] "
                "/Encoding << /Differences [97 /a] >> /CharProcs << /a " +
                ref(glyph) + " >> /Resources << /XObject << /I " + ref(image) + " >> >> >>");
    int space = pdf.add("[/Separation /Ink /DeviceRGB " + ref(function) + "]");
    int state = pdf.add("<< /SA true /TR " + ref(transfer) + " >>");
    int form = pdf.addStream("/Subtype /Form /BBox [0 0 50 50] /Resources << /XObject << /X " +
                                 ref(image) + " >> /Font << /F " + ref(font) + " >> >>",
                             "q 30 0 0 30 0 0 cm /X Do Q BT /F 12 Tf 2 35 Td (form) Tj ET");
    std::string resources = "/XObject << /M " + ref(form) + " /I " + ref(image) +
                            " >> /Font << /F " + ref(font) + " /T " + ref(type3) +
                            " >> /ExtGState << /G " + ref(state) + " >> /ColorSpace << /C " +
                            ref(space) + " >>";
    std::string document =
        pagesWith(pdf, 3, resources,
                  "/M Do BT /F 10 Tf 5 85 Td (shared) Tj /T 20 Tf 40 0 Td (aa) Tj ET "
                  "/C cs 0.7 scn 60 10 30 30 re f /G gs 0.25 g 60 45 30 30 re f");
    std::string job = jobOf(document);
    std::string shared = sharedTextOf(job);
    for (const char *word : {"CallImage", "CallForm", "AdjFont", "T3DefFnct",
                             "/ExtGState defineRes pop", "/ColorSpace defineRes pop"})
        EXPECT_EQ(occurrences(shared, word), 1u) << word;
    for (const std::string &page : pageTextsOf(job))
        for (const char *word : {"CallImage", "CallForm", "AdjFont", "defineRes"})
            EXPECT_EQ(occurrences(page, word), 0u) << word;
    expectSamePages(document, job);
}

TEST(JobSharing, AFormKeepsTheLinesOfItsResourcesInFrontOfIt)
{
    PdfBuilder pdf;
    int one = addImage(pdf, 8, 8), two = addImage(pdf, 16, 16);
    int form = pdf.addStream("/Subtype /Form /BBox [0 0 9 9] /Resources << /XObject << /X " +
                                 ref(one) + " >> >>",
                             "9 0 0 9 0 0 cm /X Do");
    std::string document =
        pagesWith(pdf, 2, "/XObject << /M " + ref(form) + " /X " + ref(two) + " >>",
                  "/M Do q 50 0 0 50 30 30 cm /X Do Q");
    std::string job = jobOf(document);
    for (const std::string &page : pageTextsOf(job))
        EXPECT_TRUE(page.starts_with("OpenResources\n/X 1 UseShared\nCloseResources\n/M 0 "
                                     "UseShared\n/X 2 UseShared\n"))
            << page;
    expectSamePages(document, job);
}

TEST(JobSharing, ContentOfManyPagesStandsOnce)
{
    PdfBuilder pdf;
    std::string letterhead;
    for (int i = 0; i < 2000; i++)
        letterhead +=
            std::to_string(i * 37 % 100) + " " + std::to_string(i * 53 % 100) + " 1 1 re f\n";
    int head = pdf.addStream("", letterhead);
    for (int i = 0; i < 20; i++)
        pdf.addPage("/MediaBox [0 0 100 100] /Contents [" + ref(head) + " " +
                    ref(pdf.addStream("", "1 0 0 rg " + std::to_string(i) + " 0 9 9 re f")) + "]");
    std::string document = pdf.build(), job = jobOf(document);
    EXPECT_EQ(occurrences(sharedTextOf(job), "1 1 re f"), 2000u);
    for (const std::string &page : pageTextsOf(job)) {
        EXPECT_EQ(occurrences(page, "0 UseContents\n"), 1u);
        EXPECT_EQ(occurrences(page, "1 1 re f"), 0u);
    }
    expectSamePages(document, job);
}

TEST(JobSharing, EqualDefinitionsAreOneWhateverTheirObjects)
{
    PdfBuilder pdf;
    for (int i = 0; i < 10; i++) {
        int image = addImage(pdf, 40, 40);
        int form = pdf.addStream("/Subtype /Form /BBox [0 0 9 9]", "0 0 9 9 re f");
        int other = pdf.addStream("/Subtype /Form /BBox [0 0 9 9]",
                                  "0 0 " + std::to_string(20 + i) + " 9 re f");
        pdf.addPage("/MediaBox [0 0 100 100] /Resources << /XObject << /I " + ref(image) + " /M " +
                    ref(form) + " /N " + ref(other) +
                    " >> /ExtGState << /G << /SA true >> >> >> /Contents " +
                    ref(pdf.addStream("", std::to_string(i) +
                                              " 50 9 9 re f /G gs /M Do q 40 0 0 40 20 20 cm /I "
                                              "Do Q 1 0 0 1 80 80 cm /N Do")));
    }
    std::string document = pdf.build(), job = jobOf(document, {"--binary"});
    EXPECT_EQ(occurrences(sharedTextOf(job), "CallImage"), 1u);
    EXPECT_EQ(occurrences(sharedTextOf(job), "CallForm"), 1u);
    EXPECT_EQ(occurrences(sharedTextOf(job), "/ExtGState defineRes pop"), 1u);
    for (const std::string &page : pageTextsOf(job))
        EXPECT_EQ(occurrences(page, "CallForm"), 1u) << "the one that differs";
    expectSamePages(document, job);
}

/* Forms in forms, each with names that others have too: every name means what its own dictionary
 * says. */
TEST(JobSharing, NamesMeanWhatTheirOwnDictionarySays)
{
    for (int copies : {1, 2}) {
        PdfBuilder pdf;
        auto box = [&](const char *colour, const std::string &resources = "",
                       const std::string &more = "") {
            return ref(pdf.addStream("/Subtype /Form /BBox [0 0 100 100] " + resources,
                                     std::string(colour) + " rg 0 0 30 30 re f " + more));
        };
        std::string red = box("1 0 0"), green = box("0 1 0"), blue = box("0 0 1");
        std::string inner =
            box("0 1 1", "/Resources << /XObject << /A " + blue + " /Z " + red + " >> >>",
                "q 1 0 0 1 30 0 cm /A Do 1 0 0 1 30 0 cm /Z Do Q");
        std::string plain = box("1 0 1");
        std::string outer =
            box("1 1 0",
                "/Resources << /XObject << /P " + plain + " /A " + green + " /B " + inner + " /C " +
                    plain + " >> >>",
                "q 1 0 0 1 30 0 cm /A Do 1 0 0 1 30 0 cm /C Do Q q 1 0 0 1 0 35 cm /B Do Q");
        for (int i = 0; i < copies; i++)
            pdf.addPage("/MediaBox [0 0 100 " + std::to_string(110 + i) +
                        "] /Resources << /XObject << /A " + red + " /B " + outer + " /C " + blue +
                        " >> >> /Contents " +
                        ref(pdf.addStream("", "/A Do q 1 0 0 1 35 0 cm /C Do Q "
                                              "q 1 0 0 1 0 35 cm /B Do Q")));
        std::string document = pdf.build();
        PrintedJob printed = printFile(jobOf(document), 72);
        EXPECT_EQ(faultsOf(printed), Lines{});
        std::vector<Picture> expected = renderPdf(document, 72);
        ASSERT_EQ(printed.pages.size(), expected.size());
        for (size_t i = 0; i < expected.size(); i++)
            EXPECT_TRUE(isRight(comparePictures(printed.pages[i], expected[i]))) << i;
    }
}

/* The same content with other resources behind its names is another form. */
TEST(JobSharing, EqualFormsWithOtherResourcesAreNotEqual)
{
    PdfBuilder pdf;
    for (int i = 0; i < 2; i++) {
        int image = addImage(pdf, 20 + 10 * i, 20);
        int form = pdf.addStream("/Subtype /Form /BBox [0 0 90 90] /Resources << /XObject << /X " +
                                     ref(image) + " >> >>",
                                 "90 0 0 90 0 0 cm /X Do");
        pdf.addPage("/MediaBox [0 0 100 100] /Resources << /XObject << /M " + ref(form) +
                    " >> >> /Contents " + ref(pdf.addStream("", "/M Do")));
    }
    std::string document = pdf.build();
    expectSamePages(document, jobOf(document));
}

TEST(JobSharing, ManyNamesOfOneObject)
{
    PdfBuilder pdf;
    int image = addImage(pdf, 30, 30);
    std::string names;
    for (int i = 0; i < 60000; i++)
        names += "/N" + std::to_string(i) + " " + ref(image) + " ";
    std::string document =
        pagesWith(pdf, 1, "/XObject << " + names + " >>", "50 0 0 50 9 9 cm /N59999 Do");
    std::string job = jobOf(document);
    EXPECT_EQ(occurrences(sharedTextOf(job), "CallImage"), 1u);
    EXPECT_LT(job.size(), 500000u);
    PrintedJob printed = printFile(job, 36);
    EXPECT_EQ(faultsOf(printed), Lines{});
    ASSERT_EQ(printed.pages.size(), 1u);
    EXPECT_FALSE(isBlank(printed.pages[0]));
}

TEST(JobSharing, FieldsThatShareOneDictionary)
{
    PdfBuilder pdf;
    std::string fonts, forms, use;
    for (int i = 0; i < 20; i++)
        fonts += "/F" + std::to_string(i) + " " +
                 ref(pdf.add("<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica /Encoding << "
                             "/Differences [65 /B] >> /Widths [" +
                             std::to_string(600 + i) + "] /FirstChar 65 /LastChar 65 >>")) +
                 " ";
    int resources = pdf.add("<< /Font << " + fonts + " >> >>");
    for (int i = 0; i < 300; i++) {
        std::string number = std::to_string(i);
        forms +=
            "/X" + number + " " +
            ref(pdf.addStream("/Subtype /Form /BBox [0 0 20 9] /Resources " + ref(resources),
                              "BT /F" + std::to_string(i % 20) + " 4 Tf (A" + number + ") Tj ET")) +
            " ";
        use += "q 1 0 0 1 " + std::to_string(i % 5 * 20) + " " + std::to_string(i / 5 * 1.6) +
               " cm /X" + number + " Do Q ";
    }
    std::string document = pagesWith(pdf, 1, "/XObject << " + forms + " >>", use);
    std::string job = jobOf(document, {"--binary"});
    EXPECT_EQ(occurrences(sharedTextOf(job), "AdjFont"), 20u);
    EXPECT_LT(job.size(), 120000u);
    expectSamePages(document, job);
}

TEST(JobSharing, WhatFindsNoRoomInThePrinterStandsInItsPages)
{
    PdfBuilder pdf;
    int small = addImage(pdf, 50, 50), large = addImage(pdf, 1200, 1000);
    std::string document =
        pagesWith(pdf, 3, "/XObject << /S " + ref(small) + " /L " + ref(large) + " >>",
                  "q 40 0 0 40 0 50 cm /S Do Q q 40 0 0 40 50 50 cm /L Do Q");
    std::string job = jobOf(document, {"--printer-memory=1", "--binary"});
    EXPECT_EQ(occurrences(sharedTextOf(job), "CallImage"), 1u);
    for (const std::string &page : pageTextsOf(job))
        EXPECT_EQ(occurrences(page, "CallImage"), 1u);
    expectSamePages(document, job);
    job = jobOf(document, {"--printer-memory=0", "--binary"});
    EXPECT_EQ(sharedTextOf(job), "");
    expectSamePages(document, job);
}

TEST(JobSharing, WhatDefinesNothingIsNoErrorOfThePages)
{
    PdfBuilder pdf;
    int unknown = pdf.addStream("/Subtype /PS", "showpage");
    std::string document =
        pagesWith(pdf, 2, "/XObject << /X " + ref(unknown) + " >>", "10 10 50 50 re f");
    std::string job = jobOf(document);
    for (const std::string &page : pageTextsOf(job))
        EXPECT_EQ(occurrences(page, "/X 0 UseShared\n"), 1u);
    expectSamePages(document, job);
}

TEST(JobSharing, OnePageSharesOnlyWhatItRepeats)
{
    PdfBuilder pdf;
    int image = addImage(pdf, 8, 8), other = addImage(pdf, 9, 9);
    std::string document = pagesWith(
        pdf, 1, "/XObject << /A " + ref(image) + " /B " + ref(other) + " /C " + ref(image) + " >>",
        "/A Do /B Do /C Do");
    std::string job = jobOf(document);
    EXPECT_EQ(occurrences(sharedTextOf(job), "CallImage"), 1u);
    EXPECT_EQ(occurrences(jobOf(pagesWith(pdf, 1, "/XObject << /A " + ref(image) + " >>", "")),
                          "PdfShared"),
              0u);
}

/* A halftone's thresholds are a file that is read once, a lookup table is decoded once: what a page
 * reads is there for the next one, too. */
TEST(JobSharing, WhatAPageReadsIsThereForTheNext)
{
    PdfBuilder pdf;
    int thresholds = pdf.addStream("/HalftoneType 6 /Width 4 /Height 4", noise(16));
    int state = pdf.add("<< /HT " + ref(thresholds) + " >>");
    int table = pdf.addStream("", std::string("\xFF\x00\x00\x00\xC0\x00", 6));
    int space = pdf.add("[/Indexed /DeviceRGB 1 " + ref(table) + "]");
    std::string document = pagesWith(
        pdf, 4, "/ExtGState << /G " + ref(state) + " >> /ColorSpace << /C " + ref(space) + " >>",
        "/G gs 0.5 g 10 10 40 40 re f /C cs 1 scn 50 50 40 40 re f");
    std::string job = jobOf(document);
    PrintedJob printed = printFile(job, 36);
    EXPECT_EQ(faultsOf(printed), Lines{});
    expectSamePages(document, job);
}

} // namespace
