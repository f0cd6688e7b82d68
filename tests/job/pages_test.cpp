/*
 * pages_test.cpp - every page stands alone: nothing of one reaches the next
 */
#include <gtest/gtest.h>

#include "tests/job/random_bytes.h"
#include "tests/postscript/print_job.h"
#include "tests/support/conversion.h"
#include "tests/support/pdf_builder.h"
#include "tests/support/printing.h"
#include "tests/support/sample_document.h"

namespace {

using Lines = std::vector<std::string>;

/* The last page of the document must look as if it stood alone. */
void expectLastPageUnharmed(const std::string &content, const std::string &entries = "")
{
    const std::string clean = "0 0.5 0 rg 20 20 100 60 re f BT /F 20 Tf 20 120 Td (clean) Tj ET";
    const std::string font = "/Resources << /Font << /F << /Type /Font /Subtype /Type1 /BaseFont "
                             "/Helvetica >> >> >> ";
    PdfBuilder pdf, alone;
    pdf.addPage("/MediaBox [0 0 200 200] " + (entries.empty() ? font : entries) + " /Contents " +
                ref(pdf.addStream("", content)));
    pdf.addPage("/MediaBox [0 0 200 200] " + font + " /Contents " + ref(pdf.addStream("", clean)));
    alone.addPage("/MediaBox [0 0 200 200] " + font + " /Contents " +
                  ref(alone.addStream("", clean)));
    PrintedJob printed = printFile(jobOf(pdf.build()), 36);
    PrintedJob expected = printFile(jobOf(alone.build()), 36);
    EXPECT_EQ(printed.status, 0);
    ASSERT_EQ(expected.pages.size(), 1u);
    ASSERT_EQ(printed.pages.size(), 2u) << content.substr(0, 60);
    EXPECT_TRUE(printed.pages[1].rgb == expected.pages[0].rgb) << content.substr(0, 60);
}

TEST(JobPages, MarksOfTheEncodingInContentEndNothing)
{
    for (const char *content :
         {"(~>) pop ~> ~>\n~>\n", "%%EndBinary\n%%PageTrailer\nshowpage\n", "PdfEnd\nquit\n",
          "EndPageDescription\nEndDocument\n", "\x04\x03\x1B%-12345X", "<~ ~>",
          "%%EOF\n%%Page: (9) 9\n-1 /FlateDecode PdfPage\n"})
        expectLastPageUnharmed(content);
}

TEST(JobPages, DamageStaysInThePage)
{
    for (const char *content :
         {"q q q q q q", "( never closed", "<< << <<", "{ { {", "<AB", "Q Q Q Q", "BT (x) Tj",
          "0 0 m 10 10 l W", "1 0 0 1 500 500 cm q", "BI /W 99999 /H 99999 /BPC 8 /CS /G ID x",
          "0.1 0 0 0.1 0 0 cm 0 0 10 10 re W n", "1 J 5 w [3] 0 d 0 0 1 RG"})
        expectLastPageUnharmed(content);
}

TEST(JobPages, BudgetsAreThePages)
{
    std::string deep, shows = "BT /F 1 Tf 0 0 Td ";
    for (int i = 0; i < 1500; i++)
        shows += "(" + std::string(2000, 'x') + ") Tj ";
    expectLastPageUnharmed(shows + "ET");
    for (int i = 0; i < 9000; i++)
        deep += "nonsense";
    for (int i = 0; i < 9000; i++)
        deep += " nonsense" + std::to_string(i);
    expectLastPageUnharmed(deep);
}

TEST(JobPages, AFormInItselfIsPaintedOnce)
{
    PdfBuilder pdf;
    int form = pdf.reserve();
    std::string content = "q 0.9 0 0 0.9 5 5 cm /M Do Q 10 10 50 50 re f";
    pdf.set(form, "<< /Subtype /Form /BBox [0 0 200 200] /Length " +
                      std::to_string(content.size()) +
                      " /Resources << /XObject << >> >> >>\n"
                      "stream\n" +
                      content + "\nendstream");
    pdf.addPage("/MediaBox [0 0 200 200] /Resources << /XObject << /M " + ref(form) +
                " >> >> /Contents " + ref(pdf.addStream("", "/M Do")));
    PrintedJob printed = printFile(jobOf(pdf.build()), 36);
    ASSERT_EQ(printed.pages.size(), 1u);
    EXPECT_FALSE(isBlank(printed.pages[0]));
}

TEST(JobPages, LookTheSameInEveryFormOfAJob)
{
    PrintedJob first = printFile(preparedJobOf(sampleDocument()), 72);
    EXPECT_FALSE(first.pages.empty());
    for (const Lines &options :
         {Lines{"--binary"}, Lines{"--no-compress"}, Lines{"--no-compress", "--binary"}}) {
        PrintedJob printed = printFile(preparedJobOf(sampleDocument(), options), 72);
        EXPECT_EQ(faultsOf(printed), faultsOf(first));
        ASSERT_EQ(printed.pages.size(), first.pages.size());
        for (size_t i = 0; i < printed.pages.size(); i++)
            EXPECT_TRUE(printed.pages[i].rgb == first.pages[i].rgb) << "page " << i + 1;
    }
}

TEST(JobPages, ComeThroughAPipeAsWell)
{
    PrintOptions options;
    options.dpi = 36;
    for (const Lines &form : {Lines{}, Lines{"--binary"}}) {
        std::string job = jobOf(sampleDocument(), form);
        PrintedJob file = printText(job, options);
        options.pipe = true;
        PrintedJob pipe = printText(job, options);
        options.pipe = false;
        ASSERT_EQ(file.pages.size(), pipe.pages.size());
        for (size_t i = 0; i < file.pages.size(); i++)
            EXPECT_TRUE(file.pages[i].rgb == pipe.pages[i].rgb);
    }
}

TEST(JobPages, TheReportCountsAllOfThem)
{
    PdfBuilder pdf;
    for (int i = 0; i < 3; i++)
        pdf.addPage("/MediaBox [0 0 50 50] /Resources << /Font << /F << /Type /Font /Subtype "
                    "/Type1 /BaseFont /Unheard >> >> >> /Contents " +
                    ref(pdf.addStream("", "nonsense BT /F 9 Tf (x) Tj ET")));
    PrintedJob printed = printFile(jobOf(pdf.build()), 36);
    EXPECT_EQ(printed.lines.front(),
              "%%[ pdf_to_ps: 3 errors in page content, 1 fonts replaced ]%%");
}

/* What goes wrong with the document itself in one page is told, and the others print. */
TEST(JobPages, APageThatCannotBeReadIsLeftOutInParts)
{
    PdfBuilder pdf;
    pdf.addPage("/MediaBox [0 0 50 50] /Resources << /XObject << /X " +
                ref(pdf.add("<< /Subtype /Form >>")) + " >> >> /Contents " +
                ref(pdf.addStream("", "0 0 9 9 re f")));
    pdf.addPage("/MediaBox [0 0 50 50] /Contents " + ref(pdf.addStream("", "0 0 30 30 re f")));
    PrintRun run = printPdf(pdf.build(), {"--no-prepare"});
    EXPECT_EQ(run.status, 3);
    ASSERT_EQ(run.messages.size(), 1u);
    EXPECT_TRUE(run.messages[0].starts_with("pdf_print: doc.pdf: page 1: ")) << run.messages[0];
    PrintedJob printed = printFile(run.output, 36);
    ASSERT_EQ(printed.pages.size(), 2u);
    EXPECT_FALSE(isBlank(printed.pages[1]));
    run = printPdf(pdf.build(), {"--no-prepare", "--strict"});
    EXPECT_EQ(run.status, 1);
    EXPECT_FALSE(run.hasOutput);
}

} // namespace

/* A printer that sees these bytes anywhere leaves the job, and takes what follows as its own
 * commands. */
TEST(JobPages, NoDataOfADocumentEndsTheJob)
{
    const std::string exit = "\033%-12345X";
    std::string pixels = randomBytes(64 * 64);
    for (size_t at : {0u, 100u, 1000u, 2045u, 4080u})
        pixels.replace(at, exit.size(), exit);
    PdfBuilder pdf;
    std::string entries = "/Type /XObject /Subtype /Image /Width 64 /Height 64 /ColorSpace "
                          "/DeviceGray /BitsPerComponent 8";
    std::string image = ref(pdf.addStream(entries, pixels));
    std::string content = ref(pdf.addStream("", "100 0 0 100 0 0 cm /Im Do % " + exit));
    pdf.addPage("/MediaBox [0 0 100 100] /Contents " + content + " /Resources << /XObject << /Im " +
                image + " >> >>");
    std::string document = pdf.build();
    using Options = std::vector<std::string>;
    std::string first;
    for (const Options &options : std::initializer_list<Options>{{},
                                                                 {"--binary"},
                                                                 {"--binary", "--no-compress"},
                                                                 {"--binary", "--level=2"},
                                                                 {"--no-compress"},
                                                                 {"--binary", "--eps"}}) {
        PrintRun run = printPdf(document, options);
        EXPECT_EQ(run.status, 0);
        EXPECT_EQ(run.output.find(exit), std::string::npos) << testing::PrintToString(options);
        PrintedJob printed = printFile(run.output, 72);
        ASSERT_EQ(printed.pages.size(), 1u) << testing::PrintToString(options);
        std::string page(printed.pages[0].rgb.begin(), printed.pages[0].rgb.end());
        first = first.empty() ? page : first;
        bool isWholePage = options.empty() || options.back() != "--eps";
        EXPECT_TRUE(page == first || !isWholePage) << testing::PrintToString(options);
    }
    PrintRun asItStands = printPdf(document, {"--binary", "--no-prepare"});
    EXPECT_EQ(asItStands.status, 3) << "a comment in content is refused";
    EXPECT_EQ(asItStands.output.find(exit), std::string::npos);
}
