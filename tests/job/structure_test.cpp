/*
 * structure_test.cpp - the comments of a job, and what bytes and lines it is made of
 */
#include <gtest/gtest.h>

#include "job/comments.h"
#include "tests/support/conversion.h"
#include "tests/support/pdf_builder.h"
#include "tests/support/printing.h"
#include "tests/support/sample_document.h"

namespace {

using Lines = std::vector<std::string>;

/* Pages of these sizes, a bar on each. */
std::string pagesOf(const Lines &boxes, const std::string &catalog = "")
{
    PdfBuilder pdf;
    pdf.catalogEntries = catalog;
    for (const std::string &box : boxes)
        pdf.addPage("/MediaBox [" + box + "] /Contents " +
                    ref(pdf.addStream("", "10 10 50 5 re f")));
    return pdf.build();
}

std::string noise(size_t count)
{
    std::string text;
    uint32_t state = 7;
    for (size_t i = 0; i < count; i++)
        text += (char)((state = state * 1664525 + 1013904223) >> 24);
    return text;
}

/* A page with an image of bytes that cannot be compressed. */
std::string noisyPdf(int side)
{
    PdfBuilder pdf;
    size_t bytes = 3 * (size_t)side * (size_t)side;
    std::string size = std::to_string(side);
    int image = pdf.addStream("/Subtype /Image /Width " + size + " /Height " + size +
                                  " /BitsPerComponent 8 /ColorSpace /DeviceRGB",
                              noise(bytes));
    pdf.addPage("/MediaBox [0 0 200 200] /Resources << /XObject << /I " + ref(image) +
                " >> >> /Contents " + ref(pdf.addStream("", "200 0 0 200 0 0 cm /I Do")));
    return pdf.build();
}

TEST(JobStructure, CommentsTellThePagesAndTheirPaper)
{
    std::string job = jobOf(pagesOf({"0 0 200 300", "10 20 110 70", "0 0 200 300"}));
    EXPECT_EQ(commentsOf(job), (Lines{
                                   "%!PS-Adobe-3.0",
                                   "%%Title: (doc.pdf)",
                                   "%%Creator: (pdf_print 1.3)",
                                   "%%LanguageLevel: 3",
                                   "%%DocumentData: Clean7Bit",
                                   "%%Pages: 3",
                                   "%%PageOrder: Ascend",
                                   "%%BoundingBox: 0 0 200 300",
                                   "%%DocumentMedia: 200x300 200 300 0 () ()",
                                   "%%+ 100x50 100 50 0 () ()",
                                   "%%DocumentSuppliedResources: procset pdf_to_ps 1.3 0",
                                   "%%EndComments",
                                   "%%BeginProlog",
                                   "%%BeginResource: procset pdf_to_ps 1.3 0",
                                   "%%EndResource",
                                   "%%EndProlog",
                                   "%%BeginSetup",
                                   "%%EndSetup",
                                   "%%Page: (1) 1",
                                   "%%PageBoundingBox: 0 0 200 300",
                                   "%%PageMedia: 200x300",
                                   "%%BeginPageSetup",
                                   "%%EndPageSetup",
                                   "%%PageTrailer",
                                   "%%Page: (2) 2",
                                   "%%PageBoundingBox: 0 0 100 50",
                                   "%%PageMedia: 100x50",
                                   "%%BeginPageSetup",
                                   "%%EndPageSetup",
                                   "%%PageTrailer",
                                   "%%Page: (3) 3",
                                   "%%PageBoundingBox: 0 0 200 300",
                                   "%%PageMedia: 200x300",
                                   "%%BeginPageSetup",
                                   "%%EndPageSetup",
                                   "%%PageTrailer",
                                   "%%Trailer",
                                   "%%EOF",
                               }));
}

TEST(JobStructure, ThePagesThatWereChosen)
{
    std::string pdf = pagesOf({"0 0 10 10", "0 0 20 20", "0 0 30 30", "0 0 40 40"});
    std::string job = jobOf(pdf, {"--pages=4,2-3,3"});
    EXPECT_EQ(occurrences(job, "\n%%Page: "), 3u);
    EXPECT_EQ(occurrences(job, "\n%%Page: (2) 1\n"), 1u);
    EXPECT_EQ(occurrences(job, "\n%%Page: (4) 3\n"), 1u);
    EXPECT_EQ(occurrences(job, "\n%%BoundingBox: 0 0 40 40\n"), 1u);
    EXPECT_EQ(occurrences(jobOf(pdf, {"--pages=3-"}), "\n%%Page: "), 2u);
    PrintRun none = printPdf(pdf, {"--no-prepare", "--pages=7"});
    EXPECT_EQ(none.status, 1);
    EXPECT_EQ(none.messages, Lines{"pdf_print: doc.pdf: None of the pages wanted exists."});
}

TEST(JobStructure, LabelsAreTheDocumentsOwn)
{
    std::string pdf = pagesOf({"0 0 9 9", "0 0 9 9", "0 0 9 9", "0 0 9 9"},
                              "/PageLabels << /Nums [0 << /S /r /St 3 >> 2 << /S /D /P (A-) >> "
                              "3 << /P (back\\\\\\) cover) >>] >>");
    std::string job = jobOf(pdf);
    for (const char *line : {"\n%%Page: (iii) 1\n", "\n%%Page: (iv) 2\n", "\n%%Page: (A-1) 3\n",
                             "\n%%Page: (back\\\\\\) cover) 4\n"})
        EXPECT_EQ(occurrences(job, line), 1u) << line;
}

TEST(JobStructure, LabelsInATree)
{
    std::string pdf =
        pagesOf({"0 0 9 9", "0 0 9 9"}, "/PageLabels << /Kids [<< /Nums [0 << /S /A >>] >> "
                                        "<< /Nums [1 << /S /R >>] >>] >>");
    std::string job = jobOf(pdf);
    EXPECT_EQ(occurrences(job, "\n%%Page: (A) 1\n"), 1u);
    EXPECT_EQ(occurrences(job, "\n%%Page: (I) 2\n"), 1u);
}

TEST(JobStructure, LabelsThatAreNoneAreTheNumbers)
{
    for (const char *labels : {"/PageLabels 7", "/PageLabels << /Nums 3 >>",
                               "/PageLabels << /Nums [0] >>", "/PageLabels << /Nums [0 5] >>"})
        EXPECT_EQ(occurrences(jobOf(pagesOf({"0 0 9 9"}, labels)), "\n%%Page: (1) 1\n"), 1u)
            << labels;
}

TEST(JobStructure, TextsOfCommentsArePrintableEscapedAndShort)
{
    EXPECT_EQ(job::commentText("a(b)c\\"), "(a\\(b\\)c\\\\)");
    EXPECT_EQ(job::commentText("x\ny\x80"), "(x?y?)");
    EXPECT_LE(job::commentText(std::string(5000, '(')).size(), 201u);
    std::string title = jobOf(pagesOf({"0 0 9 9"}), {"--title=a\n%%Pages: 99"});
    EXPECT_EQ(occurrences(title, "\n%%Title: (a?%%Pages: 99)\n"), 1u);
}

TEST(JobStructure, FontsOfThePrinterAreNamed)
{
    PdfBuilder pdf;
    pdf.addPage("/MediaBox [0 0 9 9] /Resources << /Font << /A << /Type /Font /Subtype /Type1 "
                "/BaseFont /Times-Roman >> /B << /Type /Font /Subtype /Type1 /BaseFont /Unheard "
                ">> >> >>");
    EXPECT_EQ(occurrences(jobOf(pdf.build()), "\n%%DocumentNeededResources: font Times-Roman\n"),
              1u);
}

TEST(JobStructure, TheSameInputGivesTheSameBytes)
{
    EXPECT_TRUE(jobOf(sampleDocument()) == jobOf(sampleDocument()));
    EXPECT_TRUE(jobOf(sampleDocument(), {"--binary"}) == jobOf(sampleDocument(), {"--binary"}));
}

TEST(JobStructure, NothingButPrintableCharactersAndLineEndsInAscii)
{
    for (const std::string &pdf : {sampleDocument(), noisyPdf(60)})
        for (const Lines &options : {Lines{}, Lines{"--no-compress"}, Lines{"--level=2"}})
            for (char c : jobOf(pdf, options))
                ASSERT_TRUE((c >= ' ' && c <= '~') || c == '\n') << (int)(unsigned char)c;
}

TEST(JobStructure, LinesAreShortAndDataDoesNotLookLikeComments)
{
    for (const Lines &options : {Lines{}, Lines{"--level=2"}}) {
        bool isData = false;
        for (const std::string &line : linesOf(jobOf(noisyPdf(300), options))) {
            EXPECT_LE(line.size(), 255u);
            if (isData) {
                EXPECT_FALSE(line.starts_with("%")) << line;
            }
            if (line.ends_with("PdfPage"))
                isData = true;
            if (line.ends_with("~>"))
                isData = false;
        }
    }
}

TEST(JobStructure, BinaryDataStandsInCountedBrackets)
{
    std::string job = jobOf(noisyPdf(60), {"--binary"});
    EXPECT_EQ(occurrences(job, "\n%%DocumentData: Binary\n"), 1u);
    size_t brackets = 0;
    const std::string mark = "\n%%BeginBinary: ";
    for (size_t at = 0; (at = job.find(mark, at)) != std::string::npos; brackets++) {
        size_t line = job.find('\n', at + 1) + 1;
        at = line + (size_t)atoll(job.c_str() + at + mark.size());
        EXPECT_EQ(job.substr(at, 12), "%%EndBinary\n");
    }
    EXPECT_EQ(brackets, 2u) << "the runtime and the page";
}

TEST(JobStructure, CompressedDataIsStoredAndTextIsCompressed)
{
    std::string pdf = noisyPdf(300);
    std::string job = jobOf(pdf, {"--binary"});
    EXPECT_LT(job.size(), 270000u + 23000u) << "the image's 270,000 bytes, and no more for them";
    std::string text = "BT ";
    for (int i = 0; i < 5000; i++)
        text += "1 0 0 1 " + std::to_string(i) + " 700 Tm (some text) Tj\n";
    EXPECT_LT(jobOf(onePagePdf(text), {"--binary"}).size(), 23000u + text.size() / 5);
}

TEST(JobStructure, AnEncapsulatedFileHoldsOnePageAndAsksForNoPaper)
{
    std::string pdf = pagesOf({"0 0 200 300", "10 20 110 70"});
    PrintRun run = printPdf(pdf, {"--no-prepare", "--eps"});
    EXPECT_EQ(run.status, 1);
    EXPECT_FALSE(run.hasOutput);
    EXPECT_EQ(run.messages, Lines{"pdf_print: doc.pdf: An encapsulated file holds one page; "
                                  "--pages chooses it."});
    std::string eps = jobOf(pdf, {"--eps", "--pages=2"});
    EXPECT_TRUE(eps.starts_with("%!PS-Adobe-3.0 EPSF-3.0\n"));
    EXPECT_EQ(occurrences(eps, "\n%%BoundingBox: 0 0 100 50\n"), 1u);
    EXPECT_EQ(occurrences(eps, " PdfSize\n"), 0u);
    EXPECT_EQ(occurrences(eps, "setpagedevice"), 0u);
}

TEST(JobStructure, SettingsOfTheDeviceStandInTheSetup)
{
    std::string job = jobOf(pagesOf({"0 0 9 9"}), {"--copies=3", "--collate", "--duplex=short"});
    size_t setup = job.find("%%BeginSetup"), end = job.find("%%EndSetup");
    std::string text = job.substr(setup, end - setup);
    for (const char *setting :
         {"<< /NumCopies 3 >>", "<< /Collate true >>", "<< /Duplex true /Tumble true >>"})
        EXPECT_EQ(occurrences(text, setting), 1u) << setting;
    EXPECT_EQ(occurrences(job, "\n%%Requirements: numcopies(3) collate duplex(tumble)\n"), 1u);
    EXPECT_EQ(occurrences(jobOf(pagesOf({"0 0 9 9"})), "setpagedevice"), 0u)
        << "what nobody asks for is the printer's business";
}

TEST(JobStructure, APageWithoutAreaIsStillAPage)
{
    std::string job = jobOf(pagesOf({"0 0 0 9", "0 0 9 9"}));
    EXPECT_EQ(occurrences(job, "\n%%Page: "), 2u);
    EXPECT_EQ(pageTextsOf(job).size(), 1u);
    EXPECT_EQ(occurrences(job, "\nshowpage\n"), 1u);
}

} // namespace
