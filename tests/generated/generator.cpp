/*
 * generator.cpp - draws from the model of a page, one choice after the other
 */
#include "tests/generated/generator.h"

#include <vector>

namespace {

constexpr int DEEPEST = 3; /* forms in forms */

void append32(std::string *bytes, uint32_t value)
{
    for (int shift = 24; shift >= 0; shift -= 8)
        bytes->push_back((char)(value >> shift & 255));
}

/* A profile of a display: the primaries of sRGB, as seen under D50, and a gamma of 2.2. */
std::string displayProfile()
{
    struct Tag {
        const char *name;
        std::vector<uint32_t> value; /* 16.16; one: a curve of that gamma, in 8.8 */
    };
    const std::vector<Tag> tags = {{"wtpt", {0xF6D6, 0x10000, 0xD32D}},
                                   {"rXYZ", {0x6FA2, 0x38F5, 0x0390}},
                                   {"gXYZ", {0x6299, 0xB785, 0x18DA}},
                                   {"bXYZ", {0x24A0, 0x0F84, 0xB6CF}},
                                   {"rTRC", {0x0233}},
                                   {"gTRC", {0x0233}},
                                   {"bTRC", {0x0233}}};
    std::string table, data;
    append32(&table, (uint32_t)tags.size());
    const size_t begin = 128 + 4 + 12 * tags.size();
    for (const Tag &tag : tags) {
        size_t at = data.size();
        bool isCurve = tag.value.size() == 1;
        data += isCurve ? "curv" : "XYZ ";
        append32(&data, 0);
        if (isCurve) {
            append32(&data, 1);
            append32(&data, tag.value[0] << 16);
        } else {
            for (uint32_t value : tag.value)
                append32(&data, value);
        }
        table += tag.name;
        append32(&table, (uint32_t)(begin + at));
        append32(&table, (uint32_t)(isCurve ? 14 : 20));
    }
    std::string header;
    append32(&header, (uint32_t)(begin + data.size()));
    header += std::string(4, '\0') + "\x02\x10" + std::string(2, '\0') + "mntrRGB XYZ ";
    header += std::string(12, '\0') + "acsp";
    header.resize(68);
    for (uint32_t value : {0xF6D6u, 0x10000u, 0xD32Du})
        append32(&header, value);
    header.resize(128);
    return header + table + data;
}

} // namespace

GeneratedDocument::GeneratedDocument()
{
    pdf.header = "%PDF-1.4\n";
    profile = pdf.addStream("/N 3 /Alternate /DeviceRGB", displayProfile());
    font = pdf.add("<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica-Bold >>");
}

/* Numbers from 0 to 1, each with a blank behind it. */
std::string GeneratedDocument::tenths(int count)
{
    std::string numbers;
    for (int i = 0; i < count; i++) {
        int tenth = below(11);
        numbers += tenth == 10 ? "1 " : "0." + std::to_string(tenth) + " ";
    }
    return numbers;
}

std::string GeneratedDocument::coordinate(int lowest, int highest)
{
    return std::to_string(lowest + below(highest - lowest + 1)) + " ";
}

std::string GeneratedDocument::name(Scope *scope, const std::string &category,
                                    const std::string &value)
{
    std::string made = "/N" + std::to_string(++scope->names);
    scope->resources[category] += made + " " + value + " ";
    return made + " ";
}

std::string GeneratedDocument::resourcesOf(const Scope &scope)
{
    std::string text = "/Resources << ";
    for (const auto &[category, entries] : scope.resources)
        text += "/" + category + " << " + entries + ">> ";
    return text + ">> ";
}

std::string GeneratedDocument::colourFunction()
{
    return "<< /FunctionType 2 /Domain [0 1] /N 1 /C0 [" + tenths(3) + "] /C1 [" + tenths(3) +
           "] >>";
}

std::string GeneratedDocument::shading()
{
    std::string extend = " /Extend [" + std::string(oneIn(2) ? "true" : "false") + " true]";
    switch (below(3)) {
    case 0:
        traits.insert("shading-1");
        return "<< /ShadingType 1 /ColorSpace /DeviceRGB /Domain [0 200 0 200] /Function " +
               ref(pdf.addStream("/FunctionType 4 /Domain [0 200 0 200] /Range [0 1 0 1 0 1]",
                                 "{ 200 div exch 200 div exch 0.5 }")) +
               " >>";
    case 1:
        traits.insert("shading-2");
        return "<< /ShadingType 2 /ColorSpace /DeviceRGB /Coords [" + coordinate(0, 90) +
               coordinate(0, 90) + coordinate(110, 200) + coordinate(110, 200) + "]" + extend +
               " /Function " + colourFunction() + " >>";
    default:
        traits.insert("shading-3");
        return "<< /ShadingType 3 /ColorSpace /DeviceRGB /Coords [100 100 0 100 100 " +
               coordinate(60, 150) + "]" + extend + " /Function " + colourFunction() + " >>";
    }
}

void GeneratedDocument::setComponents(Scope *scope, bool stroke, int count)
{
    if (!stroke)
        scope->components = count;
}

void GeneratedDocument::setDeviceColour(Scope *scope, bool stroke)
{
    switch (below(hasInks ? 3 : 2)) {
    case 0:
        setComponents(scope, stroke, 1);
        scope->content += tenths(1) + (stroke ? "G " : "g ");
        return;
    case 1:
        setComponents(scope, stroke, 3);
        scope->content += tenths(3) + (stroke ? "RG " : "rg ");
        return;
    default:
        traits.insert("cmyk");
        setComponents(scope, stroke, 4);
        scope->content += tenths(4) + (stroke ? "K " : "k ");
    }
}

void GeneratedDocument::setSpaceColour(Scope *scope, bool stroke)
{
    std::string space, components;
    switch (below(6)) {
    case 0:
        traits.insert("cal-gray");
        setComponents(scope, stroke, 1);
        space = "[/CalGray << /WhitePoint [0.9505 1 1.089] /Gamma 2.2 >>]";
        components = tenths(1);
        break;
    case 1:
        traits.insert("cal-rgb");
        setComponents(scope, stroke, 3);
        space = "[/CalRGB << /WhitePoint [0.9505 1 1.089] /Gamma [2.2 2.2 2.2] /Matrix [0.4124 "
                "0.2126 0.0193 0.3576 0.7152 0.1192 0.1805 0.0722 0.9505] >>]";
        components = tenths(3);
        break;
    case 2:
        traits.insert("icc");
        setComponents(scope, stroke, 3);
        space = "[/ICCBased " + ref(profile) + "]";
        components = tenths(3);
        break;
    case 3:
        traits.insert("indexed");
        setComponents(scope, stroke, 1);
        space = "[/Indexed /DeviceRGB 3 <FF0000 00A040 2040C0 F0D000>]";
        components = coordinate(0, 3);
        break;
    case 4:
        traits.insert("separation");
        setComponents(scope, stroke, 1);
        space = "[/Separation /Spot" + std::to_string(below(3)) +
                " /DeviceRGB << /FunctionType 2 "
                "/Domain [0 1] /N 1 /C0 [1 1 1] /C1 [" +
                tenths(3) + "] >>]";
        components = tenths(1);
        break;
    default:
        traits.insert("device-n");
        setComponents(scope, stroke, 2);
        space = "[/DeviceN [/One /Two] /DeviceRGB " +
                ref(pdf.addStream("/FunctionType 4 /Domain [0 1 0 1] /Range [0 1 0 1 0 1]",
                                  "{ 1 exch sub exch 1 exch sub exch 0.5 }")) +
                "]";
        components = tenths(2);
    }
    scope->content += name(scope, "ColorSpace", space) + (stroke ? "CS " : "cs ") + components +
                      (stroke ? "SCN " : "scn ");
}

int GeneratedDocument::tilingCell(const Scope &scope, bool coloured)
{
    Scope cell;
    cell.depth = scope.depth + 1;
    if (coloured)
        setDeviceColour(&cell, false);
    cell.content += "0 0 14 30 re f ";
    if (coloured && oneIn(2)) {
        setSpaceColour(&cell, false);
        cell.content += "14 0 16 15 re f ";
    }
    return pdf.addStream(
        "/Type /Pattern /PatternType 1 /PaintType " + std::string(coloured ? "1" : "2") +
            " /TilingType 1 /BBox [0 0 30 30] /XStep 30 /YStep 30 " + resourcesOf(cell),
        cell.content);
}

void GeneratedDocument::setPattern(Scope *scope, bool stroke)
{
    setComponents(scope, stroke, 0);
    const std::string set = stroke ? "CS " : "cs ", select = stroke ? "SCN " : "scn ";
    switch (below(3)) {
    case 0:
        traits.insert("tiling");
        scope->content +=
            "/Pattern " + set + name(scope, "Pattern", ref(tilingCell(*scope, true))) + select;
        return;
    case 1:
        traits.insert("tiling-uncoloured");
        scope->content += name(scope, "ColorSpace", "[/Pattern /DeviceRGB]") + set + tenths(3);
        scope->content += name(scope, "Pattern", ref(tilingCell(*scope, false))) + select;
        return;
    default:
        scope->content +=
            "/Pattern " + set +
            name(scope, "Pattern", "<< /PatternType 2 /Shading " + shading() + " >>") + select;
    }
}

void GeneratedDocument::setColour(Scope *scope, bool stroke)
{
    switch (below(4)) {
    case 0:
        return setPattern(scope, stroke);
    case 1:
        return setDeviceColour(scope, stroke);
    default:
        return setSpaceColour(scope, stroke);
    }
}

void GeneratedDocument::setAlpha(Scope *scope)
{
    if (hasInks)
        return;
    traits.insert("alpha");
    scope->content +=
        name(scope, "ExtGState", oneIn(2) ? "<< /ca 0.5 /CA 0.5 >>" : "<< /ca 0.7 /CA 0.3 >>") +
        "gs ";
}

void GeneratedDocument::setState(Scope *scope)
{
    switch (below(6)) {
    case 0:
        setAlpha(scope);
        return;
    case 1:
        scope->content += coordinate(2, 24) + "w ";
        return;
    case 2:
        traits.insert("dash");
        scope->content += "[" + coordinate(20, 40) + coordinate(10, 30) + "] 0 d ";
        return;
    case 3:
        return setColour(scope, true);
    default:
        return setColour(scope, false);
    }
}

std::string GeneratedDocument::rectangle()
{
    return coordinate(0, 120) + coordinate(0, 120) + coordinate(40, 120) + coordinate(40, 120) +
           "re ";
}

/* A form paints with what its caller has set, or with another colour of the caller's space. */
void GeneratedDocument::inherit(Scope *form)
{
    traits.insert("inherits");
    if (form->components > 0 && oneIn(2)) {
        traits.insert("inherits-space");
        form->content += tenths(form->components) + "scn ";
    }
    form->content += rectangle() + "f ";
    if (oneIn(2))
        paint(form);
}

void GeneratedDocument::paintForm(Scope *scope)
{
    traits.insert(scope->depth > 0 ? "form-in-form" : "form");
    Scope form;
    form.depth = scope->depth + 1;
    form.resources["Font"] = "/F " + ref(font) + " ";
    if (oneIn(2)) {
        setColour(&form, false);
        setColour(&form, true);
    } else {
        if (oneIn(2))
            setColour(scope, false);
        form.components = scope->components;
        if (oneIn(2))
            setAlpha(oneIn(2) ? scope : &form);
        inherit(&form);
    }
    for (int steps = 1 + below(3); steps > 0; steps--)
        step(&form);
    std::string entries = "/Type /XObject /Subtype /Form /BBox [0 0 200 200] ";
    if (oneIn(3))
        entries += "/Matrix [0.8 0 0 0.8 " + coordinate(0, 40) + coordinate(0, 40) + "] ";
    if (oneIn(3)) {
        traits.insert("group");
        entries += "/Group << /S /Transparency " + std::string(oneIn(2) ? "/I true " : "") + ">> ";
    }
    scope->content +=
        name(scope, "XObject", ref(pdf.addStream(entries + resourcesOf(form), form.content))) +
        "Do ";
}

void GeneratedDocument::paint(Scope *scope)
{
    switch (below(scope->depth < DEEPEST ? 10 : 7)) {
    case 0:
        scope->content += rectangle() + "S ";
        return;
    case 1:
        scope->content += rectangle() + "B ";
        return;
    case 2:
        scope->content += coordinate(0, 200) + "0 m " + coordinate(0, 200) + "200 l S ";
        return;
    case 3:
        scope->content +=
            "10 10 m 190 " + coordinate(20, 100) + "l " + coordinate(20, 180) + "190 l h f* ";
        return;
    case 4:
        traits.insert("text");
        scope->content +=
            "BT /F 90 Tf " + coordinate(0, 60) + coordinate(0, 130) + "Td (IH) Tj ET ";
        return;
    case 5:
        scope->content += "q " + rectangle() + "W n " + name(scope, "Shading", shading()) + "sh Q ";
        return;
    case 6:
        scope->content += rectangle() + "f ";
        return;
    default:
        paintForm(scope);
    }
}

void GeneratedDocument::step(Scope *scope)
{
    bool isKept = oneIn(2);
    int components = scope->components;
    scope->content += isKept ? "q " : "";
    if (oneIn(8))
        scope->content += "20 20 150 150 re W n ";
    for (int changes = below(4); changes > 0; changes--)
        setState(scope);
    paint(scope);
    scope->content += isKept ? "Q\n" : "\n";
    if (isKept)
        scope->components = components;
}

std::string GeneratedDocument::addPage(uint32_t seed)
{
    random.seed(seed);
    traits.clear();
    hasInks = oneIn(2);
    Scope page;
    page.resources["Font"] = "/F " + ref(font) + " ";
    for (int steps = 3 + below(5); steps > 0; steps--)
        step(&page);
    pdf.addPage("/MediaBox [0 0 200 200] " + resourcesOf(page) + "/Contents " +
                ref(pdf.addStream("", page.content)));
    std::string words;
    for (const std::string &trait : traits)
        words += (words.empty() ? "" : " ") + trait;
    return words;
}
