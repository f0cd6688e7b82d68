/*
 * program_test.cpp - the command pdf_prepare
 */
#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>

#include <sys/stat.h>
#include <unistd.h>

#include "tests/prepare/fonts.h"
#include "tests/prepare/preparation.h"
#include "tests/support/conversion.h"
#include "tests/support/pdf_builder.h"
#include "tests/support/printing.h"
#include "tests/support/run_program.h"
#include "tests/support/scratch_directory.h"

namespace {

std::string pagesPdf(int count)
{
    PdfBuilder pdf;
    for (int i = 1; i <= count; i++) {
        int content = pdf.addStream("", "0 g 10 10 " + std::to_string(10 * i) + " 20 re f");
        pdf.addPage("/MediaBox [0 0 200 " + std::to_string(100 + i) + "] /Contents " +
                    ref(content));
    }
    return pdf.build();
}

std::vector<std::string> heights(const std::string &pdf)
{
    std::vector<std::string> found;
    const std::string box = "/MediaBox [ 0 0 200 ";
    for (size_t at = pdf.find(box); at != std::string::npos; at = pdf.find(box, at + 1))
        found.push_back(pdf.substr(at + box.size(), 3));
    return found;
}

} // namespace

/* A page with a picture that another program decodes. */
static std::string decodedDocument()
{
    PdfBuilder pdf;
    int image = pdf.addStream("/Type /XObject /Subtype /Image /Width 8 /Height 8 /BitsPerComponent "
                              "1 /ColorSpace /DeviceGray /Filter /JBIG2Decode",
                              "data");
    int content = pdf.addStream("", "/I Do");
    pdf.addPage("/MediaBox [0 0 200 200] /Contents " + ref(content) +
                " /Resources << /XObject << /I " + ref(image) + " >> >>");
    return pdf.build();
}

TEST(Program, TakesOnlyThePagesWanted)
{
    Preparation made = preparePdf(pagesPdf(9), {"--pages=2-3,7,9-"});
    EXPECT_EQ(made.status, 0);
    EXPECT_EQ(heights(made.pdf), (std::vector<std::string>{"102", "103", "107", "109"}));
}

TEST(Program, PagesThatDoNotExist)
{
    Preparation made = preparePdf(pagesPdf(2), {"--pages=3-"});
    EXPECT_EQ(made.status, 1);
    EXPECT_FALSE(made.hasOutput);
    EXPECT_EQ(made.messages,
              std::vector<std::string>{"PREPARE-E-NOPAGE: None of these pages exists: the "
                                       "document has 2 pages."});
}

TEST(Program, PagesComeInTheOrderOfTheList)
{
    Preparation made = preparePdf(pagesPdf(9), {"--pages=z,3-2,3,even"});
    EXPECT_EQ(made.status, 0);
    EXPECT_EQ(made.messages, std::vector<std::string>{});
    EXPECT_EQ(heights(made.pdf),
              (std::vector<std::string>{"109", "103", "102", "103", "102", "104", "106", "108"}));
}

TEST(Program, APartThatNamesNoPageIsSaid)
{
    Preparation made = preparePdf(pagesPdf(2), {"--pages=9,1,r5,9"});
    EXPECT_EQ(made.status, 0);
    EXPECT_EQ(made.messages,
              (std::vector<std::string>{"PREPARE-W-NOPART: 9: the document has 2 pages.",
                                        "PREPARE-W-NOPART: r5: the document has 2 pages."}));
    EXPECT_EQ(heights(made.pdf), std::vector<std::string>{"101"});
}

TEST(Program, HandsThePageMapOver)
{
    ScratchDirectory directory;
    std::string in = directory.write("in.pdf", pagesPdf(4)), map = directory / "map";
    auto prepare = [&](const std::vector<std::string> &options) {
        std::vector<std::string> command = {preparePath(), "--page-map=" + map};
        command.insert(command.end(), options.begin(), options.end());
        command.insert(command.end(), {in, directory / "out.pdf"});
        return runProgram(command).status;
    };
    EXPECT_EQ(prepare({"--pages=4,1-2,4"}), 0);
    EXPECT_EQ(readFile(map), "pages 4\n4\n1\n2\n4\n");
    EXPECT_EQ(prepare({"--if-needed", "--pages=1-"}), 4);
    EXPECT_EQ(readFile(map), "pages 4\n1\n2\n3\n4\n");
}

TEST(Program, TheOutputIsNeverAFileThatIsRead)
{
    ScratchDirectory directory;
    const std::string pdf = pagesPdf(2);
    std::string in = directory.write("d.pdf", pdf), word = directory.write("word", "secret\n");
    std::string soft = directory / "soft.pdf", hard = directory / "hard.pdf";
    ASSERT_EQ(symlink(in.c_str(), soft.c_str()), 0);
    ASSERT_EQ(link(in.c_str(), hard.c_str()), 0);
    std::vector<std::string> before = directory.names();
    using Words = std::vector<std::string>;
    for (const Words &words : std::initializer_list<Words>{
             {in, in},
             {in, directory / "./d.pdf"},
             {in, soft},
             {soft, in},
             {in, hard},
             {"--if-needed", in, hard},
             {"--page-map=" + hard, in, directory / "out.pdf"},
             {"--password-file=" + word, in, word},
         }) {
        Words command = {preparePath()};
        command.insert(command.end(), words.begin(), words.end());
        ProgramResult result = runProgram(command);
        EXPECT_EQ(result.status, 2) << words.back();
        EXPECT_TRUE(holds(result.err, "pdf_prepare: The output would overwrite what is read: "))
            << result.err;
        EXPECT_EQ(readFile(in), pdf);
        EXPECT_EQ(readFile(word), "secret\n");
        EXPECT_EQ(directory.names(), before);
    }
}

/* Time by the clock, of which a document that is waited for takes nothing from the processor. */
TEST(Program, ADocumentThatDoesNotComeIsGivenUp)
{
    ScratchDirectory directory;
    std::string pipe = directory / "pipe.pdf";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    ProgramResult result = runProgram({preparePath(), "--max-time=1", pipe, directory / "out.pdf"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "PREPARE-E-TIME: The document takes too much time.\n");
    EXPECT_EQ(directory.names(), std::vector<std::string>{"pipe.pdf"});
}

TEST(Program, LinksAndStandardOutputAreWrittenThrough)
{
    ScratchDirectory directory;
    std::string in = directory.write("d.pdf", pagesPdf(3)), link = directory / "link.pdf";
    directory.write("real.pdf", "older");
    ASSERT_EQ(symlink("real.pdf", link.c_str()), 0);
    ASSERT_EQ(runProgram({preparePath(), "--pages=2-", in, link}).status, 0);
    EXPECT_EQ(heights(readFile(directory / "real.pdf")), (std::vector<std::string>{"102", "103"}));
    std::string prepared = readFile(link);
    EXPECT_EQ(unlink(link.c_str()), 0);
    EXPECT_TRUE(fileExists(directory / "real.pdf"));

    directory.write("all", "begin\n");
    ProgramOptions options;
    options.environment = {{"PREPARE", preparePath()}, {"IN", in}, {"ALL", directory / "all"}};
    const std::string line = "\"$PREPARE\" --pages=2- \"$IN\" /dev/stdout >>\"$ALL\"";
    EXPECT_EQ(runProgram({"sh", "-c", line}, options).status, 0);
    EXPECT_TRUE(readFile(directory / "all") == "begin\n" + prepared);
}

TEST(Program, WrongUseIsStatusTwo)
{
    for (const std::vector<std::string> &options : {std::vector<std::string>{"--pages=0"},
                                                    {"--pages=x"},
                                                    {"--pages="},
                                                    {"--unknown"},
                                                    {"--annotations=some"},
                                                    {"--resolution=35"},
                                                    {"--resolution=2401"},
                                                    {"--resolution=99999"},
                                                    {"--resolution=1e3"},
                                                    {"third.pdf"}}) {
        Preparation made = preparePdf(pagesPdf(1), options);
        EXPECT_EQ(made.status, 2) << options[0];
        EXPECT_FALSE(made.hasOutput);
    }
}

TEST(Program, HelpAndVersion)
{
    ProgramResult help = runProgram({preparePath(), "--help"});
    EXPECT_EQ(help.status, 0);
    EXPECT_TRUE(holds(help.out, "--password-file"));
    ProgramResult version = runProgram({preparePath(), "--version"});
    EXPECT_EQ(version.status, 0);
    EXPECT_TRUE(holds(version.out, "pdf_prepare "));
}

TEST(Program, InputThatIsMissingOrNoPdf)
{
    ProgramResult missing = runProgram({preparePath(), "/no/such.pdf", "/no/out.pdf"});
    EXPECT_EQ(missing.status, 1);
    EXPECT_EQ(missing.err,
              "PREPARE-E-INPUT: The file cannot be read: No such file or directory.\n");
    Preparation none = preparePdf("This is a text.\n");
    EXPECT_EQ(none.status, 1);
    EXPECT_FALSE(none.hasOutput);
    EXPECT_EQ(none.messages.size(), 1u);
}

TEST(Program, OlderOutputStaysWhenNothingComes)
{
    ScratchDirectory directory;
    std::string in = directory.write("in.pdf", "no pdf"), out = directory.write("out.pdf", "older");
    EXPECT_EQ(runProgram({preparePath(), in, out}).status, 1);
    EXPECT_EQ(readFile(out), "older");
    EXPECT_EQ(directory.names(), (std::vector<std::string>{"in.pdf", "out.pdf"}));
}

TEST(Program, WritesIntoADevice)
{
    ScratchDirectory directory;
    ProgramResult result =
        runProgram({preparePath(), directory.write("in.pdf", pagesPdf(2)), "/dev/stdout"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out.substr(0, 5), "%PDF-");
}

TEST(Program, SameInputGivesTheSameBytes)
{
    std::string pdf = compositePdf("BT /F1 20 Tf 10 100 Td " + codes("same") + " Tj ET");
    EXPECT_EQ(preparePdf(pdf).pdf, preparePdf(pdf).pdf);
}

TEST(Program, OnePageThatCannotBeReadDoesNotStopTheOthers)
{
    PdfBuilder pdf;
    int good = pdf.addStream("", "0 g 10 10 50 50 re f");
    int broken = pdf.add("<< /Length 5 /Filter /NoSuchFilter >>\nstream\nabcde\nendstream");
    pdf.addPage("/MediaBox [0 0 200 200] /Contents " + ref(broken));
    pdf.addPage("/MediaBox [0 0 200 200] /UserUnit 2 /Contents " + ref(good));
    Preparation made = preparePdf(pdf.build());
    EXPECT_EQ(made.status, 0);
    EXPECT_TRUE(holds(made.pdf, "/MediaBox [ 0 0 400 400 ]"));
    ASSERT_EQ(made.messages.size(), 1u);
    EXPECT_EQ(made.messages[0],
              "PREPARE-L-CONTENT: Page 1: Part of the page's content cannot be decoded.");
    EXPECT_EQ(convertForPrinting(made.pdf).status, 0);
}

TEST(Program, EndedByASignalLeavesNothing)
{
    /* Nobody ever writes into the pipe that is its input. */
    ScratchDirectory directory;
    ProgramResult result = runProgram(
        {"sh", "-c",
         "cd " + directory.path + " && mkfifo in.pdf && { " + preparePath() +
             " in.pdf out.pdf & } && p=$! && "
             "until ls -A | grep -q '^[.]out'; do sleep 0.05; done; kill -TERM $p; wait $p; "
             "echo $?"});
    EXPECT_EQ(result.out, "143\n") << result.err;
    EXPECT_EQ(directory.names(), std::vector<std::string>{"in.pdf"});
}

/* in.pdf with a picture, and a decoder for it that never ends; answers the file with the decoder's
 * number, which is there once it has begun. */
static std::string writeEndlessDecoding(const ScratchDirectory &directory)
{
    directory.write("in.pdf", decodedDocument());
    std::string begun = directory / "begun";
    directory.write("jbig2dec", "#!/bin/sh\necho $$ > " + begun + ".part\nmv " + begun + ".part " +
                                    begun + "\nsleep 600\n");
    return begun;
}

TEST(Program, EndedByASignalEndsWhatItCallsAndLeavesNothing)
{
    ScratchDirectory directory;
    std::string begun = writeEndlessDecoding(directory);
    ProgramResult result =
        runProgram({"sh", "-c",
                    "cd " + directory.path + " && chmod 755 jbig2dec && mkdir tmp && " +
                        "{ TMPDIR=$PWD/tmp PATH=$PWD:$PATH " + preparePath() +
                        " in.pdf out.pdf & } && p=$! && "
                        "until [ -e begun ]; do sleep 0.05; done; kill -TERM $p; wait $p; echo $?; "
                        "ls -A tmp"});
    EXPECT_EQ(result.out, "143\n") << result.err;
    EXPECT_TRUE(hasGroupEnded(std::stoi(readFile(begun))));
    EXPECT_EQ(directory.names(), (std::vector<std::string>{"begun", "in.pdf", "jbig2dec", "tmp"}));
}

/* The work of pdf_print's own preparation, which is a fork of it. */
TEST(Program, APreparationWithinPdfPrintEndsWithItAndSoDoesWhatItCalls)
{
    ScratchDirectory directory;
    std::string begun = writeEndlessDecoding(directory);
    for (const char *signal : {"TERM", "INT", "HUP"}) {
        std::filesystem::remove(begun);
        ProgramResult result = runProgram(
            {"bash", "-c",
             "set -m; cd " + directory.path + " && chmod 755 jbig2dec && mkdir -p tmp && " +
                 "{ TMPDIR=$PWD/tmp PATH=$PWD:$PATH exec " + printProgramPath() +
                 " -o out.ps in.pdf & } && p=$! && "
                 "until [ -e begun ]; do sleep 0.05; done; kill -" +
                 signal + " $p; wait $p; ls -A tmp"});
        EXPECT_EQ(result.out, "") << result.err;
        EXPECT_TRUE(hasGroupEnded(std::stoi(readFile(begun)))) << signal;
        EXPECT_EQ(directory.names(),
                  (std::vector<std::string>{"begun", "in.pdf", "jbig2dec", "tmp"}));
    }
}

/* Nothing of what the printing program has open is there for what reads the document. */
TEST(Program, APreparationWithinPdfPrintHasLimitsAndNoFilesOfIts)
{
    ScratchDirectory directory;
    directory.write("in.pdf", decodedDocument());
    directory.write("jbig2dec", "#!/bin/sh\nw=$PPID\nreadlink /proc/$w/fd/* > $0.files\n"
                                "cat /proc/$w/limits > $0.limits\n"
                                "grep PPid: /proc/$w/status > $0.parent\n");
    ProgramResult result =
        runProgram({"sh", "-c",
                    "cd " + directory.path + " && chmod 755 jbig2dec && exec 9< in.pdf && " +
                        "PATH=$PWD:$PATH " + printProgramPath() + " -o out.ps in.pdf; echo done"});
    ASSERT_EQ(result.out, "done\n") << result.err;
    std::string limits = readFile(directory / "jbig2dec.limits");
    size_t cpu = limits.find("Max cpu time"), core = limits.find("Max core file size");
    ASSERT_TRUE(cpu != limits.npos && core != limits.npos) << limits;
    EXPECT_EQ(limits.substr(cpu, 28), "Max cpu time              60");
    EXPECT_EQ(limits.substr(core, 27), "Max core file size        0");
    std::istringstream files(readFile(directory / "jbig2dec.files"));
    int documents = 0;
    for (std::string file; std::getline(files, file);) {
        documents += file == std::filesystem::canonical(directory / "in.pdf");
        EXPECT_EQ(file.find("out.ps"), file.npos) << file;
    }
    EXPECT_EQ(documents, 1) << "the one that it has opened itself";
}
