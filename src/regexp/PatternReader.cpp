// SPDX-License-Identifier: MIT
// The tokens of a pattern, with all that escapes can say.
// An escape that lacks digits is no error: it is the letter, and the digits are text.
// Pinned by tests/regexp/EscapeTest.cpp.
#include "regexp/PatternReader.h"

#include <algorithm>
#include <string_view>

namespace Tavrin::detail {

namespace {

constexpr std::string_view metaUnits = "|()[]{^$*+?.";
constexpr int largestReference = 0xFFFF; // D-313

bool isDecimal(unsigned short unit)
{
    return unit >= '0' && unit <= '9';
}

bool isOctal(unsigned short unit)
{
    return unit >= '0' && unit <= '7';
}

// The value of a digit, or the radix if it is none.
int digitValue(unsigned short unit, int radix)
{
    int value = radix;
    if (isDecimal(unit))
        value = unit - '0';
    else if (unit >= 'a' && unit <= 'f')
        value = unit - 'a' + 10;
    else if (unit >= 'A' && unit <= 'F')
        value = unit - 'A' + 10;
    return std::min(value, radix);
}

} // namespace

Token PatternReader::scan()
{
    if (!hasRawText()) {
        fail();
        return ' ';
    }
    const unsigned short unit = pattern.units[position++];
    if (unit == '\\')
        return scanEscape();
    if (unit < 128 && metaUnits.find(static_cast<char>(unit)) != std::string_view::npos)
        return unit | metaFlag;
    return unit;
}

Token PatternReader::scanEscape()
{
    if (!hasRawText()) {
        fail();
        return ' ';
    }
    const unsigned short unit = pattern.units[position++];
    switch (unit) {
    case '0':
        return scanZero();
    case '1':
    case '2':
    case '3':
    case '4':
    case '5':
    case '6':
    case '7':
    case '8':
    case '9':
        return scanReferenceOrOctal(unit);
    case 'B':
        if (isInClass)
            fail();
        return unit | metaFlag;
    case 'D':
    case 'S':
    case 'W':
    case 'd':
    case 's':
    case 'w':
        return unit | metaFlag;
    case 'b':
        return isInClass ? Token{'\b'} : unit | metaFlag;
    case 'c':
        return scanControl();
    case 'f':
        return '\f';
    case 'n':
        return '\n';
    case 'r':
        return '\r';
    case 't':
        return '\t';
    case 'v':
        return '\v';
    case 'o':
        return scanDigits(8, 3);
    case 'u':
        return scanDigits(16, 4);
    case 'x':
        return scanDigits(16, 2);
    default:
        return unit | escapedFlag;
    }
}

// D-303: more than one digit is a reference only to a group that was opened before, else an octal
// number; a single one always is a reference.
Token PatternReader::scanReferenceOrOctal(unsigned short digit)
{
    if (!isInClass) {
        int number = digit - '0';
        int end = position;
        for (; end < pattern.length && isDecimal(pattern.units[end]); ++end)
            number = std::min(number * 10 + (pattern.units[end] - '0'), largestReference);
        if (number <= groupsOpened || end == position) {
            position = end;
            highestReference = std::max(highestReference, number);
            return static_cast<Token>(number) | referenceFlag;
        }
    }
    --position;
    int value = 0;
    readDigits(8, 3, value); // D-304: none for 8 and 9, which then stand behind a 0 unit
    return static_cast<Token>(value);
}

Token PatternReader::scanZero()
{
    if (position + 1 >= pattern.length || !isOctal(pattern.units[position]) ||
        !isOctal(pattern.units[position + 1]))
        return escapedFlag;
    int value = 0;
    readDigits(8, 2, value);
    return static_cast<Token>(value) | escapedFlag;
}

// D-341: a letter of ASCII, within a class, too.
Token PatternReader::scanControl()
{
    const unsigned short unit = hasRawText() ? pattern.units[position++] : ' ';
    if (unit >= 'A' && unit <= 'Z')
        return unit - 64u;
    if (unit >= 'a' && unit <= 'z')
        return unit - 96u;
    fail();
    return unit;
}

Token PatternReader::scanDigits(int radix, int count)
{
    const int afterBackslash = position - 1;
    int value = 0;
    if (readDigits(radix, count, value) == count)
        return static_cast<Token>(value);
    goTo(afterBackslash);
    return scan();
}

// Reads up to so many digits and returns how many there were.
int PatternReader::readDigits(int radix, int most, int &value)
{
    const int begin = position;
    for (; position < pattern.length && position - begin < most; ++position) {
        const int digit = digitValue(pattern.units[position], radix);
        if (digit == radix)
            break;
        value = value * radix + digit;
    }
    return position - begin;
}

} // namespace Tavrin::detail
