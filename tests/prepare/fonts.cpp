/*
 * fonts.cpp - embedding fonts of the system
 */
#include "tests/prepare/fonts.h"

#include <cstdint>
#include <cstdio>

#include "tests/support/scratch_directory.h"

std::string trueTypeFile()
{
    return readFile("/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf");
}

std::string type1File()
{
    return readFile("/usr/share/fonts/type1/urw-base35/C059-Roman.t1");
}

std::string openTypeFile()
{
    return readFile("/usr/share/fonts/opentype/urw-base35/C059-Roman.otf");
}

std::string compactTable(const std::string &openType)
{
    auto number = [&](size_t at) {
        size_t value = 0;
        for (size_t i = 0; i < 4; i++)
            value = value << 8 | (uint8_t)openType[at + i];
        return value;
    };
    size_t at = openType.find("CFF ");
    return openType.substr(number(at + 8), number(at + 12));
}

int addComposite(PdfBuilder *pdf, const CompositeSettings &settings)
{
    std::string program;
    if (settings.isEmbedded)
        program = " /FontFile2 " + ref(pdf->addStream("", trueTypeFile()));
    int descriptor = pdf->add("<< /Type /FontDescriptor /FontName /DejaVuSans /Flags 4 "
                              "/FontBBox [-1021 -463 1793 1232] /ItalicAngle 0 /Ascent 928 "
                              "/Descent -236 /CapHeight 729 /StemV 80" +
                              program + " >>");
    int descendant = pdf->add("<< /Type /Font /Subtype /CIDFontType2 /BaseFont /DejaVuSans "
                              "/CIDSystemInfo << /Registry (Adobe) /Ordering (Identity) "
                              "/Supplement 0 >> /CIDToGIDMap /Identity /DW 650 "
                              "/FontDescriptor " +
                              ref(descriptor) + " " + settings.entries + " >>");
    return pdf->add("<< /Type /Font /Subtype /Type0 /BaseFont /DejaVuSans /Encoding " +
                    settings.encoding + " /DescendantFonts [" + ref(descendant) + "] " +
                    settings.toUnicode + " >>");
}

std::string codes(const std::string &text)
{
    std::string hex = "<";
    for (char c : text) {
        char code[8];
        snprintf(code, sizeof code, "%04X", (unsigned)(c - 29));
        hex += code;
    }
    return hex + ">";
}

std::string codeRange(int first, int count)
{
    std::string hex = "<";
    for (int i = 0; i < count; i++) {
        char code[8];
        snprintf(code, sizeof code, "%04X", (unsigned)(first + i));
        hex += code;
    }
    return hex + ">";
}

std::string compositePdf(const std::string &content, const CompositeSettings &settings)
{
    PdfBuilder pdf;
    int font = addComposite(&pdf, settings);
    int stream = pdf.addStream("", content);
    pdf.addPage("/MediaBox [" + settings.page + "] /Contents " + ref(stream) +
                " /Resources << /Font << /F1 " + ref(font) +
                " /H << /Type /Font /Subtype /Type1 /BaseFont /Helvetica >> >> >>");
    return pdf.build();
}
