/*
 * images_test.cpp - images that the converter does not take, and the decoder behind them
 */
#include <algorithm>

#include <gtest/gtest.h>

#include "prepare/document/document.h"
#include "prepare/images/codecs.h"
#include "prepare/images/decode.h"
#include "prepare/images/encode.h"
#include "tests/prepare/images.h"
#include "tests/prepare/preparation.h"
#include "tests/support/conversion.h"
#include "tests/support/pdf_builder.h"

namespace {

using namespace prepare;

std::string imageEntries(int width, int height, const std::string &entries)
{
    return "/Type /XObject /Subtype /Image /Width " + std::to_string(width) + " /Height " +
           std::to_string(height) + " " + entries;
}

/* Paints an image of this size so that each of its pixels is one at 100 to the inch, on a ground
 * that shows where it is painted. */
std::string paint(int width, int height)
{
    return "0.9 1 0.8 rg 0 0 216 216 re f 0.7 0 0 rg q " + std::to_string(0.72 * width) + " 0 0 " +
           std::to_string(0.72 * height) + " 36 36 cm /I Do Q";
}

std::string pageWith(PdfBuilder *pdf, int image, int width, int height)
{
    int stream = pdf->addStream("", paint(width, height));
    pdf->addPage("/MediaBox [0 0 216 216] /Contents " + ref(stream) +
                 " /Resources << /XObject << /I " + ref(image) + " >> >>");
    return pdf->build();
}

std::string imagePdf(const std::string &entries, const std::string &data, int width = 96,
                     int height = 80)
{
    PdfBuilder pdf;
    return pageWith(&pdf, pdf.addStream(entries, data), width, height);
}

std::string jpxPdf(const JpxSettings &settings, const std::string &entries = "")
{
    return imagePdf(imageEntries(settings.width, settings.height, "/Filter /JPXDecode " + entries),
                    jpxBlocks(settings));
}

std::string sixteenBits(const std::string &bytes)
{
    std::string deep;
    for (char c : bytes) {
        deep.push_back(c);
        deep.push_back((char)~c);
    }
    return deep;
}

/* What the decoder makes of an image; and of one that it refuses the reason. */
struct Decoding {
    Samples samples;
    std::string refusal;
};

Decoding decode(const std::string &entries, const std::string &data)
{
    seam::Notices notices;
    Document document;
    document.diagnostics.notices = &notices;
    document.source.pdf.emptyPDF();
    document.source.pdf.setSuppressWarnings(true);
    QPDFObjectHandle image = QPDFObjectHandle::newStream(&document.source.pdf, data);
    QPDFObjectHandle dict = QPDFObjectHandle::parse("<< " + entries + " >>");
    for (const std::string &key : dict.getKeys())
        image.getDict().replaceKey(key, dict.getKey(key));
    try {
        Decoding decoding{decodeImage(&document, image), ""};
        decoding.samples.space = QPDFObjectHandle::newNull(); /* it goes with the document */
        return decoding;
    } catch (const LimitReached &limit) {
        return {{}, limit.text};
    }
}

using Bytes = std::vector<uint8_t>;

} // namespace

/* ---- JBIG2 ---- */

TEST(Images, Jbig2BecomesGroup4)
{
    Jbig2 figure = jbig2Figure(120, 100);
    for (const char *entries :
         {"/ColorSpace /DeviceGray", "/ColorSpace /DeviceGray /Decode [1 0]", "/ImageMask true",
          "/ImageMask true /Decode [1 0]", "/ColorSpace [/Indexed /DeviceRGB 1 <2040E0 F0C020>]"}) {
        SCOPED_TRACE(entries);
        std::string pdf = imagePdf(imageEntries(120, 100,
                                                "/BitsPerComponent 1 /Filter "
                                                "/JBIG2Decode " +
                                                    std::string(entries)),
                                   figure.page + figure.region, 120, 100);
        EXPECT_EQ(probePdf(pdf), 3);
        std::string prepared = expectPrepared(pdf);
        EXPECT_FALSE(holds(prepared, "/JBIG2Decode"));
        EXPECT_TRUE(holds(prepared, "/CCITTFaxDecode"));
        EXPECT_EQ(probePdf(prepared), 0);
    }
}

TEST(Images, Jbig2GlobalsComeFirst)
{
    Jbig2Word word = jbig2Word();
    PdfBuilder pdf;
    int globals = pdf.addStream("", word.globals);
    int image = pdf.addStream(imageEntries(64, 56,
                                           "/BitsPerComponent 1 /ColorSpace /DeviceGray /Filter "
                                           "[/JBIG2Decode] /DecodeParms [<< /JBIG2Globals " +
                                               ref(globals) + " >>]"),
                              word.page);
    std::string prepared = expectPrepared(pageWith(&pdf, image, 64, 56));
    EXPECT_FALSE(holds(prepared, "/JBIG2Globals"));
}

TEST(Images, Jbig2WithoutItsProgramIsLeftOut)
{
    Jbig2 figure = jbig2Figure(40, 40);
    std::string pdf = imagePdf(
        imageEntries(40, 40, "/BitsPerComponent 1 /ColorSpace /DeviceGray /Filter /JBIG2Decode"),
        figure.page + figure.region);
    SearchPath nowhere("/nonexistent");
    Preparation made = preparePdf(pdf);
    EXPECT_EQ(made.status, 0);
    EXPECT_EQ(made.messages,
              std::vector<std::string>{"PREPARE-L-IMAGE: Page 1: A picture is left out. A picture "
                                       "in JBIG2 needs the program jbig2dec."});
    EXPECT_FALSE(holds(made.pdf, "/JBIG2Decode"));
    EXPECT_EQ(convertForPrinting(made.pdf).status, 0);
}

TEST(Images, Jbig2ThatIsDamagedIsSaidToBe)
{
    /* Its symbols are missing. */
    Preparation made = preparePdf(imagePdf(
        imageEntries(64, 56, "/BitsPerComponent 1 /ColorSpace /DeviceGray /Filter /JBIG2Decode"),
        jbig2Word().page));
    EXPECT_EQ(made.status, 0);
    EXPECT_EQ(made.messages, std::vector<std::string>{
                                 "PREPARE-L-IMAGEPART: Page 1: Part of a picture cannot be read."});
    EXPECT_EQ(convertForPrinting(made.pdf).status, 0);
}

/* ---- JPEG 2000 ---- */

TEST(Images, Jpeg2000KeepsWhatItWas)
{
    for (bool isLossy : {false, true})
        for (int components : {1, 3}) {
            JpxSettings settings;
            settings.isLossy = isLossy;
            settings.components = components;
            std::string space = components == 1 ? "/DeviceGray" : "/DeviceRGB";
            std::string prepared = expectPrepared(jpxPdf(settings, "/ColorSpace " + space));
            EXPECT_FALSE(holds(prepared, "/JPXDecode"));
            EXPECT_EQ(holds(prepared, "/DCTDecode"), isLossy);
            EXPECT_TRUE(holds(prepared, "/BitsPerComponent 8"));
        }
}

TEST(Images, Jpeg2000MayComeWithoutBoxes)
{
    JpxSettings settings;
    std::string boxed = jpxBlocks(settings);
    settings.isBare = true;
    std::string bare = jpxBlocks(settings);
    EXPECT_LT(bare.size(), boxed.size());
    EXPECT_EQ(decode("/Filter /JPXDecode", bare).samples.values,
              decode("/Filter /JPXDecode", boxed).samples.values);
    std::string bytes = blockBytes(settings.width, settings.height, 3);
    EXPECT_EQ(decode("/Filter /JPXDecode", bare).samples.values, Bytes(bytes.begin(), bytes.end()));
}

TEST(Images, Jpeg2000SaysItsColoursItself)
{
    JpxSettings settings;
    EXPECT_TRUE(holds(expectPrepared(jpxPdf(settings)), "/DeviceRGB"));
    settings.components = 1;
    EXPECT_TRUE(holds(expectPrepared(jpxPdf(settings)), "/DeviceGray"));
}

TEST(Images, Jpeg2000OfSixteenBitsIsRounded)
{
    JpxSettings settings;
    settings.depth = 16;
    expectPrepared(jpxPdf(settings, "/ColorSpace /DeviceRGB"));
}

TEST(Images, Jpeg2000ColourDifferencesBecomeColours)
{
    JpxSettings settings;
    settings.isYcc = true;
    std::string whole = jpxBlocks(settings);
    settings.step = 2;
    for (const std::string &data : {whole, jpxBlocks(settings)}) {
        Samples samples = decode("/Filter /JPXDecode", data).samples;
        ASSERT_EQ(samples.components, 3);
        for (int x = 8; x < samples.width; x += 16) /* in the middle of each block */
            for (int c = 0; c < 3; c++)
                EXPECT_NEAR(samples.values[(size_t)(8 * samples.width + x) * 3 + (size_t)c],
                            blockAt(x, 8, c), 3);
    }
}

TEST(Images, Jpeg2000PalettesAreApplied)
{
    JpxSettings settings;
    settings.components = 1;
    settings.palette = std::string("\xff\x10\x20\x00\xa0\x40\x30\x30\xf0\xff\xf0\x00", 12);
    std::string prepared = expectPrepared(jpxPdf(settings));
    EXPECT_TRUE(holds(prepared, "/DeviceRGB"));
}

TEST(Images, Jpeg2000IndicesAreForTheDocumentsTable)
{
    JpxSettings settings;
    settings.components = 1;
    settings.palette = std::string(12, '\x55');
    Samples samples = decode("/Filter /JPXDecode /ColorSpace [/Indexed /DeviceRGB 3 <112233>]",
                             jpxBlocks(settings))
                          .samples;
    ASSERT_EQ(samples.components, 1);
    for (int x = 8; x < samples.width; x += 16)
        EXPECT_EQ(samples.values[(size_t)(8 * samples.width + x)], x / 16 % 4);
}

TEST(Images, Jpeg2000OpacityIsTakenWhenTheDocumentSaysSo)
{
    JpxSettings settings;
    settings.components = 4;
    settings.alpha = 3;
    std::string data = jpxBlocks(settings);
    Samples taken = decode("/Filter /JPXDecode /SMaskInData 1", data).samples;
    ASSERT_EQ(taken.components, 3);
    ASSERT_EQ(taken.alpha.size(), (size_t)(settings.width * settings.height));
    EXPECT_LT(taken.alpha.front(), 3);
    EXPECT_NEAR(taken.alpha[(size_t)settings.width / 2], 127, 3);
    EXPECT_EQ(taken.values[1], blockAt(0, 0, 1));
    Samples left = decode("/Filter /JPXDecode", data).samples;
    EXPECT_EQ(left.components, 3);
    EXPECT_TRUE(left.alpha.empty());
}

TEST(Images, Jpeg2000AsAStencilHasOneBit)
{
    JpxSettings settings;
    settings.components = 1;
    settings.depth = 1;
    std::string prepared = preparePdf(jpxPdf(settings, "/ImageMask true")).pdf;
    EXPECT_FALSE(holds(prepared, "/JPXDecode"));
    EXPECT_TRUE(holds(prepared, "/BitsPerComponent 1"));
    EXPECT_EQ(convertForPrinting(prepared).status, 0);
}

/* ---- 16 bits ---- */

TEST(Images, SixteenBitsBecomeEight)
{
    for (const char *entries : {"/ColorSpace /DeviceGray", "/ColorSpace /DeviceRGB",
                                "/ColorSpace /DeviceGray /Decode [1 0]"}) {
        SCOPED_TRACE(entries);
        std::string data = blockBytes(96, 80, holds(entries, "RGB") ? 3 : 1);
        auto pdf = [&](const char *bits, const std::string &bytes) {
            return imagePdf(imageEntries(96, 80, std::string(bits) + entries), bytes);
        };
        Preparation made = preparePdf(pdf("/BitsPerComponent 16 ", sixteenBits(data)));
        EXPECT_FALSE(holds(made.pdf, "/BitsPerComponent 16"));
        EXPECT_EQ(probePdf(made.pdf), 0);
        expectSamePages(pdf("/BitsPerComponent 8 ", data), made.pdf);
    }
}

TEST(Images, SixteenBitsAreComparedWithColourKeysBeforeTheyAreCut)
{
    /* Values 0x2000, 0x2001, 0x20ff, 0x1fff; the key masks the middle two. */
    std::string data("\x20\x00\x20\x01\x20\xff\x1f\xff", 8);
    std::string entries = "/Width 4 /Height 1 /BitsPerComponent 16 /ColorSpace /DeviceGray /Mask "
                          "[8193 8447]";
    Samples samples = decode(entries, data).samples;
    EXPECT_EQ(samples.values, (Bytes{0x20, 0x20, 0x20, 0x1f}));
    EXPECT_EQ(samples.alpha, (Bytes{255, 0, 0, 255}));
    Preparation made = preparePdf(imagePdf("/Type /XObject /Subtype /Image " + entries, data));
    EXPECT_FALSE(holds(made.pdf, "8193")) << "which no value of 8 bits could meet";
}

/* ---- where images stand ---- */

TEST(Images, InlineOnesBecomeObjects)
{
    std::string data = sixteenBits(blockBytes(32, 32, 1));
    std::string hex;
    for (char c : data) {
        static const char digits[] = "0123456789ABCDEF";
        hex.push_back(digits[(uint8_t)c >> 4]);
        hex.push_back(digits[(uint8_t)c & 15]);
    }
    std::string content = "0.9 1 0.8 rg 0 0 216 216 re f q 23.04 0 0 23.04 36 36 cm BI /W 32 /H 32 "
                          "/BPC 16 /CS /G /F /AHx ID " +
                          hex + "> EI Q 0 0 1 rg 0 0 20 10 re f";
    std::string pdf = onePagePdf(content, "/MediaBox [0 0 216 216] /Resources << >>");
    EXPECT_EQ(probePdf(pdf), 3);
    std::string prepared = expectPrepared(pdf);
    EXPECT_FALSE(holds(inClear(prepared), " ID "));
    EXPECT_TRUE(holds(prepared, "/Subtype /Image"));
}

TEST(Images, AreFoundInFormsGlyphsAndBehindImages)
{
    JpxSettings settings;
    std::string data = jpxBlocks(settings);
    std::string entries =
        imageEntries(settings.width, settings.height, "/Filter /JPXDecode /ColorSpace /DeviceRGB");
    PdfBuilder pdf;
    int first = pdf.addStream(entries, data), second = pdf.addStream(entries, data);
    int form = pdf.addStream("/Type /XObject /Subtype /Form /BBox [0 0 1 1] /Resources << /XObject "
                             "<< /I " +
                                 ref(first) + " >> >>",
                             "/I Do");
    int glyph = pdf.addStream("", "1000 0 d0 960 0 0 800 0 0 cm /I Do");
    int font = pdf.add("<< /Type /Font /Subtype /Type3 /FontBBox [0 0 1000 1000] /FontMatrix "
                       "[0.001 0 0 0.001 0 0] /CharProcs << /a " +
                       ref(glyph) +
                       " >> /Encoding << /Differences [97 /a] >> /FirstChar 97 /LastChar 97 "
                       "/Widths [1000] /Resources << /XObject << /I " +
                       ref(second) + " >> >> >>");
    int content =
        pdf.addStream("", "q 69.12 0 0 57.6 36 108 cm /F Do Q BT /G 72 Tf 108 36 Td (a) Tj ET");
    pdf.addPage("/MediaBox [0 0 216 216] /Contents " + ref(content) +
                " /Resources << /XObject << /F " + ref(form) + " >> /Font << /G " + ref(font) +
                " >> >>");
    EXPECT_FALSE(holds(expectPrepared(pdf.build()), "/JPXDecode"));
}

TEST(Images, WithoutANeedKeepTheirBytes)
{
    Bytes bytes(48 * 32 * 3);
    for (size_t i = 0; i < bytes.size(); i++)
        bytes[i] = blockAt((int)(i / 3 % 48), (int)(i / 144), (int)(i % 3));
    std::string jpeg = encodeJpeg(bytes.data(), 48, 32, 3, 60);
    JpxSettings settings;
    PdfBuilder pdf;
    int plain = pdf.addStream(imageEntries(48, 32,
                                           "/BitsPerComponent 8 /ColorSpace /DeviceRGB "
                                           "/Filter /DCTDecode"),
                              jpeg);
    int other = pdf.addStream(
        imageEntries(settings.width, settings.height, "/Filter /JPXDecode /ColorSpace /DeviceRGB"),
        jpxBlocks(settings));
    int content =
        pdf.addStream("", "q 34.56 0 0 23.04 36 36 cm /P Do Q q 69.12 0 0 57.6 108 108 cm /J Do Q");
    pdf.addPage("/MediaBox [0 0 216 216] /Contents " + ref(content) +
                " /Resources << /XObject << /P " + ref(plain) + " /J " + ref(other) + " >> >>");
    EXPECT_TRUE(holds(expectPrepared(pdf.build()), jpeg));
}

/* ---- hostile ones ---- */

TEST(Images, WithoutBoundsAreLeftOutWithANotice)
{
    JpxSettings settings;
    std::string huge = jpxBlocks(settings);
    size_t size = huge.find("\xff\x51") + 6; /* SIZ: length, capabilities, width, height */
    huge.replace(size, 8, std::string("\x40\x00\x00\x00\x40\x00\x00\x00", 8));
    const std::pair<std::string, std::string> images[] = {
        {"/Width 1000000000 /Height 1 /BitsPerComponent 16 /ColorSpace /DeviceGray", "x"},
        {"/Width 40000 /Height 40000 /BitsPerComponent 16 /ColorSpace /DeviceRGB", "x"},
        {"/Width 40000 /Height 40000 /BitsPerComponent 1 /ColorSpace /DeviceGray /Filter "
         "/JBIG2Decode",
         "x"},
        {"/Width 0 /Height 7 /BitsPerComponent 16 /ColorSpace /DeviceGray", "x"},
        {"/Width -5 /Height 7 /BitsPerComponent 16 /ColorSpace /DeviceGray", "x"},
        {"/Width 5 /Height 7 /BitsPerComponent 16 /ColorSpace /DeviceGray", ""},
        {"/Width 5 /Height 7 /BitsPerComponent 16 /ColorSpace /DeviceGray /Filter /FlateDecode",
         "not compressed"},
        {"/Width 5 /Height 7 /BitsPerComponent 16 /ColorSpace /DeviceGray /Filter /Unknown", "xx"},
        {"/Width 5 /Height 7 /Filter /JPXDecode", "not JPEG 2000"},
        {"/Width 5 /Height 7 /Filter /JPXDecode", ""},
        {"/Width 5 /Height 7 /Filter /JPXDecode", huge},
    };
    for (const auto &[entries, data] : images) {
        SCOPED_TRACE(entries);
        Preparation made = preparePdf(imagePdf("/Type /XObject /Subtype /Image " + entries, data));
        EXPECT_EQ(made.status, 0);
        ASSERT_EQ(made.messages.size(), 1u);
        EXPECT_EQ(made.messages[0].find("PREPARE-L-IMAGE: Page 1: A picture is left out."), 0u);
        EXPECT_EQ(convertForPrinting(made.pdf).status, 0);
        EXPECT_EQ(probePdf(made.pdf), 0);
    }
}

TEST(Images, ThatBreakOffKeepTheirBeginning)
{
    JpxSettings settings;
    std::string jpx = jpxBlocks(settings), raw = sixteenBits(blockBytes(96, 80, 3));
    std::string entries = "/Width 96 /Height 80 /BitsPerComponent 16 /ColorSpace /DeviceRGB ";
    Samples half = decode(entries, raw.substr(0, raw.size() / 2)).samples;
    EXPECT_TRUE(half.isDamaged);
    EXPECT_EQ(half.values.size(), 96u * 80 * 3);
    EXPECT_EQ(half.values[3], blockAt(1, 0, 0));
    EXPECT_EQ(half.values.back(), 0);
    for (size_t cut : {jpx.size() - 30, jpx.size() / 2, jpx.size() / 4, (size_t)120, (size_t)20}) {
        Decoding decoding = decode("/Filter /JPXDecode", jpx.substr(0, cut));
        EXPECT_TRUE(!decoding.refusal.empty() || decoding.samples.values.size() == 96u * 80 * 3)
            << cut;
    }
    std::string blocks = blockBytes(96, 80, 1);
    std::string jpeg = encodeJpeg(reinterpret_cast<const uint8_t *>(blocks.data()), 96, 80, 1, 90);
    Samples gray =
        decode("/Filter /DCTDecode /ColorSpace /DeviceGray", jpeg.substr(0, jpeg.size() - 40))
            .samples;
    EXPECT_TRUE(gray.isDamaged);
    ASSERT_EQ(gray.values.size(), blocks.size());
    EXPECT_NEAR(gray.values[20], (uint8_t)blocks[20], 2);
}

TEST(Images, WithOtherComponentsThanTheirSpaceAreOfADeviceSpace)
{
    JpxSettings settings;
    std::string prepared = expectPrepared(jpxPdf(settings));
    for (const char *space : {"/DeviceCMYK", "[/Indexed /DeviceRGB 1 <000000FFFFFF>]",
                              "[/DeviceN [/A /B /C /D /E /F /G] /DeviceRGB 5 0 R]", "/Pattern"}) {
        SCOPED_TRACE(space);
        Preparation made = preparePdf(jpxPdf(settings, "/ColorSpace " + std::string(space)));
        EXPECT_EQ(made.status, 0);
        EXPECT_EQ(convertForPrinting(made.pdf).status, 0);
    }
}

/* ---- the decoder: filters and depths ---- */

TEST(ImageDecoder, TakesValuesApart)
{
    struct {
        const char *entries;
        std::string data;
        Bytes values;
        int maximum;
    } cases[] = {
        /* 101 | 010, padded */
        {"/Width 3 /Height 2 /BitsPerComponent 1", "\xbf\x5f", {1, 0, 1, 0, 1, 0}, 1},
        {"/Width 3 /Height 1 /BitsPerComponent 2", "\x1b", {0, 1, 2}, 3},
        {"/Width 3 /Height 1 /BitsPerComponent 4", "\xa5\xc0", {10, 5, 12}, 15},
        {"/Width 2 /Height 1 /BitsPerComponent 8", "ab", {'a', 'b'}, 255},
        {"/Width 2 /Height 1 /BitsPerComponent 16", "axby", {'a', 'b'}, 255},
        {"/W 2 /H 1 /BPC 8", "ab", {'a', 'b'}, 255},
    };
    for (const auto &one : cases) {
        SCOPED_TRACE(one.entries);
        Samples samples =
            decode(std::string(one.entries) + " /ColorSpace /DeviceGray", one.data).samples;
        EXPECT_EQ(samples.values, one.values);
        EXPECT_EQ(samples.maximum, one.maximum);
        EXPECT_FALSE(samples.isDamaged);
    }
}

TEST(ImageDecoder, UndoesChainsOfFilters)
{
    /* "abcd" by run lengths (4 bytes as they are, the end) in hexadecimal digits */
    Samples samples = decode("/Width 4 /Height 1 /BitsPerComponent 8 /ColorSpace /DeviceGray "
                             "/Filter [/AHx /RunLengthDecode]",
                             "03 61 62 63 64 80>")
                          .samples;
    EXPECT_EQ(samples.values, (Bytes{'a', 'b', 'c', 'd'}));
    /* A JPEG behind another filter. */
    std::string jpeg = encodeJpeg(Bytes(64, 200).data(), 8, 8, 1, 95), hex;
    for (char c : jpeg) {
        char digits[3];
        snprintf(digits, sizeof digits, "%02x", (unsigned)(uint8_t)c);
        hex += digits;
    }
    Samples gray = decode("/Width 8 /Height 8 /BitsPerComponent 8 /ColorSpace /DeviceGray /Filter "
                          "[/ASCIIHexDecode /DCTDecode]",
                          hex + ">")
                       .samples;
    ASSERT_EQ(gray.values.size(), 64u);
    EXPECT_NEAR(gray.values[20], 200, 1);
    EXPECT_TRUE(gray.isLossy);
}

TEST(ImageDecoder, ReadsFaxesOfEveryKind)
{
    const std::string figure = figureBits(40, 30), entries =
                                                       "/Width 40 /Height 30 /ColorSpace "
                                                       "/DeviceGray /Filter /CCITTFaxDecode "
                                                       "/DecodeParms << /Columns 40 /Rows 30 ";
    Bytes wanted;
    for (size_t i = 0; i < 40 * 30; i++)
        wanted.push_back((uint8_t)(figure[i / 8] >> (7 - i % 8) & 1));
    std::string group4 = encodeFax(figure, 40, 30);
    EXPECT_EQ(decode(entries + "/K -1 >>", group4).samples.values, wanted);
    Samples inverted = decode(entries + "/K -1 /BlackIs1 true >>", group4).samples;
    EXPECT_EQ(inverted.values[0], 1 - wanted[0]);
    /* Group 3 in one dimension without end-of-line codes, rows of 8: white 3 (1000) and black 5
     * (0011); white 8 (10011); white 0 (00110101) and black 8 (000101). */
    std::string small = "/Width 8 /Height 3 /ColorSpace /DeviceGray /Filter /CCITTFaxDecode "
                        "/DecodeParms << /Columns 8 /Rows 3 /K 0 ";
    Bytes three = {1, 1, 1, 0, 0, 0, 0, 0, 1, 1, 1, 1, 1, 1, 1, 1, 0, 0, 0, 0, 0, 0, 0, 0};
    EXPECT_EQ(decode(small + ">>", std::string("\x83\x99\xa8\xa0", 4)).samples.values, three);
    /* The same, each row from a whole byte. */
    EXPECT_EQ(decode(small + "/EncodedByteAlign true >>", std::string("\x83\x98\x35\x14", 4))
                  .samples.values,
              three);
}

TEST(ImageDecoder, MissingFaxRowsAreWhite)
{
    std::string group4 = encodeFax(std::string(5 * 30, '\0'), 40, 30);
    Samples samples = decode("/Width 40 /Height 60 /ColorSpace /DeviceGray /Filter /CCITTFaxDecode "
                             "/DecodeParms << /Columns 40 /K -1 >>",
                             group4)
                          .samples;
    ASSERT_EQ(samples.values.size(), 40u * 60);
    EXPECT_EQ(samples.values.front(), 0);
    EXPECT_EQ(samples.values.back(), 1);
}

TEST(ImageDecoder, TakesJpegColoursAsTheFilterGivesThem)
{
    Bytes pixels;
    for (int i = 0; i < 64; i++)
        for (uint8_t value : std::initializer_list<uint8_t>{200, 60, 30})
            pixels.push_back(value);
    std::string jpeg = encodeJpeg(pixels.data(), 8, 8, 3, 95);
    Samples rgb = decode("/Filter /DCTDecode /ColorSpace /DeviceRGB", jpeg).samples;
    ASSERT_EQ(rgb.values.size(), 192u);
    EXPECT_NEAR(rgb.values[0], 200, 3);
    EXPECT_NEAR(rgb.values[1], 60, 3);
    /* Values that are not luminance and colour differences, because the document says so. */
    Samples plain = decode("/Filter /DCTDecode /DecodeParms << /ColorTransform 0 >> /ColorSpace "
                           "/DeviceRGB",
                           jpeg)
                        .samples;
    EXPECT_NEAR(plain.values[0], 0.299 * 200 + 0.587 * 60 + 0.114 * 30, 3);
    /* Four inks are what they are; nothing is turned over. */
    std::string cmyk = encodeJpeg(Bytes(8 * 8 * 4, 40).data(), 8, 8, 4, 95);
    Samples inks = decode("/Filter /DCTDecode /ColorSpace /DeviceCMYK", cmyk).samples;
    ASSERT_EQ(inks.components, 4);
    EXPECT_NEAR(inks.values[0], 40, 2);
}

TEST(ImageDecoder, KnowsWhatValuesMean)
{
    seam::Notices notices;
    Document document;
    document.diagnostics.notices = &notices;
    document.source.pdf.emptyPDF();
    auto rangeOf = [&](const std::string &space, int bits, const std::string &more, int component) {
        QPDFObjectHandle image = QPDFObjectHandle::newStream(&document.source.pdf, std::string(64, 'x'));
        QPDFObjectHandle dict = QPDFObjectHandle::parse("<< /Width 2 /Height 2 /ColorSpace " +
                                                        space + " /BitsPerComponent " +
                                                        std::to_string(bits) + " " + more + " >>");
        for (const std::string &key : dict.getKeys())
            image.getDict().replaceKey(key, dict.getKey(key));
        DecodeRange range = decodeRange(decodeImage(&document, image), component);
        return std::pair(range.low, range.high);
    };
    using Range = std::pair<double, double>;
    EXPECT_EQ(rangeOf("/DeviceRGB", 8, "", 1), Range(0, 1));
    EXPECT_EQ(rangeOf("/DeviceRGB", 8, "/Decode [0 1 1 0 0 1]", 1), Range(1, 0));
    EXPECT_EQ(rangeOf("[/Indexed /DeviceRGB 3 <00>]", 4, "", 0), Range(0, 15));
    EXPECT_EQ(rangeOf("[/Lab << /Range [-90 80 -70 60] >>]", 8, "", 0), Range(0, 100));
    EXPECT_EQ(rangeOf("[/Lab << /Range [-90 80 -70 60] >>]", 8, "", 1), Range(-90, 80));
    EXPECT_EQ(rangeOf("[/Lab << /Range [-90 80 -70 60] >>]", 8, "", 2), Range(-70, 60));
    EXPECT_EQ(rangeOf("[/Lab << >>]", 8, "", 2), Range(-100, 100));
}

TEST(ImageDecoder, MasksColoursByTheirKey)
{
    Samples samples = decode("/Width 3 /Height 1 /BitsPerComponent 8 /ColorSpace /DeviceRGB /Mask "
                             "[10 20 0 255 5 5]",
                             std::string("\x0f\x00\x05\x0f\x00\x06\x15\x00\x05", 9))
                          .samples;
    EXPECT_EQ(samples.alpha, (Bytes{0, 255, 255}));
}

TEST(ImageDecoder, AveragesWhatIsTooLarge)
{
    /* 70 million pixels of one bit: the left half black, a quarter of the right one. */
    constexpr int WIDTH = 14000, HEIGHT = 5000;
    std::string row(WIDTH / 8, '\0');
    for (size_t i = row.size() / 2; i < row.size(); i++)
        row[i] = '\x77';
    std::string data;
    for (int y = 0; y < HEIGHT; y++)
        data += row;
    std::string entries = "/Width 14000 /Height 5000 /BitsPerComponent 1 /ColorSpace ";
    Samples gray = decode(entries + "/DeviceGray", data).samples;
    EXPECT_EQ(gray.maximum, 255);
    EXPECT_LE(gray.values.size(), REDUCED_SAMPLES);
    ASSERT_EQ(gray.values.size(), (size_t)gray.width * (size_t)gray.height);
    EXPECT_NEAR((double)gray.width / gray.height, (double)WIDTH / HEIGHT, 0.01);
    double sum = 0;
    for (int x = gray.width / 2 + 1; x < gray.width; x++)
        sum += gray.values[(size_t)x];
    EXPECT_NEAR(sum / (gray.width / 2.0), 255 * 0.75, 1);
    EXPECT_EQ(gray.values[(size_t)gray.width / 4], 0);
    Samples picked = decode(entries + "[/Indexed /DeviceRGB 1 <000000FFFFFF>]", data).samples;
    EXPECT_EQ(picked.maximum, 1);
    EXPECT_EQ(picked.values[(size_t)picked.width / 4], 0);
    EXPECT_LE(*std::max_element(picked.values.begin(), picked.values.end()), 1);
}

TEST(ImageDecoder, RefusesWhatGivesNothing)
{
    EXPECT_FALSE(decode("/Width 4 /Height 4 /ColorSpace /DeviceGray /Filter /DCTDecode", "x")
                     .refusal.empty());
    EXPECT_FALSE(decode("/Width 4 /Height 4 /ColorSpace /DeviceGray /Filter /NoSuchDecode", "x")
                     .refusal.empty());
    EXPECT_FALSE(decode("/Width 9000 /Height 9000 /ColorSpace /DeviceRGB /BitsPerComponent 8", "x")
                     .refusal.empty());
    EXPECT_FALSE(decode("/Width 4 /Height 4 /ColorSpace /DeviceGray /Filter /CCITTFaxDecode "
                        "/DecodeParms << /Columns 900000000 /K -1 >>",
                        "x")
                     .refusal.empty());
}
