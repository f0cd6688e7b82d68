/*
 * annotations.cpp - which annotations are painted, where, and how they become content
 *
 * An appearance is a form.  It is placed as every viewer does it: its box, turned by its matrix,
 * is fitted into the annotation's rectangle.  All are painted in their order behind the page's
 * content.  A marker that multiplies is painted before it where nothing but dark text lies in its
 * rectangle, which on white paper comes to the same without transparency.
 */
#include "prepare/page/annotations.h"

#include <algorithm>
#include <cmath>

#include "prepare/content/evaluate.h"
#include "prepare/content/track.h"
#include "prepare/page/appearances.h"
#include "prepare/page/beneath.h"
#include "prepare/page/fields.h"
#include "prepare/page/layers.h"
#include "prepare/page/structure.h"
#include "prepare/page/overlay.h"

namespace prepare {

namespace {

/* Bits of /F. */
enum Flag { INVISIBLE = 1, HIDDEN = 2, PRINTED = 4, NO_ROTATE = 16, NO_VIEW = 32 };

/* The page while annotations are put on it. */
struct Overlay {
    Document *document;
    Page *page;
    QPDFObjectHandle resources = {}, xobjects = {};
    std::map<QPDFObjGen, std::string> names = {}; /* of appearances used so far */
    std::set<QPDFObjGen> seen = {};
    std::string front = {}, back = {}; /* content before and behind the page's */
    size_t drawnBytes = 0;
    std::optional<std::vector<Box>> painted = {}; /* by the page, once that is asked for */
    std::vector<Box> annotated = {};              /* by annotations so far */
    std::string multiplying = {}; /* the name of a graphics state; empty: there is none yet */
};

bool isKnownType(const std::string &type)
{
    static const std::set<std::string> types = {
        "/Text",    "/Link",     "/FreeText",  "/Line",      "/Square",      "/Circle",
        "/Polygon", "/PolyLine", "/Highlight", "/Underline", "/Squiggly",    "/StrikeOut",
        "/Stamp",   "/Caret",    "/Ink",       "/Popup",     "/Watermark",   "/FileAttachment",
        "/Sound",   "/Movie",    "/Widget",    "/Screen",    "/PrinterMark", "/TrapNet",
        "/Redact",  "/3D",       "/RichMedia"};
    return types.count(type) > 0;
}

bool isShown(const Overlay &overlay, QPDFObjectHandle annotation)
{
    int flags = integerOr(annotation.getKey("/F"), 0);
    std::string type = nameOr(annotation.getKey("/Subtype"));
    if (type == "/Popup" || (flags & HIDDEN) || ((flags & INVISIBLE) && !isKnownType(type)))
        return false;
    bool forPrint = overlay.document->options.annotations == Annotations::PRINT;
    if (forPrint ? !(flags & PRINTED) : (flags & NO_VIEW) != 0)
        return false;
    return !isOff(overlay.document, annotation.getKey("/OC"));
}

/* The stream of the normal appearance, in its state; null: it has none. */
QPDFObjectHandle normalAppearance(QPDFObjectHandle annotation)
{
    QPDFObjectHandle normal = entryOf(annotation.getKey("/AP"), "/N");
    if (normal.isDictionary())
        normal = normal.getKey(nameOr(annotation.getKey("/AS"), "/Off"));
    return normal.isStream() ? normal : QPDFObjectHandle::newNull();
}

/* Has the form a state in which what is dark below stays dark? */
bool multiplies(QPDFObjectHandle form)
{
    QPDFObjectHandle states = entryOf(form.getDict().getKey("/Resources"), "/ExtGState");
    for (auto &[name, state] : entriesOf(states)) {
        QPDFObjectHandle mode = entryOf(state, "/BM");
        if (mode.isArray() && mode.getArrayNItems() > 0)
            mode = mode.getArrayItem(0);
        if (nameOr(mode) == "/Multiply" || nameOr(mode) == "/Darken")
            return true;
    }
    return false;
}

/* The state may stand in a form inside, as most programs write it. */
bool isMarker(QPDFObjectHandle annotation, QPDFObjectHandle form)
{
    if (nameOr(annotation.getKey("/Subtype")) != "/Highlight")
        return false;
    if (multiplies(form))
        return true;
    QPDFObjectHandle inner = entryOf(form.getDict().getKey("/Resources"), "/XObject");
    for (auto &[name, object] : entriesOf(inner))
        if (object.isStream() && multiplies(object))
            return true;
    return false;
}

std::optional<Matrix> readMatrix(QPDFObjectHandle object)
{
    if (!object.isArray())
        return Matrix();
    double v[6];
    for (int i = 0; i < 6; i++) {
        if (i >= object.getArrayNItems() || !object.getArrayItem(i).isNumber())
            return std::nullopt;
        v[i] = numberOr(object.getArrayItem(i), 0);
    }
    return Matrix{v[0], v[1], v[2], v[3], v[4], v[5]};
}

Rect boundsOf(const Rect &box, const Matrix &m)
{
    double xs[4], ys[4];
    for (int i = 0; i < 4; i++) {
        double x = i & 1 ? box.x2 : box.x1, y = i & 2 ? box.y2 : box.y1;
        xs[i] = x * m.a + y * m.c + m.e;
        ys[i] = x * m.b + y * m.d + m.f;
    }
    return {*std::min_element(xs, xs + 4), *std::min_element(ys, ys + 4),
            *std::max_element(xs, xs + 4), *std::max_element(ys, ys + 4)};
}

/* Turns about the upper left corner against the page's rotation. */
Matrix uprightMatrix(const Rect &rect, int degrees)
{
    double radians = degrees * std::acos(-1.0) / 180;
    double c = std::round(std::cos(radians)), s = std::round(std::sin(radians));
    return Matrix{1, 0, 0, 1, -rect.x1, -rect.y2} * Matrix{c, s, -s, c, 0, 0} *
           Matrix{1, 0, 0, 1, rect.x1, rect.y2};
}

/* The matrix in front of the form; nothing: there is nothing to see. */
std::optional<Matrix> placement(const Overlay &overlay, QPDFObjectHandle annotation,
                                QPDFObjectHandle form)
{
    std::optional<Rect> box = readRect(form.getDict().getKey("/BBox"));
    std::optional<Rect> rect = readRect(annotation.getKey("/Rect"));
    std::optional<Matrix> matrix = readMatrix(form.getDict().getKey("/Matrix"));
    if (!box || !rect || !matrix)
        return std::nullopt;
    Rect bounds = boundsOf(*box, *matrix);
    constexpr double MIN_SIDE = 1e-4, MAX_SCALE = 1e6;
    double width = bounds.x2 - bounds.x1, height = bounds.y2 - bounds.y1;
    if (!(width > MIN_SIDE) || !(height > MIN_SIDE) || !std::isfinite(width * height))
        return std::nullopt;
    double sx = (rect->x2 - rect->x1) / width, sy = (rect->y2 - rect->y1) / height;
    if (!(sx > 0) || !(sy > 0) || sx > MAX_SCALE || sy > MAX_SCALE)
        return std::nullopt;
    Matrix fitted = {sx, 0, 0, sy, rect->x1 - bounds.x1 * sx, rect->y1 - bounds.y1 * sy};
    int turn = integerOr(entryOf(*overlay.page, "/Rotate"), 0) % 360;
    if (integerOr(annotation.getKey("/F"), 0) & NO_ROTATE)
        fitted = fitted * uprightMatrix(*rect, turn);
    return fitted;
}

/* A copy of the page's resources that can be added to. */
void openResources(Overlay *overlay)
{
    if (overlay->xobjects.isInitialized())
        return;
    QPDFObjectHandle page = overlay->page->object;
    QPDFObjectHandle resources = page.getKey("/Resources");
    overlay->resources =
        resources.isDictionary() ? resources.shallowCopy() : QPDFObjectHandle::newDictionary();
    QPDFObjectHandle xobjects = overlay->resources.getKey("/XObject");
    overlay->xobjects =
        xobjects.isDictionary() ? xobjects.shallowCopy() : QPDFObjectHandle::newDictionary();
}

std::string nameOf(Overlay *overlay, QPDFObjectHandle form)
{
    openResources(overlay);
    std::string &name = overlay->names[form.getObjGen()];
    while (name.empty()) {
        std::string next = newName(overlay->document, "/PfA");
        if (!overlay->xobjects.hasKey(next))
            name = next;
    }
    overlay->xobjects.replaceKey(name, form);
    return name;
}

Box boxOfForm(QPDFObjectHandle form, const Matrix &matrix)
{
    Box box = boxOf(form.getDict().getKey("/BBox"));
    return transformed(matrixOf(form.getDict().getKey("/Matrix")) * matrix, box);
}

/* Is there nothing in the box but dark text? */
bool isFree(Overlay *overlay, const Box &box)
{
    constexpr double SLACK = 0.5;
    if (!overlay->painted)
        overlay->painted = paintedBoxes(overlay->document, *overlay->page);
    auto meets = [&](const Box &other) {
        return !isEmpty(intersection(other, grown(box, -SLACK)));
    };
    return std::ranges::none_of(*overlay->painted, meets) &&
           std::ranges::none_of(overlay->annotated, meets);
}

void paint(Overlay *overlay, QPDFObjectHandle form, const Matrix &matrix, bool isMarker,
           const std::string &state = "")
{
    form.getDict().replaceKey("/Subtype", QPDFObjectHandle::newName("/Form"));
    if (!repairPainted(overlay->document, overlay->page, form))
        return;
    Box box = boxOfForm(form, matrix);
    bool isBelow = isMarker && isFree(overlay, box);
    if (!isBelow)
        overlay->annotated.push_back(box);
    std::string &content = isBelow ? overlay->front : overlay->back;
    content +=
        "q " + (isBelow ? "" : state) + concatText(matrix) + nameOf(overlay, form) + " Do Q\n";
}

/* Selects a state that multiplies. */
std::string multiplyingState(Overlay *overlay)
{
    if (!overlay->multiplying.empty())
        return overlay->multiplying;
    openResources(overlay);
    QPDFObjectHandle states = overlay->resources.getKey("/ExtGState");
    states = states.isDictionary() ? states.shallowCopy() : QPDFObjectHandle::newDictionary();
    std::string name;
    do
        name = newName(overlay->document, "/PfM");
    while (states.hasKey(name));
    states.replaceKey(name, QPDFObjectHandle::parse("<< /BM /Multiply >>"));
    overlay->resources.replaceKey("/ExtGState", states);
    return overlay->multiplying = name + " gs ";
}

/* A form of ours already is where it belongs. */
void paintDrawn(Overlay *overlay, QPDFObjectHandle annotation, bool hasText)
{
    DrawnForm drawn = drawAppearance(overlay->document, annotation, hasText,
                                     MAX_DRAWN_BYTES - overlay->drawnBytes);
    overlay->drawnBytes += drawn.bytes;
    bool isMarker = nameOr(annotation.getKey("/Subtype")) == "/Highlight";
    if (drawn.bytes > 0)
        paint(overlay, drawn.form, Matrix(), isMarker, isMarker ? multiplyingState(overlay) : "");
}

void paintAnnotation(Overlay *overlay, QPDFObjectHandle annotation)
{
    if (!annotation.isDictionary() || !isShown(*overlay, annotation))
        return;
    if (annotation.isIndirect() && !overlay->seen.insert(annotation.getObjGen()).second)
        return;
    bool isField = nameOr(annotation.getKey("/Subtype")) == "/Widget";
    bool hadAppearance = !entryOf(annotation.getKey("/AP"), "/N").isNull();
    bool hasText = isField && completeField(overlay->document, annotation);
    if (!hadAppearance)
        paintDrawn(overlay, annotation, hasText);
    QPDFObjectHandle form = normalAppearance(annotation);
    if (form.isNull())
        return;
    if (auto matrix = placement(*overlay, annotation, form))
        paint(overlay, form, *matrix, isMarker(annotation, form));
}

/* One that is damaged costs only itself; false: no more of them can be drawn. */
bool paintGuarded(Overlay *overlay, QPDFObjectHandle annotation)
{
    try {
        paintAnnotation(overlay, annotation);
    } catch (const LimitReached &limit) {
        say(overlay->document, Message::AnnotationsCut, overlay->page->number, {limit.text});
        return false;
    } catch (const std::bad_alloc &) {
        throw;
    } catch (const std::exception &error) {
        say(overlay->document, Message::AnnotationsCut, overlay->page->number, {error.what()});
    }
    return true;
}

/* Puts what is painted around the page's content. */
void attach(Overlay *overlay)
{
    overlay->resources.replaceKey("/XObject", overlay->xobjects);
    overlay->page->object.replaceKey("/Resources", overlay->resources);
    surroundContent(overlay->document, overlay->page, overlay->front, overlay->back);
    overlay->page->needs |= NEED_ANNOTATIONS;
}

} // namespace

void drawAnnotations(Document *document, Page *page)
{
    QPDFObjectHandle annotations = entryOf(*page, "/Annots");
    if (document->options.annotations == Annotations::NONE || !annotations.isArray())
        return;
    std::vector<QPDFObjectHandle> all = annotations.getArrayAsVector();
    if (all.size() > MAX_ANNOTATIONS) {
        say(document, Message::AnnotationsTooMany, page->number, {std::to_string(MAX_ANNOTATIONS)});
        all.resize(MAX_ANNOTATIONS);
    }
    Overlay overlay{.document = document, .page = page};
    for (QPDFObjectHandle annotation : all)
        if (!paintGuarded(&overlay, annotation))
            break;
    if (!overlay.front.empty() || !overlay.back.empty())
        attach(&overlay);
}

} // namespace prepare
