/*
 * geometry.cpp - matrices and boxes
 */
#include "prepare/model/geometry.h"

#include <algorithm>
#include <cmath>

#include "prepare/model/tokens.h"

namespace prepare {

Matrix operator*(const Matrix &first, const Matrix &second)
{
    const Matrix &m = first, &n = second;
    return {m.a * n.a + m.b * n.c, m.a * n.b + m.b * n.d,       m.c * n.a + m.d * n.c,
            m.c * n.b + m.d * n.d, m.e * n.a + m.f * n.c + n.e, m.e * n.b + m.f * n.d + n.f};
}

std::optional<Matrix> inverseOf(const Matrix &m)
{
    double area = m.a * m.d - m.b * m.c;
    constexpr double LEAST = 1e-14;
    if (!std::isfinite(area) || std::abs(area) < LEAST)
        return std::nullopt;
    return Matrix{m.d / area,
                  -m.b / area,
                  -m.c / area,
                  m.a / area,
                  (m.c * m.f - m.d * m.e) / area,
                  (m.b * m.e - m.a * m.f) / area};
}

bool keepsRectangles(const Matrix &m)
{
    double close = 1e-6 * (std::abs(m.a) + std::abs(m.b) + std::abs(m.c) + std::abs(m.d));
    return (std::abs(m.b) <= close && std::abs(m.c) <= close) ||
           (std::abs(m.a) <= close && std::abs(m.d) <= close);
}

double scaleOf(const Matrix &m)
{
    return std::sqrt(std::abs(m.a * m.d - m.b * m.c));
}

bool isEmpty(const Box &box)
{
    return !(box.left <= box.right && box.bottom <= box.top);
}

bool contains(const Box &outer, const Box &inner)
{
    return outer.left <= inner.left && outer.bottom <= inner.bottom && outer.right >= inner.right &&
           outer.top >= inner.top;
}

Box intersection(const Box &a, const Box &b)
{
    return {std::max(a.left, b.left), std::max(a.bottom, b.bottom), std::min(a.right, b.right),
            std::min(a.top, b.top)};
}

Box unionOf(const Box &a, const Box &b)
{
    if (isEmpty(a))
        return b;
    if (isEmpty(b))
        return a;
    return {std::min(a.left, b.left), std::min(a.bottom, b.bottom), std::max(a.right, b.right),
            std::max(a.top, b.top)};
}

double areaOf(const Box &box)
{
    return isEmpty(box) ? 0 : (box.right - box.left) * (box.top - box.bottom);
}

Box grown(const Box &box, double by)
{
    if (isEmpty(box))
        return box;
    return {box.left - by, box.bottom - by, box.right + by, box.top + by};
}

Box transformed(const Matrix &m, const Box &box)
{
    Box moved;
    if (isEmpty(box))
        return moved;
    for (double x : {box.left, box.right})
        for (double y : {box.bottom, box.top}) {
            double u = m.a * x + m.c * y + m.e, v = m.b * x + m.d * y + m.f;
            if (std::isfinite(u) && std::isfinite(v))
                moved = unionOf(moved, {u, v, u, v});
        }
    return intersection(moved, EVERYTHING);
}

std::string numbersText(const Matrix &m, int places)
{
    std::string text;
    for (double value : {m.a, m.b, m.c, m.d, m.e, m.f})
        text += numberText(value, places) + " ";
    return text;
}

std::string concatText(const Matrix &matrix)
{
    constexpr int PLACES = 9;
    return numbersText(matrix, PLACES) + "cm ";
}

std::string rectangleText(const Box &box)
{
    return numberText(box.left) + " " + numberText(box.bottom) + " " +
           numberText(box.right - box.left) + " " + numberText(box.top - box.bottom) + " re ";
}

} // namespace prepare
