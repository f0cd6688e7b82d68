/*
 * state.h - the graphics state while content is read
 *
 * What handlers ask for: the matrix, the text state with the font object itself, the text and line
 * matrix.  The state is that before the operation a handler looks at.
 */
#ifndef PREPARE_CONTENT_STATE_H
#define PREPARE_CONTENT_STATE_H

#include <vector>

#include "prepare/content/tokens.h"
#include "prepare/document/qpdf.h"

namespace prepare {

struct Matrix {
    double a = 1, b = 0, c = 0, d = 1, e = 0, f = 0;
};

/* What `first` does and then `second`. */
Matrix operator*(const Matrix &first, const Matrix &second);

struct TextState {
    QPDFObjectHandle font; /* uninitialized: none yet */
    double size = 0;
    double charSpace = 0, wordSpace = 0, leading = 0, rise = 0;
    double scale = 1; /* Tz / 100 */
    int mode = 0;
};

struct GraphicsState {
    Matrix ctm;
    TextState text;
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
    const ResourceScope *scope = nullptr;
};

constexpr size_t MAX_SAVED = 4096;

/* Applies an operation; text that is shown does not move the text matrix here. */
void track(ContentState *state, const Operation &operation);

/* To the next line: the line matrix moved by (x, y), and the text matrix with it. */
void moveLine(ContentState *state, double x, double y);

} // namespace prepare

#endif
