/*
 * load_test.cpp - tables and page trees as they come
 */
#include <gtest/gtest.h>

#include "tests/prepare/preparation.h"
#include "tests/support/pdf_builder.h"
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
