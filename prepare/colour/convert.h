/*
 * convert.h - what the converter does not accept of colours, as such that it does
 *
 * It accepts device spaces, Separations and functions of samples with 8 bits and outputs from 0
 * to 1. CIE based spaces it prints with fixed figures: a gamma of 2.2 and a white of D65.
 */
#ifndef PREPARE_COLOUR_CONVERT_H
#define PREPARE_COLOUR_CONVERT_H

#include "prepare/model/space.h"
#include "prepare/document/document.h"

namespace prepare {

/* Is it a space whose colours become device colours wherever it is used? */
bool isConverted(const ColourSpace &space);

/* The same of the array of a space; of Indexed ones not, since their tables are converted. */
bool isConvertedSpace(QPDFObjectHandle space);

/* A table of samples with the colours of a space of one component: those of its device space, for
 * values from 0 to 1. */
QPDFObjectHandle sampledSpace(Document *document, const ColourSpace &space);

/* A function of one input and one output as the converter accepts it: itself, or a table.  Null
 * when it is neither. */
QPDFObjectHandle sampledFunction(Document *document, QPDFObjectHandle function);

/* Is it a function of samples that the converter reads as it is meant? */
bool isPlainFunction(QPDFObjectHandle function, size_t inputs);

} // namespace prepare

#endif
