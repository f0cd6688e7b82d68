/*
 * appearances.cpp - annotations drawn from their entries
 *
 * Each kind has one function that writes path or text operators in the page's coordinates; the box
 * of the form grows with the points.  Numbers are clamped, lists are bounded by the room for what
 * they draw.
 */
#include "prepare/page/appearances.h"

#include <algorithm>
#include <map>

#include "prepare/page/drawing.h"

namespace prepare {

namespace {

using Draw = void (*)(Drawing *);

const std::map<std::string, Draw> draws = {
    {"/Square", drawSquare},       {"/Circle", drawCircle},
    {"/Line", drawLine},           {"/Ink", drawInk},
    {"/PolyLine", drawPolyLine},   {"/Polygon", drawPolygon},
    {"/Highlight", drawHighlight}, {"/Underline", drawUnderline},
    {"/StrikeOut", drawStrikeOut}, {"/Squiggly", drawSquiggly},
    {"/FreeText", drawFreeText},   {"/Link", drawLink},
};

/* The annotation's opacity, as a state for the whole form. */
QPDFObjectHandle opacityState(QPDFObjectHandle annotation)
{
    double opacity = std::clamp(numberOr(annotation.getKey("/CA"), 1), 0.0, 1.0);
    if (opacity == 1 || nameOr(annotation.getKey("/Subtype")) == "/Highlight")
        return QPDFObjectHandle::newNull();
    QPDFObjectHandle state = QPDFObjectHandle::newDictionary();
    for (const char *key : {"/CA", "/ca"})
        state.replaceKey(key, QPDFObjectHandle::newReal(opacity, 3));
    return state;
}

QPDFObjectHandle formOf(Drawing *drawing)
{
    QPDFObjectHandle resources = QPDFObjectHandle::newDictionary();
    QPDFObjectHandle opacity = opacityState(drawing->annotation);
    std::string content = drawing->content;
    if (!opacity.isNull()) {
        resources.replaceKey("/ExtGState", QPDFObjectHandle::newDictionary({{"/G", opacity}}));
        content = "/G gs\n" + content;
    }
    if (drawing->fonts.isInitialized())
        resources.replaceKey("/Font", drawing->fonts);
    QPDFObjectHandle form = newFlateStream(&drawing->document->source.pdf, content);
    double margin = 10 * std::max(1.0, drawing->border.width); /* endings and joins */
    const Rect &b = drawing->bounds;
    std::vector<QPDFObjectHandle> box;
    for (double v : {b.x1 - margin, b.y1 - margin, b.x2 + margin, b.y2 + margin})
        box.push_back(QPDFObjectHandle::newReal(v, 3));
    form.getDict().replaceKey("/Type", QPDFObjectHandle::newName("/XObject"));
    form.getDict().replaceKey("/Subtype", QPDFObjectHandle::newName("/Form"));
    form.getDict().replaceKey("/BBox", QPDFObjectHandle::newArray(box));
    form.getDict().replaceKey("/Resources", resources);
    return form;
}

} // namespace

DrawnForm drawAppearance(Document *document, QPDFObjectHandle annotation, bool hasText,
                         size_t limit)
{
    Drawing drawing{document, annotation, limit, readBorder(annotation), {}, {}, {}};
    drawing.bounds = {MAX_COORDINATE, MAX_COORDINATE, -MAX_COORDINATE, -MAX_COORDINATE};
    std::string type = nameOr(annotation.getKey("/Subtype"));
    auto draw = draws.find(type);
    if (draw != draws.end())
        draw->second(&drawing);
    else if (type == "/Widget")
        drawField(&drawing, hasText);
    if (drawing.bounds.x1 > drawing.bounds.x2)
        return {};
    return {formOf(&drawing), drawing.content.size()};
}

} // namespace prepare
