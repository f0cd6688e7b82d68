/*
 * device_test.cpp - what a job does to the printer: page device, memory, and what it leaves behind
 */
#include <gtest/gtest.h>

#include "tests/postscript/font_programs.h"
#include "tests/postscript/print_job.h"
#include "tests/support/conversion.h"
#include "tests/support/pdf_builder.h"

namespace {

using Lines = std::vector<std::string>;

const std::string BOX = "1 0 0 rg 40 40 120 60 re f ";

/* A page of that size. */
std::string sized(int width, int height, const std::string &content = BOX)
{
    std::string size = std::to_string(width) + " " + std::to_string(height);
    return "BeginPageDescription\n<< /PageSize [ " + size +
           " ] >> setpagedevice\n0 0 translate\n"
           "0 rotate\n" +
           passedThrough(content) + "EndPageDescription\n";
}

/* The numbers that a job prints as "name number", the last one of each name. */
int valueOf(const PrintedJob &job, const std::string &name)
{
    int value = -1;
    for (const std::string &line : job.lines)
        if (line.starts_with(name + " "))
            value = std::stoi(line.substr(name.size() + 1));
    return value;
}

/* Counts how often the device is set and how often a page comes out, and prints both at each page.
 * The counters are bytes of strings, which no restore sets back. */
PrintOptions counting()
{
    PrintOptions options;
    options.before = R"(%!PS
/Installs (0) def
/Shows (00) def
<< /Install { Installs 0 2 copy get 1 add put }
   /EndPage { exch pop dup 0 eq { Shows 0 2 copy get 1 add put } if 2 ne }
>> setpagedevice
Installs 0 48 put
)";
    options.afterProlog = R"(
/EndPageDescription [
    /EndPageDescription load /exec load
    { (install ) print Installs 0 get 48 sub = (showpage ) print Shows 0 get 48 sub = } /exec load
] cvx def
)";
    return options;
}

TEST(PageDevice, IsSetOnceForPagesOfOneSize)
{
    std::string pages;
    for (int i = 0; i < 10; i++)
        pages += sized(200, 200);
    PrintOptions options = counting();
    PrintedJob job = printPages(pages, options);
    EXPECT_EQ(faultsOf(job), Lines{});
    EXPECT_EQ(job.pages.size(), 10U);
    EXPECT_EQ(valueOf(job, "install"), 1);
    EXPECT_EQ(valueOf(job, "showpage"), 10);

    job = printPages(sized(200, 200) + sized(200, 200) + sized(300, 200) + sized(300, 200) +
                         sized(300, 200),
                     options);
    EXPECT_EQ(faultsOf(job), Lines{});
    EXPECT_LE(valueOf(job, "install"), 1 + 3);
    EXPECT_EQ(valueOf(job, "showpage"), 5);
}

TEST(PageDevice, FollowsThePageSize)
{
    PrintOptions options;
    options.dpi = 72;
    PrintedJob job = printPages(sized(200, 200) + sized(300, 100) + sized(300, 100) +
                                    sized(200, 200) + sized(150, 250),
                                options);
    EXPECT_EQ(faultsOf(job), Lines{});
    std::vector<std::pair<int, int>> sizes;
    for (const Picture &page : job.pages)
        sizes.emplace_back(page.width, page.height);
    EXPECT_EQ(sizes, (std::vector<std::pair<int, int>>{
                         {200, 200}, {300, 100}, {300, 100}, {200, 200}, {150, 250}}));
    for (const Picture &page : job.pages)
        EXPECT_EQ(page.at(60, page.height - 50)[1], 0); /* the box is where it belongs */
}

TEST(PageDevice, TurnedAndCroppedPages)
{
    PdfBuilder pdf;
    int content = pdf.addStream("", "1 0 0 rg 20 20 60 30 re f 0 0 1 rg 120 220 30 60 re f");
    for (const char *entries :
         {"/MediaBox [0 0 200 300]", "/MediaBox [0 0 200 300] /Rotate 90",
          "/MediaBox [0 0 200 300] /Rotate 180", "/MediaBox [0 0 200 300] /Rotate 270",
          "/MediaBox [0 0 200 300] /CropBox [10 10 180 290]",
          "/MediaBox [10 10 210 310] /CropBox [0 30 190 400] /Rotate 90",
          "/MediaBox [-50 -20 150 280]"})
        pdf.addPage(std::string(entries) + " /Contents " + ref(content));
    std::vector<Picture> reference = renderPdf(pdf.build(), 108);
    PrintedJob job = printPages(convertPdf(pdf.build()).pages);
    EXPECT_EQ(faultsOf(job), Lines{});
    ASSERT_EQ(job.pages.size(), reference.size());
    for (size_t i = 0; i < reference.size(); i++)
        EXPECT_TRUE(isRight(comparePictures(job.pages[i], reference[i]))) << "page " << i + 1;
}

/* ---- memory */

TEST(Memory, AThousandPagesRunInTheMemoryOfTheLargest)
{
    std::string pages;
    for (int i = 0; i < 1000; i++) {
        std::string n = std::to_string(i), samples(20000, (char)i);
        TypeOneProgram program = typeOneProgram("Font" + n, sampleGlyphs(), "dup 65 /box put\n");
        std::string data = program.clear + program.encrypted + program.trailer;
        std::string formData = "0 0 10 10 re f % " + std::string(5000, 'x') + "\n";
        pages += pageDescription(
            "/Fm" + n + " Do q 9 0 0 9 20 20 cm /Im" + n + " Do Q BT /F" + n + " 9 Tf (A) Tj ET",
            std::to_string(samples.size()) + " /docIm" + n + " ReadCount\n" + samples + "\n/Im" +
                n + "\n<<\n/ExternName (docIm" + n +
                ")\n/Width 200 \n/Height 100 \n"
                "/BitsPerComponent 8 \n/ColorSpace /DeviceGray /ColorSpace "
                "findRes\n>>\nCallImage\n" +
                std::to_string(formData.size()) + " /docFm" + n + " ReadCount\n" + formData +
                "\n/Fm" + n + "\n<<\n/ExternName (docFm" + n +
                ")\n/BBox [ 0 0 20 20 ] \n>>\nCallForm\n" + std::to_string(data.size()) +
                " AppendCount\n" + data + "\nExecFontFile\n<<\n/Name /F" + n + "\n/BaseFont /Font" +
                n + " \n >> AdjFont\n");
    }
    PrintOptions options;
    options.dpi = 18;
    options.probe = false;
    options.afterProlog = R"(
/EndPageDescription [
    /EndPageDescription load /exec load
    {
        vmstatus pop exch pop (used ) print =
    } /exec load
] cvx def
)";
    PrintedJob job = printPages(pages, options);
    EXPECT_EQ(faultsOf(job), Lines{});
    EXPECT_EQ(job.pages.size(), 1000U);
    std::vector<int> used;
    for (const std::string &line : job.lines)
        if (line.starts_with("used "))
            used.push_back(std::stoi(line.substr(5)));
    ASSERT_EQ(used.size(), 1000U);
    int early = *std::max_element(used.begin(), used.begin() + 20);
    int late = *std::max_element(used.end() - 20, used.end());
    EXPECT_LT(late, early + 100000) << "the memory in use grows from page to page";
}

/* ---- what is left behind */

TEST(Interpreter, IsLeftAsItWas)
{
    PrintOptions options;
    options.before = R"(%!PS
1 (two) /three
true setpacking 3 setobjectformat
/Depth countdictstack def
/Names userdict length def
/Counted count 1 sub def
)";
    /* Nothing runs behind a document in its own file: the report stands in EndDocument. */
    options.probe = false;
    options.afterProlog = R"(
/EndDocument [
    /EndDocument load /exec load
    {
        (depth ) print countdictstack Depth sub = (operands ) print count Counted sub =
        (names ) print userdict length Names 1 sub sub =
        (packing ) print currentpacking { 1 } { 0 } ifelse =
        (format ) print currentobjectformat =
    } /exec load
] cvx def
)";
    PrintedJob job =
        printPages(pageDescription("q 1 2 3 zz /x (y) " + BOX) + pageDescription(BOX), [&options] {
            options.strict = false;
            return options;
        }());
    EXPECT_EQ(job.status, 0);
    EXPECT_EQ(valueOf(job, "depth"), 0);
    EXPECT_EQ(valueOf(job, "operands"), 0);
    EXPECT_EQ(valueOf(job, "names"), 1 + 2); /* Names, Counted: nothing of the prolog's */
    EXPECT_EQ(valueOf(job, "packing"), 1);
    EXPECT_EQ(valueOf(job, "format"), 3);
}

TEST(Interpreter, ADocumentWithoutPagesLeavesItAsItWas)
{
    PrintOptions options;
    options.before = "%!PS\n(one)\n";
    options.after = "(depth ) print countdictstack 3 sub = (operands ) print count =\n";
    options.probe = false;
    PrintedJob job = printPages("", options);
    EXPECT_EQ(job.status, 0);
    EXPECT_TRUE(job.pages.empty());
    EXPECT_EQ(valueOf(job, "depth"), 0);
    EXPECT_EQ(valueOf(job, "operands"), 1);
}

TEST(Interpreter, TextBehindTheDocumentDoesNotRun)
{
    PrintOptions options;
    options.after = "(ran ) print 1 =\nquit\n";
    PrintedJob job = printPages(pageDescription(BOX), options);
    EXPECT_EQ(faultsOf(job), Lines{});
    EXPECT_EQ(valueOf(job, "ran"), -1);
    EXPECT_EQ(job.pages.size(), 1U);
}

TEST(Interpreter, TwoDocumentsInOneFileBothPrint)
{
    PdfBuilder pdf;
    pdf.addPage("/MediaBox [0 0 200 200] /Contents " + ref(pdf.addStream("", BOX)));
    std::string file = convertForPrinting(pdf.build()).output;
    PrintedJob job = printFile(file + file);
    EXPECT_EQ(faultsOf(job), Lines{});
    EXPECT_EQ(job.pages.size(), 2U);
}

TEST(Interpreter, LevelOneIsToldWhatIsMissing)
{
    PrintOptions options;
    options.probe = false;
    options.before = "/languagelevel 1 def\n";
    PrintedJob job = printPages(pageDescription(BOX), options);
    EXPECT_TRUE(job.pages.empty());
    EXPECT_EQ(std::count(job.lines.begin(), job.lines.end(),
                         "%%[ Error: this document needs PostScript Language Level 2 ]%%"),
              1);
}

} // namespace
