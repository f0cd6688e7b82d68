/*
 * flatetable.cpp - the tables of fixed blocks, built by the compiler
 */
#include "tools/compress1_2/flatetable.h"

#include <array>

namespace {

using LitlenCodes = std::array<FlateCode, FLATE_LITLEN_CODES>;
using DistCodes = std::array<FlateCode, FLATE_DIST_CODES>;

constexpr LitlenCodes fixedLitlenLengths()
{
    LitlenCodes codes{};
    for (uint32_t symbol = 0; symbol < codes.size(); symbol++)
        codes[symbol].length = symbol < 144 ? 8 : symbol < 256 ? 9 : symbol < 280 ? 7 : 8;
    return codes;
}

/* Distance codes 30 and 31 have no entry: they do not decode. */
constexpr DistCodes fixedDistLengths()
{
    DistCodes codes{};
    for (FlateCode &code : codes)
        code.length = 5;
    return codes;
}

template <class Codes> constexpr Codes sorted(Codes codes)
{
    FlateTable table{};
    buildHuffmanTable(table, codes.data(), (uint32_t)codes.size());
    return codes;
}

template <class Codes> constexpr FlateTable tableOf(Codes lengths, const FlateCode *codes)
{
    FlateTable table{};
    buildHuffmanTable(table, lengths.data(), (uint32_t)lengths.size());
    table.codes = codes;
    return table;
}

constexpr LitlenCodes litlenCodes = sorted(fixedLitlenLengths());
constexpr DistCodes distCodes = sorted(fixedDistLengths());

} // namespace

constinit const FlateTable fixedLitlenTable = tableOf(fixedLitlenLengths(), litlenCodes.data());
constinit const FlateTable fixedDistTable = tableOf(fixedDistLengths(), distCodes.data());
