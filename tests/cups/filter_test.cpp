/*
 * filter_test.cpp - the filter by itself: arguments, options, what it says, how it ends
 */
#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/cups/print_system.h"
#include "tests/postscript/tripwires.h"
#include "tests/support/conversion.h"
#include "tests/support/pdf_builder.h"
#include "tests/support/printing.h"
#include "tests/support/sample_document.h"

namespace {

using Lines = std::vector<std::string>;
using Environment = std::map<std::string, std::string>;

struct FilterRun {
    int status;
    std::string job;
    Lines said; /* lines of standard error, but for DEBUG */
};

struct FilterInput {
    std::string copies = "1";
    bool isPiped = false; /* else the document is given as a file */
    Environment environment;
};

FilterRun filter(const std::string &document, const std::string &options,
                 const FilterInput &input = {})
{
    ScratchDirectory directory, temporary;
    directory.write("doc.pdf", document);
    ProgramOptions settings;
    settings.directory = directory.path;
    settings.environment = input.environment;
    settings.environment.emplace("TMPDIR", temporary.path);
    Lines command = {filterPath(), "7", "me", "a title", input.copies, options};
    if (input.isPiped)
        settings.input = document;
    else
        command.push_back("doc.pdf");
    ProgramResult result = runProgram(command, settings);
    EXPECT_EQ(temporary.names(), Lines{}) << "something was left behind";
    FilterRun run = {result.status, result.out, {}};
    for (const std::string &line : linesOf(result.err))
        if (!line.starts_with("DEBUG: ") && !line.starts_with("After Cropping"))
            run.said.push_back(line);
    return run;
}

/* The text behind each comment of that name. */
Lines comments(const std::string &job, const std::string &name)
{
    Lines found;
    const std::string mark = "%%" + name + ": ";
    for (const std::string &line : commentsOf(job))
        if (line.starts_with(mark))
            found.push_back(line.substr(mark.size()));
    return found;
}

bool holds(const std::string &text, const std::string &part)
{
    return occurrences(text, part) > 0;
}

TEST(PrintFilter, ItsJobsDoNothingThatNoJobHasToDo)
{
    for (const char *options : {"", "number-up=2 sides=two-sided-long-edge"}) {
        FilterRun run = filter(documentOfResources(), options);
        EXPECT_EQ(run.status, 0);
        EXPECT_EQ(trippedBy(run.job), Lines{}) << options;
    }
}

TEST(PrintFilter, WrongUseIsAnError)
{
    for (const Lines &arguments :
         {Lines{}, Lines{"1", "me", "t", "1"}, Lines{"1", "me", "t", "1", "", "a.pdf", "b.pdf"}}) {
        Lines command = {filterPath()};
        command.insert(command.end(), arguments.begin(), arguments.end());
        ProgramResult result = runProgram(command);
        EXPECT_EQ(result.status, 1);
        EXPECT_EQ(result.err,
                  "ERROR: Usage: pdf_to_ps-cups job user title copies options [file]\n");
    }
    for (const char *copies : {"0", "x", "-1", "10000", ""})
        EXPECT_EQ(filter(boxedPages(1), "", {copies, false, {}}).said,
                  Lines{std::string("ERROR: Not a number of copies: ") + copies});
}

TEST(PrintFilter, AFileAndStandardInput)
{
    const std::string document = boxedPages(2);
    FilterRun file = filter(document, ""), pipe = filter(document, "", {"1", true, {}});
    EXPECT_EQ(file.status, 0);
    EXPECT_EQ(pipe.status, 0);
    EXPECT_TRUE(file.job == pipe.job);
    EXPECT_EQ(comments(file.job, "Title"), Lines{"(a title)"});
    EXPECT_EQ(file.said,
              (Lines{"INFO: Page 1 of 2", "PAGE: 1 1", "INFO: Page 2 of 2", "PAGE: 2 1"}));
    expectPages(file.job, document, {1, 2});
}

TEST(PrintFilter, PageRanges)
{
    const std::string document = boxedPages(5);
    FilterRun run = filter(document, "page-ranges=2-3,5", {"2", false, {}});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(comments(run.job, "Page"), (Lines{"(2) 1", "(3) 2", "(5) 3"}));
    EXPECT_EQ(run.said, (Lines{"INFO: Page 1 of 3", "PAGE: 1 2", "INFO: Page 2 of 3", "PAGE: 2 2",
                               "INFO: Page 3 of 3", "PAGE: 3 2"}));
    expectPages(run.job, document, {2, 2, 3, 3, 5, 5});
    run = filter(document, "page-ranges='3-1, 5, 5'");
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(comments(run.job, "Page"), (Lines{"(3) 1", "(2) 2", "(1) 3", "(5) 4", "(5) 5"}));
    run = filter(document, "page-ranges=3-x");
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.said, Lines{"ERROR: Not a list of pages, such as 2-5,9,12-: 3-x"});
    run = filter(document, "page-ranges=7");
    EXPECT_EQ(run.status, 1);
    ASSERT_FALSE(run.said.empty());
    EXPECT_TRUE(run.said.back().starts_with("ERROR: ")) << run.said.back();
}

TEST(PrintFilter, TheJobNeverGoesIntoTheDocument)
{
    ScratchDirectory directory;
    const std::string pdf = boxedPages(1);
    directory.write("doc.pdf", pdf);
    ProgramOptions settings;
    settings.directory = directory.path;
    settings.environment = {{"FILTER", filterPath()}};
    ProgramResult result =
        runProgram({"sh", "-c", "\"$FILTER\" 7 me title 1 '' doc.pdf >>doc.pdf"}, settings);
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "ERROR: The output would overwrite what is read: standard output is "
                          "doc.pdf.\n");
    EXPECT_EQ(readFile(directory / "doc.pdf"), pdf);
}

TEST(PrintFilter, CopiesAndTheirOrder)
{
    struct Case {
        const char *copies, *options;
        Lines requirements;
    };
    for (const Case &one : {
             Case{"1", "collate", {}},
             Case{"3", "", {"numcopies(3)"}},
             Case{"3", "Collate=True", {"numcopies(3) collate"}},
             Case{"3", "nocollate", {"numcopies(3)"}},
             Case{"3",
                  "multiple-document-handling=separate-documents-collated-copies",
                  {"numcopies(3) collate"}},
             Case{"3",
                  "collate multiple-document-handling=separate-documents-uncollated-copies",
                  {"numcopies(3)"}},
         }) {
        FilterRun run = filter(boxedPages(1), one.options, {one.copies, false, {}});
        EXPECT_EQ(comments(run.job, "Requirements"), one.requirements) << one.options;
    }
}

TEST(PrintFilter, Sides)
{
    const std::string longEdge = "/Duplex true /Tumble false",
                      shortEdge = "/Duplex true /Tumble true", off = "/Duplex false";
    for (const auto &[options, words] :
         std::map<std::string, std::string>{{"sides=two-sided-long-edge", longEdge},
                                            {"sides=two-sided-short-edge", shortEdge},
                                            {"sides=one-sided", off},
                                            {"Duplex=DuplexNoTumble", longEdge},
                                            {"Duplex=DuplexTumble", shortEdge},
                                            {"Duplex=None", off}}) {
        FilterRun run = filter(boxedPages(1), options);
        EXPECT_EQ(occurrences(run.job, words), 1u) << options;
        EXPECT_EQ(occurrences(run.job, "/Duplex"), 1u) << options;
    }
    EXPECT_EQ(occurrences(filter(boxedPages(1), "").job, "/Duplex"), 0u);
}

TEST(PrintFilter, Paper)
{
    for (const auto &[options, size] : std::map<std::string, std::string>{
             {"", "595x842"},
             {"media=A5", "420x595"},
             {"media=Letter", "612x792"},
             {"media=iso_a5_148x210mm", "420x595"},
             {"media=na_letter_8.5x11in", "612x792"},
             {"media=Tray2,A3", "842x1191"},
             {"media=A5.Borderless", "420x595"},
             {"PageSize=Custom.100x200mm", "283x567"},
             {"media=Custom.300x400", "300x400"},
             {"media='Custom.4x6in' other", "288x432"},
             {"media-col={media-size={x-dimension=14800 y-dimension=21000}} x=y", "420x595"},
             {"media=unheard-of", "595x842"}}) {
        FilterRun run = filter(boxedPages(1), options);
        EXPECT_EQ(run.status, 0);
        EXPECT_EQ(comments(run.job, "PageMedia"), Lines{size}) << options;
    }
}

TEST(PrintFilter, Scaling)
{
    PdfBuilder pdf;
    pdf.addPage("/MediaBox [0 0 210 297]");
    pdf.addPage("/MediaBox [0 0 1190 1684]");
    const std::string both = pdf.build();
    const Lines fitted = {"0 0 595 842", "0 0 595 842"},
                shrunk = {"192 272 403 570", "0 0 595 842"},
                actual = {"192 272 403 570", "0 0 595 842"};
    for (const auto &[options, boxes] :
         std::map<std::string, Lines>{{"", shrunk},
                                      {"print-scaling=auto", shrunk},
                                      {"print-scaling=auto-fit", shrunk},
                                      {"nofit-to-page", shrunk},
                                      {"print-scaling=none", actual},
                                      {"print-scaling=fit", fitted},
                                      {"print-scaling=fill", fitted},
                                      {"fit-to-page", fitted},
                                      {"fit-to-page=True", fitted}}) {
        FilterRun run = filter(both, "media=A4 " + options);
        EXPECT_EQ(comments(run.job, "PageBoundingBox"), boxes) << options;
        bool isShrunk = holds(pageTextsOf(run.job).at(1), "0.500000 0.000000 0.000000 0.500000 ");
        EXPECT_EQ(isShrunk, options != "print-scaling=none") << options;
    }
}

TEST(PrintFilter, WhatIsLaidOutIsNotLaidOutAgain)
{
    /* As the filter before this one writes it: two copies are left to the printer. */
    std::string document = boxedPages(3);
    document.insert(document.find('\n') + 1, "% This file was generated by pdftopdf\n"
                                             "%%PDFTOPDFNumCopies : 2\n"
                                             "%%PDFTOPDFCollate : true\n");
    const std::string options = "page-ranges=2 number-up=2 fit-to-page";
    FilterRun run = filter(document, options, {"5", true, {}});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(comments(run.job, "Pages"), Lines{"3"});
    EXPECT_EQ(comments(run.job, "Requirements"), Lines{"numcopies(2) collate"});

    /* The job itself was laid out elsewhere. */
    run = filter(boxedPages(3), options,
                 {"5", false, {{"CONTENT_TYPE", "application/vnd.cups-pdf"}}});
    EXPECT_EQ(comments(run.job, "Pages"), Lines{"3"});
    EXPECT_EQ(comments(run.job, "Requirements"), Lines{});

    /* As a file it comes from a user: no filter was there before. */
    run = filter(document, "page-ranges=2", {"5", false, {}});
    EXPECT_EQ(comments(run.job, "Pages"), Lines{"1"});
    EXPECT_EQ(comments(run.job, "Requirements"), Lines{"numcopies(5)"});
}

TEST(PrintFilter, SeveralPagesOnASheet)
{
    for (bool isPiped : {false, true}) {
        FilterRun run = filter(boxedPages(4), "number-up=2 media=A4", {"1", isPiped, {}});
        EXPECT_EQ(run.status, 0);
        EXPECT_EQ(comments(run.job, "Pages"), Lines{"2"});
        EXPECT_EQ(run.said,
                  (Lines{"INFO: Page 1 of 2", "PAGE: 1 1", "INFO: Page 2 of 2", "PAGE: 2 1"}));
    }
    ScratchDirectory nothing;
    FilterRun run =
        filter(boxedPages(4), "number-up=2", {"1", false, {{"CUPS_SERVERBIN", nothing.path}}});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(comments(run.job, "Pages"), Lines{"4"});
    ASSERT_GE(run.said.size(), 2u);
    EXPECT_EQ(run.said[0], "STATE: +cups-missing-filter-warning");
    EXPECT_TRUE(run.said[1].starts_with("WARNING: The filter pdftopdf (cups-filters) is not "
                                        "installed"));
}

TEST(PrintFilter, ThePrinterDescriptionHasDefaults)
{
    ScratchDirectory directory;
    std::string description = directory.write(
        "p.ppd", "*PPD-Adobe: \"4.3\"\n*LanguageLevel: \"2\"\n*DefaultPageSize: Odd\n"
                 "*DefaultDuplex: DuplexTumble\n*PaperDimension Odd/Odd paper: \"300 500\"\n"
                 "*PaperDimension A4: \"600 850\"\n*PaperDimension Broken: \"x\"\n");
    const Environment environment = {{"PPD", description}};
    FilterRun run = filter(boxedPages(1), "", {"1", false, environment});
    EXPECT_EQ(comments(run.job, "PageMedia"), Lines{"300x500"});
    EXPECT_EQ(comments(run.job, "LanguageLevel"), Lines{"2"});
    EXPECT_TRUE(holds(run.job, "/Duplex true /Tumble true"));
    run = filter(boxedPages(1), "media=A4 sides=one-sided", {"1", false, environment});
    EXPECT_EQ(comments(run.job, "PageMedia"), Lines{"600x850"});
    EXPECT_TRUE(holds(run.job, "/Duplex false"));
}

TEST(PrintFilter, WhatIsNoDocumentIsAnError)
{
    for (const std::string &document :
         {std::string(), std::string("a letter\n"), boxedPages(2).substr(0, 60)})
        for (bool isPiped : {false, true}) {
            FilterRun run = filter(document, "", {"1", isPiped, {}});
            EXPECT_EQ(run.status, 1);
            EXPECT_EQ(run.job, "");
            ASSERT_FALSE(run.said.empty());
            EXPECT_TRUE(run.said.back().starts_with("ERROR: ")) << run.said.back();
        }
    ProgramResult result = runProgram({filterPath(), "1", "me", "t", "1", "", "/no/such/file"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "ERROR: The file cannot be read: No such file or directory.\n");
}

TEST(PrintFilter, WhatIsMissingIsAWarning)
{
    PdfBuilder pdf;
    pdf.addPage("/MediaBox [0 0 50 50]");
    int text = pdf.addStream("", "BT /F 9 Tf 5 5 Td <0041> Tj ET");
    pdf.addPage("/MediaBox [0 0 50 50] /Contents " + ref(text) +
                " /Resources << /Font << /F << /Type /Font /Subtype /Type0 /BaseFont /X "
                "/Encoding /Unheard /DescendantFonts [<< /Type /Font /Subtype /CIDFontType0 "
                "/BaseFont /X /CIDSystemInfo << /Registry (A) /Ordering (B) /Supplement 0 >> >>] "
                ">> >> >>");
    FilterRun run = filter(pdf.build(), "");
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(comments(run.job, "Pages"), Lines{"2"});
    bool isWarned = false;
    for (const std::string &line : run.said) {
        isWarned = isWarned || line.starts_with("WARNING: Page 2: ");
        EXPECT_FALSE(line.starts_with("ERROR: ")) << line;
    }
    EXPECT_TRUE(isWarned);
}

TEST(PrintFilter, OutputThatCannotBeWrittenIsAnError)
{
    ScratchDirectory directory;
    std::string document = directory.write("doc.pdf", boxedPages(2));
    ProgramResult result = runProgram(
        {"sh", "-c", "exec \"$0\" 1 me t 1 '' \"$1\" >/dev/full", filterPath(), document});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(occurrences(result.err, "ERROR: "), 1u) << result.err;
    EXPECT_TRUE(holds(result.err, "No space left on device")) << result.err;
}

/* ---- cancelled jobs */

struct Pipe {
    int ends[2];
    Pipe()
    {
        if (pipe2(ends, O_CLOEXEC) != 0)
            abort();
    }
    ~Pipe()
    {
        for (int end : {0, 1})
            closeEnd(end);
    }
    void closeEnd(int end)
    {
        if (ends[end] >= 0)
            close(ends[end]);
        ends[end] = -1;
    }
};

void expectNothingLeft(RunningProgram &program, const ScratchDirectory &temporary)
{
    EXPECT_EQ(program.wait(), -SIGTERM);
    EXPECT_TRUE(waitUntil([&] { return !program.hasProcesses(); })) << "a process goes on";
    EXPECT_EQ(temporary.names(), Lines{});
}

TEST(PrintFilter, CancelledWhileItWrites)
{
    constexpr int MANY = 2000; /* more than a pipe takes */
    ScratchDirectory directory, temporary;
    std::string document = directory.write("doc.pdf", boxedPages(MANY));
    Pipe output;
    RunningProgram program({filterPath(), "1", "me", "t", "1", "", document},
                           {{"TMPDIR", temporary.path}}, -1, output.ends[1]);
    output.closeEnd(1);
    char byte;
    ASSERT_EQ(read(output.ends[0], &byte, 1), 1);
    program.terminate();
    expectNothingLeft(program, temporary);
    std::string rest(1 << 20, '\0');
    size_t count = 0;
    for (ssize_t got; (got = read(output.ends[0], rest.data(), rest.size())) > 0;)
        count += (size_t)got;
    EXPECT_LE(count, (1u << 16)) << "what the pipe held, and nothing more";
}

TEST(PrintFilter, CancelledWhileItReads)
{
    ScratchDirectory temporary;
    Pipe input;
    RunningProgram program({filterPath(), "1", "me", "t", "1", ""}, {{"TMPDIR", temporary.path}},
                           input.ends[0]);
    const std::string begin = boxedPages(1).substr(0, 100);
    ASSERT_EQ(write(input.ends[1], begin.data(), begin.size()), (ssize_t)begin.size());
    ASSERT_TRUE(waitUntil([&] { return !temporary.names().empty(); }));
    program.terminate();
    expectNothingLeft(program, temporary);
}

/* A stand-in for pdf_prepare that never comes to an end and has a file beside its output. */
constexpr char ENDLESS[] = "#!/bin/sh\n"
                           "for last; do :; done\n"
                           "case \"$*\" in *--probe*) exit 3;; esac\n"
                           "trap 'rm -f \"$last.part\"; exit 1' TERM\n"
                           "echo > \"$last.part\"\n"
                           "while :; do sleep 0.1; done\n";

TEST(PrintFilter, CancelledWhileTheDocumentIsPrepared)
{
    PrintSystem system;
    ScratchDirectory temporary;
    std::string program = system.root / "bin/pdf_prepare";
    std::filesystem::remove(program);
    system.root.write("bin/pdf_prepare", ENDLESS);
    chmod(program.c_str(), 0755);
    std::string document = system.root.write("doc.pdf", boxedPages(1));
    RunningProgram running({system.filter(), "1", "me", "t", "1", "", document},
                           {{"TMPDIR", temporary.path}});
    auto hasPart = [&] {
        for (const auto &entry : std::filesystem::recursive_directory_iterator(temporary.path))
            if (entry.path().extension() == ".part")
                return true;
        return false;
    };
    ASSERT_TRUE(waitUntil(hasPart));
    running.terminate();
    expectNothingLeft(running, temporary);
}

TEST(PrintFilter, APreparationThatIsMissingIsAnError)
{
    PrintSystem system;
    std::filesystem::remove(system.root / "bin/pdf_prepare");
    std::string document = system.root.write("doc.pdf", boxedPages(1));
    ProgramOptions options;
    options.environment = {{"PATH", system.root / "bin"}};
    ProgramResult result =
        runProgram({system.filter(), "1", "me", "t", "1", "", document}, options);
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "ERROR: The program pdf_prepare is not installed.\n"
                          "STATE: +cups-missing-filter-warning\n");
}

} // namespace
