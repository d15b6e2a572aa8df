// Parity of a 32-bit word. Pure functions.
#pragma once

#include <cstdint>

namespace Tessorn {
namespace BitTwiddles {

/// The bit, 0 or 1, which added to `word` makes the number of ones even.
constexpr uint32_t getEvenParityBit(uint32_t word)
{
    word ^= word >> 16;
    word ^= word >> 8;
    word ^= word >> 4;
    return (0x6996u >> (word & 0xFu)) & 1u; // bit n of the constant is the parity of n
}

/// The bit, 0 or 1, which added to `word` makes the number of ones odd.
constexpr uint32_t getOddParityBit(uint32_t word)
{
    return getEvenParityBit(word) ^ 1u;
}

} // namespace BitTwiddles
} // namespace Tessorn
