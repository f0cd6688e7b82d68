/*
 * fuzz_flate.cpp - the Flate decoder against its plainly written counterpart
 */
#include "fuzz/fuzz_decoder.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    return fuzzDecoder(FAMILY_FLATE, data, size);
}
