// SPDX-License-Identifier: MIT
#pragma once

// Byte shuffles that move the wanted bytes of a 16-byte vector to its front, in order. Each table
// is indexed by a byte that says what is wanted.
#include <array>
#include <cstdint>

namespace Tavrin::detail {

struct alignas(16) Shuffle
{
    std::array<std::uint8_t, 16> sources;
};

using ShuffleTable = std::array<Shuffle, 256>;

// isWanted(index, byte): whether row `index` keeps that byte.
template <class IsWanted>
constexpr ShuffleTable makeShuffles(IsWanted isWanted)
{
    ShuffleTable table{};
    for (unsigned index = 0; index < table.size(); ++index) {
        unsigned kept = 0;
        for (unsigned byte = 0; byte < 16; ++byte)
            if (isWanted(index, byte))
                table[index].sources[kept++] = static_cast<std::uint8_t>(byte);
    }
    return table;
}

// Bit n of the index: lane n of eight 16-bit lanes is wanted.
inline constexpr ShuffleTable keptLanes =
    makeShuffles([](unsigned index, unsigned byte) { return (index >> byte / 2 & 1) != 0; });

// Bit n of the index: lane n of eight 16-bit lanes is one byte long, else two.
inline constexpr ShuffleTable shortLanes = makeShuffles(
    [](unsigned index, unsigned byte) { return byte % 2 == 0 || (index >> byte / 2 & 1) == 0; });

// Bits 2n and 2n + 1 of the index: lane n of four 32-bit lanes has a second byte, and a third one.
// The bytes of a lane are: nothing, the first of three, the first of two, the second of two. A
// single byte stands where the first of two does.
inline constexpr ShuffleTable longLanes = makeShuffles([](unsigned index, unsigned byte) {
    const unsigned lengthBits = index >> byte / 4 * 2 & 3;
    constexpr unsigned neededBit[4] = {4, 2, 0, 1};
    const unsigned needed = neededBit[byte % 4];
    return needed != 4 && (lengthBits & needed) == needed;
});

} // namespace Tavrin::detail
