/*
 * placement_test.cpp - where pages lie on the sides of the paper, as numbers
 */
#include <gtest/gtest.h>

#include <ostream>

#include "job/place.h"

namespace job {

bool operator==(const Area &a, const Area &b)
{
    auto isNear = [](double p, double q) { return std::abs(p - q) < 1e-6; };
    return isNear(a.left, b.left) && isNear(a.bottom, b.bottom) && isNear(a.right, b.right) &&
           isNear(a.top, b.top);
}

void PrintTo(const Area &area, std::ostream *out)
{
    *out << "[" << area.left << " " << area.bottom << " " << area.right << " " << area.top << "]";
}

} // namespace job

namespace {

job::Options optionsFor(const job::Paper &paper, const job::Arrangement &arrangement = {})
{
    job::Options options;
    options.paper = paper;
    options.arrangement = arrangement;
    return options;
}

job::Placement placed(int64_t width, int64_t height, const job::Options &options, int n = 0)
{
    return job::placePage(job::sideFor(width, height, options), width, height, n, options);
}

job::Arrangement perSide(int count)
{
    job::Arrangement arrangement;
    arrangement.perSide = count;
    return arrangement;
}

constexpr job::Paper FITTING = {600, 800, job::Scaling::FIT};

/* ---- one page a side */

TEST(JobPlacement, EachPagesOwnPaper)
{
    job::Options options;
    job::Side side = job::sideFor(300, 400, options);
    EXPECT_EQ(side.width, 300);
    EXPECT_EQ(side.height, 400);
    job::Placement page = job::placePage(side, 300, 400, 0, options);
    EXPECT_EQ(page.matrix, job::IDENTITY);
    EXPECT_EQ(page.seen, (job::Area{0, 0, 300, 400}));
    EXPECT_EQ(page.covered, (job::Area{0, 0, 300, 400}));
}

TEST(JobPlacement, APageWithoutAreaIsNotScaled)
{
    for (int64_t size : {0, -7})
        EXPECT_EQ(placed(size, 5, optionsFor(FITTING)).matrix, job::IDENTITY);
}

TEST(JobPlacement, ScalesAndCentres)
{
    job::Paper paper = FITTING;
    auto matrix = [&](int64_t width, int64_t height) {
        return placed(width, height, optionsFor(paper)).matrix;
    };
    EXPECT_EQ(placed(300, 200, optionsFor({600, 400, job::Scaling::FIT})).matrix,
              (job::Matrix{2, 0, 0, 2, 0, 0}));
    EXPECT_EQ(matrix(300, 500), (job::Matrix{1.6, 0, 0, 1.6, 60, 0}));
    paper.scaling = job::Scaling::SHRINK;
    EXPECT_EQ(matrix(300, 500), (job::Matrix{1, 0, 0, 1, 150, 150}));
    EXPECT_EQ(matrix(1200, 1600), (job::Matrix{0.5, 0, 0, 0.5, 0, 0}));
    paper.scaling = job::Scaling::ACTUAL;
    EXPECT_EQ(matrix(1200, 1600), (job::Matrix{1, 0, 0, 1, -300, -400}));
    paper.factor = 2;
    EXPECT_EQ(matrix(100, 200), (job::Matrix{2, 0, 0, 2, 200, 200}));
    paper.factor = 0;
    paper.isCentred = false;
    EXPECT_EQ(matrix(300, 500), job::IDENTITY);
}

TEST(JobPlacement, AWidePageOnTallPaperIsTurned)
{
    job::Paper paper = {600, 800, job::Scaling::ACTUAL};
    EXPECT_EQ(placed(800, 600, optionsFor(paper)).matrix, (job::Matrix{0, 1, -1, 0, 600, 0}));
    paper.isCentred = false;
    EXPECT_EQ(placed(500, 500, optionsFor(paper)).matrix, job::IDENTITY)
        << "a square needs no turn";
}

TEST(JobPlacement, MarginsKeepPagesFromTheEdges)
{
    job::Paper paper = {600, 800, job::Scaling::SHRINK};
    paper.left = 100;
    paper.top = 50;
    job::Placement page = placed(600, 800, optionsFor(paper));
    EXPECT_EQ(page.covered, (job::Area{100, 0 + (750 - 2000.0 / 3) / 2, 600,
                                       2000.0 / 3 + (750 - 2000.0 / 3) / 2}));
    EXPECT_EQ(page.seen, (job::Area{0, 0, 600, 800}));
    paper.scaling = job::Scaling::ACTUAL;
    page = placed(600, 800, optionsFor(paper));
    EXPECT_EQ(page.covered, (job::Area{100, 0, 600, 750})) << "what reaches into them is cut";
}

TEST(JobPlacement, RotatesAndMirrors)
{
    job::Arrangement arrangement;
    arrangement.rotation = 90;
    job::Options options = optionsFor({}, arrangement);
    EXPECT_EQ(job::sideFor(300, 400, options).width, 400);
    EXPECT_EQ(placed(300, 400, options).matrix, (job::Matrix{0, -1, 1, 0, 0, 300}))
        << "the upper edge is on the right";
    options.arrangement.rotation = 180;
    EXPECT_EQ(placed(300, 400, options).matrix, (job::Matrix{-1, 0, 0, -1, 300, 400}));
    options.arrangement.rotation = 270;
    EXPECT_EQ(placed(300, 400, options).matrix, (job::Matrix{0, 1, -1, 0, 400, 0}));
    options.arrangement = {};
    options.arrangement.isMirrored = true;
    EXPECT_EQ(placed(300, 400, options).matrix, (job::Matrix{-1, 0, 0, 1, 300, 0}));
}

/* ---- several pages a side */

TEST(JobPlacement, TwoTallPagesStandBesideEachOtherOnTurnedPaper)
{
    job::Options options = optionsFor(FITTING, perSide(2));
    job::Side side = job::sideFor(600, 800, options);
    EXPECT_TRUE(side.isTurned);
    EXPECT_EQ(side.columns, 2);
    /* Turned to the right the paper's lower half is the left one. */
    EXPECT_EQ(placed(600, 800, options, 0).covered,
              (job::Area{300 - 0.5 * 800 * 2 / 3, 0, 300 + 0.5 * 800 * 2 / 3, 400}));
    EXPECT_EQ(placed(600, 800, options, 1).covered,
              (job::Area{300 - 0.5 * 800 * 2 / 3, 400, 300 + 0.5 * 800 * 2 / 3, 800}));
}

TEST(JobPlacement, TwoWidePagesStandAboveEachOther)
{
    job::Options options = optionsFor(FITTING, perSide(2));
    EXPECT_FALSE(job::sideFor(600, 400, options).isTurned);
    EXPECT_EQ(placed(600, 400, options, 0).covered, (job::Area{0, 400, 600, 800}));
    EXPECT_EQ(placed(600, 400, options, 1).covered, (job::Area{0, 0, 600, 400}));
}

TEST(JobPlacement, CellsAreFilledInTheOrderThatIsAskedFor)
{
    job::Options options = optionsFor(FITTING, perSide(4));
    auto corner = [&](int n) { return placed(600, 800, options, n).covered; };
    EXPECT_EQ(corner(0), (job::Area{0, 400, 300, 800}));
    EXPECT_EQ(corner(1), (job::Area{300, 400, 600, 800}));
    EXPECT_EQ(corner(2), (job::Area{0, 0, 300, 400}));
    options.arrangement.isByColumns = true;
    EXPECT_EQ(corner(1), (job::Area{0, 0, 300, 400}));
    options.arrangement.isLeftwards = true;
    EXPECT_EQ(corner(0), (job::Area{300, 400, 600, 800}));
    options.arrangement.isUpwards = true;
    EXPECT_EQ(corner(0), (job::Area{300, 0, 600, 400}));
}

TEST(JobPlacement, TheTwoPagesOfABookletStandBesideEachOtherHoweverWide)
{
    job::Arrangement arrangement = perSide(2);
    arrangement.isBooklet = true;
    EXPECT_EQ(job::sideFor(800, 600, optionsFor(FITTING, arrangement)).columns, 2);
    EXPECT_EQ(job::sideFor(600, 800, optionsFor(FITTING, arrangement)).columns, 2);
}

TEST(JobPlacement, APageIsCutAtTheEdgesOfItsCell)
{
    job::Options options = optionsFor({600, 800, job::Scaling::SHRINK}, perSide(4));
    job::Side side = job::sideFor(600, 800, options);
    job::Placement wide = job::placePage(side, 1200, 100, 3, options);
    EXPECT_EQ(wide.covered, (job::Area{300, 200 - 12.5, 600, 200 + 12.5}));
}

/* ---- one page over several sides */

TEST(JobPlacement, ThePartsOfAPosterMakeThePageTogether)
{
    job::Arrangement arrangement;
    arrangement.tilesAcross = 2;
    arrangement.tilesDown = 3;
    job::Options options = optionsFor({400, 300, job::Scaling::FIT}, arrangement);
    const job::Area parts[] = {{0, 200, 200, 300},   {200, 200, 400, 300}, {0, 100, 200, 200},
                               {200, 100, 400, 200}, {0, 0, 200, 100},     {200, 0, 400, 100}};
    options.paper = {400, 200, job::Scaling::FIT};
    for (int n = 0; n < 6; n++) {
        job::Placement part = placed(400, 300, options, n);
        EXPECT_EQ(part.seen, parts[n]) << n;
        EXPECT_EQ(part.covered, (job::Area{0, 0, 400, 200})) << n;
    }
}

} // namespace
