/*
 * documents_test.cpp - documents that hold more than the converter writes
 *
 * Each test is one document as the program converts it, and says how it must look: like a document
 * that does without what is not written.
 */
#include <gtest/gtest.h>
#include <zlib.h>

#include "tests/compress/encoders.h"
#include "tests/postscript/page_set.h"

namespace {

const std::string TWO_SQUARES = " 20 20 70 160 re f 110 20 70 160 re f ";
const std::string IMAGE = "q 160 0 0 160 20 20 cm /Im Do Q ";
const std::string REST = " 1 0 0 rg 20 20 160 30 re f";
const std::string HELVETICA = "<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica >>";

/* Red, green, blue and orange, 2 by 2. */
const std::string COLOURS("\xF0\x20\x10\x20\xA0\x30\x20\x30\xE0\xF0\xA0\x10", 12);

/* An ICC colour space; what its profile says does not matter here. */
std::string icc(PdfBuilder *pdf, int components)
{
    return "[/ICCBased " +
           ref(pdf->addStream("/N " + std::to_string(components), "a profile of some kind")) + "]";
}

std::string spaces(const std::string &entries)
{
    return "/Resources << /ColorSpace << " + entries + " >> >>";
}

/* Page entries with an image under the name /Im. */
std::string image(PdfBuilder *pdf, const std::string &entries, const std::string &data)
{
    int number =
        pdf->addStream("/Type /XObject /Subtype /Image /BitsPerComponent 8 " + entries, data);
    return "/Resources << /XObject << /Im " + ref(number) + " >> >>";
}

std::string deflated(const std::string &data)
{
    std::string out(compressBound((uLong)data.size()), '\0');
    uLongf size = (uLongf)out.size();
    compress((Bytef *)out.data(), &size, (const Bytef *)data.data(), (uLong)data.size());
    out.resize(size);
    return out;
}

/* Colours of ICC profiles look like the device colours with as many components. */
TEST(Documents, WithIccColours)
{
    PageSet set;
    std::string resources = spaces("/Gray " + icc(&set.pdf, 1) + " /Rgb " + icc(&set.pdf, 3) +
                                   " /Cmyk " + icc(&set.pdf, 4));
    set.addLike(
        "one, three and four components",
        "/Gray cs 0.6 scn 10 20 50 160 re f /Rgb cs 1 0.4 0 scn 70 20 50 160 re f "
        "/Cmyk cs 0 0 1 0 scn 130 20 50 160 re f /Rgb CS 0 0.3 0.9 SCN 8 w 5 5 190 190 re S",
        resources,
        "0.6 g 10 20 50 160 re f 1 0.4 0 rg 70 20 50 160 re f "
        "0 0 1 0 k 130 20 50 160 re f 0 0.3 0.9 RG 8 w 5 5 190 190 re S");
    set.addLike("black before a colour is chosen",
                "1 0 0 rg /Gray cs 20 20 70 160 re f 1 0 0 rg /Rgb cs 110 20 70 160 re f",
                resources, "0 g" + TWO_SQUARES);
    set.expectRight();
}

/* Images with ICC profiles look like device images; the data tell how many components there are. */
TEST(Documents, WithIccImages)
{
    PageSet set;
    auto add = [&set](const std::string &name, int components, const std::string &device,
                      const std::string &entries, const std::string &data) {
        set.addLike(name, IMAGE,
                    image(&set.pdf, entries + " /ColorSpace " + icc(&set.pdf, components), data),
                    IMAGE, image(&set.pdf, entries + " /ColorSpace /" + device, data));
    };
    add("gray", 1, "DeviceGray", "/Width 3 /Height 4", COLOURS);
    add("RGB", 3, "DeviceRGB", "/Width 2 /Height 2", COLOURS);
    add("RGB, compressed", 3, "DeviceRGB", "/Width 2 /Height 2 /Filter /FlateDecode",
        deflated(COLOURS));
    add("CMYK", 4, "DeviceCMYK", "/Width 2 /Height 1", std::string("\0\0\xF0\0\0\0\0\x90", 8));
    set.expectRight();
}

/* A palette on an ICC profile has the colours that its bytes are as device colours. */
TEST(Documents, WithIccPalettes)
{
    PageSet set;
    const std::string palette = " 3 <F0202020A0302030E0F0A010>]";
    const std::string fields = "/Width 2 /Height 2 /ColorSpace [/Indexed ";
    const std::string samples("\0\1\2\3", 4);
    set.addLike("image", IMAGE, image(&set.pdf, fields + icc(&set.pdf, 3) + palette, samples),
                IMAGE, image(&set.pdf, fields + "/DeviceRGB" + palette, samples));
    set.addLike("fill", "/I cs 1 sc" + TWO_SQUARES,
                spaces("/I [/Indexed " + icc(&set.pdf, 3) + palette), "/I cs 1 sc" + TWO_SQUARES,
                spaces("/I [/Indexed /DeviceRGB" + palette));
    set.expectRight();
}

/* Several inks are printed as the gray that all of them together make on paper. */
TEST(Documents, WithSeveralInks)
{
    PageSet set;
    int tint = set.pdf.addStream("/FunctionType 4 /Domain [0 1 0 1] /Range [0 1 0 1 0 1 0 1]",
                                 "{ 0 exch 0 exch }");
    std::string inks = "/N [/DeviceN [/Gold /Black] /DeviceCMYK " + ref(tint) + "]";
    set.addLike("two inks", "/N cs 0.25 0.5 scn 20 20 70 160 re f 1 1 scn 110 20 70 160 re f",
                spaces(inks), "0.25 g 20 20 70 160 re f 0 g 110 20 70 160 re f");
    set.expectRight();
}

/* Fonts that are not embedded look like resident ones of the same style, with their accents. */
TEST(Documents, WithoutTheirFonts)
{
    PageSet set;
    const std::string show = "BT /F1 24 Tf 10 130 Td (Gr\\374\\337e, caf\\351) Tj 0 -50 Td "
                             "(\\223quoted\\224 \\226 \\200 5) Tj ET";
    const std::pair<const char *, const char *> fonts[] = {
        {"/Subtype /TrueType /BaseFont /Verdana-Bold", "Helvetica-Bold"},
        {"/Subtype /Type1 /BaseFont /ABCDEF+Garamond-Italic", "Times-Italic"},
        {"/Subtype /TrueType /BaseFont /CourierNew,BoldItalic", "Courier-BoldOblique"}};
    for (auto [missing, resident] : fonts) {
        auto font = [](const std::string &entries) {
            return "/Resources << /Font << /F1 << /Type /Font " + entries +
                   " /Encoding /WinAnsiEncoding >> >> >>";
        };
        set.addLike(missing, show, font(missing), show,
                    font("/Subtype /Type1 /BaseFont /" + std::string(resident)));
    }
    set.expectRight();
}

/* Text in two-byte codes stays white, as wide as it was, and the other text is printed. */
TEST(Documents, WithTwoByteFonts)
{
    PageSet set;
    set.faultless = false; /* the converter names the kind of font */
    int descendant = set.pdf.add("<< /Type /Font /Subtype /CIDFontType0 /BaseFont /Gothic "
                                 "/CIDSystemInfo << /Registry (Adobe) /Ordering (Japan1) "
                                 "/Supplement 2 >> >>");
    set.addLike("between other text",
                "BT /F1 20 Tf 20 120 Td (before ) Tj /F2 20 Tf <04A1042804A1> Tj /F1 20 Tf "
                "(after) Tj ET",
                "/Resources << /Font << /F1 " + HELVETICA +
                    " /F2 << /Type /Font /Subtype /Type0 /BaseFont /Gothic-Identity-H /Encoding "
                    "/Identity-H /DescendantFonts [" +
                    ref(descendant) + "] >> >> >>",
                "BT /F1 20 Tf 20 120 Td [(before ) -3000 (after)] TJ ET",
                "/Resources << /Font << /F1 " + HELVETICA + " >> >>");
    set.expectRight();
}

/* Transparency is printed opaque, whatever a graphics state or an image says about it. */
TEST(Documents, WithTransparency)
{
    PageSet set;
    int mask = set.pdf.addStream("/Type /XObject /Subtype /Image /BitsPerComponent 8 /Width 1 "
                                 "/Height 1 /ColorSpace /DeviceGray",
                                 "\x40");
    set.addLike("constant alpha and a blend mode",
                "1 0 0 rg 20 20 100 100 re f /Soft gs 0 0 1 rg 80 80 100 100 re f",
                "/Resources << /ExtGState << /Soft << /Type /ExtGState /ca 0.3 /CA 0.5 /BM "
                "/Multiply /AIS false /SMask /None >> >> >>",
                "1 0 0 rg 20 20 100 100 re f 0 0 1 rg 80 80 100 100 re f");
    const std::string entries = "/Width 2 /Height 2 /ColorSpace /DeviceRGB ";
    set.addLike("an image with a soft mask", "0 g 0 0 200 100 re f " + IMAGE,
                image(&set.pdf, entries + "/SMask " + ref(mask), COLOURS),
                "0 g 0 0 200 100 re f " + IMAGE, image(&set.pdf, entries, COLOURS));
    set.expectRight();
}

/* What later versions mark as optional or tagged is printed as part of the page. */
TEST(Documents, WithLayersAndTags)
{
    PageSet set;
    int layer = set.pdf.add("<< /Type /OCG /Name (Layer) >>");
    set.addLike("marked content",
                "/OC /Layer1 BDC 1 0 0 rg 20 20 70 160 re f EMC /P << /MCID 0 /Lang (en) >> BDC "
                "/Span << /ActualText (x) /E [1 2 (3)] >> BDC 0 0 1 rg 110 20 70 160 re f EMC EMC",
                "/Resources << /Properties << /Layer1 " + ref(layer) + " >> >>",
                "1 0 0 rg 20 20 70 160 re f 0 0 1 rg 110 20 70 160 re f");
    set.expectRight();
}

/* Operators that nobody knows, shadings among them, cost nothing but themselves. */
TEST(Documents, WithUnknownOperators)
{
    PageSet set;
    set.faultless = false;
    set.addLike("in a compatibility section", "BX 1 2 /x frob (y) [3 4] knob EX" + REST, "", REST);
    set.addLike("without one", "0 0 1 rg 20 120 60 60 re f 1 2 3 frob /a /b knob" + REST, "",
                "0 0 1 rg 20 120 60 60 re f" + REST);
    int shading = set.pdf.add("<< /ShadingType 2 /ColorSpace /DeviceGray /Coords [0 0 1 0] >>");
    set.addLike("a shading", "q 20 100 160 80 re W n /Sh sh Q" + REST,
                "/Resources << /Shading << /Sh " + ref(shading) + " >> >>", REST);
    set.expectRight();
}

/* An error in the middle of a page costs its operator; the rest of the page and the next page are
 * printed. */
TEST(Documents, WithErrorsInTheirContent)
{
    PageSet set;
    set.faultless = false;
    set.addLike("operands that are missing or wrong",
                "0 0 1 rg 20 120 60 60 re f (a) w 1 0 0 m l [ 1 2 (x) ] d Q Q /F9 12 Tf 1 2 scn "
                "/Nowhere Do /Nowhere gs n" +
                    REST,
                "", "0 0 1 rg 20 120 60 60 re f" + REST);
    set.addLike("brackets that do not match", "0 0 1 rg 20 120 60 60 re f ] >> << [ 3 ET" + REST,
                "", "0 0 1 rg 20 120 60 60 re f" + REST);
    set.add("the next page", "0 0.5 0 rg 40 40 100 100 re f");
    set.expectRight();
}

/* Content whose compressed data break off prints what can be decoded; the next page is printed. */
TEST(Documents, WithStreamsThatBreakOff)
{
    PageSet set;
    set.faultless = false;
    std::string content = "1 0 0 rg 20 20 100 160 re f\n";
    for (int i = 0; i < 3000; i++)
        content += "% " + std::to_string(i * 7919 % 10007) + "\n";
    std::string data = deflated(content);
    int stream = set.pdf.addStream("/Filter /FlateDecode", data.substr(0, data.size() / 2));
    set.addLike("half of the data", "", "/Contents " + ref(stream), "1 0 0 rg 20 20 100 160 re f");
    set.add("the next page", "0 0.5 0 rg 40 40 100 100 re f");
    set.expectRight();
}

} // namespace
