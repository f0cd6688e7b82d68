/*
 * chain_test.cpp - the filter among others, as the print system chains them for a queue
 */
#include <gtest/gtest.h>

#include "tests/cups/print_system.h"
#include "tests/support/printing.h"

namespace {

using Lines = std::vector<std::string>;

TEST(PrintChain, ThePrinterDescriptionIsGood)
{
    ProgramResult result = runProgram({"cupstestppd", "-W", "filters", printerDescription()});
    EXPECT_EQ(result.status, 0) << result.out;
}

TEST(PrintChain, AQueueWithThePrinterDescription)
{
    PrintSystem system;
    const std::string document = boxedPages(4);
    std::string file = system.root.write("doc.pdf", document);
    ProgramResult result =
        system.convert({"-e", "-p", printerDescription(), "-m", "printer/office", "-n", "2", "-o",
                        "page-ranges=2-3", "-o", "sides=two-sided-short-edge", file});
    ASSERT_EQ(result.status, 0) << result.err;
    expectPages(result.out, document, {2, 2, 3, 3}); /* Ghostscript makes the copies */
    EXPECT_EQ(occurrences(result.out, "%%Requirements: numcopies(2) duplex(tumble)\n"), 1u);
    EXPECT_EQ(occurrences(result.err, "\nPAGE: "), 2u) << result.err;
}

TEST(PrintChain, TheConversionsByThemselves)
{
    PrintSystem system;
    system.setConversions(PrintSystem::ownConversions());
    const std::string document = boxedPages(3);
    std::string file = system.root.write("doc.pdf", document);
    ProgramResult result =
        system.convert({"-m", "application/vnd.cups-postscript", "-o", "page-ranges=3", file});
    ASSERT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(occurrences(result.out, "%%Creator: (pdf_print"), 1u);
    expectPages(result.out, document, {3});
}

TEST(PrintChain, OtherQueuesKeepTheirFilters)
{
    PrintSystem system;
    std::string file = system.root.write("doc.pdf", boxedPages(1));
    ProgramResult result =
        system.convert({"--list-filters", "-m", "application/vnd.cups-postscript", file});
    EXPECT_EQ(result.out, "pdftopdf\npdftops\n") << result.err;
}

/* Pages are chosen, and copies made or left to the printer, once. */
TEST(PrintChain, BehindAFilterThatLaysOut)
{
    PrintSystem system;
    system.setConversions(
        "application/pdf application/vnd.cups-pdf 10 pdftopdf\n"
        "application/vnd.cups-pdf application/vnd.cups-postscript 10 pdf_to_ps-cups\n");
    const std::string document = boxedPages(5);
    std::string file = system.root.write("doc.pdf", document);
    auto convert = [&](Lines options) {
        Lines words = {"-p", printerDescription(), "-m", "application/vnd.cups-postscript"};
        words.insert(words.end(), options.begin(), options.end());
        words.push_back(file);
        ProgramResult result = system.convert(words);
        EXPECT_EQ(result.status, 0) << result.err;
        return result.out;
    };
    std::string job = convert({"-n", "2", "-o", "page-ranges=2-4"});
    expectPages(job, document, {2, 2, 3, 3, 4, 4});
    EXPECT_EQ(occurrences(job, "%%Requirements: numcopies(2)\n"), 1u);
    job = convert({"-o", "number-up=2"});
    EXPECT_EQ(occurrences(job, "\n%%Pages: 3\n"), 1u);
}

} // namespace
