/*
 * make_tour.cpp - makes the example document, tour.pdf
 *
 * Four pages that show what the converter passes on: text in the standard fonts, line art, images
 * and forms, a rotated page.  The document is kept with the sources; a test checks that it is what
 * this program makes.
 */
#include <cstdio>
#include <fstream>
#include <string>

#include "tests/support/pdf_builder.h"

namespace {

std::string number(double value)
{
    char text[32];
    snprintf(text, sizeof text, "%.2f", value);
    return text;
}

/* One line of text at a place. */
std::string line(const char *font, double size, double x, double y, const std::string &text)
{
    return "BT /" + std::string(font) + " " + number(size) + " Tf " + number(x) + " " + number(y) +
           " Td (" + text + ") Tj ET\n";
}

std::string textPage()
{
    std::string page = "0 0 0.4 rg\n" + line("Bold", 28, 72, 700, "A short tour") + "0 g\n";
    double y = 660;
    const std::pair<const char *, const char *> samples[] = {
        {"Roman", "Text stays text: these words are shown with the printer's own fonts,"},
        {"Italic", "in the encoding of the document \\(\\344 \\366 \\374 \\337 \\351\\),"},
        {"Sans", "with the widths that the document gives them,"},
        {"SansBold", "in four families, and"},
        {"Mono", "in typewriter letters, where columns line up."},
    };
    for (const auto &[font, text] : samples)
        page += line(font, 14, 72, y -= 26, text);
    page += "BT /Roman 12 Tf 16 TL 72 480 Td 2 Tc (Letters apart) Tj 0 Tc T* "
            "10 Tw (words apart, on the next line) Tj 0 Tw T* "
            "60 Tz (narrow) Tj 150 Tz ( and wide) Tj 100 Tz T* "
            "[(kerned: A) 120 (V) 90 (A) 95 (T) -400 (and spaced)] TJ "
            "5 Ts ( up) Tj -5 Ts ( down) Tj ET\n";
    page += "BT /SansBold 40 Tf 1 Tr 0.8 w 72 340 Td (Outlined) Tj ET\n"
            "q BT /SansBold 60 Tf 7 Tr 72 260 Td (Clipped) Tj ET\n";
    for (int i = 0; i < 40; i++)
        page += number(i / 40.0) + " 0.3 " + number(1 - i / 40.0) + " rg " + number(72 + i * 8) +
                " 250 8 70 re f\n";
    return page + "Q\n";
}

std::string linePage()
{
    std::string page = line("Bold", 20, 72, 720, "Lines, curves and fills");
    page += "q\n";
    for (int i = 0; i < 12; i++)
        page += number(0.25 * (i + 1)) + " w 72 " + number(690 - i * 10) + " m 300 " +
                number(690 - i * 10) + " l S\n";
    page += "[12 4] 0 d 2 w 320 690 m 540 690 l S [2 3] 1 d 320 670 m 540 670 l S [] 0 d\n"
            "8 w 0 J 320 640 m 540 640 l S 1 J 320 620 m 540 620 l S 2 J 320 600 m 540 600 l S\n"
            "0 J 0 j 330 520 m 380 580 l 430 520 l S 1 j 390 520 m 440 580 l 490 520 l S "
            "2 j 450 520 m 500 580 l 550 520 l S\nQ\n";
    page += "q 1 0 0 RG 0.9 0.9 0.5 rg 72 420 120 80 re B "
            "0 0.5 0 RG 260 460 m 260 500 340 500 340 460 c 340 420 260 420 260 460 c b\n"
            "0.2 0.4 0.8 rg 420 420 m 460 510 l 500 420 l 400 475 l 520 475 l h f\n"
            "420 300 m 460 390 l 500 300 l 400 355 l 520 355 l h f*\n"
            "0 1 1 0 k 72 300 100 80 re f 1 0 0 0 k 112 320 100 80 re f Q\n";
    return page + "q 150 200 m 250 280 l 350 200 l h W n 0.7 g 140 190 220 50 re f Q\n";
}

/* 48 by 48 samples of red, green and blue. */
std::string colorSamples()
{
    std::string samples;
    for (int y = 0; y < 48; y++)
        for (int x = 0; x < 48; x++) {
            samples += (char)(x * 255 / 47);
            samples += (char)(y * 255 / 47);
            samples += (char)(((x / 6) + (y / 6)) % 2 * 255);
        }
    return samples;
}

/* 32 by 32 bits: a ring. */
std::string ringMask()
{
    std::string bits;
    for (int y = 0; y < 32; y++)
        for (int byte = 0; byte < 4; byte++) {
            int value = 0;
            for (int bit = 0; bit < 8; bit++) {
                int dx = 2 * (byte * 8 + bit) - 31, dy = 2 * y - 31;
                int radius = dx * dx + dy * dy;
                value = value << 1 | (radius > 900 || radius < 300);
            }
            bits += (char)value;
        }
    return bits;
}

std::string hexadecimal(const std::string &bytes)
{
    std::string text;
    char pair[3];
    for (char byte : bytes) {
        snprintf(pair, sizeof pair, "%02x", (unsigned)(unsigned char)byte);
        text += pair;
    }
    return text + ">";
}

std::string imagePage()
{
    return line("Bold", 20, 72, 720, "Images, forms and colour spaces") +
           "q 200 0 0 200 72 480 cm /Photo Do Q\n"
           "q 0.8 0 0 rg 120 0 0 120 320 520 cm /Ring Do Q\n"
           "q 1 0 0 1 72 300 cm /Leaf Do Q q 0.7 0.7 -0.7 0.7 260 280 cm /Leaf Do Q "
           "q 0.5 0 0 0.5 360 320 cm /Leaf Do Q\n"
           "/Spot cs 1 scn 72 200 60 60 re f 0.5 scn 142 200 60 60 re f 0.2 scn 212 200 60 60 re "
           "f\n"
           "/Warm cs 0.9 0.6 0.2 scn 320 200 60 60 re f /Few cs 1 scn 390 200 60 60 re f "
           "2 scn 460 200 60 60 re f\n"
           "q 100 0 0 50 72 120 cm BI /W 4 /H 2 /CS /G /BPC 8 /F /AHx ID "
           "00 55 AA FF FF AA 55 00 > EI Q\n";
}

void addFonts(std::string *resources)
{
    const std::pair<const char *, const char *> fonts[] = {
        {"Roman", "Times-Roman"}, {"Italic", "Times-Italic"},     {"Bold", "Times-Bold"},
        {"Sans", "Helvetica"},    {"SansBold", "Helvetica-Bold"}, {"Mono", "Courier"},
    };
    *resources += "/Font <<";
    for (const auto &[name, base] : fonts)
        *resources += std::string(" /") + name + " << /Type /Font /Subtype /Type1 /BaseFont /" +
                      base + " /Encoding /WinAnsiEncoding >>";
    *resources += " >> ";
}

std::string tour()
{
    PdfBuilder pdf;
    int photo = pdf.addStream("/Type /XObject /Subtype /Image /Width 48 /Height 48 "
                              "/BitsPerComponent 8 /ColorSpace /DeviceRGB "
                              "/Filter /ASCIIHexDecode",
                              hexadecimal(colorSamples()));
    int ring = pdf.addStream("/Type /XObject /Subtype /Image /Width 32 /Height 32 "
                             "/BitsPerComponent 1 /ImageMask true /Filter /ASCIIHexDecode",
                             hexadecimal(ringMask()));
    int leaf = pdf.addStream("/Type /XObject /Subtype /Form /BBox [0 0 150 150] /Resources << >>",
                             "0.2 0.6 0.2 rg 0 0 m 20 90 90 140 140 140 c 140 70 90 20 0 0 c f "
                             "1 g 2 w 1 G 10 10 m 120 120 l S\n");
    int tint = pdf.addStream("/FunctionType 0 /Domain [0 1] /Size [2] /BitsPerSample 8 "
                             "/Range [0 1 0 1 0 1 0 1] /Filter /ASCIIHexDecode",
                             "00000000 00CC8000>");
    std::string resources = "<< /ProcSet [/PDF /Text /ImageB /ImageC] ";
    addFonts(&resources);
    resources += "/XObject << /Photo " + ref(photo) + " /Ring " + ref(ring) + " /Leaf " +
                 ref(leaf) + " >> /ColorSpace << /Spot [/Separation /Rose /DeviceCMYK " +
                 ref(tint) +
                 "] /Warm [/CalRGB << /WhitePoint [0.9505 1 1.089] /Gamma [2.2 2.2 2.2] "
                 "/Matrix [0.4124 0.2126 0.0193 0.3576 0.7152 0.1192 0.1805 0.0722 0.9505] >>] "
                 "/Few [/Indexed /DeviceRGB 2 <FFFFFF6040A0208060>] >> >>";
    pdf.rootEntries = "/MediaBox [0 0 612 792] /Resources " + ref(pdf.add(resources));

    for (const std::string &content : {textPage(), linePage(), imagePage()})
        pdf.addPage("/Contents " + ref(pdf.addStream("", content)));
    int turned = pdf.addStream("", line("Bold", 20, 72, 540, "A page that lies on its side") +
                                       "4 w 20 20 752 572 re S\n");
    pdf.addPage("/MediaBox [0 0 792 612] /Rotate 90 /Contents [" + ref(turned) + "]");
    return pdf.build();
}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 2) {
        fprintf(stderr, "Usage: make_tour FILE\n");
        return 1;
    }
    std::ofstream file(argv[1], std::ios::binary);
    file << tour();
    file.close();
    return file ? 0 : 1;
}
