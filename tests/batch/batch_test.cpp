/*
 * batch_test.cpp - pdf_print-batch: trees of documents, reports, and runs that are killed
 *
 * BATCH_FILES in the environment sets how many documents the killed run has.
 */
#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <map>
#include <thread>

#include <sys/wait.h>
#include <unistd.h>

#include "tests/support/pdf_builder.h"
#include "tests/support/printing.h"
#include "tests/support/scratch_directory.h"

namespace {

namespace fs = std::filesystem;
using Lines = std::vector<std::string>;

const std::string BAR = "0 0.4 0 rg 20 20 100 30 re f";

ProgramResult runBatch(const ScratchDirectory &directory, Lines arguments,
                       std::map<std::string, std::string> environment = {})
{
    ProgramOptions options;
    options.directory = directory.path;
    options.environment = std::move(environment);
    options.timeoutSeconds = 600;
    arguments.insert(arguments.begin(), PDF_PRINT_BATCH_PROGRAM);
    return runProgram(arguments, options);
}

void put(const ScratchDirectory &directory, const std::string &name, const std::string &content)
{
    fs::create_directories(fs::path(directory / name).parent_path());
    directory.write(name, content);
}

/* The regular files below a directory, its record of the work left out. */
Lines filesBelow(const std::string &root)
{
    Lines files;
    for (auto i = fs::recursive_directory_iterator(root); i != fs::end(i); ++i) {
        if (i->path().filename() == ".pdf_print-batch")
            i.disable_recursion_pending();
        else if (i->is_regular_file())
            files.push_back(fs::relative(i->path(), root));
    }
    std::sort(files.begin(), files.end());
    return files;
}

Lines linesIn(const std::string &path)
{
    std::ifstream file(path);
    Lines lines;
    for (std::string line; std::getline(file, line);)
        lines.push_back(line);
    return lines;
}

/* The name that begins a line of a report. */
std::string nameIn(const std::string &line)
{
    const std::string begin = "{\"file\":\"";
    return line.starts_with(begin)
               ? line.substr(begin.size(), line.find("\",\"status\"") - begin.size())
               : "";
}

TEST(Batch, KeepsTheShapeOfTheTree)
{
    ScratchDirectory directory;
    put(directory, "in/a.pdf", onePagePdf(BAR));
    put(directory, "in/sub/deeper/b.PDF", onePagePdf(BAR));
    put(directory, "in/sub/c.txt", "no document");
    ProgramResult result = runBatch(directory, {"in", "-o", "out", "--jobs", "2"});
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err,
              "pdf_print-batch: 2 documents: 2 printed, 0 printed in part, 0 failed, 0 not done\n");
    EXPECT_EQ(filesBelow(directory / "out"), (Lines{"a.ps", "sub/deeper/b.ps"}));
    EXPECT_TRUE(readFile(directory / "out/a.ps").ends_with("%%EOF\n"));
}

TEST(Batch, SeveralTreesKeepTheirNames)
{
    ScratchDirectory directory;
    put(directory, "one/a.pdf", onePagePdf(BAR));
    put(directory, "two/a.pdf", onePagePdf(BAR));
    put(directory, "other/two/a.pdf", onePagePdf(BAR));
    EXPECT_EQ(runBatch(directory, {"one/", "two", "--output=out"}).status, 0);
    EXPECT_EQ(filesBelow(directory / "out"), (Lines{"one/a.ps", "two/a.ps"}));
    ProgramResult same = runBatch(directory, {"two", "other/two", "-o", "out2"});
    EXPECT_EQ(same.status, 2) << same.err;
    EXPECT_FALSE(fileExists(directory / "out2"));
}

TEST(Batch, NamesThatDifferInTheExtensionOnly)
{
    ScratchDirectory directory;
    put(directory, "in/a.pdf", onePagePdf(BAR));
    put(directory, "in/a.PDF", onePagePdf(BAR));
    EXPECT_EQ(runBatch(directory, {"in", "-o", "out"}).status, 0);
    EXPECT_EQ(filesBelow(directory / "out"), (Lines{"a.PDF.ps", "a.ps"}));
}

TEST(Batch, NamesWithAnythingInThem)
{
    ScratchDirectory directory;
    const Lines names = {"with blank",  "quote'\"s",      "new\nline",    "ends in one\n",
                         "$HOME `x` *", "back\\slash\\n", "{} {#} {.} %", "-f",
                         "\xc3\xa9",    "\xe9 alone"};
    Lines outputs;
    for (const std::string &name : names) {
        put(directory, "in put'/s \n/" + name + ".pdf", onePagePdf(BAR));
        outputs.push_back("s \n/" + name + ".ps");
    }
    std::sort(outputs.begin(), outputs.end());
    ProgramResult result =
        runBatch(directory, {"in put'", "-o", "out 'p\"ut", "--jsonl", "r.jsonl", "--csv=r.csv"});
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(filesBelow(directory / "out 'p\"ut"), outputs);

    std::string report;
    for (const std::string &line : linesIn(directory / "r.jsonl"))
        report += nameIn(line) + "\n";
    EXPECT_EQ(report, "in put'/s \\u000a/$HOME `x` *.pdf\n"
                      "in put'/s \\u000a/-f.pdf\n"
                      "in put'/s \\u000a/back\\\\slash\\\\n.pdf\n"
                      "in put'/s \\u000a/ends in one\\u000a.pdf\n"
                      "in put'/s \\u000a/new\\u000aline.pdf\n"
                      "in put'/s \\u000a/quote'\\\"s.pdf\n"
                      "in put'/s \\u000a/with blank.pdf\n"
                      "in put'/s \\u000a/{} {#} {.} %.pdf\n"
                      "in put'/s \\u000a/\xc3\xa9.pdf\n"
                      "in put'/s \\u000a/\\u00e9 alone.pdf\n");
    std::string table = readFile(directory / "r.csv");
    EXPECT_TRUE(table.starts_with("file,status,pages,bytes,seconds,messages\r\n"));
    EXPECT_EQ(occurrences(table, "\"in put'/s \n/quote'\"\"s.pdf\",0,1,"), 1u) << table;
}

TEST(Batch, AReportSaysWhatBecameOfEachDocument)
{
    ScratchDirectory directory;
    put(directory, "in/bad.pdf", "this is a letter");
    put(directory, "in/good.pdf", onePagePdf(BAR));
    PdfBuilder two;
    int content = two.addStream("", BAR);
    two.addPage("/MediaBox [0 0 100 100] /Contents " + ref(content));
    two.addPage("/MediaBox [0 0 100 100] /Contents " + ref(content));
    put(directory, "in/two.pdf", two.build());
    ProgramResult result = runBatch(directory, {"in", "-o", "out", "--jsonl", "r", "--csv", "-"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(occurrences(result.err, "failed: \"in/bad.pdf\": \""), 1u) << result.err;
    EXPECT_EQ(occurrences(result.err, "3 documents: 2 printed, 0 printed in part, 1 failed"), 1u);
    Lines lines = linesIn(directory / "r");
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_TRUE(
        lines[0].starts_with("{\"file\":\"in/bad.pdf\",\"status\":1,\"pages\":0,\"bytes\":0,"
                             "\"seconds\":0."))
        << lines[0];
    EXPECT_EQ(occurrences(lines[0], "\"messages\":[\""), 1u) << lines[0];
    EXPECT_TRUE(lines[1].starts_with(
        "{\"file\":\"in/good.pdf\",\"status\":0,\"pages\":1,\"bytes\":" +
        std::to_string(fs::file_size(directory / "out/good.ps")) + ",\"seconds\":0."))
        << lines[1];
    EXPECT_TRUE(lines[1].ends_with(",\"messages\":[]}")) << lines[1];
    EXPECT_TRUE(lines[2].starts_with("{\"file\":\"in/two.pdf\",\"status\":0,\"pages\":2,"));
    EXPECT_EQ(occurrences(result.out, "\r\n"), 4u) << result.out;
    EXPECT_EQ(filesBelow(directory / "out"), (Lines{"good.ps", "two.ps"}));
}

TEST(Batch, OptionsGoToEachDocument)
{
    ScratchDirectory directory;
    put(directory, "in/a.pdf", onePagePdf(BAR));
    EXPECT_EQ(runBatch(directory, {"in", "-o", "out", "--", "--title", "a 'b' {}", "--eps"}).status,
              0);
    EXPECT_EQ(filesBelow(directory / "out"), Lines{"a.eps"});
    EXPECT_EQ(occurrences(readFile(directory / "out/a.eps"), "%%Title: (a 'b' "), 1u);
    ProgramResult other = runBatch(directory, {"in", "-o", "out", "--", "--eps"});
    EXPECT_EQ(other.status, 2);
    EXPECT_EQ(occurrences(other.err, "--again begins anew"), 1u) << other.err;
    EXPECT_EQ(runBatch(directory, {"in", "-o", "out", "--again"}).status, 0);
    EXPECT_EQ(filesBelow(directory / "out"), (Lines{"a.eps", "a.ps"}));
}

TEST(Batch, ASecondRunTakesWhatIsNew)
{
    ScratchDirectory directory;
    put(directory, "in/b.pdf", onePagePdf(BAR));
    put(directory, "in/c.pdf", "this is a letter");
    EXPECT_EQ(runBatch(directory, {"in", "-o", "out"}).status, 1);
    fs::file_time_type before = fs::last_write_time(directory / "out/b.ps");
    put(directory, "in/a.pdf", onePagePdf(BAR));
    put(directory, "in/c.pdf", onePagePdf(BAR));
    EXPECT_EQ(runBatch(directory, {"in", "-o", "out", "--jsonl=r"}).status, 1);
    EXPECT_EQ(linesIn(directory / "r").size(), 3u);
    EXPECT_EQ(filesBelow(directory / "out"), (Lines{"a.ps", "b.ps"}));
    EXPECT_EQ(runBatch(directory, {"in", "-o", "out", "--retry-failed", "--jsonl=r"}).status, 0);
    EXPECT_EQ(linesIn(directory / "r").size(), 3u);
    EXPECT_EQ(filesBelow(directory / "out"), (Lines{"a.ps", "b.ps", "c.ps"}));
    EXPECT_EQ(fs::last_write_time(directory / "out/b.ps"), before);
}

/* Each share is printed by itself, as a cluster's tasks do it. */
TEST(Batch, SharesMakeTheWholeTogether)
{
    ScratchDirectory directory;
    for (int i = 0; i < 10; i++)
        put(directory, "in/" + std::to_string(i) + ".pdf", onePagePdf(BAR));
    ProgramResult begun = runBatch(directory, {"in", "-o", "out", "--begin"});
    EXPECT_EQ(begun.status, 0) << begun.err;
    EXPECT_EQ(begun.out, "10\n");
    EXPECT_EQ(runBatch(directory, {"-o", "out", "--share", "2/3"}).status, 0);
    EXPECT_EQ(filesBelow(directory / "out"), (Lines{"1.ps", "4.ps", "7.ps"}));
    ProgramResult part = runBatch(directory, {"-o", "out", "--end"});
    EXPECT_EQ(part.status, 1);
    EXPECT_EQ(occurrences(part.err, "3 printed, 0 printed in part, 0 failed, 7 not done"), 1u);
    EXPECT_EQ(runBatch(directory, {"-o", "out", "--share=1/3"}).status, 0);
    EXPECT_EQ(runBatch(directory, {"-o", "out", "--share=3/3"}).status, 0);
    EXPECT_EQ(runBatch(directory, {"-o", "out", "--end", "--jsonl=r"}).status, 0);
    Lines lines = linesIn(directory / "r");
    ASSERT_EQ(lines.size(), 10u);
    for (int i = 0; i < 10; i++)
        EXPECT_EQ(nameIn(lines[(size_t)i]), "in/" + std::to_string(i) + ".pdf");
}

/* A share that tries again leaves what the others have told. */
TEST(Batch, SharesTryTheirOwnFailuresAgain)
{
    ScratchDirectory directory;
    for (const char *name : {"in/1.pdf", "in/2.pdf"})
        put(directory, name, "this is a letter");
    EXPECT_EQ(runBatch(directory, {"in", "-o", "out", "--begin"}).status, 0);
    for (const char *share : {"--share=1/2", "--share=2/2"})
        EXPECT_EQ(runBatch(directory, {"-o", "out", share}).status, 0);
    put(directory, "in/1.pdf", onePagePdf(BAR));
    EXPECT_EQ(runBatch(directory, {"-o", "out", "--share=1/2", "--retry-failed"}).status, 0);
    ProgramResult end = runBatch(directory, {"-o", "out", "--end"});
    EXPECT_EQ(end.status, 1);
    EXPECT_EQ(occurrences(end.err, "1 printed, 0 printed in part, 1 failed, 0 not done"), 1u)
        << end.err;
}

TEST(Batch, WrongUseIsStatusTwo)
{
    ScratchDirectory directory;
    put(directory, "in/a.pdf", onePagePdf(BAR));
    for (const Lines &arguments :
         {Lines{}, Lines{"in"}, Lines{"-o", "out"}, Lines{"in", "-o"}, Lines{"none", "-o", "out"},
          Lines{"in", "-o", "out", "--jobs", "x"}, Lines{"in", "-o", "out", "--unknown"},
          Lines{"in", "-o", "out", "--again=x"}, Lines{"in", "-o", "out", "-x"},
          Lines{"in", "-oout", "--csv"}, Lines{"in", "-o", "out", "--", "-o", "x"},
          Lines{"in", "-o", "out", "--", "--printer=x"}, Lines{"in", "-o", "out", "--share=1/2"}}) {
        ProgramResult result = runBatch(directory, arguments);
        EXPECT_EQ(result.status, 2) << result.err;
        EXPECT_EQ(occurrences(result.err, "Try 'pdf_print-batch --help'."), 1u) << result.err;
        EXPECT_FALSE(fileExists(directory / "out"));
    }
}

TEST(Batch, AReportIsNeverAFileThatIsRead)
{
    ScratchDirectory directory;
    const std::string pdf = onePagePdf(BAR);
    put(directory, "in/a.pdf", pdf);
    put(directory, "elsewhere.txt", pdf);
    put(directory, "word", "secret\n");
    fs::create_symlink("in/a.pdf", directory / "soft.csv");
    fs::create_hard_link(directory / "in/a.pdf", directory / "hard.csv");
    fs::create_symlink("../elsewhere.txt", directory / "in/linked.pdf");
    for (const Lines &arguments : std::initializer_list<Lines>{
             {"--csv", "in/a.pdf"},
             {"--csv", "./in/a.pdf"},
             {"--jsonl=soft.csv"},
             {"--csv=hard.csv"},
             {"--csv=elsewhere.txt"},
             {"--csv=word", "--", "--password-file=./word"},
             {"--csv=word", "--", "--passw", "word"},
         }) {
        Lines words = {"in", "-o", "out"};
        words.insert(words.end(), arguments.begin(), arguments.end());
        ProgramResult result = runBatch(directory, words);
        EXPECT_EQ(result.status, 2) << arguments[0];
        EXPECT_TRUE(
            result.err.starts_with("pdf_print-batch: The report would overwrite what is read: "))
            << result.err;
        EXPECT_FALSE(fileExists(directory / "out"));
    }
    ASSERT_EQ(runBatch(directory, {"in", "-o", "out", "--", "--pass=word"}).status, 0);
    EXPECT_EQ(runBatch(directory, {"-o", "out", "--end", "--csv=hard.csv"}).status, 2);
    EXPECT_EQ(runBatch(directory, {"-o", "out", "--end", "--csv=word"}).status, 2);
    EXPECT_EQ(linesIn(directory / "word"), Lines{"secret"});
    EXPECT_EQ(runBatch(directory, {"-o", "out", "--end", "--csv=new.csv"}).status, 0);
    EXPECT_EQ(runBatch(directory, {"-o", "out", "--end", "--csv=new.csv"}).status, 0);
    for (const char *name : {"in/a.pdf", "elsewhere.txt"})
        EXPECT_EQ(readFile(directory / name), pdf);
}

TEST(Batch, AnOutputIsNeverAFileThatIsRead)
{
    ScratchDirectory directory;
    const std::string pdf = onePagePdf(BAR);
    put(directory, "in/a.pdf", pdf);
    put(directory, "in/b.pdf", pdf);
    put(directory, "in/c.pdf", pdf);
    fs::create_symlink("a.pdf", directory / "in/a.ps");
    fs::create_hard_link(directory / "in/b.pdf", directory / "in/b.ps");
    ProgramResult result = runBatch(directory, {"in", "-o", "in", "--csv", "report.csv"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(occurrences(result.err, "1 printed, 0 printed in part, 2 failed"), 1u) << result.err;
    EXPECT_TRUE(fs::is_symlink(directory / "in/a.ps"));
    EXPECT_EQ(fs::hard_link_count(directory / "in/b.pdf"), 2u);
    EXPECT_EQ(occurrences(readFile(directory / "report.csv"), ",2,0,0,"), 2u);
    for (const char *name : {"in/a.pdf", "in/b.pdf", "in/c.pdf"})
        EXPECT_EQ(readFile(directory / name), pdf);
}

TEST(Batch, SaysThatParallelIsMissing)
{
    ScratchDirectory directory, programs;
    put(directory, "in/a.pdf", onePagePdf(BAR));
    for (const char *name : {"sh", "readlink", "dirname"})
        fs::create_symlink(fs::path("/usr/bin") / name, programs / name);
    ProgramResult result = runBatch(directory, {"in", "-o", "out"}, {{"PATH", programs.path}});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "pdf_print-batch: The program parallel is wanted, and not installed.\n");
}

/* Begins a run in a process group of its own and kills it, or its first process alone, once so
 * many documents are done. */
void runAndKill(const ScratchDirectory &directory, size_t documents, bool wholeGroup)
{
    pid_t child = fork();
    if (child == 0) {
        setpgid(0, 0);
        if (chdir(directory.path.c_str()) == 0 && freopen("/dev/null", "w", stderr))
            execl(PDF_PRINT_BATCH_PROGRAM, PDF_PRINT_BATCH_PROGRAM, "in", "-o", "out", nullptr);
        _exit(127);
    }
    ASSERT_GT(child, 0);
    std::string records = directory / "out/.pdf_print-batch/records";
    auto done = [&] {
        return fs::exists(records) ? (size_t)std::distance(fs::directory_iterator(records), {}) / 2
                                   : 0;
    };
    while (done() < documents && waitpid(child, nullptr, WNOHANG) == 0)
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    kill(wholeGroup ? -child : child, SIGKILL);
    waitpid(child, nullptr, 0);
    if (wholeGroup) {
        EXPECT_TRUE(hasGroupEnded(child));
    }
}

TEST(Batch, AKilledRunGoesOnWhereItWas)
{
    const char *setting = getenv("BATCH_FILES");
    size_t count = setting ? (size_t)atoi(setting) : 120;
    ScratchDirectory directory;
    for (size_t i = 0; i < count; i++)
        put(directory, "in/" + std::to_string(i % 7) + "/file " + std::to_string(i) + ".pdf",
            onePagePdf(BAR));
    runAndKill(directory, count / 4, true);
    runAndKill(directory, count / 2, false);
    size_t outputs = filesBelow(directory / "out").size();
    EXPECT_GE(outputs, count / 2);
    EXPECT_LT(outputs, count); /* it was in the middle */

    ProgramResult result = runBatch(directory, {"in", "-o", "out", "--jsonl", "r"});
    EXPECT_EQ(result.status, 0) << result.err;
    std::map<std::string, int> told;
    for (const std::string &line : linesIn(directory / "r")) {
        told[nameIn(line)]++;
        EXPECT_EQ(occurrences(line, "\"status\":0,\"pages\":1,"), 1u) << line;
    }
    EXPECT_EQ(told.size(), count);
    for (const auto &[name, times] : told)
        EXPECT_EQ(times, 1) << name;
    Lines files = filesBelow(directory / "out");
    EXPECT_EQ(files.size(), count); /* and nothing half done beside them */
    for (const std::string &file : files) {
        std::string job = readFile(directory / ("out/" + file));
        EXPECT_TRUE(job.starts_with("%!PS-Adobe-3.0") && job.ends_with("%%EOF\n")) << file;
        EXPECT_TRUE(told.contains("in/" + file.substr(0, file.size() - 3) + ".pdf")) << file;
    }
}

} // namespace
