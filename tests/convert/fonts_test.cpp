/*
 * fonts_test.cpp - font dictionaries, embedded programs, encodings, Type 3 fonts
 */
#include "tools/zolak1_3/pdf_to_ps/writer/fonts.h"

#include <cstring>
#include <gtest/gtest.h>

#include "tests/support/conversion.h"
#include "tests/support/pdf_builder.h"
#include "tests/support/test_instance.h"
#include "tools/zolak1_3/pdf_to_ps/reader/objects.h"
#include "tools/zolak1_3/pdf_to_ps/writer/encodings.h"

namespace {

using Texts = std::vector<std::string>;

struct Written {
    std::string text;
    Texts reports;
};

Written defineFonts(const std::string &dictionary)
{
    TestInstance test(dictionary + " endobj ");
    strcpy(test.run->baseName, "doc");
    DictPtr dict = readDict(test.run);
    DefineFontResources(test.run, dict.get());
    return {test.written(), test.controller.takeTextsWithLines()};
}

void expectFont(const std::string &entries, const std::string &text, const Texts &reports = {})
{
    Written w = defineFonts("<< /F1 << " + entries + " >> >>");
    EXPECT_EQ(w.reports, reports) << entries;
    EXPECT_EQ(w.text, text) << entries;
}

std::string stream(const std::string &entries, const std::string &data)
{
    return "<< " + entries + " /Length " + std::to_string(data.size()) + " >>\nstream\n" + data +
           "\nendstream ";
}

/* A width array: `missing` everywhere but from `first` on, as many codes as it takes. */
std::string widthLines(int first, const Texts &widths, const std::string &missing = "0",
                       int codes = 256)
{
    std::string text = "/Widths [ \n";
    for (int code = 0; code < codes; code++) {
        int index = code - first;
        bool given = index >= 0 && index < (int)widths.size();
        text += (given ? widths[(size_t)index] : missing) + " ";
        if (code != 0 && code % 8 == 0)
            text += "\n";
    }
    return text + " ]\n";
}

const std::string HEAD = "<<\n/Name /F1\n";
const std::string TAIL = " >> AdjFont\n";

} // namespace

TEST(Font, TheSmallestOne)
{
    expectFont("/Subtype /Type1", HEAD + TAIL);
    expectFont("/Subtype /Type1 /BaseFont /Helvetica#20Bold",
               HEAD + "/BaseFont /Helvetica#20Bold \n" + TAIL);
    expectFont("/BaseFont /Helvetica", "");
}

TEST(Font, WidthsCoverAll256CodesInLinesOfEight)
{
    expectFont("/Subtype /Type1 /BaseFont /Helvetica /FirstChar 32 /LastChar 33 /Widths [278 278]",
               HEAD + "/BaseFont /Helvetica \n" + widthLines(32, {"278", "278"}) + TAIL);
    EXPECT_EQ(widthLines(0, {}).substr(0, 35), "/Widths [ \n0 0 0 0 0 0 0 0 0 \n0 0 0")
        << "the first line holds nine";
    expectFont("/Subtype /Type1 /FirstChar 1 /LastChar 4 /Widths [1.5 1000000 0.1 -3]",
               HEAD + widthLines(1, {"1.5", "1e+06", "0.1", "-3"}) + TAIL);
}

TEST(Font, WithoutFirstCharTheFirstCodeTakesTheSecondElement)
{
    expectFont("/Subtype /Type1 /LastChar 1 /Widths [10 20 30]",
               HEAD + widthLines(0, {"20", "30"}) + TAIL);
}

TEST(Font, WithoutLastCharAllWidthsAreMissing)
{
    expectFont("/Subtype /Type1 /FirstChar 0 /Widths [10 20 30]", HEAD + widthLines(0, {}) + TAIL);
}

TEST(Font, AMissingElementIsTheMissingWidth)
{
    expectFont("/Subtype /Type1 /FirstChar 10 /LastChar 20 /Widths [10 20] "
               "/FontDescriptor << /MissingWidth 77 >>",
               HEAD + widthLines(10, {"10", "20"}, "77") + TAIL);
}

TEST(Font, TheMissingWidthIsRounded)
{
    const std::pair<const char *, const char *> widths[] = {
        {"2.5", "3"}, {"-2.5", "-3"}, {"2.4", "2"}, {"99999999999", "2147483647"}};
    for (const auto &[given, written] : widths)
        expectFont(std::string("/Subtype /Type1 /Widths [] /FontDescriptor << /MissingWidth ") +
                       given + " >>",
                   HEAD + widthLines(0, {}, written) + TAIL);
}

TEST(Font, CodesBeyond255AreWrittenUpTo65535)
{
    expectFont("/Subtype /Type1 /FirstChar 255 /LastChar 257 /Widths [1 2 3]",
               HEAD + widthLines(255, {"1", "2", "3"}, "0", 258) + TAIL);
    expectFont("/Subtype /Type1 /FirstChar 300 /LastChar 0 /Widths [1]",
               HEAD + widthLines(0, {}, "0", 300) + TAIL);
    for (const char *far :
         {"/FirstChar 2147483647 /LastChar 0", "/FirstChar 0 /LastChar 2147483647",
          "/FirstChar 65536 /LastChar 99999"}) {
        Written w =
            defineFonts(std::string("<< /F1 << /Subtype /Type1 /Widths [] ") + far + " >> >>");
        EXPECT_TRUE(w.text == HEAD + widthLines(0, {}, "0", 65536) + TAIL) << far;
    }
}

TEST(Font, NegativeFirstCharsCountAsTheyAre)
{
    expectFont("/Subtype /Type1 /FirstChar -2 /LastChar 1 /Widths [1 2 3 4]",
               HEAD + widthLines(0, {"3", "4"}) + TAIL);
}

TEST(Font, WidthsThatAreNoArrayEndTheWalk)
{
    Written w = defineFonts("<< /F1 << /Subtype /Type1 /Widths 5 >> /F2 << /Subtype /Type1 >> >>");
    EXPECT_EQ(w.reports, Texts{"ZOLAK:2279 4 out of memory: Out of memory"});
    EXPECT_EQ(w.text, HEAD);
}

TEST(Font, TheNonsymbolicFlagAsksForTheStandardEncoding)
{
    for (const char *flags : {"32", "34", "262176"})
        expectFont(std::string("/Subtype /Type1 /FontDescriptor << /Flags ") + flags + " >>",
                   HEAD + "/UseStandardEncoding true\n" + TAIL);
    for (const char *flags : {"4", "0", "64"})
        expectFont(std::string("/Subtype /Type1 /FontDescriptor << /Flags ") + flags + " >>",
                   HEAD + TAIL);
}

TEST(Font, EncodingsByNameAndByDictionary)
{
    expectFont("/Subtype /Type1 /Encoding /WinAnsiEncoding",
               HEAD + "/BaseEncoding /WinAnsiEncoding\n" + TAIL);
    expectFont("/Subtype /Type1 /Encoding /A#20B", HEAD + "/BaseEncoding /A#20B\n" + TAIL);
    expectFont("/Subtype /Type1 /Encoding << /Type /Encoding /Differences [65 /a /b] "
               "/BaseEncoding /MacRomanEncoding >>",
               HEAD + "/BaseEncoding /MacRomanEncoding \n/Differences [ 65 /a /b ] \n" + TAIL);
    expectFont("/Subtype /Type1 /Encoding << >>", HEAD + TAIL);
    expectFont("/Subtype /Type1 /Encoding 5", HEAD + TAIL);
    expectFont("/Subtype /Type1 /Encoding " + stream("/CMapName /X", "cmap"), HEAD + TAIL);
}

TEST(Font, KindsAreToldOf)
{
    expectFont("/Subtype /TrueType /BaseFont /Arial", HEAD + "/BaseFont /Arial \n" + TAIL,
               {"ZOLAK:2213 1 TTYPE: Defining TrueType Font /Arial"});
    expectFont("/Subtype /MMType1 /BaseFont /Minion_367", HEAD + "/BaseFont /Minion_367 \n" + TAIL,
               {"ZOLAK:2209 2 MMTYPE: Defining Multiple Master Font /Minion_367"});
    expectFont("/Subtype /TrueType", HEAD + TAIL);
}

TEST(Font, AnUnsupportedTypeIsReportedAndWrittenAllTheSame)
{
    expectFont("/Subtype /Type0 /BaseFont /X /Encoding /Identity-H",
               HEAD + "/BaseFont /X \n/BaseEncoding /Identity-H\n" + TAIL,
               {"ZOLAK:2200 3 BADFONT: Unsupported font type /Type0 of font /F1"});
}

TEST(Font, SeveralComeInStoredOrder)
{
    Written w = defineFonts("<< /B << /Subtype /Type1 >> /A << /Subtype /Type1 >> >>");
    EXPECT_EQ(w.text, "<<\n/Name /B\n >> AdjFont\n<<\n/Name /A\n >> AdjFont\n");
}

TEST(FontFile, Type1WithoutFilter)
{
    expectFont("/Subtype /Type1 /FontDescriptor << /FontFile " +
                   stream("/Length1 1 /Length2 1 /Length3 532", "%!\x80") + " >>",
               "3 AppendCount\n%!\x80\nExecFontFile\n" + HEAD + TAIL);
}

TEST(FontFile, Type1WithoutItsTrailerGetsOne)
{
    std::string zeros;
    for (int i = 0; i < 8; i++)
        zeros += std::string(64, '0') + "\n";
    expectFont("/Subtype /Type1 /FontDescriptor << /FontFile " + stream("/Length3 0", "%!") + " >>",
               "2 AppendCount\n%!\n"
               "currentfile 1 (cleartomark) /SubFileDecode filter AppendFile\n" +
                   zeros + "cleartomark\n%%EndFont\nExecFontFile\n" + HEAD + TAIL);
}

TEST(FontFile, Type1WithAFilterPassesItsDictionary)
{
    expectFont("/Subtype /Type1 /FontDescriptor << /FontFile " +
                   stream("/Filter /FlateDecode /Length3 532", "zz") + " >>",
               "<<\n/Filter /FlateDecode \n/Length3 532 \n/Length 2 \n>>\nAppendFilter\nzz\n"
               "ExecFontFile\n" +
                   HEAD + TAIL);
    EXPECT_NE(defineFonts("<< /F1 << /Subtype /Type1 /FontDescriptor << /FontFile " +
                          stream("/Filter /FlateDecode /Length3 0", "zz") + " >> >> >>")
                  .text.find("AppendFilter\nzz\ncurrentfile 1 (cleartomark) /SubFileDecode"),
              std::string::npos);
}

TEST(FontFile, CompactType1)
{
    const std::string program = stream("/Subtype /Type1C /Filter /FlateDecode", "cc");
    const std::string written = "2 AppendCount\ncc\n<<\n/Subtype /Type1C \n/Filter /FlateDecode \n"
                                "/Length 2 \n>>\nExecType1C\n";
    expectFont("/Subtype /Type1 /FontDescriptor << /FontFile3 " + program + " >>",
               "()\n" + written + HEAD + TAIL);
    expectFont("/Subtype /Type1 /FontDescriptor << /CharSet (/a\\(/b) /FontFile3 " + program +
                   " >>",
               "(/a\\(/b) " + written + HEAD + TAIL);
}

TEST(FontFile, AnotherSubtypeOfFontFile3WritesOnlyTheCharacterSet)
{
    for (const char *subtype : {"/Subtype /OpenType", "/Subtype /CIDFontType0C", ""})
        expectFont("/Subtype /Type1 /FontDescriptor << /FontFile3 " + stream(subtype, "x") + " >>",
                   "()\n" + HEAD + TAIL);
}

TEST(FontFile, SeveralAreWrittenInTheOrderOfTheirNumbers)
{
    Written w = defineFonts("<< /F1 << /Subtype /Type1 /FontDescriptor << /FontFile3 " +
                            stream("/Subtype /Type1C", "3") + " /FontFile " + stream("", "1") +
                            " >> >> >>");
    EXPECT_TRUE(w.text.starts_with("1 AppendCount\n1\nExecFontFile\n()\n1 AppendCount\n3\n"));
}

TEST(FontFile, AProgramThatIsNoStreamEndsTheWalk)
{
    for (const char *key : {"/FontFile", "/FontFile2", "/FontFile3"}) {
        Written w = defineFonts(std::string("<< /F1 << /Subtype /Type1 /FontDescriptor << ") + key +
                                " 5 >> >> /F2 << /Subtype /Type1 >> >>");
        EXPECT_EQ(w.text, "") << key;
        EXPECT_EQ(w.reports.size(), 1U) << key;
    }
}

TEST(FontFile, ATrueTypeProgramNeedsABaseFont)
{
    Written w = defineFonts("<< /F1 << /Subtype /TrueType /FontDescriptor << /FontFile2 " +
                            stream("", "no font") + " >> >> >>");
    ASSERT_FALSE(w.reports.empty());
    EXPECT_EQ(w.reports[0], "ZOLAK:2240 4 TTFONT: BaseFont entry expected for TT font");
}

TEST(FontFile, WhatIsNoTrueTypeProgramIsReportedBehindItsName)
{
    Written w = defineFonts("<< /F1 << /Subtype /TrueType /BaseFont /Arial /FontDescriptor << "
                            "/FontFile2 " +
                            stream("", "true font") + " >> >> >>");
    EXPECT_EQ(w.reports,
              (Texts{"ZOLAK:2213 1 TTYPE: Defining TrueType Font /Arial",
                     "ZOLAK:1381 4 TTFONT: Unknown File Version number [74727565], or not a "
                     "TrueType file"}));
    EXPECT_TRUE(w.text.starts_with("/Arial \n<<\n/Name /F1\n"));
}

TEST(Type3Font, IsWrittenWholeUnderItsKey)
{
    expectFont("/Subtype /Type3 /Name /Other /Widths [1] /FirstChar 97 /LastChar 97 "
               "/FontBBox [0 0 750 750] /FontMatrix [0.001 0 0 0.001 0 0] "
               "/Encoding << /Differences [97 /a] >> /CharProcs << /a " +
                   stream("", "750 0 d0\n0 0 m f") + " /b#20c " +
                   stream("/Filter /ASCIIHexDecode", "66 0A>") + " >>",
               "/F1 <<\n/FontType 3\n"
               "/FontMatrix [ 0.001000 0 0 0.001000 0 0 ] \n/FontBBox [ 0 0 750 750 ] \n"
               "<<\n/Differences [ 97 /a ] \n>> T3AdjEnc\n"
               "/CharProcs <<\n/.notdef {250 0 d0}\n"
               "/a { save\n750 0 d0\n0 0 m f restore }\n"
               "/b c { save\nf\n restore }\n"
               ">>\nT3DefFnct\n>> definefont pop\n");
}

TEST(Type3Font, WithoutGlyphsAndEncoding)
{
    expectFont("/Subtype /Type3",
               "/F1 <<\n/FontType 3\n<<\n>> T3AdjEnc\nT3DefFnct\n>> definefont pop\n");
    expectFont("/Subtype /Type3 /Encoding /MacRomanEncoding /CharProcs << >>",
               "/F1 <<\n/FontType 3\n<<\n/BaseEncoding /MacRomanEncoding\n>> T3AdjEnc\n"
               "/CharProcs <<\n/.notdef {250 0 d0}\n>>\nT3DefFnct\n>> definefont pop\n");
}

TEST(Type3Font, ItsResourcesComeBeforeIt)
{
    expectFont("/Subtype /Type3 /Resources << /ColorSpace << /C /DeviceGray >> >>",
               "/C\n/DeviceGray /ColorSpace findRes\n/ColorSpace defineRes pop\n"
               "/F1 <<\n/FontType 3\n<<\n>> T3AdjEnc\nT3DefFnct\n>> definefont pop\n");
}

TEST(Type3Font, AGlyphThatCannotBeReadLeavesTheDefinitionOpen)
{
    Written w = defineFonts("<< /F1 << /Subtype /Type3 /CharProcs << /a << >> /b " +
                            stream("", "f") + " >> >> /F2 << /Subtype /Type1 >> >>");
    EXPECT_EQ(w.text, "/F1 <<\n/FontType 3\n<<\n>> T3AdjEnc\n/CharProcs <<\n"
                      "/.notdef {250 0 d0}\n");
    EXPECT_EQ(w.reports.size(), 1U);
}

TEST(FontEncoding, AnswersWhereTheEncodingIs)
{
    TestInstance test("<< /A 1 /Encoding /X >> << /A 1 >> endobj ");
    DictPtr with = readDict(test.run);
    uint32_t next = test.position();
    EXPECT_EQ(WriteFontEncoding(test.run, with.get()), 1);
    test.seek(next);
    DictPtr without = readDict(test.run);
    test.written();
    EXPECT_LT(WriteFontEncoding(test.run, without.get()), 0);
    EXPECT_EQ(test.written(), "");
}

TEST(FontFile, TheCharacterSetOfAnotherSubtypeIsStillWritten)
{
    for (const char *subtype : {"/Subtype /OpenType", "/Subtype /Type1c", "/Subtype /Type1CC", ""})
        expectFont("/Subtype /Type1 /FontDescriptor << /CharSet (/a/b) /FontFile3 " +
                       stream(subtype, "x") + " >>",
                   "(/a/b) " + HEAD + TAIL);
}

TEST(FontFile, TheTrailerIsLeftOutForALengthThatIsZeroOnly)
{
    for (const char *length : {"", "/Length3 1 ", "/Length3 -1 "})
        expectFont("/Subtype /Type1 /FontDescriptor << /FontFile " + stream(length, "%!") + " >>",
                   "2 AppendCount\n%!\nExecFontFile\n" + HEAD + TAIL);
    EXPECT_NE(defineFonts("<< /F1 << /Subtype /Type1 /FontDescriptor << /FontFile " +
                          stream("/Length3 0.9", "%!") + " >> >> >>")
                  .text.find("\ncleartomark\n%%EndFont\nExecFontFile\n"),
              std::string::npos)
        << "a fraction is dropped";
}

TEST(FontFile, WithoutAPlaceForTemporaryFilesATrueTypeProgramStopsTheRun)
{
    PdfBuilder pdf;
    pdf.addPage("/MediaBox [0 0 9 9] /Resources << /Font << /F << /Subtype /TrueType /BaseFont /B "
                "/FontDescriptor << /FontFile2 " +
                ref(pdf.addStream("", "font")) + " >> >> >> >>");
    ProgramOptions options;
    options.environment = {{"KV_TMP", "/nonexistent"}, {"ZELKOV_TRACE", "1"}};
    Conversion c = convertPdf(pdf.build(), {}, options);
    EXPECT_EQ(c.status, 1);
    EXPECT_EQ(c.messages.back(), "ZOLAK-E-TTFONT: Can't open temp TT font file for writing. "
                                 "[tools/zolak1_3/pdf_to_ps:2084]");
    EXPECT_FALSE(c.hasOutput);
}

TEST(Font, TheLastCodeThatIsWrittenIs65535)
{
    Written w = defineFonts("<< /F1 << /Subtype /Type1 /FirstChar 65535 /LastChar 65536 "
                            "/Widths [7 8] >> >>");
    EXPECT_TRUE(w.text == HEAD + widthLines(65535, {"7"}, "0", 65536) + TAIL);
    w = defineFonts("<< /F1 << /Subtype /Type1 /FirstChar 0 /LastChar 255 /Widths [1] >> >>");
    EXPECT_EQ(w.text, HEAD + widthLines(0, {"1"}) + TAIL);
    w = defineFonts("<< /F1 << /Subtype /Type1 /FirstChar 256 /LastChar 256 /Widths [1] >> >>");
    EXPECT_EQ(w.text, HEAD + widthLines(256, {"1"}, "0", 257) + TAIL);
}

TEST(Font, WidthsOfEverySizeArePrintedInSixDigits)
{
    expectFont("/Subtype /Type1 /FirstChar 0 /LastChar 5 "
               "/Widths [999999 1000001 0.0001 0.00001 123.4567 -0.0]",
               HEAD + widthLines(0, {"999999", "1e+06", "0.0001", "1e-05", "123.457", "-0"}) +
                   TAIL);
}

TEST(Type3Font, AGlyphThatCannotBeDecodedStopsTheRun)
{
    Written w = defineFonts("<< /F1 << /Subtype /Type3 /CharProcs << /a " +
                            stream("/Filter /ASCIIHexDecode", "4g>") + " /b " + stream("", "f") +
                            " >> >> /F2 << /Subtype /Type1 >> >>");
    EXPECT_EQ(w.text, "/F1 <<\n/FontType 3\n<<\n>> T3AdjEnc\n/CharProcs <<\n"
                      "/.notdef {250 0 d0}\n/a { save\n restore }\n");
    ASSERT_EQ(w.reports.size(), 2U);
    EXPECT_TRUE(w.reports[0].ends_with(" 3 CORDATA: Wrong character in hex stream"));
    EXPECT_EQ(w.reports[1], "ZOLAK:258 4 FILTER: Error uncompressing stream data.");
}

TEST(Type3Font, AGlyphWithoutItsEndMarkIsAFaultThatTheFontSurvives)
{
    Written w = defineFonts("<< /F1 << /Subtype /Type3 /CharProcs << /a " +
                            stream("/Filter /ASCIIHexDecode", "66") + " >> >> >>");
    EXPECT_EQ(w.text, "/F1 <<\n/FontType 3\n<<\n>> T3AdjEnc\n/CharProcs <<\n"
                      "/.notdef {250 0 d0}\n/a { save\nf restore }\n>>\nT3DefFnct\n"
                      ">> definefont pop\n");
    EXPECT_EQ(w.reports,
              Texts{"ZOLAK:270 3 FILTER: Stream data ended before its end-of-data mark."});
}
