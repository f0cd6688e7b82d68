/*
 * function.cpp - the four types of functions
 *
 * Computed functions have branches and no loops, so a program takes no more steps than it has
 * instructions; each is run on a stack of fixed size, and ends early where it is faulty.
 */
#include "prepare/model/function.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "prepare/model/calculator.h"
#include "prepare/model/objects.h"
#include "prepare/model/streams.h"

namespace prepare {

namespace {

constexpr int MAX_FUNCTION_DEPTH = 8;
constexpr size_t MAX_PARTS = 4096; /* functions within one, in all */
constexpr size_t MAX_SAMPLE_BYTES = 64u << 20;
constexpr size_t MAX_INTERPOLATED = 8; /* inputs; the samples around a point double with each */
constexpr double MAX_SAMPLES = 1e12;   /* so that numbers of samples are exact */

using Values = std::array<double, MAX_FUNCTION_VALUES>;

} // namespace

struct Function {
    enum Kind { SAMPLED, EXPONENTIAL, STITCHED, COMPUTED, JOINED } kind = JOINED;
    size_t inputs = 0, outputs = 0, cost = 1;
    std::vector<double> domain, range; /* pairs; `range` may be empty */

    /* SAMPLED */
    std::vector<double> encode, decode;
    std::vector<size_t> size;
    unsigned bits = 8;
    std::string samples;

    /* EXPONENTIAL */
    std::vector<double> begin, end;
    double exponent = 1;

    /* STITCHED, with `encode`; JOINED */
    std::vector<FunctionPtr> parts;
    std::vector<double> bounds;

    /* COMPUTED */
    Calculator calculator;
};

namespace {

double interpolate(double x, double low, double high, double from, double to)
{
    return high > low ? from + (x - low) * (to - from) / (high - low) : from;
}

/* Between two bounds in either order; 0 for what is no number. */
double held(double x, double low, double high)
{
    if (std::isnan(x))
        x = 0;
    return low <= high ? std::clamp(x, low, high) : std::clamp(x, high, low);
}

/* ---- evaluation ---- */

/* Sample `index` of the table, counted over all outputs; 0 beyond the data. */
double sampleAt(const Function &f, size_t index)
{
    size_t bit = index * f.bits, byte = bit / 8;
    if (byte + (bit % 8 + f.bits + 7) / 8 > f.samples.size())
        return 0;
    uint64_t value = 0;
    unsigned shift = bit % 8, got = 0;
    for (; got < shift + f.bits; got += 8)
        value = value << 8 | (uint8_t)f.samples[byte++];
    value >>= got - shift - f.bits;
    return (double)(value & ((1ull << f.bits) - 1));
}

struct Corner {
    size_t low, high; /* samples at either side */
    double part;      /* of the way from one to the other */
};

void evaluateSampled(const Function &f, std::span<const double> x, std::span<double> y)
{
    std::array<Corner, MAX_FUNCTION_VALUES> corners;
    bool isInterpolated = f.inputs <= MAX_INTERPOLATED;
    for (size_t i = 0; i < f.inputs; i++) {
        double last = (double)(f.size[i] - 1);
        double at = interpolate(x[i], f.domain[2 * i], f.domain[2 * i + 1], f.encode[2 * i],
                                f.encode[2 * i + 1]);
        at = held(at, 0, last);
        double floor = std::floor(isInterpolated ? at : at + 0.5);
        corners[i] = {(size_t)floor, (size_t)std::min(floor + 1, last), at - floor};
    }
    std::fill(y.begin(), y.end(), 0);
    size_t count = isInterpolated ? (size_t)1 << f.inputs : 1;
    for (size_t corner = 0; corner < count; corner++) {
        size_t index = 0, stride = 1;
        double weight = 1;
        for (size_t i = 0; i < f.inputs; i++) {
            bool isHigh = corner >> i & 1;
            if (isInterpolated)
                weight *= isHigh ? corners[i].part : 1 - corners[i].part;
            index += stride * (isHigh ? corners[i].high : corners[i].low);
            stride *= f.size[i];
        }
        for (size_t o = 0; weight > 0 && o < y.size(); o++)
            y[o] += weight * sampleAt(f, index * f.outputs + o);
    }
    double greatest = (double)((1ull << f.bits) - 1);
    for (size_t o = 0; o < y.size(); o++)
        y[o] = interpolate(y[o], 0, greatest, f.decode[2 * o], f.decode[2 * o + 1]);
}

void evaluateExponential(const Function &f, double x, std::span<double> y)
{
    double power = f.exponent == 1 ? x : std::pow(x, f.exponent);
    if (!std::isfinite(power))
        power = 0;
    for (size_t o = 0; o < y.size(); o++)
        y[o] = f.begin[o] + power * (f.end[o] - f.begin[o]);
}

void evaluateStitched(const Function &f, double x, std::span<double> y)
{
    size_t part =
        (size_t)(std::upper_bound(f.bounds.begin(), f.bounds.end(), x) - f.bounds.begin());
    /* The last part has its end, too. */
    double low = part == 0 ? f.domain[0] : f.bounds[part - 1];
    double high = part == f.bounds.size() ? f.domain[1] : f.bounds[part];
    double at = interpolate(x, low, high, f.encode[2 * part], f.encode[2 * part + 1]);
    evaluate(*f.parts[part], {&at, 1}, y);
}

void evaluateJoined(const Function &f, std::span<const double> x, std::span<double> y)
{
    size_t first = 0;
    for (const FunctionPtr &part : f.parts) {
        evaluate(*part, x, y.subspan(first, part->outputs));
        first += part->outputs;
    }
}

/* ---- reading ---- */

struct Reading {
    size_t parts = 0;
};

FunctionPtr readOne(Reading *reading, QPDFObjectHandle object, int depth);

/* The numbers of an array; empty when it is none, or holds something else. */
std::vector<double> numbersIn(QPDFObjectHandle array, size_t most)
{
    std::vector<double> numbers;
    if (!array.isArray() || (size_t)array.getArrayNItems() > most)
        return numbers;
    for (QPDFObjectHandle item : array.getArrayAsVector()) {
        if (!item.isNumber())
            return {};
        numbers.push_back(numberOr(item, 0));
    }
    return numbers;
}

constexpr size_t MAX_PAIRS = 2 * MAX_FUNCTION_VALUES;

bool readDomain(QPDFObjectHandle dict, Function *f)
{
    f->domain = numbersIn(dict.getKey("/Domain"), MAX_PAIRS);
    f->range = numbersIn(dict.getKey("/Range"), MAX_PAIRS);
    f->inputs = f->domain.size() / 2;
    f->outputs = f->range.size() / 2;
    return f->inputs > 0;
}

bool readSampled(QPDFObjectHandle object, QPDFObjectHandle dict, Function *f)
{
    std::vector<double> size = numbersIn(dict.getKey("/Size"), MAX_FUNCTION_VALUES);
    int bits = integerOr(dict.getKey("/BitsPerSample"), 0);
    bool isWidth = bits == 12 || bits == 24 || (bits >= 1 && bits <= 32 && !(bits & (bits - 1)));
    if (!object.isStream() || f->outputs == 0 || size.size() < f->inputs || !isWidth)
        return false;
    f->bits = (unsigned)bits;
    double samples = (double)f->outputs;
    for (size_t i = 0; i < f->inputs; i++) {
        samples *= size[i];
        if (size[i] < 1 || samples > MAX_SAMPLES)
            return false;
        f->size.push_back((size_t)size[i]);
    }
    f->encode = numbersIn(dict.getKey("/Encode"), MAX_PAIRS);
    if (f->encode.size() < 2 * f->inputs) {
        f->encode.clear();
        for (size_t count : f->size)
            f->encode.insert(f->encode.end(), {0.0, (double)(count - 1)});
    }
    f->decode = numbersIn(dict.getKey("/Decode"), MAX_PAIRS);
    if (f->decode.size() < f->range.size())
        f->decode = f->range;
    bool damaged = false;
    f->samples = decodeStream(object, MAX_SAMPLE_BYTES, &damaged);
    f->cost = f->outputs << std::min(f->inputs, MAX_INTERPOLATED);
    return true;
}

bool readExponential(QPDFObjectHandle dict, Function *f)
{
    f->begin = numbersIn(dict.getKey("/C0"), MAX_FUNCTION_VALUES);
    f->end = numbersIn(dict.getKey("/C1"), MAX_FUNCTION_VALUES);
    if (f->begin.empty() && f->end.size() <= 1)
        f->begin = {0};
    if (f->end.empty() && f->begin.size() <= 1)
        f->end = {1};
    f->exponent = numberOr(dict.getKey("/N"), 1);
    f->outputs = std::min(f->begin.size(), f->end.size());
    return f->outputs > 0;
}

bool readStitched(Reading *reading, QPDFObjectHandle dict, Function *f, int depth)
{
    QPDFObjectHandle parts = dict.getKey("/Functions");
    if (!parts.isArray() || parts.getArrayNItems() == 0)
        return false;
    f->outputs = MAX_FUNCTION_VALUES;
    for (int i = 0; i < parts.getArrayNItems(); i++) {
        FunctionPtr part = readOne(reading, parts.getArrayItem(i), depth + 1);
        if (!part || part->inputs != 1)
            return false;
        f->outputs = std::min(f->outputs, part->outputs);
        f->cost = std::max(f->cost, part->cost + 16);
        f->parts.push_back(part);
    }
    f->bounds = numbersIn(dict.getKey("/Bounds"), MAX_PARTS);
    f->bounds.resize(f->parts.size() - 1, f->domain[1]);
    for (size_t i = 1; i < f->bounds.size(); i++) /* in order, or the search goes astray */
        f->bounds[i] = std::max(f->bounds[i], f->bounds[i - 1]);
    f->encode = numbersIn(dict.getKey("/Encode"), 2 * MAX_PARTS);
    while (f->encode.size() < 2 * f->parts.size())
        f->encode.push_back(f->encode.size() % 2 ? 1 : 0);
    return true;
}

bool setProgram(std::string_view program, Function *f)
{
    f->kind = Function::COMPUTED;
    f->cost = 1;
    if (f->outputs == 0 || !readCalculatorProgram(program, &f->calculator))
        return false;
    f->cost += f->calculator.code.size();
    return true;
}

bool readJoined(Reading *reading, QPDFObjectHandle array, Function *f, int depth)
{
    if (array.getArrayNItems() == 0)
        return false;
    for (int i = 0; i < array.getArrayNItems(); i++) {
        FunctionPtr part = readOne(reading, array.getArrayItem(i), depth + 1);
        if (!part || part->kind == Function::JOINED)
            return false;
        if (i > 0 && part->inputs != f->inputs)
            return false;
        f->inputs = part->inputs;
        if (i == 0)
            f->domain = part->domain;
        f->outputs += part->outputs;
        f->cost += part->cost;
        f->parts.push_back(part);
        if (f->outputs > MAX_FUNCTION_VALUES)
            return false;
    }
    return true;
}

FunctionPtr readOne(Reading *reading, QPDFObjectHandle object, int depth)
{
    if (++reading->parts > MAX_PARTS || depth > MAX_FUNCTION_DEPTH)
        return nullptr;
    auto f = std::make_shared<Function>();
    if (object.isArray())
        return readJoined(reading, object, f.get(), depth) ? f : nullptr;
    QPDFObjectHandle dict = object.isStream() ? object.getDict() : object;
    if (!dict.isDictionary() || !readDomain(dict, f.get()))
        return nullptr;
    bool isRead = false, damaged = false;
    switch (integerOr(dict.getKey("/FunctionType"), -1)) {
    case 0:
        f->kind = Function::SAMPLED;
        isRead = readSampled(object, dict, f.get());
        break;
    case 2:
        f->kind = Function::EXPONENTIAL;
        isRead = readExponential(dict, f.get());
        break;
    case 3:
        f->kind = Function::STITCHED;
        isRead = readStitched(reading, dict, f.get(), depth);
        break;
    case 4:
        if (object.isStream())
            isRead = setProgram(decodeStream(object, MAX_PROGRAM_BYTES, &damaged), f.get());
        break;
    default:
        break;
    }
    return isRead ? f : nullptr;
}

} // namespace

FunctionPtr readFunction(QPDFObjectHandle object)
{
    Reading reading;
    if (!object.isInitialized())
        return nullptr;
    return readOne(&reading, object, 0);
}

FunctionPtr readCalculator(std::string_view program, const std::vector<double> &domain,
                           const std::vector<double> &range)
{
    auto f = std::make_shared<Function>();
    if (domain.size() > MAX_PAIRS || range.size() > MAX_PAIRS)
        return nullptr;
    f->domain = domain;
    f->range = range;
    f->inputs = domain.size() / 2;
    f->outputs = range.size() / 2;
    return setProgram(program, f.get()) ? f : nullptr;
}

size_t inputsOf(const Function &function)
{
    return function.inputs;
}

size_t outputsOf(const Function &function)
{
    return function.outputs;
}

std::pair<double, double> domainOf(const Function &function, size_t input)
{
    if (input >= function.inputs)
        return {0, 1};
    return {function.domain[2 * input], function.domain[2 * input + 1]};
}

size_t costOf(const Function &function)
{
    return function.cost;
}

void evaluate(const Function &function, std::span<const double> inputs, std::span<double> outputs)
{
    Values x{}, y{};
    for (size_t i = 0; i < function.inputs; i++) {
        double given = i < inputs.size() ? inputs[i] : 0;
        x[i] = held(given, function.domain[2 * i], function.domain[2 * i + 1]);
    }
    std::span<const double> in(x.data(), function.inputs);
    std::span<double> out(y.data(), function.outputs);
    switch (function.kind) {
    case Function::SAMPLED:
        evaluateSampled(function, in, out);
        break;
    case Function::EXPONENTIAL:
        evaluateExponential(function, x[0], out);
        break;
    case Function::STITCHED:
        evaluateStitched(function, x[0], out);
        break;
    case Function::COMPUTED:
        runCalculator(function.calculator, in, out);
        break;
    case Function::JOINED:
        evaluateJoined(function, in, out);
        break;
    }
    for (size_t o = 0; o < outputs.size(); o++) {
        double value = o < function.outputs && std::isfinite(y[o]) ? y[o] : 0;
        if (2 * o + 1 < function.range.size())
            value = held(value, function.range[2 * o], function.range[2 * o + 1]);
        outputs[o] = value;
    }
}

} // namespace prepare
