/*
 * path.h - the path that is being made
 */
#ifndef PREPARE_MODEL_PATH_H
#define PREPARE_MODEL_PATH_H

#include "prepare/model/geometry.h"

namespace prepare {

/* The path made so far, in the outermost space. */
struct Path {
    Box box;
    double corners[5][2] = {};     /* of its first segments */
    int points = 0;                /* of all segments */
    int rectangles = 0;            /* made by one operator */
    bool isPolygon = true;         /* one, of straight lines */
    bool isClip = false;           /* it becomes part of the clip */
    bool areParallelToAxes = true; /* the rectangles */
};

/* Is it one rectangle parallel to the axes, and nothing else? */
bool isRectangle(const Path &path);

void addPoint(Path *path, const Matrix &ctm, double x, double y);
void addRectangle(Path *path, const Matrix &ctm, const double *sides);

} // namespace prepare

#endif
