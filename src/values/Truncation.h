// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <limits>

// From doubles to integers, defined for every double.
namespace Tavrin::detail {

inline constexpr double twoTo31 = 2147483648.0;
inline constexpr double twoTo63 = 9223372036854775808.0;

// Without the fraction; what does not fit, NaN included, gives the smallest integer.
constexpr int truncateTo32(double number) noexcept
{
    if (number > -twoTo31 - 1 && number < twoTo31)
        return static_cast<int>(number);
    return std::numeric_limits<int>::min();
}

// The low 32 bits of the number without its fraction; what does not fit 64 bits gives 0.
constexpr std::uint32_t wrapTo32(double number) noexcept
{
    if (number >= -twoTo63 && number < twoTo63)
        return static_cast<std::uint32_t>(static_cast<std::int64_t>(number));
    return 0;
}

} // namespace Tavrin::detail
