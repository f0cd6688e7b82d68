/*
 * path.cpp - the path that is being made
 */
#include "prepare/model/path.h"

#include <algorithm>
#include <cmath>

namespace prepare {

bool isRectangle(const Path &path)
{
    if (path.rectangles > 0)
        return path.rectangles == 1 && path.points == 0 && path.areParallelToAxes;
    if (!path.isPolygon || path.points < 4 || path.points > 5)
        return false;
    double close = 1e-3 + 1e-4 * (path.box.right - path.box.left + path.box.top - path.box.bottom);
    auto isNear = [&](double a, double b) { return std::abs(a - b) <= close; };
    for (int i = 0; i < path.points; i++) {
        const double *p = path.corners[i], *q = path.corners[(i + 1) % 4];
        bool isCorner = (isNear(p[0], path.box.left) || isNear(p[0], path.box.right)) &&
                        (isNear(p[1], path.box.bottom) || isNear(p[1], path.box.top));
        if (!isCorner || (i < 4 && isNear(p[0], q[0]) == isNear(p[1], q[1])))
            return false;
    }
    return true;
}

void addPoint(Path *path, const Matrix &m, double x, double y)
{
    double u = m.a * x + m.c * y + m.e, v = m.b * x + m.d * y + m.f;
    if (!std::isfinite(u) || !std::isfinite(v))
        return;
    path->box = intersection(unionOf(path->box, {u, v, u, v}), EVERYTHING);
    if (path->points < 5) {
        path->corners[path->points][0] = u;
        path->corners[path->points][1] = v;
    }
    path->points++;
}

void addRectangle(Path *path, const Matrix &ctm, const double *sides)
{
    Box box = {std::min(sides[0], sides[0] + sides[2]), std::min(sides[1], sides[1] + sides[3]),
               std::max(sides[0], sides[0] + sides[2]), std::max(sides[1], sides[1] + sides[3])};
    path->areParallelToAxes &= keepsRectangles(ctm);
    path->box = unionOf(path->box, transformed(ctm, box));
    path->rectangles++;
}

} // namespace prepare
