/*
 * mesh.cpp - reading meshes bit by bit, and filling triangles
 *
 * Patches are divided into so many triangles as their size in the picture asks for.  Colours run
 * straight from corner to corner; what function they go through is the caller's.
 */
#include "prepare/paint/mesh.h"

#include <algorithm>
#include <cmath>

#include "prepare/model/tokens.h"

namespace prepare {

namespace {

constexpr double MAX_COORDINATE = 1e6; /* what lies further out is moved there */

struct BitReader {
    const std::string *data;
    size_t bit = 0;

    bool has(size_t bits) const { return bit + bits <= data->size() * 8; }

    /* At most 32 bits. */
    double next(unsigned bits)
    {
        uint64_t value = 0;
        for (unsigned left = bits; left > 0;) {
            unsigned offset = bit % 8, piece = std::min(8 - offset, left);
            uint64_t byte = bit / 8 < data->size() ? (uint8_t)(*data)[bit / 8] : 0;
            value = value << piece | (byte >> (8 - offset - piece) & ((1u << piece) - 1));
            bit += piece;
            left -= piece;
        }
        return (double)value;
    }

    void align() { bit = (bit + 7) / 8 * 8; }
};

struct Vertex {
    MeshPoint point;
    MeshColour colour;
};

struct MeshReader {
    const MeshFormat *format;
    BitReader bits;
    Mesh *mesh;
};

double decoded(double value, unsigned bits, const double *range)
{
    double most = (double)((1ull << bits) - 1);
    return range[0] + value * (range[1] - range[0]) / most;
}

MeshPoint readPoint(MeshReader *reader)
{
    const MeshFormat &f = *reader->format;
    double x = decoded(reader->bits.next(f.coordinateBits), f.coordinateBits, &f.decode[0]);
    double y = decoded(reader->bits.next(f.coordinateBits), f.coordinateBits, &f.decode[2]);
    auto held = [](double v) {
        return std::isfinite(v) ? std::clamp(v, -MAX_COORDINATE, MAX_COORDINATE) : 0;
    };
    return {held(x), held(y)};
}

MeshColour readColour(MeshReader *reader)
{
    const MeshFormat &f = *reader->format;
    std::array<double, MAX_COLORANTS> values{};
    for (size_t i = 0; i < f.components; i++)
        values[i] =
            decoded(reader->bits.next(f.componentBits), f.componentBits, &f.decode[4 + 2 * i]);
    return f.colour({values.data(), f.components});
}

size_t vertexBits(const MeshFormat &f)
{
    return 2 * f.coordinateBits + f.components * f.componentBits;
}

Vertex readVertex(MeshReader *reader)
{
    Vertex vertex;
    vertex.point = readPoint(reader);
    vertex.colour = readColour(reader);
    reader->bits.align();
    return vertex;
}

bool isFull(MeshReader *reader)
{
    reader->mesh->isCut |=
        reader->mesh->triangles.size() + reader->mesh->patches.size() >= MAX_MESH_PARTS;
    return reader->mesh->isCut;
}

void addTriangle(MeshReader *reader, const Vertex &a, const Vertex &b, const Vertex &c)
{
    if (!isFull(reader))
        reader->mesh->triangles.push_back(
            {{a.point, b.point, c.point}, {a.colour, b.colour, c.colour}});
}

void readFreeTriangles(MeshReader *reader)
{
    const MeshFormat &f = *reader->format;
    Vertex corners[3] = {};
    int missing = 3; /* of a triangle by itself; their flags mean nothing */
    while (reader->bits.has(f.flagBits + vertexBits(f)) && !reader->mesh->isCut) {
        int flag = (int)reader->bits.next(f.flagBits) & 3;
        Vertex vertex = readVertex(reader);
        if (missing == 0 && flag == 0)
            missing = 3;
        if (missing > 0) {
            corners[3 - missing--] = vertex;
            if (missing > 0)
                continue;
        } else {
            corners[0] = flag == 1 ? corners[1] : corners[0];
            corners[1] = corners[2];
            corners[2] = vertex;
        }
        addTriangle(reader, corners[0], corners[1], corners[2]);
    }
}

void readLattice(MeshReader *reader)
{
    const MeshFormat &f = *reader->format;
    std::vector<Vertex> before, row;
    while (reader->bits.has(vertexBits(f)) && !reader->mesh->isCut) {
        row.push_back(readVertex(reader));
        if (row.size() < f.verticesPerRow)
            continue;
        for (size_t i = 0; i + 1 < before.size(); i++) {
            addTriangle(reader, before[i], before[i + 1], row[i]);
            addTriangle(reader, before[i + 1], row[i + 1], row[i]);
        }
        before = std::move(row);
        row.clear();
    }
}

/* ---- patches ---- */

/* The places of the points round a patch, and then those within, in the order of the data. */
constexpr int places[16][2] = {{0, 0}, {0, 1}, {0, 2}, {0, 3}, {1, 3}, {2, 3}, {3, 3}, {3, 2},
                               {3, 1}, {3, 0}, {2, 0}, {1, 0}, {1, 1}, {1, 2}, {2, 2}, {2, 1}};

/* The points within, by those around, of a Coons patch. */
void fillInside(MeshPatch *patch)
{
    auto &p = patch->points;
    auto inside = [&](int i, int j) {
        int near = i == 1 ? 0 : 3, far = 3 - near, left = j == 1 ? 0 : 3, right = 3 - left;
        auto value = [&](double MeshPoint::*c) {
            return (-4 * p[near][left].*c + 6 * (p[near][j].*c + p[i][left].*c) -
                    2 * (p[near][right].*c + p[far][left].*c) +
                    3 * (p[far][j].*c + p[i][right].*c) - p[far][right].*c) /
                   9;
        };
        p[i][j] = {value(&MeshPoint::x), value(&MeshPoint::y)};
    };
    inside(1, 1);
    inside(1, 2);
    inside(2, 2);
    inside(2, 1);
}

/* The side that the patch before shares becomes the first of this one. */
void shareSide(const MeshPatch &before, int flag, MeshPatch *patch)
{
    for (int i = 0; i < 4; i++) {
        const int *from = places[(3 * flag + i) % 12];
        patch->points[places[i][0]][places[i][1]] = before.points[from[0]][from[1]];
    }
    patch->colours[0] = before.colours[flag % 4];
    patch->colours[1] = before.colours[(flag + 1) % 4];
}

void readPatches(MeshReader *reader)
{
    const MeshFormat &f = *reader->format;
    int pointCount = f.type == 6 ? 12 : 16;
    MeshPatch before{};
    bool hasBefore = false;
    while (reader->bits.has(f.flagBits) && !isFull(reader)) {
        int flag = (int)reader->bits.next(f.flagBits) & 3;
        if (!hasBefore)
            flag = 0;
        int firstPoint = flag == 0 ? 0 : 4, firstColour = flag == 0 ? 0 : 2;
        size_t needed = (size_t)(pointCount - firstPoint) * 2 * f.coordinateBits +
                        (size_t)(4 - firstColour) * f.components * f.componentBits;
        if (!reader->bits.has(needed))
            return;
        MeshPatch patch{};
        if (flag != 0)
            shareSide(before, flag, &patch);
        for (int i = firstPoint; i < pointCount; i++)
            patch.points[places[i][0]][places[i][1]] = readPoint(reader);
        for (int i = firstColour; i < 4; i++)
            patch.colours[i] = readColour(reader);
        reader->bits.align();
        if (f.type == 6)
            fillInside(&patch);
        reader->mesh->patches.push_back(patch);
        before = patch;
        hasBefore = true;
    }
}

void addToBox(Box *box, const MeshPoint &p)
{
    *box = unionOf(*box, {p.x, p.y, p.x, p.y});
}

/* ---- painting ---- */

struct Painter {
    MeshPicture *picture;
};

/* Twice the area, with its sign. */
double cross(const MeshPoint &a, const MeshPoint &b, const MeshPoint &c)
{
    return (b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x);
}

void paintPixel(MeshPicture *picture, int x, int y, const MeshColour *colours, const double *share)
{
    size_t at = (size_t)y * (size_t)picture->width + (size_t)x;
    picture->covered[at] = 1;
    for (size_t i = 0; i < picture->components; i++)
        picture->values[at * picture->components + i] =
            (float)(share[0] * colours[0][i] + share[1] * colours[1][i] + share[2] * colours[2][i]);
}

/* A triangle in pixels, every pixel whose centre is within or nearly. */
bool paintTriangle(Painter *painter, const MeshPoint *corners, const MeshColour *colours)
{
    MeshPicture *picture = painter->picture;
    Box box;
    for (int i = 0; i < 3; i++)
        addToBox(&box, corners[i]);
    double left = std::max(0.0, std::floor(box.left - 0.5));
    double right = std::min((double)picture->width - 1, std::ceil(box.right));
    double bottom = std::max(0.0, std::floor(box.bottom - 0.5));
    double top = std::min((double)picture->height - 1, std::ceil(box.top));
    painter->picture->work += 16;
    double area = cross(corners[0], corners[1], corners[2]);
    if (left > right || bottom > top || area == 0)
        return painter->picture->work <= MAX_MESH_WORK;
    painter->picture->work += (right - left + 1) * (top - bottom + 1);
    if (painter->picture->work > MAX_MESH_WORK)
        return false;
    constexpr double CLOSE = 1e-6;
    for (int y = (int)bottom; y <= (int)top; y++)
        for (int x = (int)left; x <= (int)right; x++) {
            MeshPoint centre{x + 0.5, y + 0.5};
            double share[3] = {cross(corners[1], corners[2], centre) / area,
                               cross(corners[2], corners[0], centre) / area, 0};
            share[2] = 1 - share[0] - share[1];
            if (share[0] >= -CLOSE && share[1] >= -CLOSE && share[2] >= -CLOSE)
                paintPixel(picture, x, y, colours, share);
        }
    return true;
}

MeshPoint surfacePoint(const MeshPatch &patch, double u, double v)
{
    auto weights = [](double t, double *w) {
        double s = 1 - t;
        w[0] = s * s * s;
        w[1] = 3 * s * s * t;
        w[2] = 3 * s * t * t;
        w[3] = t * t * t;
    };
    double across[4], up[4];
    weights(u, across);
    weights(v, up);
    MeshPoint point{0, 0};
    for (int i = 0; i < 4; i++)
        for (int j = 0; j < 4; j++) {
            point.x += across[i] * up[j] * patch.points[i][j].x;
            point.y += across[i] * up[j] * patch.points[i][j].y;
        }
    return point;
}

MeshColour surfaceColour(const MeshPatch &patch, size_t components, double u, double v)
{
    MeshColour colour{};
    for (size_t i = 0; i < components; i++)
        colour[i] = (float)((1 - u) * ((1 - v) * patch.colours[0][i] + v * patch.colours[1][i]) +
                            u * ((1 - v) * patch.colours[3][i] + v * patch.colours[2][i]));
    return colour;
}

/* Into how many parts each side is divided; the length of the longest line of control points says
 * how many pixels it is long at most. */
int divisionsOf(const MeshPatch &patch)
{
    constexpr double PIXELS = 4;
    constexpr double MOST = 48;
    double longest = 0;
    for (int i = 0; i < 4; i++) {
        double row = 0, column = 0;
        for (int j = 0; j < 3; j++) {
            const MeshPoint &a = patch.points[i][j], &b = patch.points[i][j + 1];
            const MeshPoint &c = patch.points[j][i], &d = patch.points[j + 1][i];
            row += std::hypot(b.x - a.x, b.y - a.y);
            column += std::hypot(d.x - c.x, d.y - c.y);
        }
        longest = std::max({longest, row, column});
    }
    return (int)std::clamp(std::ceil(longest / PIXELS), 1.0, MOST);
}

bool paintPatch(Painter *painter, const MeshPatch &patch)
{
    size_t components = painter->picture->components;
    int n = divisionsOf(patch);
    std::vector<Vertex> before, row;
    for (int i = 0; i <= n; i++) {
        row.clear();
        for (int j = 0; j <= n; j++) {
            double u = (double)i / n, v = (double)j / n;
            row.push_back({surfacePoint(patch, u, v), surfaceColour(patch, components, u, v)});
        }
        for (int j = 0; i > 0 && j < n; j++) {
            const Vertex *four[4] = {&before[(size_t)j], &before[(size_t)j + 1], &row[(size_t)j],
                                     &row[(size_t)j + 1]};
            for (int k = 0; k < 2; k++) {
                MeshPoint corners[3];
                MeshColour colours[3];
                for (int c = 0; c < 3; c++) {
                    corners[c] = four[k + c]->point;
                    colours[c] = four[k + c]->colour;
                }
                if (!paintTriangle(painter, corners, colours))
                    return false;
            }
        }
        before.swap(row);
    }
    return true;
}

/* Pixels beside covered ones take their colours, so that a clip through them shows no gap. */
void growPicture(MeshPicture *picture)
{
    std::vector<uint8_t> before = picture->covered;
    size_t width = (size_t)picture->width, height = (size_t)picture->height;
    for (size_t y = 0; y < height; y++)
        for (size_t x = 0; x < width; x++) {
            size_t at = y * width + x;
            if (before[at])
                continue;
            size_t x0 = x > 0 ? x - 1 : 0, x1 = std::min(x + 1, width - 1);
            size_t y0 = y > 0 ? y - 1 : 0, y1 = std::min(y + 1, height - 1);
            for (size_t other :
                 {y * width + x0, y * width + x1, y0 * width + x, y1 * width + x, y0 * width + x0,
                  y0 * width + x1, y1 * width + x0, y1 * width + x1}) {
                if (!before[other])
                    continue;
                picture->covered[at] = 1;
                std::copy_n(&picture->values[other * picture->components], picture->components,
                            &picture->values[at * picture->components]);
                break;
            }
        }
}

MeshPoint toPixels(const MeshPicture &picture, const Box &box, const MeshPoint &p)
{
    return {(p.x - box.left) / (box.right - box.left) * picture.width,
            (box.top - p.y) / (box.top - box.bottom) * picture.height};
}

/* ---- outlines ---- */

std::string pointText(const MeshPoint &p)
{
    return numberText(p.x) + " " + numberText(p.y) + " ";
}

std::string triangleOutline(const MeshTriangle &t)
{
    bool isTurned = cross(t.corners[0], t.corners[1], t.corners[2]) < 0;
    return pointText(t.corners[0]) + "m " + pointText(t.corners[isTurned ? 2 : 1]) + "l " +
           pointText(t.corners[isTurned ? 1 : 2]) + "l h\n";
}

std::string patchOutline(const MeshPatch &patch)
{
    MeshPoint around[13];
    double area = 0;
    for (int i = 0; i < 13; i++)
        around[i] = patch.points[places[i % 12][0]][places[i % 12][1]];
    for (int i = 0; i < 12; i++)
        area += around[i].x * around[i + 1].y - around[i + 1].x * around[i].y;
    if (area < 0)
        std::reverse(around, around + 13);
    std::string text = pointText(around[0]) + "m ";
    for (int i = 1; i < 13; i += 3)
        text += pointText(around[i]) + pointText(around[i + 1]) + pointText(around[i + 2]) + "c ";
    return text + "h\n";
}

} // namespace

bool isSound(const MeshFormat &f)
{
    auto isOneOf = [](unsigned bits, std::initializer_list<unsigned> widths) {
        return std::find(widths.begin(), widths.end(), bits) != widths.end();
    };
    bool hasFlags = f.type != 5;
    return f.type >= 4 && f.type <= 7 && isOneOf(f.coordinateBits, {1, 2, 4, 8, 12, 16, 24, 32}) &&
           isOneOf(f.componentBits, {1, 2, 4, 8, 12, 16}) &&
           (!hasFlags || isOneOf(f.flagBits, {2, 4, 8})) && f.components > 0 &&
           f.components <= MAX_COLORANTS && f.decode.size() >= 4 + 2 * f.components &&
           (f.type != 5 || f.verticesPerRow >= 2) && f.colour;
}

Mesh readMesh(const MeshFormat &format, const std::string &data)
{
    Mesh mesh;
    MeshReader reader{&format, {&data}, &mesh};
    if (format.type == 4)
        readFreeTriangles(&reader);
    else if (format.type == 5)
        readLattice(&reader);
    else
        readPatches(&reader);
    return mesh;
}

Box boxOf(const Mesh &mesh)
{
    Box box;
    for (const MeshTriangle &triangle : mesh.triangles)
        for (const MeshPoint &corner : triangle.corners)
            addToBox(&box, corner);
    for (const MeshPatch &patch : mesh.patches)
        for (const auto &row : patch.points)
            for (const MeshPoint &point : row)
                addToBox(&box, point);
    return box;
}

bool paintMesh(const Mesh &mesh, const Box &box, MeshPicture *picture)
{
    size_t pixels = (size_t)picture->width * (size_t)picture->height;
    picture->values.assign(pixels * picture->components, 0);
    picture->covered.assign(pixels, 0);
    Painter painter{picture};
    picture->work = 0;
    for (MeshTriangle triangle : mesh.triangles) {
        for (MeshPoint &corner : triangle.corners)
            corner = toPixels(*picture, box, corner);
        if (!paintTriangle(&painter, triangle.corners, triangle.colours))
            return false;
    }
    for (MeshPatch patch : mesh.patches) {
        for (auto &row : patch.points)
            for (MeshPoint &point : row)
                point = toPixels(*picture, box, point);
        if (!paintPatch(&painter, patch))
            return false;
    }
    growPicture(picture);
    growPicture(picture);
    return true;
}

std::string outlineOf(const Mesh &mesh, size_t limit)
{
    std::string path;
    if (mesh.triangles.size() + mesh.patches.size() > limit)
        return path;
    for (const MeshTriangle &triangle : mesh.triangles)
        path += triangleOutline(triangle);
    for (const MeshPatch &patch : mesh.patches)
        path += patchOutline(patch);
    return path;
}

} // namespace prepare
