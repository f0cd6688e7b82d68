/*
 * pages_test.cpp - the page tree, inherited attributes, page geometry
 */
#include <gtest/gtest.h>

#include "tests/support/conversion.h"
#include "tests/support/pdf_builder.h"

namespace {

using Texts = std::vector<std::string>;

/* The lines that a page without resources and contents is made of. */
std::string pageText(const std::string &size, const std::string &move, int rotation)
{
    return "BeginPageDescription\n<< /PageSize [ " + size + " ] >> setpagedevice\n" + move +
           " translate\n" + std::to_string(rotation) + " rotate\nEndPageDescription\n";
}

Conversion onePage(const std::string &entries, const Texts &switches = {})
{
    PdfBuilder pdf;
    pdf.addPage(entries);
    return convertPdf(pdf.build(), switches);
}

std::string onePageText(const std::string &entries)
{
    Conversion c = onePage(entries);
    EXPECT_EQ(c.status, 0) << entries;
    EXPECT_EQ(faults(c), Texts{}) << entries;
    return c.pages;
}

/* A tree with two inner nodes, of two pages each, and a fifth page; the width of a page is its
 * number. */
std::string fivePages(const std::string &firstCount = "/Count 2")
{
    PdfBuilder pdf;
    auto leaf = [&pdf](int parent, int number) {
        return pdf.add("<< /Type /Page /Parent " + ref(parent) + " /MediaBox [0 0 " +
                       std::to_string(number) + " 9] >>");
    };
    int left = pdf.reserve(), right = pdf.reserve();
    int a = leaf(left, 1), b = leaf(left, 2), c = leaf(right, 3), d = leaf(right, 4);
    int e = leaf(2, 5);
    pdf.set(left, "<< /Kids [" + ref(a) + " " + ref(b) + "] " + firstCount + " >>");
    pdf.set(right, "<< /Kids [" + ref(c) + " " + ref(d) + "] /Count 2 >>");
    pdf.set(2, "<< /Kids [" + ref(left) + " " + ref(right) + " " + ref(e) + "] /Count 5 >>");
    return pdf.build();
}

std::string widths(const Conversion &c)
{
    std::string found;
    for (const std::string &line : linesOf(c.pages))
        if (line.starts_with("<< /PageSize [ "))
            found += line.substr(15, line.find(' ', 15) - 15) + " ";
    return found;
}

} // namespace

TEST(PageTree, EveryLeafIsWrittenInOrderAndNumberedFromOne)
{
    Conversion c = convertPdf(fivePages());
    EXPECT_EQ(c.status, 0);
    EXPECT_EQ(widths(c), "1 2 3 4 5 ");
    EXPECT_EQ(c.messages,
              (Texts{"ZOLAK-I-INTRO: This is a PDF v1.2 file.", "ZOLAK-I-PAGE: Processing page 1",
                     "ZOLAK-I-PAGE: Processing page 2", "ZOLAK-I-PAGE: Processing page 3",
                     "ZOLAK-I-PAGE: Processing page 4", "ZOLAK-I-PAGE: Processing page 5"}));
}

TEST(PageTree, PageSelectsOnePage)
{
    for (int page = 1; page <= 5; page++) {
        Conversion c = convertPdf(fivePages(), {"-PAGE=" + std::to_string(page)});
        EXPECT_EQ(widths(c), std::to_string(page) + " ");
        EXPECT_EQ(c.messages[1], "ZOLAK-I-PAGE: Processing page " + std::to_string(page));
    }
}

TEST(PageTree, ASubtreeBeforeThePageIsSkippedUnreadByItsCount)
{
    /* The count is wrong: the third page that is counted is the first of the second subtree. */
    Conversion c = convertPdf(fivePages("/Count 2 /Resources (no dictionary)"), {"-PAGE=3"});
    EXPECT_EQ(c.status, 0) << "what would stop the run is not read";
    EXPECT_EQ(widths(c), "3 ");
    EXPECT_EQ(widths(convertPdf(fivePages("/Count 1"), {"-PAGE=2"})), "3 ");
}

TEST(PageTree, APageBeyondTheDocumentIsNotFound)
{
    for (const char *page : {"-PAGE=6", "-PAGE=65536", "-PAGE=-1"}) {
        Conversion c = convertPdf(fivePages(), {page});
        EXPECT_EQ(c.status, 0);
        EXPECT_EQ(c.pages, "");
        EXPECT_EQ(faults(c), Texts{"ZOLAK-W-NOPAGE: Page not found."}) << page;
    }
}

TEST(PageTree, AttributesAreInheritedAndReplaced)
{
    PdfBuilder pdf;
    int content = pdf.addStream("", "c\n");
    pdf.rootEntries = "/MediaBox [0 0 10 20] /Rotate 90 /Contents " + ref(content);
    pdf.addPage("");
    pdf.addPage("/MediaBox [0 0 30 40]");
    pdf.addPage("/Rotate 0");
    Conversion c = convertPdf(pdf.build());
    const std::string body = "<<\n/Length 2 \n>>\nPageContents\nc\n\nEndPageDescription\n";
    auto page = [&](const std::string &size, const std::string &move, const std::string &rotate) {
        return "BeginPageDescription\n<< /PageSize [ " + size + " ] >> setpagedevice\n" + move +
               " translate\n" + rotate + " rotate\n" + body;
    };
    EXPECT_EQ(c.pages, page("20 10", "0 10", "-90") + page("40 30", "0 30", "-90") +
                           page("10 20", "0 0", "0"));
}

TEST(PageTree, KidsThatAreNoArrayAreNone)
{
    Conversion c = onePage("/MediaBox [0 0 9 9] /Kids 5");
    EXPECT_EQ(c.status, 0);
    EXPECT_EQ(c.pages, "");
    EXPECT_EQ(faults(c), Texts{"ZOLAK-W-NOPAGE: Page not found."});
}

TEST(PageTree, ALoopEndsWithAMessage)
{
    PdfBuilder pdf;
    pdf.set(2, "<< /Kids [2 0 R 2 0 R] >>");
    Conversion c = convertPdf(pdf.build());
    EXPECT_EQ(c.status, 1);
    EXPECT_EQ(faults(c), Texts{"ZOLAK-E-BADOBJ: Objects are nested too deeply."});
    EXPECT_FALSE(c.hasOutput);
}

TEST(PageTree, 256LevelsAreWalkedAndTheNextIsNot)
{
    for (int levels : {256, 257}) {
        PdfBuilder pdf;
        for (int i = 2; i <= levels; i++)
            pdf.set(i, "<< /Kids [" + ref(i + 1) + "] >>");
        pdf.set(levels + 1, "<< /MediaBox [0 0 7 7] >>");
        Conversion c = convertPdf(pdf.build());
        EXPECT_EQ(c.status, levels == 256 ? 0 : 1);
        if (levels == 256) {
            EXPECT_EQ(c.pages, pageText("7 7", "0 0", 0));
        }
    }
}

TEST(PageTree, SharedNodesDoNotMultiplyWithoutEnd)
{
    PdfBuilder pdf;
    for (int i = 2; i < 60; i++)
        pdf.set(i, "<< /Kids [" + ref(i + 1) + " " + ref(i + 1) + "] >>");
    pdf.set(60, "<< /MediaBox [0 0 0 0] >>");
    Conversion c = convertPdf(pdf.build());
    EXPECT_EQ(c.status, 1);
    EXPECT_EQ(faults(c), Texts{"ZOLAK-E-BADOBJ: Page tree has more nodes than the file can hold."});
}

TEST(PageGeometry, APlainPage)
{
    EXPECT_EQ(onePageText("/MediaBox [0 0 612 792]"), pageText("612 792", "0 0", 0));
    EXPECT_EQ(onePageText("/MediaBox [10 20 110 220]"), pageText("100 200", "-10 -20", 0));
    EXPECT_EQ(onePageText("/MediaBox [-10 -20 0 0]"), pageText("10 20", "10 20", 0));
    EXPECT_EQ(onePageText("/MediaBox [612 792 0 0]"), pageText("612 792", "0 0", 0))
        << "the corners are put in order";
    EXPECT_EQ(onePageText("/MediaBox [0.9 -0.9 99.9 100.1]"), pageText("99 100", "0 0", 0))
        << "fractions are dropped";
}

TEST(PageGeometry, RotationByQuarterTurns)
{
    EXPECT_EQ(onePageText("/MediaBox [0 0 612 792] /Rotate 90"), pageText("792 612", "0 612", -90));
    EXPECT_EQ(onePageText("/MediaBox [0 0 612 792] /Rotate 180"),
              pageText("612 792", "612 792", -180));
    EXPECT_EQ(onePageText("/MediaBox [0 0 612 792] /Rotate 270"),
              pageText("792 612", "792 0", -270));
    EXPECT_EQ(onePageText("/MediaBox [0 0 612 792] /Rotate 360"), pageText("612 792", "0 0", -360));
    EXPECT_EQ(onePageText("/MediaBox [0 0 612 792] /Rotate -90"), pageText("792 612", "792 0", 90));
    EXPECT_EQ(onePageText("/MediaBox [10 20 110 220] /Rotate 90"),
              pageText("200 100", "-20 110", -90));
}

TEST(PageGeometry, OtherRotationsAreAppliedToTheCorners)
{
    /* 45 degrees clockwise: (0,0) stays, (100,100) becomes (141.4, 0), which has no height. */
    EXPECT_EQ(onePageText("/MediaBox [0 0 100 100] /Rotate 45"), "");
    /* 30 degrees: (100, 200) becomes (86.6 + 100, 173.2 - 50). */
    EXPECT_EQ(onePageText("/MediaBox [0 0 100 200] /Rotate 30"), pageText("187 123", "0 0", -30));
}

TEST(PageGeometry, TheCropBoxIsIntersected)
{
    EXPECT_EQ(onePageText("/MediaBox [0 0 100 200] /CropBox [10 20 300 150]"),
              pageText("90 130", "-10 -20", 0));
    EXPECT_EQ(onePageText("/MediaBox [0 0 100 200] /CropBox [10 20 50 150] /Rotate 90"),
              pageText("130 40", "-20 50", -90));
}

TEST(PageGeometry, APageWithoutAreaIsNoOutputYetCountsAsWritten)
{
    for (const char *entries : {"/MediaBox [0 0 0 100]", "/MediaBox [0 0 100 0]", "",
                                "/MediaBox [0 0 100 100] /CropBox [200 200 300 300]"}) {
        Conversion c = onePage(entries);
        EXPECT_EQ(c.status, 0);
        EXPECT_EQ(c.pages, "");
        EXPECT_EQ(faults(c), Texts{}) << entries;
    }
}

TEST(PageGeometry, AShortBoxKeepsTheInheritedRest)
{
    PdfBuilder pdf;
    pdf.rootEntries = "/MediaBox [1 2 33 44]";
    pdf.addPage("/MediaBox [11 12]");
    pdf.addPage("/MediaBox [0 0 50 60 70 80]");
    Conversion c = convertPdf(pdf.build());
    EXPECT_EQ(c.pages, pageText("22 32", "-11 -12", 0) + pageText("50 60", "0 0", 0));
}

TEST(PageGeometry, ABoxThatIsNoArrayChangesNothing)
{
    PdfBuilder pdf;
    pdf.rootEntries = "/MediaBox [0 0 33 44]";
    pdf.addPage("/MediaBox 5 /CropBox /Name");
    Conversion c = convertPdf(pdf.build());
    EXPECT_EQ(c.pages, pageText("33 44", "0 0", 0));
}

TEST(PageGeometry, ExtremeBoxesAreComputedInFull)
{
    EXPECT_EQ(onePageText("/MediaBox [-2147483648 -2147483648 2147483647 2147483647]"),
              pageText("4294967295 4294967295", "2147483648 2147483648", 0));
    EXPECT_EQ(onePageText("/MediaBox [-99999999999 0 99999999999 1] /Rotate 180"),
              pageText("4294967295 1", "2147483647 1", -180));
}

TEST(PageContents, AStreamAndAnArrayOfStreams)
{
    PdfBuilder pdf;
    int a = pdf.addStream("", "aa"), b = pdf.addStream("", "");
    pdf.addPage("/MediaBox [0 0 9 9] /Contents [" + ref(a) + " " + ref(b) + "]");
    pdf.addPage("/MediaBox [0 0 9 9] /Contents []");
    Conversion c = convertPdf(pdf.build());
    EXPECT_EQ(c.pages, "BeginPageDescription\n<< /PageSize [ 9 9 ] >> setpagedevice\n"
                       "0 0 translate\n0 rotate\n"
                       "<<\n/Length 2 \n>>\nPageContents\naa\n"
                       "<<\n/Length 0 \n>>\nPageContents\n\nEndPageDescription\n" +
                           pageText("9 9", "0 0", 0));
}

TEST(PageContents, AnythingElseIsWarnedOfAndThePageIsWrittenWithout)
{
    for (const char *contents : {"5", "/Name", "(string)", "<< >>"}) {
        Conversion c = onePage(std::string("/MediaBox [0 0 9 9] /Contents ") + contents);
        EXPECT_EQ(c.status, 0);
        EXPECT_EQ(c.pages, pageText("9 9", "0 0", 0));
        EXPECT_EQ(faults(c), Texts{"ZOLAK-W-badobj: Bad object type. STREAM or ARRAY exepcted."});
    }
}

TEST(PageContents, AStreamThatCannotBeReadStopsTheRun)
{
    Conversion c = onePage("/MediaBox [0 0 9 9] /Contents [2 0 R]");
    EXPECT_EQ(c.status, 1);
    EXPECT_EQ(faults(c), Texts{"ZOLAK-E-BADSTREAM: Keyword 'stream' is missing."});
    EXPECT_FALSE(c.hasOutput);
}

TEST(PageTree, CountsAreTakenAsTheyStand)
{
    /* A negative one takes pages back: the fourth leaf is then the first. */
    EXPECT_EQ(widths(convertPdf(fivePages("/Count -1"), {"-PAGE=1"})), "4 ");
    /* One that is too large hides the rest of the document. */
    Conversion c = convertPdf(fivePages("/Count 2147483647"), {"-PAGE=2"});
    EXPECT_EQ(widths(c), "2 ");
    EXPECT_EQ(c.messages.size(), 2U);
    EXPECT_EQ(faults(convertPdf(fivePages("/Count 3"), {"-PAGE=4"})), Texts{});
    EXPECT_EQ(widths(convertPdf(fivePages("/Count 3"), {"-PAGE=4"})), "3 ");
    EXPECT_EQ(widths(convertPdf(fivePages("/Count 0"), {"-PAGE=1"})), "3 ");
    EXPECT_EQ(widths(convertPdf(fivePages(""), {"-PAGE=1"})), "1 ") << "without one it is walked";
}

TEST(PageTree, ALeafWithACountIsSkippedLikeASubtree)
{
    PdfBuilder pdf;
    pdf.addPage("/MediaBox [0 0 1 9] /Count 5");
    pdf.addPage("/MediaBox [0 0 2 9]");
    EXPECT_EQ(widths(convertPdf(pdf.build())), "1 2 ") << "counts matter to a selection alone";
    pdf.set(2, "<< /Kids [3 0 R 4 0 R] >>");
    EXPECT_EQ(widths(convertPdf(pdf.build(), {"-PAGE=1"})), "1 ");
    EXPECT_EQ(widths(convertPdf(pdf.build(), {"-PAGE=6"})), "2 ");
}

TEST(PageTree, WhatIsBehindTheSelectedPageIsNotRead)
{
    PdfBuilder pdf;
    int first = pdf.add("<< /MediaBox [0 0 1 9] >>"), second = pdf.add("<< /MediaBox [0 0 2 9] >>");
    int odd = pdf.add("no dictionary");
    pdf.set(2, "<< /Kids [" + ref(first) + " " + ref(second) + " " + ref(odd) + "] >>");
    Conversion c = convertPdf(pdf.build(), {"-PAGE=1"});
    EXPECT_EQ(c.status, 0);
    EXPECT_EQ(widths(c), "1 ");
    EXPECT_EQ(convertPdf(pdf.build(), {"-PAGE=2"}).status, 1)
        << "only when a later page has been passed";
}

TEST(PageTree, AnEmptyKidsArrayIsANodeWithoutPages)
{
    Conversion c = onePage("/MediaBox [0 0 9 9] /Kids []");
    EXPECT_EQ(c.status, 0);
    EXPECT_EQ(c.pages, "");
    EXPECT_EQ(faults(c), Texts{"ZOLAK-W-NOPAGE: Page not found."});
}

TEST(PageGeometry, ACropBoxIsCutAtTheLastUnit)
{
    EXPECT_EQ(onePageText("/MediaBox [0 0 100 100] /CropBox [99 0 200 100]"),
              pageText("1 100", "-99 0", 0));
    EXPECT_EQ(onePageText("/MediaBox [0 0 100 100] /CropBox [100 0 200 100]"), "");
    EXPECT_EQ(onePageText("/MediaBox [0 0 100 100] /CropBox [-50 -50 1 1]"),
              pageText("1 1", "0 0", 0));
    EXPECT_EQ(onePageText("/MediaBox [0 0 100 100] /CropBox [100 100 0 0]"),
              pageText("100 100", "0 0", 0))
        << "its corners are put in order, too";
}

TEST(PageGeometry, AShortCropBoxWithNothingToInheritEndsAtZero)
{
    EXPECT_EQ(onePageText("/MediaBox [0 0 100 200] /CropBox [10 20]"), pageText("10 20", "0 0", 0));
    EXPECT_EQ(onePageText("/MediaBox [0 0 100 200] /CropBox []"), "") << "an empty one counts";
    EXPECT_EQ(onePageText("/MediaBox [-5 -6] /Rotate 0"), pageText("5 6", "5 6", 0));
}

TEST(PageGeometry, FractionsOfARotationAreDropped)
{
    EXPECT_EQ(onePageText("/MediaBox [0 0 10 20] /Rotate 90.9"), pageText("20 10", "0 10", -90));
    EXPECT_EQ(onePageText("/MediaBox [0 0 10 20] /Rotate -0.5"), pageText("10 20", "0 0", 0));
    EXPECT_EQ(onePageText("/MediaBox [0 0 10 20] /Rotate 3690"), pageText("20 10", "0 10", -3690));
}

TEST(PageContents, AWrongTypeKeepsWhatIsInherited)
{
    PdfBuilder pdf;
    pdf.rootEntries = "/MediaBox [0 0 9 9] /Contents " + ref(pdf.addStream("", "c"));
    pdf.addPage("/Contents 5");
    Conversion c = convertPdf(pdf.build());
    EXPECT_EQ(c.status, 0);
    EXPECT_EQ(faults(c), Texts{"ZOLAK-W-badobj: Bad object type. STREAM or ARRAY exepcted."});
    EXPECT_EQ(c.pages, "BeginPageDescription\n<< /PageSize [ 9 9 ] >> setpagedevice\n"
                       "0 0 translate\n0 rotate\n<<\n/Length 1 \n>>\nPageContents\nc\n"
                       "EndPageDescription\n");
}

TEST(PageContents, AnArrayReplacesAnInheritedStreamAndTheOtherWayRound)
{
    PdfBuilder pdf;
    int a = pdf.addStream("", "a"), b = pdf.addStream("", "b");
    int left = pdf.reserve(), right = pdf.reserve();
    int first = pdf.add("<< /Contents [" + ref(b) + "] >>"),
        second = pdf.add("<< /Contents " + ref(b) + " >>");
    pdf.set(left, "<< /Contents " + ref(a) + " /Kids [" + ref(first) + "] >>");
    pdf.set(right, "<< /Contents [" + ref(a) + " " + ref(a) + "] /Kids [" + ref(second) + "] >>");
    pdf.set(2, "<< /MediaBox [0 0 9 9] /Kids [" + ref(left) + " " + ref(right) + "] >>");
    const std::string page =
        "BeginPageDescription\n<< /PageSize [ 9 9 ] >> setpagedevice\n0 0 translate\n0 rotate\n"
        "<<\n/Length 1 \n>>\nPageContents\nb\nEndPageDescription\n";
    EXPECT_EQ(convertPdf(pdf.build()).pages, page + page);
}

TEST(PageDescription, TheSmallestRotationTurnsTheRightWay)
{
    /* 128 degrees more than full turns, counterclockwise, since /Rotate counts clockwise. */
    std::string smallest = onePageText("/MediaBox [0 0 100 200] /Rotate -2147483648");
    std::string small = onePageText("/MediaBox [0 0 100 200] /Rotate -128");
    const std::string turn = "\n2147483648 rotate\n", same = "\n128 rotate\n";
    ASSERT_NE(smallest.find(turn), std::string::npos) << smallest;
    smallest.replace(smallest.find(turn), turn.size(), same);
    EXPECT_EQ(smallest, small);
}

TEST(PageContents, TheWarningComesBeforeThePageIsTold)
{
    Conversion c = onePage("/MediaBox [0 0 9 9] /Contents 5 /Resources << /Pattern << >> >>");
    EXPECT_EQ(c.messages, (Texts{"ZOLAK-I-INTRO: This is a PDF v1.2 file.",
                                 "ZOLAK-W-badobj: Bad object type. STREAM or ARRAY exepcted.",
                                 "ZOLAK-I-PAGE: Processing page 1",
                                 "ZOLAK-E-BADXOBJ: Patterns not supported"}));
    EXPECT_FALSE(c.hasOutput);
}
