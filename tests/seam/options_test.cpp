/*
 * options_test.cpp - the table of options, and its reader
 */
#include <gtest/gtest.h>

#include <set>
#include <utility>

#include <getopt.h>

#include "seam/options.h"

namespace {

using Lines = std::vector<std::string>;
using seam::Option;

struct Read {
    std::vector<std::pair<Option, std::string>> options;
    seam::CommandLine line;
};

Read read(seam::Program program, Lines words)
{
    words.insert(words.begin(), "program");
    std::vector<char *> argv;
    for (std::string &word : words)
        argv.push_back(word.data());
    argv.push_back(nullptr);
    optind = 0;
    Read result;
    result.line = seam::readCommandLine(
        program, (int)words.size(), argv.data(), [&](Option option, const char *value) {
            result.options.emplace_back(option, value ? value : "(none)");
            return option != Option::TITLE; /* as if that one had been forgotten */
        });
    return result;
}

TEST(Options, ComeInTheirOrderWithTheirValues)
{
    Read result = read(seam::PRINT, {"-o", "a.ps", "--pages=2", "x.pdf", "--fit", "-qv", "--copies",
                                     "3", "--", "-y.pdf"});
    EXPECT_EQ(result.options, (std::vector<std::pair<Option, std::string>>{
                                  {Option::OUTPUT, "a.ps"},
                                  {Option::PAGES, "2"},
                                  {Option::FIT, "(none)"},
                                  {Option::QUIET, "(none)"},
                                  {Option::VERBOSE, "(none)"},
                                  {Option::COPIES, "3"},
                              }));
    EXPECT_EQ(result.line.operands, (Lines{"x.pdf", "-y.pdf"}));
}

TEST(Options, TheSameNameIsEachProgramsOwn)
{
    EXPECT_EQ(read(seam::PREVIEW, {"-o", "a"}).options[0].first, Option::OUTPUT_PAGE);
    EXPECT_EQ(read(seam::PREVIEW, {"--output=a"}).options[0].first, Option::OUTPUT_PAGE);
    EXPECT_EQ(read(seam::BATCH, {"-oa"}).options[0].first, Option::OUTPUT_TREE);
}

TEST(Options, FilesThatAreReadAndWrittenAreKnown)
{
    Read result = read(seam::PRINT, {"--password-file=p", "-o", "a.ps", "--page-map=m", "x.pdf"});
    EXPECT_EQ(result.line.inputs, Lines{"p"});
    EXPECT_EQ(result.line.outputs, (Lines{"a.ps", "m"}));
}

TEST(Options, WhatIsUnknownIsWrongUse)
{
    EXPECT_EXIT(read(seam::PREPARE, {"--copies=2"}), testing::ExitedWithCode(2),
                "Try 'pdf_prepare --help'");
    EXPECT_EXIT(read(seam::PRINT, {"--copies"}), testing::ExitedWithCode(2),
                "Try 'pdf_print --help'");
    EXPECT_EXIT(read(seam::PRINT, {"--fit=1"}), testing::ExitedWithCode(2), "Try");
    EXPECT_EXIT(read(seam::PREVIEW, {"-q"}), testing::ExitedWithCode(2), "Try");
}

TEST(Options, WhatNothingActsOnIsWrongUse)
{
    EXPECT_EXIT(read(seam::PRINT, {"--title=x"}), testing::ExitedWithCode(2),
                "pdf_print: Nothing acts on --title");
}

TEST(Options, PageWordsSayTheSameChoice)
{
    seam::PageRanges pages;
    for (auto [option, value] :
         {std::pair(Option::PAGES, "3, 9-5 ,odd"), std::pair(Option::PAGE_SET, "even"),
          std::pair(Option::REVERSE, "")})
        EXPECT_TRUE(seam::choosePagesBy(seam::PRINT, option, value, &pages));
    EXPECT_FALSE(seam::choosePagesBy(seam::PRINT, Option::COPIES, "1", &pages));
    EXPECT_EQ(seam::pageWords(pages), (Lines{"--pages=3,9-5,odd", "--page-set=even", "--reverse"}));
    EXPECT_EQ(seam::pageWords({}), Lines{});
}

/* A program has each name and letter once; every option is some program's. */
TEST(OptionTable, NamesAndLettersAreUnique)
{
    std::set<Option> ids;
    for (const seam::ProgramRow &program : seam::programRows()) {
        std::set<std::string> names;
        std::set<char> letters;
        for (const seam::OptionRow &row : seam::optionRows()) {
            if (row.isHeading() || !row.isOf(program.id))
                continue;
            ids.insert(row.id);
            EXPECT_TRUE(names.insert(row.name).second) << program.name << " --" << row.name;
            if (row.letter) {
                EXPECT_TRUE(letters.insert(row.letter).second)
                    << program.name << " -" << row.letter;
            }
        }
        EXPECT_FALSE(names.empty()) << program.name;
    }
    for (const seam::OptionRow &row : seam::optionRows())
        EXPECT_TRUE(row.isHeading() || ids.count(row.id)) << row.name;
}

TEST(OptionTable, HelpFitsItsLines)
{
    for (const seam::ProgramRow &program : seam::programRows()) {
        std::string help = seam::helpText(program.id);
        for (size_t at = 0, end; (end = help.find('\n', at)) != std::string::npos; at = end + 1)
            EXPECT_LE(end - at, 100u) << help.substr(at, end - at);
    }
}

} // namespace
