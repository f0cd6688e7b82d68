/*
 * tripwires_test.cpp - a job does nothing in the interpreter but what jobs have to do
 */
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/postscript/tripwires.h"
#include "tests/support/conversion.h"
#include "tests/support/pdf_builder.h"
#include "tests/support/printing.h"
#include "tests/support/sample_document.h"

namespace {

using Words = std::vector<std::string>;

const std::initializer_list<Words> MODES = {
    {}, {"--binary"}, {"--binary", "--no-compress"}, {"--level=2"}, {"--eps", "--pages=1"}};

void expectSilence(const std::string &document)
{
    for (const Words &mode : MODES) {
        SCOPED_TRACE(mode.empty() ? "" : mode.front());
        EXPECT_EQ(trippedBy(preparedJobOf(document, mode)), Words{});
    }
}

TEST(Tripwires, AreSilentOnADocumentWithEveryKindOfResource)
{
    expectSilence(documentOfResources());
    EXPECT_EQ(trippedBy(jobOf(documentOfResources())), Words{}) << "as it stands";
}

TEST(Tripwires, AreSilentOnADocumentWithEveryKindOfObject)
{
    expectSilence(sampleDocument());
}

TEST(Tripwires, AreSilentOnTheTourOfFeatures)
{
    expectSilence(readFile(TOUR_DOCUMENT));
}

TEST(Tripwires, AreSilentOnErrorsInContent)
{
    std::string content = "Q Q /None Do 0 0 l S BT /None 9 Tf (x) Tj ET 9 9 9 9 re (x) Tj f /None "
                          "gs /None cs 1 2 3 4 5 6 7 scn q 0 0 0 0 0 0 cm 0 0 m 9 9 l S Q";
    EXPECT_EQ(trippedBy(preparedJobOf(onePagePdf(content))), Words{});
}

/* ---- and they can be heard */

/* A job in clear with a text in front of what its page says, or of its content. */
std::string withText(const std::string &job, const std::string &text, bool isInContent)
{
    const std::string call = " null PdfPage\n", contents = "PageContents\n", length = "/Length ";
    size_t line = job.find(call), begin = job.rfind('\n', line) + 1, from = line + call.size();
    size_t count = (size_t)atoll(job.c_str() + begin);
    std::string section = job.substr(from, count), added = text + "\n";
    if (isInContent) {
        size_t at = section.find(length) + length.size(), end = section.find(' ', at);
        size_t had = (size_t)atoll(section.c_str() + at);
        section.replace(at, end - at, std::to_string(had + added.size()));
        section.insert(section.find(contents) + contents.size(), added);
    } else {
        section.insert(0, added);
    }
    return job.substr(0, begin) + std::to_string(section.size()) + call + section +
           job.substr(from + count);
}

TEST(Tripwires, AreHeardWhereAJobDoesMore)
{
    const Words more = {"(x) run",
                        "(x) deletefile",
                        "(made) (w) file pop",
                        "quit",
                        "(1 pop) cvx exec",
                        "(1 pop) token",
                        "[ /x /exec load ] cvx exec",
                        "{ quit } loop",
                        "{ (x) deletefile } exec",
                        "20 dict begin /a { (x) run } def a end",
                        "//systemdict begin end",
                        "//userdict begin /x 1 def end",
                        "userdict /x 1 put",
                        "/m { quit } def",
                        "end end end",
                        "<< /PageSize [9 9] >> setpagedevice",
                        "nulldevice",
                        ".setdevice",
                        "showpage",
                        "erasepage",
                        "save restore",
                        "exitserver",
                        "statusdict",
                        "0 0 startjob",
                        "1183615869 internaldict",
                        "currentfile closefile",
                        "{ 1 1 moveto } stopped",
                        "/Helvetica findfont",
                        "0 setgray",
                        "stop"};
    std::string job = jobOf(onePagePdf("0 0 9 9 re f"), {"--binary", "--no-compress"});
    ASSERT_EQ(trippedBy(withText(job, "/G << >> /ExtGState defineRes pop", false)), Words{});
    ASSERT_EQ(trippedBy(withText(job, "1 0 0 rg", true)), Words{});
    for (size_t i = 0; i < more.size(); i++)
        EXPECT_NE(trippedBy(withText(job, more[i], i % 2 == 0)), Words{}) << more[i];
}

TEST(Tripwires, AreHeardWhereAJobDoesNotEnd)
{
    std::string job = jobOf(onePagePdf("0 0 9 9 re f"));
    EXPECT_NE(trippedBy(job.substr(0, job.find("PdfPage"))), Words{});
}

} // namespace
