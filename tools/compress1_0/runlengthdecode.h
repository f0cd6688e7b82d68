/*
 * runlengthdecode.h - the RunLength decoder family (RLED_), whose data are left to the printer
 *
 * It keeps the filter table complete and decodes nothing: a state exists only for the parameter
 * 32, which the decoding chain does not use, and takes no input.
 */
#ifndef COMPRESS_RUNLENGTHDECODE_H
#define COMPRESS_RUNLENGTHDECODE_H

#include <cstdint>

#include "tools/compress1_0/decoderstate.h"
#include "zelkov/control.h"

struct RunLengthDecoder {
    ZelkovController *controller;
    int32_t parameter; /* always RLED_PARAMETER */
    uint32_t status;   /* the state in the two low bits */
    uint32_t option;   /* for a decoder to come; nothing sets it */
    int32_t consumed;
    int32_t produced;
};

/* The only parameter that RLED_Init accepts. */
constexpr int32_t RLED_PARAMETER = 32;

/* A new state, to be given to RLED_Free; null for any other parameter, or without memory. */
RunLengthDecoder *RLED_Init(int32_t parameter, ZelkovController *controller);

/* Null is accepted. */
void RLED_Free(RunLengthDecoder *decoder);

/* Takes nothing, writes nothing, answers 0. */
int32_t RLED_ToRaw(RunLengthDecoder *decoder, const uint8_t *in, int32_t inLen, uint8_t *out,
                   int32_t outMax);

/* Input bytes taken and bytes written by the last RLED_ToRaw; 0 for null. */
inline constexpr auto RLED_Consumed = decoderConsumed<RunLengthDecoder>;
inline constexpr auto RLED_Produced = decoderProduced<RunLengthDecoder>;

inline constexpr auto RLED_isBegin = decoderIsBegin<RunLengthDecoder>;
inline constexpr auto RLED_isRun = decoderIsRun<RunLengthDecoder>;
inline constexpr auto RLED_isBeginRun = decoderIsBeginRun<RunLengthDecoder>;
inline constexpr auto RLED_isDone = decoderIsDone<RunLengthDecoder>;
inline constexpr auto RLED_isError = decoderIsError<RunLengthDecoder>;

#endif
