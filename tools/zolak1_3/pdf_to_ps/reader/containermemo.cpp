/*
 * containermemo.cpp - a fixed table of containers by their start
 */
#include "tools/zolak1_3/pdf_to_ps/reader/containermemo.h"

namespace {

/* Shorter ones are as quick to read again, and would only push out longer ones. */
constexpr uint32_t KEEP_BYTES = 128;
/* A long one gives way after so many others: its part of the file has been left behind. */
constexpr uint32_t KEEP_FOR = 4096;

uint32_t slotOf(uint32_t start)
{
    return start * 2654435761U >> 23; /* the high 9 bits of a multiplicative hash */
}
static_assert(MEMO_SLOTS == 1U << 9, "slotOf answers 9 bits");

} // namespace

void memo_clear(ContainerMemo *memo)
{
    *memo = {};
}

void memo_keep(ContainerMemo *memo, const ReadContainer &container)
{
    memo->last = container;
    memo->last.used = true;
    uint32_t length = container.end - container.start;
    if (length < KEEP_BYTES)
        return;
    memo->stamp++;
    ReadContainer &slot = memo->slots[slotOf(container.start)];
    if (slot.used && slot.end - slot.start > length && memo->stamp - slot.stamp < KEEP_FOR)
        return;
    slot = memo->last;
    slot.stamp = memo->stamp;
}

const ReadContainer *memo_find(const ContainerMemo *memo, uint32_t start)
{
    if (memo->last.used && memo->last.start == start)
        return &memo->last;
    const ReadContainer &slot = memo->slots[slotOf(start)];
    return slot.used && slot.start == start ? &slot : nullptr;
}
