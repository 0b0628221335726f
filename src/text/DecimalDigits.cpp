// SPDX-License-Identifier: MIT
// A double is a whole number of 64 bits times a power of two. Its product with 128 bits of the
// power of ten has 192 bits; where its binary point lies follows from the exponents, the bits above
// it are the digits, and the bit below it says how to round. The power of ten is cut off by less
// than its last bit, so the true product lies less than 2^64 above this one: that decides the
// rounding unless all bits between the first one below the point and those 64 are set. Then, in one
// of 2^60 numbers and at ties of large ones, std::to_chars computes in as many bits as it takes.
// Pinned by tests/text/DecimalDigitsTest.cpp.
#include "text/DecimalDigits.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <iterator>
#include <limits>

#include "text/PowersOfTen.h"

namespace Tavrin::detail {

namespace {

using Wide = unsigned __int128;

constexpr int mantissaBits = std::numeric_limits<double>::digits - 1;
constexpr int exponentBias = std::numeric_limits<double>::max_exponent - 1;
constexpr int wordBits = 64;

// mantissa * 2^exponent, the top bit of the mantissa set.
struct BinaryParts
{
    std::uint64_t mantissa;
    int exponent;
};

BinaryParts partsOf(double value)
{
    const auto bits = std::bit_cast<std::uint64_t>(value);
    const std::uint64_t fraction = bits & ((std::uint64_t{1} << mantissaBits) - 1);
    const int biased = static_cast<int>(bits >> mantissaBits);
    const std::uint64_t mantissa =
        biased == 0 ? fraction : fraction | std::uint64_t{1} << mantissaBits;
    const int shift = std::countl_zero(mantissa);
    return {mantissa << shift, std::max(biased, 1) - exponentBias - mantissaBits - shift};
}

// The exponent of the highest power of ten that is not above the number: right, or, for one in
// forty, one less.
int decimalExponent(const BinaryParts &parts)
{
    // The binary logarithm with 16 bits of fraction, those of the mantissa: a little too small.
    constexpr int fractionBits = 16;
    const std::int64_t logarithm =
        (std::int64_t{parts.exponent + wordBits - 1} << fractionBits) +
        static_cast<std::int64_t>(parts.mantissa << 1 >> (wordBits - fractionBits));
    // Times log10(2), which lies between these parts of 2^20: the one that gives the less.
    const std::int64_t log10Of2 = logarithm < 0 ? 315653 : 315652;
    return static_cast<int>((logarithm * log10Of2) >> (20 + fractionBits));
}

// A number of 192 bits.
struct Product
{
    std::uint64_t high, middle, low;
};

Product product(std::uint64_t mantissa, const PowerOfTen &power)
{
    const Wide low = Wide{mantissa} * power.low;
    const Wide high = Wide{mantissa} * power.high + static_cast<std::uint64_t>(low >> 64);
    return {static_cast<std::uint64_t>(high >> 64), static_cast<std::uint64_t>(high),
            static_cast<std::uint64_t>(low)};
}

// Rounds number / 2^(128 + belowPoint), with 0 to 64 bits of the high word below the point.
// `isCutOff` says that the true number is above this one, by less than 2^64.
std::optional<std::uint64_t> rounded(const Product &number, int belowPoint, bool isCutOff)
{
    const bool isAllFraction = belowPoint == wordBits;
    const std::uint64_t whole = isAllFraction ? 0 : number.high >> belowPoint;
    const Wide fraction = (Wide{number.high} << wordBits | number.middle)
                              << (wordBits - belowPoint) |
                          (isAllFraction ? 0 : number.low >> belowPoint);
    const std::uint64_t behindFraction =
        isAllFraction ? number.low : number.low & ((std::uint64_t{1} << belowPoint) - 1);
    constexpr Wide half = Wide{1} << (2 * wordBits - 1);
    constexpr Wide doubt = (Wide{1} << wordBits) + 1;
    if (fraction < half) {
        if (isCutOff && half - fraction <= doubt)
            return std::nullopt;
        return whole;
    }
    const bool isTie = fraction == half && behindFraction == 0 && !isCutOff;
    return whole + (isTie ? whole & 1 : 1);
}

// The digits of a text as one number; other characters are passed over.
std::uint64_t digitsIn(const char *first, const char *last)
{
    std::uint64_t number = 0;
    for (; first != last; ++first)
        if (*first >= '0' && *first <= '9')
            number = number * 10 + static_cast<std::uint64_t>(*first - '0');
    return number;
}

// The slow way, for what `rounded` leaves open.
Scientific exactDigits(double value, int count)
{
    char text[32];
    char *const end = std::to_chars(std::begin(text), std::end(text), value,
                                    std::chars_format::scientific, count - 1)
                          .ptr;
    char *const marker = std::find(text, end, 'e');
    int exponent = 0;
    std::from_chars(marker[1] == '+' ? marker + 2 : marker + 1, end, exponent);
    return {digitsIn(text, marker), exponent};
}

} // namespace

std::optional<std::uint64_t> roundedToPlaces(double value, int places) noexcept
{
    if (value == 0)
        return 0;
    const BinaryParts parts = partsOf(value);
    const int binaryExponent =
        parts.exponent + binaryExponentOfPowerOfTen(places) - (2 * wordBits - 1);
    const int belowPoint = -binaryExponent - 2 * wordBits;
    if (belowPoint <= 0)
        return std::nullopt;
    if (belowPoint > wordBits)
        return 0;
    return rounded(product(parts.mantissa, powersOfTen[places]), belowPoint,
                   places < 0 || places > lastExactPowerOfTen);
}

Scientific roundedToDigits(double value, int count) noexcept
{
    if (value == 0)
        return {0, 0};
    const int estimate = decimalExponent(partsOf(value));
    for (const int exponent : {estimate, estimate + 1}) {
        const std::optional<std::uint64_t> digits = roundedToPlaces(value, count - 1 - exponent);
        if (!digits)
            break;
        const std::uint64_t limit = wholePowersOfTen[static_cast<std::size_t>(count)];
        if (*digits < limit)
            return {*digits, exponent};
        if (*digits == limit)
            return {limit / 10, exponent + 1};
    }
    return exactDigits(value, count);
}

void appendFixed(NumberUnits &text, double value, int places) noexcept
{
    const std::optional<std::uint64_t> digits = roundedToPlaces(value, places);
    if (!digits) {
        char bytes[400]; // the largest double with all places
        const char *end = std::to_chars(std::begin(bytes), std::end(bytes), value,
                                        std::chars_format::fixed, places)
                              .ptr;
        text.append(std::string_view(bytes, end));
        return;
    }
    text.appendDecimal(*digits, std::max(digitCount(*digits), places + 1), places);
}

void appendMantissa(NumberUnits &text, std::uint64_t digits, int places) noexcept
{
    text.appendDecimal(digits, places + 1, places);
}

} // namespace Tavrin::detail
