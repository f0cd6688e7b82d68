/*
 * limits_test.cpp - what a job takes of an interpreter stays below the limits of Language Level 2
 */
#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <sstream>

#include "tests/postscript/print_job.h"
#include "tests/postscript/tripwires.h"
#include "tests/support/conversion.h"
#include "tests/support/pdf_builder.h"
#include "tests/support/picture.h"
#include "tests/support/printing.h"
#include "tests/support/run_program.h"
#include "tests/support/scratch_directory.h"

namespace {

/* What scripts/limits.sh measures, by name. */
std::map<std::string, int> measured(const std::string &job)
{
    ScratchDirectory directory;
    ProgramResult result = runProgram({LIMITS_SCRIPT, directory.write("job.ps", job)});
    EXPECT_EQ(result.status, 0) << result.err;
    std::map<std::string, int> figures;
    for (const std::string &line : linesOf(result.out)) {
        std::istringstream words(line);
        std::string name;
        int figure = 0;
        words >> name >> figure;
        figures[name] = figure;
    }
    return figures;
}

/* Level 2 has room for the job, and prints what Level 3 prints. */
void expectRoom(const std::string &document)
{
    std::string job = preparedJobOf(document, {"--level=2"});
    std::map<std::string, int> figures = measured(job);
    EXPECT_GT(figures["operands"], 0);
    EXPECT_LE(figures["operands"], 450);
    EXPECT_LE(figures["dictionaries"], 18);
    EXPECT_LE(figures["execution"], 200);
    EXPECT_LE(figures["states"], 29);
    PrintedJob printed = printFile(job, 72);
    PrintedJob other = printFile(preparedJobOf(document), 72);
    EXPECT_EQ(faultsOf(printed), std::vector<std::string>{});
    ASSERT_EQ(printed.pages.size(), 1u);
    ASSERT_EQ(other.pages.size(), 1u);
    EXPECT_EQ(printed.pages[0].rgb, other.pages[0].rgb);
    EXPECT_EQ(trippedBy(job), std::vector<std::string>{});
}

std::string repeated(int count, const std::function<std::string(int)> &make)
{
    std::string all;
    for (int i = 0; i < count; i++)
        all += make(i);
    return all;
}

TEST(LevelTwoLimits, NinetyStatesInEachOther)
{
    auto number = [](int i) { return std::to_string(i); };
    expectRoom(onePagePdf(repeated(90,
                                   [&](int i) {
                                       return "q 1 0 0 1 1 1 cm 0." + number(i % 10) +
                                              " g 0 0 20 20 re f " + number(i % 3) +
                                              " 0 9 200 re W n\n";
                                   }) +
                          repeated(90, [&](int i) {
                              return "Q 0." + number(10 + i % 90) + " 0 0 rg 100 " + number(i * 2) +
                                     " 50 2 re f\n";
                          })));
}

TEST(LevelTwoLimits, StatesThatFormsHaveAroundThem)
{
    PdfBuilder pdf;
    std::string inner = ref(pdf.addForm("0 1 0 rg 0 0 9 9 re f"));
    for (int level = 0; level < 8; level++)
        inner = ref(pdf.addForm(
            repeated(10, [](int) { return "q 1 0 0 1 1 1 cm "; }) + "/X Do " +
                repeated(10, [](int i) { return "Q 0 0 " + std::to_string(i) + " 1 re f "; }),
            "/Resources << /XObject << /X " + inner + " >> >>"));
    pdf.addPage("/MediaBox [0 0 200 200] /Resources << /XObject << /X " + inner +
                " >> >> /Contents " + ref(pdf.addStream("", "/X Do 1 0 0 rg 50 50 9 9 re f")));
    expectRoom(pdf.build());
}

TEST(LevelTwoLimits, AnArrayOfThousandsOfStrings)
{
    std::string content = "BT /F 4 Tf 5 100 Td [" +
                          repeated(2000,
                                   [](int i) {
                                       return "(" + std::string(1, (char)('A' + i % 26)) + ") " +
                                              std::to_string(i % 50 - 300) + " ";
                                   }) +
                          "] TJ 0 -9 Td (next) Tj ET";
    expectRoom(onePagePdf(content, "/Resources << /Font << /F << /Type /Font /Subtype /Type1 "
                                   "/BaseFont /Helvetica >> >> >>"));
}

TEST(LevelTwoLimits, AFontOfGlyphsForEveryCode)
{
    PdfBuilder pdf;
    std::string glyph = ref(pdf.addStream("", "50 0 d0 0 0 40 400 re f"));
    auto named = [](int i) { return "/g" + std::to_string(i) + " "; };
    std::string font = ref(pdf.add(
        "<< /Type /Font /Subtype /Type3 /FontBBox [0 0 1000 1000] /FontMatrix [.001 0 0 .001 0 0] "
        "/FirstChar 0 /LastChar 255 /Widths [" +
        repeated(256, [](int) { return "50 "; }) + "] /Encoding << /Differences [0 " +
        repeated(256, named) + "] >> /CharProcs << " +
        repeated(256, [&](int i) { return named(i) + glyph + " "; }) + ">> >>"));
    std::string codes = repeated(256, [](int i) {
        return std::string(1, "0123456789ABCDEF"[i / 16]) + "0123456789ABCDEF"[i % 16];
    });
    pdf.addPage("/MediaBox [0 0 200 200] /Resources << /Font << /F " + font + " >> >> /Contents " +
                ref(pdf.addStream("", "BT /F 10 Tf 5 100 Td <" + codes + "> Tj ET")));
    expectRoom(pdf.build());
}

} // namespace
