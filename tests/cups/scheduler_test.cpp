/*
 * scheduler_test.cpp - jobs through a real scheduler, to a printer on the loopback interface
 */
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "tests/cups/print_system.h"
#include "tests/support/printing.h"

namespace {

using Lines = std::vector<std::string>;

class PrintScheduler : public testing::Test {
  protected:
    void SetUp() override
    {
        if (!scheduler.trouble.empty())
            GTEST_SKIP() << scheduler.trouble;
    }

    std::string file(const std::string &name, const std::string &content)
    {
        return system.root.write(name, content);
    }

    /* Files of filters that have ended. */
    Lines temporaryFiles() const
    {
        Lines names;
        for (const auto &entry : std::filesystem::directory_iterator(system.temporary()))
            if (entry.path().filename() != ".hgcups")
                names.push_back(entry.path().filename());
        return names;
    }

    PrintSystem system;
    SocketPrinter printer;
    Scheduler scheduler{system, printer};
};

TEST_F(PrintScheduler, PagesOnBothSides)
{
    const std::string document = boxedPages(5);
    int job = scheduler.print(file("doc.pdf", document),
                              {"page-ranges=2-3", "sides=two-sided-long-edge"});
    ASSERT_TRUE(scheduler.waitForState(job, "completed")) << scheduler.logOf(job);
    ASSERT_EQ(printer.jobs().size(), 1u);
    expectPages(printer.jobs()[0], document, {2, 3});
    EXPECT_EQ(occurrences(printer.jobs()[0], "/Duplex true /Tumble false"), 1u);
    EXPECT_EQ(occurrences(scheduler.logOf(job), "PAGE: "), 2u);
    EXPECT_EQ(temporaryFiles(), Lines{});
}

TEST_F(PrintScheduler, SeveralPagesOnASheetAndCopies)
{
    int job = scheduler.print(file("doc.pdf", boxedPages(4)), {"number-up=2", "copies=3"});
    ASSERT_TRUE(scheduler.waitForState(job, "completed")) << scheduler.logOf(job);
    ASSERT_EQ(printer.jobs().size(), 1u);
    EXPECT_EQ(occurrences(printer.jobs()[0], "\n%%Pages: 2\n"), 1u);
    EXPECT_EQ(occurrences(printer.jobs()[0], "\n%%Requirements: numcopies(3)\n"), 1u);
}

TEST_F(PrintScheduler, AJobIsCancelledInTheMiddle)
{
    constexpr int MANY = 3000; /* more than what the channels between the processes take */
    printer.hold();
    int job = scheduler.print(file("long.pdf", boxedPages(MANY)));
    ASSERT_TRUE(waitUntil([&] { return printer.begunCount() == 1; })) << scheduler.logOf(job);
    EXPECT_EQ(scheduler.run({"cancel", "office-" + std::to_string(job)}).status, 0);
    ASSERT_TRUE(scheduler.waitForState(job, "canceled")) << scheduler.logOf(job);
    printer.release();
    ASSERT_TRUE(waitUntil([&] { return printer.jobs().size() == 1; }));
    EXPECT_EQ(occurrences(printer.jobs()[0], "%%EOF"), 0u) << "it was written to its end";
    EXPECT_TRUE(waitUntil([&] { return temporaryFiles().empty(); }));
    EXPECT_EQ(occurrences(scheduler.logOf(job), "crashed on signal"), 0u) << scheduler.logOf(job);

    /* The queue goes on. */
    const std::string document = boxedPages(1);
    job = scheduler.print(file("doc.pdf", document));
    ASSERT_TRUE(scheduler.waitForState(job, "completed")) << scheduler.logOf(job);
    expectPages(printer.jobs().back(), document, {1});
}

TEST_F(PrintScheduler, ABrokenDocumentStopsItsJobAlone)
{
    int broken = scheduler.print(file("broken.pdf", "%PDF-1.4\nnothing of a document\n"));
    const std::string document = boxedPages(2);
    int good = scheduler.print(file("doc.pdf", document));
    ASSERT_TRUE(scheduler.waitForState(good, "completed")) << scheduler.logOf(good);
    EXPECT_TRUE(scheduler.waitForState(broken, "processing-stopped")) << scheduler.logOf(broken);
    EXPECT_GE(occurrences(scheduler.logOf(broken), "The document cannot be read: "), 1u)
        << scheduler.logOf(broken);
    ASSERT_EQ(printer.jobs().size(), 1u);
    expectPages(printer.jobs()[0], document, {1, 2});
    EXPECT_EQ(temporaryFiles(), Lines{});
}

TEST_F(PrintScheduler, TwentyJobsAtOnce)
{
    constexpr int COUNT = 20;
    std::map<int, int> pages; /* by job */
    for (int i = 1; i <= COUNT; i++)
        pages[scheduler.print(file("doc" + std::to_string(i) + ".pdf", boxedPages(i)),
                              {"document-name=" + std::to_string(i)})] = i;
    ASSERT_EQ(pages.size(), (size_t)COUNT);
    for (const auto &[job, count] : pages)
        ASSERT_TRUE(scheduler.waitForState(job, "completed")) << scheduler.logOf(job);
    std::vector<int> counts;
    for (const std::string &job : printer.jobs()) {
        size_t at = job.find("\n%%Pages: ");
        ASSERT_NE(at, std::string::npos);
        counts.push_back((int)strtol(job.c_str() + at + 10, nullptr, 10));
        EXPECT_TRUE(job.ends_with("%%EOF\n"));
    }
    std::sort(counts.begin(), counts.end());
    std::vector<int> wanted;
    for (int i = 1; i <= COUNT; i++)
        wanted.push_back(i);
    EXPECT_EQ(counts, wanted);
    EXPECT_EQ(temporaryFiles(), Lines{});
}

} // namespace
