// SPDX-License-Identifier: MIT
// The decimal digits of doubles, beside those of printf, and the table that they come from beside
// long division.
#include "text/DecimalDigits.h"

#include <bit>
#include <cmath>
#include <cstdio>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "text/PowersOfTen.h"

using namespace Tavrin::detail;

namespace {

constexpr double largest = std::numeric_limits<double>::max();
constexpr double leastDenormal = std::numeric_limits<double>::denorm_min();
constexpr double leastNormal = std::numeric_limits<double>::min();

std::string printed(const char *format, int places, double value)
{
    char text[400];
    const int length = std::snprintf(text, sizeof text, format, places, value);
    return {text, static_cast<std::size_t>(length)};
}

std::string narrow(const NumberUnits &text)
{
    const UnitView view = text.view();
    std::string result;
    for (int at = 0; at < view.length; ++at)
        result += static_cast<char>(view.units[at]);
    return result;
}

std::string fixedText(double value, int places)
{
    NumberUnits text;
    appendFixed(text, value, places);
    return narrow(text);
}

std::string scientificText(double value, int places)
{
    const Scientific rounded = roundedToDigits(value, places + 1);
    NumberUnits text;
    appendMantissa(text, rounded.digits, places);
    char exponent[8];
    std::snprintf(exponent, sizeof exponent, "e%+03d", rounded.exponent);
    return narrow(text) + exponent;
}

void expectDigitsOfPrintf(double value)
{
    for (const int places : {0, 1, 2, 6, 13, 14}) {
        ASSERT_EQ(scientificText(value, places), printed("%.*e", places, value)) << places;
        if (value < 1e30) {
            ASSERT_EQ(fixedText(value, places), printed("%.*f", places, value)) << places;
        }
    }
}

} // namespace

TEST(DecimalDigits, ValuesAtTheLimitsHaveTheDigitsOfPrintf)
{
    const double values[] = {0,
                             leastDenormal,
                             3 * leastDenormal,
                             std::nextafter(leastNormal, 0),
                             leastNormal,
                             1e-300,
                             1e-22,
                             0.1,
                             0.3,
                             std::nextafter(1.0, 0),
                             1,
                             std::nextafter(1.0, 2),
                             9.5,
                             99.5,
                             std::nextafter(10.0, 0),
                             std::nextafter(1e15, 0),
                             1e15,
                             9007199254740991.0,
                             9007199254740993.0,
                             18446744073709551615.0,
                             std::nextafter(18446744073709551616.0, 0),
                             1e21,
                             1e22,
                             1e23,
                             1e300,
                             std::nextafter(largest, 0),
                             largest};
    for (const double value : values)
        expectDigitsOfPrintf(value);
}

// Halfway between two results: 0.5, 2.5, 0.125, 1.0625 ... to the even digit.
TEST(DecimalDigits, TiesGoToTheEvenDigit)
{
    for (int whole = 0; whole < 200; ++whole)
        for (int halves = 1; halves < 16; ++halves)
            expectDigitsOfPrintf(std::ldexp(2 * whole + 1, -halves));
    EXPECT_EQ(fixedText(0.5, 0), "0");
    EXPECT_EQ(fixedText(1.5, 0), "2");
    EXPECT_EQ(fixedText(2.5, 0), "2");
    EXPECT_EQ(fixedText(0.125, 2), "0.12");
    EXPECT_EQ(fixedText(0.375, 2), "0.38");
}

// Whole numbers whose last kept digit is followed by 5 and zeros: the power of ten is cut off, so
// that its bits do not decide.
TEST(DecimalDigits, TiesOfLargeNumbersAreDecidedExactly)
{
    double power = 1;
    for (int exponent = 0; exponent < 17; ++exponent, power *= 10)
        for (const double front : {1.0, 5.0, 15.0, 25.0, 35.0, 95.0, 995.0})
            expectDigitsOfPrintf(front * power);
    EXPECT_EQ(roundedToDigits(5e22, 1).digits, 5U);
    EXPECT_EQ(scientificText(2.5e22, 0), "2e+22");
    EXPECT_EQ(scientificText(3.5e22, 0), "4e+22");
}

TEST(DecimalDigits, NinesRoundUpToTheNextPower)
{
    EXPECT_EQ(scientificText(9.9999999, 2), "1.00e+01");
    EXPECT_EQ(scientificText(0.00099999999, 3), "1.000e-03");
    EXPECT_EQ(fixedText(0.9999, 2), "1.00");
    EXPECT_EQ(fixedText(999.999, 1), "1000.0");
}

// Just below and above a power of ten the estimate of the exponent is at its limits.
TEST(DecimalDigits, NeighboursOfEveryPowerOfTen)
{
    EXPECT_EQ(scientificText(0x1.fe9b68b911325p-971, 9), "9.993579370e-293");
    for (int exponent = -307; exponent <= 308; ++exponent) {
        const double power = std::stod("1e" + std::to_string(exponent));
        for (const double factor : {0.9993, 0.99999, 1.0, 1.00001}) {
            const double value = power * factor;
            for (const int places : {2, 9, 14})
                ASSERT_EQ(scientificText(value, places), printed("%.*e", places, value));
        }
        const double below = std::nextafter(power, 0);
        ASSERT_EQ(scientificText(below, 14), printed("%.*e", 14, below));
    }
}

TEST(DecimalDigits, ZeroHasADigitForEachPlace)
{
    EXPECT_EQ(fixedText(0, 3), "0.000");
    EXPECT_EQ(scientificText(0, 3), "0.000e+00");
    EXPECT_EQ(fixedText(0, 0), "0");
}

TEST(DecimalDigits, RandomDoublesHaveTheDigitsOfPrintf)
{
    std::mt19937_64 random(7);
    for (int count = 0; count < 10'000; ++count) {
        const auto bits = random() >> 1;
        const double value = std::bit_cast<double>(bits);
        if (std::isfinite(value))
            expectDigitsOfPrintf(value);
        expectDigitsOfPrintf(static_cast<double>(bits % 100'000'000) / 100);
        expectDigitsOfPrintf(
            std::ldexp(static_cast<double>(bits % 10'007), -static_cast<int>(bits % 53)));
    }
}

TEST(DecimalDigits, WhatNeedsMoreThan64BitsIsLeftOpen)
{
    EXPECT_FALSE(roundedToPlaces(1e20, 0));
    EXPECT_FALSE(roundedToPlaces(largest, 14));
    EXPECT_EQ(roundedToPlaces(1e20, -10), 10'000'000'000U);
    EXPECT_EQ(roundedToPlaces(leastDenormal, 14), 0U);
}

TEST(PowersOfTen, BinaryExponentsAreThoseOfTheLogarithm)
{
    for (int exponent = leastPowerOfTen; exponent <= greatestPowerOfTen; ++exponent)
        EXPECT_EQ(binaryExponentOfPowerOfTen(exponent),
                  static_cast<int>(std::floor(exponent * std::log2(10.0L))))
            << exponent;
}

// Each entry times ten is the next one but for what was cut off.
TEST(PowersOfTen, EveryEntryFollowsFromTheOneBelow)
{
    const auto word = [](const PowerOfTen &power) {
        return std::ldexp(static_cast<long double>(power.high), 64) +
               static_cast<long double>(power.low);
    };
    for (int exponent = leastPowerOfTen; exponent < greatestPowerOfTen; ++exponent) {
        const PowerOfTen &power = powersOfTen[exponent];
        const PowerOfTen &next = powersOfTen[exponent + 1];
        EXPECT_GE(power.high, std::uint64_t{1} << 63) << exponent;
        const int shift =
            binaryExponentOfPowerOfTen(exponent + 1) - binaryExponentOfPowerOfTen(exponent);
        EXPECT_NEAR(static_cast<double>(std::ldexp(word(power) * 10, -shift) / word(next)), 1,
                    1e-18)
            << exponent;
    }
    EXPECT_EQ(powersOfTen[0].high, std::uint64_t{1} << 63);
    EXPECT_EQ(powersOfTen[0].low, 0U);
    EXPECT_EQ(powersOfTen[27].high, 0xCECB8F27F4200F3AU);
    EXPECT_EQ(powersOfTen[lastExactPowerOfTen].low & 1, 1U) << "5^55 takes all 128 bits";
}

TEST(NumberUnits, CountsAndWritesDigits)
{
    EXPECT_EQ(digitCount(0), 1);
    std::uint64_t power = 1;
    for (int digits = 1; digits <= 19; ++digits, power *= 10) {
        EXPECT_EQ(digitCount(power), digits);
        EXPECT_EQ(digitCount(power * 9 + (power - 1)), digits);
    }
    EXPECT_EQ(digitCount(std::numeric_limits<std::uint64_t>::max()), 20);
    NumberUnits text;
    text.appendDigits(7, 5);
    text.append('/');
    text.appendWhole(std::numeric_limits<std::uint64_t>::max());
    text.append("/");
    text.appendDigits(1234, 3);
    EXPECT_EQ(narrow(text), "00007/18446744073709551615/234");
}
