/*
 * place.cpp - where a page lies on its paper
 */
#include "job/place.h"

#include <algorithm>
#include <cmath>

namespace job {

bool Placement::isIdentity() const
{
    constexpr double identity[6] = {1, 0, 0, 1, 0, 0};
    return std::equal(matrix, matrix + 6, identity);
}

Placement placePage(int64_t width, int64_t height, const Paper &paper)
{
    bool isEmpty = width <= 0 || height <= 0;
    if (paper.width <= 0 || paper.height <= 0 || isEmpty)
        return {width, height, {1, 0, 0, 1, 0, 0}, 0, 0, width, height};
    bool isTurned = (width > height) != (paper.width > paper.height) && width != height;
    double w = (double)(isTurned ? height : width), h = (double)(isTurned ? width : height);
    double fitting = std::min(paper.width / w, paper.height / h);
    double scale = paper.scaling == Scaling::FIT      ? fitting
                   : paper.scaling == Scaling::SHRINK ? std::min(1.0, fitting)
                                                      : 1.0;
    double x = paper.isCentred ? (paper.width - w * scale) / 2 : 0;
    double y = paper.isCentred ? (paper.height - h * scale) / 2 : 0;
    Placement placed = {paper.width, paper.height, {scale, 0, 0, scale, x, y}, 0, 0, 0, 0};
    if (isTurned) {
        const double turned[6] = {0, scale, -scale, 0, x + w * scale, y};
        std::copy(turned, turned + 6, placed.matrix);
    }
    placed.left = std::max<int64_t>(0, (int64_t)std::floor(x));
    placed.bottom = std::max<int64_t>(0, (int64_t)std::floor(y));
    placed.right = std::min<int64_t>(paper.width, (int64_t)std::ceil(x + w * scale));
    placed.top = std::min<int64_t>(paper.height, (int64_t)std::ceil(y + h * scale));
    return placed;
}

} // namespace job
