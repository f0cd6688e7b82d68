/*
 * device_test.cpp - what a job asks of the device, and where its pages lie on the paper
 */
#include <gtest/gtest.h>

#include "tests/postscript/print_job.h"
#include "tests/support/conversion.h"
#include "tests/support/pdf_builder.h"
#include "tests/support/printing.h"

namespace {

using Lines = std::vector<std::string>;

/* A red page with a green lower left corner, and a frame of nothing around it. */
std::string colouredPage(int width, int height, int rotate = 0)
{
    PdfBuilder pdf;
    std::string size = std::to_string(width) + " " + std::to_string(height);
    pdf.addPage("/MediaBox [0 0 " + size + "] /Rotate " + std::to_string(rotate) + " /Contents " +
                ref(pdf.addStream("", "1 0 0 rg -99 -99 2000 2000 re f 0 1 0 rg 0 0 " +
                                          std::to_string(width / 4) + " " +
                                          std::to_string(height / 4) + " re f")));
    return pdf.build();
}

Picture pageOf(const std::string &pdf, const Lines &options)
{
    PrintedJob printed = printFile(jobOf(pdf, options), 72);
    EXPECT_EQ(printed.pages.size(), 1u);
    return printed.pages.empty() ? Picture{} : printed.pages[0];
}

/* The colour at a point of the paper, from its lower left corner: 'r', 'g', 'w' or '?'. */
char colourAt(const Picture &page, int x, int y)
{
    const uint8_t *c = page.at(x, page.height - 1 - y);
    if (c[0] > 200 && c[1] > 200 && c[2] > 200)
        return 'w';
    if (c[0] > 200 && c[1] < 60)
        return 'r';
    if (c[1] > 200 && c[0] < 60)
        return 'g';
    return '?';
}

struct Expected {
    int x, y;
    char colour;
};

void expectColours(const Picture &page, const std::vector<Expected> &points)
{
    for (const Expected &point : points)
        EXPECT_EQ(colourAt(page, point.x, point.y), point.colour) << point.x << ", " << point.y;
}

void expectSize(const Picture &page, int width, int height)
{
    EXPECT_EQ(page.width, width);
    EXPECT_EQ(page.height, height);
}

TEST(JobDevice, EachPageGetsPaperOfItsSize)
{
    PdfBuilder pdf;
    for (const char *box : {"0 0 100 200", "0 0 100 200", "5 5 305 105"})
        pdf.addPage("/MediaBox [" + std::string(box) + "]");
    PrintedJob printed = printFile(jobOf(pdf.build()), 72);
    ASSERT_EQ(printed.pages.size(), 3u);
    expectSize(printed.pages[0], 100, 200);
    expectSize(printed.pages[1], 100, 200);
    expectSize(printed.pages[2], 300, 100);
}

TEST(JobDevice, PaperIsAskedForOnlyWhereItChanges)
{
    PdfBuilder pdf;
    for (const char *box : {"0 0 100 200", "0 0 100 200", "0 0 300 100", "0 0 300 100"})
        pdf.addPage("/MediaBox [" + std::string(box) + "]");
    PrintOptions options;
    options.before = "/setpagedevice { (ASKED) = setpagedevice } bind def\n";
    PrintedJob printed = printText(jobOf(pdf.build()), options);
    EXPECT_EQ(std::count(printed.lines.begin(), printed.lines.end(), "ASKED"), 2);
}

TEST(JobDevice, ALargePageBecomesSmaller)
{
    Picture page = pageOf(colouredPage(400, 600), {"--paper=200x400pt"});
    expectSize(page, 200, 400);
    expectColours(page, {{5, 55, 'g'}, {195, 345, 'r'}, {5, 45, 'w'}, {195, 355, 'w'}});
}

TEST(JobDevice, ASmallPageKeepsItsSizeInTheMiddle)
{
    Picture page = pageOf(colouredPage(100, 100), {"--paper=200x300pt"});
    expectColours(page, {{55, 105, 'g'},
                         {145, 195, 'r'},
                         {45, 150, 'w'},
                         {100, 95, 'w'},
                         {155, 150, 'w'},
                         {100, 205, 'w'}});
}

TEST(JobDevice, FitMakesASmallPageLarger)
{
    Picture page = pageOf(colouredPage(100, 100), {"--paper=200x300pt", "--fit"});
    expectColours(page, {{5, 55, 'g'}, {195, 245, 'r'}, {100, 45, 'w'}, {100, 255, 'w'}});
}

TEST(JobDevice, ActualSizeIsNeverScaled)
{
    Picture page = pageOf(colouredPage(400, 600), {"--paper=200x300pt", "--actual", "--no-centre"});
    expectColours(page, {{5, 5, 'g'}, {95, 145, 'g'}, {105, 155, 'r'}, {195, 295, 'r'}});
}

TEST(JobDevice, WithoutCentringTheCornerIsThePagesPlace)
{
    Picture page = pageOf(colouredPage(100, 100), {"--paper=200x300pt", "--no-centre"});
    expectColours(page, {{5, 5, 'g'}, {95, 95, 'r'}, {105, 50, 'w'}, {50, 105, 'w'}});
}

TEST(JobDevice, AWidePageIsTurnedOntoTallPaper)
{
    Picture page = pageOf(colouredPage(300, 200), {"--paper=200x300pt"});
    expectSize(page, 200, 300);
    expectColours(page, {{195, 5, 'g'}, {5, 295, 'r'}, {5, 5, 'r'}});
    page = pageOf(colouredPage(200, 300, 90), {"--paper=200x300pt"});
    expectSize(page, 200, 300);
    expectColours(page, {{5, 295, 'r'}});
}

/* The device of PCL printers knows both; the settings come back as it has them. */
std::string deviceSays(const Lines &options, const std::string &question)
{
    std::string job = jobOf(colouredPage(612, 792), options);
    ScratchDirectory directory;
    directory.write("job.ps", job);
    directory.write("ask.ps", "/Question { " + question +
                                  " } def\n"
                                  "<< /BeginPage { pop } >> setpagedevice\n"
                                  "userdict /showpage { (SAYS ) print Question "
                                  "systemdict /showpage get exec } put\n");
    ProgramOptions settings;
    settings.directory = directory.path;
    ProgramResult result =
        runProgram({"gs", "-q", "-dSAFER", "-dBATCH", "-dNOPAUSE", "-sDEVICE=pxlmono",
                    "-sOutputFile=out.pxl", "ask.ps", "job.ps"},
                   settings);
    for (const std::string &line : linesOf(result.out))
        if (line.starts_with("SAYS "))
            return line.substr(5);
    return "nothing: " + result.out + result.err;
}

TEST(JobDevice, Copies)
{
    const std::string question = "currentpagedevice /NumCopies get ==";
    EXPECT_EQ(deviceSays({"--copies=3"}, question), "3");
    EXPECT_EQ(deviceSays({}, question), "null");
}

TEST(JobDevice, Duplex)
{
    const std::string question = "currentpagedevice dup /Duplex get exch /Tumble get "
                                 "2 array astore ==";
    EXPECT_EQ(deviceSays({"--duplex=long"}, question), "[true false]");
    EXPECT_EQ(deviceSays({"--duplex=short"}, question), "[true true]");
    EXPECT_EQ(deviceSays({"--duplex=off"}, question), "[false false]");
}

TEST(JobDevice, ADeviceThatRefusesGetsThePagesAllTheSame)
{
    PrintOptions options;
    options.before = "/setpagedevice { /setpagedevice /configurationerror errordict exch get exec "
                     "} bind def\n";
    std::string job = jobOf(colouredPage(100, 100), {"--copies=2", "--duplex=long"});
    PrintedJob printed = printText(job, options);
    EXPECT_EQ(faultsOf(printed), Lines{});
    EXPECT_EQ(printed.pages.size(), 1u);
}

} // namespace
