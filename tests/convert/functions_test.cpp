/*
 * functions_test.cpp - sampled functions as PostScript, byte for byte
 */
#include "tools/zolak1_3/pdf_to_ps/writer/functions.h"

#include <gtest/gtest.h>

#include "tests/support/test_instance.h"

namespace {

using Texts = std::vector<std::string>;

struct Written {
    std::string text;
    Texts reports;
};

std::string functionStream(const std::string &entries, const std::string &data)
{
    return "<< " + entries + " /Length " + std::to_string(data.size()) + " >>\nstream\n" + data +
           "\nendstream ";
}

Written writeFunction(const std::string &entries, int inputs = 1, const std::string &data = "ab")
{
    TestInstance test(functionStream(entries, data));
    StreamPtr stream = readStream(test.run);
    if (inputs == 1)
        WriteSampledFunction1(test.run, stream.get());
    else
        WriteSampledFunction2(test.run, stream.get());
    return {test.written(), test.controller.takeTextsWithLines()};
}

/* The lines from the one that is `first` to the one that is `last`. */
std::string between(const std::string &text, const std::string &first, const std::string &last)
{
    size_t from = text.find(first);
    size_t to = text.find(last, from);
    return from == std::string::npos || to == std::string::npos
               ? "(not found in) " + text
               : text.substr(from, to + last.size() - from);
}

std::string withBits(int bits, const std::string &range = "[0 1]")
{
    return "/FunctionType 0 /BitsPerSample " + std::to_string(bits) +
           " /Size [4] /Domain [0 1] /Range " + range;
}

std::string with2Bits(int bits)
{
    return "/FunctionType 0 /BitsPerSample " + std::to_string(bits) +
           " /Size [4 3] /Domain [-1 1 0 2] /Range [0 1]";
}

const Texts INVALID1 = {"ZOLAK:2517 4 BADFNCT: PDF attempted to define invalid function."};
const Texts INVALID2 = {"ZOLAK:2702 4 BADFNCT: PDF attempted to define invalid function."};
const Texts BAD_ARRAY = {"ZOLAK:2335 4 BADFNCT: Invalid array used to define PDF function."};

} // namespace

TEST(Function1, OneOutputOfEightBits)
{
    Written w = writeFunction("/FunctionType 0 /BitsPerSample 8 /Size [256] /Domain [0 1] "
                              "/Range [0 1]",
                              1, "\x01)x");
    EXPECT_EQ(w.reports, Texts{});
    EXPECT_EQ(w.text, "currentfile\n"
                      "3 string readstring\n"
                      "\x01)x\n"
                      "pop\n"
                      "20 dict begin\n"
                      "/local-dict currentdict def\n"
                      "/Sample exch def\n"
                      "{\t//local-dict begin\n"
                      "\t/_x exch def\n"
                      "\t/_i _x \n"
                      "\tdup 1 ge {pop 255}\n"
                      "\t\t{dup 0 le {pop 0}\n"
                      "\t\t\t{-0 add 1 div 255 mul \n"
                      "\t\t\t} ifelse\n"
                      "\t\t} ifelse\n"
                      "\tdef\n"
                      "\t/xmin _i cvi def\n"
                      "\t/xmax _i ceiling cvi def\n"
                      "\t/f1\n"
                      "\txmin xmax eq\n"
                      "\t\t{{xmin f2}}\n"
                      "\t\t{{\n"
                      "\t\t[ xmin f2 xmax f2\n"
                      "\t\t0 1 0 { dup 3 index exch get exch 3 index exch get\n"
                      "\t\t\t_i xmin xmax 5 3 roll int\n"
                      "\t\t3 1 roll } for pop pop ]\n"
                      "\t\t}} ifelse\n"
                      "\tdef\n"
                      "\t/f2\n"
                      "\t{/px exch def [\n"
                      "\t 0 255 px limit 8 mul 1 { dup\n"
                      "dup 7 and exch -3 bitshift\n"
                      "         //Sample exch get exch 0 sub bitshift 255 and exch 8 add } repeat "
                      "pop ] } def\n"
                      "\t/rnd { 256 mul 0.5 add floor 256 div } def\n"
                      "\tf1 aload pop \n"
                      "\tdup 255 ge {pop 1}\n"
                      "\t\t{dup 0 le {pop 0}\n"
                      "\t\t\t{255 div 1 mul -0 sub \n"
                      "\t\t\t} ifelse\n"
                      "\t\t} ifelse\n"
                      "\trnd\n"
                      "      1 1 roll\n"
                      "\tend\n"
                      "} bind end\n");
}

TEST(Function1, EveryOutputIsDecodedIntoTheFirstRange)
{
    Written w = writeFunction(withBits(8, "[-1 0.5 0 1 0 100]"));
    EXPECT_EQ(w.reports, Texts{});
    const std::string block = "\tdup 255 ge {pop 0.5}\n"
                              "\t\t{dup 0 le {pop -1}\n"
                              "\t\t\t{255 div 1.5 mul 1 sub \n"
                              "\t\t\t} ifelse\n"
                              "\t\t} ifelse\n"
                              "\trnd\n"
                              "      3 1 roll\n";
    EXPECT_TRUE(
        w.text.ends_with("\tf1 aload pop \n" + block + block + block + "\tend\n} bind end\n"));
    EXPECT_NE(w.text.find("\t\t0 1 2 { dup 3 index exch get exch 3 index exch get\n"),
              std::string::npos);
    EXPECT_NE(w.text.find("\t 0 3 px limit 24 mul 3 { dup\n"), std::string::npos);
}

TEST(Function1, TheIndexIsScaledFromTheDomain)
{
    Written w = writeFunction("/FunctionType 0 /BitsPerSample 8 /Size [11] /Domain [-2 3.5] "
                              "/Range [0 1]");
    EXPECT_EQ(between(w.text, "\t/_i _x \n", "\tdef\n"), "\t/_i _x \n"
                                                         "\tdup 3.5 ge {pop 10}\n"
                                                         "\t\t{dup -2 le {pop 0}\n"
                                                         "\t\t\t{2 add 5.5 div 10 mul \n"
                                                         "\t\t\t} ifelse\n"
                                                         "\t\t} ifelse\n"
                                                         "\tdef\n");
}

TEST(Function1, SamplesOfUpToEightBits)
{
    for (int bits : {1, 2, 4}) {
        Written w = writeFunction(withBits(bits, "[0 1 0 1]"));
        int maximum = 1 << bits;
        EXPECT_EQ(between(w.text, "\t 0 3 px", "} def\n"),
                  "\t 0 3 px limit " + std::to_string(2 * bits) +
                      " mul 2 { dup\ndup 7 and exch -3 bitshift\n         //Sample exch get exch " +
                      std::to_string(8 - bits) + " sub bitshift " + std::to_string(maximum - 1) +
                      " and exch " + std::to_string(bits) + " add } repeat pop ] } def\n");
    }
}

TEST(Function1, SamplesOfTwelveBits)
{
    Written w = writeFunction(withBits(12));
    EXPECT_EQ(between(w.text, "\t 0 3 px", "} def  \n"),
              "\t 0 3 px limit 12 mul 1 { dup\n"
              "dup 7 and /bit-offset exch def -3 bitshift /byte-offset exch def\n"
              "   //Sample byte-offset get //Sample byte-offset 1 add get\n"
              "bit-offset 0 eq\n"
              "           {-4 bitshift exch 4 bitshift or}\n"
              "           {exch 15 and 8 bitshift or} ifelse \n"
              "         exch 12 add} repeat pop\n"
              "    ] } def  \n");
    EXPECT_NE(w.text.find("\t/rnd { 4096 mul 0.5 add floor 4096 div } def\n"), std::string::npos);
}

TEST(Function1, SamplesOfWholeBytes)
{
    const std::pair<int, const char *> widths[] = {{16, "1"}, {24, "2"}, {32, "3"}, {20, "3"}};
    for (const auto &[bits, last] : widths) {
        Written w = writeFunction(withBits(bits));
        EXPECT_EQ(between(w.text, "-3 bitshift /byte", "} def\n"),
                  std::string("-3 bitshift /byte-offset exch def\n0 0 1 ") + last +
                      " {byte-offset add //Sample exch get exch 8 bitshift or} for exch " +
                      std::to_string(bits) + " add} repeat pop ] } def\n");
    }
    EXPECT_NE(writeFunction(withBits(32)).text.find("\tdup 2147483646 ge {pop 1}\n"),
              std::string::npos)
        << "2^32 is held to the largest integer";
}

TEST(Function1, FilteredSamplesAreReadThroughTheFilter)
{
    Written w = writeFunction("/FunctionType 0 /BitsPerSample 12 /Size [5] /Domain [0 1] "
                              "/Range [0 1 0 1] /Filter /FlateDecode /DecodeParms << /K 1 >>",
                              1, "zz");
    EXPECT_TRUE(w.text.starts_with("currentfile\n<<\n/Filter /FlateDecode \n/DecodeParms <<\n"
                                   "/K 1 \n>>\n\n>> begin SetFilter end\n"
                                   "15 string readstring\nzz\npop\n"))
        << "ceil(5 * 2 * 12 / 8) bytes, decoded" << w.text;
}

TEST(Function1, KeysThatAreMissingOrWrongAreReported)
{
    const std::string good = withBits(8);
    ASSERT_EQ(writeFunction(good).reports, Texts{});
    const std::string bad[] = {
        "/BitsPerSample 8 /Size [4] /Domain [0 1] /Range [0 1]",
        "/FunctionType 2 /BitsPerSample 8 /Size [4] /Domain [0 1] /Range [0 1]",
        "/FunctionType 4 /BitsPerSample 8 /Size [4] /Domain [0 1] /Range [0 1]",
        "/FunctionType /X /BitsPerSample 8 /Size [4] /Domain [0 1] /Range [0 1]",
        "/FunctionType 0 /Size [4] /Domain [0 1] /Range [0 1]",
        "/FunctionType 0 /BitsPerSample 8.0 /Size [4] /Domain [0 1] /Range [0 1]",
        "/FunctionType 0 /BitsPerSample 8 /Domain [0 1] /Range [0 1]",
        "/FunctionType 0 /BitsPerSample 8 /Size 4 /Domain [0 1] /Range [0 1]",
        "/FunctionType 0 /BitsPerSample 8 /Size [4] /Range [0 1]",
        "/FunctionType 0 /BitsPerSample 8 /Size [4] /Domain [0 1]",
        "/FunctionType 0 /BitsPerSample 8 /Size [4] /Domain [0 1] /Range []",
    };
    for (const std::string &entries : bad) {
        Written w = writeFunction(entries);
        EXPECT_EQ(w.reports, INVALID1) << entries;
        EXPECT_EQ(w.text, "") << entries;
    }
}

TEST(Function1, ArraysOfTheWrongLengthAreReported)
{
    const std::string bad[] = {
        "/FunctionType 0 /BitsPerSample 8 /Size [4 4] /Domain [0 1] /Range [0 1]",
        "/FunctionType 0 /BitsPerSample 8 /Size [4] /Domain [0] /Range [0 1]",
        "/FunctionType 0 /BitsPerSample 8 /Size [4] /Domain [0 1] /Range [0 1 0]",
        withBits(8) + " /Decode [0 1 0 1]",
        withBits(8) + " /Encode [0]",
    };
    for (const std::string &entries : bad) {
        Written w = writeFunction(entries);
        EXPECT_EQ(w.reports, BAD_ARRAY) << entries;
        EXPECT_EQ(w.text, "") << "nothing more is written for it";
    }
}

TEST(Function1, TheFirstFailureInTheOrderOfTheKeysEndsIt)
{
    EXPECT_EQ(
        writeFunction("/FunctionType 0 /BitsPerSample 8 /Size [4] /Domain [0] /Range [1]").reports,
        BAD_ARRAY);
    EXPECT_EQ(writeFunction("/FunctionType 3 /BitsPerSample 8 /Size [4 4] /Domain [0 1] "
                            "/Range [0 1]")
                  .reports,
              INVALID1);
    Written w = writeFunction("/FunctionType 0 /BitsPerSample 8 /Size [(4)] /Domain [0 1]");
    ASSERT_EQ(w.reports.size(), 1U);
    EXPECT_TRUE(w.reports[0].ends_with(" 4 NONUMBER: Couldn't read number from PDF file."));
}

TEST(Function1, OptionalKeysMayBeThereAndChangeNothing)
{
    Written plain = writeFunction(withBits(8, "[0 1 0 1]"));
    Written more = writeFunction(withBits(8, "[0 1 0 1]") +
                                 " /Decode [0 .5 0 .5] /Encode [0 2] /Order (not read)");
    EXPECT_EQ(more.reports, Texts{});
    EXPECT_EQ(more.text, plain.text);
    EXPECT_EQ(writeFunction(withBits(8) + " /Decode 5 /Encode /X").reports, Texts{})
        << "what is no array counts as absent";
}

TEST(Function1, ImpossibleSizesAreRefused)
{
    const std::string filter = " /Filter /FlateDecode";
    const std::string base = "/FunctionType 0 /BitsPerSample 8 /Domain [0 1] /Range [0 1] /Size ";
    EXPECT_EQ(writeFunction(base + "[2147483647]" + filter).reports, Texts{});
    EXPECT_EQ(writeFunction(base + "[2147483648]" + filter).reports, INVALID1);
    EXPECT_EQ(writeFunction(base + "[9999999999999999999999999999]" + filter).reports, INVALID1);
    EXPECT_EQ(writeFunction(base + "[9999999999999999999999999999]").reports, Texts{})
        << "without a filter the size is /Length";
    EXPECT_NE(writeFunction(base + "[-5]" + filter).text.find("-1 string readstring\n"),
              std::string::npos)
        << "a negative size becomes -1";
}

TEST(Function2, OneOutputOfEightBits)
{
    Written w = writeFunction("/FunctionType 0 /BitsPerSample 8 /Size [4 3] /Domain [-1 1 0 2] "
                              "/Range [-0.5 1]",
                              2, "abcdefghijkl");
    EXPECT_EQ(w.reports, Texts{});
    EXPECT_EQ(w.text, "currentfile\n"
                      "12 string readstring\n"
                      "abcdefghijkl\n"
                      "pop\n"
                      "20 dict begin\n"
                      "/local-dict currentdict def\n"
                      "/Sample exch def\n"
                      "{\t//local-dict begin\n"
                      "\t/_y exch def\n"
                      "\t1 256 div add dup 1 gt {pop 1} if /_x exch def\n"
                      "\t/_i _x \n"
                      "\tdup 1 ge {pop 3}\n"
                      "\t\t{dup -1 le {pop 0}\n"
                      "\t\t\t{1 add 2 div 3 mul \n"
                      "\t\t\t} ifelse\n"
                      "\t\t} ifelse\n"
                      "\tdef\n"
                      "\t/_j _y \n"
                      "\tdup 2 ge {pop 2}\n"
                      "\t\t{dup 0 le {pop 0}\n"
                      "\t\t\t{-0 add 2 div 2 mul \n"
                      "\t\t\t} ifelse\n"
                      "\t\t} ifelse\n"
                      "\tdef\n"
                      "\t/xmin _i cvi def\n"
                      "\t/xmax _i ceiling cvi def\n"
                      "\t/ymin _j cvi def\n"
                      "\t/ymax _j ceiling cvi def\n"
                      "\t/f1\n"
                      "\txmin xmax eq\n"
                      "\t\t{{xmin f2}}\n"
                      "\t\t{{\n"
                      "\t\t[ xmin f2 xmax f2\n"
                      "\t\t0 1 0 { dup 3 index exch get exch 3 index exch get\n"
                      "\t\t\t_i xmin xmax 5 3 roll int\n"
                      "\t\t3 1 roll } for pop pop ]\n"
                      "\t\t}} ifelse\n"
                      "\tdef\n"
                      "\t/f2\n"
                      "\tymin ymax eq\n"
                      "\t\t{{/px exch def ymin f3}}\n"
                      "\t\t{{/px exch def \n"
                      "\t\t[ ymin f3 ymax f3\n"
                      "\t\t0 1 0 { dup 3 index exch get exch 3 index exch get\n"
                      "\t\t\t_j ymin ymax 5 3 roll int\n"
                      "\t\t3 1 roll } for pop pop ]\n"
                      "\t\t}} ifelse\n"
                      "\tdef\n"
                      "\t/f3\n"
                      "\t{/py exch def [\n"
                      "\t 0 2 py limit 4 mul 0 3 px limit add 8 mul \n"
                      "dup 7 and exch -3 bitshift\n"
                      "         //Sample exch get exch 0 sub bitshift 255 and ] } def\n"
                      "\t/rnd { 256 mul 0.5 add floor 256 div } def\n"
                      "\tf1 aload pop \n"
                      "\tdup 255 ge {pop 1}\n"
                      "\t\t{dup 0 le {pop -0.5}\n"
                      "\t\t\t{255 div 1.5 mul 0.5 sub \n"
                      "\t\t\t} ifelse\n"
                      "\t\t} ifelse\n"
                      "\trnd\n"
                      "\tend\n"
                      "} bind end\n");
}

TEST(Function2, SamplesOfOtherWidths)
{
    EXPECT_EQ(between(writeFunction(with2Bits(4), 2).text, "\t 0 2 py", "} def\n"),
              "\t 0 2 py limit 4 mul 0 3 px limit add 4 mul \n"
              "dup 7 and exch -3 bitshift\n"
              "         //Sample exch get exch 4 sub bitshift 15 and ] } def\n");
    EXPECT_EQ(between(writeFunction(with2Bits(12), 2).text, "\t 0 2 py", "} def  \n"),
              "\t 0 2 py limit 4 mul 0 3 px limit add 12 mul \n"
              "dup 7 and /bit-offset exch def -3 bitshift /byte-offset exch def\n"
              "   //Sample byte-offset get //Sample byte-offset 1 add get\n"
              "bit-offset 0 eq\n"
              "           {-4 bitshift exch 4 bitshift or}\n"
              "           {exch 15 and 8 bitshift or} ifelse \n"
              "    ] } def  \n");
    EXPECT_EQ(between(writeFunction(with2Bits(16), 2).text, "-3 bitshift /byte", "] } def\n"),
              "-3 bitshift /byte-offset exch def\n"
              "0 0 1 1 {byte-offset add //Sample exch get exch 8 bitshift or} for ] } def\n");
}

TEST(Function2, FilteredSamplesTakeTheProductOfTheSizes)
{
    Written w = writeFunction(with2Bits(12) + " /Filter /LZWDecode", 2);
    EXPECT_NE(w.text.find("\n18 string readstring\n"), std::string::npos) << "4 * 3 * 12 / 8";
}

TEST(Function2, KeysThatAreMissingOrWrongAreReported)
{
    EXPECT_EQ(writeFunction("/FunctionType 2", 2).reports, INVALID2);
    EXPECT_EQ(writeFunction(withBits(8), 2).reports, BAD_ARRAY) << "one size for two inputs";
    EXPECT_EQ(writeFunction("/FunctionType 0 /BitsPerSample 8 /Size [2 2] /Domain [0 1 0 1] "
                            "/Range [0 1 0 1]",
                            2)
                  .reports,
              BAD_ARRAY)
        << "two outputs";
    EXPECT_EQ(writeFunction(with2Bits(8) + " /Encode [0 1]", 2).reports, BAD_ARRAY);
    EXPECT_EQ(writeFunction(with2Bits(8) + " /Encode [0 1 0 1] /Decode [0 1]", 2).reports, Texts{});
}

TEST(FunctionResource, IsNamedByPrefixAndSuffix)
{
    TestInstance test(functionStream(withBits(8), "ab"));
    DefineFunctionResource(test.run, "/GS0", "TR", 1);
    std::string text = test.written();
    EXPECT_TRUE(text.starts_with("/GS0TR currentfile\n"));
    EXPECT_TRUE(text.ends_with("} bind end\n/Function defineRes pop\n"));
}

TEST(FunctionResource, ANameIsLeftAlone)
{
    TestInstance test("/Identity ");
    DefineFunctionResource(test.run, "/GS0", "TR", 1);
    EXPECT_EQ(test.written(), "");
    EXPECT_EQ(test.controller.takeTexts(), Texts{});
}

TEST(FunctionResource, AFunctionThatFailsIsEmptyBetweenItsEnds)
{
    TestInstance test(functionStream("/FunctionType 4", "{ }"));
    DefineFunctionResource(test.run, "/GS0", "TR", 1);
    EXPECT_EQ(test.written(), "/GS0TR /Function defineRes pop\n");
}

TEST(FunctionNumbers, ExactlyTheExpectedCount)
{
    double numbers[3] = {9, 9, 9};
    TestInstance good("[1 -2.5 .5] ");
    EXPECT_TRUE(ReadFunctionNumbers(good.run, 3, numbers));
    EXPECT_EQ(numbers[0], 1.0);
    EXPECT_EQ(numbers[1], -2.5);
    EXPECT_EQ(numbers[2], 0.5);
    for (const char *input : {"[1 2] ", "[1 2 3 4] "}) {
        TestInstance bad(input);
        EXPECT_FALSE(ReadFunctionNumbers(bad.run, 3, numbers));
        EXPECT_EQ(bad.controller.takeTextsWithLines(), BAD_ARRAY);
        EXPECT_EQ(numbers[0], 1.0) << "nothing is filled";
    }
    TestInstance none("5 ");
    EXPECT_FALSE(ReadFunctionNumbers(none.run, 3, numbers));
    EXPECT_EQ(none.controller.takeTextsWithLines(),
              Texts{"ZOLAK:2331 4 out of memory: Out of memory"});
}

TEST(Function1, PowersOfTwoAreHeldToTheLargestInteger)
{
    const std::pair<int, const char *> maxima[] = {
        {0, "1"},           {30, "1073741824"},   {31, "2147483647"},
        {33, "2147483647"}, {1024, "2147483647"}, {2147483647, "2147483647"},
        {-1, "0"},          {-2147483647, "0"}};
    for (const auto &[bits, maximum] : maxima) {
        Written w = writeFunction(withBits(bits));
        EXPECT_EQ(w.reports, Texts{}) << bits;
        EXPECT_NE(w.text.find(std::string("\t/rnd { ") + maximum + " mul 0.5 add floor " + maximum +
                              " div } def\n"),
                  std::string::npos)
            << bits << w.text;
    }
    EXPECT_NE(writeFunction(withBits(31)).text.find("\tdup 2147483646 ge {pop 1}\n"),
              std::string::npos);
}

TEST(Function1, AFunctionTypeMayBeWrittenAsAReal)
{
    EXPECT_EQ(writeFunction("/FunctionType 0.0 /BitsPerSample 8 /Size [4] /Domain [0 1] /Range "
                            "[0 1]")
                  .reports,
              Texts{});
}

TEST(Function1, EqualEndsOfTheDomainArePrintedAsTheyAre)
{
    Written w = writeFunction("/FunctionType 0 /BitsPerSample 8 /Size [1] /Domain [0.5 0.5] "
                              "/Range [1 0]");
    EXPECT_EQ(w.reports, Texts{});
    EXPECT_EQ(between(w.text, "\t/_i _x \n", "\tdef\n"), "\t/_i _x \n"
                                                         "\tdup 0.5 ge {pop 0}\n"
                                                         "\t\t{dup 0.5 le {pop 0}\n"
                                                         "\t\t\t{-0.5 add 0 div 0 mul \n"
                                                         "\t\t\t} ifelse\n"
                                                         "\t\t} ifelse\n"
                                                         "\tdef\n");
    EXPECT_NE(w.text.find("\t\t\t{255 div -1 mul -1 sub \n"), std::string::npos);
}

TEST(Function2, ImpossibleSizesAreRefused)
{
    const std::string base = "/FunctionType 0 /BitsPerSample 8 /Domain [0 1 0 1] /Range [0 1] "
                             "/Filter /FlateDecode /Size ";
    EXPECT_NE(
        writeFunction(base + "[46340 46341]", 2).text.find("\n2147441940 string readstring\n"),
        std::string::npos);
    EXPECT_EQ(writeFunction(base + "[46341 46341]", 2).reports, INVALID2);
    EXPECT_EQ(writeFunction(base + "[99999999999999999999 99999999999999999999]", 2).reports,
              INVALID2);
}
