/*
 * track.h - the graphics state while content is read
 *
 * The state is that before the operation that somebody looks at; `track` applies the operation.
 */
#ifndef PREPARE_CONTENT_TRACK_H
#define PREPARE_CONTENT_TRACK_H

#include <map>
#include <string>
#include <vector>

#include "prepare/model/path.h"
#include "prepare/model/state.h"
#include "prepare/model/tokens.h"

namespace prepare {

struct ContentState {
    GraphicsState now;
    std::vector<GraphicsState> saved;
    size_t savedBeyond = 0; /* saves past MAX_SAVED, which are counted only */
    Matrix textMatrix, lineMatrix;
    Path path;

    Matrix base;                          /* the matrix in which the content begins */
    const ResourceScope *scope = nullptr; /* where its names are looked for */
    std::map<std::string, SpaceRef> spaces; /* those selected so far, by name */
};

constexpr size_t MAX_SAVED = 4096;

/* Makes it the state in which content begins. */
void beginContent(ContentState *state, const ResourceScope *scope, const GraphicsState &begin = {});

/* Applies an operation; text that is shown does not move the text matrix here. */
void track(ContentState *state, const Operation &operation);

/* To the next line: the line matrix moved by (x, y), and the text matrix with it. */
void moveLine(ContentState *state, double x, double y);

/* The colour space of a name, as `cs` would select it. */
const SpaceRef &spaceOfName(ContentState *state, const std::string &name);

/* The state in which a form's content begins when it is painted in this one. */
GraphicsState stateInForm(const GraphicsState &outer, QPDFObjectHandle form);

/* The resource that an operation names in its last operand; null where it names none. */
QPDFObjectHandle namedResource(const ResourceScope &scope, int category,
                               const Operation &operation);

/* The name itself, with its slash; empty: the last operand is none. */
std::string lastName(const Operation &operation);

/* The name of a Tf. */
std::string fontName(const Operation &operation);

} // namespace prepare

#endif
