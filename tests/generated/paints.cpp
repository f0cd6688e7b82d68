/*
 * paints.cpp - every way to paint a rectangle
 */
#include "tests/generated/paints.h"

#include <cmath>
#include <cstdio>

namespace {

constexpr const char *NAMES[] = {"a fill",
                                 "a stroke",
                                 "text",
                                 "a picture",
                                 "an inline picture",
                                 "a stencil",
                                 "a picture with a mask",
                                 "a picture with a key",
                                 "a picture with a soft mask",
                                 "a shading",
                                 "a shading pattern",
                                 "a tiling pattern",
                                 "a form",
                                 "a group",
                                 "a knockout group",
                                 "a group of half alpha"};

constexpr double DARKER = 0.5; /* the right end of a shading, of the left one */
constexpr Rgb OTHER = {0.1, 0.9, 0.1};

std::string number(double value)
{
    char text[32];
    snprintf(text, sizeof text, "%.6g", value);
    return text;
}

std::string numbers(const Rgb &colour)
{
    return number(colour[0]) + " " + number(colour[1]) + " " + number(colour[2]);
}

Rgb scaled(Rgb colour, double by)
{
    for (double &value : colour)
        value *= by;
    return colour;
}

std::string box(const Rectangle &r)
{
    return number(r.x) + " " + number(r.y) + " " + number(r.side) + " " + number(r.side);
}

std::string bytesOf(const Rgb &colour)
{
    std::string bytes;
    for (double value : colour)
        bytes += (char)(uint8_t)std::lround(value * 255);
    return bytes;
}

/* Two by two pixels, the first one another. */
std::string pixels(const Rgb &colour)
{
    const std::string one = bytesOf(colour);
    return bytesOf(OTHER) + one + one + one;
}

std::string hexadecimal(const std::string &bytes)
{
    std::string text;
    for (char c : bytes) {
        char two[3];
        snprintf(two, sizeof two, "%02x", (uint8_t)c);
        text += two;
    }
    return text + ">";
}

/* The unit square on the rectangle. */
std::string placed(const Rectangle &r, const std::string &painting)
{
    return "q " + number(r.side) + " 0 0 " + number(r.side) + " " + number(r.x) + " " +
           number(r.y) + " cm " + painting + " Q";
}

std::string filled(const Rgb &colour, const Rectangle &place)
{
    return numbers(colour) + " rg " + box(place) + " re f";
}

std::string shadingOf(const Rgb &colour, const Rectangle &r)
{
    return "<< /ShadingType 2 /ColorSpace /DeviceRGB /Coords [" + number(r.x) + " 0 " +
           number(r.x + r.side) +
           " 0] /Extend [true true] /Function << /FunctionType 2 /N 1 "
           "/Domain [0 1] /C0 [" +
           numbers(colour) + "] /C1 [" + numbers(scaled(colour, DARKER)) + "] >> >>";
}

constexpr const char *IMAGE = "/Type /XObject /Subtype /Image /Width 2 /Height 2 ";
constexpr const char *COLOURS = "/ColorSpace /DeviceRGB /BitsPerComponent 8 ";
constexpr const char *STENCIL = "/ImageMask true /BitsPerComponent 1 ";

} // namespace

const char *nameOf(PaintKind kind)
{
    return NAMES[(size_t)kind];
}

PointPaint paintAt(PaintKind kind, const Rgb &colour, const Rectangle &place, double x)
{
    bool isShading = kind == PaintKind::SHADING || kind == PaintKind::SHADING_PATTERN;
    double t = isShading ? (x - place.x) / place.side : 0;
    bool isHalf = kind == PaintKind::MASKED_PICTURE || kind == PaintKind::HALF_GROUP;
    return {scaled(colour, 1 - t * (1 - DARKER)), isHalf ? 0.5 : 1};
}

std::string PaintedPage::name(const std::string &category, const std::string &value)
{
    std::string made = "/N" + std::to_string(++names);
    entries[category] += made + " " + value + " ";
    return made;
}

std::string PaintedPage::object(const std::string &dictionary, const std::string &data)
{
    return ref(pdf->addStream(dictionary, data));
}

std::string PaintedPage::resources() const
{
    std::string text = "<< ";
    for (const auto &[category, values] : entries)
        text += category + " << " + values + ">> ";
    return text + ">>";
}

void PaintedPage::paint(PaintKind kind, const Rgb &colour, const Rectangle &place)
{
    const std::string colours = numbers(colour), form = "/Type /XObject /Subtype /Form /BBox [0 0 "
                                                        "99 99] /Resources << >> ";
    const std::string fill = filled(colour, place);
    auto image = [&](const std::string &more, const std::string &data) {
        add(placed(place, name("/XObject", object(IMAGE + more, data)) + " Do"));
    };
    switch (kind) {
    case PaintKind::FILL:
        return add(fill);
    case PaintKind::STROKE: {
        std::string y = number(place.y + place.side / 2);
        return add(colours + " RG " + number(place.side) + " w " + number(place.x) + " " + y +
                   " m " + number(place.x + place.side) + " " + y + " l S");
    }
    case PaintKind::TEXT: {
        std::string glyph = object("", "1000 0 0 0 1000 1000 d1 0 0 1000 1000 re f");
        std::string font =
            name("/Font",
                 "<< /Type /Font /Subtype /Type3 /FontBBox [0 0 1000 1000] /FontMatrix [0.001 0 "
                 "0 0.001 0 0] /FirstChar 97 /LastChar 97 /Widths [1000] /Encoding << "
                 "/Differences [97 /square] >> /CharProcs << /square " +
                     glyph + " >> /Resources << >> >>");
        return add(colours + " rg BT " + font + " " + number(place.side) + " Tf " +
                   number(place.x) + " " + number(place.y) + " Td (a) Tj ET");
    }
    case PaintKind::PICTURE:
        return image(COLOURS, pixels(colour));
    case PaintKind::INLINE_PICTURE:
        return add(placed(place, "BI /W 2 /H 2 /CS /RGB /BPC 8 /F /AHx ID " +
                                     hexadecimal(pixels(colour)) + " EI"));
    case PaintKind::STENCIL:
        add(colours + " rg");
        return image(STENCIL, std::string("\x80\x00", 2));
    case PaintKind::CUT_PICTURE:
        return image(
            COLOURS + ("/Mask " + object(IMAGE + std::string(STENCIL), std::string("\x80\x00", 2))),
            pixels(colour));
    case PaintKind::KEYED_PICTURE:
        return image(COLOURS + std::string("/Mask [20 30 220 240 20 30] "), pixels(colour));
    case PaintKind::MASKED_PICTURE:
        return image(COLOURS + ("/SMask " + object(IMAGE + std::string("/ColorSpace /DeviceGray "
                                                                       "/BitsPerComponent 8 "),
                                                   "\xff\xff\x80\x80")),
                     pixels(colour));
    case PaintKind::SHADING:
        return add("q " + box(place) + " re W n " + name("/Shading", shadingOf(colour, place)) +
                   " sh Q");
    case PaintKind::SHADING_PATTERN:
        return add(
            "/Pattern cs " +
            name("/Pattern", "<< /PatternType 2 /Shading " + shadingOf(colour, place) + " >>") +
            " scn " + box(place) + " re f");
    case PaintKind::TILING:
        return add("/Pattern cs " +
                   name("/Pattern",
                        object("/PatternType 1 /PaintType 1 /TilingType 1 /BBox [0 0 4 4] /XStep 4 "
                               "/YStep 4 /Resources << >> ",
                               filled(colour, {0, 0, 4}))) +
                   " scn " + box(place) + " re f");
    case PaintKind::FORM:
        return add(name("/XObject", object(form, fill)) + " Do");
    case PaintKind::GROUP:
        return add(name("/XObject", object(form + "/Group << /S /Transparency /I true >> ", fill)) +
                   " Do");
    case PaintKind::KNOCKOUT_GROUP:
        return add(name("/XObject", object(form + "/Group << /S /Transparency /K true /I true >> ",
                                           filled(OTHER, place) + " " + fill)) +
                   " Do");
    case PaintKind::HALF_GROUP:
        return add(
            name("/XObject", object("/Type /XObject /Subtype /Form /BBox [0 0 99 99] /Resources << "
                                    "/ExtGState << /Half << /ca 0.5 >> >> >> /Group << /S "
                                    "/Transparency /I true >> ",
                                    "/Half gs " + fill)) +
            " Do");
    case PaintKind::COUNT:
        break;
    }
}

void PaintedPage::finish(int side, const std::string &more)
{
    int stream = pdf->addStream("", content);
    pdf->addPage("/MediaBox [0 0 " + std::to_string(side) + " " + std::to_string(side) +
                 "] /Contents " + ref(stream) + " /Resources " + resources() + " " + more);
}
