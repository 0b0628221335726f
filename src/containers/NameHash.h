// SPDX-License-Identifier: MIT
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include <tavrin/String.h>

#include "text/UnicodeTables.h"
#include "text/UnitScan.h"

// The two hashes of a name, and its comparison with another.
//
// Names of 8 to 24 units, which is most of them, are read in the same few steps whatever their
// length: three blocks of eight units, which overlap where the name is shorter. A branch on the
// length would be foreseen by no processor, and cost more than all the rest.
namespace Tavrin::detail {

inline constexpr std::size_t unitsPerBlock = 8;
inline constexpr std::size_t mostUnitsAtOnce = 3 * unitsPerBlock;

inline std::uint64_t loadWord(const unsigned short *units)
{
    std::uint64_t word;
    std::memcpy(&word, units, sizeof word);
    return word;
}

inline bool isReadAtOnce(std::size_t length)
{
    return length - unitsPerBlock <= mostUnitsAtOnce - unitsPerBlock;
}

// Where the last block of such a name begins, and the one before it.
inline std::size_t lastBlockOf(std::size_t length)
{
    return length - unitsPerBlock;
}
inline std::size_t middleBlockOf(std::size_t length)
{
    const std::size_t last = lastBlockOf(length);
    return last < unitsPerBlock ? last : unitsPerBlock;
}

inline std::uint64_t differenceOfBlocks(const unsigned short *a, const unsigned short *b)
{
    return (loadWord(a) ^ loadWord(b)) | (loadWord(a + 4) ^ loadWord(b + 4));
}

inline bool areEqualNames(const String &a, const String &b)
{
    const unsigned short *left = a.wstr();
    const unsigned short *right = b.wstr();
    if (left == right)
        return true;
    if (a.length() != b.length())
        return false;
    const auto length = static_cast<std::size_t>(a.length());
    if (!isReadAtOnce(length)) [[unlikely]]
        return std::memcmp(left, right, length * sizeof *left) == 0;
    const std::size_t middle = middleBlockOf(length);
    const std::size_t last = lastBlockOf(length);
    return (differenceOfBlocks(left, right) | differenceOfBlocks(left + middle, right + middle) |
            differenceOfBlocks(left + last, right + last)) == 0;
}

// Whether the names are equal but for the case of their units.
inline bool areAlikeNames(const String &a, const String &b)
{
    return areEqualNames(a, b) ||
           (a.length() == b.length() &&
            firstFoldedDifference(a.wstr(), b.wstr(), a.length()) == a.length());
}

inline constexpr std::uint64_t everyUnit = 0x0001'0001'0001'0001;
inline constexpr std::uint64_t nonAsciiBits = 0xFF80 * everyUnit;

// The hash that decides the bucket. D-120: five units take part, and a 0 unit ends them.
unsigned chainHashOfAny(const unsigned short *units);

inline unsigned chainHashOf(const String &name)
{
    const unsigned short *units = name.wstr();
    if (std::endian::native != std::endian::little || name.length() < 5) [[unlikely]]
        return chainHashOfAny(units);
    // With four ASCII units, none of them 0, the arithmetic below stays within the lanes.
    const std::uint64_t word = loadWord(units);
    constexpr unsigned lastAscii = 0x7F;
    if (((word | (word - everyUnit)) & nonAsciiBits) != 0 || units[4] - 1U >= lastAscii)
        [[unlikely]]
        return chainHashOfAny(units);
    // The top bit of each byte: whether the unit is at least "a", and whether it is behind "z".
    const std::uint64_t fromA = word + (0x80 - 'a') * everyUnit;
    const std::uint64_t behindZ = word + (0x80 - 'z' - 1) * everyUnit;
    const std::uint64_t upper = word - ((fromA & ~behindZ & 0x80 * everyUnit) >> 2);
    // The top lane of the product is the sum of the units, each doubled once for each one behind.
    constexpr std::uint64_t weights = 0x0010'0008'0004'0002;
    return static_cast<unsigned>(upper * weights >> 48) + toUpperUnit(units[4]);
}

// A hash of the whole name, the same for names that differ only in case. All its bits serve alike.
unsigned nameHashOfAny(const unsigned short *units, std::size_t length);

// Mixes what a run of units comes down to; `salt` tells runs of different lengths apart.
inline std::uint64_t mixBlocks(std::uint64_t first, std::uint64_t middle, std::uint64_t last,
                               std::uint64_t salt)
{
    constexpr std::uint64_t seeds[] = {0x9E37'79B9'7F4A'7C15, 0xC2B2'AE3D'27D4'EB4F,
                                       0xD6E8'FEB8'6659'FD93};
    __extension__ using Product = unsigned __int128;
    const Product product = Product{first ^ seeds[0]} * ((middle ^ seeds[1]) + salt);
    const std::uint64_t hash =
        (static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64)) +
        last * seeds[2];
    return hash ^ hash >> 32;
}

// Two words of ASCII units in one. Without one bit of each unit, both cases are the same.
inline std::uint64_t packCaseless(std::uint64_t front, std::uint64_t back)
{
    constexpr std::uint64_t caseless = 0x5F5F'5F5F'5F5F'5F5F;
    return (front | back << 8) & caseless;
}

inline unsigned nameHashOf(const String &name)
{
    const unsigned short *first = name.wstr();
    const auto length = static_cast<std::size_t>(name.length());
    if (isReadAtOnce(length)) [[likely]] {
        const unsigned short *middle = first + middleBlockOf(length);
        const unsigned short *last = first + lastBlockOf(length);
        const std::uint64_t a = loadWord(first), b = loadWord(first + 4), c = loadWord(middle),
                            d = loadWord(middle + 4), e = loadWord(last), f = loadWord(last + 4);
        if (((a | b | c | d | e | f) & nonAsciiBits) == 0) [[likely]]
            return static_cast<unsigned>(
                mixBlocks(packCaseless(a, b), packCaseless(c, d), packCaseless(e, f), length));
    } else if (length - 4 < unitsPerBlock - 4) {
        const std::uint64_t front = loadWord(first), back = loadWord(first + length - 4);
        if (((front | back) & nonAsciiBits) == 0) [[likely]]
            return static_cast<unsigned>(mixBlocks(packCaseless(front, back), 0, 0, length));
    }
    return nameHashOfAny(first, length);
}

} // namespace Tavrin::detail
