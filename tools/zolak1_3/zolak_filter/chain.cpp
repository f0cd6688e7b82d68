/*
 * chain.cpp - the decoding chain
 *
 * Each call moves bytes on by one stage only.  A byte that has reached the last buffer in a chain
 * of three filters has taken three calls, and the chain is Done one call after its last decoder;
 * what counts is that nothing is lost on the way, wherever a decoder or a buffer stops.
 */
#include "tools/zolak1_3/zolak_filter/chain.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "tools/compress1_0/decoderstate.h"
#include "tools/zolak1_3/zolak_filter/report.h"
#include "zelkov/text.h"

namespace {

int32_t findFilter(const char *name)
{
    const FilterName *row = filterNames;
    while (row->name && cmpstr(row->name, name) != 0)
        row++;
    return row->id;
}

/* Makes the element's decoder and buffers; false when any of them cannot be made. */
bool setUpElement(ChainElement &element, int32_t id, ZelkovController *controller)
{
    element.id = id;
    element.state = filterInit(id, controller);
    if (!element.state)
        return false;
    element.input = new (std::nothrow) uint8_t[FILTER_BUFFER_BYTES];
    element.output = new (std::nothrow) uint8_t[FILTER_BUFFER_BYTES];
    return element.input && element.output;
}

bool setUpNamed(DecodingChain *chain, int32_t index, const char *name)
{
    if (!name) /* it could not be read, which has been reported */
        return false;
    int32_t id = findFilter(name);
    if (id == DECODER_NONE) {
        control_report(chain->controller, FILTER_MODULE, FILTER_SOURCE, LINE_UNKNOWN,
                       SEVERITY_ERROR, FILTER_KEY, "Unknown filter - '%s'.", name);
        return false;
    }
    if (index >= MAX_FILTERS || !setUpElement(chain->elements[index], id, chain->controller)) {
        control_report(chain->controller, FILTER_MODULE, FILTER_SOURCE, LINE_SETUP, SEVERITY_ERROR,
                       FILTER_KEY, "Error setting up filter - '%s'.", name);
        return false;
    }
    return true;
}

/* Takes `count` bytes from the front of a buffer. */
void dropFront(uint8_t *buffer, int32_t &fill, int32_t count)
{
    fill -= count;
    if (count > 0 && fill > 0)
        memmove(buffer, buffer + count, (size_t)fill);
}

void append(uint8_t *buffer, int32_t fill, const uint8_t *from, int32_t count)
{
    if (count > 0)
        memcpy(buffer + fill, from, (size_t)count);
}

/* One element's part of a call. */
struct Stage {
    uint8_t *to; /* where decoded bytes go: the next element's input, or the caller's output */
    int32_t room;
    int32_t passedOn; /* bytes that went there */
};

Stage stageOf(const DecodingChain *chain, int32_t index, uint8_t *out, int32_t outMax)
{
    if (index == chain->count - 1)
        return {out, std::max(outMax, 0), 0};
    const ChainElement &next = chain->elements[index + 1];
    return {next.input + next.inputFill, FILTER_BUFFER_BYTES - next.inputFill, 0};
}

/* Lets a decoder work; false after its fault.  *used becomes the input that it took. */
bool decode(DecodingChain *chain, ChainElement &element, int32_t *used)
{
    int32_t made =
        filterToRaw(element, element.input, element.inputFill, element.output + element.outputFill,
                    FILTER_BUFFER_BYTES - element.outputFill);
    if (made < 0)
        return false;
    *used = filterConsumed(element);
    element.outputFill += made;
    chain->decoded += made;
    chain->moved |= made > 0 || *used > 0;
    return true;
}

/* Passes on what an element has decoded, as far as there is room. */
void passOn(DecodingChain *chain, ChainElement &element, Stage &stage)
{
    stage.passedOn = std::min(element.outputFill, stage.room);
    append(stage.to, 0, element.output, stage.passedOn);
    dropFront(element.output, element.outputFill, stage.passedOn);
    chain->moved |= stage.passedOn > 0;
}

/* Runs every stage once; answers the bytes that came out of the last, or -1. */
int32_t runStages(DecodingChain *chain, uint8_t *out, int32_t outMax)
{
    int32_t done = 0, passedOn = 0;
    for (int32_t i = 0; i < chain->count; i++) {
        ChainElement &element = chain->elements[i];
        Stage stage = stageOf(chain, i, out, outMax);
        int32_t used = 0;
        /* A decoder that is Done still passes on what it has in its buffer. */
        if (filterIsDone(element)) {
            if (++done == chain->count)
                chain->state = DECODER_DONE;
        } else if (!decode(chain, element, &used)) {
            chain->state = DECODER_ERROR;
            return -1;
        }
        passOn(chain, element, stage);
        passedOn = stage.passedOn;
        if (i < chain->count - 1)
            chain->elements[i + 1].inputFill += passedOn;
        dropFront(element.input, element.inputFill, used);
    }
    return passedOn;
}

} // namespace

DecodingChain *chainInit(ZelkovController *controller, int32_t count, const char *const *names)
{
    DecodingChain *chain = new (std::nothrow) DecodingChain();
    if (!chain)
        return nullptr;
    chain->controller = controller;
    chain->count = std::max(count, 0);
    chain->elements = new (std::nothrow) ChainElement[(size_t)chain->count]();
    if (!chain->elements) {
        delete chain;
        return nullptr;
    }
    for (int32_t i = 0; i < chain->count; i++)
        if (!setUpNamed(chain, i, names[i])) {
            chainFree(chain);
            return nullptr;
        }
    return chain;
}

void chainFree(DecodingChain *chain)
{
    if (!chain)
        return;
    for (int32_t i = 0; i < chain->count; i++) {
        filterFree(chain->elements[i]);
        delete[] chain->elements[i].input;
        delete[] chain->elements[i].output;
    }
    delete[] chain->elements;
    delete chain;
}

int32_t chain_ToRaw(DecodingChain *chain, const uint8_t *in, int32_t inLen, uint8_t *out,
                    int32_t outMax)
{
    chain->consumed = chain->produced = 0;
    chain->moved = false;
    if (!chain_isBeginRun(chain)) {
        chain->state = DECODER_ERROR;
        return -1;
    }
    chain->state = DECODER_RUN;
    if (chain->count == 0)
        return 0;

    ChainElement &first = chain->elements[0];
    chain->consumed = std::clamp(FILTER_BUFFER_BYTES - first.inputFill, 0, std::max(inLen, 0));
    append(first.input, first.inputFill, in, chain->consumed);
    first.inputFill += chain->consumed;
    chain->moved = chain->consumed > 0;

    int32_t produced = runStages(chain, out, outMax);
    if (produced < 0)
        return -1;
    return chain->produced = produced;
}

int32_t chainConsumed(const DecodingChain *chain)
{
    return chain->consumed;
}

int32_t chain_isBeginRun(const DecodingChain *chain)
{
    return stateIsBeginRun((uint32_t)chain->state);
}
