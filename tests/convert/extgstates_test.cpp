/*
 * extgstates_test.cpp - extended graphics states and halftones, byte for byte
 */
#include "tools/zolak1_3/pdf_to_ps/writer/extgstates.h"

#include <gtest/gtest.h>

#include "tests/support/pdf_builder.h"
#include "tests/support/test_instance.h"
#include "tools/zolak1_3/pdf_to_ps/reader/objects.h"
#include "tools/zolak1_3/pdf_to_ps/writer/halftones.h"

namespace {

using Texts = std::vector<std::string>;

struct Written {
    std::string text;
    Texts reports;
};

/* What stands between the definition of a function and its end is tested elsewhere: here it is
 * shortened to "...". */
std::string shorten(std::string text)
{
    const std::string from = "currentfile\n", to = "} bind end\n";
    for (size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += 4)
        text.replace(at, text.find(to, at) + to.size() - at, "...\n");
    return text;
}

Written defineStates(const std::string &dictionary)
{
    TestInstance test(dictionary + " endobj ");
    DictPtr dict = readDict(test.run);
    DefineExtGStateResources(test.run, dict.get());
    return {shorten(test.written()), test.controller.takeTextsWithLines()};
}

void expectState(const std::string &entries, const std::string &text)
{
    Written w = defineStates("<< /GS0 << " + entries + " >> >>");
    EXPECT_EQ(w.reports, Texts{}) << entries;
    EXPECT_EQ(w.text, text) << entries;
}

Written writeHalftone(const std::string &input)
{
    TestInstance test(input + " endobj ");
    WriteHalftone(test.run, "/GS0");
    return {shorten(test.written()), test.controller.takeTextsWithLines()};
}

void expectHalftone(const std::string &input, const std::string &text)
{
    Written w = writeHalftone(input);
    EXPECT_EQ(w.reports, Texts{}) << input;
    EXPECT_EQ(w.text, text) << input;
}

const std::string F1 = "<< /FunctionType 0 /BitsPerSample 8 /Size [2] /Domain [0 1] /Range [0 1] "
                       "/Length 2 >>\nstream\nab\nendstream ";
const std::string F2 = "<< /FunctionType 0 /BitsPerSample 8 /Size [2 2] /Domain [-1 1 -1 1] "
                       "/Range [0 1] /Length 4 >>\nstream\nabcd\nendstream ";

} // namespace

TEST(GraphicsState, OnlyTheKeysOfADeviceAreWritten)
{
    expectState("/OP true /TR /Identity",
                "/GS0 <<\n/OP true \n/TR /Identity \n>> /ExtGState defineRes pop\n");
    expectState("/LW 2", "/GS0 <<\n>> /ExtGState defineRes pop\n");
    expectState("/Type /ExtGState /HTP [1 2] /OP false /SA true /op true /OPM 1 /BG2 /Default "
                "/UCR2 /Default /TR2 /Default /Font [1 2] /SMask /None /BM /Normal /CA 1 /FL 1",
                "/GS0 <<\n/SA true \n/OP false \n/HTP [ 1 2 ] \n>> /ExtGState defineRes pop\n");
}

TEST(GraphicsState, FunctionsAreDefinedBeforeTheDictionary)
{
    expectState("/TR " + F1 + "/UCR " + F1 + "/BG " + F1,
                "/GS0BG ...\n/Function defineRes pop\n"
                "/GS0UCR ...\n/Function defineRes pop\n"
                "/GS0TR ...\n/Function defineRes pop\n"
                "/GS0 <<\n/BG /GS0BG\n/UCR /GS0UCR\n/TR /GS0TR\n>> /ExtGState defineRes pop\n");
    expectState("/BG /BgName /UCR /UcrName",
                "/GS0 <<\n/BG /BgName \n/UCR /UcrName \n>> /ExtGState defineRes pop\n");
}

TEST(GraphicsState, AnArrayOfTransferFunctions)
{
    expectState("/TR [ /Identity " + F1 + F1 + F1 + "]",
                "/GS0TR1 ...\n/Function defineRes pop\n"
                "/GS0TR2 ...\n/Function defineRes pop\n"
                "/GS0TR3 ...\n/Function defineRes pop\n"
                "/GS0 <<\n/TR [ /Identity /GS0TR1 /GS0TR2 /GS0TR3 ]\n"
                ">> /ExtGState defineRes pop\n");
    expectState("/TR []", "/GS0 <<\n/TR [ ]\n>> /ExtGState defineRes pop\n");
}

TEST(GraphicsState, ItsHalftoneFollowsItsKeyDirectly)
{
    expectState("/HT /Default", "/GS0 <<\n/HT _defaulthalftone\n>> /ExtGState defineRes pop\n");
    expectState("/HT << /HalftoneType 1 /TransferFunction " + F1 + ">> /HTP [0 0]",
                "/GS0 <<\n/HT << \n/HalftoneType 1 \n/GS0HTTrans ...\n/Function defineRes pop\n"
                "/TransferFunction /GS0HTTrans /Function findRes\n>> \n/HTP [ 0 0 ] \n"
                ">> /ExtGState defineRes pop\n");
}

TEST(GraphicsState, SeveralComeInStoredOrder)
{
    EXPECT_EQ(defineStates("<< /B << /OP true >> /A << /SA false >> >>").text,
              "/B <<\n/OP true \n>> /ExtGState defineRes pop\n"
              "/A <<\n/SA false \n>> /ExtGState defineRes pop\n");
}

TEST(GraphicsState, OneThatIsNoDictionaryEndsTheWalk)
{
    Written w = defineStates("<< /A << >> /B 5 /C << >> >>");
    EXPECT_EQ(w.text, "/A <<\n>> /ExtGState defineRes pop\n");
    ASSERT_EQ(w.reports.size(), 1U) << "and memory is not blamed for it";
    EXPECT_TRUE(w.reports[0].ends_with("BADDICT: Dictionary expected.")) << w.reports[0];
}

TEST(GraphicsState, AnUnsupportedFunctionIsStillNamed)
{
    Written w = defineStates("<< /G << /TR << /FunctionType 4 /Length 0 >>\nstream\n\nendstream "
                             ">> >>");
    EXPECT_EQ(w.reports, Texts{"ZOLAK:2517 4 BADFNCT: PDF attempted to define invalid function."});
    EXPECT_TRUE(w.text.starts_with("/GTR /Function defineRes pop\n/G <<\n"));
}

TEST(Halftone, AnyNameIsTheDefault)
{
    expectHalftone("/Default", "_defaulthalftone\n");
    expectHalftone("/Another", "_defaulthalftone\n");
}

TEST(Halftone, AnythingThatIsNoDictionaryWritesNothing)
{
    for (const char *input : {"5", "[1]", "(x)", "null", "true"})
        expectHalftone(input, "");
}

TEST(Halftone, Type1WithNames)
{
    expectHalftone("<< /TransferFunction /Identity /SpotFunction /SimpleDot /AccurateScreens true "
                   "/Angle 45 /Frequency 60.5 /HalftoneType 1 /Type /Halftone >>",
                   "<< \n/HalftoneType 1 \n/Frequency 60.500000 \n/Angle 45 \n"
                   "/AccurateScreens true \n"
                   "/SpotFunction /SimpleDot \n/Function findRes\n"
                   "/TransferFunction /Identity \n/Function findRes\n>> \n");
}

TEST(Halftone, Type1WithSampledFunctions)
{
    expectHalftone("<< /HalftoneType 1 /SpotFunction " + F2 + "/TransferFunction " + F1 + ">>",
                   "<< \n/HalftoneType 1 \n"
                   "/GS0HTSpot ...\n/Function defineRes pop\n"
                   "/SpotFunction /GS0HTSpot /Function findRes\n"
                   "/GS0HTTrans ...\n/Function defineRes pop\n"
                   "/TransferFunction /GS0HTTrans /Function findRes\n>> \n");
}

TEST(Halftone, Type5WritesItsComponentsInTableOrder)
{
    expectHalftone("<< /HalftoneType 5 /Spot1 << /HalftoneType 1 >> /Black /Default "
                   "/Cyan << /HalftoneType 1 /SpotFunction " +
                       F2 + ">> /Default << >> >>",
                   "<< \n/HalftoneType 5 \n"
                   "/Cyan\n<< \n/HalftoneType 1 \n/GS0CyanHTSpot ...\n/Function defineRes pop\n"
                   "/SpotFunction /GS0CyanHTSpot /Function findRes\n>> \n"
                   "/Black\n_defaulthalftone\n"
                   "/Default\n<< \n>> \n>> \n");
    std::string all, expected;
    for (const char *c :
         {"Red", "Green", "Blue", "Cyan", "Magenta", "Yellow", "Black", "Gray", "Default"}) {
        all = std::string("/") + c + " /D " + all;
        expected += std::string("/") + c + "\n_defaulthalftone\n";
    }
    expectHalftone("<< /HalftoneType 5 " + all + ">>",
                   "<< \n/HalftoneType 5 \n" + expected + ">> \n");
}

TEST(Halftone, Types6And10CopyTheirThresholds)
{
    for (const char *type : {"6", "10"})
        expectHalftone(std::string("<< /HalftoneType ") + type +
                           " /Ysquare 4 /Xsquare 3 /Height 2 /Width 1 /TransferFunction " + F1 +
                           "/Filter /FlateDecode /DecodeParms << >> /Length 3 >>\nstream\n\x01)x\n"
                           "endstream",
                       std::string("<< \n/HalftoneType ") + type +
                           " \n/Width 1 \n/Height 2 \n/Xsquare 3 \n/Ysquare 4 \n"
                           "3 /GS0Halftone AddCreatedFile ReadCount\n\x01)x\n"
                           "/Thresholds (GS0Halftone) (r) file <<\n"
                           "/Filter /FlateDecode \n/DecodeParms <<\n>>\n\n>> begin SetFilter end\n"
                           "/GS0Trans ...\n/Function defineRes pop\n"
                           "/TransferFunction /GS0Trans /Function findRes\n>> \n");
}

TEST(Halftone, UnsupportedOnesAreReportedAndClosed)
{
    const Texts unsupported = {"ZOLAK:2827 2 BADHT: Unsupported halftone type."};
    for (const char *input : {"<< /HalftoneType 16 >>", "<< /HalftoneType 2 >>",
                              "<< /HalftoneType 6 >>", "<< /HalftoneType 10 /Width 4 >>"}) {
        Written w = writeHalftone(input);
        EXPECT_EQ(w.reports, unsupported) << input;
        EXPECT_TRUE(w.text.starts_with("<< \n/HalftoneType ")) << w.text;
        EXPECT_TRUE(w.text.ends_with(" \n>> \n"));
        EXPECT_EQ(w.text.find("Width"), std::string::npos);
    }
}

TEST(Halftone, WithoutATypeItIsEmpty)
{
    expectHalftone("<< /Frequency 60 >>", "<< \n>> \n");
}

TEST(Halftone, OneInsideItselfEndsWithAMessage)
{
    PdfBuilder pdf;
    pdf.add("<< /HalftoneType 5 /Cyan 3 0 R /Black 3 0 R >>");
    TestInstance test(pdf.build());
    test.openIndex();
    test.seek((uint32_t)pdf.offsetOf(3) + 7);
    WriteHalftone(test.run, "/G");
    EXPECT_EQ(test.controller.takeTexts(), Texts{"ZOLAK 4 BADOBJ: Objects are nested too deeply."});
}

TEST(Halftone, 256LevelsAreWrittenAndTheNextIsNot)
{
    for (int levels : {256, 257}) {
        PdfBuilder pdf;
        for (int level = 1; level < levels; level++)
            pdf.add("<< /HalftoneType 5 /Gray " + ref(level + 3) + " >>");
        pdf.add("<< /HalftoneType 1 >>");
        TestInstance test(pdf.build());
        test.openIndex();
        test.seek((uint32_t)pdf.offsetOf(3) + 7);
        WriteHalftone(test.run, "/G");
        EXPECT_EQ(test.controller.takeTexts(),
                  levels == 256 ? Texts{}
                                : Texts{"ZOLAK 4 BADOBJ: Objects are nested too deeply."});
        std::string expected;
        for (int level = 1; level < levels; level++)
            expected += "<< \n/HalftoneType 5 \n/Gray\n";
        expected += levels == 256 ? "<< \n/HalftoneType 1 \n>> \n" : "";
        for (int level = 1; level < levels; level++)
            expected += ">> \n";
        EXPECT_EQ(test.written(), expected) << levels;
    }
}

TEST(Halftone, AComponentsFunctionIsNamedAfterAllItsColorants)
{
    expectHalftone("<< /HalftoneType 5 /Red << /HalftoneType 5 /Default << /HalftoneType 6 "
                   "/Length 0 /TransferFunction " +
                       F1 + ">>\nstream\n\nendstream >> >>",
                   "<< \n/HalftoneType 5 \n/Red\n<< \n/HalftoneType 5 \n/Default\n"
                   "<< \n/HalftoneType 6 \n"
                   "0 /GS0RedDefaultHalftone AddCreatedFile ReadCount\n\n"
                   "/Thresholds (GS0RedDefaultHalftone) (r) file <<\n>> begin SetFilter end\n"
                   "/GS0RedDefaultTrans ...\n/Function defineRes pop\n"
                   "/TransferFunction /GS0RedDefaultTrans /Function findRes\n"
                   ">> \n>> \n>> \n");
}

TEST(Halftone, AFractionOfItsTypeIsDropped)
{
    expectHalftone("<< /HalftoneType 1.9 /Angle 0 >>",
                   "<< \n/HalftoneType 1.900000 \n/Angle 0 \n>> \n");
    Written w = writeHalftone("<< /HalftoneType 0 >>");
    EXPECT_EQ(w.reports, Texts{"ZOLAK:2827 2 BADHT: Unsupported halftone type."});
}

TEST(GraphicsState, ElementsOfATransferArrayAreNumberedByTheirPlace)
{
    std::string names, written;
    for (int i = 0; i < 11; i++) {
        names += i == 10 ? F1 : "/Identity ";
        written += i == 10 ? "/GS0TR10 " : "/Identity ";
    }
    expectState("/TR [" + names + "]", "/GS0TR10 ...\n/Function defineRes pop\n/GS0 <<\n/TR [ " +
                                           written + "]\n>> /ExtGState defineRes pop\n");
}

TEST(GraphicsState, AFunctionThatFailsLeavesTheDictionaryOpenAndUnwritten)
{
    Written w = defineStates("<< /G << /BG 5 /OP true >> /H << >> >>");
    ASSERT_EQ(w.reports.size(), 1U);
    EXPECT_EQ(w.text.find("/H"), std::string::npos) << "the walk has ended";
}
