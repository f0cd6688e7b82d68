/*
 * command_test.cpp - the command pdf_print: where jobs go, what it says, how it ends
 */
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

#include <sys/stat.h>
#include <unistd.h>

#include "seam/options.h"
#include "tests/postscript/print_job.h"
#include "tests/support/conversion.h"
#include "tests/support/pdf_builder.h"
#include "tests/support/printing.h"

namespace {

using Lines = std::vector<std::string>;

const std::string BAR = "0 0.4 0 rg 20 20 100 30 re f";

ProgramResult run(const ScratchDirectory &directory, Lines arguments, const std::string &input = "",
                  std::map<std::string, std::string> environment = {})
{
    ProgramOptions options;
    options.directory = directory.path;
    options.input = input;
    options.environment = std::move(environment);
    arguments.insert(arguments.begin(), printProgramPath());
    return runProgram(arguments, options);
}

TEST(PrintCommand, WritesBesideTheDocument)
{
    ScratchDirectory directory;
    directory.write("report.pdf", onePagePdf(BAR));
    ProgramResult result = run(directory, {"report.pdf"});
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(directory.names(), (Lines{"report.pdf", "report.ps"}));
    result = run(directory, {"--eps", "report.pdf"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(directory.names(), (Lines{"report.eps", "report.pdf", "report.ps"}));
}

TEST(PrintCommand, StandardInputAndOutput)
{
    ScratchDirectory directory;
    directory.write("doc.pdf", onePagePdf(BAR));
    ProgramResult file = run(directory, {"-o", "-", "--title=t", "doc.pdf"});
    EXPECT_EQ(file.status, 0);
    ProgramResult pipe = run(directory, {"--title=t", "-"}, onePagePdf(BAR));
    EXPECT_EQ(pipe.status, 0) << pipe.err;
    EXPECT_TRUE(pipe.out == file.out);
    EXPECT_EQ(directory.names(), Lines{"doc.pdf"});
}

TEST(PrintCommand, HelpHasALineForEachOption)
{
    ScratchDirectory directory;
    ProgramResult help = run(directory, {"--help"});
    EXPECT_EQ(help.status, 0);
    for (const char *option :
         {"-o, --output",  "-d, --printer", "--title",       "--pages",         "--copies",
          "--collate",     "--duplex",      "--annotations", "--paper",         "--fit",
          "--shrink",      "--actual",      "--no-centre",   "--ascii",         "--binary",
          "--no-compress", "--level",       "--eps",         "--resolution",    "--printer-memory",
          "--page-set",    "--reverse",     "--max-output",  "--password-file", "--no-prepare",
          "--strict",      "--keep-going",  "--box",         "-q, --quiet",     "-v, --verbose",
          "--progress",    "--help",        "--version"})
        EXPECT_EQ(occurrences(help.out, std::string(option)) > 0, true) << option;
    for (const std::string &line : linesOf(help.out))
        EXPECT_LE(line.size(), 90u) << line;
    EXPECT_EQ(run(directory, {"--version"}).out, "pdf_print 1.3\n");
}

/* --help ends a program, but what stands in front of it is acted on before. */
TEST(PrintCommand, EveryOptionOfEveryProgramIsActedOn)
{
    ScratchDirectory directory;
    directory.write("100", "a file\n");
    std::string programs = printProgramPath();
    programs.resize(programs.rfind('/') + 1);
    for (const seam::ProgramRow &program : seam::programRows())
        for (const seam::OptionRow &row : seam::optionRows()) {
            if (row.isHeading() || !row.isOf(program.id) || !fileExists(programs + program.name))
                continue;
            std::string value = row.values, word = std::string("--") + row.name;
            bool isWord = !value.empty() && isalnum((unsigned char)value[0]);
            if (row.argument)
                word += "=" + (isWord ? value.substr(0, value.find(' ')) : std::string("100"));
            ProgramOptions options;
            options.directory = directory.path;
            ProgramResult result = runProgram({programs + program.name, word, "--help"}, options);
            EXPECT_EQ(result.status, 0) << program.name << " " << word << ": " << result.err;
        }
}

TEST(PrintCommand, SaysWhereTheJobWent)
{
    ScratchDirectory directory;
    directory.write("a.pdf", onePagePdf(BAR));
    ProgramOptions options;
    options.directory = directory.path;
    ProgramResult result = runProgram({printProgramPath(), "-v", "a.pdf"}, options);
    std::string size = std::to_string(readFile(directory / "a.ps").size());
    EXPECT_TRUE(result.err.ends_with("pdf_print: a.pdf: 1 page, " + size + " bytes: a.ps\n"))
        << result.err;
    result = runProgram({printProgramPath(), "a.pdf"}, options);
    EXPECT_EQ(result.err, "");
}

TEST(PrintCommand, PassesOnTheRequestsNumber)
{
    ScratchDirectory directory;
    directory.write("a.pdf", onePagePdf(BAR));
    directory.write("lp", "#!/bin/sh\necho 'request id is office-7 (1 file(s))'\n");
    std::filesystem::permissions(directory / "lp", std::filesystem::perms::owner_all);
    ProgramOptions options;
    options.directory = directory.path;
    options.environment = {{"PATH", directory.path + ":" + getenv("PATH")}};
    ProgramResult result = runProgram({printProgramPath(), "-d", "office", "a.pdf"}, options);
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.out, "request id is office-7 (1 file(s))\n");
    result = runProgram({printProgramPath(), "-q", "-d", "office", "a.pdf"}, options);
    EXPECT_EQ(result.out, "");
    EXPECT_FALSE(fileExists(directory / "a.ps"));
}

TEST(PrintCommand, WrongUseIsStatusTwo)
{
    ScratchDirectory directory;
    directory.write("a.pdf", onePagePdf(BAR));
    for (const Lines &arguments : {Lines{},
                                   Lines{"a.pdf", "b.pdf"},
                                   Lines{"--pages=", "a.pdf"},
                                   Lines{"--pages=3,x", "a.pdf"},
                                   Lines{"--pages=0", "a.pdf"},
                                   Lines{"--pages=1;2", "a.pdf"},
                                   Lines{"--copies=0", "a.pdf"},
                                   Lines{"--copies=x", "a.pdf"},
                                   Lines{"--duplex=both", "a.pdf"},
                                   Lines{"--paper=huge", "a.pdf"},
                                   Lines{"--paper=0x5mm", "a.pdf"},
                                   Lines{"--paper=1e9x5mm", "a.pdf"},
                                   Lines{"--paper=nanx5mm", "a.pdf"},
                                   Lines{"--level=1", "a.pdf"},
                                   Lines{"--max-output=", "a.pdf"},
                                   Lines{"--max-output=5X", "a.pdf"},
                                   Lines{"--max-output=-5", "a.pdf"},
                                   Lines{"--max-output=99999999999G", "a.pdf"},
                                   Lines{"--progress=now", "a.pdf"},
                                   Lines{"--annotations=all", "a.pdf"},
                                   Lines{"--box=page", "a.pdf"},
                                   Lines{"--unknown", "a.pdf"},
                                   Lines{"-d", "p", "-o", "f", "a.pdf"},
                                   Lines{"-d", "-x", "a.pdf"}}) {
        ProgramResult result = run(directory, arguments);
        EXPECT_EQ(result.status, 2) << (arguments.empty() ? "" : arguments[0]);
        EXPECT_EQ(occurrences(result.err, "Try 'pdf_print --help'."), 1u) << result.err;
    }
    EXPECT_EQ(directory.names(), Lines{"a.pdf"});
}

TEST(PrintCommand, AFileThatIsNotThere)
{
    ScratchDirectory directory;
    ProgramResult result = run(directory, {"none.pdf"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err,
              "pdf_print: none.pdf: The file cannot be read: No such file or directory.\n");
    result = run(directory, {"."});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "pdf_print: .: The file cannot be read: Is a directory.\n");
}

TEST(PrintCommand, AnOutputThatCannotBeWritten)
{
    ScratchDirectory directory;
    directory.write("a.pdf", onePagePdf(BAR));
    ProgramResult result = run(directory, {"-o", "no/such/place.ps", "a.pdf"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "pdf_print: a.pdf: The output cannot be opened: No such file or "
                          "directory.\n");
    result = run(directory, {"-o", "/dev/full", "a.pdf"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(occurrences(result.err, "No space left on device"), 1u) << result.err;
    EXPECT_EQ(linesOf(result.err).size(), 1u) << result.err;
}

TEST(PrintCommand, WhatIsNoDocument)
{
    ScratchDirectory directory;
    directory.write("a.pdf", "this is a letter\n");
    directory.write("a.ps", "older");
    ProgramResult result = run(directory, {"a.pdf"});
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(result.err.starts_with("pdf_print: a.pdf: ")) << result.err;
    EXPECT_EQ(readFile(directory / "a.ps"), "older");
    EXPECT_EQ(directory.names(), (Lines{"a.pdf", "a.ps"}));
}

TEST(PrintCommand, OutputIsBounded)
{
    ScratchDirectory directory;
    directory.write("a.pdf", onePagePdf(BAR));
    ProgramResult result = run(directory, {"--max-output=3K", "a.pdf"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err,
              "pdf_print: a.pdf: Output is too large; --max-output sets another bound.\n");
    EXPECT_EQ(directory.names(), Lines{"a.pdf"});
    EXPECT_EQ(run(directory, {"--max-output=1M", "a.pdf"}).status, 0);
}

TEST(PrintCommand, ProgressCountsPages)
{
    PdfBuilder pdf;
    for (int i = 0; i < 3; i++)
        pdf.addPage("/MediaBox [0 0 9 9]");
    ScratchDirectory directory;
    directory.write("a.pdf", pdf.build());
    EXPECT_EQ(run(directory, {"--progress=always", "a.pdf"}).err,
              "page 1 of 3\npage 2 of 3\npage 3 of 3\n");
    EXPECT_EQ(run(directory, {"a.pdf"}).err, "") << "no terminal, no progress";
}

TEST(PrintCommand, ANewerDocumentIsPrepared)
{
    ScratchDirectory directory;
    directory.write("plain.pdf", onePagePdf(BAR));
    ASSERT_EQ(runProgram({"qpdf", "--object-streams=generate", directory / "plain.pdf",
                          directory / "new.pdf"})
                  .status,
              0);
    ProgramResult refused = run(directory, {"--no-prepare", "new.pdf"});
    EXPECT_EQ(refused.status, 1);
    ProgramResult result = run(directory, {"new.pdf"});
    EXPECT_EQ(result.status, 0) << result.err;
    ASSERT_EQ(run(directory, {"plain.pdf"}).status, 0);
    PrintedJob newer = printFile(readFile(directory / "new.ps"), 36);
    PrintedJob plain = printFile(readFile(directory / "plain.ps"), 36);
    ASSERT_EQ(newer.pages.size(), 1u);
    EXPECT_TRUE(newer.pages[0].rgb == plain.pages[0].rgb);
}

TEST(PrintCommand, PagesOfAPreparedDocumentKeepTheirNumbers)
{
    PdfBuilder pdf;
    for (int i = 1; i <= 6; i++)
        pdf.addPage("/MediaBox [0 0 " + std::to_string(10 * i) + " 50]");
    ScratchDirectory directory;
    directory.write("plain.pdf", pdf.build());
    ASSERT_EQ(runProgram({"qpdf", "--object-streams=generate", directory / "plain.pdf",
                          directory / "new.pdf"})
                  .status,
              0);
    ProgramResult result = run(directory, {"--pages=5-,2", "-o", "-", "new.pdf"});
    EXPECT_EQ(result.status, 0) << result.err;
    for (const char *line : {"\n%%Page: (5) 1\n", "\n%%Page: (6) 2\n", "\n%%Page: (2) 3\n",
                             "\n%%PageBoundingBox: 0 0 60 50\n"})
        EXPECT_EQ(occurrences(result.out, line), 1u) << line;
}

/* Pages of 10, 20, ... points' width. */
std::string steppedPages(int count, const std::string &catalog = "")
{
    PdfBuilder pdf;
    pdf.catalogEntries = catalog;
    for (int i = 1; i <= count; i++)
        pdf.addPage("/MediaBox [0 0 " + std::to_string(10 * i) + " 50] /Contents " +
                    ref(pdf.addStream("", BAR)));
    return pdf.build();
}

/* What stands behind a comment's name, each time. */
Lines behind(const std::string &job, const std::string &mark)
{
    Lines found;
    for (const std::string &line : commentsOf(job))
        if (line.starts_with(mark))
            found.push_back(line.substr(mark.size()));
    return found;
}

TEST(PrintCommand, PagesComeInTheOrderOfTheList)
{
    struct Case {
        const char *list;
        Lines pages;
    };
    ScratchDirectory directory;
    directory.write("a.pdf", steppedPages(5));
    for (const Case &c : std::initializer_list<Case>{
             {"3,1,1", {"(3) 1", "(1) 2", "(1) 3"}},
             {"5-4,2", {"(5) 1", "(4) 2", "(2) 3"}},
             {"odd", {"(1) 1", "(3) 2", "(5) 3"}},
             {"even,last", {"(2) 1", "(4) 2", "(5) 3"}},
             {"z-4", {"(5) 1", "(4) 2"}},
             {"r2-,r5", {"(4) 1", "(5) 2", "(1) 3"}},
             {"1-4:even", {"(2) 1", "(4) 2"}},
         }) {
        ProgramResult result =
            run(directory, {std::string("--pages=") + c.list, "-o", "-", "a.pdf"});
        EXPECT_EQ(result.status, 0) << result.err;
        EXPECT_EQ(result.err, "");
        EXPECT_EQ(behind(result.out, "%%Page: "), c.pages) << c.list;
        Lines boxes;
        for (const std::string &page : c.pages)
            boxes.push_back("0 0 " + page.substr(1, 1) + "0 50");
        EXPECT_EQ(behind(result.out, "%%PageBoundingBox: "), boxes) << c.list;
    }
}

TEST(PrintCommand, ARepeatedPageIsDrawnEachTime)
{
    std::string pdf = steppedPages(5);
    PrintedJob all = printFile(jobOf(pdf)),
               some = printFile(printPdf(pdf, {"--pages=5,3,5"}).output);
    ASSERT_EQ(all.pages.size(), 5u);
    ASSERT_EQ(some.pages.size(), 3u);
    EXPECT_TRUE(some.pages[0].rgb == all.pages[4].rgb);
    EXPECT_TRUE(some.pages[1].rgb == all.pages[2].rgb);
    EXPECT_TRUE(some.pages[2].rgb == all.pages[4].rgb);
}

TEST(PrintCommand, EverySecondPageAndTheLastOneFirst)
{
    ScratchDirectory directory;
    directory.write("a.pdf", steppedPages(5));
    auto pages = [&](Lines arguments) {
        arguments.insert(arguments.end(), {"-o", "-", "a.pdf"});
        return behind(run(directory, arguments).out, "%%Page: ");
    };
    EXPECT_EQ(pages({"--page-set=even"}), (Lines{"(2) 1", "(4) 2"}));
    EXPECT_EQ(pages({"--pages=2-5", "--page-set=odd"}), (Lines{"(2) 1", "(4) 2"}));
    EXPECT_EQ(pages({"--reverse", "--pages=3,5"}), (Lines{"(5) 1", "(3) 2"}));
    EXPECT_EQ(pages({"--page-set=odd", "--reverse"}), (Lines{"(5) 1", "(3) 2", "(1) 3"}));
    EXPECT_EQ(pages({"--page-set=odd", "--no-prepare"}), (Lines{"(1) 1", "(3) 2", "(5) 3"}));
    EXPECT_EQ(run(directory, {"--reverse", "--no-prepare", "a.pdf"}).status, 2);
    EXPECT_EQ(run(directory, {"--page-set=all", "a.pdf"}).status, 2);
}

TEST(PrintCommand, LabelsGoWithTheirPages)
{
    ScratchDirectory directory;
    directory.write("a.pdf",
                    steppedPages(4, "/PageLabels << /Nums [0 << /S /r /St 3 >> 2 << /S /D >>] >>"));
    ProgramResult result = run(directory, {"--pages=4-2,2", "-o", "-", "a.pdf"});
    EXPECT_EQ(behind(result.out, "%%Page: "), (Lines{"(2) 1", "(1) 2", "(iv) 3", "(iv) 4"}));
}

TEST(PrintCommand, PagesThatDoNotExistAreSaid)
{
    ScratchDirectory directory;
    directory.write("a.pdf", steppedPages(3));
    ProgramResult none = run(directory, {"--pages=4,9-", "a.pdf"});
    EXPECT_EQ(none.status, 1);
    EXPECT_EQ(none.err,
              "pdf_print: a.pdf: None of these pages exists: the document has 3 pages.\n");
    ProgramResult part = run(directory, {"--pages=99,2", "-o", "-", "a.pdf"});
    EXPECT_EQ(part.status, 0);
    EXPECT_EQ(part.err, "pdf_print: a.pdf: 99: the document has 3 pages.\n");
    EXPECT_EQ(behind(part.out, "%%Page: "), Lines{"(2) 1"});
}

TEST(PrintCommand, MessagesNameThePageOfTheDocument)
{
    PdfBuilder pdf;
    int content = pdf.addStream("", BAR);
    int broken = pdf.addStream("/Filter /FlateDecode", "no compressed data");
    for (int i = 1; i <= 5; i++)
        pdf.addPage("/MediaBox [0 0 200 200] /Contents " + ref(i == 4 ? broken : content));
    ScratchDirectory directory;
    directory.write("a.pdf", pdf.build());
    for (const char *list : {"--pages=5,4,4", "--pages=even", "--pages=4-2"}) {
        ProgramResult result = run(directory, {list, "-o", "-", "a.pdf"});
        EXPECT_EQ(occurrences(result.err, "pdf_print: a.pdf: page 4: "), 1u) << result.err;
        EXPECT_EQ(occurrences(result.err, ": page "), 1u) << result.err;
    }
}

TEST(PrintCommand, ThePageMapHasTheNumbersOfThePages)
{
    ScratchDirectory directory;
    directory.write("a.pdf", steppedPages(3));
    run(directory, {"--pages=3,1,1", "--page-map=map", "-o", "a.ps", "a.pdf"});
    EXPECT_EQ(readFile(directory / "map"), "pages 3\n3\n1\n1\n");
    run(directory, {"--page-map=map", "-o", "a.ps", "a.pdf"});
    EXPECT_EQ(readFile(directory / "map"), "pages 3\n1\n2\n3\n");
    run(directory, {"--no-prepare", "--pages=2-", "--page-map=map", "-o", "a.ps", "a.pdf"});
    EXPECT_EQ(readFile(directory / "map"), "pages 2\n2\n3\n");
}

/* Every name of a document that is written to is refused, and the document stays as it was. */
TEST(PrintCommand, TheOutputIsNeverTheInput)
{
    ScratchDirectory directory;
    const std::string pdf = onePagePdf(BAR);
    directory.write("d.pdf", pdf);
    ASSERT_EQ(symlink("d.pdf", (directory / "soft.ps").c_str()), 0);
    ASSERT_EQ(link((directory / "d.pdf").c_str(), (directory / "hard.ps").c_str()), 0);
    Lines before = directory.names();
    for (const Lines &arguments : std::initializer_list<Lines>{
             {"-o", "d.pdf", "d.pdf"},
             {"-o", "./d.pdf", "d.pdf"},
             {"-o", directory / "d.pdf", "d.pdf"},
             {"-o", "soft.ps", "d.pdf"},
             {"-o", "hard.ps", "d.pdf"},
             {"-o", "d.pdf", "soft.ps"},
             {"--no-prepare", "-o", "d.pdf", "hard.ps"},
             {"-o", "out.ps", "--page-map=hard.ps", "d.pdf"},
             {"-o", "out.ps", "--placed-at=soft.ps", "d.pdf"},
         }) {
        ProgramResult result = run(directory, arguments);
        EXPECT_EQ(result.status, 2) << arguments[1];
        EXPECT_TRUE(result.err.starts_with("pdf_print: The output would overwrite what is read: "))
            << result.err;
        EXPECT_EQ(readFile(directory / "d.pdf"), pdf);
        EXPECT_EQ(directory.names(), before);
    }
    /* The name beside the document that is taken when none is given. */
    ASSERT_EQ(symlink("d.pdf", (directory / "d.ps").c_str()), 0);
    EXPECT_EQ(run(directory, {"d.pdf"}).status, 2);
    EXPECT_EQ(readFile(directory / "d.pdf"), pdf);
}

TEST(PrintCommand, TheOutputIsNoFileOfAnOption)
{
    ScratchDirectory directory;
    directory.write("d.pdf", onePagePdf(BAR));
    directory.write("secret", "word\n");
    ProgramResult result = run(directory, {"--password-file=secret", "-o", "./secret", "d.pdf"});
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(readFile(directory / "secret"), "word\n");
}

TEST(PrintCommand, StandardOutputIsNeverTheInput)
{
    ScratchDirectory directory;
    const std::string pdf = onePagePdf(BAR);
    directory.write("d.pdf", pdf);
    for (const char *line :
         {"\"$PRINT\" -o - d.pdf >>d.pdf", "\"$PRINT\" -o /dev/stdout d.pdf 1<>d.pdf",
          "\"$PRINT\" - <d.pdf 1<>d.pdf", "\"$PRINT\" -o d.pdf - <d.pdf"}) {
        ProgramOptions options;
        options.directory = directory.path;
        options.environment = {{"PRINT", printProgramPath()}};
        ProgramResult result = runProgram({"sh", "-c", line}, options);
        EXPECT_EQ(result.status, 2) << line << result.err;
        EXPECT_EQ(readFile(directory / "d.pdf"), pdf) << line;
    }
}

/* A stand-in for the print system's command, which keeps what it gets. */
std::string standInForLp(const ScratchDirectory &directory, int status)
{
    std::string path = directory.write("bin/lp", "#!/bin/sh\n"
                                                 "for last; do :; done\n"
                                                 "echo \"$@\" > \"$KEEP/words\"\n"
                                                 "cat \"$last\" > \"$KEEP/job\"\n"
                                                 "echo 'lp: no such printer' >&2\n"
                                                 "exit " +
                                                     std::to_string(status) + "\n");
    chmod(path.c_str(), 0755);
    return directory / "bin";
}

TEST(PrintCommand, APrinterGetsTheJob)
{
    ScratchDirectory directory;
    mkdir((directory / "bin").c_str(), 0755);
    std::string bin = standInForLp(directory, 0);
    directory.write("a.pdf", onePagePdf(BAR));
    std::map<std::string, std::string> environment = {{"PATH", bin + ":" + getenv("PATH")},
                                                      {"KEEP", directory.path}};
    ProgramResult result =
        run(directory, {"-d", "office", "--title=-x y", "a.pdf"}, "", environment);
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_TRUE(readFile(directory / "words").starts_with("-d office -t -x y -- "));
    EXPECT_TRUE(readFile(directory / "job").starts_with("%!PS-Adobe-3.0\n"));
    EXPECT_FALSE(fileExists(directory / "a.ps"));
}

TEST(PrintCommand, APrinterThatRefusesIsAFailure)
{
    ScratchDirectory directory;
    mkdir((directory / "bin").c_str(), 0755);
    std::string bin = standInForLp(directory, 1);
    directory.write("a.pdf", onePagePdf(BAR));
    ProgramResult result = run(directory, {"-d", "office", "a.pdf"}, "",
                               {{"PATH", bin + ":" + getenv("PATH")}, {"KEEP", directory.path}});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "pdf_print: a.pdf: The print system did not take the job: lp: no such "
                          "printer\n");
}

TEST(PrintCommand, WhatIsMissingIsSaidOnceAndIsStatusThree)
{
    PdfBuilder pdf;
    for (int i = 0; i < 2; i++)
        pdf.addPage("/MediaBox [0 0 50 50] /Resources << /Font << /F << /Type /Font /Subtype "
                    "/Unheard /BaseFont /X >> /G << /Type /Font /Subtype /Unheard /BaseFont /X >> "
                    ">> >>");
    PrintRun run = printPdf(pdf.build(), {"--no-prepare"});
    EXPECT_EQ(run.status, 3);
    EXPECT_TRUE(run.hasOutput);
    EXPECT_EQ(run.messages, Lines{"pdf_print: doc.pdf: page 1: Text is missing: Unsupported font "
                                  "type /Unheard of font /F"});
    EXPECT_EQ(printPdf(pdf.build(), {"--no-prepare", "-q"}).messages, Lines{});
    run = printPdf(pdf.build(), {"--no-prepare", "--strict"});
    EXPECT_EQ(run.status, 1);
    EXPECT_FALSE(run.hasOutput);
}

} // namespace

/* What can be read only once is kept, by whatever name it comes. */
TEST(PrintCommand, PipesAreReadByTheirNames)
{
    ScratchDirectory directory;
    directory.write("doc.pdf", onePagePdf("0 0 9 9 re f"));
    std::string program = printProgramPath();
    ProgramOptions settings;
    settings.directory = directory.path;
    auto jobBy = [&](const std::string &command) {
        ProgramResult result = runProgram({"bash", "-c", command}, settings);
        EXPECT_EQ(result.status, 0) << command << ": " << result.err;
        return result.out;
    };
    std::string job = jobBy(program + " -o - - <doc.pdf");
    EXPECT_TRUE(job.starts_with("%!PS-Adobe-3.0"));
    auto pagesOf = [](const std::string &text) { return text.substr(text.find("%%Page:")); };
    for (const char *command : {" -o - /dev/stdin <doc.pdf", " -o - <(cat doc.pdf)"})
        EXPECT_EQ(pagesOf(jobBy(program + command)), pagesOf(job)) << command;
    EXPECT_EQ(pagesOf(jobBy("cat doc.pdf | " + program + " -o - /dev/stdin")), pagesOf(job));
}
