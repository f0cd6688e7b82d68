/*
 * operators.cpp - looking an operator up
 */
#include "prepare/model/operators.h"

#include <algorithm>
#include <array>

namespace prepare {

namespace {

constexpr Operator unknown;

constexpr Operator rows[] = {
#define OPERATOR(id, name, operands, classes) {Op::id, name, operands, classes},
#include "prepare/model/operators.def"
#undef OPERATOR
};

constexpr size_t LONGEST = 3;

/* The bytes of a name as one number. */
constexpr uint32_t keyOf(std::string_view name)
{
    uint32_t key = 0;
    for (char c : name)
        key = key << 8 | (uint8_t)c;
    return key;
}

struct Slot {
    uint32_t key = 0;
    const Operator *row = nullptr;
};

constexpr std::array<Slot, std::size(rows)> sortedSlots()
{
    std::array<Slot, std::size(rows)> slots;
    for (size_t i = 0; i < slots.size(); i++)
        slots[i] = {keyOf(rows[i].name), &rows[i]};
    std::sort(slots.begin(), slots.end(),
              [](const Slot &a, const Slot &b) { return a.key < b.key; });
    return slots;
}

constexpr std::array<Slot, std::size(rows)> slots = sortedSlots();

} // namespace

const Operator &operatorOf(std::string_view name)
{
    if (name.empty() || name.size() > LONGEST)
        return unknown;
    uint32_t key = keyOf(name);
    auto at = std::lower_bound(slots.begin(), slots.end(), key,
                               [](const Slot &slot, uint32_t wanted) { return slot.key < wanted; });
    return at != slots.end() && at->key == key ? *at->row : unknown;
}

} // namespace prepare
