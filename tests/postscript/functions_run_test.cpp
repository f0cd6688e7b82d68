/*
 * functions_run_test.cpp - sampled functions as the converter writes them, run with the prolog's
 * `limit` and `int`, against values computed from the samples
 */
#include <cmath>
#include <gtest/gtest.h>

#include "tests/postscript/print_job.h"
#include "tests/support/conversion.h"
#include "tests/support/pdf_builder.h"

namespace {

/* One function: samples of all its outputs, position by position, the first input fastest. */
struct Sampled {
    int bits, outputs;
    std::vector<int> sizes;
    std::vector<double> domain;
    double low, high; /* the first pair of /Range, which holds for all outputs */
    std::vector<unsigned> samples;

    double maximum() const { return std::pow(2, bits) - 1; }
};

std::string packed(const Sampled &function)
{
    std::string data;
    int used = 8;
    for (unsigned sample : function.samples) {
        for (int bit = function.bits - 1; bit >= 0; bit--) {
            if (used == 8) {
                data += '\0';
                used = 0;
            }
            data.back() = (char)((unsigned)data.back() | (((sample >> bit) & 1) << (7 - used++)));
        }
    }
    return data +
           std::string(4, '\0'); /* wide samples are read byte by byte, beyond the last one */
}

/* What the written procedure must give: the position clamped into the samples, linear between
 * them, decoded with the first range, in steps of 1 / 2^bits. */
double expected(const Sampled &f, double x, double y, int output)
{
    auto position = [&f](int axis, double value) {
        double low = f.domain[2 * (size_t)axis], high = f.domain[2 * (size_t)axis + 1];
        int last = f.sizes[(size_t)axis] - 1;
        return value >= high ? last : value <= low ? 0 : (value - low) / (high - low) * last;
    };
    if (f.sizes.size() == 2) /* the first input is moved up by one step and capped */
        x = std::min(x + 1 / std::pow(2, f.bits), f.domain[1]);
    double px = position(0, x), py = f.sizes.size() == 2 ? position(1, y) : 0;
    auto sample = [&](int i, int j) {
        return (double)f.samples[(size_t)((j * f.sizes[0] + i) * f.outputs + output)];
    };
    auto alongY = [&](int i) {
        int j = (int)py, next = (int)std::ceil(py);
        return sample(i, j) + (sample(i, next) - sample(i, j)) * (py - j);
    };
    int i = (int)px, next = (int)std::ceil(px);
    double value = alongY(i) + (alongY(next) - alongY(i)) * (px - i);
    double decoded = value >= f.maximum() ? f.high
                     : value <= 0         ? f.low
                                          : value / f.maximum() * (f.high - f.low) + f.low;
    double steps = std::pow(2, f.bits);
    return std::floor(decoded * steps + 0.5) / steps;
}

/* The results of a function at a grid of inputs, all outputs of one input on one line. */
std::vector<std::vector<double>> run(const Sampled &function, const std::vector<double> &grid,
                                     bool filtered)
{
    PdfBuilder pdf;
    std::string numbers,
        entries = "/FunctionType 0 /BitsPerSample " + std::to_string(function.bits);
    for (double d : function.domain)
        numbers += std::to_string(d) + " ";
    entries += " /Domain [" + numbers + "] /Size [";
    for (int size : function.sizes)
        entries += std::to_string(size) + " ";
    entries += "] /Range [";
    for (int i = 0; i < function.outputs; i++)
        entries += std::to_string(function.low) + " " + std::to_string(function.high) + " ";
    entries += "]";
    std::string data = packed(function);
    if (filtered) {
        std::string hex;
        for (char c : data) {
            auto byte = (unsigned char)c;
            hex += "0123456789ABCDEF"[byte >> 4];
            hex += "0123456789ABCDEF"[byte & 15];
        }
        data = hex + ">";
        entries += " /Filter /ASCIIHexDecode";
    }
    int stream = pdf.addStream(entries, data);
    bool two = function.sizes.size() == 2;
    pdf.addPage(
        "/MediaBox [0 0 9 9] /Resources << /ExtGState << /GS << " +
        (two ? "/HT << /HalftoneType 1 /Frequency 60 /Angle 0 /SpotFunction " + ref(stream) + " >>"
             : "/TR " + ref(stream)) +
        " >> >> >>");
    Conversion conversion = convertPdf(pdf.build());
    EXPECT_EQ(conversion.status, 0);
    std::string calls;
    for (double x : grid)
        for (double y : two ? grid : std::vector<double>{0})
            calls += "mark " + std::to_string(x) + " " + (two ? std::to_string(y) + " " : "") +
                     "F (values) print counttomark -1 1 { 1 sub index ( ) print =only } for () = "
                     "cleartomark\n";
    PrintOptions options;
    options.probe = false;
    options.afterProlog = "/EndPageDescription [ { /F Functions /" +
                          std::string(two ? "GSHTSpot" : "GSTR") + " get def\n" + calls +
                          "} /exec load /EndPageDescription load /exec load ] cvx def\n";
    std::vector<std::vector<double>> results;
    for (const std::string &line : printPages(conversion.pages, options).lines) {
        if (!line.starts_with("values"))
            continue;
        results.emplace_back();
        const char *at = line.c_str() + 6;
        for (char *end; *at; at = end) {
            results.back().push_back(strtod(at, &end));
            if (end == at)
                break;
        }
    }
    return results;
}

void expectValues(const Sampled &function, bool filtered = false)
{
    SCOPED_TRACE(std::to_string(function.bits) + " bits, " + std::to_string(function.outputs) +
                 " outputs" + (filtered ? ", filtered" : ""));
    double low = function.domain[0], high = function.domain[1];
    std::vector<double> grid = {low - 0.5, high + 0.5};
    int steps = 4 * (function.sizes[0] - 1); /* the samples, halves and quarters between them */
    for (int i = 0; i <= steps; i++)
        grid.push_back(low + (high - low) * i / steps);
    auto results = run(function, grid, filtered);
    bool two = function.sizes.size() == 2;
    ASSERT_EQ(results.size(), two ? grid.size() * grid.size() : grid.size());
    for (size_t i = 0; i < results.size(); i++) {
        double x = two ? grid[i / grid.size()] : grid[i], y = two ? grid[i % grid.size()] : 0;
        ASSERT_EQ(results[i].size(), (size_t)function.outputs);
        for (int output = 0; output < function.outputs; output++)
            EXPECT_NEAR(results[i][(size_t)output], expected(function, x, y, output),
                        1.01 / std::pow(2, function.bits) + 1e-5)
                << "at " << x << " " << y << ", output " << output;
    }
}

/* Samples that go up and down over the whole range. */
Sampled sampled(int bits, int outputs, int size)
{
    Sampled function = {bits, outputs, {size}, {0, 1}, 0, 1, {}};
    for (int i = 0; i < size * outputs; i++)
        function.samples.push_back(((unsigned)i * 2654435761U) >> (32 - bits));
    function.samples.front() = 0;
    function.samples.back() = (unsigned)function.maximum();
    return function;
}

TEST(SampledFunctions, OneInputOfEveryWidth)
{
    for (int bits : {1, 2, 4, 8, 12, 16, 24})
        expectValues(sampled(bits, 1, 5));
}

TEST(SampledFunctions, SeveralOutputsAllDecodedWithTheFirstRange)
{
    for (int bits : {1, 2, 4, 8, 12, 16, 24})
        expectValues(sampled(bits, 3, 4));
    expectValues(sampled(8, 4, 4));
}

TEST(SampledFunctions, AnotherDomainAndRange)
{
    Sampled function = sampled(8, 1, 6);
    function.domain = {-2, 3};
    function.low = -1;
    function.high = 0.5;
    expectValues(function);
}

TEST(SampledFunctions, FilteredSamples)
{
    expectValues(sampled(8, 1, 5), true);
    expectValues(sampled(8, 3, 4), true);
}

TEST(SampledFunctions, OnePositionAlone)
{
    Sampled function = sampled(8, 1, 1);
    function.samples = {100};
    auto results = run(function, {0, 0.5, 1}, false);
    ASSERT_EQ(results.size(), 3U);
    for (const auto &result : results)
        EXPECT_NEAR(result.at(0), 100 / 255.0, 0.004);
}

TEST(SampledFunctions, TwoInputs)
{
    for (int bits : {1, 2, 4, 8, 12, 16, 24}) {
        Sampled function = sampled(bits, 1, 12);
        function.sizes = {4, 3};
        function.domain = {0, 1, 0, 1};
        expectValues(function);
    }
}

TEST(Interpolation, TakesTheSamplesItIsGiven)
{
    PrintOptions options;
    options.probe = false;
    options.afterProlog = "(values ) print 2.25 2 3 10 20 int =only ( ) print 2 2 2 7 9 int =only "
                          "( ) print 0 5 -1 limit =only ( ) print 0 5 3 limit =only ( ) print "
                          "0 5 6 limit =\n";
    PrintedJob job = printPages("", options);
    EXPECT_EQ(std::count(job.lines.begin(), job.lines.end(), "values 12.5 7 0 3 5"), 1);
}

} // namespace
