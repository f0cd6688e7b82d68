/*
 * paints.h - every way to paint a rectangle, as content of a page of its own
 */
#ifndef TESTS_GENERATED_PAINTS_H
#define TESTS_GENERATED_PAINTS_H

#include <array>
#include <map>
#include <string>

#include "tests/support/pdf_builder.h"

enum class PaintKind {
    FILL,
    STROKE,
    TEXT,
    PICTURE,        /* its upper left quarter has another colour */
    INLINE_PICTURE, /* likewise */
    STENCIL,        /* without its upper left quarter */
    CUT_PICTURE,    /* an explicit mask takes its upper left quarter away */
    KEYED_PICTURE,  /* a range of colours does */
    MASKED_PICTURE, /* half transparent, but for its upper half */
    SHADING,        /* darker to the right */
    SHADING_PATTERN,
    TILING,
    FORM,
    GROUP,
    KNOCKOUT_GROUP, /* with another colour beneath */
    HALF_GROUP,     /* what is in it is half transparent */
    COUNT,
};

/* "a picture" */
const char *nameOf(PaintKind kind);

using Rgb = std::array<double, 3>;

struct Rectangle {
    double x, y, side;
};

/* Colour and opacity that a paint has by itself at a point of its lower half, or its right one. */
struct PointPaint {
    Rgb colour;
    double alpha;
};
PointPaint paintAt(PaintKind kind, const Rgb &colour, const Rectangle &place, double x);

/* Content with its resources. */
class PaintedPage {
  public:
    explicit PaintedPage(PdfBuilder *document) : pdf(document) {}

    /* The name of a new resource. */
    std::string name(const std::string &category, const std::string &value);

    void add(const std::string &more) { content += more + "\n"; }
    void paint(PaintKind kind, const Rgb &colour, const Rectangle &place);

    /* Adds the page, of that many points each way. */
    void finish(int side, const std::string &entries = "");

  private:
    std::string resources() const;
    std::string object(const std::string &entries, const std::string &data);

    PdfBuilder *pdf;
    std::map<std::string, std::string> entries; /* of each category */
    std::string content;
    int names = 0;
};

#endif
