// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "text/StringAccess.h"

namespace Tavrin::detail {

// The two units of each number below 100.
inline constexpr auto digitPairs = [] {
    std::array<std::array<unsigned short, 2>, 100> pairs{};
    for (std::size_t number = 0; number < pairs.size(); ++number)
        pairs[number] = {static_cast<unsigned short>('0' + number / 10),
                         static_cast<unsigned short>('0' + number % 10)};
    return pairs;
}();

inline void writePair(unsigned short *to, unsigned number) noexcept
{
    std::memcpy(to, digitPairs[number].data(), 2 * sizeof *to);
}

// Writes the lowest eight decimal digits, as two chains of divisions that do not wait for each
// other.
inline void writeEightDigits(unsigned short *to, std::uint32_t number) noexcept
{
    const std::uint32_t high = number / 10000;
    const std::uint32_t low = number % 10000;
    writePair(to, high / 100);
    writePair(to + 2, high % 100);
    writePair(to + 4, low / 100);
    writePair(to + 6, low % 100);
}

// Writes the lowest `count` decimal digits of the number, with leading zeros.
inline void writeDigits(unsigned short *to, std::uint64_t number, int count) noexcept
{
    constexpr std::uint32_t eightDigits = 100'000'000;
    for (; count >= 8; number /= eightDigits) {
        count -= 8;
        writeEightDigits(to + count, static_cast<std::uint32_t>(number % eightDigits));
    }
    for (auto rest = static_cast<std::uint32_t>(number % eightDigits); count > 0; rest /= 100) {
        if (count == 1) {
            *to = static_cast<unsigned short>('0' + rest % 10);
            return;
        }
        count -= 2;
        writePair(to + count, rest % 100);
    }
}

inline constexpr auto wholePowersOfTen = [] {
    std::array<std::uint64_t, 20> powers{1};
    for (std::size_t at = 1; at < powers.size(); ++at)
        powers[at] = powers[at - 1] * 10;
    return powers;
}();

// How many decimal digits a number takes; 1 for 0.
inline int digitCount(std::uint64_t number) noexcept
{
    // The logarithm by the number of bits, and one more if it reaches that power.
    const auto estimate = static_cast<unsigned>(std::bit_width(number | 1) * 1233) >> 12;
    return static_cast<int>(estimate) + (number >= wholePowersOfTen[estimate] ? 1 : 0) +
           (number == 0 ? 1 : 0);
}

// NumberUnits: the text of a number while it is put together, off the heap.
class NumberUnits
{
public:
    // The longest text: the largest double in radix 2, with a sign. Fixed form with a hundred
    // places needs less.
    static constexpr int room = 1100;

    NumberUnits() = default;
    NumberUnits(const NumberUnits &) = delete;
    NumberUnits &operator=(const NumberUnits &) = delete;

    UnitView view() const { return {units, length_}; }
    int length() const { return length_; }
    unsigned short *end() { return units + length_; }
    unsigned short &operator[](int at) { return units[at]; }
    // Gives up what stands behind it.
    void truncate(int length) { length_ = length; }

    void append(char unit) { units[length_++] = static_cast<unsigned char>(unit); }
    void append(std::string_view text)
    {
        for (const char unit : text)
            append(unit);
    }
    void appendDigits(std::uint64_t number, int count)
    {
        writeDigits(end(), number, count);
        length_ += count;
    }
    void appendWhole(std::uint64_t number) { appendDigits(number, digitCount(number)); }
    // Appends so many digits with a point in front of the last `places`; none for no places.
    void appendDecimal(std::uint64_t number, int count, int places)
    {
        if (places == 0)
            return appendDigits(number, count);
        writeDigits(end() + 1, number, count);
        for (int whole = count - places; whole > 0; --whole, ++length_)
            units[length_] = units[length_ + 1];
        units[length_] = '.';
        length_ += places + 1;
    }

private:
    int length_ = 0;
    unsigned short units[room];
};

} // namespace Tavrin::detail
