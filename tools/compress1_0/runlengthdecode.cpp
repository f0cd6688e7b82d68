/*
 * runlengthdecode.cpp - the RunLength decoder family (RLED_), whose data are left to the printer
 *
 * Whoever adds the decoding puts it into RLED_ToRaw; the interface around it is complete.
 */
#include "tools/compress1_0/runlengthdecode.h"

#include <new>

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
