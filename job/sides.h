/*
 * sides.h - the sides of a job, each with its pages where they lie
 */
#ifndef JOB_SIDES_H
#define JOB_SIDES_H

#include <optional>
#include <vector>

#include "job/place.h"
#include "job/plan.h"

namespace job {

struct PlacedPage {
    const PlannedPage *page; /* the plan's */
    Placement at;
};

struct PlacedSide {
    Side side;
    std::vector<PlacedPage> pages; /* one at least */
};

size_t sideCount(const Options &options, const Plan &plan);

/* A side by its number, from 0. */
PlacedSide placedSide(const Options &options, const Plan &plan, size_t number);

/* The smallest box of whole points around an area, a millionth of a point taken as none. */
struct PointBox {
    int64_t left, bottom, right, top;
};
PointBox boxAround(const Area &area);

/* Makes `all`, where there is one yet, large enough for another box. */
void extend(std::optional<PointBox> *all, const PointBox &box);

} // namespace job

#endif
