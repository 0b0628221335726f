// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>

#include "text/NumberUnits.h"

// The decimal digits of finite doubles that are not negative, rounded exactly: to the nearest, and
// a number halfway to the even digit. They are the digits that printf gives.
namespace Tavrin::detail {

// value * 10^places as a whole number, for places from -308 to 338. Nothing if it has 64 bits or
// more, or in the rare cases that 128 bits of the power of ten do not decide.
std::optional<std::uint64_t> roundedToPlaces(double value, int places) noexcept;

struct Scientific
{
    std::uint64_t digits; // as many as were asked for, unless the value is 0
    int exponent;         // that of the first one
};

// The first `count` digits of the value, 1 to 15.
Scientific roundedToDigits(double value, int count) noexcept;

// Appends what printf gives for "%.*f", places from 0 to 15.
void appendFixed(NumberUnits &text, double value, int places) noexcept;
// Appends the digits with a point behind the first one and so many places: `places + 1` digits.
void appendMantissa(NumberUnits &text, std::uint64_t digits, int places) noexcept;

} // namespace Tavrin::detail
