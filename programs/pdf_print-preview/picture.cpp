/*
 * picture.cpp - rendered pages: read, compared, written for a browser
 */
#include "programs/pdf_print-preview/picture.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <new>
#include <span>

#include <zlib.h>

namespace {

constexpr int DIFFERENT = 48;     /* of 255, in one channel of a smoothed pixel */
constexpr int SIZE_TOLERANCE = 2; /* pixels */
constexpr int64_t MOST_PIXELS = 64'000'000;

/* ---- comparing */

/* A smoothed picture, half the size; each channel is the sum of 36 values. */
struct Smooth {
    int width, height;
    std::vector<int> sums;
};

/* Means over 3 by 3 pixels, then over 2 by 2 of those: of 4 by 4 pixels the middle ones count twice
 * in each direction.  The picture is first moved by (dx, dy); what stands at an edge goes on. */
Smooth smoothed(const Picture &p, int dx, int dy)
{
    constexpr int weights[4] = {1, 2, 2, 1};
    Smooth smooth = {std::max(1, p.width / 2), std::max(1, p.height / 2), {}};
    size_t rowLength = 3 * (size_t)smooth.width;
    smooth.sums.assign(rowLength * (size_t)smooth.height, 0);
    std::vector<int> columns(rowLength * (size_t)p.height); /* summed along the rows */
    for (int y = 0; y < p.height; y++)
        for (int x = 0; x < smooth.width; x++)
            for (int i = 0; i < 4; i++) {
                const uint8_t *from = p.at(std::clamp(2 * x + i - 1 - dx, 0, p.width - 1), y);
                for (size_t c = 0; c < 3; c++)
                    columns[(size_t)y * rowLength + 3 * (size_t)x + c] += weights[i] * from[c];
            }
    for (int y = 0; y < smooth.height; y++)
        for (int j = 0; j < 4; j++) {
            int row = std::clamp(2 * y + j - 1 - dy, 0, p.height - 1);
            for (size_t i = 0; i < rowLength; i++)
                smooth.sums[(size_t)y * rowLength + i] +=
                    weights[j] * columns[(size_t)row * rowLength + i];
        }
    return smooth;
}

/* Which pixels of two smoothed pictures differ, and the shares that they are of. */
struct Comparison {
    double area, ink;
    std::vector<bool> differs; /* width of the smaller picture by its height */
    int width;
};

Comparison compare(const Smooth &a, const Smooth &b)
{
    constexpr int WHITE = 36 * 255, BOUND = 36 * DIFFERENT;
    int width = std::min(a.width, b.width), height = std::min(a.height, b.height);
    Comparison comparison = {0, 0, {}, width};
    size_t different = 0, inked = 0;
    for (int y = 0; y < height; y++)
        for (int x = 0; x < width; x++) {
            const int *p = &a.sums[3 * ((size_t)y * (size_t)a.width + (size_t)x)];
            const int *q = &b.sums[3 * ((size_t)y * (size_t)b.width + (size_t)x)];
            int most = 0, ink = 0;
            for (int c = 0; c < 3; c++) {
                most = std::max(most, std::abs(p[c] - q[c]));
                ink = std::max({ink, WHITE - p[c], WHITE - q[c]});
            }
            comparison.differs.push_back(most > BOUND);
            different += most > BOUND;
            inked += ink > BOUND;
        }
    comparison.area = (double)different / ((double)width * height);
    comparison.ink = inked ? (double)different / (double)inked : 0;
    return comparison;
}

/* The picture in light grey, with the differing pixels, which are twice as large, in red. */
Picture mark(const Picture &picture, const Comparison &comparison)
{
    Picture marked = picture;
    for (int y = 0; y < marked.height; y++)
        for (int x = 0; x < marked.width; x++) {
            uint8_t *pixel = marked.at(x, y);
            size_t index = (size_t)(y / 2) * (size_t)comparison.width + (size_t)(x / 2);
            bool differs = x / 2 < comparison.width && index < comparison.differs.size() &&
                           comparison.differs[index];
            int grey = (pixel[0] + pixel[1] + pixel[2]) / 3;
            pixel[0] = (uint8_t)(differs ? 220 : 170 + grey / 3);
            pixel[1] = pixel[2] = (uint8_t)(differs ? 0 : 170 + grey / 3);
        }
    return marked;
}

/* ---- PNG */

void putNumber(std::string *to, uint32_t value)
{
    for (int shift = 24; shift >= 0; shift -= 8)
        *to += (char)(value >> shift);
}

void putChunk(std::string *png, const char *type, const std::string &data)
{
    putNumber(png, (uint32_t)data.size());
    std::string body = type + data;
    *png += body;
    putNumber(png, (uint32_t)crc32(0, (const Bytef *)body.data(), (uInt)body.size()));
}

std::string pngOf(const Picture &picture)
{
    std::string rows;
    size_t rowLength = 3 * (size_t)picture.width;
    for (int y = 0; y < picture.height; y++) {
        rows += '\0'; /* no filter */
        rows.append((const char *)&picture.rgb[(size_t)y * rowLength], rowLength);
    }
    uLongf length = compressBound((uLong)rows.size());
    std::string data(length, '\0');
    if (compress2((Bytef *)data.data(), &length, (const Bytef *)rows.data(), (uLong)rows.size(),
                  Z_BEST_COMPRESSION) != Z_OK)
        throw std::bad_alloc();
    data.resize(length);
    std::string header;
    putNumber(&header, (uint32_t)picture.width);
    putNumber(&header, (uint32_t)picture.height);
    header += std::string("\x08\x02\0\0\0", 5); /* 8 bits, red green blue */
    std::string png = "\x89PNG\r\n\x1a\n";
    putChunk(&png, "IHDR", header);
    putChunk(&png, "IDAT", data);
    putChunk(&png, "IEND", "");
    return png;
}

std::string base64(const std::string &bytes)
{
    constexpr char digits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    for (size_t i = 0; i < bytes.size(); i += 3) {
        size_t count = std::min<size_t>(3, bytes.size() - i);
        uint32_t group = 0;
        for (size_t j = 0; j < 3; j++)
            group = group << 8 | (j < count ? (uint8_t)bytes[i + j] : 0u);
        for (size_t j = 0; j < 4; j++)
            text += j <= count ? digits[group >> (18 - 6 * j) & 63] : '=';
    }
    return text;
}

} // namespace

bool readPicture(const std::string &path, Picture *picture)
{
    std::unique_ptr<FILE, int (*)(FILE *)> file(fopen(path.c_str(), "rb"), fclose);
    int width = 0, height = 0, depth = 0;
    if (!file || fgetc(file.get()) != 'P' || fgetc(file.get()) != '6')
        return false;
    for (int *number : {&width, &height, &depth}) {
        int c = fgetc(file.get());
        while (c == '#' || c == ' ' || c == '\n')
            if (c == '#')
                while (c != '\n' && c != EOF)
                    c = fgetc(file.get());
            else
                c = fgetc(file.get());
        for (; c >= '0' && c <= '9' && *number < 1'000'000; c = fgetc(file.get()))
            *number = *number * 10 + (c - '0');
    }
    if (depth != 255 || width < 1 || height < 1 || (int64_t)width * height > MOST_PIXELS)
        return false;
    picture->width = width;
    picture->height = height;
    picture->rgb.resize(3 * (size_t)width * (size_t)height);
    return fread(picture->rgb.data(), 1, picture->rgb.size(), file.get()) == picture->rgb.size();
}

Difference comparePictures(const Picture &candidate, const Picture &reference)
{
    Difference difference;
    if (std::abs(candidate.width - reference.width) > SIZE_TOLERANCE ||
        std::abs(candidate.height - reference.height) > SIZE_TOLERANCE)
        return difference;
    Smooth wanted = smoothed(reference, 0, 0);
    Comparison best = compare(smoothed(candidate, 0, 0), wanted);
    for (int dy = -1; dy <= 1; dy++)
        for (int dx = -1; dx <= 1; dx++)
            if ((dx || dy) && best.area > 0)
                if (Comparison other = compare(smoothed(candidate, dx, dy), wanted);
                    other.area < best.area)
                    best = std::move(other);
    difference.isSameSize = true;
    difference.area = best.area;
    difference.ink = best.ink;
    difference.marked = mark(reference, best);
    return difference;
}

std::string dataAddress(const Picture &picture)
{
    return "data:image/png;base64," + base64(pngOf(picture));
}
