/*
 * colours_test.cpp - colour operators and colour spaces, those that leave no text included
 */
#include <gtest/gtest.h>

#include "tests/postscript/page_set.h"

namespace {

/* A filled square and a stroked one.  (CMYK colours in these tests are yellows and grays: for the
 * others the renderers have different ideas.) */
const std::string SQUARES = " 10 w 20 20 70 160 re f 115 25 65 150 re S";

std::string spaces(const std::string &entries)
{
    return "/Resources << /ColorSpace << " + entries + " >> >>";
}

TEST(Colours, DeviceOperators)
{
    PageSet set;
    set.add("black to begin with", SQUARES);
    set.add("g G", "0.7 g 0.4 G" + SQUARES);
    set.add("rg RG", "1 0.5 0 rg 0 0.3 0.8 RG" + SQUARES);
    set.add("k K", "0 0 1 0 k 0 0 0 0.6 K" + SQUARES);
    set.add("fill and stroke in turn", "1 0 0 rg 0 0 1 RG 8 w 20 20 60 60 re f 20 120 60 60 re S "
                                       "120 20 60 60 re f 120 120 60 60 re S");
    set.add("the colours belong to the saved state",
            "1 0 0 rg 0 0 1 RG q 0 1 0 rg 0 0.5 0.5 RG Q" + SQUARES);
    set.add("one colour used, then the other changed",
            "1 0 0 rg 20 20 160 40 re f 0 1 0 RG 9 w 20 90 160 20 re S 0 0 1 rg "
            "20 140 160 40 re f");
    set.expectRight();
}

TEST(Colours, SpacesByName)
{
    PageSet set;
    for (const char *space : {"DeviceGray", "DeviceRGB", "DeviceCMYK"})
        set.add(std::string("cs sets black in ") + space,
                "1 0 0 rg 0 1 0 RG /" + std::string(space) + " cs /" + space + " CS" + SQUARES);
    set.add("sc SC in DeviceGray", "/DeviceGray cs 0.8 sc /DeviceGray CS 0.5 SC" + SQUARES);
    set.add("sc SC in DeviceRGB",
            "/DeviceRGB cs 0.8 0 0.2 sc /DeviceRGB CS 0.2 0.8 0 SC" + SQUARES);
    set.add("scn SCN in DeviceCMYK",
            "/DeviceCMYK cs 0 0 1 0 scn /DeviceCMYK CS 0 0 0 0.6 SCN" + SQUARES);
    set.add("sc in the space that rg has set", "0 0 1 rg 0 0 1 RG 1 0.6 0 sc 0 1 0 SC" + SQUARES);
    set.add("spaces from the resources", "/A cs 0.9 0.4 0.1 sc /B CS 0.4 SC" + SQUARES,
            spaces("/A [/DeviceRGB] /B /DeviceGray"));
    set.expectRight();
}

TEST(Colours, CieSpaces)
{
    PageSet set;
    set.hasJob = false; /* what is damaged or missing is another matter when prepared */
    const std::string white = "<< /WhitePoint [0.9505 1 1.089] ";
    set.add("CalGray with its usual gamma", "/C cs 0.6 sc /C CS 0.3 SC" + SQUARES,
            spaces("/C [/CalGray " + white + "/Gamma 2.2 >>]"));
    set.add("CalRGB with its usual gamma and matrix",
            "/C cs 0.8 0.3 0.1 sc /C CS 0 0.5 1 SC" + SQUARES,
            spaces("/C [/CalRGB " + white +
                   "/Gamma [2.2 2.2 2.2] /Matrix [0.4124 0.2126 0.0193 "
                   "0.3576 0.7152 0.1192 0.1805 0.0722 0.9505] >>]"));
    set.add("Lab", "/C cs 60 50 -30 sc /C CS 40 -40 40 SC" + SQUARES,
            spaces("/C [/Lab " + white + "/Range [-100 100 -100 100] >>]"));
    set.add("Lab without a range", "/C cs 70 20 60 sc /C CS 50 0 0 SC" + SQUARES,
            spaces("/C [/Lab " + white + ">>]"));
    set.addLike("a space that the interpreter refuses is the device space of its size",
                "/C cs 1 0.5 0 sc /C CS 0 0 1 SC" + SQUARES,
                spaces("/C [/CalRGB << /WhitePoint [0 0 0] >>]"), "1 0.5 0 rg 0 0 1 RG" + SQUARES);
    set.expectRight();
}

TEST(Colours, IndexedSpaces)
{
    PageSet set;
    /* Two colours without a zero byte; strings end at one. */
    set.add("table in a string", "/I cs 1 sc /I CS 0 SC" + SQUARES,
            spaces("/I [/Indexed /DeviceRGB 1 <FF40A010C060>]"));
    int table = set.pdf.addStream("", std::string("\xFF\x00\x00\x00\x00\xFF", 6));
    set.add("table in a stream", "/I cs 1 sc /I CS 0 SC" + SQUARES,
            spaces("/I [/Indexed /DeviceRGB 1 " + ref(table) + "]"));
    int encoded = set.pdf.addStream("/Filter /ASCIIHexDecode", "FF0000 0000FF>");
    set.add("table in a filtered stream", "/I cs 1 sc /I CS 0 SC" + SQUARES,
            spaces("/I [/Indexed /DeviceRGB 1 " + ref(encoded) + "]"));
    set.add("the first entry to begin with", "/I cs /I CS" + SQUARES,
            spaces("/I [/Indexed /DeviceRGB 1 " + ref(encoded) + "]"));
    int profile = set.pdf.addStream("/N 3 /Alternate /DeviceRGB", "no profile");
    set.addLike("a base that leaves no text follows from the length of the table",
                "/I cs 1 sc /I CS 0 SC" + SQUARES,
                spaces("/I [/Indexed [/ICCBased " + ref(profile) + "] 1 " + ref(encoded) + "]"),
                "0 0 1 rg 1 0 0 RG" + SQUARES);
    set.addLike("a string that is cut at a zero byte is filled up with zeros",
                "/I cs 1 sc /I CS 0 SC" + SQUARES,
                spaces("/I [/Indexed /DeviceRGB 1 <20FF0000FF20>]"),
                "0 0 0 rg 0.125 1 0 RG" + SQUARES);
    /* Nothing is left of these two; most palettes that begin with a zero are black and white. */
    set.addLike("a string that begins with black", "/I cs 1 sc 0 0 200 200 re f 0 sc" + SQUARES,
                spaces("/I [/Indexed /DeviceRGB 1 <000000FFFFFF>]"),
                "1 g 0 0 200 200 re f 0 g" + SQUARES);
    set.addLike("a string that begins with white in CMYK",
                "/I cs 0 sc 0 0 200 200 re f 1 sc" + SQUARES,
                spaces("/I [/Indexed /DeviceCMYK 1 <00000000000000FF>]"),
                "1 g 0 0 200 200 re f 0 g" + SQUARES);
    int labTable = set.pdf.addStream("", std::string("\x90\xC0\x60\xB0\x40\xA0", 6));
    const std::string lab = "[/Lab << /WhitePoint [0.9505 1 1.089] /Range ";
    set.add("Lab", "/I cs 1 sc /I CS 0 SC" + SQUARES,
            spaces("/I [/Indexed " + lab + "[-128 127 -128 127] >>] 1 " + ref(labTable) + "]"));
    /* Here MuPDF takes the usual range. */
    const std::string range = "[-100 100 -80 120] >>]";
    set.addLike("Lab: the bytes run through the range", "/I cs 1 sc /I CS 0 SC" + SQUARES,
                spaces("/I [/Indexed " + lab + range + " 1 " + ref(labTable) + "]"),
                "/L cs 69 -49.8 45.5 sc /L CS 56.5 50.6 -4.7 SC" + SQUARES,
                spaces("/L " + lab + range));
    set.expectRight();
}

/* A tint transform with 8-bit samples, two positions. */
int tint(PdfBuilder *pdf, const std::string &range, const std::string &samples)
{
    return pdf->addStream(
        "/FunctionType 0 /Domain [0 1] /Range [" + range + "] /Size [2] /BitsPerSample 8", samples);
}

TEST(Colours, SeparationSpaces)
{
    PageSet set;
    int gray = tint(&set.pdf, "0 1", std::string("\xFF\x40", 2));
    set.add("one component", "/S cs 0.5 sc /S CS 1 SC" + SQUARES,
            spaces("/S [/Separation /Spot /DeviceGray " + ref(gray) + "]"));
    int cmyk = tint(&set.pdf, "0 1 0 1 0 1 0 1", std::string("\0\0\0\0\0\0\xFF\0", 8));
    set.add("four components, halfway between the samples",
            "/S cs 0.5 scn /S CS 0.75 SCN" + SQUARES,
            spaces("/S [/Separation /Gold#20#28matt#29 /DeviceCMYK " + ref(cmyk) + "]"));
    set.add("full ink to begin with", "/S cs /S CS" + SQUARES,
            spaces("/S [/Separation /Spot /DeviceCMYK " + ref(cmyk) + "]"));
    set.expectRight();
}

TEST(Colours, MissingSpacesTakeTheirMeaningFromUse)
{
    PageSet set;
    set.hasJob = false; /* what is damaged or missing is another matter when prepared */
    int profile = set.pdf.addStream("/N 3 /Alternate /DeviceRGB", "no profile");
    std::string missing = spaces("/C [/ICCBased " + ref(profile) + "]");
    set.addLike("one number: gray", "/C cs 0.6 sc /C CS 0.3 SC" + SQUARES, missing,
                "0.6 g 0.3 G" + SQUARES);
    set.addLike("three numbers: RGB", "/C cs 1 0.2 0 scn /C CS 0 0.2 1 SCN" + SQUARES, missing,
                "1 0.2 0 rg 0 0.2 1 RG" + SQUARES);
    set.addLike("four numbers: CMYK", "/C cs 0 0 1 0 sc /C CS 0 0 0 0.6 SC" + SQUARES, missing,
                "0 0 1 0 k 0 0 0 0.6 K" + SQUARES);
    set.addLike("no number: black", "1 0 0 rg /C cs /C CS" + SQUARES, missing, SQUARES);
    set.addLike("the number of components may change",
                "/C cs 1 0 0 sc 20 20 60 60 re f 0.5 sc 20 120 60 60 re f", missing,
                "1 0 0 rg 20 20 60 60 re f 0.5 g 20 120 60 60 re f");
    set.addLike("two numbers: inks", "/C cs 0.25 0.25 scn 20 20 160 160 re f", missing,
                "0.5 g 20 20 160 160 re f");
    set.expectRight();
}

/* The converter refuses documents with patterns in their resources; content can still name one. */
TEST(Colours, APatternThatIsNotThereLeavesNoMark)
{
    PageSet set;
    set.addLike("pattern", "/Pattern cs /P1 scn 0 0 200 200 re f 1 0 0 rg 20 20 60 60 re f", "",
                "1 0 0 rg 20 20 60 60 re f");
    set.addLike("pattern with a colour of its own",
                "/Pattern CS 0.5 0 0 /P1 SCN 20 w 0 0 200 200 re S 20 20 60 60 re f", "",
                "20 20 60 60 re f");
    set.expectRight();
}

TEST(Colours, AnUnknownSpaceIsOneErrorAndThePageGoesOn)
{
    PageSet set;
    set.faultless = false;
    set.addLike("no such resource", "/Nowhere cs 1 0 0 sc 20 20 60 60 re f", "",
                "1 0 0 rg 20 20 60 60 re f");
    set.expectRight();
}

/* The second space is the first one with red and blue exchanged; MuPDF reads no matrix. */
TEST(Colours, SpacesThatDifferInTheirMatrixAlone)
{
    PageSet set;
    const std::string common = "[/CalRGB << /WhitePoint [0.9505 1 1.089] /Gamma [2.2 2.2 2.2] "
                               "/Matrix [";
    set.addLike("two of them", "/A cs 1 0 0 sc 20 20 70 160 re f /B cs 1 0 0 sc 110 20 70 160 re f",
                "/Resources << /ColorSpace << /A " + common +
                    "0.4124 0.2126 0.0193 0.3576 0.7152 0.1192 0.1805 0.0722 0.9505] >>] /B " +
                    common +
                    "0.1805 0.0722 0.9505 0.3576 0.7152 0.1192 0.4124 0.2126 0.0193] >>] >> >>",
                "1 0 0 rg 20 20 70 160 re f 0 0 1 rg 110 20 70 160 re f");
    set.expectRight();
}

} // namespace
