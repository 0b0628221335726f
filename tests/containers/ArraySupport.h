// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <initializer_list>
#include <ostream>
#include <vector>

#include <tavrin/SimpleArray.h>

namespace Tavrin {

// Found by the test framework, which prints it when a comparison fails.
inline void PrintTo(const SimpleArray &array, std::ostream *out)
{
    *out << '[';
    for (const std::int64_t &slot : array)
        *out << (&slot == array.begin() ? "" : ", ") << slot;
    *out << ']';
}

namespace test {

inline SimpleArray arrayOf(std::initializer_list<std::int64_t> values)
{
    SimpleArray result;
    for (std::int64_t value : values)
        result.append(value);
    return result;
}

// The numbers from 1 to `count`.
inline SimpleArray numbersTo(int count)
{
    SimpleArray result;
    for (int number = 1; number <= count; ++number)
        result.append(number);
    return result;
}

inline std::vector<std::int64_t> valuesOf(const SimpleArray &array)
{
    return {array.begin(), array.end()};
}

} // namespace test

} // namespace Tavrin
