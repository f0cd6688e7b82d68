/*
 * forms_test.cpp - form XObjects, and which resources their content sees
 */
#include <gtest/gtest.h>

#include "tests/postscript/page_set.h"

namespace {

const std::string BOX = " /BBox [0 0 100 100]";

/* Adds a form. */
int form(PdfBuilder *pdf, const std::string &content, const std::string &entries = BOX)
{
    return pdf->addStream("/Type /XObject /Subtype /Form" + entries, content);
}

std::string xobjects(const std::string &entries)
{
    return "/Resources << /XObject << " + entries + " >> >>";
}

/* An image of one pixel. */
int pixel(PdfBuilder *pdf, const std::string &rgb)
{
    return pdf->addStream("/Type /XObject /Subtype /Image /Width 1 /Height 1 /BitsPerComponent 8 "
                          "/ColorSpace /DeviceRGB",
                          rgb);
}

TEST(Forms, MatrixAndBox)
{
    PageSet set;
    int plain = form(&set.pdf, "1 0 0 rg 10 10 60 60 re f 10 w 20 20 60 60 re S");
    set.add("Do", "50 50 80 80 re S q 1 0 0 1 50 60 cm /Fm Do Q /Fm Do",
            xobjects("/Fm " + ref(plain)));
    int turned =
        form(&set.pdf, "0 0 1 rg 0 0 80 30 re f", BOX + " /Matrix [0.7 0.7 -0.7 0.7 90 20]");
    set.add("/Matrix", "/Fm Do", xobjects("/Fm " + ref(turned)));
    int clipped = form(&set.pdf, "0 0.5 0 rg 0 0 200 200 re f", " /BBox [30 40 120 160]");
    set.add("/BBox clips", "/Fm Do", xobjects("/Fm " + ref(clipped)));
    int flipped = form(&set.pdf, "0 0.5 0 rg 0 0 200 200 re f", " /BBox [120 160 30 40]");
    set.addLike("a box with its corners exchanged", "/Fm Do", xobjects("/Fm " + ref(flipped)),
                "/Fm Do", xobjects("/Fm " + ref(clipped)));
    int encoded = form(&set.pdf, "31203020302072672030203020313030203130302072652066>",
                       BOX + " /Filter /ASCIIHexDecode");
    set.add("/Filter", "/Fm Do", xobjects("/Fm " + ref(encoded)));
    set.expectRight();
}

TEST(Forms, TheGraphicsStateIsThePagesAndStaysItsOwn)
{
    PageSet set;
    int inherits = form(&set.pdf, "10 10 80 80 re f 1 0 0 rg 0 1 0 RG 20 w 2 J q q");
    set.add("colours come in and do not go out",
            "0 0 1 rg 5 w /Fm Do 120 20 60 60 re B 20 150 m 180 150 l S",
            xobjects("/Fm " + ref(inherits)));
    int unbalanced = form(&set.pdf, "Q Q Q 1 0 0 rg 10 10 80 80 re f");
    set.add("too many Q do not reach the page",
            "q 0.5 0 0 0.5 0 0 cm /Fm Do 0 0 1 rg "
            "120 120 200 200 re f Q",
            xobjects("/Fm " + ref(unbalanced)));
    set.expectRight();
}

TEST(Forms, ContentFindsTheResourcesOfItsForm)
{
    PageSet set;
    set.dpi = 216;
    int red = pixel(&set.pdf, "\xFF\x20\x20"), blue = pixel(&set.pdf, "\x20\x20\xFF");
    const std::string draw = "q 80 0 0 80 10 10 cm /Im Do Q";
    int own = form(&set.pdf, draw, BOX + " /Resources << /XObject << /Im " + ref(red) + " >> >>");
    int other =
        form(&set.pdf, draw, BOX + " /Resources << /XObject << /Im " + ref(blue) + " >> >>");
    const std::string all = "q 1 0 0 1 0 100 cm /Fm1 Do Q q 1 0 0 1 100 100 cm /Fm2 Do Q "
                            "q 80 0 0 80 60 10 cm /Im Do Q";
    int green = pixel(&set.pdf, "\x20\xA0\x20");
    std::string forms = "/Fm1 " + ref(own) + " /Fm2 " + ref(other);
    set.add("the page's image stands before the forms", all,
            xobjects("/Im " + ref(green) + " " + forms));
    set.add("the page's image stands behind the forms", all,
            xobjects(forms + " /Im " + ref(green)));
    set.add("the page's image stands between the forms", all,
            xobjects("/Fm1 " + ref(own) + " /Im " + ref(green) + " /Fm2 " + ref(other)));
    set.expectRight();
}

TEST(Forms, FontsAndSpacesOfAFormStayInIt)
{
    PageSet set;
    auto font = [](const std::string &name) {
        return "<< /Type /Font /Subtype /Type1 /BaseFont /" + name + " >>";
    };
    const std::string show = "BT /F1 30 Tf 10 40 Td (Text) Tj ET /C cs 1 sc 10 10 60 10 re f";
    int inner = form(&set.pdf, show,
                     BOX + " /Resources << /Font << /F1 " + font("Courier-Bold") +
                         " >> /ColorSpace << /C [/Indexed /DeviceRGB 1 <FFFFFFFF2020>] >> >>");
    set.add("font and colour space", "/Fm Do q 1 0 0 1 80 100 cm " + show + " Q",
            "/Resources << /XObject << /Fm " + ref(inner) + " >> /Font << /F1 " +
                font("Times-Roman") +
                " >> /ColorSpace << /C [/Indexed /DeviceRGB 1 <FFFFFF20A020>] >> >>");
    set.expectRight();
}

TEST(Forms, NestedFormsUnderOneName)
{
    PageSet set;
    int innermost = form(&set.pdf, "0 0 1 rg 30 30 40 40 re f");
    int middle = form(&set.pdf, "0 1 0 rg 20 20 60 60 re f /Fm0 Do",
                      BOX + " /Resources << /XObject << /Fm0 " + ref(innermost) + " >> >>");
    int outer = form(&set.pdf, "1 0 0 rg 10 10 80 80 re f /Fm0 Do",
                     BOX + " /Resources << /XObject << /Fm0 " + ref(middle) + " >> >>");
    set.add("three deep", "2 0 0 2 0 0 cm /Fm0 Do", xobjects("/Fm0 " + ref(outer)));
    set.expectRight();
}

TEST(Forms, AFormWithoutResourcesUsesThePages)
{
    PageSet set;
    int form1 = form(&set.pdf, "BT /F1 30 Tf 10 40 Td (Text) Tj ET");
    int other = form(&set.pdf, "BT /F1 20 Tf 10 10 Td (Other) Tj ET",
                     BOX + " /Resources << /Font << /F1 << /Type /Font /Subtype /Type1 "
                           "/BaseFont /Courier >> >> >>");
    set.add("page font", "/Other Do 1 0 0 1 60 90 cm /Fm Do",
            "/Resources << /XObject << /Other " + ref(other) + " /Fm " + ref(form1) +
                " >> /Font << /F1 << /Type /Font /Subtype /Type1 /BaseFont /Times-Bold >> >> >>");
    set.expectRight();
}

TEST(Forms, AClipThatAFormLeavesWaitingAppliesToTheNextPath)
{
    PageSet set;
    set.dpi = 216;
    const std::string rest = "/Fm Do 40 40 120 120 re 80 80 40 40 re f 1 0 0 rg 0 0 200 200 re f";
    for (const char *rule : {"W", "W*"}) {
        std::string alone = xobjects("/Fm " + ref(form(&set.pdf, rule)));
        set.add(rule, rest, alone);
        /* the path stays in the form */
        int path = form(&set.pdf, "10 10 80 80 re " + std::string(rule));
        set.addLike(rule + std::string(" behind a path"), rest, xobjects("/Fm " + ref(path)), rest,
                    alone);
    }
    int nested = form(&set.pdf, "/Fm Do",
                      " /BBox [0 0 200 200] " + xobjects("/Fm " + ref(form(&set.pdf, "W"))));
    set.add("of a form inside the form", rest, xobjects("/Fm " + ref(nested)));
    set.add("a form without one changes nothing", rest,
            xobjects("/Fm " + ref(form(&set.pdf, "10 10 80 80 re W n"))));
    set.expectRight();
}

TEST(Forms, AFormThatNamesItselfIsNotPaintedInsideItself)
{
    PageSet set;
    set.faultless = false;
    int self = form(&set.pdf, "1 0 0 rg 10 10 80 80 re f 0.5 0 0 0.5 0 0 cm /Fm Do");
    set.addLike("self", "2 0 0 2 0 0 cm /Fm Do", xobjects("/Fm " + ref(self)),
                "1 0 0 rg 20 20 160 160 re f");
    set.expectRight();
}

TEST(Forms, AnXObjectThatIsNotThereIsOneErrorAndThePageGoesOn)
{
    PageSet set;
    set.faultless = false;
    set.addLike("missing", "/Nothing Do 20 20 60 60 re f", "", "20 20 60 60 re f");
    set.expectRight();
}

} // namespace
