/*
 * flatetable.h - the code tables of deflate: how they are built and read, and the fixed ones
 *
 * Codes are read bit by bit.  A canonical code needs no tree for that: the codes of one length
 * are consecutive numbers, so at each bit one comparison tells whether the code is complete.
 */
#ifndef COMPRESS_FLATETABLE_H
#define COMPRESS_FLATETABLE_H

#include <cstdint>

#include "tools/compress1_2/flatedecode.h"

/* Symbols of the literal/length code: 0 to 255 are literals. */
constexpr int32_t FLATE_END_OF_BLOCK = 256;
constexpr int32_t FLATE_FIRST_LENGTH = 257;
constexpr int32_t FLATE_LAST_LENGTH = 285;

struct FlateRange {
    uint32_t extraBits;
    uint32_t base;
};

/* By literal/length symbol - FLATE_FIRST_LENGTH.  The last two rows belong to symbols that have
 * codes but no meaning. */
constexpr FlateRange lengthTable[31] = {
    {0, 3},   {0, 4},   {0, 5},   {0, 6},   {0, 7},   {0, 8},   {0, 9},   {0, 10},
    {1, 11},  {1, 13},  {1, 15},  {1, 17},  {2, 19},  {2, 23},  {2, 27},  {2, 31},
    {3, 35},  {3, 43},  {3, 51},  {3, 59},  {4, 67},  {4, 83},  {4, 99},  {4, 115},
    {5, 131}, {5, 163}, {5, 195}, {5, 227}, {0, 258}, {192, 0}, {192, 0},
};

/* By distance symbol. */
constexpr FlateRange distTable[FLATE_DIST_CODES] = {
    {0, 1},     {0, 2},     {0, 3},     {0, 4},      {1, 5},      {1, 7},
    {2, 9},     {2, 13},    {3, 17},    {3, 25},     {4, 33},     {4, 49},
    {5, 65},    {5, 97},    {6, 129},   {6, 193},    {7, 257},    {7, 385},
    {8, 513},   {8, 769},   {9, 1025},  {9, 1537},   {10, 2049},  {10, 3073},
    {11, 4097}, {11, 6145}, {12, 8193}, {12, 12289}, {13, 16385}, {13, 24577},
};

/* Sorts n codes, whose lengths are set, and lets the table stand for them.  Any lengths will do:
 * too many or too few codes give a table that decodes something or finds nothing. */
constexpr void buildHuffmanTable(FlateTable &table, FlateCode *codes, uint32_t n)
{
    uint32_t count[FLATE_MAX_BITS + 1] = {};
    for (uint32_t i = 0; i < n; i++)
        count[codes[i].length]++;

    uint32_t slot[FLATE_MAX_BITS + 1] = {}, code[FLATE_MAX_BITS + 1] = {};
    table.codes = codes;
    table.start[0] = 0;
    for (uint32_t bits = 0; bits <= FLATE_MAX_BITS; bits++) {
        slot[bits] = table.start[bits];
        table.start[bits + 1] = table.start[bits] + count[bits];
        if (bits > 1)
            code[bits] = (code[bits - 1] + count[bits - 1]) * 2;
        table.limit[bits] = code[bits] + count[bits];
        table.offset[bits] = table.start[bits] - code[bits];
    }
    for (uint32_t symbol = 0; symbol < n; symbol++) {
        uint32_t bits = codes[symbol].length;
        FlateCode &sorted = codes[slot[bits]++];
        sorted.code = bits == 0 ? 0 : code[bits]++;
        sorted.symbol = symbol;
    }
}

constexpr int32_t SYMBOL_OUT_OF_INPUT = -1;
constexpr int32_t SYMBOL_BAD_CODE = -2;

/* Takes one code from the `count` low bits and answers its symbol.  Otherwise the bits stay:
 * SYMBOL_BAD_CODE when the first 15 are no code, SYMBOL_OUT_OF_INPUT when there are not enough of
 * them.  `plenty` promises 15 bits.
 *
 * One comparison for each bit is enough: what is no code of L bits is at least limit[L], and twice
 * that is the first code of L + 1 bits, so the code is never below the first one of its length.
 *
 * Unrolled, each length has a branch of its own to be predicted: a tenth faster. */
template <bool plenty>
inline int32_t matchSymbol(const FlateTable &table, uint64_t &bits, uint32_t &count)
{
    uint64_t rest = bits;
    uint32_t code = 0;
#pragma GCC unroll 15
    for (uint32_t length = 1; length <= FLATE_MAX_BITS; length++) {
        if (!plenty && length > count)
            return SYMBOL_OUT_OF_INPUT;
        code = code * 2 + (uint32_t)(rest & 1);
        rest >>= 1;
        if (code < table.limit[length]) {
            bits = rest;
            count -= length;
            return (int32_t)table.codes[table.offset[length] + code].symbol;
        }
    }
    return SYMBOL_BAD_CODE;
}

/* The tables of fixed blocks. */
extern const FlateTable fixedLitlenTable;
extern const FlateTable fixedDistTable;

#endif
