/*
 * golden_pages_test.cpp - whole page descriptions, byte for byte
 *
 * Each document holds one page; what is written for it stands in golden/.  The other suites look
 * at the parts, these files at how they follow each other.  golden/README.md says where they come
 * from and how they are renewed.
 */
#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>

#include "tests/support/conversion.h"
#include "tests/support/pdf_builder.h"
#include "tests/truetype/font_builder.h"

namespace {

constexpr char ONE_INPUT[] = "/FunctionType 0 /BitsPerSample 8 /Size [2] /Domain [0 1]";
constexpr char TWO_INPUTS[] =
    "/FunctionType 0 /BitsPerSample 16 /Size [2 2] /Domain [-1 1 -1 1] /Range [0 1]";

/* The page of the document against golden/`name`.txt, told by the first line that differs. */
void expectGolden(const std::string &name, const std::string &pdf,
                  const std::vector<std::string> &switches = {})
{
    Conversion conversion = convertPdf(pdf, switches);
    ASSERT_EQ(conversion.status, 0) << name;
    const std::string file = std::string(GOLDEN_FOLDER) + "/" + name + ".txt";
    if (getenv("RENEW_GOLDEN")) {
        std::ofstream(file, std::ios::binary) << conversion.pages;
        FAIL() << file << " is renewed: read the difference, then run without RENEW_GOLDEN";
    }
    std::string golden = readFile(file);
    std::vector<std::string> expected = linesOf(golden), written = linesOf(conversion.pages);
    for (size_t i = 0; i < std::min(expected.size(), written.size()); i++)
        ASSERT_EQ(written[i], expected[i]) << name << ".txt:" << i + 1;
    EXPECT_EQ(conversion.pages, golden) << name;
}

std::string onePage(PdfBuilder &pdf, const std::string &resources)
{
    int content = pdf.addStream("", "q Q");
    pdf.addPage("/MediaBox [0 0 200 100] /Contents " + ref(content) + " /Resources << " +
                resources + " >>");
    return pdf.build();
}

} // namespace

TEST(GoldenPage, Frame)
{
    PdfBuilder pdf;
    int first = pdf.addStream("/Filter [/ASCIIHexDecode] /DecodeParms [null]", "71 20 51>");
    int second = pdf.addStream("", "0 0 m 10 10 l S");
    pdf.rootEntries = "/MediaBox [0 0 612 792] /Rotate 90";
    pdf.addPage("/CropBox [10 20.5 310 420] /Contents [" + ref(first) + " " + ref(second) +
                "] /Resources << /ProcSet [/PDF] >>");
    expectGolden("frame", pdf.build());
    expectGolden("frame_decoded", pdf.build(), {"-DECODE"});
}

TEST(GoldenPage, ColourSpaces)
{
    PdfBuilder pdf;
    const std::string white = "/WhitePoint [0.9505 1 1.089]";
    int table = pdf.addStream("/Filter /ASCIIHexDecode", "000000 FFFFFF 8040C0>");
    int tint = pdf.addStream(std::string(ONE_INPUT) + " /Range [0 1 0 1 0 1 0 1]", "abcdefgh");
    expectGolden(
        "colour_spaces",
        onePage(pdf, "/ColorSpace << /Name /DeviceCMYK /Gray [/CalGray << " + white +
                         " /Gamma 2.2 >>] /RGB [/CalRGB << " + white +
                         " /Gamma [1.8 1.8 2] /Matrix [.4 .2 0 .3 .7 .1 .2 .1 .9] >>] /Lab [/Lab "
                         "<< " +
                         white +
                         " /Range [-90 90 -80 80] >>] /String [/Indexed /DeviceRGB 1 "
                         "<102030 405060>] /Stream [/Indexed /DeviceRGB 2 " +
                         ref(table) +
                         "] /Pattern [/Pattern] /Under [/Pattern /DeviceGray] /Spot [/Separation "
                         "/Deep#20Blue /DeviceCMYK " +
                         ref(tint) + "] /Profile [/ICCBased " + ref(table) + "] >>"));
}

TEST(GoldenPage, ImagesAndForms)
{
    PdfBuilder pdf;
    int image = pdf.addStream(
        "/Type /XObject /Subtype /Image /Name /I /Width 2 /Height 2 /BitsPerComponent 8 "
        "/ColorSpace [/Indexed /DeviceRGB 1 <102030405060>] /Decode [0 1] /Interpolate true "
        "/Intent /Perceptual /Filter [/ASCII85Decode /LZWDecode] /DecodeParms [null << "
        "/EarlyChange 0 >>]",
        "J..)6T`?p&<!J9%_[umg\"B7/Z7KNXbN'S+,*Q/&\"OLT'F~>");
    int mask = pdf.addStream("/Subtype /Image /ImageMask true /Width 8 /Height 1 "
                             "/BitsPerComponent 1 /Decode [1 0]",
                             "U");
    int inner = pdf.addStream("/Subtype /Form /BBox [0 0 1 1]", "f");
    int outer = pdf.addStream("/Type /XObject /Subtype /Form /FormType 1 /Name /F /BBox [0 0 50 "
                              "60] /Matrix [1 0 0 1 5 5] /Resources << /XObject << /In " +
                                  ref(inner) + " /Im " + ref(image) + " >> >>",
                              "/In Do");
    expectGolden("images_and_forms", onePage(pdf, "/XObject << /Im " + ref(image) + " /Ma " +
                                                      ref(mask) + " /Fm " + ref(outer) + " >>"));
}

TEST(GoldenPage, GraphicsStates)
{
    PdfBuilder pdf;
    int transfer = pdf.addStream(std::string(ONE_INPUT) + " /Range [0 1]", "az");
    int spot = pdf.addStream(TWO_INPUTS, "aabbccdd");
    int threshold = pdf.addStream("/Type /Halftone /HalftoneType 6 /Width 2 /Height 2", "abcd");
    int angled = pdf.addStream("/Type /Halftone /HalftoneType 10 /Xsquare 2 /Ysquare 1", "abcde");
    expectGolden("graphics_states",
                 onePage(pdf, "/ExtGState << /A << /SA true /OP false /op true /BG " +
                                  ref(transfer) + " /UCR /Identity /TR [" + ref(transfer) +
                                  " /Identity " + ref(transfer) +
                                  " /Identity] >> /B << /HT << /Type /Halftone /HalftoneType 1 "
                                  "/Frequency 60.5 /Angle 45 /SpotFunction " +
                                  ref(spot) + " /AccurateScreens true /TransferFunction " +
                                  ref(transfer) + " >> >> /C << /HT << /HalftoneType 5 /Default " +
                                  ref(threshold) + " /Cyan " + ref(angled) +
                                  " >> /HTP [0 0] >> /D << /HT /Default /TR /Identity >> >>"));
}

TEST(GoldenPage, Fonts)
{
    PdfBuilder pdf;
    int program = pdf.addStream("/Length1 6 /Length2 2 /Length3 0", "%!PS-A\nzz");
    int compact = pdf.addStream("/Subtype /Type1C /Filter /ASCIIHexDecode", "01 00 04 01>");
    int glyph = pdf.addStream("", "500 0 0 0 400 400 d1 0 0 400 400 re f");
    int type3 = pdf.add("<< /Type /Font /Subtype /Type3 /FontMatrix [.001 0 0 .001 0 0] /FontBBox "
                        "[0 0 400 400] /FirstChar 97 /LastChar 98 /Widths [500 600.25] /Encoding "
                        "<< /Differences [97 /square 98 /none] >> /CharProcs << /square " +
                        ref(glyph) + " >> /Resources << /ProcSet [/PDF] >> >>");
    expectGolden(
        "fonts",
        onePage(pdf, "/Font << /Plain << /Type /Font /Subtype /Type1 /BaseFont /Helvetica "
                     "/Encoding << /BaseEncoding /WinAnsiEncoding /Differences [65 /Alpha /Beta "
                     "97 /alpha /beta /gamma /delta /epsilon] >> >> /One << /Type /Font /Subtype "
                     "/Type1 /BaseFont /One /FirstChar 65 /LastChar 67 /Widths [600 601.5 0] "
                     "/FontDescriptor << /Type /FontDescriptor /FontName /One /Flags 34 "
                     "/MissingWidth 250 /FontFile " +
                         ref(program) +
                         " >> >> /Com << /Subtype /MMType1 /BaseFont /Com_400_ /FontDescriptor << "
                         "/CharSet (/A/B) /FontFile3 " +
                         ref(compact) + " >> >> /Three " + ref(type3) +
                         " /Two << /Subtype /Type0 /BaseFont /Kanji >> >>"));
}

TEST(GoldenPage, TrueTypeFont)
{
    FontBuilder font;
    font.names = {".notdef", "A", "B"};
    font.advances = {500, 600, 700};
    font.box = {0, 0, 90, 90};
    font.glyphs = {"", simpleGlyph({{{0, 0, ON}, {90, 0, OFF}, {50, 80, ON}}}, {0, 0, 90, 80}),
                   compositeGlyph({{2, 1, 0, 0}, {2, 1, 10, 20}}, {0, 0, 100, 100})};
    font.replaced["cmap"] = cmapTable({{3, 1, cmapFormat4({{65, 66, -64}})}});
    PdfBuilder pdf;
    int program = pdf.addStream("", font.build());
    expectGolden("truetype_font",
                 onePage(pdf, "/Font << /T << /Type /Font /Subtype /TrueType /BaseFont /Small "
                              "/FirstChar 65 /LastChar 66 /Widths [600 700] /Encoding "
                              "/WinAnsiEncoding /FontDescriptor << /FontFile2 " +
                                  ref(program) + " >> >> >>"));
}
