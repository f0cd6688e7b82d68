/*
 * picture.cpp - reads rendered pages and compares them
 */
#include "tests/support/picture.h"

#include <algorithm>
#include <array>
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

/* For each pixel of a side of `size` that is smoothed and halved, the six places along it whose
 * means it holds: those around each of its two pixels, the outermost counting twice at the edges.
 * The picture is first moved round by `move`. */
using Places = std::array<size_t, 6>;

std::vector<Places> placesAlong(int size, int move)
{
    std::vector<Places> all((size_t)std::max(1, size / 2));
    for (size_t i = 0; i < all.size(); i++) {
        for (int half = 0; half < 2; half++) {
            int centre = std::min(2 * (int)i + half, size - 1);
            for (int side = -1; side <= 1; side++) {
                int place = std::clamp(centre + side, 0, size - 1) - move;
                all[i][(size_t)(3 * half + side + 1)] = (size_t)((place + size) % size);
            }
        }
    }
    return all;
}

/* Along the rows first, then along the columns of what has come out. */
Smooth smoothed(const Picture &p, int dx, int dy)
{
    const std::vector<Places> columns = placesAlong(p.width, dx), rows = placesAlong(p.height, dy);
    const size_t row = 3 * columns.size();
    std::vector<uint16_t> narrow;
    narrow.reserve(row * (size_t)p.height);
    for (int y = 0; y < p.height; y++) {
        const uint8_t *from = p.at(0, y);
        for (const Places &places : columns)
            for (size_t c = 0; c < 3; c++) {
                int sum = 0;
                for (size_t place : places)
                    sum += from[3 * place + c];
                narrow.push_back((uint16_t)sum);
            }
    }
    Smooth s = {(int)columns.size(), (int)rows.size(), {}};
    s.rgb.reserve(row * rows.size());
    for (const Places &places : rows)
        for (size_t i = 0; i < row; i++) {
            int sum = 0;
            for (size_t place : places)
                sum += narrow[place * row + i];
            s.rgb.push_back((float)sum / 36);
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

/* The least or the greatest of each value and its neighbours, along rows and then along columns. */
template <class Choose> Smooth spread(const Smooth &s, Choose choose)
{
    Smooth rows = s, all = s;
    const size_t row = 3 * (size_t)s.width, count = s.rgb.size();
    for (size_t i = 0; i < count; i++) {
        if (i % row >= 3)
            rows.rgb[i] = choose(rows.rgb[i], s.rgb[i - 3]);
        if (i % row + 3 < row)
            rows.rgb[i] = choose(rows.rgb[i], s.rgb[i + 3]);
    }
    for (size_t i = 0; i < count; i++) {
        all.rgb[i] = rows.rgb[i];
        if (i >= row)
            all.rgb[i] = choose(all.rgb[i], rows.rgb[i - row]);
        if (i + row < count)
            all.rgb[i] = choose(all.rgb[i], rows.rgb[i + row]);
    }
    return all;
}

/* (area, ink) of what in `a` is like nothing around the same place in `b`. */
std::pair<double, double> outside(const Smooth &a, const Smooth &b)
{
    Smooth least = spread(b, [](float p, float q) { return std::min(p, q); });
    Smooth most = spread(b, [](float p, float q) { return std::max(p, q); });
    int width = std::min(a.width, b.width), height = std::min(a.height, b.height);
    size_t different = 0, inked = 0;
    for (int y = 0; y < height; y++) {
        for (int x = 0; x < width; x++) {
            const float *p = a.at(x, y), *q = b.at(x, y);
            bool isOutside = false;
            float ink = 0;
            for (int c = 0; c < 3; c++) {
                isOutside |=
                    p[c] < least.at(x, y)[c] - DIFFERENT || p[c] > most.at(x, y)[c] + DIFFERENT;
                ink = std::max({ink, 255 - p[c], 255 - q[c]});
            }
            different += isOutside;
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
    picture.rgb.resize(pixels * 3);
    for (size_t i = 0; i < pixels * 3; i++)
        picture.rgb[i] = (uint8_t)file[position + (channels == 3 ? i : i / 3)];
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

PictureDifference compareBesideEdges(const Picture &candidate, const Picture &reference)
{
    if (candidate.rgb.empty() || reference.rgb.empty() ||
        std::abs(candidate.width - reference.width) > SIZE_TOLERANCE ||
        std::abs(candidate.height - reference.height) > SIZE_TOLERANCE)
        return {false, 1, 1};
    Smooth a = smoothed(candidate, 0, 0), b = smoothed(reference, 0, 0);
    auto one = outside(a, b), other = outside(b, a);
    return {true, std::max(one.first, other.first), std::max(one.second, other.second)};
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
