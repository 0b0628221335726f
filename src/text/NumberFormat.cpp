// SPDX-License-Identifier: MIT
// The text of a number. The digits are those of printf with at most 14 places, so a fraction has
// 15 significant digits, and whole numbers print completely up to 17 of them. It stays so because
// scripts compare and store these texts. Pinned by tests/text/NumberFormatTest.cpp.
#include "text/NumberText.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "text/DecimalDigits.h"

namespace Tavrin::detail {

namespace {

// D-130: no number is printed with more places.
constexpr int mostPlaces = 14;
constexpr int significantDigits = 15;
constexpr double leastWithoutPlaces = 1e15;
// D-131: a double has no more digits worth showing; those behind are zeros.
constexpr int mostWholeDigits = 17;
constexpr int mostPaddedPlaces = 100;

constexpr int smallestRadix = 2;
constexpr int greatestRadix = 36;

// Below this, what is a whole number has at most 64 bits.
constexpr double leastAbove64Bits = 18446744073709551616.0;
// Up to this, whole doubles divide without rounding.
constexpr double leastInexactWhole = 9007199254740992.0;

// Shortest texts are exponential below the first and from the second on.
constexpr double leastFixed = 1e-6;
constexpr double leastExponential = 1e21;

bool isSpelledOut(double value, NumberUnits &text)
{
    constexpr double largest = std::numeric_limits<double>::max();
    if (std::isnan(value)) {
        text.append("NaN");
        return true;
    }
    const double magnitude = std::fabs(value);
    if (magnitude < largest)
        return false;
    if (value < 0)
        text.append('-');
    // D-132: the digits of the largest double are given in every form and radix.
    text.append(magnitude == largest ? "1.7976931348623157e+308" : "Infinity");
    return true;
}

void appendInRadix(NumberUnits &text, double value, int radix)
{
    if (radix < smallestRadix || radix > greatestRadix) {
        text.append("NaN");
        return;
    }
    if (value < 0)
        text.append('-');
    constexpr char digits[] = "0123456789abcdefghijklmnopqrstuvwxyz";
    const int first = text.length();
    double rest = std::trunc(std::fabs(value));
    // D-133: beyond 53 bits each division rounds, unless the radix is a power of two.
    while (rest >= leastInexactWhole) {
        text.append(digits[static_cast<int>(std::fmod(rest, radix))]);
        rest = std::trunc(rest / radix);
    }
    const auto divisor = static_cast<unsigned>(radix);
    auto whole = static_cast<std::uint64_t>(rest);
    do {
        text.append(digits[whole % divisor]);
        whole /= divisor;
    } while (whole != 0);
    std::reverse(&text[first], text.end());
}

void appendWholeDouble(NumberUnits &text, double magnitude)
{
    if (magnitude < leastAbove64Bits)
        text.appendWhole(static_cast<std::uint64_t>(magnitude));
    else
        appendFixed(text, magnitude, 0);
}

// Of a whole number that starts there.
void clearLastDigits(NumberUnits &text, int first)
{
    for (int at = first + mostWholeDigits; at < text.length(); ++at)
        text[at] = '0';
}

// How many digits stand before the point, 0 for a number below 1. All that have no room for a
// fraction are alike.
int digitsBeforePoint(double magnitude)
{
    if (magnitude < 1)
        return 0;
    return magnitude < leastWithoutPlaces ? digitCount(static_cast<std::uint64_t>(magnitude))
                                          : significantDigits;
}

// Removes the zeros at the end of a fraction, and a point with nothing behind it.
void stripFraction(NumberUnits &text)
{
    int length = text.length();
    while (text[length - 1] == '0')
        --length;
    if (text[length - 1] == '.')
        --length;
    text.truncate(length);
}

void appendPlaces(NumberUnits &text, int printed, int wanted)
{
    if (wanted > 0 && printed == 0)
        text.append('.');
    for (; printed < wanted; ++printed)
        text.append('0');
}

void finishFraction(NumberUnits &text, int places, int precision, NumberForm form)
{
    if (form != NumberForm::shortest)
        appendPlaces(text, places, precision);
    else if (places > 0)
        stripFraction(text);
}

void appendFixedForm(NumberUnits &text, double magnitude, int precision, NumberForm form)
{
    const int first = text.length();
    // D-134: a number of 15 digits or more before the point has no fraction.
    const int places = std::clamp(
        std::min(precision, significantDigits - digitsBeforePoint(magnitude)), 0, mostPlaces);
    appendFixed(text, magnitude, places);
    if (places == 0)
        clearLastDigits(text, first);
    finishFraction(text, places, precision, form);
}

void appendExponentialForm(NumberUnits &text, double magnitude, int precision, NumberForm form)
{
    const int places = std::min(precision, mostPlaces);
    const Scientific rounded = roundedToDigits(magnitude, places + 1);
    appendMantissa(text, rounded.digits, places);
    finishFraction(text, places, precision, form);
    text.append('e');
    text.append(rounded.exponent < 0 ? '-' : '+');
    text.appendWhole(static_cast<std::uint64_t>(std::abs(rounded.exponent)));
}

void appendDecimal(NumberUnits &text, double value, int precision, NumberForm form)
{
    const double magnitude = std::fabs(value);
    const bool isShortest = form == NumberForm::shortest;
    const bool isWhole =
        isShortest && magnitude < leastExponential && magnitude == std::trunc(magnitude);
    // Only as a whole number does minus zero lose its sign.
    if (isWhole ? value < 0 : std::signbit(value))
        text.append('-');
    const int first = text.length();
    if (isWhole) {
        appendWholeDouble(text, magnitude);
        clearLastDigits(text, first);
    } else if (form == NumberForm::fixed ||
               (isShortest && magnitude >= leastFixed && magnitude < leastExponential)) {
        appendFixedForm(text, magnitude, precision, form);
    } else {
        appendExponentialForm(text, magnitude, precision, form);
    }
}

} // namespace

void formatNumber(double value, int radix, int precision, NumberForm form, String &out)
{
    NumberUnits text;
    if (!isSpelledOut(value, text)) {
        if (radix == 10 || radix == 0)
            appendDecimal(text, value, std::clamp(precision, 0, mostPaddedPlaces), form);
        else
            appendInRadix(text, value, radix);
    }
    const UnitView view = text.view();
    copyUnits(StringAccess::overwrite(out, view.length), view.units, view.length);
}

void formatInteger(int value, String &out)
{
    const unsigned sign = value < 0 ? 1 : 0;
    const auto magnitude = static_cast<unsigned>(value);
    const unsigned absolute = sign != 0 ? 0 - magnitude : magnitude;
    const int count = digitCount(absolute);
    unsigned short *const units = StringAccess::overwrite(out, count + static_cast<int>(sign));
    units[0] = '-';
    writeDigits(units + sign, absolute, count);
}

} // namespace Tavrin::detail
