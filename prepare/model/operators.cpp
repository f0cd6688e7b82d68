/*
 * operators.cpp - looking an operator up
 */
#include "prepare/model/operators.h"

#include <array>

namespace prepare {

namespace {

constexpr Operator unknown;

constexpr uint8_t countOf(std::string_view types)
{
    return types == "*" ? 0 : (uint8_t)types.size();
}

constexpr Operator rows[] = {
#define OPERATOR(id, name, operands, classes) {Op::id, name, operands, countOf(operands), classes},
#include "prepare/model/operators.def"
#undef OPERATOR
};

constexpr size_t LONGEST = 3;

/* The bytes of a name as one number, which is not 0. */
constexpr uint32_t keyOf(std::string_view name)
{
    uint32_t key = 0;
    for (char c : name)
        key = key << 8 | (uint8_t)c;
    return key;
}

/* A table by the keys' hashes, where one that finds its place taken stands behind it. */
constexpr size_t SLOTS = 512;

constexpr size_t placeOf(uint32_t key)
{
    return (key * 0x9E3779B1u) >> 23; /* the upper nine bits */
}

struct Slot {
    uint32_t key = 0;
    uint32_t row = 0;
};

constexpr std::array<Slot, SLOTS> hashedSlots()
{
    std::array<Slot, SLOTS> slots;
    for (uint32_t i = 0; i < std::size(rows); i++) {
        size_t place = placeOf(keyOf(rows[i].name));
        while (slots[place].key)
            place = (place + 1) % SLOTS;
        slots[place] = {keyOf(rows[i].name), i};
    }
    return slots;
}

constexpr std::array<Slot, SLOTS> slots = hashedSlots();

} // namespace

const Operator &operatorOf(std::string_view name)
{
    if (name.empty() || name.size() > LONGEST)
        return unknown;
    uint32_t key = keyOf(name);
    for (size_t place = placeOf(key); slots[place].key; place = (place + 1) % SLOTS)
        if (slots[place].key == key)
            return rows[slots[place].row];
    return unknown;
}

} // namespace prepare
