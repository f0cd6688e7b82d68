/*
 * fuzz_prepare_mesh.cpp - meshes: six bytes say how the data is packed, the rest is data
 */
#include <cmath>
#include <cstdint>
#include <cstdlib>

#include "prepare/paint/mesh.h"

using namespace prepare;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    constexpr size_t HEAD = 6;
    static const unsigned widths[] = {1, 2, 4, 8, 12, 16, 24, 32};
    if (size < HEAD)
        return 0;
    MeshFormat format;
    format.type = 4 + data[0] % 4;
    format.coordinateBits = widths[data[1] % 8];
    format.componentBits = widths[data[2] % 6];
    format.flagBits = widths[1 + data[3] % 3];
    format.components = 1 + data[4] % MAX_COLORANTS;
    format.verticesPerRow = data[5];
    format.decode = {-1e30, 1e30, 0, 200};
    format.decode.resize(4 + 2 * format.components, 1);
    format.colour = [](std::span<const double> values) { return MeshColour{(float)values[0]}; };
    if (!isSound(format))
        return 0;
    Mesh mesh =
        readMesh(format, std::string(reinterpret_cast<const char *>(data) + HEAD, size - HEAD));
    MeshPicture picture;
    picture.width = 64;
    picture.height = 48;
    if (!isEmpty(boxOf(mesh)))
        paintMesh(mesh, {0, 0, 200, 200}, &picture);
    outlineOf(mesh, 100);
    return 0;
}
