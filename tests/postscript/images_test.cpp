/*
 * images_test.cpp - images and masks, as XObjects and in page content
 */
#include <gtest/gtest.h>
#include <zlib.h>

#include "tests/compress/encoders.h"
#include "tests/postscript/page_set.h"
#include "tests/postscript/print_job.h"

namespace {

const std::string DRAW = "q 160 0 0 160 20 20 cm /Im Do Q";

std::string bytes(const std::string &hex)
{
    std::string result;
    for (size_t i = 0; i + 1 < hex.size(); i += 2)
        result += (char)std::stoi(hex.substr(i, 2), nullptr, 16);
    return result;
}

std::string deflated(const std::string &data)
{
    std::string out(compressBound((uLong)data.size()), '\0');
    uLongf size = (uLongf)out.size();
    compress2((Bytef *)out.data(), &size, (const Bytef *)data.data(), (uLong)data.size(), 9);
    out.resize(size);
    return out;
}

/* Adds an image; answers page entries that name it /Im. */
std::string image(PageSet *set, const std::string &entries, const std::string &data)
{
    int number = set->pdf.addStream("/Type /XObject /Subtype /Image " + entries, data);
    return "/Resources << /XObject << /Im " + ref(number) + " >> >>";
}

/* 4 by 4 samples of one byte, all different. */
const std::string GRAYS = "/Width 4 /Height 4 /BitsPerComponent 8 /ColorSpace /DeviceGray ";
const std::string GRAY_DATA = bytes("00102030405060708090A0B0C0D0E0F0");

/* 2 by 2: red, green, blue, orange. */
const std::string COLOURS = "/Width 2 /Height 2 /BitsPerComponent 8 ";
const std::string COLOUR_DATA = bytes("F02010"
                                      "20A030"
                                      "2030E0"
                                      "F0A010");

/* 8 by 4 bits: a wedge. */
const std::string BITS = "/Width 8 /Height 4 /BitsPerComponent 1 ";
const std::string BIT_DATA = bytes("80C0F0FE");

/* 16 by 16 pixels as JPEG: a checkerboard of 8 by 8 fields, gray and in colour. */
const std::string GRAY_JPEG =
    bytes("ffd8ffe000104a46494600010100000100010000ffdb0043000d090a0b0a080d0b0a0b0e0e0d0f1320151312"
          "1213271c1e17202e2931302e292d2c333a4a3e333646372c2d405741464c4e525352323e5a615a50604a5152"
          "4fffc0000b080010001001011100ffc400160001010100000000000000000000000000080006ffc400141001"
          "00000000000000000000000000000000ffda0008010100003f00c490887b7fffd9");
const std::string COLOUR_JPEG = bytes(
    "ffd8ffe000104a46494600010100000100010000ffdb0043000d090a0b0a080d0b0a0b0e0e0d0f1320151312"
    "1213271c1e17202e2931302e292d2c333a4a3e333646372c2d405741464c4e525352323e5a615a50604a5152"
    "4fffdb0043010e0e0e131113261515264f352d354f4f4f4f4f4f4f4f4f4f4f4f4f4f4f4f4f4f4f4f4f4f4f4f"
    "4f4f4f4f4f4f4f4f4f4f4f4f4f4f4f4f4f4f4f4f4f4f4f4f4f4fffc00011080010001003011100021101031101"
    "ffc4001500010100000000000000000000000000000600ffc40014100100000000000000000000000000000000"
    "ffc40017010101010100000000000000000000000007000506ffc4001411010000000000000000000000000000"
    "0000ffda000c03010002110311003f0028eb990422d28a4878a42e7fffd9");

/* Group 4 data of 16 rows, each 8 white and 8 black pixels: the first row in horizontal mode, each
 * other one as two changes right below those of the row above. */
std::string faxRows(bool endOfBlock)
{
    HighBitWriter bits;
    bits.put(1, 3);       /* horizontal */
    bits.put(0b10011, 5); /* 8 white */
    bits.put(0b000101, 6);
    for (int row = 1; row < 16; row++)
        bits.put(3, 2);
    if (endOfBlock)
        bits.put(0x001001, 24);
    return bits.bytes;
}

TEST(Images, ColourSpacesAndDepths)
{
    PageSet set;
    set.hasJob = false; /* what is damaged or missing is another matter when prepared */
    set.add("8-bit gray", DRAW, image(&set, GRAYS, GRAY_DATA));
    set.add("8-bit RGB", DRAW, image(&set, COLOURS + "/ColorSpace /DeviceRGB", COLOUR_DATA));
    set.add("8-bit CMYK", DRAW,
            image(&set, COLOURS + "/ColorSpace /DeviceCMYK",
                  bytes("0000FF00"
                        "00000040"
                        "000000A0"
                        "00008000")));
    set.add("1 bit", DRAW, image(&set, BITS + "/ColorSpace /DeviceGray", BIT_DATA));
    set.add("2 bits", DRAW,
            image(&set,
                  "/Width 4 /Height 2 /BitsPerComponent 2 "
                  "/ColorSpace /DeviceGray",
                  bytes("1BE4")));
    set.add("4 bits", DRAW,
            image(&set,
                  "/Width 4 /Height 2 /BitsPerComponent 4 "
                  "/ColorSpace /DeviceGray",
                  bytes("048CF37B")));
    set.add("a row ends in a byte of its own", DRAW,
            image(&set, "/Width 3 /Height 2 /BitsPerComponent 1 /ColorSpace /DeviceGray",
                  bytes("A040")));
    set.add("Indexed", DRAW,
            image(&set,
                  "/Width 4 /Height 2 /BitsPerComponent 2 /ColorSpace "
                  "[/Indexed /DeviceRGB 3 <F0202020A0302030E0F0A010>]",
                  bytes("1BE4")));
    set.add("Indexed with 8 bits", DRAW,
            image(&set,
                  "/Width 2 /Height 2 /BitsPerComponent 8 /ColorSpace "
                  "[/Indexed /DeviceRGB 3 <F0202020A0302030E0F0A010>]",
                  bytes("03000102")));
    int tint = set.pdf.addStream("/FunctionType 0 /Domain [0 1] /Range [0 1] /Size [2] "
                                 "/BitsPerSample 8",
                                 bytes("FF20"));
    set.add("Separation", DRAW,
            image(&set,
                  "/Width 4 /Height 4 /BitsPerComponent 8 /ColorSpace "
                  "[/Separation /Spot /DeviceGray " +
                      ref(tint) + "]",
                  GRAY_DATA));
    const std::string palette = "[/Indexed /DeviceRGB 3 <F0202020A0302030E0F0A010>]";
    const std::string fields = "/Width 4 /Height 2 /BitsPerComponent 2 /ColorSpace ";
    std::string resources = image(&set, fields + "/CS0", bytes("1BE4"));
    resources.replace(resources.rfind(">>"), 2, "/ColorSpace << /CS0 " + palette + " >> >>");
    set.addLike("a space by its resource name, defined behind the image", DRAW, resources, DRAW,
                image(&set, fields + palette, bytes("1BE4")));
    set.expectRight();
}

TEST(Images, DecodeAndInterpolate)
{
    PageSet set;
    set.add("/Decode inverts", DRAW, image(&set, GRAYS + "/Decode [1 0]", GRAY_DATA));
    set.add("/Decode of RGB", DRAW,
            image(&set, COLOURS + "/ColorSpace /DeviceRGB /Decode [0 0.5 1 0 0 1]", COLOUR_DATA));
    set.add("/Decode of Indexed", DRAW,
            image(&set,
                  "/Width 4 /Height 2 /BitsPerComponent 2 /Decode [3 0] /ColorSpace "
                  "[/Indexed /DeviceRGB 3 <F0202020A0302030E0F0A010>]",
                  bytes("1BE4")));
    set.addLike("/Decode of the wrong length does not count", DRAW,
                image(&set, GRAYS + "/Decode [1 0 1 0]", GRAY_DATA), DRAW,
                image(&set, GRAYS, GRAY_DATA));
    set.add("/Interpolate on an image that is scaled down", "q 30 0 0 30 80 80 cm /Im Do Q",
            image(&set,
                  "/Width 300 /Height 300 /BitsPerComponent 8 /Interpolate true "
                  "/ColorSpace /DeviceGray",
                  std::string(45000, '\x30') + std::string(45000, '\xC0')));
    set.expectRight();
}

TEST(Images, Masks)
{
    PageSet set;
    const std::string mask = "/Width 8 /Height 4 /ImageMask true ";
    set.add("the fill colour", "0.8 0 0.2 rg " + DRAW, image(&set, mask, BIT_DATA));
    set.add("/Decode [1 0]", "0 0.4 0 rg " + DRAW,
            image(&set, mask + "/Decode [1 0] /BitsPerComponent 1", BIT_DATA));
    set.add("behind something else", "1 0.8 0 rg 0 0 200 200 re f 0 0 0.6 rg " + DRAW,
            image(&set, mask, BIT_DATA));
    set.add("the colour may come from another space",
            "/DeviceCMYK cs 0 0 1 0 sc 0 0 1 RG 5 w 5 5 190 190 re S " + DRAW,
            image(&set, mask, BIT_DATA));
    set.expectRight();
}

TEST(Images, EveryFilter)
{
    PageSet set;
    auto add = [&set](const std::string &name, const std::string &entries,
                      const std::string &data) { set.add(name, DRAW, image(&set, entries, data)); };
    add("ASCIIHex", GRAYS + "/Filter /ASCIIHexDecode", encodeASCIIHex(GRAY_DATA));
    add("ASCII85", GRAYS + "/Filter /ASCII85Decode", encodeASCII85(GRAY_DATA));
    add("LZW", GRAYS + "/Filter /LZWDecode", encodeLZW(GRAY_DATA));
    add("LZW with late code changes",
        "/Width 30 /Height 30 /BitsPerComponent 8 /ColorSpace /DeviceGray /Filter /LZWDecode "
        "/DecodeParms << /EarlyChange 0 >>",
        [] {
            std::string samples;
            for (int i = 0; i < 900; i++)
                samples += (char)(i * i / 900);
            return encodeLZW(samples, false);
        }());
    add("Flate", GRAYS + "/Filter /FlateDecode", deflated(GRAY_DATA));
    add("RunLength", BITS + "/ColorSpace /DeviceGray /Filter /RunLengthDecode",
        bytes("03") + BIT_DATA + "\x80");
    add("two filters", GRAYS + "/Filter [/ASCII85Decode /FlateDecode]",
        encodeASCII85(deflated(GRAY_DATA)));
    add("a PNG predictor",
        GRAYS + "/Filter /FlateDecode /DecodeParms << /Predictor 15 /Columns 4 "
                ">>",
        deflated(bytes("0000102030"
                       "0240404040"
                       "0180101010"
                       "02404040"
                       "40")));
    add("a TIFF predictor",
        COLOURS + "/ColorSpace /DeviceRGB /Filter /FlateDecode /DecodeParms "
                  "[<< /Predictor 2 /Columns 2 /Colors 3 >>]",
        deflated(bytes("F02010"
                       "308020"
                       "2030E0"
                       "D07030")));
    add("parameters of the second filter alone",
        GRAYS + "/Filter [/ASCIIHexDecode /FlateDecode] /DecodeParms [null << /Predictor 15 "
                "/Columns 4 >>]",
        encodeASCIIHex(deflated(bytes("0000102030"
                                      "0240404040"
                                      "0180101010"
                                      "02404040"
                                      "40"))));
    add("DCT in gray",
        "/Width 16 /Height 16 /BitsPerComponent 8 /ColorSpace /DeviceGray /Filter "
        "/DCTDecode",
        GRAY_JPEG);
    add("DCT in colour",
        "/Width 16 /Height 16 /BitsPerComponent 8 /ColorSpace /DeviceRGB /Filter "
        "/DCTDecode",
        COLOUR_JPEG);
    add("DCT behind another filter",
        "/Width 16 /Height 16 /BitsPerComponent 8 /ColorSpace "
        "/DeviceGray /Filter [/ASCIIHexDecode /DCTDecode]",
        encodeASCIIHex(GRAY_JPEG));
    const std::string fax = "/Width 16 /Height 16 /BitsPerComponent 1 /ColorSpace /DeviceGray "
                            "/Filter /CCITTFaxDecode /DecodeParms << /K -1 /Columns 16 ";
    add("CCITT", fax + ">>", faxRows(true));
    add("CCITT with /BlackIs1", fax + "/BlackIs1 true >>", faxRows(true));
    add("CCITT that ends with its rows", fax + "/EndOfBlock false /Rows 16 >>", faxRows(false));
    add("CCITT in an array of one",
        "/Width 16 /Height 16 /BitsPerComponent 1 /ColorSpace "
        "/DeviceGray /Filter [/CCITTFaxDecode] /DecodeParms [<< /K -1 "
        "/Columns 16 >>]",
        faxRows(true));
    set.expectRight();
}

TEST(Images, MissingSpacesFollowFromTheData)
{
    PageSet set;
    set.hasJob = false; /* what is damaged or missing is another matter when prepared */
    const std::string missing = "/ColorSpace [/ICCBased 99 0 R] ";
    auto add = [&](const std::string &name, const std::string &entries, const std::string &space,
                   const std::string &data) {
        set.addLike(name, DRAW, image(&set, entries + missing, data), DRAW,
                    image(&set, entries + "/ColorSpace /" + space, data));
    };
    set.pdf.set(99, "<< /N 3 /Length 0 >>\nstream\n\nendstream");
    const std::string gray = "/Width 4 /Height 4 /BitsPerComponent 8 ";
    add("gray by the amount of data", gray, "DeviceGray", GRAY_DATA);
    add("RGB by the amount of data", COLOURS, "DeviceRGB", COLOUR_DATA);
    add("CMYK by the amount of data", COLOURS, "DeviceCMYK",
        bytes("0000FF00"
              "00000040"
              "000000A0"
              "00008000"));
    add("RGB by the amount of decoded data", COLOURS + "/Filter /FlateDecode ", "DeviceRGB",
        deflated(COLOUR_DATA));
    add("gray by the JPEG header", "/Width 16 /Height 16 /BitsPerComponent 8 /Filter /DCTDecode ",
        "DeviceGray", GRAY_JPEG);
    add("RGB by the JPEG header", "/Width 16 /Height 16 /BitsPerComponent 8 /Filter /DCTDecode ",
        "DeviceRGB", COLOUR_JPEG);
    add("RGB by /Decode", COLOURS + "/Decode [0 1 0 1 0 1] ", "DeviceRGB", COLOUR_DATA);
    add("RGB by the predictor's /Colors",
        COLOURS + "/Filter /FlateDecode /DecodeParms << /Predictor 2 /Columns 2 /Colors 3 >> ",
        "DeviceRGB",
        deflated(bytes("F02010"
                       "308020"
                       "2030E0"
                       "D07030")));
    set.addLike("JPEG data of another number of components than its space", DRAW,
                image(&set,
                      "/Width 16 /Height 16 /BitsPerComponent 8 /Filter /DCTDecode "
                      "/ColorSpace /DeviceRGB",
                      GRAY_JPEG),
                DRAW,
                image(&set,
                      "/Width 16 /Height 16 /BitsPerComponent 8 /Filter /DCTDecode "
                      "/ColorSpace /DeviceGray",
                      GRAY_JPEG));
    set.expectRight();
}

TEST(Images, DamagedOnesPaintTheRowsTheyHave)
{
    PageSet set;
    set.faultless = false;
    const std::string rest = " 1 0 0 rg 0 0 20 20 re f"; /* what follows is still printed */
    /* What a renderer puts in place of missing rows differs; so the page covers them. */
    const std::string cover = " 1 g 20 20 160 80 re f" + rest;
    set.addLike("truncated data", DRAW + cover, image(&set, GRAYS, GRAY_DATA.substr(0, 8)),
                DRAW + cover, image(&set, GRAYS, GRAY_DATA));
    set.addLike(
        "damaged filter data", DRAW + cover,
        [&set] {
            std::string samples(40000, '\x60');
            std::string data = deflated(samples + std::string(40000, '\x90'));
            data.resize(data.size() - 30);
            return image(&set,
                         "/Width 200 /Height 400 /BitsPerComponent 8 /ColorSpace /DeviceGray "
                         "/Filter /FlateDecode",
                         data);
        }(),
        "q 160 0 0 160 20 20 cm 0.376 g 0 0.5 1 0.5 re f Q" + cover, "");
    set.addLike("no width", DRAW + rest,
                image(&set,
                      "/Height 4 /BitsPerComponent 8 /ColorSpace "
                      "/DeviceGray",
                      GRAY_DATA),
                rest, "");
    set.expectRight();
}

TEST(InlineImages, KeysFiltersAndEnds)
{
    PageSet set;
    const std::string place = "q 160 0 0 160 20 20 cm BI ", end = "\nEI Q 1 0 0 rg 0 0 15 15 re f";
    set.add("full names, no filter",
            place + "/Width 4 /Height 4 /BitsPerComponent 8 /ColorSpace /DeviceGray ID " +
                GRAY_DATA + end);
    set.add("short names", place + "/W 4 /H 4 /BPC 8 /CS /G ID " + GRAY_DATA + end);
    set.add("RGB", place + "/W 2 /H 2 /BPC 8 /CS /RGB /I false ID " + COLOUR_DATA + end);
    set.add("CMYK", place + "/W 2 /H 2 /BPC 8 /CS /CMYK ID " +
                        bytes("0000FF00"
                              "00000040"
                              "000000A0"
                              "00008000") +
                        end);
    set.add("mask", "0 0.5 0 rg " + place + "/W 8 /H 4 /IM true /D [1 0] ID " + BIT_DATA + end);
    set.add("Indexed", place + "/W 4 /H 2 /BPC 2 /CS [/I /RGB 3 <F0202020A0302030E0F0A010>] ID " +
                           bytes("1BE4") + end);
    set.add("AHx",
            place + "/W 4 /H 4 /BPC 8 /CS /G /F /AHx ID\n" + encodeASCIIHex(GRAY_DATA) + end);
    set.add("A85 and Fl", place + "/W 4 /H 4 /BPC 8 /CS /G /F [/A85 /Fl] ID\n" +
                              encodeASCII85(deflated(GRAY_DATA)) + end);
    set.add("LZW", place + "/W 4 /H 4 /BPC 8 /CS /G /F /LZW ID " + encodeLZW(GRAY_DATA) + end);
    set.add("RL",
            place + "/W 8 /H 4 /BPC 1 /CS /G /F /RL ID " + bytes("03") + BIT_DATA + "\x80" + end);
    set.add("CCF with parameters",
            place + "/W 16 /H 16 /BPC 1 /CS /G /F /CCF /DP << /K -1 /Columns 16 >> ID " +
                faxRows(true) + end);
    set.add("DCT", place + "/W 16 /H 16 /BPC 8 /CS /RGB /F /DCT ID " + COLOUR_JPEG + end);
    set.add("data that look like the end", place + "/W 4 /H 4 /BPC 8 /CS /G ID " +
                                               bytes("00204549200A454920") +
                                               bytes("80A0C0E0F01030") + end);
    set.add("a space by its resource name",
            place + "/W 4 /H 2 /BPC 2 /CS /CS0 ID " + bytes("1BE4") + end,
            "/Resources << /ColorSpace << /CS0 [/Indexed /DeviceRGB 3 "
            "<F0202020A0302030E0F0A010>] >> >>");
    set.expectRight();
}

TEST(InlineImages, WhatMuPdfIsNoJudgeOf)
{
    PageSet set;
    const std::string place = "q 160 0 0 160 20 20 cm BI ", end = "\nEI Q 1 0 0 rg 0 0 15 15 re f";
    int profile = set.pdf.addStream("/N 3", "no profile");
    std::string missing = "/Resources << /ColorSpace << /C [/ICCBased " + ref(profile) + "] >> >>";
    set.addLike("filtered data in a space that is missing",
                place + "/W 2 /H 2 /BPC 8 /CS /C /F /AHx ID " + encodeASCIIHex(COLOUR_DATA) + end,
                missing, place + "/W 2 /H 2 /BPC 8 /CS /RGB ID " + COLOUR_DATA + end);
    set.addLike("another line end before JPEG data",
                place + "/W 16 /H 16 /BPC 8 /CS /RGB /F /DCT ID\r\n\r\n" + COLOUR_JPEG + end, "",
                place + "/W 16 /H 16 /BPC 8 /CS /RGB /F /DCT ID " + COLOUR_JPEG + end);
    set.expectRight();
}

TEST(InlineImages, ADamagedOneDoesNotTakeThePageWithIt)
{
    PageSet set;
    set.faultless = false;
    const std::string rest = " 1 0 0 rg 20 20 60 60 re f";
    set.addLike("unknown filter", "BI /W 4 /H 4 /BPC 8 /CS /G /F /Foo ID abcdef EI" + rest, "",
                rest);
    set.addLike("no height", "BI /W 4 /BPC 8 /CS /G ID abcdef EI" + rest, "", rest);
    set.addLike("garbage instead of keys", "BI 1 2 (x) ID abcdef EI" + rest, "", rest);
    set.addLike("EI without BI", "EI" + rest, "", rest);
    set.expectRight();
}

/* 100 MB of samples through an interpreter that may not have them in memory. */
TEST(Images, AreReadInPieces)
{
    std::string row = std::string(5000, '\x40') + std::string(5000, '\xB0'), packed;
    {
        z_stream z = {};
        deflateInit(&z, 9);
        std::string buffer(65536, '\0');
        for (int i = 0; i <= 10000; i++) {
            z.next_in = (Bytef *)row.data();
            z.avail_in = i < 10000 ? (uInt)row.size() : 0;
            do {
                z.next_out = (Bytef *)buffer.data();
                z.avail_out = (uInt)buffer.size();
                deflate(&z, i < 10000 ? Z_NO_FLUSH : Z_FINISH);
                packed.append(buffer, 0, buffer.size() - z.avail_out);
            } while (!z.avail_out);
        }
        deflateEnd(&z);
    }
    PrintOptions options;
    options.dpi = 36;
    options.memoryMegabytes = 130; /* Ghostscript itself takes half of it */
    PrintedJob job = printPages(
        pageDescription("q 160 0 0 160 20 20 cm /Im Do Q",
                        std::to_string(packed.size()) + " /docIm ReadCount\n" + packed +
                            "\n/Im\n<<\n/ExternName (docIm)\n/Width 10000 \n/Height 10000 \n"
                            "/BitsPerComponent 8 \n/Filter /FlateDecode \n/ColorSpace /DeviceGray "
                            "/ColorSpace findRes\n>>\nCallImage\n"),
        options);
    EXPECT_EQ(faultsOf(job), std::vector<std::string>{});
    ASSERT_EQ(job.pages.size(), 1U);
    EXPECT_NEAR(job.pages[0].at(30, 50)[0], 0x40, 3);
    EXPECT_NEAR(job.pages[0].at(70, 50)[0], 0xB0, 3);
}

TEST(InlineImages, TheShortKeysCountWhereBothAreGiven)
{
    PageSet set;
    set.hasJob = false; /* what is damaged or missing is another matter when prepared */
    const std::string data = " ID \x20\xC0\x60\xA0 EI Q";
    const std::string place = "q 160 0 0 160 20 20 cm BI ";
    const std::string right = "/W 2 /H 2 /BPC 8 /CS /G";
    for (const char *wrong : {"/Width 1", "/Height 1", "/BitsPerComponent 1", "/ColorSpace /RGB",
                              "/Decode [1 0] /D [0 1]"}) {
        set.addLike(std::string("before, ") + wrong, place + wrong + " " + right + data, "",
                    place + right + data);
        set.addLike(std::string("behind, ") + wrong, place + right + " " + wrong + data, "",
                    place + right + data);
    }
    set.expectRight();
}

} // namespace
