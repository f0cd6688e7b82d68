/*
 * pages_test.cpp - lists of pages: what they mean, and what they cost
 */
#include <gtest/gtest.h>

#include <numeric>

#include "seam/pages.h"

namespace {

using Numbers = std::vector<int>;
using Lines = std::vector<std::string>;

Lines textsOf(const std::vector<seam::Notice> &notices)
{
    Lines texts;
    for (const seam::Notice &notice : notices)
        texts.push_back(notice.text);
    return texts;
}

seam::PageRanges rangesOf(const std::string &text)
{
    seam::PageRanges ranges;
    std::string fault;
    EXPECT_TRUE(seam::readPageRanges(text, &ranges, &fault)) << text << ": " << fault;
    return ranges;
}

seam::ChosenPages chosen(const std::string &text, int pageCount)
{
    return seam::choosePages(rangesOf(text), pageCount);
}

TEST(PageRanges, NameThePagesInTheirOrder)
{
    struct Case {
        const char *list;
        int pageCount;
        Numbers pages;
    };
    for (const Case &c : std::initializer_list<Case>{
             {"2-4,7", 9, {2, 3, 4, 7}},
             {"3,1,1", 9, {3, 1, 1}},
             {"2-4,3-5", 9, {2, 3, 4, 3, 4, 5}},
             {"7-", 9, {7, 8, 9}},
             {"7-99", 9, {7, 8, 9}},
             {"9-5", 9, {9, 8, 7, 6, 5}},
             {"99-7", 9, {9, 8, 7}},
             {"odd", 5, {1, 3, 5}},
             {"even", 5, {2, 4}},
             {"odd,even", 4, {1, 3, 2, 4}},
             {"last", 9, {9}},
             {"z", 9, {9}},
             {"r1", 9, {9}},
             {"r3", 9, {7}},
             {"r3-r1", 9, {7, 8, 9}},
             {"r1-r3", 9, {9, 8, 7}},
             {"r99-r8", 9, {1, 2}},
             {"7-z", 9, {7, 8, 9}},
             {"z-7", 9, {9, 8, 7}},
             {"last-1", 3, {3, 2, 1}},
             {"2-r2", 5, {2, 3, 4}},
             {"r2-2", 5, {4, 3, 2}},
             {"1-6:odd", 9, {1, 3, 5}},
             {"2-6:odd", 9, {3, 5}},
             {"6-1:even", 9, {6, 4, 2}},
             {"z-1:odd", 6, {5, 3, 1}},
             {"1-99:even", 5, {2, 4}},
             {" 1 , 3 - 4 ", 9, {1, 3, 4}},
             {"2,", 9, {2}},
             {"1073741824,1", 9, {1}},
         })
        EXPECT_EQ(chosen(c.list, c.pageCount).numbers, c.pages) << c.list;
}

TEST(PageRanges, WithoutPartsAreTheWholeDocument)
{
    EXPECT_TRUE(seam::PageRanges().isWholeDocument());
    EXPECT_EQ(seam::choosePages({}, 3).numbers, (Numbers{1, 2, 3}));
}

TEST(PageRanges, WhatIsNoListIsSaid)
{
    for (const char *list : {"",           " ",
                             ",",          "1,,2",
                             ",1",         "0",
                             "-5",         "-",
                             "1-0",        "r0",
                             "r",          "rz",
                             "r-1",        "1;2",
                             "1 2",        "x",
                             "odd-3",      "1:",
                             "1:all",      "odd:even",
                             "1-2-3",      "1.5",
                             "+1",         "0x1",
                             "1073741825", "99999999999999999999",
                             "Odd",        "zz",
                             "1-odd"}) {
        seam::PageRanges ranges;
        std::string fault;
        EXPECT_FALSE(seam::readPageRanges(list, &ranges, &fault)) << list;
        EXPECT_EQ(fault, "Not a list of pages, such as 2-5,9,12-: " + std::string(list));
    }
}

/* Which way a part runs does not depend on the document: "5 to the end" of three pages is none. */
TEST(PageRanges, APartThatNamesNoPageIsSaidOnce)
{
    seam::ChosenPages pages = chosen("1,99,5-z,z-5,r9,7-5,99,5-", 3);
    EXPECT_EQ(pages.numbers, Numbers{1});
    EXPECT_EQ(textsOf(pages.warnings),
              (Lines{"99: the document has 3 pages.", "5-z: the document has 3 pages.",
                     "z-5: the document has 3 pages.", "r9: the document has 3 pages.",
                     "7-5: the document has 3 pages.", "5-: the document has 3 pages."}));
    EXPECT_FALSE(pages.fault);
}

TEST(PageRanges, WarningsAreBounded)
{
    std::string list = "1";
    for (int i = 2; i <= 1001; i++)
        list += "," + std::to_string(i);
    seam::ChosenPages pages = chosen(list, 1);
    ASSERT_EQ(pages.warnings.size(), 21u);
    EXPECT_EQ(pages.warnings.back().text, "Other parts of the list name no page either: 980.");
}

TEST(PageRanges, AListThatNamesNoPageIsAFault)
{
    seam::ChosenPages pages = chosen("15,20-30", 14);
    EXPECT_TRUE(pages.numbers.empty());
    EXPECT_EQ(pages.fault->text, "None of these pages exists: the document has 14 pages.");
    EXPECT_EQ(chosen("2", 1).fault->text, "None of these pages exists: the document has 1 page.");
    EXPECT_EQ(seam::choosePages({}, 0).fault->text, "The document has no pages.");
}

TEST(PageRanges, SetAndOrderOfTheWholeList)
{
    seam::PageRanges ranges = rangesOf("2-6");
    ranges.set = seam::PageSet::ODD;
    EXPECT_EQ(seam::choosePages(ranges, 9).numbers, (Numbers{2, 4, 6}));
    ranges.set = seam::PageSet::EVEN;
    EXPECT_EQ(seam::choosePages(ranges, 9).numbers, (Numbers{3, 5}));
    ranges.isReversed = true;
    EXPECT_EQ(seam::choosePages(ranges, 9).numbers, (Numbers{5, 3}));
    ranges = rangesOf("4");
    ranges.set = seam::PageSet::EVEN;
    EXPECT_EQ(seam::choosePages(ranges, 9).fault->text,
              "One page is chosen; there is no even one.");
}

TEST(PageRanges, RisingIsKnownFromTheList)
{
    for (const char *list : {"1", "2-5,9,12-", "odd", "1,z", "r3-r1", "1-5,r3-", "2-9:odd"})
        EXPECT_TRUE(seam::isRising(rangesOf(list))) << list;
    for (const char *list : {"2,1", "1,1", "2-5,5", "5-2", "z-1", "odd,even", "z,1", "r1,r2"})
        EXPECT_FALSE(seam::isRising(rangesOf(list))) << list;
    EXPECT_TRUE(seam::isRising(Numbers{1, 2, 9}));
    EXPECT_FALSE(seam::isRising(Numbers{1, 1}));
}

/* Pages times ranges would be 10^12 steps here. */
TEST(PageRanges, ManyPartsOfManyPagesAreTakenOnce)
{
    std::string list;
    Numbers expected;
    for (int page = 1; page < 1000000; page += 2) {
        list.append(list.empty() ? "" : ",").append(std::to_string(page));
        expected.push_back(page);
    }
    EXPECT_TRUE(chosen(list, 1000000).numbers == expected);
    EXPECT_TRUE(chosen("odd", 1000000).numbers == expected);
}

TEST(PageRanges, AListIsBoundedAndADocumentIsNot)
{
    std::string list = "1-600000";
    EXPECT_EQ(chosen(list, 600000).numbers.size(), 600000u);
    list += ",1-600000";
    seam::ChosenPages pages = chosen(list, 600000);
    EXPECT_TRUE(pages.numbers.empty());
    EXPECT_EQ(pages.fault->text, "The list comes to more than 1000000 pages.");
    for (int i = 0; i < 100000; i++)
        list += ",1-";
    EXPECT_EQ(chosen(list, 600000).fault, pages.fault);
    EXPECT_EQ(seam::choosePages({}, 1200000).numbers.size(), 1200000u);
}

TEST(PageMap, ComesBackAsItWas)
{
    for (const Numbers &numbers : {Numbers{}, Numbers{1}, Numbers{3, 1, 1, 1073741824}}) {
        Numbers read = {7};
        EXPECT_TRUE(seam::readPageMap(seam::pageMapText(numbers), &read));
        EXPECT_EQ(read, numbers);
    }
    EXPECT_EQ(seam::pageMapText({3, 1}), "pages 2\n3\n1\n");
}

TEST(PageMap, IsReadWholeOrNotAtAll)
{
    Numbers numbers;
    for (const char *text :
         {"", "pages ", "pages 2\n", "pages 2\n3\n", "pages 2\n3\n1", "pages 1\n3\n1\n",
          "pages 1\n-1\n", "pages 1\n-3\n", "pages 1\nx\n", "pages x\n", "3\n1\n"})
        EXPECT_FALSE(seam::readPageMap(text, &numbers)) << text;
}

TEST(PageRanges, ABookletEndsWithBlankPages)
{
    auto booklet = [](const std::string &text, int pageCount) {
        seam::PageRanges ranges;
        if (!text.empty())
            ranges = rangesOf(text);
        ranges.isBooklet = true;
        EXPECT_FALSE(seam::isRising(ranges));
        EXPECT_FALSE(ranges.isWholeDocument());
        return seam::choosePages(ranges, pageCount).numbers;
    };
    EXPECT_EQ(booklet("", 8), (Numbers{8, 1, 2, 7, 6, 3, 4, 5}));
    EXPECT_EQ(booklet("", 1), (Numbers{0, 1, 0, 0}));
    EXPECT_EQ(booklet("3-7", 9), (Numbers{0, 3, 4, 0, 0, 5, 6, 7}));
}

TEST(PageRanges, EachPageSeveralTimes)
{
    seam::PageRanges ranges = rangesOf("2,1");
    ranges.times = 3;
    EXPECT_EQ(seam::choosePages(ranges, 2).numbers, (Numbers{2, 2, 2, 1, 1, 1}));
    seam::PageRanges large;
    large.times = 100;
    EXPECT_TRUE(seam::choosePages(large, 20000).fault) << "no more than a million pages";
}

TEST(PageRanges, APageMapKnowsBlankPages)
{
    Numbers numbers;
    EXPECT_TRUE(seam::readPageMap(seam::pageMapText({0, 1, 2, 0}), &numbers));
    EXPECT_EQ(numbers, (Numbers{0, 1, 2, 0}));
    EXPECT_FALSE(seam::readPageMap("pages 1\n-1\n", &numbers));
}

} // namespace
