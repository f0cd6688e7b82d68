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
constexpr int DOCUMENTS = 18;

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
    for (int page = 1; page <= 1 + number % 6; page++) {
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

/* Prints files one after the other, in one run of the interpreter, which costs more than they do;
 * each finds it as a file alone would. */
std::vector<Picture> printed(const std::vector<std::string> &files)
{
    std::string together = "%!PS\n";
    for (const std::string &file : files)
        together += "/BeforeFile save def\n" + file +
                    "\nclear cleardictstack BeforeFile restore\n";
    PrintedJob job = printFile(together, 50);
    EXPECT_EQ(faultsOf(job), Lines{});
    return job.pages;
}

using Numbers = std::vector<size_t>;

/* Jobs, what tools have selected of them, and whether that is the same pages. */
class Selections {
  public:
    /* Takes a job, which has so many pages. */
    void begin(const std::string &name, const std::string &text, size_t pageCount)
    {
        job = text;
        jobName = name;
        whole.clear();
        for (size_t i = 1; i <= pageCount; i++)
            whole.push_back(i);
        add("whole", job, whole);
    }

    void select(const Lines &tool, const Numbers &numbers)
    {
        add(tool[0] + " " + tool[tool.size() - 2] + " " + tool.back(), toolOutput(tool, job),
            numbers);
    }

    const Numbers &pages() const { return whole; }

    Numbers everySecond(size_t from) const
    {
        Numbers numbers;
        for (size_t i = from; i <= whole.size(); i += 2)
            numbers.push_back(i);
        return numbers;
    }

    void expectTheSamePages() const
    {
        std::vector<std::string> texts;
        size_t count = 0;
        for (const File &file : files) {
            texts.push_back(file.text);
            count += file.numbers.size();
        }
        std::vector<Picture> pages = printed(texts);
        ASSERT_EQ(pages.size(), count);
        size_t at = 0, first = 0;
        for (const File &file : files) {
            if (file.isWhole)
                first = at;
            for (size_t number : file.numbers)
                EXPECT_TRUE(pages[at++].rgb == pages[first + number - 1].rgb)
                    << file.what << ", page " << number;
        }
    }

  private:
    struct File {
        std::string what, text;
        Numbers numbers; /* of the job's pages */
        bool isWhole;
    };

    void add(const std::string &what, const std::string &text, const Numbers &numbers)
    {
        files.push_back({jobName + ": " + what, text, numbers, what == "whole"});
    }

    std::string job, jobName;
    Numbers whole;
    std::vector<File> files;
};

size_t pageCountOf(int number)
{
    return 1 + (size_t)number % 6;
}

TEST(PageTools, SelectPages)
{
    Selections selections;
    for (int number = 0; number < DOCUMENTS; number++) {
        selections.begin("document " + std::to_string(number),
                         jobOf(variedDocument(number), number % 2 ? Lines{"--binary"} : Lines{}),
                         pageCountOf(number));
        selections.select({"psselect", "-q", "-r"},
                          Numbers(selections.pages().rbegin(), selections.pages().rend()));
        selections.select({"psselect", "-q", "-p1,1"}, {1, 1});
        if (pageCountOf(number) > 1)
            selections.select({"psselect", "-q", "-e"}, selections.everySecond(2));
    }
    selections.expectTheSamePages();
}

/* What tools make of jobs, and of what another converter makes of the same documents. */
class Arrangements {
  public:
    void add(const Lines &tool, const std::string &job, const std::string &other)
    {
        ours.push_back(toolOutput(tool, job));
        theirs.push_back(toolOutput(tool, other));
    }

    void expectTheSameSheets() const
    {
        std::vector<Picture> sheets = printed(ours), expected = printed(theirs);
        ASSERT_EQ(sheets.size(), expected.size());
        for (size_t i = 0; i < sheets.size(); i++) {
            PictureDifference difference = comparePictures(sheets[i], expected[i]);
            EXPECT_TRUE(isRight(difference)) << "sheet " << i + 1 << ": " << describe(difference);
        }
    }

  private:
    std::vector<std::string> ours, theirs;
};

TEST(PageTools, ArrangePagesOnSheets)
{
    Arrangements arrangements;
    for (int number = 0; number < DOCUMENTS; number++) {
        std::string pdf = variedDocument(number), other = otherConverter(pdf);
        std::string job = jobOf(pdf, number % 2 ? Lines{"--binary"} : Lines{});
        arrangements.add({"psnup", "-q", "-2", "-pa4"}, job, other);
        if (number % 3 == 0) {
            arrangements.add({"psbook", "-q"}, job, other);
            arrangements.add({"pstops", "-q", "-pa4", "2:0L@.7(21cm,0)+1L@.7(21cm,14.85cm)"}, job,
                             other);
        }
    }
    arrangements.expectTheSameSheets();
}

Lines printSystemFilter(const std::string &options)
{
    return {PSTOPS_OF_THE_PRINT_SYSTEM, "1", "user", "title", "1", options, "-"};
}

TEST(PageTools, ThePrintSystemsFilterSelectsPages)
{
    Selections selections;
    for (int number = 0; number < DOCUMENTS; number++) {
        selections.begin("document " + std::to_string(number),
                         jobOf(variedDocument(number), number % 2 ? Lines{} : Lines{"--binary"}),
                         pageCountOf(number));
        selections.select(printSystemFilter("page-set=odd"), selections.everySecond(1));
        if (pageCountOf(number) >= 3)
            selections.select(printSystemFilter("page-ranges=2-3"), {2, 3});
        if (pageCountOf(number) > 1)
            selections.select(printSystemFilter("page-set=even"), selections.everySecond(2));
    }
    selections.expectTheSamePages();
}

TEST(PageTools, ThePrintSystemsFilterArrangesPages)
{
    Arrangements arrangements;
    for (int number = 0; number < DOCUMENTS; number += 2) {
        std::string pdf = variedDocument(number), job = jobOf(pdf), other = otherConverter(pdf);
        arrangements.add(printSystemFilter("number-up=2"), job, other);
        arrangements.add(printSystemFilter("number-up=4"), job, other);
    }
    arrangements.expectTheSameSheets();
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
