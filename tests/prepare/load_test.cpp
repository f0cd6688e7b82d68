/*
 * load_test.cpp - tables and page trees as they come
 */
#include <filesystem>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "tests/prepare/preparation.h"
#include "tests/support/pdf_builder.h"
#include "tests/support/printing.h"
#include "tests/support/run_program.h"
#include "tests/support/scratch_directory.h"

namespace {

std::string withKids(const std::string &kids)
{
    PdfBuilder pdf;
    pdf.addPage("/MediaBox [0 0 99 99]"); /* object 3 */
    pdf.addPage("/MediaBox [0 0 99 99]"); /* object 4 */
    pdf.set(2, "<< /Type /Pages /Count 7 /Kids [" + kids + "] >>");
    return pdf.build();
}

size_t pagesOf(const Preparation &made)
{
    return countOf(inClear(made.pdf), "/Type /Page\n");
}

} // namespace

TEST(Load, AbsurdSubsectionsEndSoon)
{
    const std::string entry = "0000000000 65535 f \n";
    for (const char *header : {"0 3689348814741910322 \r\n", "0 -1\n", "0 18446744073709551615\n",
                               "9223372036854775807 1\n", "0 2147483647\n"}) {
        std::string pdf = withKids("3 0 R");
        size_t trailer = pdf.rfind("trailer");
        pdf.insert(trailer, header + entry);
        ScratchDirectory directory;
        std::string command = "ulimit -t 2; exec " + preparePath() + " " +
                              directory.write("doc.pdf", pdf) + " " + (directory / "out.pdf");
        EXPECT_EQ(runProgram({"sh", "-c", command}).status, 0) << header;
    }
}

TEST(Load, DeletedPagesStayAwayWhenTheTreeIsDamaged)
{
    for (const char *kids : {"3 0 R null", "2 0 R 3 0 R", "3 0 R 99 0 R"}) {
        Preparation made = preparePdf(withKids(kids));
        EXPECT_EQ(made.status, 0);
        EXPECT_EQ(made.messages,
                  std::vector<std::string>{"PREPARE-L-TREE: The list of pages is damaged; pages "
                                           "may be missing."});
        EXPECT_EQ(pagesOf(made), 1u) << kids;
    }
}

TEST(Load, TablesThatLeadBackToThemselvesEnd)
{
    PdfBuilder pdf;
    pdf.addPage("/MediaBox [0 0 99 99]");
    std::string first = pdf.build();
    for (size_t previous : {pdf.xrefOffset(), (size_t)99999999}) {
        std::string text = first;
        text.insert(text.rfind(">>\nstartxref"), "/Prev " + std::to_string(previous) + " ");
        Preparation made = preparePdf(text);
        EXPECT_EQ(made.status, 0) << previous;
        EXPECT_EQ(pagesOf(made), 1u) << previous;
    }
}

TEST(Load, TreesAreFollowedToABoundedDepth)
{
    for (int depth : {100, 400}) {
        PdfBuilder pdf;
        int below = 0;
        std::vector<int> nodes;
        for (int i = 0; i < depth; i++)
            nodes.push_back(pdf.reserve());
        int page = pdf.add("<< /Type /Page /MediaBox [0 0 99 99] >>");
        for (int i = 0; i < depth; i++) {
            below = i + 1 < depth ? nodes[(size_t)i + 1] : page;
            pdf.set(nodes[(size_t)i], "<< /Type /Pages /Count 1 /Kids [" + ref(below) + "] >>");
        }
        pdf.set(2, "<< /Type /Pages /Count 1 /Kids [" + ref(nodes[0]) + "] >>");
        Preparation made = preparePdf(pdf.build());
        EXPECT_EQ(made.status, 0) << depth;
        EXPECT_EQ(pagesOf(made), 1u) << depth;
        EXPECT_EQ(made.messages.empty(), depth == 100) << depth;
    }
}

/* What a page inherits is what stands above it on the way that led to it, whatever its /Parent. */
TEST(Load, APageListedTwiceInheritsFromEachOfItsNodes)
{
    PdfBuilder pdf;
    int page = pdf.add("<< /Type /Page /Parent 99 0 R >>");
    std::string kids = "/Kids [" + ref(page) + "] /Count 1 /Type /Pages >>";
    int small = pdf.add("<< /MediaBox [0 0 40 40] " + kids);
    int large = pdf.add("<< /MediaBox [0 0 70 70] " + kids);
    pdf.set(2, "<< /Type /Pages /Count 2 /Kids [" + ref(small) + " " + ref(large) + "] >>");
    Preparation made = preparePdf(pdf.build());
    EXPECT_EQ(made.status, 0);
    std::string clear = inClear(made.pdf);
    EXPECT_EQ(countOf(clear, "/Type /Page\n"), 2u);
    EXPECT_EQ(countOf(clear, "    40\n"), 2u) << clear;
    EXPECT_EQ(countOf(clear, "    70\n"), 2u) << clear;
}

/* Nothing of a document goes into a job as it stands: one that needs nothing is prepared, too, and
 * without its preparation there is no job. */
TEST(Load, EveryDocumentIsPreparedForItsJob)
{
    ScratchDirectory directory;
    std::string plain = directory.write("plain.pdf", onePagePdf("% mark\n0 0 50 50 re f"));
    ProgramResult result = runProgram({printProgramPath(), "-o", "-", plain});
    EXPECT_EQ(result.status, 0) << result.err;
    std::vector<std::string> pages = pageTextsOf(result.out);
    ASSERT_EQ(pages.size(), 1u);
    EXPECT_TRUE(holds(pages[0], "0 0 50 50 re f"));
    EXPECT_FALSE(holds(pages[0], "% mark"));

    std::filesystem::copy_file(printProgramPath(), directory / "pdf_print");
    std::string wrapper = directory.write("pdf_prepare", "#!/bin/sh\nexit 4\n");
    ASSERT_EQ(chmod(wrapper.c_str(), 0755), 0);
    result = runProgram({directory / "pdf_print", "-o", "-", plain});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.out, "");
}
