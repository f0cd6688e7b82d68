/*
 * runlengthdecode.cpp - the RunLength decoder family (RLED_), whose data are left to the printer
 *
 * Whoever adds the decoding puts it into RLED_ToRaw; the interface around it is complete.
 */
#include "tools/compress1_0/runlengthdecode.h"

#include <new>

#include "tools/compress1_0/decoderstate.h"
#include "zelkov/host.h"

RunLengthDecoder *RLED_Init(int32_t parameter, ZelkovController *controller)
{
    if (parameter != RLED_PARAMETER)
        return nullptr;
    RunLengthDecoder *decoder = new (std::nothrow) RunLengthDecoder();
    if (!decoder)
        return nullptr;
    decoder->controller = controller;
    decoder->parameter = parameter;
    return decoder;
}

void RLED_Free(RunLengthDecoder *decoder)
{
    delete decoder;
}

int32_t RLED_ToRaw(RunLengthDecoder *decoder, const uint8_t *, int32_t, uint8_t *, int32_t)
{
    if (decoder->parameter != RLED_PARAMETER)
        host_say("Not implemented yet (RLED_ToRaw) !");
    return 0;
}

int32_t RLED_Consumed(const RunLengthDecoder *decoder)
{
    return decoder ? decoder->consumed : 0;
}

int32_t RLED_Produced(const RunLengthDecoder *decoder)
{
    return decoder ? decoder->produced : 0;
}

int32_t RLED_isBegin(const RunLengthDecoder *decoder)
{
    return stateIsBegin(decoder->status);
}

int32_t RLED_isRun(const RunLengthDecoder *decoder)
{
    return stateIsRun(decoder->status);
}

int32_t RLED_isBeginRun(const RunLengthDecoder *decoder)
{
    return stateIsBeginRun(decoder->status);
}

int32_t RLED_isDone(const RunLengthDecoder *decoder)
{
    return stateIsDone(decoder->status);
}

int32_t RLED_isError(const RunLengthDecoder *decoder)
{
    return stateIsError(decoder->status);
}
