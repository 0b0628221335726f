// SPDX-License-Identifier: MIT
// Text to numbers: the rules as tables, and random texts beside std::from_chars.
#include "text/NumberText.h"

#include <bit>
#include <charconv>
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
using detail::conversionFlags;
using detail::leadingZeroIsDecimal;
using detail::noHexPrefix;
using detail::scanDouble;
using detail::scanInteger;
using test::textOf;
using test::underMemoryFailure;
using test::Units;

using NumberScanTest = test::LibraryTest;

namespace {

constexpr double largest = std::numeric_limits<double>::max();
constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();

constexpr int wholeText = 0;
constexpr int blanksBehind = 1;
constexpr int anything = 2;

// Equal with the sign of zeros, or both NaN.
bool isSame(double a, double b)
{
    return std::isnan(a) ? std::isnan(b) : a == b && std::signbit(a) == std::signbit(b);
}

struct Scan
{
    const char *name;
    const char16_t *text;
    int flags;
    double value;
    const char16_t *rest;
};

const Scan doubleRows[] = {
    {"an empty text", u"", wholeText, 0, u""},
    {"white space only", u" \t\x00A0", wholeText, 0, u""},
    {"white space in front", u"  12", conversionFlags, 12, u""},
    {"white space behind, whole text wanted", u"12 ", wholeText, notANumber, u" "},
    {"white space behind", u"12 \n", blanksBehind, 12, u" \n"},
    {"the flags of conversion allow blanks", u"12 ", conversionFlags, 12, u" "},
    {"text behind, whole text wanted", u"12x", wholeText, notANumber, u"x"},
    {"text behind, blanks allowed", u"12 x", blanksBehind, notANumber, u" x"},
    {"text behind, by the flags of conversion", u"12x", conversionFlags, notANumber, u"x"},
    {"text behind, all allowed", u"12x", anything, 12, u"x"},
    {"other flags allow all", u"12x", 0x1000, 12, u"x"},
    {"bits 8 and 9 do not", u"12x", 0x300, notANumber, u"x"},
    {"plus", u"+5", wholeText, 5, u""},
    {"minus", u"-5", wholeText, -5, u""},
    {"minus zero", u"-0", wholeText, -0.0, u""},
    {"a sign alone", u"+", wholeText, notANumber, u""},
    {"a sign and white space", u"- 5", anything, notANumber, u" "},
    {"two signs", u"+-5", anything, notANumber, u"-5"},
    {"hexadecimal", u"0x1F", wholeText, 31, u""},
    {"hexadecimal in upper case with a sign", u" -0XaB", wholeText, -171, u""},
    {"hexadecimal and flag 9", u"0x10", anything | noHexPrefix, 0, u"x10"},
    {"hexadecimal and text", u"0x1g", anything, 1, u"g"},
    {"no octal", u"010", wholeText, 10, u""},
    {"Infinity", u"Infinity", wholeText, infinity, u""},
    {"minus Infinity", u"-Infinity", wholeText, -infinity, u""},
    {"Infinity and text", u"Infinityx", anything, infinity, u"x"},
    {"Infinity and blanks", u"Infinity ", blanksBehind, infinity, u" "},
    {"Infinity and text where none may be", u"Infinityx", wholeText, notANumber, u"x"},
    {"infinity in lower case", u"infinity", anything, notANumber, u"infinity"},
    {"half of Infinity", u"Infin", anything, notANumber, u"Infin"},
    {"NaN", u"NaN", anything, notANumber, u""},
    {"NaN and text", u"NaN12", anything, notANumber, u"12"},
    {"what begins like NaN", u"Nan", anything, notANumber, u"Nan"},
    {"letters", u"abc", anything, notANumber, u"abc"},
    {"a fraction", u"0.5", wholeText, 0.5, u""},
    {"no digit before the point", u".5", wholeText, 0.5, u""},
    {"no digit behind the point", u"5.", wholeText, 5, u""},
    {"a point alone", u".", anything, notANumber, u""},
    {"two points", u"1.2.3", anything, 1.2, u".3"},
    {"leading zeros", u"00012", wholeText, 12, u""},
    {"zeros behind the point", u"0.00012", wholeText, 0.00012, u""},
    {"only zeros", u"000.000", wholeText, 0, u""},
    {"an exponent", u"1e3", wholeText, 1000, u""},
    {"an exponent in upper case with a sign", u"1E-3", wholeText, 0.001, u""},
    {"an exponent with a plus", u"1.5e+2", wholeText, 150, u""},
    {"an exponent without digits", u"1e", anything, notANumber, u""},
    {"an exponent without digits, with a sign", u"1e+", anything, notANumber, u""},
    {"an exponent of letters", u"1ex", anything, notANumber, u"x"},
    {"an exponent of letters behind a sign", u"1e-x", anything, notANumber, u"x"},
    {"an exponent and text", u"1e2x", anything, 100, u"x"},
    {"a large exponent", u"1e309", wholeText, infinity, u""},
    {"a huge exponent", u"-1e99999999999", wholeText, -infinity, u""},
    {"a small exponent", u"1e-99999999999", wholeText, 0, u""},
    {"zero with a huge exponent", u"0e999", wholeText, 0, u""},
    {"an exponent that makes up for places", u"0.001e3", wholeText, 1, u""},
    {"18 digits", u"123456789012345678", wholeText, 123456789012345678.0, u""},
    {"the 19th rounds up", u"9007199254740990016", wholeText, 9007199254740990016.0, u""},
    {"20 digits", u"99999999999999999999", wholeText, 1e20, u""},
    {"the 19th digit behind the point", u"1.234567890123456785", wholeText, 1.234567890123456785,
     u""},
    {"the smallest int", u"-2147483648", wholeText, -2147483648.0, u""},
    {"the largest double", u"1.7976931348623157e+308", wholeText, largest, u""},
    {"its last digit rounded up", u"1.7976931348623158e+308", wholeText, largest, u""},
    {"beyond it", u"1.7976931348623159e+308", wholeText, infinity, u""},
    {"the smallest normal double", u"2.2250738585072014e-308", wholeText, 0, u""},
    {"full-width digits are none", u"\xFF11", anything, notANumber, u"\xFF11"},
};

struct IntegerScan
{
    const char *name;
    const char16_t *text;
    int radix;
    int flags;
    double value;
    const char16_t *rest;
};

const IntegerScan integerRows[] = {
    {"an empty text", u"", 10, wholeText, 0, u""},
    {"an empty text with a wrong radix", u"", 99, wholeText, 0, u""},
    {"white space only", u"  ", 10, wholeText, 0, u""},
    {"white space in front", u" \n12", 10, wholeText, 12, u""},
    {"radix 1", u" 12", 1, anything, notANumber, u" 12"},
    {"radix 37", u"12", 37, anything, notANumber, u"12"},
    {"a negative radix", u"12", -8, anything, notANumber, u"12"},
    {"radix 2", u"1012", 2, anything, 5, u"2"},
    {"radix 36 in both cases", u"zZ", 36, wholeText, 1295, u""},
    {"radix 16", u"Ff", 16, wholeText, 255, u""},
    {"plus", u"+7", 10, wholeText, 7, u""},
    {"minus", u"-7", 10, wholeText, -7, u""},
    {"minus zero", u"-0", 10, wholeText, -0.0, u""},
    {"a sign alone", u"-", 10, anything, notANumber, u""},
    {"a sign and white space", u"+\t1", 10, anything, notANumber, u"\t"},
    {"radix 0 is 10", u"12", 0, wholeText, 12, u""},
    {"a zero makes it 8", u"010", 0, wholeText, 8, u""},
    {"a zero alone", u"0", 0, wholeText, 0, u""},
    {"a zero makes it 10 with flag 8", u"010", 0, leadingZeroIsDecimal, 10, u""},
    {"08 stays decimal", u"08", 0, wholeText, 8, u""},
    {"09 stays decimal", u"0912", 0, wholeText, 912, u""},
    {"018 is octal up to the 8", u"018", 0, anything, 1, u"8"},
    {"0x makes it 16", u"0x10", 0, wholeText, 16, u""},
    {"0X and a sign", u"-0XfF", 0, wholeText, -255, u""},
    {"0x with flag 9", u"0x10", 0, anything | noHexPrefix, 0, u"x10"},
    {"0x where 16 is wanted", u"0x10", 16, wholeText, 16, u""},
    {"0x where 16 is wanted, with flag 9", u"0x10", 16, anything | noHexPrefix, 0, u"x10"},
    {"0x where 10 is wanted", u"0x10", 10, anything, 0, u"x10"},
    {"the same and no text allowed", u"0x10", 10, wholeText, notANumber, u"x10"},
    {"0x are digits of radix 36", u"0x10", 36, wholeText, 42804, u""},
    {"0x without digits", u"0x", 0, anything, notANumber, u""},
    {"0x without digits where 16 is wanted", u"0xg", 16, anything, notANumber, u"g"},
    {"a zero where 8 is wanted", u"017", 8, wholeText, 15, u""},
    {"a zero where 10 is wanted", u"017", 10, wholeText, 17, u""},
    {"no digit", u"x", 10, anything, notANumber, u"x"},
    {"no digit behind a sign", u"-x", 10, anything, notANumber, u"x"},
    {"text behind", u"12px", 10, anything, 12, u"px"},
    {"text behind where none may be", u"12px", 10, wholeText, notANumber, u"px"},
    {"white space behind", u"12 ", 10, blanksBehind, 12, u" "},
    {"no fraction", u"1.5", 10, anything, 1, u".5"},
    {"beyond ASCII", u"1\x0131", 36, anything, 1, u"\x0131"},
    {"units that fold to letters are none", u"\x212A", 36, anything, notANumber, u"\x212A"},
    {"2^53 - 1", u"0x1fffffffffffff", 0, wholeText, 9007199254740991.0, u""},
    {"2^53", u"0x20000000000000", 0, wholeText, 9007199254740992.0, u""},
    {"2^53 + 1: a tie goes up", u"0x20000000000001", 0, wholeText, 9007199254740994.0, u""},
    {"2^53 + 3: a tie goes up", u"0x20000000000003", 0, wholeText, 9007199254740996.0, u""},
    {"64 bits", u"0xffffffffffffffff", 0, wholeText, 18446744073709551616.0, u""},
    {"64 bits that round down", u"0xfffffffffffffbff", 0, wholeText, 18446744073709549568.0, u""},
    {"65 bits", u"0x1ffffffffffffffff", 0, wholeText, 36893488147419103232.0, u""},
    {"radix 32", u"vvvvvvvvvvvvvv", 32, wholeText, 1180591620717411303424.0, u""},
    {"radix 4", u"333333333333333333333333333333333", 4, wholeText, 73786976294838206464.0, u""},
    {"radix 2, and a tail", u"1000000000000000000000000000000000000000000000000000010000000000001",
     2, wholeText, 73786976294838222848.0, u""},
    {"20 digits that fit 64 bits", u"18446744073709551615", 10, wholeText, 18446744073709551616.0,
     u""},
    {"one more", u"18446744073709551616", 10, wholeText, 18446744073709551616.0, u""},
    {"30 digits", u"100000000000000000000000000000", 10, wholeText, 1e29, u""},
    {"radix 3", u"1000000000000000000000000000000000000000000", 3, wholeText,
     109418989131512359209.0, u""},
};

void expectDouble(const Scan &row)
{
    const Units units(row.text);
    String rest("untouched");
    EXPECT_TRUE(isSame(scanDouble(units.data(), row.flags, &rest), row.value))
        << row.name << ": " << scanDouble(units.data(), row.flags, nullptr);
    EXPECT_EQ(rest, Units(row.rest).data()) << row.name;
}

// The distance in doubles, for two of the same sign.
std::int64_t distance(double a, double b)
{
    return std::abs(std::bit_cast<std::int64_t>(a) - std::bit_cast<std::int64_t>(b));
}

double scanned(const std::string &text)
{
    return scanDouble(text.c_str(), wholeText, nullptr);
}

double exact(const std::string &text)
{
    double value = 0;
    std::from_chars(text.data(), text.data() + text.size(), value);
    return value;
}

} // namespace

TEST_F(NumberScanTest, Doubles)
{
    for (const Scan &row : doubleRows)
        expectDouble(row);
}

TEST_F(NumberScanTest, Integers)
{
    for (const IntegerScan &row : integerRows) {
        const Units units(row.text);
        String rest("untouched");
        EXPECT_TRUE(isSame(scanInteger(units.data(), row.radix, row.flags, &rest), row.value))
            << row.name << ": " << scanInteger(units.data(), row.radix, row.flags, nullptr);
        EXPECT_EQ(rest, Units(row.rest).data()) << row.name;
    }
}

TEST_F(NumberScanTest, AZeroUnitEndsTheText)
{
    const String blank = textOf(std::u16string_view(u" \0 5", 4));
    const String digits = textOf(std::u16string_view(u"12\0", 3));
    String rest("untouched");
    EXPECT_TRUE(std::isnan(scanDouble(blank, anything, &rest)));
    EXPECT_EQ(rest.length(), 0);
    EXPECT_TRUE(std::isnan(scanInteger(blank, 10, anything, &rest)));
    EXPECT_EQ(rest.length(), 0);
    EXPECT_TRUE(std::isnan(scanDouble(digits, wholeText, &rest)));
    EXPECT_EQ(rest.length(), 1);
    EXPECT_TRUE(std::isnan(scanInteger(digits, 10, blanksBehind, nullptr)));
    EXPECT_EQ(scanDouble(digits, anything, nullptr), 12);
    EXPECT_TRUE(std::isnan(scanDouble(textOf(std::u16string_view(u"-\0", 2)), anything, &rest)));
    EXPECT_EQ(rest.length(), 0);
}

TEST_F(NumberScanTest, AWhiteSpaceBehindTheSignGoesToTheRestAlone)
{
    String rest;
    EXPECT_TRUE(std::isnan(scanDouble("+ 12 34", anything, &rest)));
    EXPECT_EQ(rest, " ");
    EXPECT_TRUE(std::isnan(scanInteger("-\n12", 10, anything, &rest)));
    EXPECT_EQ(rest, "\n");
}

TEST_F(NumberScanTest, TheRestMayBeTheTextItself)
{
    String text("12 apples");
    EXPECT_EQ(scanDouble(text, anything, &text), 12);
    EXPECT_EQ(text, " apples");
    text = "0x1F apples";
    EXPECT_EQ(scanDouble(text, anything, &text), 31);
    EXPECT_EQ(text, " apples");
    text = "12";
    EXPECT_EQ(scanInteger(text, 10, anything, &text), 12);
    EXPECT_EQ(text.length(), 0);
}

// 18 digits that begin with 12345678901234567, and how many more were given.
TEST_F(NumberScanTest, SomeTextsOf20And22DigitsAreCorrected)
{
    EXPECT_EQ(scanned("12345678901234567890e-2"), 1.2345678901234568e+17);
    EXPECT_EQ(scanned("123456789012345670.12"), 1.2345678901234568e+17);
    EXPECT_EQ(scanned("1234567890123456789012e-4"), 1.2345678901234566e+17);
    EXPECT_EQ(scanned("123456789012345678.9012"), 1.2345678901234566e+17);
    EXPECT_EQ(scanned("-123456789012345678.9012"), -1.2345678901234566e+17);
    EXPECT_EQ(scanned("123456789012345678"), 123456789012345678.0);
    EXPECT_EQ(scanned("123456789012345679.123"), 123456789012345679.0);
    EXPECT_EQ(scanned("1.2345678901234567890"), 1.2345678901234568);
    EXPECT_EQ(scanned("123456789012345669.49"), 123456789012345669.0);
    EXPECT_EQ(scanned("123456789012345680.12"), 123456789012345680.0);
}

TEST_F(NumberScanTest, DenormalsAreZero)
{
    EXPECT_EQ(scanned("1e-308"), 1e-308);
    EXPECT_EQ(scanned("1e-309"), 0);
    EXPECT_EQ(scanned("4.94e-324"), 0);
    EXPECT_EQ(scanned("0.1e-308"), 0);
}

TEST_F(NumberScanTest, TheExponentIsCappedAt511)
{
    const std::string zeros(600, '0');
    EXPECT_EQ(scanned("0." + zeros + "1e600"), 1e-90);
    EXPECT_EQ(scanned("1" + zeros + "e-600"), 1e89);
}

TEST_F(NumberScanTest, TiesInABinaryRadixGoUp)
{
    EXPECT_EQ(scanInteger("0x20000000000001", 0, wholeText, nullptr), 9007199254740994.0);
    EXPECT_EQ(scanInteger("400000000000000001", 8, wholeText, nullptr), 9007199254740994.0);
    EXPECT_EQ(scanInteger("20000000000001", 16, wholeText, nullptr), 9007199254740994.0);
    EXPECT_EQ(scanInteger("2000000000000100000000000000000", 16, wholeText, nullptr),
              std::ldexp(9007199254740994.0, 68));
}

TEST_F(NumberScanTest, ManyDigitsGiveTheLargestDouble)
{
    char digits[400];
    std::snprintf(digits, sizeof digits, "%.0f", largest);
    EXPECT_EQ(std::string(digits).size(), 309U);
    EXPECT_EQ(scanInteger(digits, 10, wholeText, nullptr), largest);
    EXPECT_EQ(scanInteger(std::string(1000, 'z').c_str(), 36, wholeText, nullptr), infinity);
    EXPECT_EQ(scanInteger(std::string(2000, '1').c_str(), 2, wholeText, nullptr), infinity);
}

TEST_F(NumberScanTest, NumbersOf15DigitsAreExact)
{
    std::mt19937_64 random(3);
    for (int count = 0; count < 50'000; ++count) {
        const std::uint64_t bits = random();
        std::string text = std::to_string(bits % 1'000'000'000'000'000);
        const auto point = static_cast<std::size_t>(bits >> 58);
        if (point < text.size())
            text.insert(point, ".");
        ASSERT_EQ(scanned(text), exact(text)) << text;
    }
}

TEST_F(NumberScanTest, OtherNumbersAreAFewDoublesOffAtMost)
{
    constexpr std::int64_t mostOff = 8;
    std::mt19937_64 random(5);
    for (int count = 0; count < 50'000; ++count) {
        const double value = std::fabs(std::bit_cast<double>(random()));
        if (!std::isnormal(value) || value > 1e307 || value < 1e-290)
            continue;
        char text[64];
        *std::to_chars(std::begin(text), std::end(text), value).ptr = 0;
        ASSERT_LE(distance(scanned(text), value), mostOff) << text;
    }
}

TEST_F(NumberScanTest, IntegersOf64BitsAreRoundedAsCxxDoes)
{
    std::mt19937_64 random(9);
    for (int count = 0; count < 20'000; ++count) {
        const std::uint64_t number = random() >> (count % 64);
        ASSERT_EQ(scanInteger(std::to_string(number).c_str(), 10, wholeText, nullptr),
                  static_cast<double>(number));
    }
}

TEST_F(NumberScanTest, OutOfMemoryComesFromTheRestOnly)
{
    underMemoryFailure(
        [] { return String("old"); },
        [](String &rest) { scanDouble("12 and a rest of some length", anything, &rest); },
        [](const String &rest, bool failed) {
            EXPECT_EQ(rest, failed ? "old" : " and a rest of some length");
        });
    underMemoryFailure(
        [] { return String("old"); },
        [](String &rest) { scanInteger("12 and a rest of some length", 10, anything, &rest); },
        [](const String &rest, bool failed) {
            EXPECT_EQ(rest, failed ? "old" : " and a rest of some length");
        });
}
