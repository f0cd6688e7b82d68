/*
 * sample_document.cpp - small documents with every feature that the converter reads
 */
#include "tests/support/sample_document.h"

#include "tests/support/pdf_builder.h"
#include "tests/truetype/font_builder.h"

namespace {

std::string hex(const std::string &bytes)
{
    constexpr char DIGITS[] = "0123456789ABCDEF";
    std::string text;
    for (char byte : bytes) {
        text += DIGITS[byte >> 4 & 15];
        text += DIGITS[byte & 15];
    }
    return text + ">";
}

/* A triangle, and a glyph that is made of two of them. */
std::string smallFont()
{
    FontBuilder font;
    font.names = {".notdef", "A", "B"};
    font.advances = {500, 600, 700};
    font.glyphs = {"", simpleGlyph({{{0, 0, ON}, {90, 0, OFF}, {50, 80, ON}}}),
                   compositeGlyph({{2, 1, 0, 0}, {2, 1, 10, 20}})};
    font.replaced["cmap"] = cmapTable({{3, 1, cmapFormat4({{65, 66, -64}})}});
    return font.build();
}

/* The page's content, compressed: lines, and a match among them. */
constexpr char FLATE_CONTENT[] = "78DA2B543000C25C054B20CC4121831502B90062E60647>";

int addImages(PdfBuilder &pdf)
{
    int palette = pdf.addStream("/Filter [/ASCIIHexDecode]", "00 11 22 FF EE DD>");
    int inStream = pdf.add("[/Indexed /DeviceRGB 1 " + ref(palette) + "]");
    int mask = pdf.addStream("/Subtype /Image /ImageMask true /Width 8 /Height 1 /Filter "
                             "/CCITTFaxDecode /DecodeParms << /K -1 /Columns 8 >>",
                             "\x26\x80");
    int image = pdf.addStream("/Subtype /Image /Width 2 /Height 1 /BitsPerComponent 8 "
                              "/ColorSpace [/Indexed /DeviceRGB 1 <000000FFFFFF>] /Decode [0 1]",
                              "\x01\x02");
    return pdf.add("<< /Im " + ref(image) + " /Ma " + ref(mask) + " /Fm " +
                   ref(pdf.addStream("/Type /XObject /Subtype /Form /BBox [0 0 1 1] /Matrix "
                                     "[1 0 0 1 0 0] /Resources << /ColorSpace << /C1 " +
                                         ref(inStream) + " >> >>",
                                     "n")) +
                   " >>");
}

int addState(PdfBuilder &pdf)
{
    int function = pdf.addStream("/FunctionType 0 /BitsPerSample 8 /Size [2] /Domain [0 1] "
                                 "/Range [0 1]",
                                 "\x01\xFE");
    int threshold = pdf.addStream("/HalftoneType 6 /Width 2 /Height 1", "\x40\x80");
    return pdf.add("<< /Type /ExtGState /OP true /TR [/Identity " + ref(function) +
                   "] /HT << /HalftoneType 5 /Default << /HalftoneType 1 /Frequency 60.5 /Angle 45 "
                   "/SpotFunction /SimpleDot >> /Black " +
                   ref(threshold) + " >> >>");
}

int addFonts(PdfBuilder &pdf)
{
    int glyph = pdf.addStream("", "500 0 d0 0 0 m f\n");
    int type3 = pdf.add("<< /Type /Font /Subtype /Type3 /FontMatrix [.001 0 0 .001 0 0] "
                        "/FontBBox [0 0 1 1] /Encoding << /Differences [65 /a] >> /CharProcs << "
                        "/a " +
                        ref(glyph) + " >> >>");
    int plain = pdf.add("<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica /FirstChar 32 "
                        "/LastChar 33 /Widths [278 278.5] /Encoding /WinAnsiEncoding >>");
    int program = pdf.addStream("/Length1 3 /Length2 1 /Length3 0", "%!\n\x80");
    int compact = pdf.addStream("/Subtype /Type1C", "\x01");
    int trueType = pdf.addStream("/Filter /ASCIIHexDecode", hex(smallFont()));
    auto embedded = [&pdf](const char *subtype, const char *key, int file) {
        return ref(pdf.add(std::string("<< /Subtype ") + subtype +
                           " /BaseFont /Em /FontDescriptor << " + key + " " + ref(file) +
                           " >> >>"));
    };
    return pdf.add("<< /F1 " + ref(plain) + " /T3 " + ref(type3) + " /E1 " +
                   embedded("/Type1", "/FontFile", program) + " /E2 " +
                   embedded("/TrueType", "/FontFile2", trueType) + " /E3 " +
                   embedded("/Type1", "/CharSet (/a) /FontFile3", compact) + " >>");
}

} // namespace

std::string sampleDocument()
{
    PdfBuilder pdf;
    int length = pdf.add("8");
    int content = pdf.add("<< /Length " + ref(length) + " >>\nstream\n0 0 m S \nendstream");
    int packed = pdf.addStream("/Filter [/ASCIIHexDecode /FlateDecode]", FLATE_CONTENT);
    int lzw = pdf.addStream("/Filter /LZWDecode", "\x80\x0C\x04\x10\x23\x68\x80\xA6\x20\x80\x80");
    pdf.rootEntries = "/MediaBox [0 0 100 200] /Rotate 90 /Resources << /ProcSet [/PDF] /XObject " +
                      ref(addImages(pdf)) + " /Font " + ref(addFonts(pdf)) + " /ExtGState << /GS " +
                      ref(addState(pdf)) +
                      " >> /ColorSpace << /C0 [/CalRGB << /WhitePoint [.95 1 1.09] >>] /C2 "
                      "[/Pattern /DeviceRGB] >> >>";
    int first = pdf.addPage("/Contents [" + ref(content) + " " + ref(packed) + "]");
    pdf.addPage("/CropBox [10 10 90 90] /Contents " + ref(lzw) +
                " /Extra [true false null (a\\)b\\101) <414> /N#20 -1 +2.5 .5 << /D << >> >>]");
    return pdf.buildWithUpdate({{first, "<< /Type /Page /Parent 2 0 R /Rotate 0 /Contents [" +
                                            ref(content) + " " + ref(packed) + "] >>"}});
}

namespace {

std::string formOf(PdfBuilder *pdf, const std::string &content, const std::string &entries = "")
{
    return ref(pdf->addForm(content, "/Type /XObject /Subtype /Form " + entries));
}

std::string sampledFunction(PdfBuilder *pdf, int inputs, int outputs, int bits)
{
    std::string domain = inputs == 1 ? "[0 1]" : "[-1 1 -1 1]", range = "[",
                size = inputs == 1 ? "[2]" : "[2 2]";
    for (int i = 0; i < outputs; i++)
        range += " 0 1";
    size_t samples = (size_t)(inputs == 1 ? 2 : 4) * (size_t)outputs;
    return ref(pdf->addStream("/FunctionType 0 /Domain " + domain + " /Range " + range +
                                  "] /Size " + size + " /BitsPerSample " + std::to_string(bits),
                              std::string((samples * (size_t)bits + 7) / 8, '\x5A')));
}

} // namespace

std::string documentOfResources()
{
    PdfBuilder pdf;
    std::string image = ref(pdf.addStream("/Type /XObject /Subtype /Image /Width 2 /Height 2 "
                                          "/BitsPerComponent 8 /ColorSpace /DeviceGray",
                                          "(>>%"));
    std::string mask = ref(pdf.addStream("/Type /XObject /Subtype /Image /Width 8 /Height 1 "
                                         "/ImageMask true /Decode [1 0] /Filter /CCITTFaxDecode "
                                         "/DecodeParms << /K -1 /Columns 8 /BlackIs1 true >>",
                                         "\x7F"));
    std::string inner =
        formOf(&pdf, "/Im0 Do", "/Resources << /XObject << /Im0 " + image + " >> >>");
    std::string outer = formOf(&pdf, "q /In Do Q",
                               "/Matrix [1 0 0 1 0 0] /Resources << "
                               "/XObject << /In " +
                                   inner + " >> >>");
    std::string glyph = ref(pdf.addStream("", "500 0 0 0 500 500 d1 /Im0 Do"));
    std::string type3 = ref(
        pdf.add("<< /Type /Font /Subtype /Type3 /FontBBox [0 0 500 500] /FontMatrix [0.001 0 0 "
                "0.001 0 0] /FirstChar 97 /LastChar 97 /Widths [500] /Encoding << /Differences [97 "
                "/a] >> /Resources << /XObject << /Im0 " +
                image + " >> >> /CharProcs << /a " + glyph + " /b " +
                ref(pdf.addStream("", "500 0 d0 q 0 0 9 9 re f Q")) + " >> >>"));
    std::string font = ref(pdf.add("<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica /FirstChar "
                                   "65 /LastChar 66 /Widths [600 700.5] /Encoding << /BaseEncoding "
                                   "/WinAnsiEncoding /Differences [66 /B.alt] >> >>"));
    std::string states =
        "/G0 << /SA true /OP false /TR " + sampledFunction(&pdf, 1, 1, 8) + " /UCR /Identity >> " +
        "/G1 << /TR [" + sampledFunction(&pdf, 1, 1, 12) +
        " /Identity /Identity /Identity] /HT << "
        "/HalftoneType 1 /Frequency 60 /Angle 45 /SpotFunction " +
        sampledFunction(&pdf, 2, 1, 8) +
        " >> >> /G2 << /HT /Default >> /G3 << /HT << /HalftoneType "
        "5 /Default << /HalftoneType 1 /Frequency 60 /Angle 0 /SpotFunction /Round >> >> >> ";
    states +=
        "/G4 << /HT " + ref(pdf.addStream("/HalftoneType 6 /Width 2 /Height 2", "(>%\n")) + " >> ";
    std::string table = ref(pdf.addStream("", std::string("\0\r\n(>>", 6)));
    std::string spaces =
        "/C0 [/Indexed /DeviceRGB 1 " + table +
        "] /C1 [/Indexed /DeviceGray 1 <2829>] "
        "/C2 [/Separation /Spot /DeviceCMYK " +
        sampledFunction(&pdf, 1, 4, 16) +
        "] "
        "/C3 [/CalGray << /WhitePoint [1 1 1] >>] /C4 [/CalRGB << /WhitePoint [1 1 1] /Matrix [1 0 "
        "0 0 1 0 0 0 1] >>] /C5 [/Lab << /WhitePoint [1 1 1] /Range [-90 90 -90 90] >>] /C6 "
        "[/Pattern /DeviceGray] /C7 /DeviceRGB /C8 [/DeviceGray] /C9 [/Lab << /WhitePoint [1 1 1] "
        ">>] ";
    std::string resources = "/XObject << /Im0 " + image + " /Im1 " + mask + " /Fm0 " + outer +
                            " >> /Font << /F1 " + font + " /T3 " + type3 + " >> /ExtGState << " +
                            states + ">> /ColorSpace << " + spaces + ">>";
    std::string opening = ref(pdf.addStream("", "q 1 0 0 1 0 0 cm"));
    std::string closing = ref(pdf.addStream("", "Q"));
    for (const char *text : {"(one) Tj", "(two) Tj"})
        pdf.addPage(
            "/MediaBox [0 0 200 200] /Resources << " + resources + " >> /Contents [" + opening +
            " " +
            ref(pdf.addStream("", "/Tag << /MCID 0 >> BDC BT /F1 12 Tf " + std::string(text) +
                                      " ET EMC /C2 cs .5 scn /G1 gs /Fm0 Do")) +
            " " + closing + "]");
    return pdf.build();
}
