/*
 * functions_run_test.cpp - written functions, run in a PostScript interpreter
 *
 * Each function is written by the converter, run behind the product's own prolog at a grid of
 * inputs that has samples, midpoints and places outside the domain among them, and compared with
 * values that are worked out from the samples here.
 */
#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <sstream>

#include "tests/support/run_program.h"
#include "tests/support/test_instance.h"
#include "tools/zolak1_3/pdf_to_ps/functions.h"

namespace {

/* A function and its samples, every output of a position together. */
struct Sampled {
    int bits;
    int outputs;
    std::vector<int> sizes;
    std::vector<double> domain;
    std::vector<double> range; /* the first pair counts */
    std::vector<uint64_t> samples;

    double steps() const { return std::pow(2.0, bits); }
};

/* Samples that repeat nowhere near: a small generator of its own. */
std::vector<uint64_t> makeSamples(int bits, size_t count)
{
    std::vector<uint64_t> samples;
    uint64_t state = 88172645463325252U + (uint64_t)bits;
    for (size_t i = 0; i < count; i++) {
        state ^= state << 13;
        state ^= state >> 7;
        state ^= state << 17;
        samples.push_back(state >> (64 - bits));
    }
    samples[0] = 0;
    samples[1] = (uint64_t)(std::pow(2.0, bits) - 1);
    return samples;
}

Sampled makeFunction(int bits, int outputs, std::vector<int> sizes)
{
    Sampled f = {bits, outputs, sizes, {-1, 2}, {-0.5, 1.5}, {}};
    size_t count = (size_t)outputs;
    for (int size : sizes)
        count *= (size_t)size;
    if (sizes.size() == 2)
        f.domain.insert(f.domain.end(), {0, 4});
    for (int i = 1; i < outputs; i++)
        f.range.insert(f.range.end(), {0.0, 7.0});
    f.samples = makeSamples(bits, count);
    return f;
}

/* The samples as the document holds them: high bit first, without gaps. */
std::string packed(const Sampled &f)
{
    std::string bytes;
    int filled = 0;
    for (uint64_t sample : f.samples)
        for (int bit = f.bits - 1; bit >= 0; bit--) {
            if (filled == 0)
                bytes += '\0';
            bytes.back() = (char)(bytes.back() << 1 | (int)(sample >> bit & 1));
            filled = (filled + 1) % 8;
        }
    if (filled)
        bytes.back() = (char)(bytes.back() << (8 - filled));
    return bytes;
}

template <typename T> std::string listed(const std::vector<T> &values)
{
    std::ostringstream text;
    for (T value : values)
        text << value << " ";
    return "[" + text.str() + "]";
}

std::string hexadecimal(const std::string &bytes)
{
    std::string text;
    char pair[3];
    for (char byte : bytes) {
        snprintf(pair, sizeof pair, "%02X", (unsigned)(unsigned char)byte);
        text += pair;
    }
    return text + ">";
}

/* The function's text, as the converter writes it. */
std::string writtenFunction(const Sampled &f, bool filtered)
{
    std::string data = filtered ? hexadecimal(packed(f)) : packed(f);
    TestInstance test("<< /FunctionType 0 /BitsPerSample " + std::to_string(f.bits) + " /Size " +
                      listed(f.sizes) + " /Domain " + listed(f.domain) + " /Range " +
                      listed(f.range) + (filtered ? " /Filter /ASCIIHexDecode" : "") + " /Length " +
                      std::to_string(data.size()) + " >>\nstream\n" + data + "\nendstream ");
    StreamPtr stream = readStream(test.inst);
    if (f.sizes.size() == 1)
        WriteSampledFunction1(test.inst, stream.get());
    else
        WriteSampledFunction2(test.inst, stream.get());
    EXPECT_EQ(test.controller.takeTexts(), std::vector<std::string>{});
    return test.written();
}

/* Runs the function at each of the inputs and answers what it leaves on the stack. */
std::vector<std::vector<double>> runFunction(const std::string &function,
                                             const std::vector<std::vector<double>> &inputs)
{
    ScratchDirectory directory;
    std::string program = readFile(PROLOG_FILE) + "\n" + function + "/TheFunction exch def\n";
    for (const std::vector<double> &input : inputs) {
        std::ostringstream call;
        call.precision(9);
        for (double value : input)
            call << value << " ";
        program += "mark " + call.str() +
                   "TheFunction ] { =string cvs print ( ) print } forall "
                   "(\\n) print\n";
    }
    std::string path = directory.write("run.ps", program + "(stack ) print count = flush quit\n");
    ProgramResult result =
        runProgram({"gs", "-q", "-dSAFER", "-dBATCH", "-dNOPAUSE", "-sDEVICE=nullpage", path});
    EXPECT_EQ(result.status, 0) << result.out << result.err;
    std::vector<std::vector<double>> values;
    std::istringstream lines(result.out);
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with("stack")) {
            EXPECT_EQ(line, "stack 0") << "nothing is left behind";
            continue;
        }
        std::istringstream words(line);
        values.emplace_back();
        for (double value; words >> value;)
            values.back().push_back(value);
    }
    return values;
}

double sampleAt(const Sampled &f, int x, int y, int output)
{
    size_t position = (size_t)x + (f.sizes.size() == 2 ? (size_t)(y * f.sizes[0]) : 0);
    return (double)f.samples[position * (size_t)f.outputs + (size_t)output];
}

double indexOf(double x, double low, double high, int size)
{
    return std::clamp((x - low) / (high - low) * (size - 1), 0.0, size - 1.0);
}

double mix(double a, double b, double fraction)
{
    return a + (b - a) * fraction;
}

/* The value before it is rounded: interpolated, then decoded into the first range pair. */
double expectedValue(const Sampled &f, const std::vector<double> &input, int output)
{
    double sample;
    if (f.sizes.size() == 1) {
        double i = indexOf(input[0], f.domain[0], f.domain[1], f.sizes[0]);
        double low = std::floor(i);
        sample = mix(sampleAt(f, (int)low, 0, output), sampleAt(f, (int)std::ceil(i), 0, output),
                     i - low);
    } else {
        /* The first input is nudged up by one step. */
        double x = std::min(input[0] + 1 / f.steps(), f.domain[1]);
        double i = indexOf(x, f.domain[0], f.domain[1], f.sizes[0]);
        double j = indexOf(input[1], f.domain[2], f.domain[3], f.sizes[1]);
        double left = std::floor(i), below = std::floor(j);
        auto along = [&](double column) {
            return mix(sampleAt(f, (int)column, (int)below, output),
                       sampleAt(f, (int)column, (int)std::ceil(j), output), j - below);
        };
        sample = mix(along(left), along(std::ceil(i)), i - left);
    }
    return sample / (f.steps() - 1) * (f.range[1] - f.range[0]) + f.range[0];
}

/* Equal to the value rounded to steps of 1/2^bits; on the edge between two steps, where single
 * precision decides, either of them. */
void expectRounded(const Sampled &f, double actual, double exact, const std::string &where)
{
    double rounded = std::floor(exact * f.steps() + 0.5) / f.steps();
    double slack = 4e-7 * f.steps(); /* what single precision loses, in steps */
    double edge = std::abs(exact * f.steps() + 0.5 - std::round(exact * f.steps() + 0.5));
    double tolerance = 6e-6 + /* six digits are printed */
                       (edge <= slack + 1e-4 ? (1 + std::ceil(slack)) / f.steps() : 0) +
                       slack / f.steps();
    EXPECT_NEAR(actual, rounded, tolerance) << where;
}

std::vector<std::vector<double>> grid1()
{
    std::vector<std::vector<double>> inputs;
    for (double x = -1.25; x <= 2.3; x += 0.09375) /* quarters, halves and eighths of a sample */
        inputs.push_back({x});
    return inputs;
}

void checkFunction(const Sampled &f, const std::vector<std::vector<double>> &inputs,
                   bool filtered = false)
{
    auto values = runFunction(writtenFunction(f, filtered), inputs);
    ASSERT_EQ(values.size(), inputs.size());
    for (size_t i = 0; i < inputs.size(); i++) {
        ASSERT_EQ(values[i].size(), (size_t)f.outputs);
        for (int output = 0; output < f.outputs; output++)
            expectRounded(f, values[i][(size_t)output], expectedValue(f, inputs[i], output),
                          std::to_string(f.bits) + " bits, input " + listed(inputs[i]) +
                              ", output " + std::to_string(output));
    }
}

} // namespace

class FunctionOfWidth : public testing::TestWithParam<int> {};

TEST_P(FunctionOfWidth, OneInputOneOutputInterpolatesBetweenItsSamples)
{
    checkFunction(makeFunction(GetParam(), 1, {9}), grid1());
}

TEST_P(FunctionOfWidth, OneInputSeveralOutputsAllUseTheFirstRangePair)
{
    checkFunction(makeFunction(GetParam(), 2, {5}), grid1());
    checkFunction(makeFunction(GetParam(), 3, {5}), grid1());
    checkFunction(makeFunction(GetParam(), 4, {2}), grid1());
}

TEST_P(FunctionOfWidth, TwoInputsNudgeTheFirstByOneStep)
{
    std::vector<std::vector<double>> inputs;
    for (double x = -1.5; x <= 2.5; x += 0.25)
        for (double y = -0.5; y <= 4.5; y += 0.5)
            inputs.push_back({x, y});
    checkFunction(makeFunction(GetParam(), 1, {4, 3}), inputs);
    checkFunction(makeFunction(GetParam(), 1, {3, 5}), inputs, true);
}

TEST_P(FunctionOfWidth, FilteredSamplesGiveTheSameValues)
{
    checkFunction(makeFunction(GetParam(), 3, {7}), grid1(), true);
}

/* 32-bit samples are exempt: their scale is held to the largest integer. */
INSTANTIATE_TEST_SUITE_P(AllButThirtyTwoBits, FunctionOfWidth,
                         testing::Values(1, 2, 4, 8, 12, 16, 24));

TEST(FunctionRun, ASingleSampleIsConstant)
{
    Sampled f = makeFunction(8, 2, {2});
    f.sizes = {1};
    f.samples = {200, 100};
    checkFunction(f, {{-5}, {0}, {0.3}, {9}});
}
