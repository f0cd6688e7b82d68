/*
 * functions.h - sampled functions as PostScript procedures
 */
#ifndef PDF_TO_PS_FUNCTIONS_H
#define PDF_TO_PS_FUNCTIONS_H

#include "tools/zolak1_3/pdf_to_ps/reader/streams.h"
#include "tools/zolak1_3/pdf_to_ps/writer/run.h"

/* Write a sampled function as text that leaves a procedure on the operand stack: of one input and
 * any number of outputs, or of two inputs and one output.  A function of another kind, or one that
 * is damaged, is reported and writes nothing. */
void WriteSampledFunction1(ConversionRun *run, const PdfStream *stream);
void WriteSampledFunction2(ConversionRun *run, const PdfStream *stream);

/* Defines the function at the input's position, of one or two inputs, as the resource named by
 * the prefix, which has the slash, and the suffix.  A name there is left alone. */
void DefineFunctionResource(ConversionRun *run, const char *prefix, const char *suffix, int inputs);

/* Reads an array of exactly `count` numbers at the input's position; false, reported and nothing
 * filled, when it is anything else. */
bool ReadFunctionNumbers(ConversionRun *run, int32_t count, double *numbers);

#endif
