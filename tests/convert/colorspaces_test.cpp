/*
 * colorspaces_test.cpp - colour spaces as PostScript, byte for byte
 */
#include "tools/zolak1_3/pdf_to_ps/writer/colorspaces.h"

#include <gtest/gtest.h>

#include "tests/support/conversion.h"
#include "tests/support/pdf_builder.h"
#include "tests/support/test_instance.h"
#include "tools/zolak1_3/pdf_to_ps/reader/objects.h"

namespace {

using Texts = std::vector<std::string>;

struct Space {
    uint32_t components;
    std::string text;
    Texts reports;
};

Space writeSpace(const std::string &input)
{
    TestInstance test(input + " endobj ");
    Space space;
    space.components = WriteColorSpace(test.run);
    space.text = test.written();
    space.reports = test.controller.takeTexts();
    return space;
}

void expectSpace(const std::string &input, uint32_t components, const std::string &text)
{
    Space space = writeSpace(input);
    EXPECT_EQ(space.reports, Texts{}) << input;
    EXPECT_EQ(space.text, text) << input;
    EXPECT_EQ(space.components, components) << input;
}

/* A sampled function of one input, as a stream inside an array. */
const std::string TINT = "<< /FunctionType 0 /BitsPerSample 8 /Size [2] /Domain [0 1] "
                         "/Range [0 1] /Length 2 >>\nstream\nab\nendstream";

const std::string LAB_TAIL = "/DecodeABC [{16 add 116 div} bind {500 div} bind {200 div} bind]\n"
                             "/MatrixABC [1 1 1 1 0 0 0 0 -1]\n"
                             "/DecodeLMN\n"
                             "[{dup 6 29 div ge {dup dup mul mul}\n"
                             "{4 29 div sub 108 841 div mul} ifelse 0.9505 mul} bind\n"
                             "{dup 6 29 div ge {dup dup mul mul}\n"
                             "{4 29 div sub 108 841 div mul} ifelse} bind\n"
                             "{dup 6 29 div ge {dup dup mul mul}\n"
                             "{4 29 div sub 108 841 div mul} ifelse 1.089 mul} bind]\n"
                             ">> ]\n";

} // namespace

TEST(ColorSpace, ABareNameIsLookedUp)
{
    expectSpace("/DeviceGray", 1, "/DeviceGray /ColorSpace findRes\n");
    expectSpace("/DeviceRGB", 3, "/DeviceRGB /ColorSpace findRes\n");
    expectSpace("/DeviceCMYK", 4, "/DeviceCMYK /ColorSpace findRes\n");
    expectSpace("/CS1", 0, "/CS1 /ColorSpace findRes\n");
    expectSpace("/Pattern", 0, "/Pattern /ColorSpace findRes\n");
    expectSpace("/A#20B", 0, "/A#20B /ColorSpace findRes\n");
}

TEST(ColorSpace, ADeviceFamilyInAnArrayIsItsName)
{
    expectSpace("[/DeviceGray]", 1, "/DeviceGray\n");
    expectSpace("[/DeviceRGB]", 3, "/DeviceRGB\n");
    expectSpace("[/DeviceCMYK /More]", 4, "/DeviceCMYK\n");
}

TEST(ColorSpace, CalGrayHasFixedFiguresAndItsOwnPoints)
{
    expectSpace("[/CalGray << /WhitePoint [.9 1 1.1] /BlackPoint [0 0 0] /Gamma 2.2 >>]", 1,
                "[/CIEBasedA <<\n"
                "/WhitePoint [ 0.900000 1 1.100000 ] \n"
                "/BlackPoint [ 0 0 0 ] \n"
                "/MatrixA [0.9505 1 1.089]\n"
                "/DecodeA {1 0.45 div exp} bind\n"
                "/RangeLMN [0 0.9505 0 1 0 1.089]\n"
                ">> ]\n");
    expectSpace("[/CalGray << >>]", 1,
                "[/CIEBasedA <<\n/MatrixA [0.9505 1 1.089]\n/DecodeA {1 0.45 div exp} bind\n"
                "/RangeLMN [0 0.9505 0 1 0 1.089]\n>> ]\n");
}

TEST(ColorSpace, CalRGBWritesItsMatrixWithoutALineEnd)
{
    expectSpace("[/CalRGB << /BlackPoint [0 0 0] /WhitePoint [1 1 1] /Gamma [2 2 2] "
                "/Matrix [1 0 0 0 1 0 0 0 1] >>]",
                3,
                "[/CIEBasedABC <<\n"
                "/MatrixLMN [ 1 0 0 0 1 0 0 0 1 \n] /DecodeLMN [{1 0.45 div exp} bind dup dup]\n"
                "/WhitePoint [ 1 1 1 ] \n"
                "/BlackPoint [ 0 0 0 ] \n"
                ">> ]\n");
    expectSpace("[/CalRGB << /WhitePoint [0.9505 1 1.089] >>]", 3,
                "[/CIEBasedABC <<\n/DecodeLMN [{1 0.45 div exp} bind dup dup]\n"
                "/WhitePoint [ 0.950500 1 1.089000 ] \n>> ]\n");
}

TEST(ColorSpace, LabHasARangeOfItsOwnOrTheUsualOne)
{
    expectSpace("[/Lab << /WhitePoint [1 1 1] >>]", 3,
                "[/CIEBasedABC <<\n/RangeABC [0 100 -100 100 -100 100]\n"
                "/WhitePoint [ 1 1 1 ] \n" +
                    LAB_TAIL);
    expectSpace("[/Lab << /Range [-50 50.5 -60 60] /BlackPoint [0 0 0] >>]", 3,
                "[/CIEBasedABC <<\n/RangeABC [0 100 -50 50.500000 -60 60 ]\n"
                "/BlackPoint [ 0 0 0 ] \n" +
                    LAB_TAIL);
    expectSpace("[/Lab << /Range [-50 50] >>]", 3,
                "[/CIEBasedABC <<\n/RangeABC [0 100 -50 50 ]\n" + LAB_TAIL);
    expectSpace("[/Lab << /Range [1 2 3 4 5 6] >>]", 3,
                "[/CIEBasedABC <<\n/RangeABC [0 100 1 2 3 4 ]\n" + LAB_TAIL);
    expectSpace("[/Lab << /Range 5 >>]", 3, "[/CIEBasedABC <<\n/RangeABC [0 100 ]\n" + LAB_TAIL);
}

TEST(ColorSpace, IndexedWithAString)
{
    expectSpace("[/Indexed /DeviceRGB 1 <414243444546>]", 0,
                "[/Indexed /DeviceRGB /ColorSpace findRes\n1 (ABCDEF)  ]\n");
    expectSpace("[/Indexed [/DeviceGray] 2.0 (a\\)b)]", 0,
                "[/Indexed /DeviceGray\n2.000000 (a\\)b)  ]\n");
}

TEST(ColorSpace, IndexedWithAStreamTakesTheDecodedSizeFromTheBase)
{
    const std::string stream = "<< /Filter /FlateDecode /Length 3 >>\nstream\n\x01\x02)\nendstream";
    const std::string written = "<<\n/Filter /FlateDecode \n/Length 3 \n>>\n";
    expectSpace("[/Indexed /DeviceRGB 1 " + stream + "]", 0,
                "[/Indexed /DeviceRGB /ColorSpace findRes\n1 " + written +
                    "6 SetIndexed\n\x01\x02)\n ]\n");
    expectSpace("[/Indexed /CS0 255 " + stream + "]", 0,
                "[/Indexed /CS0 /ColorSpace findRes\n255 " + written +
                    "0 SetIndexed\n\x01\x02)\n ]\n");
    expectSpace("[/Indexed [/DeviceCMYK] 2147483647 " + stream + "]", 0,
                "[/Indexed /DeviceCMYK\n2147483647 " + written +
                    "8589934592 SetIndexed\n\x01\x02)\n ]\n");
    expectSpace("[/Indexed [/ICCBased 5] 1 " + stream + "]", 0,
                "[/Indexed 1 " + written + "0 SetIndexed\n\x01\x02)\n ]\n");
}

TEST(ColorSpace, IndexedWhoseTableCannotBeReadStopsInTheMiddle)
{
    Space space = writeSpace("[/Indexed /DeviceRGB 1 5]");
    EXPECT_EQ(space.components, 0U);
    EXPECT_EQ(space.text, "[/Indexed /DeviceRGB /ColorSpace findRes\n1 ");
    EXPECT_EQ(space.reports, Texts{"ZOLAK 4 BADDICT: Dictionary expected."});
}

TEST(ColorSpace, PatternWithAndWithoutAnUnderlyingSpace)
{
    expectSpace("[/Pattern]", 0, "/Pattern\n[ /Pattern \n ]\n");
    expectSpace("[/Pattern /DeviceRGB]", 0, "[ /Pattern \n/DeviceRGB /ColorSpace findRes\n ]\n");
    expectSpace("[/Pattern [/DeviceGray]]", 0, "[ /Pattern \n/DeviceGray\n ]\n");
}

TEST(ColorSpace, SeparationEscapesItsColorantAndWritesItsTint)
{
    Space space = writeSpace("[/Separation /A#28B\\#5c /DeviceCMYK " + TINT + "]");
    EXPECT_EQ(space.reports, Texts{});
    EXPECT_EQ(space.components, 1U);
    EXPECT_TRUE(space.text.starts_with("[ /Separation (A\\(B\\\\\\\\) /DeviceCMYK "
                                       "/ColorSpace findRes\ncurrentfile\n2 string readstring\n"
                                       "ab\npop\n20 dict begin\n"))
        << space.text;
    EXPECT_TRUE(space.text.ends_with("} bind end\n ]\n"));
}

TEST(ColorSpace, SeparationWhoseTintIsNoStreamStopsInTheMiddle)
{
    Space space = writeSpace("[/Separation /Spot [/DeviceGray] << /FunctionType 2 >>]");
    EXPECT_EQ(space.text, "[ /Separation (Spot) /DeviceGray\n");
    EXPECT_EQ(space.components, 0U);
    EXPECT_EQ(space.reports, Texts{"ZOLAK 4 BADSTREAM: Keyword 'stream' is missing."});
}

TEST(ColorSpace, AnUnknownFamilyIsSilentlyEmpty)
{
    for (const char *input : {"[/ICCBased 5]", "[/DeviceN [/A] /DeviceRGB 5]", "[/CalCMYK << >>]",
                              "[/devicergb]", "[]", "<< >>", "5", "(text)", "null"})
        expectSpace(input, 0, "");
}

TEST(ColorSpace, AMissingElementIsReadNowhere)
{
    for (const char *input :
         {"[/CalGray]", "[/CalRGB]", "[/Lab]", "[/Indexed]", "[/Indexed /DeviceRGB]",
          "[/Indexed /DeviceRGB 1]", "[/Separation]", "[/Separation /Spot /DeviceRGB]"}) {
        Space space = writeSpace(input);
        ASSERT_FALSE(space.reports.empty()) << input;
        EXPECT_EQ(space.reports[0],
                  "ZOLAK 4 BADSPACE: Error occurred during skipping white spaces.")
            << input;
    }
}

TEST(ColorSpace, NothingIsWrittenOnceTheErrorFlagIsSet)
{
    TestInstance test("/DeviceRGB ");
    test.run->errorFlag = 1;
    EXPECT_EQ(WriteColorSpace(test.run), 0U);
    EXPECT_EQ(test.written(), "");
}

TEST(ColorSpace, 256LevelsAreWrittenAndTheNextIsNot)
{
    /* A space whose underlying space is itself, by reference. */
    PdfBuilder pdf;
    pdf.add("[/Pattern 3 0 R]");
    TestInstance test(pdf.build());
    test.openIndex();
    test.seek((uint32_t)pdf.offsetOf(3) + 7);
    WriteColorSpace(test.run);
    EXPECT_EQ(test.controller.takeTexts(), Texts{"ZOLAK 4 BADOBJ: Objects are nested too deeply."});

    for (int arrays : {255, 256}) {
        PdfBuilder chain; /* the name at its end is a space of its own */
        for (int i = 0; i < arrays; i++)
            chain.add(i + 1 < arrays ? "[/Pattern " + ref(i + 4) + "]" : "[/Pattern /DeviceRGB]");
        TestInstance deep(chain.build());
        deep.openIndex();
        deep.seek((uint32_t)chain.offsetOf(3) + 7);
        WriteColorSpace(deep.run);
        EXPECT_EQ(deep.controller.takeTexts(),
                  arrays == 255 ? Texts{}
                                : Texts{"ZOLAK 4 BADOBJ: Objects are nested too deeply."});
        std::string expected;
        for (int i = 0; i < arrays; i++)
            expected += "[ /Pattern \n";
        expected += arrays == 255 ? "/DeviceRGB /ColorSpace findRes\n" : "";
        for (int i = 0; i < arrays; i++)
            expected += " ]\n";
        EXPECT_EQ(deep.written(), expected);
    }
}

TEST(ColorSpace, TheSizeOfALookupTableIsComputedInFull)
{
    const std::string stream = "<< /Length 0 >>\nstream\n\nendstream";
    for (const auto &[hival, size] :
         {std::pair("-1", "0"), std::pair("-2", "-3"), std::pair("255", "768"),
          std::pair("-2147483648", "-6442450941"), std::pair("1.9", "6")})
        EXPECT_NE(writeSpace(std::string("[/Indexed /DeviceRGB ") + hival + " " + stream + "]")
                      .text.find(std::string("\n") + size + " SetIndexed\n"),
                  std::string::npos)
            << hival;
    expectSpace("[/Indexed [/Lab << >>] 0 ()]", 0,
                "[/Indexed [/CIEBasedABC <<\n/RangeABC [0 100 -100 100 -100 100]\n" + LAB_TAIL +
                    "0 ()  ]\n");
}

TEST(ColorSpaceResources, EveryEntryIsDefinedInStoredOrder)
{
    TestInstance test("<< /CS1 /DeviceGray /CS0 [/CalRGB << /WhitePoint [0.9505 1 1.089] >>] "
                      "/Icc [/ICCBased 5] >> endobj ");
    DictPtr dict = readDict(test.run);
    DefineColorSpaceResources(test.run, dict.get());
    EXPECT_EQ(test.written(), "/CS1\n/DeviceGray /ColorSpace findRes\n/ColorSpace defineRes pop\n"
                              "/CS0\n[/CIEBasedABC <<\n"
                              "/DecodeLMN [{1 0.45 div exp} bind dup dup]\n"
                              "/WhitePoint [ 0.950500 1 1.089000 ] \n>> ]\n"
                              "/ColorSpace defineRes pop\n"
                              "/Icc\n/ColorSpace defineRes pop\n");
}

TEST(ColorSpaceResources, TheDefinitionThatFailsIsStillClosed)
{
    TestInstance test("<< /CS0 [/Indexed /DeviceRGB 1 5] /CS1 /DeviceGray >> endobj ");
    DictPtr dict = readDict(test.run);
    DefineColorSpaceResources(test.run, dict.get());
    EXPECT_EQ(test.written(), "/CS0\n[/Indexed /DeviceRGB /ColorSpace findRes\n1 "
                              "/ColorSpace defineRes pop\n");
}
