/*
 * shadingparts.h - a shading that has been read, for shading.cpp, radial.cpp and meshshading.cpp
 */
#ifndef PREPARE_PAINT_SHADINGPARTS_H
#define PREPARE_PAINT_SHADINGPARTS_H

#include <optional>
#include <span>
#include <string>
#include <vector>

#include "prepare/content/rewrite.h"
#include "prepare/model/function.h"
#include "prepare/model/space.h"

namespace prepare {

struct Shading {
    int type = 0;
    SpacePtr space;
    FunctionPtr function;  /* may be null: for meshes */
    size_t components = 1; /* of the device space */
    QPDFObjectHandle dict;
    QPDFObjectHandle stream; /* of meshes */

    double first = 0, last = 1; /* of the parameter */
    bool extendsStart = false, extendsEnd = false;
};

/* The numbers of an array, so many at most; other things are 0. */
std::vector<double> numbersOf(QPDFObjectHandle array, size_t most);

/* The colour where the function's inputs are these. */
DeviceColour colourAt(const Shading &shading, std::span<const double> inputs);

/* The colour at a part of the way from the first parameter to the last. */
DeviceColour colourAlong(const Shading &shading, double part);

/* A byte for each component, as pictures have them. */
void appendBytes(std::string *bytes, const DeviceColour &colour);

/* Operators: a box in one colour. */
std::string filledBox(const Box &box, const DeviceColour &colour);

/* A picture in a device space; the name of its resource. */
std::string addPicture(Rewriter *rewriter, int width, int height, size_t components,
                       const std::string &bytes);

/* What paints a shading of type 3 (radial.cpp), and of types 4 to 7 (meshshading.cpp; nothing: it
 * cannot be read), at least within the box. */
std::string radialContent(const Shading &shading, const Box &box);
std::optional<std::string> meshContent(Rewriter *rewriter, const Shading &shading, const Box &box,
                                       const Matrix &toPaper);

} // namespace prepare

#endif
