/*
 * simple_fonts_test.cpp - simple fonts keep their codes and get compact programs
 */
#include <gtest/gtest.h>

#include "tests/prepare/fonts.h"
#include "tests/prepare/preparation.h"
#include "tests/support/conversion.h"

namespace {

struct SimpleSettings {
    std::string subtype = "/TrueType", key = "/FontFile2", program, programEntries;
    std::string encoding = "/Encoding /WinAnsiEncoding";
    int flags = 32;
};

/* One page that shows `text` in a font with this program. */
std::string simplePdf(const SimpleSettings &s, const std::string &text)
{
    PdfBuilder pdf;
    int program = pdf.addStream(s.programEntries, s.program);
    int descriptor =
        pdf.add("<< /Type /FontDescriptor /FontName /Simple /Flags " + std::to_string(s.flags) +
                " /FontBBox [0 -200 1000 900] /ItalicAngle 0 /Ascent 900 /Descent "
                "-200 /CapHeight 700 /StemV 80 " +
                s.key + " " + ref(program) + " >>");
    std::string widths;
    for (int code = 32; code < 127; code++)
        widths += " " + std::to_string(500 + code % 7 * 40);
    int font = pdf.add("<< /Type /Font /Subtype " + s.subtype +
                       " /BaseFont /Simple /FirstChar 32 /LastChar 126 /Widths [" + widths +
                       "] /FontDescriptor " + ref(descriptor) + " " + s.encoding + " >>");
    int content = pdf.addStream("", "BT /F1 24 Tf 10 150 Td " + text + " Tj ET");
    pdf.addPage("/MediaBox [0 0 300 200] /Contents " + ref(content) +
                " /Resources << /Font << /F1 " + ref(font) + " >> >>");
    return pdf.build();
}

SimpleSettings trueType()
{
    SimpleSettings settings;
    settings.program = trueTypeFile();
    return settings;
}

SimpleSettings type1()
{
    SimpleSettings settings;
    settings.subtype = "/Type1";
    settings.key = "/FontFile";
    settings.program = type1File();
    size_t clear = settings.program.find("eexec") + 6;
    size_t zeros = settings.program.rfind("cleartomark");
    settings.programEntries = "/Length1 " + std::to_string(clear) + " /Length2 " +
                              std::to_string(zeros - 533 - clear) + " /Length3 533";
    return settings;
}

} // namespace

TEST(SimpleFonts, TrueTypeBecomesCompact)
{
    std::string pdf = simplePdf(trueType(), "(Hamburg Text)");
    std::string prepared = expectPrepared(pdf);
    EXPECT_FALSE(holds(inClear(prepared), "/FontFile2"));
    EXPECT_TRUE(holds(textOf(prepared), "Hamburg Text"));
    EXPECT_LT(5 * prepared.size(), pdf.size());
}

TEST(SimpleFonts, TrueTypeWithDifferences)
{
    SimpleSettings settings = trueType();
    settings.encoding =
        "/Encoding << /BaseEncoding /MacRomanEncoding /Differences [65 /B /Adieresis "
        "67 /uni0416 /nosuchglyph] >>";
    expectPrepared(simplePdf(settings, "(ABCEF)"));
}

TEST(SimpleFonts, TrueTypeWithAWrongTagInFront)
{
    SimpleSettings settings = trueType();
    settings.program.replace(0, 4, "true");
    expectPrepared(simplePdf(settings, "(True)"));
}

TEST(SimpleFonts, Type1ProgramIsReadAndNothingOfItsTextStays)
{
    SimpleSettings settings = type1();
    settings.program.insert(settings.program.find("/FontName"), "(MARK) pop ");
    std::string prepared = expectPrepared(simplePdf(settings, "(Hamburg fi)"));
    std::string clear = inClear(prepared);
    for (const char *word : {"eexec", "MARK", "currentfile", "/FontFile ", "readonly"})
        EXPECT_FALSE(holds(clear, word)) << word;
    EXPECT_TRUE(holds(clear, "/Type1C"));
    std::string postScript = convertForPrinting(prepared).output;
    EXPECT_FALSE(holds(postScript.substr(postScript.find("BeginPageDescription\n")), "eexec"));
    EXPECT_TRUE(holds(textOf(prepared), "Hamburg"));
}

TEST(SimpleFonts, Type1ProgramInHexadecimal)
{
    SimpleSettings settings = type1();
    size_t begin = settings.program.find("eexec") + 6;
    std::string binary = settings.program.substr(begin), hex;
    for (size_t i = 0; i < binary.size(); i++) {
        char digits[4];
        snprintf(digits, sizeof digits, i % 32 == 31 ? "%02X\n" : "%02x",
                 (unsigned)(unsigned char)binary[i]);
        hex += digits;
    }
    settings.program = settings.program.substr(0, begin) + hex;
    Preparation made = preparePdf(simplePdf(settings, "(Hex)"));
    expectSamePages(simplePdf(type1(), "(Hex)"), made.pdf);
}

TEST(SimpleFonts, Type1ProgramWithItsOwnEncoding)
{
    SimpleSettings settings = type1();
    settings.encoding = "";
    settings.flags = 4;
    expectPrepared(simplePdf(settings, "(Own \\341)"));
}

TEST(SimpleFonts, GoodCompactProgramStaysAsItIs)
{
    SimpleSettings settings;
    settings.subtype = "/Type1";
    settings.key = "/FontFile3";
    settings.program = compactTable(openTypeFile());
    settings.programEntries = "/Subtype /Type1C";
    std::string pdf = simplePdf(settings, "(Stays)");
    EXPECT_EQ(probePdf(pdf), 0);
    EXPECT_EQ(preparePdf(pdf).pdf, pdf);
}

TEST(SimpleFonts, OpenTypeFileIsTakenOut)
{
    SimpleSettings settings;
    settings.subtype = "/Type1";
    settings.key = "/FontFile3";
    settings.program = openTypeFile();
    settings.programEntries = "/Subtype /OpenType";
    std::string prepared = expectPrepared(simplePdf(settings, "(Open)"));
    EXPECT_FALSE(holds(inClear(prepared), "/OpenType"));
}

TEST(SimpleFonts, ProgramThatCannotBeReadIsReplacedAndReported)
{
    SimpleSettings settings = trueType();
    settings.program.resize(200);
    Preparation made = preparePdf(simplePdf(settings, "(Gone)"));
    EXPECT_EQ(made.status, 0);
    EXPECT_EQ(made.messages,
              std::vector<std::string>{"PREPARE-L-FONTDATA: The program of font Simple cannot be "
                                       "read; another font takes its place."});
    EXPECT_EQ(convertForPrinting(made.pdf).status, 0);
}

TEST(SimpleFonts, OnlyTheGlyphsInUseAreWritten)
{
    std::string few = preparePdf(simplePdf(trueType(), "(A)")).pdf;
    std::string many =
        preparePdf(simplePdf(trueType(), "(ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnop)")).pdf;
    EXPECT_LT(few.size() + 1000, many.size());
}
