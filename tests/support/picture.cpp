/*
 * picture.cpp - reads rendered pages and compares them
 */
#include "tests/support/picture.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>

#include "tests/support/run_program.h"
#include "tests/support/scratch_directory.h"

namespace {

constexpr int DIFFERENT = 48; /* of 255, in one channel of a smoothed pixel */
constexpr double AREA_OK = 0.01;
constexpr double INK_OK = 0.25;
constexpr int SIZE_TOLERANCE = 2; /* pixels */
constexpr double POINTS_PER_INCH = 72;

/* A smoothed picture, half the size. */
struct Smooth {
    int width, height;
    std::vector<float> rgb;

    const float *at(int x, int y) const
    {
        return &rgb[3 * ((size_t)y * (size_t)width + (size_t)x)];
    }
};

/* The sum over 3 by 3 pixels around (x, y), the outermost pixels counting twice at the edges; the
 * picture is first moved round by (dx, dy). */
void addAround(const Picture &p, int x, int y, int dx, int dy, float sum[3])
{
    for (int j = -1; j <= 1; j++) {
        for (int i = -1; i <= 1; i++) {
            int px = std::clamp(x + i, 0, p.width - 1) - dx;
            int py = std::clamp(y + j, 0, p.height - 1) - dy;
            const uint8_t *from = p.at((px + p.width) % p.width, (py + p.height) % p.height);
            for (int c = 0; c < 3; c++)
                sum[c] += from[c];
        }
    }
}

Smooth smoothed(const Picture &p, int dx, int dy)
{
    Smooth s = {std::max(1, p.width / 2), std::max(1, p.height / 2), {}};
    s.rgb.reserve(3 * (size_t)s.width * (size_t)s.height);
    for (int y = 0; y < s.height; y++) {
        for (int x = 0; x < s.width; x++) {
            float sum[3] = {};
            for (int j = 0; j < 2; j++)
                for (int i = 0; i < 2; i++)
                    addAround(p, std::min(2 * x + i, p.width - 1),
                              std::min(2 * y + j, p.height - 1), dx, dy, sum);
            for (float channel : sum)
                s.rgb.push_back(channel / 36);
        }
    }
    return s;
}

/* (area, ink) as one pair, so that two of them can be compared. */
std::pair<double, double> differing(const Smooth &a, const Smooth &b)
{
    int width = std::min(a.width, b.width), height = std::min(a.height, b.height);
    size_t different = 0, inked = 0;
    for (int y = 0; y < height; y++) {
        for (int x = 0; x < width; x++) {
            const float *p = a.at(x, y), *q = b.at(x, y);
            float most = 0, ink = 0;
            for (int c = 0; c < 3; c++) {
                most = std::max(most, std::fabs(p[c] - q[c]));
                ink = std::max({ink, 255 - p[c], 255 - q[c]});
            }
            different += most > DIFFERENT;
            inked += ink > DIFFERENT;
        }
    }
    return {(double)different / ((double)width * height),
            inked ? (double)different / (double)inked : 0};
}

/* The number at *position of a header, past white space and comments. */
int headerNumber(const std::string &file, size_t *position)
{
    while (*position < file.size() && !isdigit((unsigned char)file[*position]))
        *position = file[*position] == '#' ? file.find('\n', *position) : *position + 1;
    int value = 0;
    while (*position < file.size() && isdigit((unsigned char)file[*position]))
        value = value * 10 + (file[(*position)++] - '0');
    return value;
}

} // namespace

Picture readPicture(const std::string &path)
{
    std::string file = readFile(path);
    Picture picture;
    if (!file.starts_with("P6") && !file.starts_with("P5")) {
        ADD_FAILURE() << path << " is no picture";
        return picture;
    }
    size_t channels = file[1] == '6' ? 3 : 1, position = 2;
    picture.width = headerNumber(file, &position);
    picture.height = headerNumber(file, &position);
    int depth = headerNumber(file, &position);
    position++;
    size_t pixels = (size_t)picture.width * (size_t)picture.height;
    if (depth != 255 || file.size() < position + channels * pixels) {
        ADD_FAILURE() << path << " is not complete";
        return {};
    }
    for (size_t i = 0; i < pixels * 3; i++)
        picture.rgb.push_back((uint8_t)file[position + (channels == 3 ? i : i / 3)]);
    return picture;
}

PictureDifference comparePictures(const Picture &candidate, const Picture &reference)
{
    if (candidate.rgb.empty() || reference.rgb.empty() ||
        std::abs(candidate.width - reference.width) > SIZE_TOLERANCE ||
        std::abs(candidate.height - reference.height) > SIZE_TOLERANCE)
        return {false, 1, 1};
    Smooth wanted = smoothed(reference, 0, 0);
    auto best = differing(smoothed(candidate, 0, 0), wanted);
    for (int dy = -1; dy <= 1; dy++)
        for (int dx = -1; dx <= 1; dx++)
            if ((dx || dy) && (best.first >= 0.002 || best.second >= 0.10))
                best = std::min(best, differing(smoothed(candidate, dx, dy), wanted));
    return {true, best.first, best.second};
}

bool isRight(const PictureDifference &difference)
{
    return difference.sameSize && difference.area < AREA_OK && difference.ink < INK_OK;
}

std::string describe(const PictureDifference &difference)
{
    if (!difference.sameSize)
        return "another size";
    char text[80];
    snprintf(text, sizeof text, "area %.2f %%, ink %.1f %%", 100 * difference.area,
             100 * difference.ink);
    return text;
}

bool isBlank(const Picture &picture)
{
    return std::all_of(picture.rgb.begin(), picture.rgb.end(),
                       [](uint8_t channel) { return channel > 255 - DIFFERENT; });
}

std::vector<Picture> renderPdf(const std::string &bytes, int dpi, Renderer renderer)
{
    ScratchDirectory directory;
    ProgramOptions options;
    options.directory = directory.path;
    directory.write("in.pdf", bytes);
    const std::string resolution = std::to_string(dpi);
    std::vector<std::string> command;
    if (renderer == Renderer::MUPDF)
        command = {"mutool", "draw", "-q", "-c", "rgb", "-r", resolution, "-o", "p-%06d.ppm"};
    else if (renderer == Renderer::GHOSTSCRIPT)
        command = {"gs",
                   "-dSAFER",
                   "-dBATCH",
                   "-dNOPAUSE",
                   "-q",
                   "-sDEVICE=ppmraw",
                   "-dTextAlphaBits=4",
                   "-dGraphicsAlphaBits=4",
                   "-dUseCropBox",
                   "-r" + resolution,
                   "-sOutputFile=p-%06d.ppm"};
    else
        command = {"pdftoppm", "-q", "-cropbox", "-r", resolution};
    command.push_back("in.pdf");
    if (renderer == Renderer::POPPLER)
        command.push_back("p");
    ProgramResult result = runProgram(command, options);
    EXPECT_TRUE(result.status == 0 || renderer == Renderer::GHOSTSCRIPT) << result.err;
    std::vector<Picture> pages;
    for (const std::string &name : directory.names()) /* in order */
        if (name.starts_with("p-"))
            pages.push_back(readPicture(directory / name));
    return pages;
}

void PrintTo(const Colour &colour, std::ostream *out)
{
    *out << "(" << colour.red << " " << colour.green << " " << colour.blue << ")";
}

Colour colourAt(const Picture &page, double x, double y, int dpi)
{
    int column = (int)std::floor(x * dpi / POINTS_PER_INCH);
    int row = page.height - 1 - (int)std::floor(y * dpi / POINTS_PER_INCH);
    if (column < 0 || column >= page.width || row < 0 || row >= page.height) {
        ADD_FAILURE() << "(" << x << ", " << y << ") is outside the page";
        return {};
    }
    const uint8_t *colour = page.at(column, row);
    return {colour[0], colour[1], colour[2]};
}

testing::AssertionResult hasColour(const Picture &page, double x, double y, Colour wanted, int dpi,
                                   int tolerance)
{
    Colour found = colourAt(page, x, y, dpi);
    int off = std::max({std::abs(found.red - wanted.red), std::abs(found.green - wanted.green),
                        std::abs(found.blue - wanted.blue)});
    return (off <= tolerance ? testing::AssertionSuccess() : testing::AssertionFailure())
           << testing::PrintToString(found) << " at (" << x << ", " << y << "), wanted "
           << testing::PrintToString(wanted);
}

PointBox drawnBox(const Picture &page, int dpi)
{
    int left = page.width, right = 0, top = page.height, bottom = 0;
    for (int y = 0; y < page.height; y++) {
        for (int x = 0; x < page.width; x++) {
            const uint8_t *colour = page.at(x, y);
            if (std::min({colour[0], colour[1], colour[2]}) > 255 - DIFFERENT)
                continue;
            left = std::min(left, x);
            right = std::max(right, x + 1);
            top = std::min(top, y);
            bottom = std::max(bottom, y + 1);
        }
    }
    if (right == 0)
        return {};
    const double point = POINTS_PER_INCH / dpi;
    return {left * point, (page.height - bottom) * point, right * point,
            (page.height - top) * point};
}

testing::AssertionResult isDrawnIn(const Picture &page, PointBox wanted, int dpi, double tolerance)
{
    PointBox found = drawnBox(page, dpi);
    bool isThere = std::fabs(found.left - wanted.left) <= tolerance &&
                   std::fabs(found.bottom - wanted.bottom) <= tolerance &&
                   std::fabs(found.right - wanted.right) <= tolerance &&
                   std::fabs(found.top - wanted.top) <= tolerance;
    return (isThere ? testing::AssertionSuccess() : testing::AssertionFailure())
           << "drawn in [" << found.left << " " << found.bottom << " " << found.right << " "
           << found.top << "]";
}
