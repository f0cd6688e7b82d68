/*
 * command_line_test.cpp - switches, the prompt, exit statuses, where the output goes
 */
#include <csignal>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/support/conversion.h"
#include "tests/support/pdf_builder.h"
#include "tests/truetype/font_builder.h"

namespace {

using Texts = std::vector<std::string>;

/* A directory with doc.pdf, and the program run in it. */
struct CommandLine : testing::Test {
    ScratchDirectory directory;

    void SetUp() override { directory.write("doc.pdf", onePagePdf("n\n")); }

    ProgramResult run(const Texts &arguments, const std::string &input = "")
    {
        ProgramOptions options;
        options.directory = directory.path;
        options.input = input;
        Texts command = {programPath()};
        command.insert(command.end(), arguments.begin(), arguments.end());
        return runProgram(command, options);
    }

    /* Runs, expects one line on standard error and nothing converted. */
    void expectFault(const Texts &arguments, const std::string &message)
    {
        ProgramResult result = run(arguments);
        EXPECT_EQ(result.status, 1) << message;
        EXPECT_EQ(result.err, message + "\n");
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(directory.names(), Texts{"doc.pdf"}) << message;
    }

    void expectConverted(const Texts &arguments, const std::string &output = "noname.ps")
    {
        ProgramResult result = run(arguments);
        EXPECT_EQ(result.status, 0) << result.err;
        EXPECT_TRUE(fileExists(directory / output)) << output;
        EXPECT_EQ(directory.names().size(), 2U);
        unlink((directory / output).c_str());
    }
};

} // namespace

TEST_F(CommandLine, TheDefaultOutputIsNonamePs)
{
    expectConverted({"doc.pdf"});
    expectConverted({"doc"});
}

TEST_F(CommandLine, WithoutAFileNothingIsDone)
{
    for (const Texts &arguments : {Texts{""}, Texts{"-PAGE=2"}, Texts{"--"}}) {
        ProgramResult result = run(arguments);
        EXPECT_EQ(result.status, 0);
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(result.err, "");
        EXPECT_EQ(directory.names(), Texts{"doc.pdf"});
    }
}

TEST_F(CommandLine, WithoutArgumentsItPrompts)
{
    for (const char *input : {"", "\n", "   \n"}) {
        ProgramResult result = run({}, input);
        EXPECT_EQ(result.status, 0);
        EXPECT_EQ(result.out, "PDF to PS v1.3:>");
        EXPECT_EQ(directory.names(), Texts{"doc.pdf"});
    }
    ProgramResult result = run({}, "doc.pdf  -OUTSPEC=\"a b.ps\" -PAGE 1\nignored\n");
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_TRUE(fileExists(directory / "a b.ps"));
}

TEST_F(CommandLine, AQuotedNameHoldsABlank)
{
    directory.write("my doc.pdf", onePagePdf("n\n"));
    for (const char *argument :
         {"\"my doc.pdf\"", "\"my doc\"", "\"my doc.pdf\" and more", "\"my doc", "my doc.pdf"}) {
        ProgramResult result = run({argument});
        EXPECT_EQ(result.status, 0) << argument;
        EXPECT_EQ(result.err,
                  "ZOLAK-I-INTRO: This is a PDF v1.2 file.\nZOLAK-I-PAGE: Processing page 1\n")
            << argument;
        EXPECT_EQ(unlink((directory / "noname.ps").c_str()), 0) << argument;
    }
    EXPECT_EQ(run({}, "\"my doc.pdf\"\n").status, 0);
    EXPECT_TRUE(fileExists(directory / "noname.ps"));
}

TEST_F(CommandLine, EmptyQuotesAreAFileWithoutAName)
{
    /* Only an argument that is itself empty means that there is nothing to do. */
    for (const char *argument : {"\"\"", "\""}) {
        ProgramResult result = run({argument});
        EXPECT_EQ(result.status, 1) << argument;
        EXPECT_EQ(result.err, "ZOLAK-E-BADFOPEN: Error occurred while opening the PDF file '' for "
                              "reading.\n");
        EXPECT_EQ(directory.names(), Texts{"doc.pdf"});
    }
}

TEST_F(CommandLine, SwitchesTakeTheirValueBehindAnEqualsSignOrAsTheNextWord)
{
    expectConverted({"-OUTSPEC=x.ps", "doc.pdf"}, "x.ps");
    expectConverted({"doc.pdf", "-OUTSPEC", "x.ps"}, "x.ps");
    expectConverted({"--outspec=x.ps", "doc.pdf"}, "x.ps");
    expectConverted({"--OutSpec", "x", "doc.pdf"}, "x.ps");
    expectConverted({"-PAGE", "1", "doc.pdf"});
    expectConverted({"-PAGE=1", "doc.pdf"});
    expectConverted({"-PAGE", "doc.pdf"});
    expectConverted({"-PAGE", "-1", "doc.pdf"});
    expectConverted({"doc.pdf", "-OUTSPEC=x.ps", "-OUTSPEC=y.ps"}, "y.ps");
}

TEST_F(CommandLine, OnlyDebugAndLogfileMayBeAbbreviated)
{
    expectConverted({"-DEB=1", "doc.pdf"});
    expectConverted({"-DEBU", "doc.pdf"});
    expectConverted({"-LOG=x.log", "doc.pdf"});
    expectConverted({"-logfile", "x.log", "doc.pdf"});
    expectFault({"-PAG", "doc.pdf"}, "Invalid switch: -PAG");
    expectFault({"-PAG=3", "doc.pdf"}, "Invalid switch: -PAG");
    expectFault({"-DE", "doc.pdf"}, "Invalid switch: -DE");
    expectFault({"--OUT=x.ps", "doc.pdf"}, "Invalid switch: --OUT");
    expectFault({"doc.pdf", "-help"}, "Invalid switch: -help");
}

TEST_F(CommandLine, FaultsAreOneLineAndNothingIsConverted)
{
    expectFault({"-PAGE=x", "doc.pdf"}, "Bad value for switch PAGE: x");
    expectFault({"-PAGE=", "doc.pdf"}, "Bad value for switch PAGE: ");
    expectFault({"-DEB=1.5", "doc.pdf"}, "Bad value for switch DEBUG: 1.5");
    expectFault({"doc.pdf", "-OUTSPEC"}, "Missing value for switch OUTSPEC");
    expectFault({"doc.pdf", "-OUTSPEC="}, "Missing value for switch OUTSPEC");
    expectFault({"doc.pdf", "b.pdf"}, "Unexpected argument: b.pdf");
    expectFault({"-PAGE", "x", "doc.pdf"}, "Unexpected argument: doc.pdf");
    expectFault({"doc.pdf", "--", "-PAGE=1"}, "Unexpected argument: -PAGE=1");
    expectFault({"-PAGE=x", "-PAG", "a", "b"}, "Bad value for switch PAGE: x");
    expectFault({"-LOGFILE"}, "Missing value for switch LOGFILE");
}

TEST_F(CommandLine, TwoDashesEndTheSwitches)
{
    directory.write("-PAGE.pdf", onePagePdf("n\n"));
    EXPECT_EQ(run({"--", "-PAGE.pdf"}).status, 0);
    EXPECT_TRUE(fileExists(directory / "noname.ps"));
}

TEST_F(CommandLine, HelpAndVersionAreAnswered)
{
    ProgramResult help = run({"--help"});
    EXPECT_EQ(help.status, 0);
    EXPECT_EQ(help.err, "");
    EXPECT_EQ(help.out, "PDF to PS v1.3\n\nUsage: pdf_to_ps [switches] file\n\nSwitches:\n"
                        "  -DEBUG[=integer]\n  -PAGE[=integer]\n  -ENCRYPT[=integer]\n"
                        "  -OUTSPEC=text\n  -PROLOG=text\n  -TRAILER=text\n  -DECODE[=integer]\n"
                        "  -LOGFILE=text\n  --help\n  --version\n  --  ends the switches\n");
    ProgramResult version = run({"--version"});
    EXPECT_EQ(version.status, 0);
    EXPECT_EQ(version.out, "PDF to PS v1.3\n");
}

TEST_F(CommandLine, AValueAboveItsBoundIsClampedWithAMessage)
{
    ProgramResult result = run({"-PAGE=65537", "doc.pdf"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(linesOf(result.err)[0], "Value of PAGE is above 65536; 65536 is used");
    result = run({"-DECODE=2", "doc.pdf"});
    EXPECT_EQ(linesOf(result.err)[0], "Value of DECODE is above 1; 1 is used");
}

TEST_F(CommandLine, ATextThatIsTooLongConvertsNothing)
{
    for (const char *name : {"OUTSPEC", "PROLOG", "TRAILER"}) {
        ProgramResult result =
            run({std::string("-") + name + "=" + std::string(257, 'x'), "doc.pdf"});
        EXPECT_EQ(result.status, 1);
        EXPECT_EQ(result.err, std::string("Value of ") + name + " is longer than 256 characters\n");
        EXPECT_EQ(directory.names(), Texts{"doc.pdf"});
    }
}

TEST_F(CommandLine, TheOutputCanBePiped)
{
    ProgramResult result = run({"doc.pdf", "-OUTSPEC=/dev/stdout"});
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_TRUE(result.out.starts_with("%!PS"));
    EXPECT_NE(result.out.find("\nEndPageDescription\n"), std::string::npos);
    EXPECT_EQ(directory.names(), Texts{"doc.pdf"});
}

TEST_F(CommandLine, StandardOutputInAFileIsWrittenWhereItStands)
{
    ProgramResult result =
        runProgram({"sh", "-c",
                    "cd " + directory.path + " && { echo before; " + programPath() +
                        " doc.pdf -OUTSPEC=/dev/stdout; echo after; } > all.ps"});
    EXPECT_EQ(result.status, 0);
    std::string all = readFile(directory / "all.ps");
    EXPECT_TRUE(all.starts_with("before\n%!PS"));
    EXPECT_TRUE(all.ends_with("after\n"));
}

TEST_F(CommandLine, ClosedStandardStreamsDoNotMixWithTheFiles)
{
    ASSERT_EQ(run({"doc.pdf"}).status, 0);
    std::string expected = readFile(directory / "noname.ps");
    for (const char *closed : {"<&-", ">&-", "2>&-", "<&- >&-", "<&- 2>&-", "<&- >&- 2>&-"}) {
        unlink((directory / "noname.ps").c_str());
        ProgramResult result = runProgram(
            {"sh", "-c", "cd " + directory.path + " && " + programPath() + " doc.pdf " + closed});
        EXPECT_EQ(result.status, 0) << closed;
        EXPECT_EQ(readFile(directory / "noname.ps"), expected) << closed;
    }
    ProgramResult result = runProgram(
        {"sh", "-c",
         "cd " + directory.path + " && " + programPath() + " doc.pdf -OUTSPEC=/dev/stdout >&-"});
    EXPECT_EQ(result.status, 1) << "there is no standard output to write to";
    EXPECT_EQ(result.err, "/dev/stdout: Bad file descriptor\n"
                          "ZOLAK-E-BADFOPEN: Error occurred while opening the file /dev/stdout for "
                          "writing.\n");
}

TEST_F(CommandLine, AnAnswerThatCannotBeWrittenIsAnError)
{
    for (const char *question : {" --help", " --version"}) {
        ProgramResult result =
            runProgram({"sh", "-c", programPath() + std::string(question) + " > /dev/full"});
        EXPECT_EQ(result.status, 1) << question;
        EXPECT_EQ(result.err, "Error occurred while writing to standard output.\n") << question;
    }
}

TEST_F(CommandLine, AFullDiskIsTheFirstErrorThatIsTold)
{
    ProgramResult result = run({"doc.pdf", "-OUTSPEC=/dev/full"});
    EXPECT_EQ(result.status, 1);
    Texts lines = linesOf(result.err);
    std::erase_if(lines, [](const std::string &line) { return line.starts_with("ZOLAK-I-"); });
    ASSERT_GE(lines.size(), 2U);
    EXPECT_EQ(lines[0], "/dev/full: No space left on device");
    EXPECT_EQ(lines[1], "ZOLAK-E-BADFWRITE: Error occurred while writing the file /dev/full.");
}

TEST_F(CommandLine, AReaderThatGoesAwayIsAnErrorAndNoSignal)
{
    /* More than a pipe holds. */
    directory.write("big.pdf", onePagePdf(std::string(1 << 20, 'n')));
    ProgramResult result = runProgram({"sh", "-c",
                                       "cd " + directory.path + " && mkfifo p && { : < p & } && " +
                                           programPath() + " big.pdf -OUTSPEC=p; echo status $?"});
    EXPECT_EQ(result.out, "status 1\n") << result.err;
    size_t reason = result.err.find("p: Broken pipe\nZOLAK-E-BADFWRITE: ");
    ASSERT_NE(reason, std::string::npos) << result.err;
    EXPECT_GT(result.err.find("ZOLAK-E-"), reason) << "the first error is the true one";
}

TEST_F(CommandLine, TheInputIsNotOverwritten)
{
    std::string before = readFile(directory / "doc.pdf");
    ProgramResult result = run({"doc.pdf", "-OUTSPEC=doc.pdf"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err,
              "doc.pdf: File exists\n"
              "ZOLAK-E-BADFOPEN: Error occurred while opening the file doc.pdf for writing.\n");
    EXPECT_EQ(readFile(directory / "doc.pdf"), before);
}

/* More pages than fit into a pipe that nobody reads, the first with a font that needs a temporary
 * file. */
std::string manyPages()
{
    FontBuilder font;
    font.glyphs = {""};
    font.advances = {500};
    PdfBuilder pdf;
    pdf.rootEntries = "/MediaBox [0 0 9 9]";
    pdf.addPage("/Resources << /Font << /F << /Subtype /TrueType /BaseFont /B /FontDescriptor << "
                "/FontFile2 " +
                ref(pdf.addStream("", font.build())) + " >> >> >> >>");
    for (int i = 0; i < 400; i++)
        pdf.addPage("");
    return pdf.build();
}

TEST_F(CommandLine, ASignalRemovesTheTemporaryFilesFirst)
{
    directory.write("pages.pdf", manyPages());
    for (int signal : {SIGINT, SIGTERM, SIGHUP}) {
        /* The program stands still in the middle of its pages: its reports fill the pipe. */
        int reports[2];
        ASSERT_EQ(pipe(reports), 0);
        ASSERT_GE(fcntl(reports[0], F_SETPIPE_SZ, 4096), 4096);
        pid_t child = fork();
        if (child == 0) {
            std::signal(signal, SIG_DFL); /* it may have been ignored */
            setenv("KV_TMP", directory.path.c_str(), 1);
            dup2(reports[1], STDERR_FILENO);
            if (chdir(directory.path.c_str()) == 0)
                execl(programPath().c_str(), "pdf_to_ps", "pages.pdf", "-OUTSPEC=out.ps", nullptr);
            _exit(127);
        }
        int status = 0, reported = 0;
        while (reported < 3000 && waitpid(child, &status, WNOHANG) == 0) {
            ioctl(reports[0], FIONREAD, &reported);
            usleep(1000);
        }
        Texts during = directory.names();
        ASSERT_EQ(during.size(), 4U) << "it has ended by itself";
        EXPECT_TRUE(during[0].starts_with(".out.ps."));
        EXPECT_TRUE(during[3].starts_with("zelkov."));
        kill(child, signal);
        waitpid(child, &status, 0);
        EXPECT_TRUE(WIFSIGNALED(status));
        EXPECT_EQ(WTERMSIG(status), signal);
        EXPECT_EQ(directory.names(), (Texts{"doc.pdf", "pages.pdf"})) << signal;
        close(reports[0]);
        close(reports[1]);
    }
}

TEST(Installation, TheInstalledProgramFindsItsData)
{
    ScratchDirectory prefix;
    ProgramResult installed =
        runProgram({"cmake", "--install", BUILD_DIRECTORY, "--prefix", prefix.path});
    ASSERT_EQ(installed.status, 0) << installed.err;
    /* Nothing of the source tree is used: other data there would show. */
    EXPECT_TRUE(fileExists(prefix / "share/pdf_to_ps/pdf_psprolog.ps"));
    EXPECT_TRUE(fileExists(prefix / "share/pdf_to_ps/pdf_pstrailer.ps"));
    EXPECT_TRUE(fileExists(prefix / "share/man/man1/pdf_to_ps.1"));
    prefix.write("share/pdf_to_ps/pdf_psprolog.ps", "installed\n");
    prefix.write("doc.pdf", onePagePdf("n\n"));
    ProgramResult result = runProgram(
        {prefix / "bin/pdf_to_ps", prefix / "doc.pdf", "-OUTSPEC=" + (prefix / "doc.ps")});
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_TRUE(readFile(prefix / "doc.ps").starts_with("installed\n/TmpFont"));
}

TEST_F(CommandLine, ALogFileIsAcceptedAndNothingElse)
{
    ASSERT_EQ(run({"doc.pdf", "-OUTSPEC=plain.ps"}).status, 0);
    ProgramResult result = run({"doc.pdf", "-OUTSPEC=logged.ps", "-LOGFILE=run.log"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err,
              "ZOLAK-I-INTRO: This is a PDF v1.2 file.\nZOLAK-I-PAGE: Processing page 1\n");
    EXPECT_EQ(directory.names(), (Texts{"doc.pdf", "logged.ps", "plain.ps"}));
    EXPECT_EQ(readFile(directory / "logged.ps"), readFile(directory / "plain.ps"));
}

TEST_F(CommandLine, ATextOf256CharactersFits)
{
    std::string name;
    while (name.size() < 252)
        name += "./";
    name += "x.ps";
    ASSERT_EQ(name.size(), 256U);
    ProgramResult result = run({"doc.pdf", "-OUTSPEC=" + name});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(linesOf(result.err)[0], "ZOLAK-I-INTRO: This is a PDF v1.2 file.");
    EXPECT_TRUE(fileExists(directory / "x.ps"));

    /* A document whose name does not fit cannot be converted. */
    std::string file = name.substr(0, 252) + "/doc.pdf";
    result = run({file});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "Value of FILE is longer than 256 characters\n");

    /* Nor may the output go anywhere else than where it was to go. */
    result = run({"doc.pdf", "-OUTSPEC=" + name + "s"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "Value of OUTSPEC is longer than 256 characters\n");
    EXPECT_FALSE(fileExists(directory / "noname.ps"));
}

TEST_F(CommandLine, AFileSizeLimitIsAWriteErrorAndLeavesTheOlderOutput)
{
    directory.write("big.pdf", onePagePdf(std::string(1 << 20, 'n')));
    for (const char *handling : {"", "trap '' XFSZ && "}) {
        directory.write("out.ps", "an older result");
        ProgramResult result = runProgram({"sh", "-c",
                                           "cd " + directory.path + " && ulimit -c 0 && " +
                                               handling + "ulimit -f 256 && " + programPath() +
                                               " big.pdf -OUTSPEC=out.ps; echo status $?"});
        EXPECT_EQ(result.out, "status 1\n") << handling;
        EXPECT_EQ(linesOf(result.err).back(),
                  "ZOLAK-E-BADFWRITE: Error occurred while writing the file out.ps.")
            << result.err;
        EXPECT_NE(result.err.find("out.ps: File too large\n"), std::string::npos);
        EXPECT_EQ(directory.names(), (Texts{"big.pdf", "doc.pdf", "out.ps"}));
        EXPECT_EQ(readFile(directory / "out.ps"), "an older result");
    }
}
