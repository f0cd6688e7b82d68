/*
 * generated_test.cpp - documents drawn at random print in the colours that renderers draw
 *
 * A page is looked at in points.  A point counts where three renderers of the PDF agree, and where
 * nothing near it changes; what the job shows there must be that colour.
 *
 * GENERATED_DOCUMENTS in the environment sets how many pages are drawn, GENERATED_SEED the first
 * one's seed, which a failure tells.
 */
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>

#include "tests/generated/generator.h"
#include "tests/postscript/print_job.h"
#include "tests/support/picture.h"
#include "tests/support/printing.h"
#include "tests/support/scratch_directory.h"

namespace {

constexpr int DPI = 72;
constexpr int STEP = 8;       /* pixels between two points */
constexpr int ALIKE = 24;     /* of 255, between two renderers, and between neighbours */
constexpr int SAME = 40;      /* between the job and the renderers */
constexpr int FEW_IN_100 = 1; /* points beside an edge that renderers place otherwise */
constexpr int BATCH = 15;     /* pages of a document */

using Pages = std::vector<Picture>;

int distance(const uint8_t *a, const uint8_t *b)
{
    return std::max({std::abs(a[0] - b[0]), std::abs(a[1] - b[1]), std::abs(a[2] - b[2])});
}

/* Nothing changes within two pixels. */
bool isEven(const Picture &picture, int x, int y)
{
    for (int dy = -2; dy <= 2; dy++)
        for (int dx = -2; dx <= 2; dx++)
            if (distance(picture.at(x, y), picture.at(x + dx, y + dy)) > ALIKE)
                return false;
    return true;
}

std::string told(const Picture &picture, int x, int y)
{
    const uint8_t *colour = picture.at(x, y);
    return "(" + std::to_string(colour[0]) + " " + std::to_string(colour[1]) + " " +
           std::to_string(colour[2]) + ")";
}

struct PointsSeen {
    int counted = 0, wrong = 0;
    std::string first; /* of the wrong ones */
};

PointsSeen look(const Picture &job, const std::vector<const Picture *> &references)
{
    PointsSeen seen;
    const Picture &wanted = *references[0];
    for (int y = STEP / 2; y < wanted.height - 2; y += STEP) {
        for (int x = STEP / 2; x < wanted.width - 2; x += STEP) {
            bool isClear =
                std::all_of(references.begin(), references.end(), [&](const Picture *reference) {
                    return isEven(*reference, x, y) &&
                           distance(reference->at(x, y), wanted.at(x, y)) <= ALIKE;
                });
            if (!isClear)
                continue;
            seen.counted++;
            if (distance(job.at(x, y), wanted.at(x, y)) <= SAME)
                continue;
            if (seen.wrong++ == 0)
                seen.first = "at (" + std::to_string(x) + ", " + std::to_string(y) + ") " +
                             told(job, x, y) + " for " + told(wanted, x, y);
        }
    }
    return seen;
}

bool isToldOf(const PrintRun &run, size_t page)
{
    const std::string mark = ": page " + std::to_string(page) + ": ";
    return std::any_of(run.messages.begin(), run.messages.end(), [&](const std::string &message) {
        return message.find(mark) != std::string::npos;
    });
}

/* Prints pages of these seeds as one document and looks at each. */
void expectDrawnAsMeant(const std::vector<uint32_t> &seeds)
{
    GeneratedDocument document;
    std::vector<std::string> traits;
    for (uint32_t seed : seeds)
        traits.push_back(document.addPage(seed));
    const std::string pdf = document.build();
    if (const char *kept = getenv("GENERATED_KEEP")) /* a directory to put the document into */
        std::ofstream(std::string(kept) + "/" + std::to_string(seeds[0]) + ".pdf") << pdf;
    PrintRun run = printPdf(pdf);
    ASSERT_TRUE(run.status == 0 || run.status == 3) << testing::PrintToString(run.messages);
    PrintedJob job = printFile(run.output, DPI);
    EXPECT_EQ(faultsOf(job), std::vector<std::string>());
    const std::vector<Pages> references = {renderPdf(pdf, DPI, Renderer::GHOSTSCRIPT),
                                           renderPdf(pdf, DPI, Renderer::MUPDF),
                                           renderPdf(pdf, DPI, Renderer::POPPLER)};
    ASSERT_EQ(job.pages.size(), seeds.size());
    int counted = 0, looked = 0;
    for (size_t i = 0; i < seeds.size(); i++) {
        std::vector<const Picture *> pages;
        for (const Pages &reference : references) {
            ASSERT_EQ(reference.size(), seeds.size());
            pages.push_back(&reference[i]);
        }
        if (isToldOf(run, i + 1)) /* prints otherwise, and says so */
            continue;
        PointsSeen seen = look(job.pages[i], pages);
        looked++;
        counted += seen.counted;
        EXPECT_LE(100 * seen.wrong, FEW_IN_100 * seen.counted)
            << "seed " << seeds[i] << ": " << seen.wrong << " of " << seen.counted << " points, "
            << seen.first << "; " << traits[i];
    }
    /* A third of the points is far from edges, and losses are few. */
    constexpr int POINTS = (200 / STEP) * (200 / STEP);
    EXPECT_GT(counted, looked * POINTS / 3);
    EXPECT_GE(3 * looked, 2 * (int)seeds.size()) << testing::PrintToString(run.messages);
}

uint32_t setting(const char *name, uint32_t otherwise)
{
    const char *value = getenv(name);
    return value ? (uint32_t)strtoul(value, nullptr, 10) : otherwise;
}

} // namespace

TEST(Generated, PagesHaveTheColoursThatRenderersDraw)
{
    const uint32_t first = setting("GENERATED_SEED", 1),
                   count = setting("GENERATED_DOCUMENTS", 15);
    for (uint32_t begin = 0; begin < count; begin += BATCH) {
        std::vector<uint32_t> seeds;
        for (uint32_t i = begin; i < std::min(count, begin + BATCH); i++)
            seeds.push_back(first + i);
        expectDrawnAsMeant(seeds);
    }
}

/* Pages that came out wrong when forms that are written anew (for alpha, for a group, for a space
 * that PostScript has not) lost what they inherit: a pattern or a space of their caller. */
TEST(Generated, FormsKeepWhatTheyInherit)
{
    expectDrawnAsMeant({9, 15, 16, 54, 86, 103, 152, 176, 178, 188, 192, 200, 209, 224, 294, 296});
}
