/*
 * state.h - the graphics state while content is read
 *
 * What handlers ask for: the matrix, the text state with the font object itself, the text and line
 * matrix, the two colours, boxes of the path and the clip, what makes paint transparent.  The state
 * is that before the operation a handler looks at.
 */
#ifndef PREPARE_CONTENT_STATE_H
#define PREPARE_CONTENT_STATE_H

#include <map>
#include <string>
#include <vector>

#include "prepare/colour/space.h"
#include "prepare/content/path.h"
#include "prepare/content/scope.h"
#include "prepare/content/tokens.h"
#include "prepare/document/qpdf.h"

namespace prepare {

struct TextState {
    QPDFObjectHandle font; /* uninitialized: none yet */
    double size = 0;
    double charSpace = 0, wordSpace = 0, leading = 0, rise = 0;
    double scale = 1; /* Tz / 100 */
    int mode = 0;
};

/* A colour as it was selected: a space by name, and values in it. */
struct Colour {
    std::string space = "/DeviceGray"; /* of a device space, or of a resource */
    std::vector<double> values;        /* empty: the space's initial colour */
    std::string pattern;               /* its name; empty: none */
};

/* ORDER: separable modes first; that of blendNames in state.cpp. */
enum class Blend : unsigned char {
    NORMAL,
    MULTIPLY,
    SCREEN,
    OVERLAY,
    DARKEN,
    LIGHTEN,
    COLOR_DODGE,
    COLOR_BURN,
    HARD_LIGHT,
    SOFT_LIGHT,
    DIFFERENCE,
    EXCLUSION,
    HUE,
    SATURATION,
    COLOR,
    LUMINOSITY,
};

/* What makes paint transparent. */
struct Transparency {
    double fillAlpha = 1, strokeAlpha = 1; /* 0 to 1; that of fills is that of images too */
    Blend blend = Blend::NORMAL;
    QPDFObjectHandle softMask; /* its dictionary; uninitialized: none */
    Matrix softMaskMatrix;     /* the matrix when it was set */
};

bool isOpaque(const Transparency &transparency);

struct GraphicsState {
    Matrix ctm;
    TextState text;
    Colour fill, stroke;
    Transparency transparency;
    double lineWidth = 1;
    Box clip = EVERYTHING; /* in the outermost space, as is the path */
    bool isClipRectangle = true;
};

struct ContentState {
    GraphicsState now;
    std::vector<GraphicsState> saved;
    size_t savedBeyond = 0; /* saves past MAX_SAVED, which are counted only */
    Matrix textMatrix, lineMatrix;
    Path path;
    const ResourceScope *scope = nullptr;
    std::map<std::string, SpacePtr> spaces; /* those that were asked for, by name */
};

/* The space of a colour; DeviceGray when it is not known.  The colour is one of the state's. */
SpacePtr spaceOf(ContentState *state, const Colour &colour);

/* The colour as a device colour; that of a pattern is what its cells are painted in. */
DeviceColour deviceColourOf(ContentState *state, const Colour &colour);

constexpr size_t MAX_SAVED = 4096;

/* Applies an operation; text that is shown does not move the text matrix here. */
void track(ContentState *state, const Operation &operation);

/* Applies the entries of a graphics state's dictionary that make paint transparent. */
void applyTransparency(QPDFObjectHandle graphicsState, const Matrix &ctm, Transparency *now);

/* To the next line: the line matrix moved by (x, y), and the text matrix with it. */
void moveLine(ContentState *state, double x, double y);

} // namespace prepare

#endif
