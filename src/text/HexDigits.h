// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstddef>

namespace Tavrin::detail {

inline constexpr char upperHexDigits[] = "0123456789ABCDEF";
inline constexpr char lowerHexDigits[] = "0123456789abcdef";

inline constexpr auto hexDigitValues = [] {
    std::array<unsigned char, 128> values{};
    for (std::size_t unit = 0; unit < values.size(); ++unit) {
        const std::size_t lower = unit | 0x20;
        const bool isLetter = lower >= 'a' && lower <= 'f';
        const bool isDigit = unit >= '0' && unit <= '9';
        values[unit] = static_cast<unsigned char>(isDigit    ? unit - '0'
                                                  : isLetter ? lower - 'a' + 10
                                                             : 16);
    }
    return values;
}();

// The value of a hexadecimal digit in either case; 16 for any other unit.
constexpr unsigned hexDigitValue(unsigned short unit) noexcept
{
    return unit < hexDigitValues.size() ? hexDigitValues[unit] : 16;
}

// The digit of the low four bits.
constexpr unsigned short hexDigit(unsigned value, const char *digits = upperHexDigits) noexcept
{
    return static_cast<unsigned char>(digits[value & 0xF]);
}

} // namespace Tavrin::detail
