/*
 * backdrop.h - what has been painted on a page so far, as boxes
 *
 * A transparent thing is painted opaquely where it is known what lies below it: nothing, or one
 * colour.  So each thing that is painted leaves a mark here: its box, and its colour when it has
 * one.  Groups have lists of their own, which become part of the outer one when the group ends.
 * Everything is bounded: lists that are full are made shorter by joining neighbours.
 */
#ifndef PREPARE_PAINT_BACKDROP_H
#define PREPARE_PAINT_BACKDROP_H

#include <optional>
#include <vector>

#include "prepare/paint/blend.h"

namespace prepare {

constexpr size_t MAX_MARKS = 4096;

/* Something painted, in the outermost space. */
struct Mark {
    Box box;
    bool covers = false;  /* nothing of the box is left out */
    bool isKnown = false; /* `layer` is the colour wherever it was painted */
    Layer layer;          /* all of it within its group: with what lies below */
};

/* What lies below a box. */
struct Backdrop {
    bool isKnown = true;
    Layer layer; /* alpha 0: nothing */
};

struct Group {
    std::vector<Mark> marks; /* in the order of painting */
    bool isIsolated = true;
    bool isKnockout = false;

    /* how the whole is painted */
    double alpha = 1;
    Blend blend = Blend::NORMAL;
    QPDFObjectHandle softMask; /* uninitialized: none */
    Matrix softMaskMatrix;
};

/* Groups from the page, which is one, to the innermost. */
struct Scene {
    bool isPaper = true; /* the outermost group is seen on white paper */
    std::vector<Group> groups = std::vector<Group>(1);
};

/* One step of painting: a layer onto what is below it, and all of that onto the next. */
struct Step {
    Layer below;
    Layer behind; /* what a mode blends with where nothing is below */
    double alpha = 1;
    Blend blend = Blend::NORMAL;
};

/* All that happens to something painted at one place, from its group to the page. */
struct Chain {
    std::vector<Step> steps;
    bool isKnown = true; /* false: what was not known is taken for nothing */
};

/* The chain of something in this box, painted in this mode.  Alphas are its own, and those of the
 * groups from the innermost one out (the page's is not asked for); `isPartial` when even with alpha
 * 1 it does not hide what is below it. */
Chain chainOf(const Scene &scene, const Box &box, const std::vector<double> &alphas, Blend blend,
              bool isPartial);

/* The colour within its group, and as it is seen on paper. */
Layer inGroup(const Chain &chain, const Layer &layer);
DeviceColour onPaper(const Chain &chain, const Layer &layer);

/* Does whatever is painted through it stay as it is, if it is opaque?  What is not known to lie
 * below counts as nothing. */
bool isPlain(const Chain &chain);

/* Does it stay as it is whatever lies below? */
bool isPlainAnywhere(const Chain &chain);

/* Is it the same when every group is painted as it is? */
bool isPlain(const Scene &scene);

/* Adds to the innermost group. */
void addMark(Scene *scene, const Mark &mark);

/* Ends the innermost group: what it painted becomes part of the one around it. */
void endGroup(Scene *scene);

} // namespace prepare

#endif
