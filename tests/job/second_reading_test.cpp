/*
 * second_reading_test.cpp - what another reader finds in the sections of jobs: nothing but the
 * names of its tables; and that it finds what is put there
 */
#include "tests/job/second_reading.h"

#include <gtest/gtest.h>

#include "tests/support/pdf_builder.h"
#include "tests/support/printing.h"
#include "tests/support/sample_document.h"
#include "tests/support/scratch_directory.h"

namespace {

using Words = std::vector<std::string>;

const std::initializer_list<Words> MODES = {{},
                                            {"--binary"},
                                            {"--no-compress"},
                                            {"--binary", "--no-compress"},
                                            {"--level=2", "--no-compress"},
                                            {"--printer-memory=0"},
                                            {"--paper=a4", "--fit"},
                                            {"--eps", "--pages=1"}};

/* How many pages and shared parts were read. */
size_t expectOnlyKnownNames(const std::string &job)
{
    size_t count = 0;
    for (const Section &section : sectionsOf(job)) {
        bool isPage = section.procedure == "PdfPage";
        if (!isPage && section.procedure != "PdfShared")
            continue;
        EXPECT_EQ(secondReading(section.text, isPage ? SectionPart::PAGE : SectionPart::SHARED),
                  "");
        count++;
    }
    return count;
}

TEST(SecondReading, FindsNothingElseInJobs)
{
    for (const std::string &document :
         {documentOfResources(), sampleDocument(), readFile(TOUR_DOCUMENT)})
        for (const Words &mode : MODES) {
            SCOPED_TRACE(mode.empty() ? "" : mode.front());
            EXPECT_GE(expectOnlyKnownNames(preparedJobOf(document, mode)), 1u);
        }
    for (const Words &mode : MODES)
        EXPECT_GE(expectOnlyKnownNames(jobOf(documentOfResources(), mode)), 1u);
}

std::string page(const std::string &resources, const std::string &content)
{
    return resources + "0 0 translate\n0 rotate\n<< /Length " + std::to_string(content.size()) +
           " >>\nPageContents\n" + content + "\n";
}

TEST(SecondReading, FindsWhatHasNoBusinessInContent)
{
    ASSERT_EQ(secondReading(page("", "q (a\\)b) Tj <41> Tj [ 1 (x) ] TJ Q"), SectionPart::PAGE),
              "");
    for (const char *content :
         {"quit", "{ }", "//m", "<~~>", "16#FF w", "\x84 w", "% comment\n1 w", "% comment\fquit",
          "(a) run", "dup", "BI", ")", ">", "}", "(", "<41", "a\x80", "1 w quit"})
        EXPECT_NE(secondReading(page("", content), SectionPart::PAGE), "") << content;
}

TEST(SecondReading, FindsWhatHasNoBusinessAmongResources)
{
    ASSERT_EQ(
        secondReading(page("/G << /SA true >> /ExtGState defineRes pop\n", ""), SectionPart::PAGE),
        "");
    ASSERT_EQ(
        secondReading(page("4 /dX ReadCount\nquit\n/X << >> CallImage\n", ""), SectionPart::PAGE),
        "");
    for (const char *resources :
         {"quit ", "systemdict ", "(x) run ", "{ quit } ", "{ 1 exec } ", "//systemdict ",
          "{ //systemdict } ", "% comment\n", "4 /dX ReadCount quit\n", "4 /dX ReadContent\nquit\n",
          "400 /dX ReadCount\n", "/X ReadCount\n", "1 readstring\n", "save ", "moveto ",
          "{ save quit restore } ", "currentfile 4 string readstring pop "})
        EXPECT_NE(secondReading(page(resources, ""), SectionPart::PAGE), "") << resources;
}

TEST(SecondReading, ReadsTheGlyphsOfAConvertedFontByTheirLines)
{
    auto font = [](const std::string &glyphs) {
        return "/X \n%!PS-Adobe-3.0 Resource-Font\n/CharProcs 2 dict def CharProcs begin\n" +
               glyphs + "end\n%%%%EndFont\n";
    };
    const std::string glyph = "/a { % 1 - 0x61\n0 0 moveto\nfill\n } bind def\n";
    ASSERT_EQ(secondReading(font(glyph), SectionPart::DEFINITION), "");
    ASSERT_EQ(secondReading(font(glyph) + "1 /dX ReadCount\nx\n", SectionPart::DEFINITION), "");
    for (const std::string &other :
         {std::string("/a { % 1 - 0x61\nquit\n } bind def\n"), glyph + "quit\n", glyph + " ",
          std::string("/a { % 1 - 0x61\n0 0 moveto }bind def\n"),
          std::string("/a { 0 0 moveto } bind def\n")})
        EXPECT_NE(secondReading(font(other), SectionPart::DEFINITION), "") << other;
    EXPECT_NE(secondReading(font(glyph) + "% more\n", SectionPart::DEFINITION), "");
}

} // namespace
