// SPDX-License-Identifier: MIT
// Numbers to text: the rules as tables, and random numbers beside the same steps done with printf.
#include "text/NumberText.h"

#include <bit>
#include <clocale>
#include <cmath>
#include <cstdio>
#include <limits>
#include <random>
#include <string>

#include <gtest/gtest.h>

#include "support/LibraryTest.h"
#include "support/MemoryFailure.h"
#include "text/StringSupport.h"

using namespace Tavrin;
using detail::formatInteger;
using detail::formatNumber;
using detail::NumberForm;
using test::bytesOf;
using test::underMemoryFailure;

using NumberFormatTest = test::LibraryTest;

namespace {

constexpr double largest = std::numeric_limits<double>::max();
constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();

std::string formatted(double value, int radix, int precision, NumberForm form)
{
    String text;
    formatNumber(value, radix, precision, form, text);
    return bytesOf(text);
}

std::string shortest(double value)
{
    return formatted(value, 10, 15, NumberForm::shortest);
}

std::string inRadix(double value, int radix)
{
    return formatted(value, radix, 15, NumberForm::shortest);
}

struct Shortest
{
    const char *name;
    double value;
    const char *text;
};

const Shortest shortestRows[] = {
    {"zero", 0, "0"},
    {"minus zero", -0.0, "0"},
    {"one", 1, "1"},
    {"the smallest int", -2147483648.0, "-2147483648"},
    {"a whole number below 1e9", 999999999, "999999999"},
    {"a whole number from 1e9 on", 1e9, "1000000000"},
    {"a negative whole number", -1234567890123.0, "-1234567890123"},
    {"17 digits", 12345678901234568.0, "12345678901234568"},
    {"18 digits: the last is cleared", 123456789012345680.0, "123456789012345680"},
    {"19 digits: the last two are", 1152921504606846976.0, "1152921504606846900"},
    {"a negative one", -1152921504606846976.0, "-1152921504606846900"},
    {"just below 2^64", 18446744073709549568.0, "18446744073709549000"},
    {"2^64", 18446744073709551616.0, "18446744073709551000"},
    {"1e20", 1e20, "100000000000000000000"},
    {"just below 1e21", 999999999999999868928.0, "999999999999999860000"},
    {"1e21", 1e21, "1e+21"},
    {"-1e21", -1e21, "-1e+21"},
    {"1e22", 1e22, "1e+22"},
    {"a long exponent", 1.5e300, "1.5e+300"},
    {"one half", 0.5, "0.5"},
    {"a negative fraction", -0.25, "-0.25"},
    {"one third", 1.0 / 3, "0.33333333333333"},
    {"two thirds", 2.0 / 3, "0.66666666666667"},
    {"a tenth", 0.1, "0.1"},
    {"a sum of tenths", 0.1 + 0.2, "0.3"},
    {"money", 123.45, "123.45"},
    {"pi", 3.141592653589793, "3.14159265358979"},
    {"ten digits and a fraction", 1234567890.123456, "1234567890.12346"},
    {"14 digits before the point", 12345678901234.5, "12345678901234.5"},
    {"15 digits before the point", 123456789012345.5, "123456789012346"},
    {"a round one of those", 100000000000000.5, "100000000000000"},
    {"16 digits before the point", 1000000000000000.5, "1000000000000000"},
    {"16 digits that round up", 1000000000000000.75, "1000000000000001"},
    {"just below a thousand", 999.9999999999999, "1000"},
    {"1e-6", 1e-6, "0.000001"},
    {"just below 1e-6", 9.99e-7, "9.99e-7"},
    {"1e-7", 1e-7, "1e-7"},
    {"places end at 14", 0.000001234567891, "0.00000123456789"},
    {"the smallest", 5e-324, "4.94065645841247e-324"},
    {"the largest", largest, "1.7976931348623157e+308"},
    {"its negative", -largest, "-1.7976931348623157e+308"},
    {"the one before it", 1.7976931348623155e308, "1.79769313486232e+308"},
    {"infinity", infinity, "Infinity"},
    {"minus infinity", -infinity, "-Infinity"},
    {"NaN", notANumber, "NaN"},
    {"a negative NaN", -notANumber, "NaN"},
};

struct Formed
{
    const char *name;
    double value;
    int precision;
    NumberForm form;
    const char *text;
};

constexpr NumberForm fixed = NumberForm::fixed;
constexpr NumberForm exponential = NumberForm::exponential;

const Formed formedRows[] = {
    {"two places", 3.14159, 2, fixed, "3.14"},
    {"no places", 2.5, 0, fixed, "2"},
    {"no places, to even", 3.5, 0, fixed, "4"},
    {"a whole number", 7, 3, fixed, "7.000"},
    {"a negative number", -1.005, 2, fixed, "-1.00"},
    {"what rounds to zero keeps its sign", -0.001, 2, fixed, "-0.00"},
    {"minus zero", -0.0, 1, fixed, "-0.0"},
    {"more places than are printed", 1.0 / 3, 20, fixed, "0.33333333333333000000"},
    {"a hundred places", 1, 100, fixed,
     "1.0000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000"
     "000000000"},
    {"places by the digits before the point", 1234567890.123456, 10, fixed,
     "1234567890.1234600000"},
    {"15 digits before the point", 123456789012345.5, 2, fixed, "123456789012346.00"},
    {"20 digits", 12345678901234567890.0, 2, fixed, "12345678901234567000.00"},
    {"22 digits", 1e21, 0, fixed, "1000000000000000000000"},
    {"26 digits", 1.5e25, 1, fixed, "15000000000000000000000000.0"},
    {"a small number", 1e-10, 3, fixed, "0.000"},
    {"the largest", largest, 2, fixed, "1.7976931348623157e+308"},
    {"NaN", notANumber, 2, fixed, "NaN"},
    {"a negative precision is none", 1.5, -1, fixed, "2"},
    {"a precision above 100 is 100", 0.5, 101, fixed,
     "0.5000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000"
     "000000000"},
    {"exponential", 12345, 2, exponential, "1.23e+4"},
    {"exponential without places", 12345, 0, exponential, "1e+4"},
    {"exponential of one", 1.5, 3, exponential, "1.500e+0"},
    {"exponential of a small number", -0.00012, 1, exponential, "-1.2e-4"},
    {"exponential of zero", 0, 2, exponential, "0.00e+0"},
    {"exponential with more places than are printed", 2.0 / 3, 16, exponential,
     "6.6666666666666700e-1"},
    {"exponential that rounds up", 9.996, 2, exponential, "1.00e+1"},
    {"a long exponent", 1e-300, 1, exponential, "1.0e-300"},
    {"infinity", -infinity, 1, exponential, "-Infinity"},
};

struct Based
{
    const char *name;
    double value;
    int radix;
    const char *text;
};

const Based radixRows[] = {
    {"radix 2", 10, 2, "1010"},
    {"radix 3", 11, 3, "102"},
    {"radix 8", 64, 8, "100"},
    {"radix 16", 255, 16, "ff"},
    {"radix 36", 1295, 36, "zz"},
    {"radix 0 is 10", 1.5, 0, "1.5"},
    {"radix 1", 1, 1, "NaN"},
    {"radix 37", 1, 37, "NaN"},
    {"a negative radix", 1, -16, "NaN"},
    {"zero", 0, 16, "0"},
    {"minus zero", -0.0, 2, "0"},
    {"a negative number", -255, 16, "-ff"},
    {"the fraction is dropped", 255.99, 16, "ff"},
    {"below one", 0.99, 16, "0"},
    {"below one and negative", -0.5, 16, "-0"},
    {"2^53", 9007199254740992.0, 16, "20000000000000"},
    {"above 2^53 in a binary radix", 18446744073709551616.0, 16, "10000000000000000"},
    {"above 2^53 each division rounds", 18446744073709551616.0, 36, "3w5e11264sg0g"},
    {"the largest is the same in every radix", largest, 2, "1.7976931348623157e+308"},
    {"infinity", infinity, 2, "Infinity"},
    {"NaN", notANumber, 36, "NaN"},
};

// The steps that the texts are defined by, with printf.
std::string printed(const char *format, int places, double value)
{
    char text[400];
    std::snprintf(text, sizeof text, format, std::min(std::max(places, 0), 14), value);
    std::string result(text);
    const std::size_t first = result.front() == '-' ? 1 : 0;
    if (result.find('.') == std::string::npos && result.find('e') == std::string::npos)
        for (std::size_t at = first + 17; at < result.size(); ++at)
            result[at] = '0';
    return result;
}

void cutZeros(std::string &mantissa)
{
    if (mantissa.find('.') == std::string::npos)
        return;
    mantissa.erase(mantissa.find_last_not_of('0') + 1);
    if (mantissa.back() == '.')
        mantissa.pop_back();
}

std::string formattedBySteps(double value, int precision, NumberForm form)
{
    const double magnitude = std::fabs(value);
    const bool isShortest = form == NumberForm::shortest;
    if (isShortest && magnitude < 1e21 && std::floor(magnitude) == magnitude)
        return printed("%.*f", 0, value == 0 ? 0 : value);
    std::string text;
    if (form == NumberForm::fixed || (isShortest && magnitude >= 1e-6 && magnitude < 1e21)) {
        const int logarithm = std::max(static_cast<int>(std::log10(magnitude)), 0);
        const int digits = magnitude < 1 ? logarithm : logarithm + 1;
        text = printed("%.*f", std::min(precision, 15 - digits), value);
    } else {
        text = printed("%.*e", precision, value);
    }
    std::string mantissa = text.substr(0, text.find('e'));
    std::string exponent =
        text.find('e') == std::string::npos ? "" : text.substr(text.find('e') + 1);
    if (isShortest) {
        cutZeros(mantissa);
    } else if (precision > 0) {
        if (mantissa.find('.') == std::string::npos)
            mantissa += '.';
        mantissa += std::string(100, '0');
        mantissa.resize(mantissa.find('.') + 1 + static_cast<std::size_t>(precision));
    }
    while (exponent.size() > 2 && exponent[1] == '0')
        exponent.erase(1, 1);
    return exponent.empty() ? mantissa : mantissa + 'e' + exponent;
}

void expectTextBySteps(double value)
{
    ASSERT_EQ(shortest(value), formattedBySteps(value, 15, NumberForm::shortest));
    for (const int precision : {0, 2, 14, 17})
        for (const NumberForm form : {fixed, exponential})
            ASSERT_EQ(formatted(value, 10, precision, form),
                      formattedBySteps(value, precision, form))
                << precision;
}

} // namespace

TEST_F(NumberFormatTest, ShortestTexts)
{
    for (const Shortest &row : shortestRows)
        EXPECT_EQ(shortest(row.value), row.text) << row.name;
}

TEST_F(NumberFormatTest, FixedAndExponentialTexts)
{
    for (const Formed &row : formedRows)
        EXPECT_EQ(formatted(row.value, 10, row.precision, row.form), row.text) << row.name;
}

TEST_F(NumberFormatTest, TextsInARadix)
{
    for (const Based &row : radixRows)
        EXPECT_EQ(inRadix(row.value, row.radix), row.text) << row.name;
}

TEST_F(NumberFormatTest, NoNumberHasMoreThan14Places)
{
    EXPECT_EQ(formatted(1.0 / 3, 10, 15, fixed), "0.333333333333330");
    EXPECT_EQ(formatted(1.0 / 3, 10, 15, exponential), "3.333333333333330e-1");
    EXPECT_EQ(shortest(1.0 / 3), "0.33333333333333");
}

TEST_F(NumberFormatTest, DigitsFromThe18thOnAreZeros)
{
    EXPECT_EQ(shortest(1152921504606846976.0), "1152921504606846900");
    EXPECT_EQ(formatted(-1152921504606846976.0, 10, 0, fixed), "-1152921504606846900");
}

TEST_F(NumberFormatTest, TheLargestNumberHasOneText)
{
    for (const int radix : {0, 2, 10, 16, 99})
        for (const NumberForm form : {NumberForm::shortest, fixed, exponential})
            EXPECT_EQ(formatted(largest, radix, 2, form), "1.7976931348623157e+308");
}

TEST_F(NumberFormatTest, LargeWholeNumbersAreDividedAsDoubles)
{
    // Divided as a whole number, 2^64 is 3w5e11264sgsg.
    EXPECT_EQ(inRadix(18446744073709551616.0, 36), "3w5e11264sg0g");
    EXPECT_EQ(inRadix(9007199254740991.0, 36), "2gosa7pa2gv");
    EXPECT_EQ(inRadix(1e300, 2).size(), 997U);
    EXPECT_EQ(inRadix(std::nextafter(largest, 0), 2),
              std::string(52, '1') + '0' + std::string(971, '0'));
}

TEST_F(NumberFormatTest, ANumberWithoutRoomForAFractionHasNone)
{
    EXPECT_EQ(shortest(1000000000000000.75), "1000000000000001");
    EXPECT_EQ(formatted(1000000000000000.75, 10, 2, fixed), "1000000000000001.00");
}

TEST_F(NumberFormatTest, RandomNumbersFollowTheSteps)
{
    std::mt19937_64 random(11);
    for (int count = 0; count < 4'000; ++count) {
        const std::uint64_t bits = random();
        const double value = std::bit_cast<double>(bits);
        if (std::isfinite(value) && value != 0)
            expectTextBySteps(value);
        expectTextBySteps(static_cast<double>(static_cast<std::int64_t>(bits) >> (bits % 60)));
        expectTextBySteps(static_cast<double>(bits % 1'000'000'000 + 1) / 100);
        expectTextBySteps(
            std::ldexp(static_cast<double>(bits % 100'003 + 1), static_cast<int>(bits % 120) - 60));
    }
}

TEST_F(NumberFormatTest, IntegersAreWrittenByHand)
{
    const int values[] = {0,
                          1,
                          -1,
                          9,
                          10,
                          -10,
                          99,
                          100,
                          12345,
                          -99999,
                          999999999,
                          std::numeric_limits<int>::max(),
                          std::numeric_limits<int>::min()};
    for (const int value : values) {
        String text("old");
        formatInteger(value, text);
        EXPECT_EQ(bytesOf(text), std::to_string(value));
        EXPECT_EQ(bytesOf(text), shortest(value));
    }
}

TEST_F(NumberFormatTest, TheTextReplacesWhatWasThereAndLeavesSharersAlone)
{
    String text("old text");
    const String sharer(text);
    formatNumber(1.5, 10, 15, NumberForm::shortest, text);
    EXPECT_EQ(text, "1.5");
    EXPECT_EQ(sharer, "old text");
}

TEST_F(NumberFormatTest, TheLocaleDoesNotMatter)
{
    // Both are missing on a bare system; then the locale stays, and the claim is trivially true.
    if (std::setlocale(LC_NUMERIC, "de_DE.UTF-8") == nullptr)
        std::setlocale(LC_NUMERIC, "fr_FR.UTF-8");
    EXPECT_EQ(shortest(1234.5), "1234.5");
    EXPECT_EQ(formatted(1e20, 10, 1, fixed), "100000000000000000000.0");
    std::setlocale(LC_NUMERIC, "C");
}

TEST_F(NumberFormatTest, OutOfMemoryLeavesTheText)
{
    const auto makeShared = [] {
        struct Texts
        {
            String text{"old text"};
            String sharer{text};
        };
        return Texts();
    };
    underMemoryFailure(
        makeShared,
        [](auto &texts) { formatNumber(1.5, 10, 15, NumberForm::shortest, texts.text); },
        [](const auto &texts, bool failed) {
            EXPECT_EQ(texts.text, failed ? "old text" : "1.5");
            EXPECT_EQ(texts.sharer, "old text");
        });
    underMemoryFailure(
        makeShared, [](auto &texts) { formatInteger(-5, texts.text); },
        [](const auto &texts, bool failed) { EXPECT_EQ(texts.text, failed ? "old text" : "-5"); });
}
