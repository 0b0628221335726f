// SPDX-License-Identifier: MIT
#pragma once

namespace Tavrin::detail {

inline constexpr char upperHexDigits[] = "0123456789ABCDEF";
inline constexpr char lowerHexDigits[] = "0123456789abcdef";

// The value of a hexadecimal digit in either case; 16 or more for any other unit.
constexpr unsigned hexDigitValue(unsigned short unit) noexcept
{
    if (unit >= '0' && unit <= '9')
        return unit - unsigned{'0'};
    const unsigned lower = unit | 0x20U;
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : 16;
}

// The digit of the low four bits.
constexpr unsigned short hexDigit(unsigned value, const char *digits = upperHexDigits) noexcept
{
    return static_cast<unsigned char>(digits[value & 0xF]);
}

} // namespace Tavrin::detail
