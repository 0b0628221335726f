// SPDX-License-Identifier: MIT
#pragma once

// UTF-8 text by blocks of up to 64 bytes: which byte is what, one bit for each, the first byte
// lowest.
#include <cstdint>

namespace Tavrin::detail {

inline constexpr int utf8BlockSize = 64;

struct Utf8Block
{
    std::uint64_t continuation; // 10xxxxxx
    std::uint64_t lead2;        // leads a sequence of two bytes or more
    std::uint64_t lead3;        // of three or more
    std::uint64_t lead4;        // of four or more
    std::uint64_t lead5;        // of five or more, or 0xFE or 0xFF

    // From the five top bits of each byte.
    static Utf8Block fromBits(std::uint64_t bit7, std::uint64_t bit6, std::uint64_t bit5,
                              std::uint64_t bit4, std::uint64_t bit3)
    {
        const std::uint64_t lead2 = bit7 & bit6;
        const std::uint64_t lead3 = lead2 & bit5;
        const std::uint64_t lead4 = lead3 & bit4;
        return {bit7 & ~bit6, lead2, lead3, lead4, lead4 & bit3};
    }

    // Whether every lead up to four bytes has its continuation bytes, as far as the block goes, and
    // nothing else has any. `carry` are those that sequences of the block before leave open.
    template <int size = utf8BlockSize>
    bool isWellFormed(std::uint64_t carry) const
    {
        const std::uint64_t expected = lead2 << 1 | lead3 << 2 | lead4 << 3 | carry;
        return continuation == (expected & bytesBelow<size>()) && lead5 == 0;
    }

    // The continuation bytes that the next block of 64 has to begin with.
    std::uint64_t carry() const { return lead2 >> 63 | lead3 >> 62 | lead4 >> 61; }

    // The lead of a sequence that the end of the block cuts, or 0.
    template <int size>
    std::uint64_t cut() const
    {
        constexpr std::uint64_t last = std::uint64_t{1} << (size - 1);
        return (lead2 & last) | (lead3 & last >> 1) | (lead4 & last >> 2);
    }

    template <int size>
    static constexpr std::uint64_t bytesBelow()
    {
        return ~std::uint64_t{0} >> (utf8BlockSize - size);
    }
};

} // namespace Tavrin::detail
