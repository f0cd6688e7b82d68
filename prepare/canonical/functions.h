/*
 * functions.h - functions as tables of samples, of one shape
 *
 * The converter writes a function as a procedure of its own, around a string of samples.  Canonical
 * ones are sampled, with 8 bits a sample, one or two inputs, and the same range for all outputs:
 * whoever reads a job knows that procedure word by word, but for its numbers.  Any other function
 * is evaluated here, a calculator's program too: none of its text goes to the printer.
 */
#ifndef PREPARE_CANONICAL_FUNCTIONS_H
#define PREPARE_CANONICAL_FUNCTIONS_H

#include "prepare/document/document.h"

namespace prepare {

constexpr size_t MAX_TABLE_BYTES = 65535; /* a PostScript string */
constexpr size_t MAX_TABLE_OUTPUTS = 4;

/* The function as a table, with so many inputs (1 or 2) and outputs; null where it is none. */
QPDFObjectHandle plainFunction(Document *document, QPDFObjectHandle function, size_t inputs,
                               size_t outputs);

/* A table of one input from 0 to 1 and these samples, one behind the other for each step. */
QPDFObjectHandle newTable(Document *document, const std::string &samples, size_t outputs);

} // namespace prepare

#endif
