/*
 * sides.cpp - the sides of a job, each with its pages where they lie
 */
#include "job/sides.h"

#include <algorithm>
#include <cmath>

namespace job {

size_t sideCount(const Options &options, const Plan &plan)
{
    size_t perSide = (size_t)options.arrangement.perSide;
    return (plan.pages.size() + perSide - 1) / perSide;
}

PlacedSide placedSide(const Options &options, const Plan &plan, size_t number)
{
    size_t perSide = (size_t)options.arrangement.perSide, first = number * perSide;
    size_t end = std::min(plan.pages.size(), first + perSide);
    auto begin = plan.pages.begin() + (ptrdiff_t)first, last = plan.pages.begin() + (ptrdiff_t)end;
    auto shaping =
        std::find_if(begin, last, [](const PlannedPage &page) { return !page.isEmpty(); });
    const PlannedPage &shape = shaping == last ? *begin : *shaping;
    PlacedSide placed = {sideFor(shape.width(), shape.height(), options), {}};
    int tile = (int)(number % (size_t)options.arrangement.tiles());
    for (auto page = begin; page != last; ++page) {
        int n = perSide > 1 ? (int)(page - begin) : tile;
        placed.pages.push_back(
            {&*page, placePage(placed.side, page->width(), page->height(), n, options)});
    }
    return placed;
}

PointBox boxAround(const Area &area)
{
    constexpr double NOTHING = 1e-6;
    return {(int64_t)std::floor(area.left + NOTHING), (int64_t)std::floor(area.bottom + NOTHING),
            (int64_t)std::ceil(area.right - NOTHING), (int64_t)std::ceil(area.top - NOTHING)};
}

void extend(std::optional<PointBox> *all, const PointBox &box)
{
    PointBox before = all->value_or(box);
    *all = {std::min(before.left, box.left), std::min(before.bottom, box.bottom),
            std::max(before.right, box.right), std::max(before.top, box.top)};
}

} // namespace job
