/*
 * functions.cpp - tables as they are, and tables that are made
 */
#include "prepare/canonical/functions.h"

#include <algorithm>
#include <cmath>

#include "prepare/canonical/values.h"
#include "prepare/colour/convert.h"
#include "prepare/document/spool.h"
#include "prepare/model/function.h"

namespace prepare {

namespace {

constexpr int STEPS = 256, STEPS_OF_TWO = 64; /* samples along an input */
constexpr size_t MOST_DECODED = 16u << 20;

/* A pair of bounds, the same for all outputs or inputs. */
struct Bounds {
    double low = 0, high = 1;
};

QPDFObjectHandle pairs(const Bounds &bounds, size_t count)
{
    QPDFObjectHandle array = QPDFObjectHandle::newArray();
    for (size_t i = 0; i < count; i++)
        for (QPDFObjectHandle bound : newNumbers({bounds.low, bounds.high}).getArrayAsVector())
            array.appendItem(bound);
    return array;
}

QPDFObjectHandle newFunction(Document *document, const std::string &samples,
                             std::initializer_list<double> size, const Bounds &domain,
                             const Bounds &range, size_t outputs)
{
    QPDFObjectHandle stream = newClearStream(document, samples);
    QPDFObjectHandle dict = stream.getDict();
    dict.replaceKey("/FunctionType", QPDFObjectHandle::newInteger(0));
    dict.replaceKey("/Domain", pairs(domain, size.size()));
    dict.replaceKey("/Range", pairs(range, outputs));
    dict.replaceKey("/Size", newNumbers(size));
    dict.replaceKey("/BitsPerSample", QPDFObjectHandle::newInteger(8));
    return stream;
}

/* The bounds that all pairs of an array have; false: they differ, or are no bounds. */
bool readBounds(QPDFObjectHandle array, size_t count, Bounds *bounds)
{
    constexpr double MOST = 1000;
    if (!array.isArray() || array.getArrayNItems() != (int)(2 * count))
        return false;
    bounds->low = numberOr(array.getArrayItem(0), 0);
    bounds->high = numberOr(array.getArrayItem(1), 0);
    for (int i = 2; i < array.getArrayNItems(); i++)
        if (numberOr(array.getArrayItem(i), 0) != (i % 2 ? bounds->high : bounds->low))
            return false;
    return bounds->low < bounds->high && bounds->low >= -MOST && bounds->high <= MOST;
}

/* The table as it stands, made anew; null: it is none of the one shape. */
QPDFObjectHandle sameTable(Document *document, QPDFObjectHandle function, size_t inputs,
                           size_t outputs)
{
    QPDFObjectHandle none = QPDFObjectHandle::newNull();
    if (!isPlainFunction(function, inputs))
        return none;
    QPDFObjectHandle dict = function.getDict();
    Bounds domain, range;
    if (integerOr(dict.getKey("/BitsPerSample"), 0) != 8 ||
        !readBounds(dict.getKey("/Domain"), inputs, &domain) ||
        !readBounds(dict.getKey("/Range"), outputs, &range))
        return none;
    double size[2] = {1, 1}, bytes = (double)outputs;
    for (size_t i = 0; i < inputs; i++) {
        size[i] = numberOr(dict.getKey("/Size").getArrayItem((int)i), 0);
        bytes *= size[i];
        if (size[i] < 1 || size[i] != std::floor(size[i]) || bytes > (double)MAX_TABLE_BYTES)
            return none;
    }
    bool damaged = false;
    std::string samples = decodeStream(function, MOST_DECODED, &damaged);
    samples.resize((size_t)bytes);
    return inputs == 1 ? newFunction(document, samples, {size[0]}, domain, range, outputs)
                       : newFunction(document, samples, {size[0], size[1]}, domain, range, outputs);
}

void putSample(const Function &function, std::span<const double> point, const Bounds &range,
               size_t outputs, std::string *samples)
{
    double values[MAX_TABLE_OUTPUTS];
    evaluate(function, point, {values, outputs});
    for (size_t i = 0; i < outputs; i++) {
        double part = (values[i] - range.low) / (range.high - range.low);
        samples->push_back((char)std::lround(std::clamp(part, 0.0, 1.0) * 255));
    }
}

/* Transfer functions and tints have inputs from 0 to 1, spot functions from -1 to 1. */
QPDFObjectHandle sampled(Document *document, const Function &function, const Bounds &range,
                         size_t inputs, size_t outputs)
{
    std::string samples;
    if (inputs == 1) {
        for (int i = 0; i < STEPS; i++) {
            double x = (double)i / (STEPS - 1);
            putSample(function, {&x, 1}, range, outputs, &samples);
        }
        return newFunction(document, samples, {STEPS}, {}, range, outputs);
    }
    for (int i = 0; i < STEPS_OF_TWO * STEPS_OF_TWO; i++) {
        auto place = [](int step) { return 2.0 * step / (STEPS_OF_TWO - 1) - 1; };
        double point[2] = {place(i % STEPS_OF_TWO), place(i / STEPS_OF_TWO)};
        putSample(function, point, range, outputs, &samples);
    }
    return newFunction(document, samples, {STEPS_OF_TWO, STEPS_OF_TWO}, {-1, 1}, range, outputs);
}

QPDFObjectHandle makeFunction(Document *document, QPDFObjectHandle object, size_t inputs,
                              size_t outputs)
{
    QPDFObjectHandle table = sameTable(document, object, inputs, outputs);
    if (!table.isNull())
        return table;
    FunctionPtr function = readFunction(object);
    if (!function || inputsOf(*function) != inputs || outputsOf(*function) != outputs)
        return QPDFObjectHandle::newNull();
    Bounds range;
    QPDFObjectHandle dict = object.isStream() ? object.getDict() : object;
    if (!readBounds(entryOf(dict, "/Range"), outputs, &range))
        range = inputs == 2 ? Bounds{-1, 1} : Bounds{};
    return sampled(document, *function, range, inputs, outputs);
}

/* Functions that have been made, by their object, inputs and outputs. */
struct FunctionMemo {
    std::map<std::tuple<QPDFObjGen, size_t, size_t>, QPDFObjectHandle> made;
};

} // namespace

QPDFObjectHandle plainFunction(Document *document, QPDFObjectHandle function, size_t inputs,
                               size_t outputs)
{
    auto make = [&] {
        try {
            return makeFunction(document, function, inputs, outputs);
        } catch (const LimitReached &) {
            return QPDFObjectHandle::newNull();
        }
    };
    if (!function.isIndirect() || outputs > MAX_TABLE_OUTPUTS)
        return outputs > MAX_TABLE_OUTPUTS ? QPDFObjectHandle::newNull() : make();
    auto &made = document->memos.of<FunctionMemo>().made;
    auto [place, isNew] = made.try_emplace({function.getObjGen(), inputs, outputs});
    if (isNew)
        place->second = make();
    return place->second;
}

QPDFObjectHandle newTable(Document *document, const std::string &samples, size_t outputs)
{
    return newFunction(document, samples, {(double)(samples.size() / outputs)}, {}, {}, outputs);
}

} // namespace prepare
