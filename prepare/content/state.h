/*
 * state.h - the graphics state while content is read
 *
 * What handlers ask for: the matrix, the text state with the font object itself, the text and line
 * matrix, boxes of the path and the clip, what makes paint transparent.  The state is that before
 * the operation a handler looks at.
 */
#ifndef PREPARE_CONTENT_STATE_H
#define PREPARE_CONTENT_STATE_H

#include <vector>

#include "prepare/content/path.h"
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
    Transparency transparency;
    double lineWidth = 1;
    Box clip = EVERYTHING; /* in the outermost space, as is the path */
    bool isClipRectangle = true;
};

/* Resources, and those around them, where names are looked for that the inner ones lack. */
struct ResourceScope {
    QPDFObjectHandle resources;
    const ResourceScope *outer = nullptr;
};

/* The resource of a name, or null. */
QPDFObjectHandle findResource(const ResourceScope &scope, int category, const std::string &name);

struct ContentState {
    GraphicsState now;
    std::vector<GraphicsState> saved;
    size_t savedBeyond = 0; /* saves past MAX_SAVED, which are counted only */
    Matrix textMatrix, lineMatrix;
    Path path;
    const ResourceScope *scope = nullptr;
};

constexpr size_t MAX_SAVED = 4096;

/* Applies an operation; text that is shown does not move the text matrix here. */
void track(ContentState *state, const Operation &operation);

/* Applies the entries of a graphics state's dictionary that make paint transparent. */
void applyTransparency(QPDFObjectHandle graphicsState, const Matrix &ctm, Transparency *now);

/* To the next line: the line matrix moved by (x, y), and the text matrix with it. */
void moveLine(ContentState *state, double x, double y);

} // namespace prepare

#endif
