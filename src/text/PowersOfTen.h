// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

namespace Tavrin::detail {

// The top 128 bits of a power of ten, from its highest bit on.
struct PowerOfTen
{
    std::uint64_t high;
    std::uint64_t low;
};

inline constexpr int leastPowerOfTen = -308;
inline constexpr int greatestPowerOfTen = 338;
// From 10^0 to this one nothing is cut off.
inline constexpr int lastExactPowerOfTen = 55;

struct PowersOfTen
{
    PowerOfTen from[greatestPowerOfTen - leastPowerOfTen + 1];

    constexpr const PowerOfTen &operator[](int exponent) const noexcept
    {
        return from[exponent - leastPowerOfTen];
    }
};
extern const PowersOfTen powersOfTen;

// The exponent of the highest power of two that is not above 10^exponent.
constexpr int binaryExponentOfPowerOfTen(int exponent) noexcept
{
    // log2(10) as 1741647 / 2^19, which is right up to 10^1233.
    return static_cast<int>((std::int64_t{exponent} * 1741647) >> 19);
}

} // namespace Tavrin::detail
