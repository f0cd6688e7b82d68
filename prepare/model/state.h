/*
 * state.h - the graphics state of page content, by value (ISO 32000-1, 8.4)
 *
 * Whatever an operator selects by name is looked up once, where the operator stands and in the
 * resources of that moment.  From then on the state holds the thing itself: whoever paints needs no
 * resources, so a form that inherits a colour, a pattern or a font cannot find another one under
 * its name.
 */
#ifndef PREPARE_MODEL_STATE_H
#define PREPARE_MODEL_STATE_H

#include <memory>
#include <vector>

#include "prepare/model/geometry.h"
#include "prepare/model/scope.h"
#include "prepare/model/space.h"

namespace prepare {

/* A colour space as it was selected.  It is read when somebody asks for it, and then once. */
class SelectedSpace
{
  public:
    /* `scope` is where names within the space are looked for; it outlives this. */
    SelectedSpace(QPDFObjectHandle object, const ResourceScope *scope)
        : found(std::move(object)), around(scope)
    {
    }
    explicit SelectedSpace(SpacePtr space) : known(std::move(space)) {}

    /* DeviceGray for what is no space. */
    const ColourSpace &read() const;

    /* The array of a space that is a resource; uninitialized: a device space. */
    const QPDFObjectHandle &object() const { return found; }

  private:
    QPDFObjectHandle found;
    const ResourceScope *around = nullptr;
    mutable SpacePtr known;
};
using SpaceRef = std::shared_ptr<const SelectedSpace>;

/* DeviceGray, DeviceRGB or DeviceCMYK for 1, 3, 4. */
const SpaceRef &deviceSpaceRef(size_t components);

/* A pattern as it was selected. */
struct Pattern {
    QPDFObjectHandle object; /* the stream of a tiling pattern, the dictionary of a shading one, or
                              * null where the name names nothing */
    Matrix base;             /* in which the content that selected it began; its /Matrix leads there */
    const ResourceScope *scope = nullptr; /* of that content, which outlives this */
};
using PatternRef = std::shared_ptr<const Pattern>;

/* What fills or strokes, complete. */
struct Paint {
    SpaceRef space = deviceSpaceRef(1);
    std::vector<double> values; /* those of the operator; empty: the space's initial colour */
    PatternRef pattern;         /* null: none is selected */
    bool isInherited = false;   /* it comes from outside the content that is read */
};

/* The colour as a device colour; that of a pattern is what its cells are painted in. */
DeviceColour deviceColourOf(const Paint &paint);

/* Is it a colour of a device space? */
bool isDevice(const Paint &paint);

/* Does it paint with a pattern, be it one that is missing? */
bool isPattern(const Paint &paint);

/* The same paint, wherever it was selected? */
bool isSame(const Paint &a, const Paint &b);

struct TextState {
    QPDFObjectHandle font; /* its dictionary; uninitialized: none yet */
    bool isFontInherited = false;
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

/* What makes paint transparent (11.6.4). */
struct Transparency {
    double fillAlpha = 1, strokeAlpha = 1; /* 0 to 1; that of fills is that of images too */
    Blend blend = Blend::NORMAL;
    QPDFObjectHandle softMask; /* its dictionary; uninitialized: none */
    Matrix softMaskMatrix;     /* the matrix when it was set */
};

bool isOpaque(const Transparency &transparency);

/* Applies the entries of a graphics state's dictionary that make paint transparent. */
void applyTransparency(QPDFObjectHandle graphicsState, const Matrix &ctm, Transparency *now);

struct GraphicsState {
    Matrix ctm;
    TextState text;
    Paint fill, stroke;
    Transparency transparency;
    double lineWidth = 1;
    Box clip = EVERYTHING; /* in the outermost space, as is the path */
    bool isClipRectangle = true;
};

/* The state as something within begins with it: the same, and all of it inherited. */
GraphicsState inherited(const GraphicsState &outer);

} // namespace prepare

#endif
