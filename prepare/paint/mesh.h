/*
 * mesh.h - shadings of types 4 to 7: triangles and patches, read and painted into a picture
 */
#ifndef PREPARE_PAINT_MESH_H
#define PREPARE_PAINT_MESH_H

#include <array>
#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <vector>

#include "prepare/model/space.h"
#include "prepare/model/path.h"

namespace prepare {

constexpr size_t MAX_MESH_PARTS = 1u << 18; /* triangles or patches of one mesh */
constexpr double MAX_MESH_WORK = 3e8;       /* pixels looked at while a mesh is painted */

struct MeshPoint {
    double x, y;
};

/* What a vertex is painted in: a device colour, or the function's parameter. */
using MeshColour = std::array<float, 4>;

struct MeshTriangle {
    MeshPoint corners[3];
    MeshColour colours[3];
};

/* A Bezier surface, its points [row][column], colours at its corners: (0,0), (0,3), (3,3), (3,0).
 */
struct MeshPatch {
    MeshPoint points[4][4];
    MeshColour colours[4];
};

struct Mesh {
    std::vector<MeshTriangle> triangles;
    std::vector<MeshPatch> patches;
    bool isCut = false; /* there were more parts than MAX_MESH_PARTS */
};

/* How a mesh's data is packed. */
struct MeshFormat {
    int type = 4; /* 4 to 7 */
    unsigned coordinateBits = 8, componentBits = 8, flagBits = 8;
    size_t components = 1;      /* stored for a vertex */
    size_t verticesPerRow = 2;  /* type 5 */
    std::vector<double> decode; /* x, y and the components, in pairs */
    std::function<MeshColour(std::span<const double>)> colour; /* made of the components */
};

/* Is the format one that can be read? */
bool isSound(const MeshFormat &format);

/* Reads as many parts as the data has; points are finite. */
Mesh readMesh(const MeshFormat &format, const std::string &data);

/* The box around a mesh; empty when it has no parts. */
Box boxOf(const Mesh &mesh);

/* A picture of a mesh: `components` values of a colour for each pixel, rows from the top, and which
 * pixels are covered. */
struct MeshPicture {
    int width = 0, height = 0;
    size_t components = 1;
    std::vector<float> values;
    std::vector<uint8_t> covered;
    double work = 0; /* pixels looked at */
};

/* Paints the part of a mesh within the box, which becomes the whole picture.  Pixels at the mesh's
 * edge take the colour beside them.  False when it would take too long. */
bool paintMesh(const Mesh &mesh, const Box &box, MeshPicture *picture);

/* The mesh's outline as a path of its parts, all turned the same way; empty when it would be
 * longer than `limit` parts. */
std::string outlineOf(const Mesh &mesh, size_t limit);

} // namespace prepare

#endif
