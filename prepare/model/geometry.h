/*
 * geometry.h - matrices and boxes
 *
 * A matrix [a b c d e f] takes (x, y) to (ax + cy + e, bx + dy + f) (ISO 32000-1, 8.3.4).
 */
#ifndef PREPARE_MODEL_GEOMETRY_H
#define PREPARE_MODEL_GEOMETRY_H

#include <optional>
#include <string>

namespace prepare {

struct Matrix {
    double a = 1, b = 0, c = 0, d = 1, e = 0, f = 0;
    bool operator==(const Matrix &) const = default;
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

/* "a b c d e f ", each with at most so many places. */
std::string numbersText(const Matrix &matrix, int places);

/* "a b c d e f cm ": nine places, because these are factors of coordinates. */
std::string concatText(const Matrix &matrix);

/* "left bottom width height re ". */
std::string rectangleText(const Box &box);

} // namespace prepare

#endif
