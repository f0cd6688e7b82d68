/*
 * survey.h - walks content that is painted, for the marks that it leaves
 */
#ifndef PREPARE_PAINT_SURVEY_H
#define PREPARE_PAINT_SURVEY_H

#include <map>
#include <memory>
#include <optional>
#include <string>

#include "prepare/document/document.h"
#include "prepare/paint/backdrop.h"
#include "prepare/paint/extent.h"

namespace prepare {

/* What is painted in a soft mask's group, in the outermost space. */
struct MaskScene {
    Scene scene;
    Box clip;
    bool isClipRectangle = true;
    int paints = 0;         /* operations that paint */
    QPDFObjectHandle image; /* the last image painted */
    Matrix placement;       /* of the image */
    Box imageClip;
    Layer backdrop; /* outside of what is painted; alpha 0 for masks of alpha */
    bool isLuminosity = true;
};

/* A page, or something else that is painted by itself, while it is looked through. */
struct Painting {
    Document *document = nullptr;
    Scene scene;
    size_t work = 0;     /* done so far, of MAX_WORK */
    size_t places = 0;   /* forms rewritten for the place where they are painted */
    bool isPage = false; /* and not a glyph, or another thing without a place of its own */
    std::map<std::string, std::shared_ptr<MaskScene>> masks;
    MaskScene *mask = nullptr; /* the one that is being looked through; null: none */
};

/* Work is counted in operations; what costs more counts for more. */
constexpr size_t MAX_WORK = 2u << 20;
constexpr size_t FORM_WORK = 200, MARKS_A_WORK = 256;

bool isSpent(const Painting &painting);

/* Counts a search of what is below something. */
void countWork(Painting *painting);

/* Ends the innermost group. */
void leaveGroup(Painting *painting);

/* Adds the marks of one operation of this state. */
void survey(Painting *painting, ContentState *state, TextPen *pen, const Operation &operation,
            int depth);

/* The group that a form is, as it is painted in this state; nothing when it is none. */
std::optional<Group> groupOf(const GraphicsState &outer, QPDFObjectHandle form);

/* What a soft mask lets through of a box: one alpha, or as much as an image says. */
struct MaskValue {
    bool isKnown = true;
    double alpha = 1;
    const MaskScene *image = nullptr; /* not null: by its image */
    Box limit = EVERYTHING;           /* outside of it, nothing is let through */
};

MaskValue maskValue(Painting *painting, QPDFObjectHandle softMask, const Matrix &matrix,
                    const Box &box, int depth);

/* A value of the mask's group as alpha, by its transfer function. */
double transferred(QPDFObjectHandle softMask, double value);

} // namespace prepare

#endif
