/*
 * place.h - where pages lie on the sides of the paper
 */
#ifndef JOB_PLACE_H
#define JOB_PLACE_H

#include <array>
#include <cstdint>

#include "job/job.h"

namespace job {

/* As in `concat`: x' = [0] x + [2] y + [4], y' = [1] x + [3] y + [5]. */
using Matrix = std::array<double, 6>;

constexpr Matrix IDENTITY = {1, 0, 0, 1, 0, 0};

struct Area {
    double left, bottom, right, top;

    double width() const { return right - left; }
    double height() const { return top - bottom; }
};

/* One side of a sheet of paper.  Its cells are laid out on paper that may be turned by a quarter; a
 * side that shows a part of one page has a single cell, as it has for a whole page. */
struct Side {
    int64_t width, height; /* of the paper, points */
    bool isTurned;
    int columns, rows;
    Area frame; /* within the margins, on the paper as it is turned */
};

struct Placement {
    Matrix matrix; /* from the page's own points to the paper's */
    Area seen;     /* of the page, in its own points */
    Area covered;  /* of the paper by that, in points */
};

/* The side of which the first page has this size: that of the paper, else the page's own.  A page
 * without area has no place on it. */
Side sideFor(int64_t width, int64_t height, const Options &options);

/* The n-th page of a side, from 0; where pages are spread over several sides, the n-th part of one.
 * A page that is alone on its side is turned by a quarter when the one is wide and the other tall.
 */
Placement placePage(const Side &side, int64_t width, int64_t height, int n, const Options &options);

} // namespace job

#endif
