/*
 * fuzz_prepare_function.cpp - functions: an object, and behind a line feed the data of a stream
 *
 * What begins with a brace is a calculator program.
 */
#include <cmath>
#include <cstdint>
#include <cstdlib>

#include "prepare/model/function.h"

using namespace prepare;

namespace {

FunctionPtr readAny(QPDF *pdf, const std::string &text)
{
    if (!text.empty() && text[0] == '{')
        return readCalculator(text, {0, 1, -5, 5}, {0, 1, -100, 100, 0, 1});
    size_t line = text.find('\n');
    QPDFObjectHandle object;
    try {
        object = QPDFObjectHandle::parse(text.substr(0, line));
    } catch (const std::exception &) {
        return nullptr;
    }
    if (line == std::string::npos || !object.isDictionary())
        return readFunction(object);
    QPDFObjectHandle stream = QPDFObjectHandle::newStream(pdf, text.substr(line + 1));
    stream.replaceDict(object);
    return readFunction(stream);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    QPDF pdf;
    pdf.emptyPDF();
    pdf.setSuppressWarnings(true);
    FunctionPtr function = readAny(&pdf, std::string(reinterpret_cast<const char *>(data), size));
    if (!function)
        return 0;
    if (outputsOf(*function) > MAX_FUNCTION_VALUES || inputsOf(*function) > MAX_FUNCTION_VALUES)
        abort();
    double outputs[MAX_FUNCTION_VALUES];
    for (double x : {-1.0, 0.0, 0.3, 1.0, 1e300}) {
        double inputs[MAX_FUNCTION_VALUES] = {x, 1 - x, x};
        evaluate(*function, inputs, outputs);
        for (double value : outputs)
            if (!std::isfinite(value))
                abort();
    }
    return 0;
}
