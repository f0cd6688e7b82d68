/*
 * page_tools_test.cpp - what programs that select, repeat and arrange pages make of a job
 *
 * What a tool only selects must be the same to the last pixel.  What it arranges on sheets is held
 * against the same arrangement of what another converter makes of the document.
 */
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/postscript/print_job.h"
#include "tests/support/conversion.h"
#include "tests/support/pdf_builder.h"
#include "tests/support/printing.h"
#include "tests/support/sample_document.h"

namespace {

using Lines = std::vector<std::string>;

constexpr char PSTOPS_OF_THE_PRINT_SYSTEM[] = "/usr/lib/cups/filter/pstops";
constexpr int DOCUMENTS = 30;

/* Documents that differ in the number and size of their pages, in their turns and resources. */
std::string variedDocument(int number)
{
    PdfBuilder pdf;
    int font = pdf.add("<< /Type /Font /Subtype /Type1 /BaseFont " +
                       std::string(number % 2 ? "/Times-Bold" : "/Helvetica") + " >>");
    std::string rows;
    for (int i = 0; i < 300; i++)
        rows += (char)(i * (number + 3));
    int image = pdf.addStream("/Subtype /Image /Width 10 /Height 10 /BitsPerComponent 8 "
                              "/ColorSpace /DeviceRGB",
                              rows);
    int form = pdf.addStream("/Subtype /Form /BBox [0 0 80 30] /Resources << /Font << /F " +
                                 ref(font) + " >> >>",
                             "0 0.4 0.8 rg 0 0 80 30 re f 1 g BT /F 14 Tf 4 9 Td (a form) Tj ET");
    std::string resources = "/Resources << /Font << /F " + ref(font) + " >> /XObject << /I " +
                            ref(image) + (number % 3 ? " /M " + ref(form) : "") + " >> >>";
    int pages = 1 + number % 6;
    for (int page = 1; page <= pages; page++) {
        int width = 300 + number * 13 % 200, height = 400 + number * 29 % 300;
        std::string content = "q 90 0 0 90 40 60 cm /I Do Q " +
                              std::string(number % 3 ? "q 1 0 0 1 150 80 cm /M Do Q " : "") +
                              "BT /F 60 Tf 60 200 "
                              "Td (" +
                              std::to_string(number) + "." + std::to_string(page) + ") Tj ET " +
                              std::to_string(page * 0.15) + " 0.5 0.2 rg 40 300 " +
                              std::to_string(40 * page) + " 30 re f 2 w 10 10 " +
                              std::to_string(width - 20) + " " + std::to_string(height - 20) +
                              " re S";
        pdf.addPage("/MediaBox [0 0 " + std::to_string(width) + " " + std::to_string(height) +
                    "] " + resources + " /Rotate " +
                    std::to_string(number % 5 == 4 ? 90 * page : 0) + " /Contents " +
                    ref(pdf.addStream("", content)));
    }
    return pdf.build();
}

/* What a tool makes of a PostScript file; `command` gets the file as its last word, or on standard
 * input where it ends with "-". */
std::string toolOutput(Lines command, const std::string &postscript)
{
    ScratchDirectory directory;
    ProgramOptions options;
    options.directory = directory.path;
    options.environment["PAPERSIZE"] = "a4";
    if (command.back() == "-") {
        command.pop_back();
        options.input = postscript;
    } else {
        command.push_back(directory.write("in.ps", postscript));
    }
    ProgramResult result = runProgram(command, options);
    EXPECT_EQ(result.status, 0) << command[0] << ": " << result.err;
    return result.out;
}

std::string otherConverter(const std::string &pdf)
{
    ScratchDirectory directory;
    directory.write("doc.pdf", pdf);
    ProgramResult result = runProgram({"pdftops", "-q", directory / "doc.pdf", "-"});
    EXPECT_EQ(result.status, 0);
    return result.out;
}

std::vector<Picture> printed(const std::string &postscript)
{
    PrintedJob job = printFile(postscript, 50);
    EXPECT_EQ(faultsOf(job), Lines{});
    return job.pages;
}

void expectPages(const std::vector<Picture> &found, const std::vector<Picture> &all,
                 const std::vector<size_t> &numbers, const std::string &what)
{
    ASSERT_EQ(found.size(), numbers.size()) << what;
    for (size_t i = 0; i < found.size(); i++)
        EXPECT_TRUE(found[i].rgb == all[numbers[i] - 1].rgb) << what << ", " << numbers[i];
}

void expectSelections(const std::string &job, const std::string &what)
{
    std::vector<Picture> all = printed(job);
    std::vector<size_t> reversed, even, first = {1, 1};
    for (size_t i = all.size(); i > 0; i--)
        reversed.push_back(i);
    for (size_t i = 2; i <= all.size(); i += 2)
        even.push_back(i);
    expectPages(printed(toolOutput({"psselect", "-q", "-r"}, job)), all, reversed,
                what + " reversed");
    expectPages(printed(toolOutput({"psselect", "-q", "-p1,1"}, job)), all, first, what + " twice");
    if (!even.empty())
        expectPages(printed(toolOutput({"psselect", "-q", "-e"}, job)), all, even, what + " even");
}

void expectArranged(const Lines &tool, const std::string &job, const std::string &other,
                    const std::string &what)
{
    std::vector<Picture> sheets = printed(toolOutput(tool, job));
    std::vector<Picture> expected = printed(toolOutput(tool, other));
    ASSERT_EQ(sheets.size(), expected.size()) << what << ": " << tool[0];
    for (size_t i = 0; i < sheets.size(); i++) {
        PictureDifference difference = comparePictures(sheets[i], expected[i]);
        EXPECT_TRUE(isRight(difference))
            << what << ", " << tool[0] << ", sheet " << i + 1 << ": " << describe(difference);
    }
}

TEST(PageTools, SelectPages)
{
    for (int number = 0; number < DOCUMENTS; number++)
        expectSelections(jobOf(variedDocument(number), number % 2 ? Lines{"--binary"} : Lines{}),
                         "document " + std::to_string(number));
    expectSelections(jobOf(sampleDocument()), "sample");
}

TEST(PageTools, ArrangePagesOnSheets)
{
    for (int number = 0; number < DOCUMENTS; number++) {
        std::string pdf = variedDocument(number);
        std::string job = jobOf(pdf, number % 2 ? Lines{"--binary"} : Lines{});
        std::string other = otherConverter(pdf);
        std::string what = "document " + std::to_string(number);
        expectArranged({"psnup", "-q", "-2", "-pa4"}, job, other, what);
        if (number % 3 == 0) {
            expectArranged({"psbook", "-q"}, job, other, what);
            expectArranged({"pstops", "-q", "-pa4", "2:0L@.7(21cm,0)+1L@.7(21cm,14.85cm)"}, job,
                           other, what);
        }
    }
}

Lines printSystemFilter(const std::string &options)
{
    return {PSTOPS_OF_THE_PRINT_SYSTEM, "1", "user", "title", "1", options, "-"};
}

TEST(PageTools, ThePrintSystemsFilterSelectsPages)
{
    for (int number = 0; number < DOCUMENTS; number++) {
        std::string job = jobOf(variedDocument(number), number % 2 ? Lines{} : Lines{"--binary"});
        std::vector<Picture> all = printed(job);
        std::string what = "document " + std::to_string(number);
        std::vector<size_t> odd, even;
        for (size_t i = 1; i <= all.size(); i++)
            (i % 2 ? odd : even).push_back(i);
        expectPages(printed(toolOutput(printSystemFilter("page-set=odd"), job)), all, odd,
                    what + " odd");
        if (all.size() >= 3)
            expectPages(printed(toolOutput(printSystemFilter("page-ranges=2-3"), job)), all, {2, 3},
                        what + " 2-3");
        if (!even.empty())
            expectPages(printed(toolOutput(printSystemFilter("page-set=even"), job)), all, even,
                        what + " even");
    }
}

TEST(PageTools, ThePrintSystemsFilterArrangesPages)
{
    for (int number = 0; number < DOCUMENTS; number += 2) {
        std::string pdf = variedDocument(number), job = jobOf(pdf), other = otherConverter(pdf);
        std::string what = "document " + std::to_string(number);
        expectArranged(printSystemFilter("number-up=2"), job, other, what + " 2-up");
        expectArranged(printSystemFilter("number-up=4"), job, other, what + " 4-up");
    }
}

TEST(PageTools, AnEncapsulatedPageIsPlacedInAnotherDocument)
{
    std::string eps = jobOf(variedDocument(4), {"--eps", "--pages=1"});
    PrintedJob alone = printFile(jobOf(variedDocument(4), {"--pages=1"}), 72);
    std::string wrapper = "<< /PageSize [700 900] >> setpagedevice\n"
                          "/before save def 0 0 0 setrgbcolor 10 setlinewidth 2 setlinecap\n"
                          "gsave 100 150 translate userdict begin /showpage { } def\n" +
                          eps +
                          "\nend grestore before restore 0.5 setgray 0 0 50 50 rectfill showpage\n";
    PrintedJob placed = printFile(wrapper, 72);
    EXPECT_EQ(faultsOf(placed), Lines{});
    ASSERT_EQ(placed.pages.size(), 1u);
    ASSERT_EQ(alone.pages.size(), 1u);
    const Picture &sheet = placed.pages[0], &page = alone.pages[0];
    ASSERT_EQ(sheet.width, 700);
    for (int y = 0; y < page.height; y++)
        for (int x = 0; x < page.width; x++)
            ASSERT_EQ(memcmp(sheet.at(100 + x, 900 - 150 - page.height + y), page.at(x, y), 3), 0)
                << x << ", " << y;
    EXPECT_EQ(sheet.at(10, 890)[0], 127) << "the wrapper goes on behind it";

    ScratchDirectory directory;
    directory.write("in.eps", eps);
    ProgramOptions options;
    options.directory = directory.path;
    ProgramResult result = runProgram({"gs", "-q", "-dBATCH", "-dNOPAUSE", "-sDEVICE=eps2write",
                                       "-sOutputFile=out.eps", "-dEPSCrop", "in.eps"},
                                      options);
    EXPECT_EQ(result.status, 0) << result.out << result.err;
    EXPECT_TRUE(readFile(directory / "out.eps").starts_with("%!PS-Adobe-3.0 EPSF-3.0"));
}

} // namespace
