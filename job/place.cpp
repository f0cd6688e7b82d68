/*
 * place.cpp - where pages lie on the sides of the paper
 */
#include "job/place.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace job {

namespace {

/* First the one, then the other. */
Matrix then(const Matrix &a, const Matrix &b)
{
    return {a[0] * b[0] + a[1] * b[2],        a[0] * b[1] + a[1] * b[3],
            a[2] * b[0] + a[3] * b[2],        a[2] * b[1] + a[3] * b[3],
            a[4] * b[0] + a[5] * b[2] + b[4], a[4] * b[1] + a[5] * b[3] + b[5]};
}

/* Of a matrix of quarter turns, mirrors, scales and moves. */
Matrix inverse(const Matrix &m)
{
    double determinant = m[0] * m[3] - m[1] * m[2];
    return {m[3] / determinant,
            -m[1] / determinant,
            -m[2] / determinant,
            m[0] / determinant,
            (m[2] * m[5] - m[3] * m[4]) / determinant,
            (m[1] * m[4] - m[0] * m[5]) / determinant};
}

Area mapped(const Area &area, const Matrix &m)
{
    double x1 = m[0] * area.left + m[2] * area.bottom + m[4];
    double y1 = m[1] * area.left + m[3] * area.bottom + m[5];
    double x2 = m[0] * area.right + m[2] * area.top + m[4];
    double y2 = m[1] * area.right + m[3] * area.top + m[5];
    return {std::min(x1, x2), std::min(y1, y2), std::max(x1, x2), std::max(y1, y2)};
}

Area common(const Area &a, const Area &b)
{
    Area both = {std::max(a.left, b.left), std::max(a.bottom, b.bottom), std::min(a.right, b.right),
                 std::min(a.top, b.top)};
    both.right = std::max(both.right, both.left);
    both.top = std::max(both.top, both.bottom);
    return both;
}

/* A page, and how it has come to lie as it does: from (0, 0) to its width and height. */
struct Sheet {
    double width, height;
    Matrix matrix = IDENTITY;

    /* Counterclockwise. */
    void turn()
    {
        matrix = then(matrix, {0, 1, -1, 0, height, 0});
        std::swap(width, height);
    }
};

Sheet rotated(int64_t width, int64_t height, int rotation)
{
    Sheet page = {(double)width, (double)height};
    for (int i = 0; i < (360 - rotation) % 360; i += 90)
        page.turn();
    return page;
}

/* ---- sides */

/* Paper with its margins, as it is or turned counterclockwise.  Where they leave nothing of a
 * page's own paper there are none. */
Area frameOf(double width, double height, bool isTurned, const Paper &paper)
{
    if (paper.left + paper.right >= width || paper.top + paper.bottom >= height)
        return {0, 0, isTurned ? height : width, isTurned ? width : height};
    if (isTurned) /* its upper edge is the paper's left one */
        return {paper.bottom, paper.right, height - paper.top, width - paper.left};
    return {paper.left, paper.bottom, width - paper.right, height - paper.top};
}

double fitting(const Sheet &page, double width, double height)
{
    return std::min(width / page.width, height / page.height);
}

/* The paper as it is or turned, in so many columns and rows, whatever makes such pages largest. */
void chooseGrid(Side *side, const Sheet &page, const Options &options)
{
    const Arrangement &arrangement = options.arrangement;
    double best = 0;
    auto attempt = [&](int columns, int rows, bool isTurned, bool isPoster) {
        Area frame = frameOf((double)side->width, (double)side->height, isTurned, options.paper);
        double across = isPoster ? frame.width() * columns : frame.width() / columns;
        double down = isPoster ? frame.height() * rows : frame.height() / rows;
        double scale = fitting(page, across, down);
        if (scale <= best * (1 + 1e-9))
            return;
        best = scale;
        side->isTurned = isTurned;
        side->columns = isPoster ? 1 : columns;
        side->rows = isPoster ? 1 : rows;
        side->frame = frame;
    };
    for (bool isTurned : {false, true}) {
        if (arrangement.tiles() > 1)
            attempt(arrangement.tilesAcross, arrangement.tilesDown, isTurned, true);
        else if (arrangement.isBooklet)
            attempt(2, 1, isTurned, false);
        else
            for (int columns = 1; columns <= arrangement.perSide; columns++)
                if (int rows = arrangement.perSide / columns;
                    columns * rows == arrangement.perSide && std::abs(columns - rows) <= 1)
                    attempt(columns, rows, isTurned, false);
    }
}

/* The cell of the n-th page, on the side as it is turned. */
Area cellOf(const Side &side, int n, const Arrangement &arrangement)
{
    int column = arrangement.isByColumns ? n / side.rows : n % side.columns;
    int row = arrangement.isByColumns ? n % side.rows : n / side.columns;
    if (arrangement.isLeftwards)
        column = side.columns - 1 - column;
    if (!arrangement.isUpwards)
        row = side.rows - 1 - row;
    double width = side.frame.width() / side.columns, height = side.frame.height() / side.rows;
    double left = side.frame.left + width * column, bottom = side.frame.bottom + height * row;
    return {left, bottom, left + width, bottom + height};
}

/* Where the whole page of a poster lies, so that its n-th part is in the frame of the side. */
Area posterFrame(const Area &frame, int n, const Arrangement &arrangement)
{
    int column = n % arrangement.tilesAcross, row = n / arrangement.tilesAcross;
    double left = frame.left - column * frame.width();
    double top = frame.top + row * frame.height();
    return {left, top - arrangement.tilesDown * frame.height(),
            left + arrangement.tilesAcross * frame.width(), top};
}

double scaleOf(const Sheet &page, const Area &cell, const Options &options)
{
    double fits = fitting(page, cell.width(), cell.height());
    if (options.arrangement.tiles() > 1)
        return fits;
    if (options.paper.factor > 0)
        return options.paper.factor;
    switch (options.paper.scaling) {
    case Scaling::FIT:
        return fits;
    case Scaling::SHRINK:
        return std::min(1.0, fits);
    case Scaling::ACTUAL:
        return 1;
    }
    return 1;
}

/* From the side as it is turned to the paper. */
Matrix toPaper(const Side &side, bool isMirrored)
{
    Matrix matrix = IDENTITY;
    if (side.isTurned)
        matrix = {0, 1, -1, 0, (double)side.width, 0};
    if (isMirrored)
        matrix = then(matrix, {-1, 0, 0, 1, (double)side.width, 0});
    return matrix;
}

} // namespace

Side sideFor(int64_t width, int64_t height, const Options &options)
{
    const Arrangement &arrangement = options.arrangement;
    bool isOwn = options.paper.width <= 0 || options.paper.height <= 0;
    Side side = {isOwn ? width : options.paper.width,
                 isOwn ? height : options.paper.height,
                 false,
                 1,
                 1,
                 {}};
    bool isOnItsSide = arrangement.rotation % 180 != 0;
    if (isOwn && isOnItsSide)
        std::swap(side.width, side.height);
    side.frame = frameOf((double)side.width, (double)side.height, false, options.paper);
    if (width > 0 && height > 0 && (arrangement.perSide > 1 || arrangement.tiles() > 1))
        chooseGrid(&side, rotated(width, height, arrangement.rotation), options);
    return side;
}

Placement placePage(const Side &side, int64_t width, int64_t height, int n, const Options &options)
{
    const Arrangement &arrangement = options.arrangement;
    const Area whole = {0, 0, (double)width, (double)height};
    if (width <= 0 || height <= 0)
        return {IDENTITY, whole, whole};
    Sheet page = rotated(width, height, arrangement.rotation);
    bool isAlone = arrangement.perSide == 1 && arrangement.tiles() == 1;
    bool isWide = page.width > page.height, isSquare = page.width == page.height;
    if (isAlone && isWide != (side.width > side.height) && !isSquare)
        page.turn();

    Area cell = cellOf(side, isAlone || arrangement.tiles() > 1 ? 0 : n, arrangement);
    Area box = arrangement.tiles() > 1 ? posterFrame(cell, n, arrangement) : cell;
    double scale = scaleOf(page, box, options);
    double free = options.paper.isCentred ? 0.5 : 0;
    double x = box.left + (box.width() - page.width * scale) * free;
    double y = box.bottom + (box.height() - page.height * scale) * free;
    Matrix onSide = then(page.matrix, {scale, 0, 0, scale, x, y});

    Placement placed;
    placed.matrix = then(onSide, toPaper(side, arrangement.isMirrored));
    placed.seen = whole;
    bool hasMargins =
        options.paper.left + options.paper.right + options.paper.top + options.paper.bottom > 0;
    if (!isAlone || hasMargins)
        placed.seen = common(whole, mapped(cell, inverse(onSide)));
    const Area paper = {0, 0, (double)side.width, (double)side.height};
    placed.covered = common(paper, mapped(placed.seen, placed.matrix));
    return placed;
}

} // namespace job
