/*
 * paths_test.cpp - paths with states and matrices in them, as older plotting programs write them
 */
#include <gtest/gtest.h>

#include "tests/postscript/print_job.h"
#include "tests/prepare/preparation.h"
#include "tests/support/pdf_builder.h"
#include "tests/support/picture.h"
#include "tests/support/printing.h"

namespace {

constexpr Colour RED = {255, 0, 0}, WHITE = {255, 255, 255};

Picture printed(const std::string &pdf)
{
    PrintRun run = printPdf(pdf);
    EXPECT_EQ(run.status, 0) << testing::PrintToString(run.messages);
    PrintedJob job = printFile(run.output, 72);
    EXPECT_EQ(faultsOf(job), std::vector<std::string>());
    return job.pages.empty() ? Picture() : job.pages[0];
}

/* Content on a page by itself, and the same in a form. */
std::vector<std::string> pagesWith(const std::string &content)
{
    PdfBuilder pdf;
    int form = pdf.addForm(content);
    int stream = pdf.addStream("", "/X Do");
    pdf.addPage("/MediaBox [0 0 200 200] /Contents " + ref(stream) +
                " /Resources << /XObject << /X " + ref(form) + " >> >>");
    return {onePagePdf(content), pdf.build()};
}

} // namespace

TEST(Paths, ArePaintedByTheMatrixOfTheMoment)
{
    for (const std::string &pdf : pagesWith("100 100 m 500 100 l 500 500 l 100 500 l h q .1 0 0 .1 "
                                            "100 100 cm 1 0 0 rg f Q")) {
        Picture page = printed(pdf);
        EXPECT_TRUE(isDrawnIn(page, {110, 110, 150, 150}, 72));
        EXPECT_TRUE(hasColour(page, 130, 130, RED, 72));
    }
}

TEST(Paths, AreNoPartOfTheState)
{
    for (const std::string &pdf :
         pagesWith("1 0 0 rg 10 10 m 50 10 l q 50 50 l 10 50 l f Q 100 100 40 40 re f")) {
        Picture page = printed(pdf);
        EXPECT_TRUE(hasColour(page, 30, 30, RED, 72)) << "one path";
        EXPECT_TRUE(hasColour(page, 120, 120, RED, 72));
        EXPECT_TRUE(hasColour(page, 80, 80, WHITE, 72));
    }
    for (const std::string &pdf :
         pagesWith("1 0 0 rg q 2 0 0 2 0 0 cm 10 10 m 50 10 l 50 50 l Q 10 50 l f"))
        EXPECT_TRUE(isDrawnIn(printed(pdf), {10, 10, 50, 50}, 72)) << "not twice as large";
}

TEST(Paths, ClipAsTheyPaint)
{
    for (const std::string &pdf : pagesWith(
             "500 500 m 1500 500 l 1500 1500 l 500 1500 l h W .1 0 0 .1 0 0 cm n 1 0 0 rg 0 0 2000 "
             "2000 re f"))
        EXPECT_TRUE(isDrawnIn(printed(pdf), {50, 50, 150, 150}, 72));
}

TEST(Paths, HoldUnderTransparencyAndPatterns)
{
    const std::string content = "100 100 m 500 100 l 500 500 l 100 500 l h q .1 0 0 .1 100 100 cm "
                                "/G gs 1 0 0 rg f Q";
    Picture page =
        printed(onePagePdf(content, "/Resources << /ExtGState << /G << /ca 0.5 >> >> >>"));
    EXPECT_TRUE(isDrawnIn(page, {110, 110, 150, 150}, 72));
    EXPECT_TRUE(hasColour(page, 130, 130, {255, 128, 128}, 72));
}
