/*
 * fonts_test.cpp - embedded fonts, encodings, widths, and fonts that are not there
 */
#include <gtest/gtest.h>

#include "tests/compress/encoders.h"
#include "tests/postscript/font_programs.h"
#include "tests/postscript/page_set.h"
#include "tests/postscript/print_job.h"
#include "tests/support/conversion.h"
#include "tests/truetype/font_builder.h"

namespace {

const std::string SHOW = "BT /F1 40 Tf 20 130 Td (ABC) Tj 0 -80 Td (CAB) Tj ET";

/* Resources with one font, /F1. */
std::string font(const std::string &entries)
{
    return "/Resources << /Font << /F1 << /Type /Font " + entries + " >> >> >>";
}

std::string descriptor(PdfBuilder *pdf, const std::string &name, int flags,
                       const std::string &entries)
{
    return "/FontDescriptor " +
           ref(pdf->add("<< /Type /FontDescriptor /FontName /" + name + " /Flags " +
                        std::to_string(flags) +
                        " /FontBBox [0 -200 700 800] /ItalicAngle 0 /Ascent 800 /Descent -200 "
                        "/CapHeight 700 /StemV 80 " +
                        entries + " >>")) +
           " ";
}

/* ---- Type 1 */

const std::string CODES = "dup 65 /box put\ndup 66 /tri put\ndup 67 /bar put\n";
const std::string WIDTHS = "/FirstChar 65 /LastChar 67 /Widths [700 600 300] ";

enum class Parts { WHOLE, NO_TRAILER, FILTERED, SEGMENTS };

/* A part of a font file with the header that some systems put in front of it. */
std::string segment(int kind, const std::string &data)
{
    std::string header = {'\x80', (char)kind};
    for (int shift = 0; shift < 32; shift += 8)
        header += (char)(data.size() >> shift);
    return header + data;
}

/* A /FontFile; answers the entries of a font that uses it. */
std::string typeOne(PdfBuilder *pdf, const std::string &name, Parts parts = Parts::WHOLE,
                    int flags = 4)
{
    TypeOneProgram program = typeOneProgram(name, sampleGlyphs(), CODES);
    std::string data = program.clear + program.encrypted;
    if (parts != Parts::NO_TRAILER)
        data += program.trailer;
    std::string entries = "/Length1 " + std::to_string(program.clear.size()) + " /Length2 " +
                          std::to_string(program.encrypted.size()) + " /Length3 " +
                          (parts == Parts::NO_TRAILER ? "0" : "525");
    if (parts == Parts::SEGMENTS)
        data = segment(1, program.clear) + segment(2, program.encrypted) +
               segment(1, program.trailer) + "\x80\3";
    if (parts == Parts::FILTERED) {
        data = encodeASCII85(encodeLZW(data));
        entries += " /Filter [/ASCII85Decode /LZWDecode]";
    }
    return "/Subtype /Type1 /BaseFont /" + name + " " +
           descriptor(pdf, name, flags, "/FontFile " + ref(pdf->addStream(entries, data)));
}

TEST(TypeOneFonts, EveryWayToEmbedThem)
{
    PageSet set;
    set.add("as it is", SHOW, font(typeOne(&set.pdf, "WholeFont") + WIDTHS));
    set.add("without its trailer", SHOW,
            font(typeOne(&set.pdf, "ShortFont", Parts::NO_TRAILER) + WIDTHS));
    set.add("filtered", SHOW, font(typeOne(&set.pdf, "ABCDEF+Packed", Parts::FILTERED) + WIDTHS));
    set.add("in segments", SHOW, font(typeOne(&set.pdf, "Segments", Parts::SEGMENTS) + WIDTHS));
    set.add("under the name of another font of the page", SHOW, [&set] {
        std::string first = typeOne(&set.pdf, "SameName") + WIDTHS;
        return "/Resources << /Font << /F1 << /Type /Font " + first +
               " >> /F2 << /Type /Font /Subtype /Type1 /BaseFont /Helvetica >> >> >>";
    }());
    set.add("without widths", SHOW, font(typeOne(&set.pdf, "NoWidths")));
    set.expectRight();
}

TEST(TypeOneFonts, EncodingsAndWidths)
{
    PageSet set;
    set.add("/Differences", "BT /F1 40 Tf 20 100 Td (xyzA) Tj ET",
            font(typeOne(&set.pdf, "Differs") + "/FirstChar 65 /LastChar 122 /Widths [700 " + [] {
                std::string zeros;
                for (int i = 66; i < 120; i++)
                    zeros += "0 ";
                return zeros;
            }() + "300 600 700] /Encoding << /Differences [120 /bar /tri /box] >>"));
    set.add("widths that are not the program's", SHOW,
            font(typeOne(&set.pdf, "Wider") + "/FirstChar 65 /LastChar 67 /Widths [1000 400 500]"));
    set.add("one glyph with two widths", "BT /F1 40 Tf 20 100 Td (ABAB) Tj ET",
            font(typeOne(&set.pdf, "TwoWidths") +
                 "/FirstChar 65 /LastChar 66 /Widths [800 400] /Encoding << /Differences "
                 "[65 /bar /bar] >>"));
    set.add("a code of width zero", "BT /F1 40 Tf 20 100 Td (ABA) Tj ET",
            font(typeOne(&set.pdf, "ZeroWidth") +
                 "/FirstChar 65 /LastChar 66 /Widths [700 0] /Encoding << /Differences "
                 "[66 /bar] >>"));
    set.addLike("a glyph that is not there leaves room", "BT /F1 40 Tf 20 100 Td (AQA) Tj ET",
                font(typeOne(&set.pdf, "Lacking") +
                     "/FirstChar 65 /LastChar 81 /Widths [700 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 900] "
                     "/Encoding << /Differences [81 /nothing] >>"),
                "BT /F1 40 Tf 20 100 Td [(A) -900 (A)] TJ ET",
                font(typeOne(&set.pdf, "Lacking2") + WIDTHS));
    set.expectRight();
}

TEST(TypeOneFonts, InAllRenderModes)
{
    PageSet set;
    set.dpi = 216;
    std::string resources = font(typeOne(&set.pdf, "Modes") + WIDTHS);
    for (int mode = 0; mode < 8; mode++)
        set.add("Tr " + std::to_string(mode),
                "1 0.5 0 rg 0 0 0.6 RG 2 w q BT /F1 80 Tf " + std::to_string(mode) +
                    " Tr 10 80 Td (ABC) Tj ET 0 0.6 0 rg 0 100 200 20 re f Q 0 0 10 10 re f",
                resources);
    set.expectRight();
}

TEST(TypeOneFonts, AMultipleMasterInstanceIsATypeOneFont)
{
    PageSet set;
    std::string entries = typeOne(&set.pdf, "Sample_400_600_") + WIDTHS;
    std::string master = entries;
    master.replace(master.find("/Type1"), 6, "/MMType1");
    set.faultless = false; /* the converter gives notice */
    set.addLike("MMType1", SHOW, font(master), SHOW, font(entries));
    set.expectRight();
}

TEST(TypeOneFonts, ADamagedProgramCostsItsShapesAndNotThePage)
{
    PageSet set;
    set.faultless = false;
    std::string rest = " 1 0 0 rg 20 20 60 40 re f";
    TypeOneProgram program = typeOneProgram("Broken", sampleGlyphs(), CODES);
    std::string data = program.clear + program.encrypted;
    data[program.clear.size() + 60] ^= 0x55;
    int file = set.pdf.addStream("/Length1 " + std::to_string(program.clear.size()) + " /Length2 " +
                                     std::to_string(program.encrypted.size()) + " /Length3 0",
                                 data);
    set.addLike("damaged", "BT /F1 40 Tf 20 130 Td (Hill) Tj ET" + rest,
                font("/Subtype /Type1 /BaseFont /Broken-Sans " +
                     descriptor(&set.pdf, "Broken-Sans", 32, "/FontFile " + ref(file))),
                "BT /F1 40 Tf 20 130 Td (Hill) Tj ET" + rest,
                font("/Subtype /Type1 /BaseFont /Helvetica"));
    set.expectRight();
}

/* ---- compact */

std::string compactFile(PdfBuilder *pdf, const std::string &name, const std::string &data,
                        const std::string &filter = "")
{
    int file = pdf->addStream("/Subtype /Type1C " + filter, data);
    return "/Subtype /Type1 /BaseFont /" + name + " " + WIDTHS +
           descriptor(pdf, name, 4, "/FontFile3 " + ref(file) + " /CharSet (/box/tri/bar)");
}

std::string compact(PdfBuilder *pdf, const std::string &name, const std::string &inside,
                    const std::string &filter = "")
{
    std::string data = compactProgram(inside, sampleGlyphs());
    return compactFile(pdf, name, filter.empty() ? data : encodeASCIIHex(data), filter);
}

TEST(CompactFonts, AreDefinedByFontSetInit)
{
    PageSet set;
    set.levelThree = true;
    set.add("as it is", SHOW, font(compact(&set.pdf, "Compact", "Compact")));
    set.add("filtered", SHOW,
            font(compact(&set.pdf, "Packed", "Packed", "/Filter /ASCIIHexDecode")));
    set.add("another name inside", SHOW, font(compact(&set.pdf, "AAAAAA+Outside", "Inside")));
    set.add("/Differences", "BT /F1 40 Tf 20 100 Td (CAB) Tj ET",
            font(compact(&set.pdf, "Turned", "Turned") +
                 "/Encoding << /Differences [65 /bar /tri /box] >>"));
    set.expectRight();
}

TEST(CompactFonts, AreFoundInOpenTypeFonts)
{
    PageSet set;
    set.hasJob = false; /* what is damaged or missing is another matter when prepared */
    set.levelThree = true;
    std::string program = openTypeProgram(compactProgram("Wrapped", sampleGlyphs()));
    set.add("OTTO", SHOW, font(compactFile(&set.pdf, "Wrapped", program)));
    set.expectRight();
}

/* Programs that interpreters refuse for what lies in the Private dictionary: of the glyphs'
 * shapes nothing lies there unless they have subroutines. */
TEST(CompactFonts, AreReadWithoutAPrivateDictionaryThatIsDamaged)
{
    PageSet set;
    set.hasJob = false; /* what is damaged or missing is another matter when prepared */
    set.levelThree = true;
    const std::string whole = font(compact(&set.pdf, "Whole", "Whole"));
    const std::pair<const char *, std::string> damages[] = {
        {"OperatorWithoutOperands", "\x0A"},
        {"OperatorOfAnotherDictionary", "\x8B\x8B\x0C\x1E"},
        {"ReservedByte", "\x1F\x0A"},
        {"NumberThatIsNone", "\x1E\xAB\x0A"},
        {"TooManyOperands", std::string(60, '\x8B') + "\x06"},
    };
    for (const auto &[name, damage] : damages) {
        std::string program = compactProgram(name, sampleGlyphs(), damage);
        set.addLike(name, SHOW, font(compactFile(&set.pdf, name, program)), SHOW, whole);
        set.addLike(name + std::string(" of an OpenType font"), SHOW,
                    font(compactFile(&set.pdf, name, openTypeProgram(program))), SHOW, whole);
    }
    set.expectRight();
}

TEST(CompactFonts, KeepAPrivateDictionaryThatHasSubroutines)
{
    PdfBuilder pdf;
    std::string program = compactProgram("Subroutines", sampleGlyphs(), "\xF7\x01\x13\x0A");
    pdf.addPage("/MediaBox [0 0 200 200] /Contents " + ref(pdf.addStream("", SHOW)) + " " +
                font(compactFile(&pdf, "Subroutines", program)));
    PrintOptions options;
    options.strict = false;
    PrintedJob job = printPages(convertPdf(pdf.build()).pages, options);
    EXPECT_EQ(std::count(job.lines.begin(), job.lines.end(),
                         "%%[ pdf_to_ps: 1 errors in page content, 1 fonts replaced ]%%"),
              1);
}

/* Whatever a program says about itself, its page and the next one come out. */
TEST(CompactFonts, ThatAreDamagedAnywhereCostNoPage)
{
    PdfBuilder pdf;
    const std::string program = openTypeProgram(compactProgram("Damaged", sampleGlyphs(), "\x0A"));
    size_t pages = 0;
    for (size_t at = 0; at < program.size(); at += at < 44 || at >= 98 ? 1 : 54) {
        std::string damaged = program;
        damaged[at] = at % 2 ? '\xFF' : '\x1E';
        pdf.addPage("/MediaBox [0 0 20 20] /Contents " +
                    ref(pdf.addStream("", "BT /F1 20 Tf 0 4 Td (A) Tj ET 0 0 20 4 re f")) + " " +
                    font(compactFile(&pdf, "Damaged", damaged)));
        pages++;
    }
    for (size_t size : std::initializer_list<size_t>{0, 4, 11, 12, 43, 44, 98, 110, 150}) {
        pdf.addPage("/MediaBox [0 0 20 20] /Contents " +
                    ref(pdf.addStream("", "BT /F1 20 Tf 0 4 Td (A) Tj ET 0 0 20 4 re f")) + " " +
                    font(compactFile(&pdf, "Short", program.substr(0, size))));
        pages++;
    }
    PrintOptions options;
    options.strict = false;
    PrintedJob job = printPages(convertPdf(pdf.build()).pages, options);
    EXPECT_EQ(job.status, 0);
    ASSERT_EQ(job.pages.size(), pages);
    for (const Picture &page : job.pages)
        EXPECT_FALSE(isBlank(page));
}

TEST(CompactFonts, WithoutLevelThreeAReplacementIsUsedAndCounted)
{
    PdfBuilder pdf;
    std::string entries = compact(&pdf, "Some-Sans", "Inside");
    pdf.addPage("/MediaBox [0 0 200 200] /Contents " + ref(pdf.addStream("", SHOW)) + " " +
                font(entries));
    PrintOptions options;
    options.levelTwo = true;
    PrintedJob job = printPages(convertPdf(pdf.build()).pages, options);
    EXPECT_EQ(faultsOf(job), std::vector<std::string>{});
    EXPECT_EQ(std::count(job.lines.begin(), job.lines.end(),
                         "%%[ pdf_to_ps: 0 errors in page content, 1 fonts replaced ]%%"),
              1);
    ASSERT_EQ(job.pages.size(), 1U);
    EXPECT_FALSE(isBlank(job.pages[0]));
}

/* The character set of a font file that the converter skips is left on the operand stack. */
TEST(CompactFonts, AFontFileOfAnotherKindIsPassedOver)
{
    PageSet set;
    int file = set.pdf.addStream("/Subtype /OpenType", "OTTO");
    set.addLike("OpenType", "BT /F1 30 Tf 20 100 Td (Text) Tj ET",
                font("/Subtype /Type1 /BaseFont /Helvetica " +
                     descriptor(&set.pdf, "Helvetica", 32, "/FontFile3 " + ref(file))),
                "BT /F1 30 Tf 20 100 Td (Text) Tj ET",
                font("/Subtype /Type1 /BaseFont /Helvetica"));
    set.expectRight();
}

/* ---- TrueType */

std::string square(int left, int right, int top)
{
    return simpleGlyph({{{left, 0, ON}, {left, top, ON}, {right, top, ON}, {right, 0, ON}}},
                       {left, 0, right, top});
}

/* Glyphs 1 to 4: a square, a circle of curves, a low bar, and the square with a bar above. */
FontBuilder sampleFont()
{
    FontBuilder builder;
    builder.unitsPerEm = 1000;
    builder.box = {0, 0, 700, 900};
    builder.glyphs = {square(50, 450, 300), square(50, 650, 700),
                      simpleGlyph({{{350, 700, ON},
                                    {700, 700, OFF},
                                    {700, 350, ON},
                                    {700, 0, OFF},
                                    {350, 0, ON},
                                    {0, 0, OFF},
                                    {0, 350, ON},
                                    {0, 700, OFF}}},
                                  {0, 0, 700, 700}),
                      square(50, 650, 150),
                      compositeGlyph({{3, 1, 0, 0}, {3, 3, 0, 740}}, {50, 0, 650, 890})};
    builder.advances = {500, 700, 740, 700, 700};
    FontBytes metrics; /* side bearings that agree with the outlines */
    for (auto [advance, bearing] : {std::pair(500, 50), {700, 50}, {740, 0}, {700, 50}, {700, 50}})
        metrics.u16((unsigned)advance).u16((unsigned)bearing);
    builder.replaced["hmtx"] = metrics;
    builder.names = {".notdef", "A", "B", "C", "Adieresis"};
    return builder;
}

std::string trueType(PdfBuilder *pdf, const FontBuilder &builder, const std::string &name,
                     int flags = 32)
{
    int file = pdf->addStream("", builder.build());
    return "/Subtype /TrueType /BaseFont /" + name + " " +
           descriptor(pdf, name, flags, "/FontFile2 " + ref(file));
}

std::string cmap(unsigned platform, unsigned encoding, const std::string &subtable)
{
    return cmapTable({{platform, encoding, subtable}});
}

TEST(TrueTypeFonts, MapsAndEncodings)
{
    PageSet set;
    const std::string widths = "/FirstChar 65 /LastChar 67 /Widths [700 740 700] ";
    FontBuilder windows = sampleFont();
    windows.replaced["cmap"] = cmap(3, 1, cmapFormat4({{65, 67, -64}, {0xC4, 0xC4, 4 - 0xC4}}));
    set.add("Windows map, WinAnsiEncoding", SHOW,
            font(trueType(&set.pdf, windows, "Windows") + widths + "/Encoding /WinAnsiEncoding"));
    set.add("composite glyph", "BT /F1 60 Tf 20 80 Td (A\\304) Tj ET",
            font(trueType(&set.pdf, windows, "Composite") + "/Encoding /WinAnsiEncoding"));
    set.add("Windows map, MacRomanEncoding", "BT /F1 60 Tf 20 80 Td (A\\200) Tj ET",
            font(trueType(&set.pdf, windows, "WindowsMac") + "/Encoding /MacRomanEncoding"));
    FontBuilder symbol = sampleFont();
    symbol.replaced["cmap"] = cmap(3, 0, cmapFormat4({{0xF041, 0xF043, 1 - 0xF041}}));
    set.add("symbol map", SHOW, font(trueType(&set.pdf, symbol, "Symbolic1", 4) + widths));
    FontBuilder mac = sampleFont();
    std::vector<unsigned> codes(256, 0);
    codes[65] = 1, codes[66] = 2, codes[67] = 3, codes[0x80] = 4;
    mac.replaced["cmap"] = cmap(1, 0, cmapFormat0(codes));
    set.add("Macintosh map, MacRomanEncoding", "BT /F1 60 Tf 20 80 Td (B\\200) Tj ET",
            font(trueType(&set.pdf, mac, "Mac1") + "/Encoding /MacRomanEncoding"));
    set.add("Macintosh map, WinAnsiEncoding", "BT /F1 60 Tf 20 80 Td (B\\304) Tj ET",
            font(trueType(&set.pdf, mac, "Mac2") + "/Encoding /WinAnsiEncoding"));
    set.add("Macintosh map, /Differences", "BT /F1 60 Tf 20 80 Td (Bx) Tj ET",
            font(trueType(&set.pdf, mac, "Mac3") +
                 "/Encoding << /BaseEncoding /MacRomanEncoding /Differences [120 /Adieresis] >>"));
    FontBuilder liar = windows;
    liar.names = {".notdef", "K", "A", "B", "C"};
    set.add("names that are wrong: the codes count", SHOW,
            font(trueType(&set.pdf, liar, "Liar") + widths + "/Encoding /WinAnsiEncoding"));
    set.add("widths that are not the font's", SHOW,
            font(trueType(&set.pdf, windows, "Wide1") +
                 "/FirstChar 65 /LastChar 67 /Widths [1000 500 900] /Encoding /WinAnsiEncoding"));
    set.add("an unusual size of the em", SHOW, [&] {
        FontBuilder large = windows;
        large.unitsPerEm = 2048;
        return font(trueType(&set.pdf, large, "Large") + "/Encoding /WinAnsiEncoding");
    }());
    set.expectRight();
}

/* Fonts name their glyphs badly; what tells them apart is their number and their code. */
TEST(TrueTypeFonts, GlyphsThatShareANameOrHaveNone)
{
    PageSet set;
    const std::string widths = "/FirstChar 65 /LastChar 67 /Widths [700 600 300] ";
    const std::vector<std::string> namings[] = {
        {".notdef", ".notdef", ".notdef", ".notdef", ".notdef"},
        {".notdef", "same", "same", "same", "same"},
        {".notdef", "UNKN", "UNKN", "UNKN", "UNKN"},
        {".notdef", "A", "A", "B", "B"},
    };
    for (const std::vector<std::string> &names : namings) {
        FontBuilder symbol = sampleFont();
        symbol.names = names;
        symbol.replaced["cmap"] = cmap(3, 0, cmapFormat4({{0xF041, 0xF043, 1 - 0xF041}}));
        set.add("symbol map, " + names[1], SHOW,
                font(trueType(&set.pdf, symbol, "Shared" + names[1].substr(1), 4) + widths));
        FontBuilder mac = symbol;
        std::vector<unsigned> codes(256, 0);
        codes[65] = 1, codes[66] = 2, codes[67] = 3;
        mac.replaced["cmap"] = cmap(1, 0, cmapFormat0(codes));
        set.add("Macintosh map, " + names[1], SHOW,
                font(trueType(&set.pdf, mac, "Mac" + names[1].substr(1), 4) + widths));
    }
    set.expectRight();
}

TEST(TrueTypeFonts, InAllRenderModes)
{
    PageSet set;
    set.dpi = 216;
    FontBuilder windows = sampleFont();
    windows.replaced["cmap"] = cmap(3, 1, cmapFormat4({{65, 67, -64}}));
    std::string resources =
        font(trueType(&set.pdf, windows, "Modes") + "/Encoding /WinAnsiEncoding");
    for (int mode = 0; mode < 8; mode++)
        set.add("Tr " + std::to_string(mode),
                "1 0.5 0 rg 0 0 0.6 RG 2 w q BT /F1 70 Tf " + std::to_string(mode) +
                    " Tr 10 80 Td (AB) Tj 1 Tc (C) Tj ET 0 0.6 0 rg 0 100 200 20 re f Q "
                    "0 0 10 10 re f",
                resources);
    set.expectRight();
}

/* ---- Type 3 */

std::string typeThree(PdfBuilder *pdf, const std::vector<std::string> &glyphs,
                      const std::string &entries = "")
{
    std::string procedures, differences, widths;
    for (size_t i = 0; i < glyphs.size(); i++) {
        std::string name = "/g" + std::to_string(i);
        procedures += name + " " + ref(pdf->addStream("", glyphs[i])) + " ";
        differences += name + " ";
        widths += "1000 ";
    }
    return "/Subtype /Type3 /FontBBox [0 0 1000 1000] /FontMatrix [0.001 0 0 0.001 0 0] "
           "/CharProcs << " +
           procedures + ">> /Encoding << /Differences [65 " + differences +
           "] >> /FirstChar 65 /LastChar " + std::to_string(64 + glyphs.size()) + " /Widths [" +
           widths + "] " + entries;
}

TEST(TypeThreeFonts, GlyphsAreContent)
{
    PageSet set;
    const std::string show = "0 0 0.7 rg BT /F1 60 Tf 10 110 Td (AB) Tj 0 -90 Td (BA) Tj ET";
    const std::string box = "1000 0 0 0 900 900 d1 100 100 700 700 re f";
    set.add("d1 has the colour of the text", show,
            font(typeThree(&set.pdf, {box, "1000 0 0 0 900 900 d1 1 0 0 rg 100 0 m 800 0 l 450 800 "
                                           "l f 60 w 450 0 m 450 900 l S"})));
    set.add("d0 has colours of its own", show,
            font(typeThree(&set.pdf, {box, "1000 0 d0 1 0 0 rg 0 0 500 500 re f 0 0.6 0 RG 90 w "
                                           "100 100 600 700 re S"})));
    set.add("inline masks", show,
            font(typeThree(&set.pdf,
                           {box, "1000 0 0 0 900 900 d1 q 800 0 0 800 50 50 cm BI /W 8 "
                                 "/H 8 /IM true /BPC 1 /D [1 0] ID " +
                                     std::string("\x81\x42\x24\x18\x18\x24\x42\x81") + " EI Q"})));
    set.add("binary data with braces, parentheses and percent signs", show,
            font(typeThree(&set.pdf, {box, "1000 0 0 0 900 900 d1 q 800 0 0 800 50 50 cm BI /W 8 "
                                           "/H 8 /IM true ID {}()%<>\\ EI Q"})));
    set.add("q and Q, and a missing Q", show,
            font(typeThree(&set.pdf, {box, "1000 0 0 0 900 900 d1 q q 0.5 0 0 0.5 0 0 cm Q "
                                           "100 100 600 600 re f q 2 0 0 2 0 0 cm"})));
    set.add("another font matrix", "0 0 0.7 rg BT /F1 1 Tf 60 0 0 60 10 80 Tm (AB) Tj ET",
            font([&] {
                std::string entries = typeThree(
                    &set.pdf, {"10 0 0 0 9 9 d1 1 1 7 7 re f", "10 0 0 0 9 9 d1 0 0 5 9 re f"});
                entries.replace(entries.find("[0.001 0 0 0.001"), 16, "[0.1 0 0.03 0.1");
                size_t widths = entries.find("/Widths");
                return entries.replace(widths, entries.find("]", widths) - widths + 1,
                                       "/Widths [10 10]");
            }()));
    for (const char *matrix : {"0.001 0.0003 0 0.001", "0.0008 -0.0006 0.0006 0.0008"}) {
        std::string entries = typeThree(&set.pdf, {box, "1000 0 d0 0 0 500 500 re f"});
        entries.replace(entries.find("0.001 0 0 0.001"), 15, matrix);
        set.add(std::string("the advance stays on the baseline, ") + matrix,
                "BT /F1 30 Tf 3 Tc 20 100 Td (ABA) Tj [(A) -300 (B)] TJ ET", font(entries));
        set.add(std::string("the same in turned text, ") + matrix,
                "BT /F1 30 Tf 0.8 0.6 -0.6 0.8 50 20 Tm (ABAB) Tj ET", font(entries));
    }
    set.add("character and word spacing", "BT /F1 40 Tf 5 Tc 10 100 Td (AB) Tj ET",
            font(typeThree(&set.pdf, {box, box})));
    set.add("an empty box in d1 does not hide the glyph", show,
            font(typeThree(&set.pdf, {box, "1000 0 0 0 0 0 d1 100 100 700 300 re f"})));
    set.expectRight();
}

TEST(TypeThreeFonts, ResourcesOfTheirOwn)
{
    PageSet set;
    const std::string helvetica = "<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica-Bold >>";
    const std::string courier = "<< /Type /Font /Subtype /Type1 /BaseFont /Courier >>";
    int image = set.pdf.addStream("/Type /XObject /Subtype /Image /Width 2 /Height 1 /ImageMask "
                                  "true",
                                  "\x40");
    std::string entries = typeThree(&set.pdf,
                                    {"1000 0 d0 BT /F2 900 Tf 100 100 Td (R) Tj ET",
                                     "1000 0 0 0 900 900 d1 q 800 0 0 800 50 50 cm /Im Do Q"},
                                    "/Resources << /Font << /F2 " + helvetica +
                                        " >> /XObject << /Im " + ref(image) + " >> >>");
    set.add("a font and an image", "BT /F1 60 Tf 10 110 Td (AB) Tj /F2 30 Tf 0 -90 Td (Page) Tj ET",
            "/Resources << /Font << /F2 " + courier + " /F1 << /Type /Font " + entries +
                " >> >> >>");
    set.add("the page's font stands behind",
            "BT /F1 60 Tf 10 110 Td (AB) Tj /F3 30 Tf 0 -90 Td "
            "(Page) Tj ET",
            "/Resources << /Font << /F1 << /Type /Font " + entries + " >> /F3 " + courier +
                " >> >>");
    set.expectRight();
}

TEST(TypeThreeFonts, WhatIsMissingIsSurvived)
{
    PageSet set;
    set.faultless = false;
    const std::string box = "1000 0 0 0 900 900 d1 100 100 700 700 re f";
    const std::string rest = " 1 0 0 rg 20 20 160 30 re f";
    set.addLike("no glyphs at all", "BT /F1 40 Tf 20 100 Td (AB) Tj ET" + rest,
                font("/Subtype /Type3 /FontBBox [0 0 1 1] /FontMatrix [1 0 0 1 0 0]"), rest);
    set.addLike("an unknown operator in a glyph", "BT /F1 60 Tf 20 100 Td (AB) Tj ET" + rest,
                font(typeThree(&set.pdf, {box, "1000 0 0 0 900 900 d1 zzz 100 100 700 700 re f"})),
                "26 106 42 42 re f 86 106 42 42 re f" + rest);
    set.addLike("a glyph without a width", "BT /F1 60 Tf 20 100 Td (AB) Tj ET" + rest,
                font(typeThree(&set.pdf, {box, ""})), "26 106 42 42 re f" + rest);
    set.expectRight();
}

TEST(TypeThreeFonts, ACodeWithoutAGlyphDoesNotAdvance)
{
    PageSet set;
    const std::string box = "1000 0 0 0 900 900 d1 100 100 700 700 re f";
    set.add("no name in the encoding", "BT /F1 40 Tf 20 100 Td (AZZB) Tj ET",
            font(typeThree(&set.pdf, {box, box})));
    set.add("character spacing counts", "BT /F1 40 Tf 10 Tc 20 100 Td (AZZB) Tj ET",
            font(typeThree(&set.pdf, {box, box})));
    set.expectRight();
}

TEST(TypeThreeFonts, AGlyphThatShowsItselfEnds)
{
    PageSet set;
    set.faultless = false;
    std::string entries = typeThree(&set.pdf, {"1000 0 d0 100 100 300 300 re f BT /F1 500 Tf "
                                               "500 500 Td (A) Tj ET"});
    set.pdf.set(90, "<< /Type /Font " + entries + " /Resources << /Font << /F2 91 0 R >> >> >>");
    set.pdf.set(91, "<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica >>");
    PrintOptions options;
    options.strict = false;
    PdfBuilder pdf = set.pdf;
    pdf.addPage("/MediaBox [0 0 200 200] /Contents " +
                ref(pdf.addStream("", "BT /F1 100 Tf 20 20 Td (A) Tj ET")) +
                " /Resources << /Font << /F1 90 0 R >> >>");
    PrintedJob job = printPages(convertPdf(pdf.build()).pages, options);
    EXPECT_EQ(job.status, 0);
    ASSERT_EQ(job.pages.size(), 1U);
    EXPECT_FALSE(isBlank(job.pages[0]));
}

/* ---- fonts that every interpreter has */

TEST(ResidentFonts, Encodings)
{
    PageSet set;
    auto add = [&set](const std::string &name, const std::string &text,
                      const std::string &entries) {
        set.add(name, "BT /F1 22 Tf 24 TL 10 170 Td " + text + " ET",
                font("/Subtype /Type1 " + entries));
    };
    std::string high = "(\\200\\204\\205\\223\\224\\225\\226\\227) Tj T* "
                       "(\\241\\251\\261\\277\\304\\311\\321\\326) Tj T* "
                       "(\\334\\337\\340\\347\\350\\361\\366\\374\\377) Tj T* ('`^\\055\\267) Tj";
    add("WinAnsiEncoding", high, "/BaseFont /Helvetica /Encoding /WinAnsiEncoding");
    add("MacRomanEncoding", high, "/BaseFont /Times-Roman /Encoding /MacRomanEncoding");
    add("StandardEncoding", "(\\241\\242\\256\\257\\341\\372 '`) Tj",
        "/BaseFont /Times-Roman /Encoding /StandardEncoding");
    add("no encoding", "(\\241\\242\\256\\257\\341\\372 '`) Tj", "/BaseFont /Helvetica");
    add("/Differences", "(\\001\\002A\\003z) Tj",
        "/BaseFont /Helvetica /Encoding << /BaseEncoding /WinAnsiEncoding /Differences [1 /Euro "
        "/Zcaron 65 /Lslash 3 /fi] >>");
    set.addLike("other names of glyphs", "BT /F1 40 Tf 20 100 Td (abcdef) Tj ET",
                font("/Subtype /Type1 /BaseFont /Helvetica /Encoding << /Differences [97 /uni00C4 "
                     "/sfthyphen /middot /no_break_space /Idot /Odblacute] >>"),
                "BT /F1 40 Tf 20 100 Td (abcdef) Tj ET",
                font("/Subtype /Type1 /BaseFont /Helvetica /Encoding << /Differences [97 "
                     "/Adieresis /hyphen /periodcentered /space /Idotaccent /Ohungarumlaut] >>"));
    add("Symbol", "(abcdef\\245\\345) Tj", "/BaseFont /Symbol");
    add("ZapfDingbats", "(abc4\\110\\300) Tj", "/BaseFont /ZapfDingbats");
    set.expectRight();
}

TEST(ResidentFonts, EveryStyleOfTheThreeFamilies)
{
    PageSet set;
    for (const char *name :
         {"Times-Roman", "Times-Bold", "Times-Italic", "Times-BoldItalic", "Helvetica",
          "Helvetica-Bold", "Helvetica-Oblique", "Helvetica-BoldOblique", "Courier", "Courier-Bold",
          "Courier-Oblique", "Courier-BoldOblique"})
        set.add(name, "BT /F1 30 Tf 20 120 Td (Hamburg) Tj 0 -60 Td (fonts) Tj ET",
                font("/Subtype /Type1 /BaseFont /" + std::string(name)));
    set.expectRight();
}

/* A font that is not there looks like the one of its style. */
TEST(MissingFonts, AreReplacedByOneOfTheirStyle)
{
    PageSet set;
    const std::string show = "BT /F1 30 Tf 20 120 Td (Hamburg) Tj 0 -60 Td (fonts) Tj ET";
    const std::pair<const char *, const char *> styles[] = {
        {"Arial,Bold", "Helvetica-Bold"},
        {"ArialMT", "Helvetica"},
        {"TimesNewRomanPS-BoldItalicMT", "Times-BoldItalic"},
        {"CourierNewPSMT", "Courier"},
        {"ABCDEF+GaramondSomething-Italic", "Times-Italic"},
        {"FranklinSomething-Heavy", "Helvetica-Bold"},
        {"SomethingMono-Oblique", "Courier-Oblique"},
        {"NothingKnown", "Helvetica"},
        {"SegoeUISymbol", "Helvetica"},
        {"SymbolMT", "Symbol"},
        {"ABCDEF+Symbol,Bold", "Symbol"},
        {"BrushScriptMT", "Helvetica-Oblique"},
        {"GillHandwriting-Bold", "Helvetica-BoldOblique"},
    };
    for (auto [missing, standard] : styles)
        set.addLike(missing, show, font("/Subtype /TrueType /BaseFont /" + std::string(missing)),
                    show, font("/Subtype /Type1 /BaseFont /" + std::string(standard)));
    set.expectRight();
}

TEST(MissingFonts, AreScaledToTheirWidths)
{
    PageSet set;
    std::string widths = "/FirstChar 97 /LastChar 122 /Widths [";
    for (int code = 'a'; code <= 'z'; code++)
        widths += "390 ";
    widths += "] ";
    /* Helvetica's small letters have 12726 units together, these 10140: 79.7 %. */
    for (const char *name : {"Unknown-Sans", "ArialNarrow", "ABCDEF+Arial-Condensed", "ArialCond"})
        set.addLike(name, "BT /F1 60 Tf 10 100 Td (mmm) Tj ET",
                    font("/Subtype /Type1 /BaseFont /" + std::string(name) + " " + widths),
                    "BT /F1 60 Tf 79.7 Tz 10 100 Td [(m) 344 (m) 344 (m)] TJ ET",
                    font("/Subtype /Type1 /BaseFont /Helvetica"));
    set.expectRight();
}

TEST(MissingFonts, AreCountedOnceForTheWholeJob)
{
    PrintOptions options;
    std::string resources;
    for (const char *name : {"One", "Two", "One"})
        resources +=
            "<<\n/Name /F" + std::string(name) + "\n/BaseFont /Unknown" + name + " \n >> AdjFont\n";
    std::string page =
        pageDescription("BT /FOne 20 Tf 20 20 Td (x) Tj /FTwo 20 Tf (y) Tj ET", resources);
    PrintedJob job = printPages(page + page + page, options);
    EXPECT_EQ(faultsOf(job), std::vector<std::string>{});
    EXPECT_EQ(std::count(job.lines.begin(), job.lines.end(),
                         "%%[ pdf_to_ps: 0 errors in page content, 2 fonts replaced ]%%"),
              1);
}

/* Codes of two bytes cannot be drawn with a font of one; nothing is better than garbage. */
TEST(TwoByteFonts, DrawNothingAndAdvanceAThousandUnitsForTwoBytes)
{
    PageSet set;
    set.hasJob = false; /* what is damaged or missing is another matter when prepared */
    set.faultless = false; /* the converter names the font type */
    int descendant = set.pdf.add("<< /Type /Font /Subtype /CIDFontType2 /BaseFont /Mincho "
                                 "/CIDSystemInfo << /Registry (Adobe) /Ordering (Identity) "
                                 "/Supplement 0 >> >>");
    const std::string two = "/F2 << /Type /Font /Subtype /Type1 /BaseFont /Helvetica >> >> >>";
    for (const char *encoding : {"Identity-H", "90ms-RKSJ-V"})
        set.addLike(encoding, "BT /F1 20 Tf 20 100 Td <004100420043> Tj /F2 20 Tf (after) Tj ET",
                    "/Resources << /Font << /F1 << /Type /Font /Subtype /Type0 /BaseFont /Mincho "
                    "/Encoding /" +
                        std::string(encoding) + " /DescendantFonts [" + ref(descendant) + "] >> " +
                        two,
                    "BT /F2 20 Tf 80 100 Td (after) Tj ET", "/Resources << /Font << " + two);
    set.expectRight();
}

} // namespace
