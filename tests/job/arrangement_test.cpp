/*
 * arrangement_test.cpp - pages on sheets: several a side, booklets, posters, as they are printed
 */
#include <gtest/gtest.h>

#include "tests/postscript/print_job.h"
#include "tests/support/pdf_builder.h"
#include "tests/support/printing.h"

namespace {

using Lines = std::vector<std::string>;

constexpr int DPI = 72;
constexpr Colour WHITE = {255, 255, 255};

Colour colourOf(int page)
{
    constexpr Colour colours[] = {{204, 0, 0},   {0, 153, 0},   {0, 0, 204},
                                  {204, 204, 0}, {0, 153, 204}, {153, 0, 153}};
    return page == 0 ? WHITE : colours[page - 1];
}

/* Pages of 200 x 300 points, each all of one colour but for a black square in its lower left. */
std::string colouredPages(int count)
{
    PdfBuilder pdf;
    for (int page = 1; page <= count; page++) {
        Colour colour = colourOf(page);
        char text[120];
        snprintf(text, sizeof text, "%.2f %.2f %.2f rg 0 0 200 300 re f 0 g 0 0 20 20 re f",
                 colour.red / 255.0, colour.green / 255.0, colour.blue / 255.0);
        pdf.addPage("/MediaBox [0 0 200 300] /Contents " + ref(pdf.addStream("", text)));
    }
    return pdf.build();
}

std::vector<Picture> printed(const std::string &job)
{
    PrintedJob all = printFile(job, DPI);
    EXPECT_EQ(faultsOf(all), Lines{});
    return all.pages;
}

std::vector<Picture> printed(int pages, const Lines &options)
{
    return printed(preparedJobOf(colouredPages(pages), options));
}

void expectColours(const Picture &side, double step, const std::vector<int> &pages, int columns)
{
    for (size_t i = 0; i < pages.size(); i++) {
        int column = (int)i % columns, row = (int)i / columns;
        double x = step * (column + 0.5), y = side.height - step * 1.5 * (row + 0.5);
        EXPECT_TRUE(hasColour(side, x, y, colourOf(pages[i]), DPI)) << "cell " << i;
    }
}

TEST(Arrangement, FourPagesASide)
{
    std::vector<Picture> sides = printed(5, {"--n-up=4"});
    ASSERT_EQ(sides.size(), 2u);
    EXPECT_EQ(sides[0].width, 200);
    expectColours(sides[0], 100, {1, 2, 3, 4}, 2);
    expectColours(sides[1], 100, {5, 0, 0, 0}, 2);
    EXPECT_TRUE(hasColour(sides[0], 105, 155, {0, 0, 0}, DPI)) << "each is upright";
}

TEST(Arrangement, TheCommentsAreThoseOfSides)
{
    std::string job = preparedJobOf(colouredPages(5), {"--n-up=4", "--paper=400x600pt"});
    Lines comments;
    for (const std::string &comment : commentsOf(job))
        if (comment.starts_with("%%Page") || comment.find("BoundingBox") != std::string::npos)
            comments.push_back(comment);
    EXPECT_EQ(comments,
              (Lines{"%%Pages: 2", "%%PageOrder: Ascend", "%%BoundingBox: 0 0 400 600",
                     "%%Page: (1,2,3,4) 1", "%%PageBoundingBox: 0 0 400 600",
                     "%%PageMedia: 400x600", "%%PageTrailer", "%%Page: (5) 2",
                     "%%PageBoundingBox: 0 300 200 600", "%%PageMedia: 400x600", "%%PageTrailer"}));
    EXPECT_EQ(occurrences(job, "\nshowpage\n"), 2u);
}

TEST(Arrangement, AllCounts)
{
    struct Case {
        const char *option;
        int columns;
        double step; /* width of a cell on paper of 600 x 900 */
    };
    for (Case c : {Case{"--n-up=4", 2, 300}, {"--n-up=9", 3, 200}, {"--n-up=16", 4, 150}}) {
        std::vector<Picture> sides = printed(6, {c.option, "--paper=600x900pt"});
        ASSERT_EQ(sides.size(), c.columns == 2 ? 2u : 1u);
        expectColours(sides[0], c.step, {1, 2, 3, 4}, c.columns);
    }
    /* Two stand on paper that is turned; of the ways to lay out six the largest is taken. */
    std::vector<Picture> two = printed(2, {"--n-up=2", "--paper=600x900pt"});
    EXPECT_TRUE(hasColour(two[0], 300, 225, colourOf(1), DPI));
    EXPECT_TRUE(hasColour(two[0], 300, 675, colourOf(2), DPI));
    std::vector<Picture> six = printed(6, {"--n-up=6", "--paper=600x880pt"});
    expectColours(six[0], 200, {1, 2, 3}, 3);
    EXPECT_TRUE(hasColour(six[0], 100, 220, colourOf(4), DPI));
    EXPECT_TRUE(hasColour(six[0], 500, 220, colourOf(6), DPI));
}

TEST(Arrangement, BordersStandAroundEachPage)
{
    std::string pdf = colouredPages(1);
    Picture plain = printed(preparedJobOf(pdf, {"--paper=400x600pt"}))[0];
    Picture bordered = printed(preparedJobOf(pdf, {"--paper=400x600pt", "--borders"}))[0];
    EXPECT_TRUE(hasColour(plain, 100.5, 300, colourOf(1), DPI));
    EXPECT_FALSE(hasColour(bordered, 100.5, 300, colourOf(1), DPI));
    EXPECT_TRUE(hasColour(bordered, 200, 300, colourOf(1), DPI));
}

TEST(Arrangement, ABookletIsFoldedInTheMiddle)
{
    std::string job = preparedJobOf(colouredPages(6), {"--booklet", "--paper=600x400pt"});
    EXPECT_NE(job.find("/Duplex true /Tumble true"), std::string::npos);
    std::vector<Picture> sides = printed(job);
    ASSERT_EQ(sides.size(), 4u) << "six pages are two sheets";
    const std::vector<std::vector<int>> wanted = {{0, 1}, {2, 0}, {6, 3}, {4, 5}};
    for (size_t i = 0; i < sides.size(); i++) {
        EXPECT_TRUE(hasColour(sides[i], 150, 200, colourOf(wanted[i][0]), DPI)) << i;
        EXPECT_TRUE(hasColour(sides[i], 450, 200, colourOf(wanted[i][1]), DPI)) << i;
    }
}

TEST(Arrangement, ABookletCanBePrintedOnOneSide)
{
    std::string job = preparedJobOf(colouredPages(4), {"--booklet", "--duplex=off"});
    EXPECT_NE(job.find("/Duplex false"), std::string::npos);
    EXPECT_EQ(job.find("/Tumble"), std::string::npos);
}

TEST(Arrangement, APosterIsCutIntoSheets)
{
    PdfBuilder pdf;
    pdf.addPage("/MediaBox [0 0 200 300] /Contents " +
                ref(pdf.addStream("", ".8 0 0 rg 0 150 100 150 re f 0 .6 0 rg 100 150 100 150 re f "
                                      "0 0 .8 rg 0 0 100 150 re f .8 .8 0 rg 100 0 100 150 re f")));
    std::string job = preparedJobOf(pdf.build(), {"--poster=2x2"});
    std::vector<Picture> sides = printed(job);
    ASSERT_EQ(sides.size(), 4u);
    for (size_t i = 0; i < sides.size(); i++) {
        EXPECT_EQ(sides[i].width, 200);
        for (double x : {5., 195.})
            for (double y : {5., 295.})
                EXPECT_TRUE(hasColour(sides[i], x, y, colourOf((int)i + 1), DPI)) << i;
    }
    EXPECT_EQ(occurrences(sharedTextOf(job), ".8 .8 0 rg"), 1u) << "its content stands once";
}

TEST(Arrangement, RotatedMirroredScaledAndWithMargins)
{
    Picture right = printed(1, {"--rotate=90"})[0];
    EXPECT_EQ(right.width, 300);
    EXPECT_TRUE(hasColour(right, 5, 195, {0, 0, 0}, DPI));
    Picture mirrored = printed(1, {"--mirror"})[0];
    EXPECT_TRUE(hasColour(mirrored, 195, 5, {0, 0, 0}, DPI));
    Picture half = printed(1, {"--scale=50"})[0];
    EXPECT_EQ(half.width, 200);
    EXPECT_TRUE(hasColour(half, 45, 150, WHITE, DPI));
    EXPECT_TRUE(hasColour(half, 55, 80, {0, 0, 0}, DPI));
    Picture kept = printed(1, {"--actual", "--margins=30pt,20pt,0,0"})[0];
    EXPECT_TRUE(hasColour(kept, 190, 100, WHITE, DPI));
    EXPECT_TRUE(hasColour(kept, 100, 280, WHITE, DPI));
    EXPECT_TRUE(hasColour(kept, 100, 260, colourOf(1), DPI));
}

TEST(Arrangement, GoesWithEveryKindOfJob)
{
    for (const char *kind : {"--binary", "--no-compress", "--level=2"}) {
        std::vector<Picture> sides = printed(4, {"--n-up=4", "--borders", kind});
        ASSERT_EQ(sides.size(), 1u) << kind;
        expectColours(sides[0], 100, {1, 2, 3, 4}, 2);
    }
}

TEST(Arrangement, WhatDoesNotGoTogetherIsWrongUse)
{
    struct Case {
        Lines options;
        std::string said;
    };
    const Case cases[] = {
        {{"--n-up=3"}, "Pages on a side is 1, 2, 4, 6, 9 or 16, not: 3"},
        {{"--n-up=2", "--booklet"}, "Only one of --n-up, --booklet and --poster can be had."},
        {{"--booklet", "--poster=2x2"}, "Only one of --n-up, --booklet and --poster can be had."},
        {{"--poster=2"}, "A poster is columns and rows, each up to 10, such as 2x3, not: 2"},
        {{"--poster=0x3"}, "A poster is columns and rows, each up to 10, such as 2x3, not: 0x3"},
        {{"--poster=2x3x"}, "A poster is columns and rows, each up to 10, such as 2x3, not: 2x3x"},
        {{"--n-up=2", "--scale=50"},
         "With --n-up, --booklet and --poster pages are as large as fits: no --actual and no "
         "--scale."},
        {{"--n-up=2", "--eps"},
         "With --eps there is one page on its own: no --n-up, --booklet and --poster."},
        {{"--n-up=2", "--page-map=numbers"},
         "Pages are compared one by one: no --n-up, --booklet and --poster."},
        {{"--margins=10"}, ""},
        {{"--margins=1mm,2mm,3mm"}, "Margins are one length, two or four, not: 1mm,2mm,3mm"},
        {{"--margins=ten"}, "Margins are lengths such as 10mm, 0.5in or 36pt, not: ten"},
        {{"--margins=-1mm"}, "Margins are lengths such as 10mm, 0.5in or 36pt, not: -1mm"},
        {{"--margins=20cm", "--paper=a4"}, "These margins leave nothing of the paper."},
        {{"--scale=0"}, "A scale is a percentage from 1 to 10000, not: 0"},
        {{"--scale=nan"}, "A scale is a percentage from 1 to 10000, not: nan"},
        {{"--rotate=45"}, "A rotation is 90, 180 or 270, not: 45"},
        {{"--booklet", "--no-prepare"},
         "With --no-prepare pages come in the document's order, each once."},
    };
    for (const Case &c : cases) {
        PrintRun run = printPdf(colouredPages(1), c.options);
        EXPECT_EQ(run.status, c.said.empty() ? 0 : 2) << c.options[0];
        EXPECT_EQ(run.hasOutput, c.said.empty()) << c.options[0];
        if (!c.said.empty()) {
            EXPECT_EQ(run.messages.at(0), "pdf_print: " + c.said);
        }
    }
}

TEST(Arrangement, MarginsWiderThanAPagesOwnPaperLeaveIt)
{
    PrintRun run = printPdf(colouredPages(1), {"--margins=20cm"});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(printed(run.output).size(), 1u);
}

} // namespace
