/*
 * function_test.cpp - values of functions against values worked out by hand, and hostile ones
 */
#include <gtest/gtest.h>

#include "prepare/model/function.h"
#include "prepare/model/space.h"

using namespace prepare;

namespace {

using Numbers = std::vector<double>;

QPDFObjectHandle stream(QPDF *pdf, const std::string &entries, const std::string &data)
{
    QPDFObjectHandle made = QPDFObjectHandle::newStream(pdf, data);
    for (auto &[key, value] : QPDFObjectHandle::parse("<<" + entries + ">>").getDictAsMap())
        made.getDict().replaceKey(key, value);
    return made;
}

Numbers valuesOf(const FunctionPtr &function, const Numbers &inputs)
{
    if (!function)
        return {};
    Numbers outputs(outputsOf(*function));
    evaluate(*function, inputs, outputs);
    return outputs;
}

Numbers valuesOf(const std::string &text, const Numbers &inputs)
{
    return valuesOf(readFunction(QPDFObjectHandle::parse(text)), inputs);
}

void expectNear(const Numbers &values, const Numbers &expected)
{
    ASSERT_EQ(values.size(), expected.size());
    for (size_t i = 0; i < values.size(); i++)
        EXPECT_NEAR(values[i], expected[i], 1e-6) << "output " << i;
}

/* What the program leaves, of `count` outputs between -10000 and 10000. */
Numbers computed(const std::string &program, const Numbers &inputs, size_t count = 1)
{
    Numbers domain, range;
    for (size_t i = 0; i < inputs.size(); i++)
        domain.insert(domain.end(), {-10000, 10000});
    for (size_t i = 0; i < count; i++)
        range.insert(range.end(), {-10000, 10000});
    return valuesOf(readCalculator(program, domain, range), inputs);
}

Numbers deviceValues(const std::string &space, const Numbers &values)
{
    SpacePtr read = readSpace({}, QPDFObjectHandle::parse(space));
    if (!read)
        return {};
    DeviceColour colour = toDevice(*read, values);
    return Numbers(colour.values.begin(), colour.values.begin() + (long)colour.components);
}

} // namespace

TEST(Functions, ExponentialRunsFromC0ToC1)
{
    std::string cube = "<</FunctionType 2 /Domain [0 1] /N 3 /C0 [0 1] /C1 [1 0.2]>>";
    expectNear(valuesOf(cube, {0}), {0, 1});
    expectNear(valuesOf(cube, {0.5}), {0.125, 0.9});
    expectNear(valuesOf(cube, {7}), {1, 0.2}); /* held within the domain */
    expectNear(valuesOf("<</FunctionType 2 /Domain [0 1] /N 1>>", {0.3}), {0.3});
}

TEST(Functions, StitchedTakesThePartOfItsBounds)
{
    std::string text = "<</FunctionType 3 /Domain [0 1] /Bounds [0.25] /Encode [0 1 1 0] /Functions"
                       "[<</FunctionType 2 /Domain [0 1] /N 1 /C0 [0] /C1 [0.5]>>"
                       " <</FunctionType 2 /Domain [0 1] /N 1 /C0 [0] /C1 [1]>>]>>";
    expectNear(valuesOf(text, {0.125}), {0.25});
    expectNear(valuesOf(text, {0.25}), {1}); /* the second part, backwards */
    expectNear(valuesOf(text, {0.625}), {0.5});
    expectNear(valuesOf(text, {1}), {0});
}

TEST(Functions, SampledInterpolatesBetweenItsSamples)
{
    QPDF pdf;
    pdf.emptyPDF();
    std::string entries = "/FunctionType 0 /Domain [0 1] /Range [0 1 0 1] /Size [3] "
                          "/BitsPerSample 8";
    FunctionPtr f = readFunction(stream(&pdf, entries, std::string("\0\xFF\x33\x66\xFF\0", 6)));
    expectNear(valuesOf(f, {0}), {0, 1});
    expectNear(valuesOf(f, {0.25}), {0.1, 0.7});
    expectNear(valuesOf(f, {1}), {1, 0});
    /* Two inputs, four bits: rows of 0, 15 and 15, 0. */
    entries = "/FunctionType 0 /Domain [0 1 0 2] /Range [0 30] /Size [2 2] /BitsPerSample 4";
    f = readFunction(stream(&pdf, entries, "\x0F\xF0"));
    expectNear(valuesOf(f, {0, 0}), {0});
    expectNear(valuesOf(f, {1, 0}), {30});
    expectNear(valuesOf(f, {1, 2}), {0});
    expectNear(valuesOf(f, {0.5, 1}), {15});
    expectNear(valuesOf(f, {0.25, 0}), {7.5});
    /* Twelve bits, encoded backwards. */
    entries = "/FunctionType 0 /Domain [0 1] /Range [0 4095] /Size [2] /BitsPerSample 12 "
              "/Encode [1 0]";
    f = readFunction(stream(&pdf, entries, std::string("\x00\x1F\xFF", 3)));
    expectNear(valuesOf(f, {0}), {4095});
    expectNear(valuesOf(f, {1}), {1});
}

TEST(Functions, SamplesThatAreMissingAreZero)
{
    QPDF pdf;
    pdf.emptyPDF();
    std::string entries = "/FunctionType 0 /Domain [0 1] /Range [0 1] /BitsPerSample 8 /Size ";
    expectNear(valuesOf(readFunction(stream(&pdf, entries + "[1000000000]", "\xFF")), {1}), {0});
    for (const char *size : {"[0]", "[-4]", "[99999999999999999999.0]", "[]", "3", "[null]"})
        EXPECT_EQ(readFunction(stream(&pdf, entries + size, "\xFF")), nullptr) << size;
    std::string all = "[";
    for (int i = 0; i < 8; i++)
        all += " 1000";
    entries = "/FunctionType 0 /Domain [0 1 0 1 0 1 0 1 0 1 0 1 0 1 0 1] /Range [0 1] "
              "/BitsPerSample 8 /Size ";
    EXPECT_EQ(readFunction(stream(&pdf, entries + all + "]", "\xFF")), nullptr);
}

TEST(Functions, ComputedByEachOperator)
{
    for (auto [program, value] : {std::pair<const char *, double>{"{ 3 4 add }", 7},
                                  {"{ 3 4 sub }", -1},
                                  {"{ 3 4 mul }", 12},
                                  {"{ 3 4 div }", 0.75},
                                  {"{ -7 2 idiv }", -3},
                                  {"{ -7 2 mod }", -1},
                                  {"{ -7.5 abs }", 7.5},
                                  {"{ 3.2 neg }", -3.2},
                                  {"{ -3.5 ceiling }", -3},
                                  {"{ -3.5 floor }", -4},
                                  {"{ -3.5 round }", -3},
                                  {"{ 3.5 round }", 4},
                                  {"{ -3.5 truncate }", -3},
                                  {"{ 3.9 cvi }", 3},
                                  {"{ 9 sqrt }", 3},
                                  {"{ 30 sin }", 0.5},
                                  {"{ 60 cos }", 0.5},
                                  {"{ 90 cos }", 0},
                                  {"{ -1 0 atan }", 270},
                                  {"{ 2 10 exp }", 1024},
                                  {"{ 100 log }", 2},
                                  {"{ 1 ln }", 0},
                                  {"{ 5 3 and }", 1},
                                  {"{ 5 3 or }", 7},
                                  {"{ 5 3 xor }", 6},
                                  {"{ 5 not }", -6},
                                  {"{ 1 4 bitshift }", 16},
                                  {"{ 16 -4 bitshift }", 1},
                                  {"{ 1 2 lt { 5 } { 6 } ifelse }", 5},
                                  {"{ 1 2 ge { 5 } { 6 } ifelse }", 6},
                                  {"{ 8 true false or not { 9 } if }", 8},
                                  {"{ 8 1 1 eq 2 2 ne not and { 9 } if }", 9},
                                  {"{ 1 2 exch pop }", 2},
                                  {"{ 1 2 3 2 index }", 1},
                                  {"{ 1 2 3 3 1 roll }", 2},
                                  {"{ 1 2 3 3 -1 roll }", 1},
                                  {"{ 4 dup mul % a square\n }", 16}}) {
        SCOPED_TRACE(program);
        expectNear(computed(program, {}), {value});
    }
    expectNear(computed("{ 2 copy add 3 1 roll sub }", {5, 3}, 2), {8, 2});
    expectNear(computed("{ 360 mul sin 2 div exch 360 mul sin 2 div add }", {0.25, 0.75}), {0});
}

TEST(Functions, FaultyProgramsEnd)
{
    EXPECT_EQ(computed("{ 1 0 div }", {}), Numbers{0});
    EXPECT_EQ(computed("{ 1 0 idiv }", {}), Numbers{0});
    EXPECT_EQ(computed("{ add }", {}), Numbers{0});
    EXPECT_EQ(computed("{ 5 -1 copy }", {}), Numbers{5});
    EXPECT_EQ(computed("{ 5 1e9 index }", {}), Numbers{5});
    EXPECT_EQ(computed("{ 1 2 2 1e9 roll }", {}), Numbers{2});
    std::string deep = "{ 1", unclosed;
    for (int i = 0; i < 200; i++)
        deep += " dup";
    EXPECT_EQ(computed(deep + " }", {}), Numbers{1}); /* more than the stack holds */
    for (int i = 0; i < 100000; i++)
        unclosed += "{";
    for (const std::string &program :
         {std::string(""), std::string("{"), std::string("1 }"), std::string("{ { 1 } }"),
          std::string("{ { 1 } { 2 } if }"), std::string("{ true { 1 } { 2 } if }"),
          std::string("{ foo }"), std::string("{ 1 } { def }} {"), unclosed})
        if (program.rfind("{ 1 }", 0) != 0) {
            EXPECT_EQ(computed(program, {}), Numbers{}) << program.substr(0, 40);
        }
    std::string longer = "{";
    for (int i = 0; i < 100001; i++)
        longer += " 1 pop";
    EXPECT_EQ(computed(longer + "}", {}), Numbers{});
}

TEST(Functions, FunctionsWithinThemselvesAreRefused)
{
    QPDF pdf;
    pdf.emptyPDF();
    QPDFObjectHandle loop = pdf.makeIndirectObject(QPDFObjectHandle::parse(
        "<</FunctionType 3 /Domain [0 1] /Bounds [0.5] /Encode [0 1 0 1]>>"));
    loop.replaceKey("/Functions", QPDFObjectHandle::newArray({loop, loop}));
    EXPECT_EQ(readFunction(loop), nullptr);
    /* Not within itself, but eight levels of two hundred each. */
    QPDFObjectHandle part =
        QPDFObjectHandle::parse("<</FunctionType 2 /Domain [0 1] /C0 [0] /C1 [1] /N 1>>");
    for (int level = 0; level < 7; level++) {
        QPDFObjectHandle outer =
            QPDFObjectHandle::parse("<</FunctionType 3 /Domain [0 1] /Bounds [] /Encode []>>");
        outer.replaceKey("/Functions",
                         QPDFObjectHandle::newArray(std::vector<QPDFObjectHandle>(200, part)));
        part = pdf.makeIndirectObject(outer);
    }
    EXPECT_EQ(readFunction(part), nullptr);
}

TEST(Functions, ArraysStandOneBehindTheOther)
{
    std::string ramp = "<</FunctionType 2 /Domain [0 1] /C0 [0] /C1 [1] /N 1>>";
    std::string back = "<</FunctionType 2 /Domain [0 1] /C0 [1] /C1 [0] /N 1>>";
    expectNear(valuesOf("[" + ramp + back + ramp + "]", {0.2}), {0.2, 0.8, 0.2});
    EXPECT_EQ(valuesOf("[]", {0.2}), Numbers{});
    EXPECT_EQ(valuesOf("[" + ramp + " 7]", {0.2}), Numbers{});
}

TEST(Spaces, ComeDownToDeviceColours)
{
    std::string half = "<</FunctionType 2 /Domain [0 1] /C0 [0 0 0 0] /C1 [0 1 0.5 0] /N 1>>";
    expectNear(deviceValues("/DeviceCMYK", {0.1, 2, -1, 0.5}), {0.1, 1, 0, 0.5});
    expectNear(deviceValues("[/Separation /Spot /DeviceCMYK " + half + "]", {0.5}),
               {0, 0.5, 0.25, 0});
    expectNear(deviceValues("[/Indexed /DeviceRGB 1 <FF0000 3300FF>]", {1}), {0.2, 0, 1});
    expectNear(deviceValues("[/Indexed /DeviceRGB 1 <FF0000 3300FF>]", {99}), {0.2, 0, 1});
    expectNear(deviceValues("[/Pattern [/DeviceRGB]]", {0.1, 0.2, 0.3}), {0.1, 0.2, 0.3});
    expectNear(deviceValues("[/Separation /Spot /DeviceCMYK null]", {0.25}), {0.75});
}

TEST(Spaces, CieColoursByFormula)
{
    /* The primaries and white of sRGB, and its gamma nearly: the colour comes out as it was. */
    std::string srgb = "[/CalRGB <</WhitePoint [0.9505 1 1.089] /Gamma [2.2 2.2 2.2] /Matrix "
                       "[0.4124 0.2126 0.0193 0.3576 0.7152 0.1192 0.1805 0.0722 0.9505]>>]";
    Numbers orange = deviceValues(srgb, {1, 0.5, 0});
    ASSERT_EQ(orange.size(), 3u);
    EXPECT_NEAR(orange[0], 1, 0.005);
    EXPECT_NEAR(orange[1], 0.5, 0.005);
    EXPECT_NEAR(orange[2], 0, 0.005);
    /* Lab: white, black, and the red of sRGB, which is (53.2, 80.1, 67.2). */
    std::string lab = "[/Lab <</WhitePoint [0.9505 1 1.089] /Range [-128 127 -128 127]>>]";
    for (auto [values, expected] : {std::pair<Numbers, Numbers>{{100, 0, 0}, {1, 1, 1}},
                                    {{0, 0, 0}, {0, 0, 0}},
                                    {{53.24, 80.09, 67.2}, {1, 0, 0}}}) {
        Numbers rgb = deviceValues(lab, values);
        ASSERT_EQ(rgb.size(), 3u);
        for (size_t i = 0; i < 3; i++)
            EXPECT_NEAR(rgb[i], expected[i], 0.01);
    }
    expectNear(deviceValues("[/CalGray <</WhitePoint [1 1 1] /Gamma 1>>]", {0.2140411}), {0.5});
}

TEST(Spaces, SpacesWithinThemselvesAreNone)
{
    QPDF pdf;
    pdf.emptyPDF();
    QPDFObjectHandle loop = pdf.makeIndirectObject(QPDFObjectHandle::parse("[/Pattern]"));
    loop.appendItem(loop);
    ASSERT_NE(readSpace({}, loop), nullptr); /* a pattern space; its base is too deep to count */
    EXPECT_EQ(readSpace({}, QPDFObjectHandle::parse("[/Indexed [/Indexed /DeviceGray 1 <00FF>] "
                                                    "1 <0001>]")),
              nullptr);
    EXPECT_EQ(readSpace({}, QPDFObjectHandle::parse("[/DeviceN [] /DeviceGray null]")), nullptr);
    EXPECT_EQ(readSpace({}, QPDFObjectHandle::parse("7")), nullptr);
}
