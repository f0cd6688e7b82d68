/*
 * inheritance_test.cpp - what a form takes from the state in which it is painted
 *
 * Each document has a field for each kind of inherited state: the page selects something, and a
 * form that selects nothing paints with it.  The same content written into the page itself is what
 * the form must look like (ISO 32000-1, 8.10.1: the form begins with the state of its caller).
 */
#include <cstring>

#include <gtest/gtest.h>

#include "tests/prepare/preparation.h"
#include "tests/support/pdf_builder.h"

namespace {

/* What a caller selects, and what a form that inherits it paints in a field of 36 by 36. */
struct Inherited {
    const char *selection, *content;
};

constexpr Inherited fields[] = {
    {"0 0.6 0 rg", "4 4 28 28 re f"},
    {"/Sep cs 0.8 scn", "4 4 28 28 re f"},
    {"/Sep cs 0.8 scn", "4 4 12 28 re f 0.4 sc 20 4 12 28 re f"},
    {"/DN cs 1 0.2 scn", "4 4 28 28 re f"},
    {"/DN cs 1 0.2 scn", "4 4 12 28 re f 0.2 1 scn 20 4 12 28 re f"},
    {"/Pattern cs /P scn", "4 4 28 28 re f"},
    {"/Pattern cs /P scn", "18 32 m 32 4 l 4 4 l b*"},
    {"/PatternInk cs 0 0.5 1 /PInk scn", "4 4 28 28 re f"},
    {"/PatternInk cs 0 0.5 1 /PInk scn", "4 4 12 28 re f 1 0 0 /Q scn 20 4 12 28 re f"},
    {"/Pattern cs /Axial scn", "4 4 28 28 re f"},
    {"/None cs 1 scn", "4 4 28 28 re f 0 g 14 14 8 8 re f"},
    {"/Sep CS 0.7 SCN 6 w", "6 6 m 30 30 l S"},
    {"0 0 1 RG 5 w [6 3] 0 d", "4 18 m 34 18 l S"},
    {"6 w 1 J 0.8 0 0 RG", "10 10 m 26 26 l S"},
    {"0 0.4 0 rg BT /F1 26 Tf ET", "BT 4 8 Td (Ag) Tj ET"},
    {"/Pattern cs /P scn BT /F1 34 Tf ET", "BT 4 6 Td (H) Tj ET"},
    {"/Sep cs 0.8 scn /Half gs", "4 4 28 28 re f"},
};

const char CELL[] = "1 0 0 rg 0 0 6 12 re f 0 0 1 rg 6 0 6 12 re f";
const char FORM_ENTRIES[] = "/BBox [0 0 36 36] /Resources << >>";

/* The resources of all that is selected here. */
std::string resourcesOf(PdfBuilder *pdf)
{
    const std::string lattice = "/PatternType 1 /TilingType 1 /BBox [0 0 12 12] /XStep 12 "
                                "/YStep 12 /Resources << >> /PaintType ";
    std::string cell = ref(pdf->addStream(lattice + "1", CELL));
    std::string ink = ref(pdf->addStream(lattice + "2", "0 0 6 6 re f 6 6 6 6 re f"));
    std::string twoInks = ref(pdf->addStream("/FunctionType 4 /Domain [0 1 0 1] "
                                             "/Range [0 1 0 1 0 1]",
                                             "{ 0.3 }"));
    const std::string toRed = "<< /FunctionType 2 /Domain [0 1] /C0 [1 1 1] /C1 [1 0 0] /N 1 >>";
    return "/Pattern << /P " + cell + " /PInk " + ink +
           " /Axial << /PatternType 2 /Shading << /ShadingType 2 /ColorSpace /DeviceRGB /Coords "
           "[0 0 216 0] /Function << /FunctionType 2 /Domain [0 1] /C0 [1 0 0] /C1 [0 0 1] /N 1 "
           ">> >> >> >> /ColorSpace << /Sep [/Separation /Spot /DeviceRGB " +
           toRed + "] /None [/Separation /None /DeviceRGB " + toRed +
           "] /DN [/DeviceN [/A /B] /DeviceRGB " + twoInks +
           "] /PatternInk [/Pattern /DeviceRGB] >> /Font << /F1 << /Type /Font /Subtype /Type1 "
           "/BaseFont /Helvetica-Bold >> >> /ExtGState << /Half << /ca 0.5 /CA 0.5 >> /Full << /ca "
           "1 "
           "/CA 1 >> >> ";
}

/* The content as it stands in a page: with the page's pattern, and with inks as the colours that
 * they come to, because not all renderers mix the inks of a DeviceN space alike. */
std::string inPage(std::string content)
{
    constexpr const char *others[][2] = {
        {"/Q", "/PInk"}, {"/DN cs 1 0.2 scn", "1 0.2 0.3 rg"}, {"0.2 1 scn", "0.2 1 0.3 rg"}};
    for (auto [part, other] : others)
        if (size_t at = content.find(part); at != std::string::npos)
            content.replace(at, strlen(part), other);
    return content;
}

/* A page of fields, six in a row; `paint` writes what paints the content of a field. */
template <class Paint> std::string pageOfFields(PdfBuilder *pdf, Paint paint)
{
    std::string resources = resourcesOf(pdf), content, objects;
    int number = 0;
    for (const Inherited &field : fields) {
        std::string name = "/Fm" + std::to_string(number), place;
        place = "1 0 0 1 " + std::to_string(number % 6 * 36) + " " +
                std::to_string(number / 6 * 36) + " cm ";
        number++;
        int form = 0;
        std::string painting = paint(field, name, &form);
        if (form)
            objects += name + " " + ref(form) + " ";
        content += "q " + place + (form ? field.selection : inPage(field.selection)) + " " +
                   painting + " Q\n";
    }
    int stream = pdf->addStream("", content);
    pdf->addPage("/MediaBox [0 0 216 108] /Contents " + ref(stream) + " /Resources << " +
                 resources + "/XObject << " + objects + ">> >>");
    return pdf->build();
}

/* What all of it looks like: each content in the page itself, at another scale if wanted. */
std::string plainPage(const std::string &before)
{
    PdfBuilder pdf;
    return pageOfFields(&pdf, [&](const Inherited &field, const std::string &, int *) {
        return before + inPage(field.content);
    });
}

/* A form's entries; with a pattern of its own where its content names one. */
std::string entriesOf(PdfBuilder *pdf, const Inherited &field)
{
    std::string entries = FORM_ENTRIES;
    if (std::string(field.content).find("/Q") == std::string::npos)
        return entries;
    std::string ink = ref(pdf->addStream("/PatternType 1 /TilingType 1 /BBox [0 0 12 12] /XStep "
                                         "12 /YStep 12 /Resources << >> /PaintType 2",
                                         "0 0 6 6 re f 6 6 6 6 re f"));
    return entries.replace(entries.find("<< >>"), 5, "<< /Pattern << /Q " + ink + " >> >>");
}

} // namespace

TEST(Inheritance, FormsPaintWithWhatTheirCallerSelected)
{
    PdfBuilder pdf;
    std::string inheriting =
        pageOfFields(&pdf, [&](const Inherited &field, const std::string &name, int *form) {
            *form = pdf.addForm(field.content, entriesOf(&pdf, field));
            return name + " Do";
        });
    expectPrintedAs(inheriting, plainPage(""));
}

TEST(Inheritance, FormsWithinFormsPaintWithWhatThePageSelected)
{
    PdfBuilder pdf;
    std::string inheriting =
        pageOfFields(&pdf, [&](const Inherited &field, const std::string &name, int *form) {
            std::string inner = ref(pdf.addForm(field.content, entriesOf(&pdf, field)));
            *form = pdf.addForm("q /In Do Q", "/BBox [0 0 36 36] /Resources << /XObject << /In " +
                                                  inner + " >> >>");
            return name + " Do";
        });
    expectPrintedAs(inheriting, plainPage(""));
}

TEST(Inheritance, AFormIsAnotherOneWhereAnotherThingIsSelected)
{
    /* One form for all fields that fill a square. */
    PdfBuilder pdf;
    int shared = 0;
    std::string inheriting =
        pageOfFields(&pdf, [&](const Inherited &field, const std::string &name, int *form) {
            if (!shared)
                shared = pdf.addForm(fields[0].content, FORM_ENTRIES);
            bool isSquare = std::string(field.content) == fields[0].content;
            *form = isSquare ? shared : pdf.addForm(field.content, entriesOf(&pdf, field));
            return name + " Do";
        });
    expectPrintedAs(inheriting, plainPage(""));
}

TEST(Inheritance, FormsThatAreScaledKeepPatternsWhereThePageHasThem)
{
    PdfBuilder pdf;
    std::string inheriting =
        pageOfFields(&pdf, [&](const Inherited &field, const std::string &name, int *form) {
            std::string entries = entriesOf(&pdf, field) + " /Matrix [0.75 0 0 0.5 3 4]";
            *form = pdf.addForm(field.content, entries);
            return name + " Do";
        });
    expectPrintedAs(inheriting, plainPage("0.75 0 0 0.5 3 4 cm "));
}

TEST(Inheritance, FormsThatAreRewrittenForTheirAlphaGoOnInTheInheritedPaint)
{
    /* The first paint is too small to be seen at all. */
    const std::string small = "/Low gs 0 0 1 1 re f /Full gs ";
    const std::string states = "/ExtGState << /Low << /ca 0.5 >> /Full << /ca 1 >> >> ";
    PdfBuilder pdf;
    std::string inheriting =
        pageOfFields(&pdf, [&](const Inherited &field, const std::string &name, int *form) {
            std::string entries = entriesOf(&pdf, field);
            entries.insert(entries.find("<< ", entries.find("/Resources")) + 3, states);
            bool isPattern = std::string(field.selection).find("/Pattern") == 0;
            std::string before = isPattern ? "q 1 0 0 rg " + small + "Q " : small;
            *form = pdf.addForm(before + field.content, entries);
            return name + " Do";
        });
    expectPrintedAs(inheriting, plainPage("/Full gs "));
}
