/*
 * blends_test.cpp - every kind of paint over every other, by blend mode and alpha
 *
 * Colours are read back from the job at points, and held against the formulas of ISO 32000-1, 11.3:
 * what lies on the page is its backdrop, the page group is isolated, and paper is white.
 *
 * A run prints for each pair of paints BLENDS_EACH (3) of the 32 modes with an alpha, others for
 * each pair.
 */
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <fstream>

#include "tests/generated/paints.h"
#include "tests/postscript/print_job.h"
#include "tests/support/picture.h"
#include "tests/support/printing.h"

namespace {

constexpr int SIDE = 24, DPI = 72, TOLERANCE = 14;
constexpr Rectangle BELOW = {2, 2, 16}, ABOVE = {6, 6, 16}, WITHIN = {6, 6, 10};
constexpr Rgb BELOW_COLOUR = {0.8, 0.4, 0.2}, ABOVE_COLOUR = {0.3, 0.6, 0.9};

constexpr const char *MODES[] = {"Normal",    "Multiply",   "Screen",     "Overlay",
                                 "Darken",    "Lighten",    "ColorDodge", "ColorBurn",
                                 "HardLight", "SoftLight",  "Difference", "Exclusion",
                                 "Hue",       "Saturation", "Color",      "Luminosity"};
constexpr int MODE_COUNT = 16;

/* ---- the formulas */

double separable(const std::string &mode, double b, double s)
{
    auto hardLight = [](double x, double y) { /* y decides */
                                              return y <= 0.5 ? x * 2 * y
                                                              : x + (2 * y - 1) - x * (2 * y - 1);
    };
    if (mode == "Multiply")
        return b * s;
    if (mode == "Screen")
        return b + s - b * s;
    if (mode == "Overlay")
        return hardLight(s, b);
    if (mode == "Darken")
        return std::min(b, s);
    if (mode == "Lighten")
        return std::max(b, s);
    if (mode == "ColorDodge")
        return s < 1 ? std::min(1.0, b / (1 - s)) : 1;
    if (mode == "ColorBurn")
        return s > 0 ? 1 - std::min(1.0, (1 - b) / s) : 0;
    if (mode == "HardLight")
        return hardLight(b, s);
    if (mode == "SoftLight" && s <= 0.5)
        return b - (1 - 2 * s) * b * (1 - b);
    if (mode == "SoftLight")
        return b + (2 * s - 1) * ((b <= 0.25 ? ((16 * b - 12) * b + 4) * b : std::sqrt(b)) - b);
    if (mode == "Difference")
        return std::abs(b - s);
    if (mode == "Exclusion")
        return b + s - 2 * b * s;
    return s;
}

double lum(const Rgb &c)
{
    return 0.3 * c[0] + 0.59 * c[1] + 0.11 * c[2];
}

double sat(const Rgb &c)
{
    return *std::ranges::max_element(c) - *std::ranges::min_element(c);
}

Rgb setLum(Rgb c, double l)
{
    double d = l - lum(c);
    for (double &value : c)
        value += d;
    double least = *std::ranges::min_element(c), most = *std::ranges::max_element(c);
    for (double &value : c) {
        if (least < 0)
            value = l + (value - l) * l / (l - least);
        if (most > 1)
            value = l + (value - l) * (1 - l) / (most - l);
    }
    return c;
}

Rgb setSat(Rgb c, double s)
{
    double least = *std::ranges::min_element(c), span = sat(c);
    for (double &value : c)
        value = span > 0 ? (value - least) * s / span : 0;
    return c;
}

Rgb blended(const std::string &mode, const Rgb &b, const Rgb &s)
{
    if (mode == "Hue")
        return setLum(setSat(s, sat(b)), lum(b));
    if (mode == "Saturation")
        return setLum(setSat(b, sat(s)), lum(b));
    if (mode == "Color")
        return setLum(s, lum(b));
    if (mode == "Luminosity")
        return setLum(b, lum(s));
    Rgb result;
    for (size_t i = 0; i < 3; i++)
        result[i] = separable(mode, b[i], s[i]);
    return result;
}

/* What is seen of a source over a backdrop, both with their alpha, on white paper. */
Colour seen(const std::string &mode, const PointPaint &b, const PointPaint &s)
{
    double alpha = b.alpha + s.alpha - b.alpha * s.alpha;
    Rgb mixed = blended(mode, b.colour, s.colour);
    auto channel = [&](size_t i) {
        if (alpha <= 0)
            return 255;
        double own = (1 - b.alpha) * s.colour[i] + b.alpha * mixed[i];
        double value = (1 - s.alpha / alpha) * b.colour[i] + s.alpha / alpha * own;
        return (int)std::lround(255 * (1 - alpha + alpha * value));
    };
    return {channel(0), channel(1), channel(2)};
}

/* ---- the pages */

struct Case {
    PaintKind below, above;
    const char *mode;
    double alpha;
    bool isWithin; /* all of it lies on what is below */
};

std::string told(const Case &c)
{
    return std::string(nameOf(c.above)) + " over " + nameOf(c.below) + ", " + c.mode + ", alpha " +
           std::to_string(c.alpha).substr(0, 3) + (c.isWithin ? ", within" : "");
}

const Rectangle &placeOf(const Case &c)
{
    return c.isWithin ? WITHIN : ABOVE;
}

std::vector<Case> casesOf(int each)
{
    std::vector<Case> cases;
    int next = 0;
    for (int below = 0; below < (int)PaintKind::COUNT; below++)
        for (int above = 0; above < (int)PaintKind::COUNT; above++)
            for (int i = 0; i < each; i++) {
                int which = each >= 2 * MODE_COUNT ? i : next;
                next = (next + 11) % (2 * MODE_COUNT);
                cases.push_back({(PaintKind)below, (PaintKind)above, MODES[which % MODE_COUNT],
                                 which < MODE_COUNT ? 1.0 : 0.5, (below + above + i) % 2 == 0});
            }
    return cases;
}

void addPage(PdfBuilder *pdf, const Case &c)
{
    PaintedPage page(pdf);
    page.paint(c.below, BELOW_COLOUR, BELOW);
    std::string alpha = c.alpha < 1 ? "/ca 0.5 /CA 0.5 " : "";
    page.add(page.name("/ExtGState", "<< /BM /" + std::string(c.mode) + " " + alpha + ">>") +
             " gs");
    page.paint(c.above, ABOVE_COLOUR, placeOf(c));
    page.finish(SIDE);
}

bool isToldOf(const PrintRun &run, size_t page)
{
    const std::string mark = ": page " + std::to_string(page) + ": ";
    return std::ranges::any_of(run.messages, [&](const std::string &message) {
        return message.find(mark) != std::string::npos;
    });
}

/* Where both are, and where each is alone. */
void expectColours(const Picture &page, const Case &c)
{
    constexpr PointPaint NOTHING = {{1, 1, 1}, 0};
    auto below = [&](double x) { return paintAt(c.below, BELOW_COLOUR, BELOW, x); };
    auto above = [&](double x) {
        PointPaint paint = paintAt(c.above, ABOVE_COLOUR, placeOf(c), x);
        paint.alpha *= c.alpha;
        return paint;
    };
    auto expect = [&](double x, double y, const PointPaint &b, const PointPaint &s) {
        EXPECT_TRUE(hasColour(page, x, y, seen(c.mode, b, s), DPI, TOLERANCE)) << told(c);
    };
    expect(8.5, 8.5, below(8.5), above(8.5));
    expect(4.5, 4.5, below(4.5), NOTHING);
    if (!c.isWithin)
        expect(20.5, 8.5, NOTHING, above(20.5));
}

void expectBlends(const std::vector<Case> &cases)
{
    PdfBuilder pdf;
    for (const Case &c : cases)
        addPage(&pdf, c);
    const std::string bytes = pdf.build();
    if (const char *kept = getenv("GENERATED_KEEP")) /* a directory to put the document into */
        std::ofstream(std::string(kept) + "/" + told(cases[0]) + ".pdf") << bytes;
    PrintRun run = printPdf(bytes);
    ASSERT_TRUE(run.status == 0 || run.status == 3) << testing::PrintToString(run.messages);
    PrintedJob job = printFile(run.output, DPI);
    EXPECT_EQ(faultsOf(job), std::vector<std::string>());
    ASSERT_EQ(job.pages.size(), cases.size());
    size_t said = 0;
    for (size_t i = 0; i < cases.size(); i++) {
        bool isSaid = isToldOf(run, i + 1);
        said += isSaid;
        if (!isSaid)
            expectColours(job.pages[i], cases[i]);
    }
    EXPECT_EQ(said, 0u) << testing::PrintToString(run.messages);
}

} // namespace

TEST(Blends, EveryPaintOverEveryOtherHasTheColourOfTheFormulas)
{
    const char *each = getenv("BLENDS_EACH");
    constexpr size_t BATCH = 256;
    std::vector<Case> cases = casesOf(each ? atoi(each) : 3);
    for (size_t begin = 0; begin < cases.size(); begin += BATCH) {
        size_t end = std::min(cases.size(), begin + BATCH);
        expectBlends({cases.begin() + (long)begin, cases.begin() + (long)end});
    }
}
