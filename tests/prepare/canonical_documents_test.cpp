/*
 * canonical_documents_test.cpp - documents of which nothing is written but what stands in the
 * tables
 */
#include <gtest/gtest.h>

#include <algorithm>

#include "prepare/images/codecs.h"
#include "tests/compress/zlib_encoder.h"
#include "tests/postscript/print_job.h"
#include "tests/prepare/fonts.h"
#include "tests/prepare/images.h"
#include "tests/prepare/preparation.h"
#include "tests/support/conversion.h"
#include "tests/support/pdf_builder.h"

namespace {

using Lines = std::vector<std::string>;

/* The document in canonical form. */
std::string canonical(const std::string &pdf, const Lines &messages = {})
{
    Preparation made = preparePdf(pdf, {"--canonical"});
    EXPECT_EQ(made.status, 0);
    EXPECT_EQ(made.messages, messages);
    return made.pdf;
}

/* Its objects one by one, streams in clear. */
std::string objectsOf(const std::string &pdf, const Lines &messages = {})
{
    return inClear(canonical(pdf, messages));
}

/* The pages printed from the document as it is prepared otherwise, and in canonical form: the same
 * to the last pixel. */
void expectSamePrint(const std::string &pdf, const std::string &plain)
{
    PrintedJob expected = printFile(convertForPrinting(preparePdf(pdf).pdf).output, 100);
    PrintedJob printed = printFile(convertForPrinting(plain).output, 100);
    EXPECT_EQ(faultsOf(printed), Lines());
    ASSERT_EQ(printed.pages.size(), expected.pages.size());
    for (size_t i = 0; i < printed.pages.size(); i++) {
        EXPECT_TRUE(printed.pages[i].rgb == expected.pages[i].rgb) << "page " << i + 1;
        EXPECT_FALSE(isBlank(printed.pages[i])) << "page " << i + 1;
    }
}

/* Canonical, with the same pages; its objects. */
std::string expectCanonical(const std::string &pdf, const Lines &messages = {})
{
    std::string plain = canonical(pdf, messages);
    expectSamePrint(pdf, plain);
    EXPECT_EQ(canonical(plain), plain) << "a canonical document stays as it is";
    return inClear(plain);
}

/* A page with these resources and this content. */
std::string page(PdfBuilder *pdf, const std::string &resources, const std::string &content)
{
    pdf->addPage("/MediaBox [0 0 200 200] /Resources << " + resources + " >> /Contents " +
                 ref(pdf->addStream("", content)));
    return pdf->build();
}

/* A page that paints an image with these entries. */
std::string imagePage(const std::string &entries, const std::string &data)
{
    PdfBuilder pdf;
    int image = pdf.addStream("/Type /XObject /Subtype /Image " + entries, data);
    return page(&pdf, "/XObject << /I " + ref(image) + " >>", "q 99 0 0 99 9 9 cm /I Do Q");
}

std::string ascii85(const std::string &data)
{
    std::string text;
    for (size_t at = 0; at < data.size(); at += 4) {
        uint32_t word = 0;
        size_t count = std::min<size_t>(4, data.size() - at);
        for (size_t i = 0; i < 4; i++)
            word = word << 8 | (i < count ? (uint8_t)data[at + i] : 0);
        char digits[5];
        for (int i = 4; i >= 0; i--, word /= 85)
            digits[i] = (char)('!' + word % 85);
        text.append(digits, count + 1);
    }
    return text + "~>";
}

std::string jpegOf(int width, int height, int components)
{
    std::string bytes = blockBytes(width, height, components);
    return prepare::encodeJpeg(reinterpret_cast<const uint8_t *>(bytes.data()), width, height,
                               components, 90);
}

const char HELVETICA[] = "/Font << /F << /Type /Font /Subtype /Type1 /BaseFont /Helvetica >> >>";

} // namespace

TEST(CanonicalDocuments, TextInAFontThatIsNotThereIsPrinted)
{
    Preparation made =
        preparePdf(onePagePdf("BT /Nobody 20 Tf 10 10 Td (Hello) Tj ET"), {"--canonical"});
    EXPECT_EQ(made.status, 0);
    EXPECT_TRUE(holds(inClear(made.pdf), "/BaseFont /Helvetica\n"));
    EXPECT_TRUE(holds(textOf(made.pdf), "Hello"));
}

TEST(CanonicalDocuments, APageWithTextWithinAPathIsAPicture)
{
    Preparation made = preparePdf(onePagePdf("0 0 m 9 0 l 9 9 l BT ET h f"), {"--canonical"});
    EXPECT_EQ(std::count_if(made.messages.begin(), made.messages.end(),
                            [](const std::string &line) {
                                return line.starts_with("PREPARE-L-PAGEPIXELS: Page 1: ");
                            }),
              1);
}

TEST(CanonicalDocuments, ContentKeepsItsBytesAndStandsInClear)
{
    const std::string content =
        "q\r0.5  g 20 30 100 60 re f Q\tBT /F 24 Tf 20 120 Td (T\\)x) Tj ET\n";
    PdfBuilder pdf;
    pdf.addPage("/MediaBox [0 0 200 200] /Resources << " + std::string(HELVETICA) +
                " >> /Contents " +
                ref(pdf.addStream("/Filter /FlateDecode", encodeFlate(content))));
    std::string bytes = pdf.build(), plain = canonical(bytes);
    EXPECT_TRUE(holds(plain, "stream\n" + content + "\nendstream"));
    EXPECT_FALSE(holds(plain, "/Filter"));
    expectSamePrint(bytes, plain);
    EXPECT_FALSE(holds(preparePdf(bytes).pdf, content)) << "without the option it stays compressed";
}

TEST(CanonicalDocuments, StreamsOfAPageAreOneAndThoseThatPagesShareStaySo)
{
    PdfBuilder pdf;
    std::string first = ref(pdf.addStream("", "q 0 0 50")),
                second = ref(pdf.addStream("", "50 re f"));
    std::string both = "/MediaBox [0 0 99 99] /Contents [" + first + " " + second + "]";
    pdf.addPage(both);
    pdf.addPage(both);
    std::string objects = expectCanonical(pdf.build());
    EXPECT_EQ(countOf(objects, "q 0 0 50\n50 re f\nQ\n"), 1u) << objects;
    EXPECT_EQ(countOf(objects, "/Contents "), 2u);
}

TEST(CanonicalDocuments, KeysThatStandInNoTableAreNotThere)
{
    PdfBuilder pdf;
    const std::string odd = "/Odd << /Evil [1 (evil)] >> /Evil (evil) ";
    int image =
        pdf.addStream("/Subtype /Image /Width 2 /Height 1 /BitsPerComponent 8 /ColorSpace "
                      "/DeviceGray /Interpolate 3 /Intent /Evil /Decode [0 1 2] /Name /Evil "
                      "/SMaskInData 1 /OPI << >> " +
                          odd,
                      "\x10\x80");
    int form = pdf.addStream("/Subtype /Form /BBox [0 0 99 99] /Matrix [1 0 0 1 0 (x)] /XUID [1 2] "
                             "/PieceInfo << /Evil 1 >> /Resources << /Properties << /Evil 1 0 R >> "
                             "/ProcSet [/Evil] >> " +
                                 odd,
                             "0 0 50 50 re f");
    int state = pdf.add("<< /Type /ExtGState /SA true /OP (evil) /HTP [1 2 3] /TR /Evil /BG 3 /HT "
                        "/Evil " +
                        odd + ">>");
    std::string objects = objectsOf(
        page(&pdf,
             "/XObject << /I " + ref(image) + " /X " + ref(form) + " /Evil " + ref(image) +
                 " >> /ExtGState << /G " + ref(state) +
                 " >> /Pattern << >> /Font << /F << /Type /Font /Subtype /Type1 /BaseFont "
                 "/Helvetica /Evil 1 /FirstChar (evil) /Widths [1 (evil)] /Encoding << "
                 "/BaseEncoding /Evil /Differences [65 /A /B#20C (evil) 300 /D -4 /E] >> >> >>",
             "/G gs /I Do /X Do BT /F 9 Tf (A) Tj ET"));
    for (const char *key :
         {"vil",        "Odd",     "XUID",        "PieceInfo", "ProcSet", "HTP", "/TR",
          "/BG",        "/HT",     "Interpolate", "Intent",    "/Decode", "OPI", "/Name",
          "Properties", "/Matrix", "/FirstChar",  "/D\n",      "/E\n",    "/OP"})
        EXPECT_FALSE(holds(objects, key)) << key << "\n" << objects;
    for (const char *key : {"/SA true", "/BBox", "/Width 2", "/BaseFont /Helvetica", "/.notdef"})
        EXPECT_TRUE(holds(objects, key)) << key << "\n" << objects;
}

TEST(CanonicalDocuments, ResourcesThatNothingNamesAreNotThere)
{
    PdfBuilder pdf;
    int form = pdf.addForm("0 0 9 9 re f");
    std::string objects = objectsOf(page(&pdf,
                                         "/XObject << /X " + ref(form) + " /Y " + ref(form) +
                                             " >> /ColorSpace << /C [/Separation /S /DeviceGray "
                                             "1 0 R] >>",
                                         "/X Do"));
    EXPECT_EQ(countOf(objects, "/X "), 2u) << "a resource, and an operation";
    EXPECT_EQ(countOf(objects, "/Y "), 0u);
    EXPECT_FALSE(holds(objects, "/ColorSpace"));
    EXPECT_FALSE(holds(objects, "/Separation"));
}

TEST(CanonicalDocuments, OddNamesBecomePlainOnesWithWhatNamesThem)
{
    PdfBuilder pdf;
    const std::string longest(64, 'n'), tooLong(65, 'n');
    int form =
        pdf.addForm("/A#2fB gs 0 0 50 50 re f", "/BBox [0 0 99 99] /Resources << /ExtGState << "
                                                "/A#2fB << /SA true >> >> >>");
    std::string objects = expectCanonical(page(
        &pdf,
        "/XObject << /A#20B " + ref(form) + " /" + longest + " " + ref(form) + " /" + tooLong +
            " " + ref(form) +
            " >> /Font << /F:1 << /Type /Font /Subtype /Type1 /BaseFont /Odd#20Font,Bold "
            ">> >>",
        "q /A#20B Do Q /" + longest + " Do /" + tooLong + " Do BT /F:1 20 Tf 60 60 Td (x) Tj ET"));
    EXPECT_TRUE(holds(objects, "/" + longest + " Do"));
    EXPECT_FALSE(holds(objects, tooLong));
    EXPECT_FALSE(holds(objects, "#"));
    EXPECT_FALSE(holds(objects, "F:1"));
    EXPECT_TRUE(holds(objects, "/BaseFont /Odd_Font_Bold")) << objects;
}

TEST(CanonicalDocuments, InlineImagesBecomeImages)
{
    PdfBuilder pdf;
    const std::string image =
        "q 40 0 0 40 9 9 cm BI /W 2 /H 2 /BPC 8 /CS /G ID \x10\x80\xc0\xf0 EI Q ";
    const std::string mask = "BI /W 8 /H 2 /IM true /BPC 1 /D [1 0] ID \xa5\x5a EI ";
    int form = pdf.addForm("1 0 0 1 50 0 cm " + image);
    int glyph = pdf.addStream("", "1000 0 0 0 1000 1000 d1 q 900 0 0 900 0 0 cm " + mask + "Q");
    int font =
        pdf.add("<< /Type /Font /Subtype /Type3 /FontBBox [0 0 1000 1000] /FontMatrix [0.001 "
                "0 0 0.001 0 0] /FirstChar 65 /LastChar 65 /Widths [1000] /Encoding << "
                "/Differences [65 /a] >> /CharProcs << /a " +
                ref(glyph) + " >> >>");
    std::string objects = expectCanonical(
        page(&pdf, "/XObject << /X " + ref(form) + " >> /Font << /T " + ref(font) + " >>",
             image + "/X Do BT /T 40 Tf 20 100 Td (AA) Tj ET"));
    EXPECT_FALSE(holds(objects, "BI "));
    EXPECT_EQ(countOf(objects, "/Subtype /Image"), 3u) << objects;
}

TEST(CanonicalDocuments, ImagesHaveOneFilter)
{
    std::string data = blockBytes(24, 16, 3);
    const std::string entries = "/Width 24 /Height 16 /BitsPerComponent 8 /ColorSpace /DeviceRGB ";
    std::string objects = expectCanonical(
        imagePage(entries + "/Filter [/ASCII85Decode /FlateDecode] ", ascii85(encodeFlate(data))));
    EXPECT_FALSE(holds(objects, "ASCII85"));
    std::string plain = canonical(
        imagePage(entries + "/Filter [/FlateDecode /DCTDecode]", encodeFlate(jpegOf(24, 16, 3))));
    EXPECT_TRUE(holds(plain, "/Filter /DCTDecode")) << plain;
    EXPECT_TRUE(holds(plain, jpegOf(24, 16, 3)));
    plain =
        canonical(imagePage(entries + "/Filter /FlateDecode /DecodeParms << /Predictor 1 /Evil 1 "
                                      "/EarlyChange 1 >>",
                            encodeFlate(data)));
    EXPECT_TRUE(holds(plain, encodeFlate(data))) << "the data stay as they were";
    EXPECT_TRUE(holds(plain, "/Predictor 1"));
    EXPECT_FALSE(holds(plain, "Evil"));
    EXPECT_FALSE(holds(plain, "EarlyChange"));
}

TEST(CanonicalDocuments, ParametersThatFiltersCannotHaveAreUndone)
{
    std::string data = blockBytes(24, 16, 1);
    const std::string entries = "/Width 24 /Height 16 /BitsPerComponent 8 /ColorSpace /DeviceGray "
                                "/Filter /FlateDecode /DecodeParms << /Columns 24 /Predictor ";
    EXPECT_FALSE(
        holds(canonical(imagePage(entries + "1 /Colors 9 >>", encodeFlate(data))), "/Colors"));
    Preparation made = preparePdf(imagePage(entries + "7 >>", encodeFlate(data)), {"--canonical"});
    EXPECT_EQ(made.status, 0);
    EXPECT_FALSE(holds(made.pdf, "/Predictor"));
}

TEST(CanonicalDocuments, AJpegIsWhatItsFrameSays)
{
    const std::string data = jpegOf(24, 16, 3);
    std::string objects =
        objectsOf(imagePage("/Width 48 /Height 8 /BitsPerComponent 4 /ColorSpace /DeviceGray "
                            "/Filter /DCTDecode /Decode [0 1] /DecodeParms << /ColorTransform 7 >>",
                            data));
    EXPECT_TRUE(holds(objects, "/Width 24"));
    EXPECT_TRUE(holds(objects, "/Height 16"));
    EXPECT_TRUE(holds(objects, "/BitsPerComponent 8"));
    EXPECT_TRUE(holds(objects, "/ColorSpace /DeviceRGB"));
    EXPECT_FALSE(holds(objects, "/Decode ["));
    EXPECT_FALSE(holds(objects, "/DecodeParms"));
}

TEST(CanonicalDocuments, DepthsAreThoseOfPrinters)
{
    for (int bits : {1, 2, 4, 8, 16}) {
        std::string depth = "/BitsPerComponent " + std::to_string(bits);
        std::string data = blockBytes(8, 16, 1) + blockBytes(8, 16, 1);
        std::string objects = expectCanonical(
            imagePage("/Width 8 /Height 16 /ColorSpace /DeviceGray " + depth, data));
        EXPECT_TRUE(
            holds(objects, "/BitsPerComponent " + std::to_string(std::min(bits, 8)) + "\n"));
    }
    std::string objects = objectsOf(imagePage(
        "/Width 8 /Height 16 /ColorSpace /DeviceGray /BitsPerComponent 3", std::string(999, 5)));
    EXPECT_TRUE(holds(objects, "/BitsPerComponent 4")) << objects;
}

TEST(CanonicalDocuments, ImagesThatCannotBeReadAreNoImages)
{
    for (const char *entries : {"/Width 0 /Height 8 /ColorSpace /DeviceGray /BitsPerComponent 8",
                                "/Width 8 /Height 8 /ColorSpace /DeviceGray /BitsPerComponent 8 "
                                "/Filter /Evil",
                                "/Width 99999999 /Height 99999999 /ColorSpace /DeviceGray",
                                "/ColorSpace /DeviceGray /Filter /DCTDecode"}) {
        Preparation made = preparePdf(imagePage(entries, "data"), {"--canonical"});
        EXPECT_EQ(made.status, 0);
        ASSERT_EQ(made.messages.size(), 1u) << entries;
        EXPECT_TRUE(holds(made.messages[0], "PREPARE-L-IMAGE: Page 1: ")) << made.messages[0];
        EXPECT_TRUE(holds(inClear(made.pdf), "/ImageMask true"));
        EXPECT_FALSE(holds(made.pdf, "Evil"));
    }
}

TEST(CanonicalDocuments, FunctionsAreTablesOfEightBits)
{
    const char *functions[] = {
        "<< /FunctionType 2 /Domain [0 1] /C0 [0 0 0] /C1 [1 .5 0] /N 2 >>",
        "<< /FunctionType 3 /Domain [0 1] /Bounds [.5] /Encode [0 1 1 0] /Functions [<< "
        "/FunctionType 2 /Domain [0 1] /C0 [0 0 0] /C1 [1 1 0] /N 1 >> << /FunctionType 2 /Domain "
        "[0 1] /C0 [0 0 0] /C1 [1 1 0] /N 1 >>] >>"};
    for (const char *function : functions) {
        PdfBuilder pdf;
        std::string objects =
            expectCanonical(page(&pdf,
                                 "/ColorSpace << /C [/Separation /Ink#20:1 /DeviceRGB " +
                                     ref(pdf.add(function)) + "] >>",
                                 "/C cs .7 scn 0 0 99 99 re f"));
        EXPECT_TRUE(holds(objects, "/FunctionType 0"));
        EXPECT_TRUE(holds(objects, "/BitsPerSample 8"));
        EXPECT_TRUE(holds(objects, "/Ink__1"));
    }
    PdfBuilder pdf;
    int computed =
        pdf.addStream("/FunctionType 4 /Domain [0 1] /Range [0 1 0 1 0 1]", "{ dup dup 0.5 mul }");
    int deep = pdf.addStream("/FunctionType 0 /Domain [0 1] /Range [0 1 0 1 0 1] /Size [2] "
                             "/BitsPerSample 16 /Evil 1",
                             std::string("\0\0\0\0\0\0\xff\xff\x80\0\0\0", 12));
    std::string objects =
        expectCanonical(page(&pdf,
                             "/ColorSpace << /C [/Separation /A /DeviceRGB " + ref(computed) +
                                 "] /D [/Separation /B /DeviceRGB " + ref(deep) + "] >>",
                             "/C cs .7 scn 0 0 99 99 re f /D cs .4 scn 99 99 50 50 re f"));
    EXPECT_EQ(countOf(objects, "/BitsPerSample 8"), 2u);
    EXPECT_FALSE(holds(objects, "mul"));
    EXPECT_FALSE(holds(objects, "Evil"));
}

TEST(CanonicalDocuments, TablesHaveAtMost65535Bytes)
{
    for (int size : {65535, 65536}) {
        PdfBuilder pdf;
        int table =
            pdf.addStream("/FunctionType 0 /Domain [0 1] /Range [0 1] /BitsPerSample 8 /Size [" +
                              std::to_string(size) + "]",
                          std::string((size_t)size, '\x55'));
        std::string objects = objectsOf(
            page(&pdf, "/ColorSpace << /C [/Separation /A /DeviceGray " + ref(table) + "] >>",
                 "/C cs .7 scn 0 0 99 99 re f"));
        EXPECT_EQ(holds(objects, "    65535\n"), size == 65535);
        EXPECT_EQ(holds(objects, "    256\n"), size == 65536);
    }
}

TEST(CanonicalDocuments, TablesOfIndexedSpacesAreAsLongAsTheySay)
{
    PdfBuilder pdf;
    std::string space = "/ColorSpace [/Indexed /DeviceRGB 999 <102030 405060>] ";
    std::string objects = objectsOf(
        imagePage("/Width 2 /Height 1 /BitsPerComponent 8 " + space, std::string("\0\1", 2)));
    EXPECT_TRUE(holds(objects, "  255\n"));
    EXPECT_TRUE(holds(objects, "\n768\n"));
    EXPECT_FALSE(holds(objects, "<102030"));
}

TEST(CanonicalDocuments, HalftonesAndTransferFunctionsComeByTheirTables)
{
    PdfBuilder pdf;
    int spot = pdf.addStream("/FunctionType 4 /Domain [-1 1 -1 1] /Range [-1 1]",
                             "{ dup mul exch dup mul add 1 exch sub }");
    int thresholds =
        pdf.addStream("/HalftoneType 6 /Width 4 /Height 4 /Evil 1", "0123456789abcdefghij");
    int transfer = pdf.add("<< /FunctionType 2 /Domain [0 1] /N 2 >>");
    std::string objects =
        objectsOf(page(&pdf,
                       "/ExtGState << /A << /HT << /HalftoneType 5 /Default << /HalftoneType 1 "
                       "/Frequency 60 /Angle "
                       "45 /SpotFunction /Round /Evil 1 >> /Cyan " +
                           ref(thresholds) + " /Evil 3 >> >> /B << /TR [" + ref(transfer) +
                           " /Identity /Identity /Identity] /UCR /Default >> /C << /HT << "
                           "/HalftoneType 1 /Frequency 60 /Angle 0 /SpotFunction /Evil >> /TR "
                           "[/Identity] >> /D << /HT << "
                           "/HalftoneType 16 >> >> >>",
                       "/A gs /B gs /C gs /D gs 0 0 9 9 re f"));
    (void)spot;
    EXPECT_TRUE(holds(objects, "/SpotFunction /Round"));
    EXPECT_TRUE(holds(objects, "0123456789abcdef\n"));
    EXPECT_TRUE(holds(objects, "/UCR /Default"));
    EXPECT_EQ(countOf(objects, "/TR "), 1u);
    EXPECT_EQ(countOf(objects, "/HT "), 1u);
    EXPECT_FALSE(holds(objects, "Evil"));
}

TEST(CanonicalDocuments, NoProgramOfType1IsInIt)
{
    PdfBuilder pdf;
    const std::string program = type1File();
    int file = pdf.addStream("/Length1 10 /Length2 10 /Length3 0", program);
    int descriptor =
        pdf.add("<< /Type /FontDescriptor /FontName /T /Flags 32 /FontFile " + ref(file) + " >>");
    auto font = [&] {
        return pdf.add("<< /Type /Font /Subtype /Type1 /BaseFont /T /FontDescriptor " +
                       ref(descriptor) + " >>");
    };
    std::string fonts = "/Font << /F " + ref(font()) + " /G " + ref(font()) + " >>";
    std::string plain = canonical(/* one is shown, the other selected */
                                  page(&pdf, fonts, "BT /F 20 Tf 9 9 Td (AB) Tj /G 9 Tf ET"));
    EXPECT_FALSE(holds(inClear(plain), "/FontFile "));
    EXPECT_FALSE(holds(inClear(plain), "eexec"));
    EXPECT_EQ(countOf(inClear(plain), "/FontFile3 "), 1u);
}

TEST(CanonicalDocuments, GlyphsOfType3HavePlainNames)
{
    PdfBuilder pdf;
    int glyph = pdf.addStream("", "1000 0 d0 0 0 900 900 re f");
    int font =
        pdf.add("<< /Type /Font /Subtype /Type3 /FontBBox [0 0 1000 1000] /FontMatrix [0.001 "
                "0 0 0.001 0 0] /FirstChar 65 /LastChar 66 /Widths [1000 1000] /Encoding << "
                "/Differences [65 /a#20b /g.0] >> /CharProcs << /a#20b " +
                ref(glyph) + " /g.0 " + ref(glyph) + " >> /Evil 1 >>");
    std::string objects = expectCanonical(
        page(&pdf, "/Font << /T " + ref(font) + " >>", "BT /T 40 Tf 20 100 Td (AB) Tj ET"));
    EXPECT_FALSE(holds(objects, "#20"));
    EXPECT_TRUE(holds(objects, "/g.0 "));
    EXPECT_TRUE(holds(objects, "/g.1 "));
}

TEST(CanonicalDocuments, WhatNamesItselfIsNotThere)
{
    PdfBuilder pdf;
    int form = pdf.reserve();
    const std::string content = "0 0 50 50 re f /X Do";
    pdf.set(form,
            "<< /Type /XObject /Subtype /Form /BBox [0 0 99 99] /Resources << /XObject << /X " +
                ref(form) + " >> >> /Length " + std::to_string(content.size()) + " >>\nstream\n" +
                content + "\nendstream");
    std::string objects = objectsOf(page(&pdf, "/XObject << /X " + ref(form) + " >>", "/X Do"));
    EXPECT_EQ(countOf(objects, "/X "), 1u + 2u) << "a resource, and two operations: " << objects;
}

TEST(CanonicalDocuments, FormsTakeFromAroundThemWhatTheyLack)
{
    PdfBuilder pdf;
    int form =
        pdf.addStream("/Subtype /Form /BBox [0 0 200 200]", "BT /F 30 Tf 20 90 Td (Text) Tj ET");
    std::string objects =
        expectCanonical(page(&pdf, "/XObject << /X " + ref(form) + " >> " + HELVETICA, "/X Do"));
    EXPECT_TRUE(holds(objects, "/BaseFont /Helvetica"));
}

TEST(CanonicalDocuments, BoundsOfWhatReliesOnItsPlaceCostNoMoreThanThat)
{
    PdfBuilder pdf;
    CompositeSettings settings;
    int glyphs = addComposite(&pdf, settings);
    int text = pdf.addStream("/Subtype /Form /BBox [0 0 99 99]",
                             "BT /C 20 Tf 9 9 Td " + codes("A") + " Tj ET");
    std::string names, content;
    for (int i = 0; i < 600; i++) {
        std::string name = "/X" + std::to_string(i);
        names += name + " " + ref(pdf.addStream("/Subtype /Form /BBox [0 0 99 99]", "/T Do")) + " ";
        content += name + " Do\n";
    }
    std::string bytes = page(
        &pdf, "/Font << /C " + ref(glyphs) + " >> /XObject << /T " + ref(text) + " " + names + ">>",
        content + "100 100 50 50 re f");
    Preparation made = preparePdf(bytes, {"--canonical"});
    EXPECT_EQ(made.status, 0);
    EXPECT_TRUE(holds(inClear(made.pdf), "100 100 50 50 re f"));
}

TEST(CanonicalDocuments, ADocumentThatNeedsNothingIsWrittenAllTheSame)
{
    std::string pdf = onePagePdf("0 0 50 50 re f");
    EXPECT_EQ(preparePdf(pdf).pdf, pdf);
    std::string plain = canonical(pdf);
    EXPECT_NE(plain, pdf);
    EXPECT_EQ(preparePdf(pdf, {"--canonical", "--if-needed"}).pdf, plain);
}

/* More than stays in memory waits in a temporary file, and comes back as it was. */
TEST(CanonicalDocuments, LargeContentIsWrittenWhole)
{
    PdfBuilder pdf;
    std::string pieces[2];
    for (int i = 0; i < 2; i++) {
        while (pieces[i].size() < (18u << 20))
            pieces[i] += std::to_string(pieces[i].size() + (size_t)i) + " 0 m\n";
        pdf.addPage("/MediaBox [0 0 99 99] /Contents " +
                    ref(pdf.addStream("/Filter /FlateDecode", encodeFlate(pieces[i], 1))));
    }
    std::string plain = canonical(pdf.build());
    for (const std::string &piece : pieces)
        EXPECT_TRUE(holds(plain, piece));
}
