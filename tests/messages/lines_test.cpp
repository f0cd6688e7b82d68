/*
 * lines_test.cpp - messages as lines from one program to another, and their bounds
 */
#include <algorithm>
#include <cctype>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "seam/messages.h"

namespace {

using namespace seam;

TEST(MessageLines, KeepSeverityKeyPageAndText)
{
    for (const MessageRow &row : messages())
        for (int page : {0, 1, 20000}) {
            Notice sent = notice(row.message, page, {"one", "two"});
            EXPECT_EQ(lineOf(sent).substr(0, 11 + std::string(row.key).size()),
                      std::string("PREPARE-") + "DWLE"[(int)row.severity] + "-" + row.key + ":");
            EXPECT_TRUE(readLine(lineOf(sent)) == sent) << lineOf(sent);
        }
}

TEST(MessageLines, ThatAreNoneOfThemAreLosses)
{
    for (const char *line :
         {"", "Fontconfig error: no cache", "PREPARE-", "PREPARE-X-KEY: text", "PREPARE-W-: text",
          "PREPARE-W-KEY", "PREPARE-W-KEY:text", "PREPARE-W-two words: text", "PREPARE-w-KEY: text",
          "PREPARE-WW-KEY: text", "PREPARE-WKEY: text", " PREPARE-D-KEY: text",
          "PREPARE-D-ABCDEFGHIJKLMNOPQRSTUVWXYZ: text"}) {
        Notice heard = readLine(line);
        EXPECT_EQ(heard.severity, Severity::LOSS) << line;
        EXPECT_EQ(heard.key, "FOREIGN") << line;
    }
}

TEST(MessageLines, TakeOnlyPagesThatThereMayBe)
{
    for (const char *text : {"Page 0: x", "Page -1: x", "Page 99999999999: x", "Page : x",
                             "Page 3 x", "Page +3: x", "page 3: x"}) {
        Notice heard = readLine(std::string("PREPARE-L-KEY: ") + text);
        EXPECT_EQ(heard.page, 0) << text;
        EXPECT_EQ(heard.text, text);
    }
}

TEST(MessageLines, NoValueBeginsAnotherOrDrivesATerminal)
{
    std::string name = "a\nPREPARE-D-KEY: b\r\x1b[2J\x7f\xc2\x9b\x9b\xff\xc3\xa4\xed\xa0\x80";
    std::string line = lineOf(notice(Message::FontMissing, 3, {name, ""}));
    EXPECT_EQ(line, "PREPARE-L-NOFONT: Page 3: Text in font a?PREPARE-D-KEY: b??[2J?????\xc3\xa4"
                    "??? is missing: neither the document nor the system has the font.")
        << "C1 controls, stray bytes and surrogates, but letters stay";
}

TEST(MessageLines, ValuesHaveABound)
{
    std::string name;
    for (int i = 0; i < 100000; i++)
        name += "\xc3\xa4";
    std::string line = lineOf(notice(Message::FontMissing, 3, {name}));
    EXPECT_LT(line.size(), MAX_VALUE_BYTES + 200);
    EXPECT_NE(line.find("\xc3\xa4... is missing"), std::string::npos) << "cut between characters";
}

TEST(Messages, AreSaidOnce)
{
    Notices all;
    for (int i = 0; i < 3; i++)
        all.add(notice(Message::ContentCut, 7));
    all.add(notice(Message::ContentCut, 8));
    EXPECT_EQ(linesOf(all).size(), 2u);
}

TEST(Messages, ABoundOfTheirNumberHidesNoLossAndNoError)
{
    Notices all;
    for (int page = 1; page <= 250; page++)
        all.add(notice(Message::RegionDrawn, page, {"5", "a test"}));
    all.add(notice(Message::ContentCut, 251));
    all.add(notice(Message::ContentCut, 251));
    all.add(notice(Message::TooLarge, 0));
    EXPECT_EQ(all.size(), 200u);
    EXPECT_EQ(all.moreCount(), 52u);
    EXPECT_TRUE(all.hasAny(Severity::ERROR));
    std::vector<std::string> lines = linesOf(all);
    EXPECT_EQ(lines.back(), "PREPARE-W-MORE: 52 more messages are left out.");
    for (const char *line : {"PREPARE-L-CONTENT: Page 251: Part of the page's content cannot be "
                             "decoded.",
                             "PREPARE-E-MEMORY: The document needs too much memory."})
        EXPECT_EQ(std::count(lines.begin(), lines.end(), line), 1) << line;
}

TEST(Messages, OfAllPagesThatLoseSomethingTheBoundKeepsTwoHundred)
{
    Notices all;
    for (int page = 1; page <= 1000; page++)
        all.add(notice(Message::ContentCut, page));
    EXPECT_EQ(all[0].page, 1);
    EXPECT_EQ(linesOf(all).size(), 201u);
    EXPECT_EQ(all.moreCount(), 800u);
}

TEST(Messages, TheTableIsInOrder)
{
    std::set<std::string> keys, sentences;
    for (const MessageRow &row : messages()) {
        SCOPED_TRACE(row.code);
        std::string text = row.sentence, advice = row.advice;
        EXPECT_TRUE(keys.insert(row.key).second);
        EXPECT_TRUE(sentences.insert(text).second);
        EXPECT_LE(std::string(row.key).size(), 20u);
        EXPECT_EQ(std::string(row.key).find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789"),
                  std::string::npos);
        EXPECT_TRUE(text.ends_with('.') || text.ends_with('}'));
        EXPECT_TRUE(std::isupper((unsigned char)text[0]) || text[0] == '{');
        EXPECT_EQ(std::count(text.begin(), text.end(), '{'),
                  std::count(text.begin(), text.end(), '}'));
        EXPECT_EQ((text + advice).find('|'), std::string::npos) << "it stands in a table";
    }
}

TEST(ConverterMessages, ThatNobodyKnowsAreNeverHarmless)
{
    EXPECT_EQ(fromConverter(Said::ERROR, "NEW", 0, "x").severity, Severity::ERROR);
    EXPECT_EQ(fromConverter(Said::FAULT, "NEW", 0, "x").severity, Severity::LOSS);
    EXPECT_EQ(fromConverter(Said::WARNING, "NEW", 0, "x").severity, Severity::LOSS);
    EXPECT_EQ(fromConverter(Said::INFO, "NEW", 0, "x").severity, Severity::DETAIL);
    EXPECT_EQ(fromConverter(Said::WARNING, "PDFVRSN", 0, "x").severity, Severity::DETAIL);
    EXPECT_EQ(fromConverter(Said::ERROR, "PDFVRSN", 0, "x").severity, Severity::ERROR)
        << "a row is for what is said with its severity";
}

TEST(ConverterMessages, AnErrorOnAPageCostsThePageAPart)
{
    Notice heard = fromConverter(Said::ERROR, "BADOBJ", 4, "PDF object expected.");
    EXPECT_EQ(lineOf(heard), "PREPARE-L-PAGEPART: Page 4: Part of the page is missing: PDF object "
                             "expected.");
}

} // namespace
