// SPDX-License-Identifier: MIT
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include <tavrin/String.h>

#include "containers/NameRun.h"
#include "text/UnicodeTables.h"
#include "text/UnitScan.h"

// The two hashes of a name, and its comparison with another.
namespace Tavrin::detail {

inline std::size_t lengthOf(const String &name)
{
    return static_cast<unsigned>(name.length());
}

template <class Form>
bool areEqualAs(const unsigned short *left, const unsigned short *right, std::size_t length)
{
    const NamePlaces places(length);
    return Form(left, places) == Form(right, places);
}

inline bool areEqualNames(const String &a, const String &b)
{
    const unsigned short *left = a.wstr();
    const unsigned short *right = b.wstr();
    if (left == right)
        return true;
    if (a.length() != b.length())
        return false;
    const std::size_t length = lengthOf(a);
    if (NameRun::fits(length)) [[likely]]
        return areEqualAs<NameRun>(left, right, length);
    if (ShortName::fits(length))
        return areEqualAs<ShortName>(left, right, length);
    return std::memcmp(left, right, length * sizeof *left) == 0;
}

// Whether the names are equal but for the case of their units.
inline bool areAlikeNames(const String &a, const String &b)
{
    return areEqualNames(a, b) ||
           (a.length() == b.length() &&
            firstFoldedDifference(a.wstr(), b.wstr(), a.length()) == a.length());
}

// The hash that decides the bucket. D-120: five units take part, and a 0 unit ends them.
unsigned chainHashOfAny(const unsigned short *units);

inline unsigned chainHashOf(const String &name)
{
    const unsigned short *units = name.wstr();
    if (std::endian::native != std::endian::little || name.length() < 5) [[unlikely]]
        return chainHashOfAny(units);
    constexpr std::uint64_t everyUnit = 0x0001'0001'0001'0001;
    // With four ASCII units, none of them 0, the arithmetic below stays within the lanes.
    std::uint64_t word;
    std::memcpy(&word, units, sizeof word);
    constexpr unsigned lastAscii = lowestNonAscii - 1;
    if (((word | (word - everyUnit)) & 0xFF80 * everyUnit) != 0 || units[4] - 1U >= lastAscii)
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

// A hash of the whole name, the same for names that differ only in case. Bits that are far apart
// serve alike.
unsigned nameHashOfAny(const unsigned short *units, std::size_t length);

// Mixes the sums of a part of a name; `salt` tells parts of different lengths and in different
// places apart. The upper bits of a product depend on all of the factor, and come out as the lower
// ones.
inline std::uint64_t mixSums(std::uint64_t sums, std::uint64_t salt)
{
    constexpr std::uint64_t factor = 0x9E37'79B9'7F4A'7C15;
    const std::uint64_t salted = sums + salt;
    return __builtin_bswap64((salted ^ salted >> 32) * factor);
}

// Right for names of ASCII units.
template <class Form>
unsigned nameHashOfAscii(const Form &name, std::size_t length)
{
    return static_cast<unsigned>(mixSums(name.caselessSums(), length));
}

inline unsigned nameHashOf(const String &name)
{
    const std::size_t length = lengthOf(name);
    const NamePlaces places(length);
    if (NameRun::fits(length)) [[likely]] {
        clearWideRegisters();
        const NameRun run(name.wstr(), places);
        if (run.isAscii()) [[likely]]
            return nameHashOfAscii(run, length);
    } else if (ShortName::fits(length)) {
        const ShortName units(name.wstr(), places);
        if (units.isAscii()) [[likely]]
            return nameHashOfAscii(units, length);
    }
    return nameHashOfAny(name.wstr(), length);
}

} // namespace Tavrin::detail
