/*
 * path.h - boxes, and the path that is being made
 */
#ifndef PREPARE_CONTENT_PATH_H
#define PREPARE_CONTENT_PATH_H

#include <optional>
#include <string_view>

namespace prepare {

struct Matrix {
    double a = 1, b = 0, c = 0, d = 1, e = 0, f = 0;
};

/* What `first` does and then `second`. */
Matrix operator*(const Matrix &first, const Matrix &second);

/* What undoes the matrix; nothing when it has no area. */
std::optional<Matrix> inverseOf(const Matrix &matrix);

/* Does the matrix keep rectangles parallel to the axes? */
bool keepsRectangles(const Matrix &matrix);

/* The factor of its areas, rooted: of lengths, about. */
double scaleOf(const Matrix &matrix);

struct Box {
    double left = 0, bottom = 0, right = -1, top = -1; /* empty */
};

constexpr Box EVERYTHING = {-1e9, -1e9, 1e9, 1e9};

bool isEmpty(const Box &box);
bool contains(const Box &outer, const Box &inner);
Box intersection(const Box &a, const Box &b);
Box unionOf(const Box &a, const Box &b);
double areaOf(const Box &box);
Box grown(const Box &box, double by);

/* The box around a box that a matrix moves. */
Box transformed(const Matrix &matrix, const Box &box);

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
