/*
 * sample_document.cpp - one small document with every feature that the converter reads
 */
#include "tests/support/sample_document.h"

#include "tests/support/pdf_builder.h"

std::string sampleDocument()
{
    PdfBuilder pdf;
    int length = pdf.add("8");
    int content = pdf.add("<< /Length " + ref(length) + " >>\nstream\n0 0 m S \nendstream");
    int hex = pdf.addStream("/Filter /ASCIIHexDecode", "51 20 710A>");
    int form =
        pdf.addStream("/Type /XObject /Subtype /Form /BBox [0 0 1 1] /Matrix [1 0 0 1 0 0]", "n");
    int image = pdf.addStream("/Subtype /Image /Width 2 /Height 1 /BitsPerComponent 8 "
                              "/ColorSpace [/Indexed /DeviceRGB 1 <000000FFFFFF>] /Decode [0 1]",
                              "\x01\x02");
    int function = pdf.addStream("/FunctionType 0 /BitsPerSample 8 /Size [2] /Domain [0 1] "
                                 "/Range [0 1]",
                                 "\x01\xFE");
    int state = pdf.add("<< /Type /ExtGState /OP true /TR [/Identity " + ref(function) +
                        "] /HT << /HalftoneType 1 /Frequency 60.5 /Angle 45 /SpotFunction "
                        "/SimpleDot >> >>");
    int glyph = pdf.addStream("", "500 0 d0 0 0 m f\n");
    int type3 = pdf.add("<< /Type /Font /Subtype /Type3 /FontMatrix [.001 0 0 .001 0 0] "
                        "/FontBBox [0 0 1 1] /Encoding << /Differences [65 /a] >> /CharProcs << "
                        "/a " +
                        ref(glyph) + " >> >>");
    int font = pdf.add("<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica /FirstChar 32 "
                       "/LastChar 33 /Widths [278 278.5] /Encoding /WinAnsiEncoding >>");
    pdf.rootEntries = "/MediaBox [0 0 100 200] /Rotate 90 /Resources << /ProcSet [/PDF] /XObject "
                      "<< /Fm " +
                      ref(form) + " /Im " + ref(image) + " >> /Font << /F1 " + ref(font) + " /T3 " +
                      ref(type3) + " >> /ExtGState << /GS " + ref(state) +
                      " >> /ColorSpace << /C0 [/CalRGB << /WhitePoint [.95 1 1.09] >>] >> >>";
    int first = pdf.addPage("/Contents [" + ref(content) + " " + ref(hex) + "]");
    pdf.addPage("/CropBox [10 10 90 90] /Contents " + ref(content) +
                " /Extra [true false null (a\\)b\\101) <414> /N#20 -1 +2.5 .5 << /D << >> >>]");
    return pdf.buildWithUpdate({{first, "<< /Type /Page /Parent 2 0 R /Rotate 0 /Contents [" +
                                            ref(content) + " " + ref(hex) + "] >>"}});
}
