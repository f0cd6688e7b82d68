/*
 * function.h - PDF functions: sampled, exponential, stitched and computed ones
 *
 * A function is read once and then evaluated at as many points as are wanted.  Everything about
 * it is bounded when it is read, so that a point costs no more than `cost` says.
 */
#ifndef PREPARE_MODEL_FUNCTION_H
#define PREPARE_MODEL_FUNCTION_H

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "prepare/model/qpdf.h"

namespace prepare {

constexpr size_t MAX_FUNCTION_VALUES = 32; /* inputs, and outputs */

struct Function;
using FunctionPtr = std::shared_ptr<const Function>;

/* Reads a function, or an array of functions of the same inputs whose outputs stand one behind the
 * other.  Null when it is none, or beyond what is reasonable. */
FunctionPtr readFunction(QPDFObjectHandle object);

/* A calculator program with these domains and ranges, pairs of numbers; null when it is none. */
FunctionPtr readCalculator(std::string_view program, const std::vector<double> &domain,
                           const std::vector<double> &range);

size_t inputsOf(const Function &function);
size_t outputsOf(const Function &function);

/* The least and greatest value of an input. */
std::pair<double, double> domainOf(const Function &function, size_t input);

/* Steps that one evaluation takes at most. */
size_t costOf(const Function &function);

/* The values at a point.  Inputs that are missing are 0; outputs beyond the function's are 0.
 * Values are held within the domain and the range, and are finite. */
void evaluate(const Function &function, std::span<const double> inputs, std::span<double> outputs);

} // namespace prepare

#endif
