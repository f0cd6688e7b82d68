/*
 * calculator.h - the machine of computed functions (type 4)
 *
 * A program is read once into instructions with forward jumps only, so it always ends.
 */
#ifndef PREPARE_MODEL_CALCULATOR_H
#define PREPARE_MODEL_CALCULATOR_H

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

namespace prepare {

constexpr size_t MAX_PROGRAM_BYTES = 4u << 20;
constexpr size_t MAX_PROGRAM_STEPS = 100000; /* instructions */
constexpr size_t MAX_CALCULATOR_STACK = 100;

struct Instruction {
    uint8_t code; /* of calculator.cpp */
    double value; /* PUSH: the number; jumps: where to */
};

struct Calculator {
    std::vector<Instruction> code;
};

/* Reads a program in its braces; false when it is none or too long. */
bool readCalculatorProgram(std::string_view text, Calculator *calculator);

/* Runs it: inputs on the stack, the topmost values to the outputs.  A faulty program ends where
 * its fault is; outputs that it does not leave are 0. */
void runCalculator(const Calculator &calculator, std::span<const double> inputs,
                   std::span<double> outputs);

} // namespace prepare

#endif
