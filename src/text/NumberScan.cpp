// SPDX-License-Identifier: MIT
// Text to number. A decimal text becomes a whole number of up to 18 digits, rounded by the 19th,
// and a power of ten; the result is their product or quotient, in that one step. It is the nearest
// double while the number takes no more than 53 bits and the power is exact, up to 10^22, and can
// be off by the last bits beyond that. It stays so because stored texts were read by it.
// Digits in another radix make a whole number of 64 bits. Pinned by tests/text/NumberScanTest.cpp.
#include "text/NumberText.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <limits>
#include <string_view>

#include "text/StringAccess.h"
#include "text/UnicodeTables.h"

namespace Tavrin::detail {

namespace {

constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double largest = std::numeric_limits<double>::max();

constexpr unsigned modeMask = 0xFFFFFCFF;
constexpr unsigned wholeTextMode = 0;
constexpr unsigned blanksBehindMode = 1;

constexpr int smallestRadix = 2;
constexpr int greatestRadix = 36;

bool isDigit(unsigned short unit)
{
    return unit >= '0' && unit <= '9';
}

bool isWhiteSpace(unsigned short unit)
{
    return (unitFlags(unit) & whiteSpaceFlag) != 0;
}

// The place in a text, which is followed by a 0 unit.
class Scanner
{
public:
    Scanner(const String &text, int flags, String *rest)
        : text(text), units(text.wstr()), flags(static_cast<unsigned>(flags)), rest(rest)
    {}

    int at = 0;

    int unitsLeft() const { return text.length() - at; }
    const unsigned short *place() const { return units + at; }
    unsigned short unit() const { return units[at]; }
    unsigned short next() const { return units[at + 1]; }
    bool isAtEnd() const { return at == text.length(); }
    bool has(int flag) const { return (flags & static_cast<unsigned>(flag)) != 0; }

    void skipWhiteSpace()
    {
        while (isWhiteSpace(unit()))
            ++at;
    }
    bool takes(std::u16string_view word)
    {
        for (std::size_t index = 0; index < word.size(); ++index)
            if (units[static_cast<std::size_t>(at) + index] != word[index])
                return false;
        at += static_cast<int>(word.size());
        return true;
    }
    // Skips white space. True, with the result, when nothing stands behind it. D-135: a 0 unit in
    // the text ends it, and what it cuts off makes the text no number.
    bool isBlank(double &result)
    {
        skipWhiteSpace();
        if (unit() != 0)
            return false;
        result = isAtEnd() ? 0 : notANumber;
        at = text.length();
        return true;
    }
    // Takes a sign. False when nothing, or white space, stands behind it; that goes to `rest`.
    bool takesSign()
    {
        isNegative = unit() == '-';
        if (!isNegative && unit() != '+')
            return true;
        ++at;
        return unit() != 0 && !isWhiteSpace(unit());
    }
    bool isFollowedRightly() const
    {
        const unsigned mode = flags & modeMask;
        if (mode != wholeTextMode && mode != blanksBehindMode)
            return true;
        int behind = at;
        if (mode == blanksBehindMode)
            while (isWhiteSpace(units[behind]))
                ++behind;
        return behind == text.length();
    }
    // The end of each scan: the text from here on is the rest.
    double finish(double magnitude) const
    {
        const double result = isAtEnd() || isFollowedRightly() ? magnitude : notANumber;
        return fail(isNegative ? -result : result);
    }
    double fail(double result = notANumber) const
    {
        return failWith(at, text.length() - at, result);
    }
    double failFromStart() const { return failWith(0, text.length(), notANumber); }
    // D-136: only the unit behind the sign, if it is white space.
    double failAtSign() const { return failWith(at, unit() == 0 ? 0 : 1, notANumber); }

private:
    double failWith(int start, int count, double result) const
    {
        if (rest != nullptr)
            *rest = text.substr(start, count);
        return result;
    }

    const String &text;
    const unsigned short *units;
    unsigned flags;
    String *rest;
    bool isNegative = false;
};

// 10^0 to 10^511, each the product of the powers 10^1, 10^2, 10^4 ... 10^256 by the bits of its
// exponent, in ascending order: in another one 10^292 comes out larger, and the largest double
// would overflow.
constexpr int powerCount = 512;
constexpr auto powerProducts = [] {
    constexpr double factors[] = {1e1, 1e2, 1e4, 1e8, 1e16, 1e32, 1e64, 1e128, 1e256};
    std::array<double, powerCount> powers{};
    for (std::size_t exponent = 0; exponent < powers.size(); ++exponent) {
        double power = 1;
        for (std::size_t bit = 0; bit < std::size(factors); ++bit)
            if ((exponent >> bit & 1) != 0)
                power = power > largest / factors[bit] ? infinity : power * factors[bit];
        powers[exponent] = power;
    }
    return powers;
}();

constexpr int mostDigits = 18;

// A decimal text: whole * 10^scale.
struct Decimal
{
    std::uint64_t whole = 0;
    std::int64_t scale = 0;
    int positions = 0; // digits from the first one that is not 0, if they are many
    bool hasDigits = false;
};

// Digits that do not all fit: those behind the 18th from the first that is not 0 are dropped.
Decimal scanManyDigits(Scanner &text)
{
    Decimal number;
    bool isFraction = false;
    for (;; ++text.at) {
        const unsigned short unit = text.unit();
        if (!isDigit(unit)) {
            if (unit != '.' || isFraction)
                return number;
            isFraction = true;
            continue;
        }
        const unsigned digit = unit - unsigned{'0'};
        number.hasDigits = true;
        if (number.positions < mostDigits) {
            number.whole = number.whole * 10 + digit;
            number.positions += number.whole != 0 ? 1 : 0;
            number.scale -= isFraction ? 1 : 0;
        } else {
            if (number.positions == mostDigits && digit >= 5)
                ++number.whole;
            ++number.positions;
            number.scale += isFraction ? 0 : 1;
        }
    }
}

// Four units in one word, the first one lowest.
constexpr std::uint64_t eachUnit = 0x0001'0001'0001'0001;

bool areFourDigits(std::uint64_t units)
{
    // "0" to "9" are 0x30 to 0x39: neither they nor what is 6 above them leaves that row.
    constexpr std::uint64_t row = 0xFFF0 * eachUnit;
    return (units & row) == 0x30 * eachUnit && ((units + 6 * eachUnit) & row) == 0x30 * eachUnit;
}

// The top lane of the product adds up a thousand times the first digit to once the last one.
unsigned valueOfFourDigits(std::uint64_t units)
{
    constexpr std::uint64_t weights = 1 + (10ULL << 16) + (100ULL << 32) + (1000ULL << 48);
    return static_cast<unsigned>((units - 0x30 * eachUnit) * weights >> 48);
}

// Appends a run of digits to the number, modulo 2^64.
std::uint64_t appendDigits(Scanner &text, std::uint64_t number)
{
    if constexpr (std::endian::native == std::endian::little) {
        for (; text.unitsLeft() >= 4; text.at += 4) {
            std::uint64_t units = 0;
            std::memcpy(&units, text.place(), sizeof units);
            if (!areFourDigits(units))
                break;
            number = number * 10'000 + valueOfFourDigits(units);
        }
    }
    for (; isDigit(text.unit()); ++text.at)
        number = number * 10 + (text.unit() - unsigned{'0'});
    return number;
}

Decimal scanDigits(Scanner &text)
{
    const int first = text.at;
    Decimal number;
    number.whole = appendDigits(text, 0);
    int digits = text.at - first;
    if (text.unit() == '.') {
        const int point = text.at++;
        number.whole = appendDigits(text, number.whole);
        const int places = text.at - point - 1;
        number.scale = -places;
        digits += places;
    }
    number.hasDigits = digits > 0;
    if (digits <= mostDigits)
        return number;
    text.at = first;
    return scanManyDigits(text);
}

// Behind the marker. False when no digit follows it.
bool scanExponent(Scanner &text, std::int64_t &exponent)
{
    const bool isNegative = text.unit() == '-';
    if (isNegative || text.unit() == '+')
        ++text.at;
    if (!isDigit(text.unit()))
        return false;
    int magnitude = 0;
    for (; isDigit(text.unit()); ++text.at)
        magnitude = std::min(magnitude * 10 + (text.unit() - '0'), powerCount - 1);
    exponent = isNegative ? -magnitude : magnitude;
    return true;
}

// D-137: an integral text of 18 digits that begins like this is corrected by how many digits were
// given in all. Texts of such numbers are about, and read as they always did.
bool isCorrected(const Decimal &number, double &result)
{
    constexpr std::uint64_t first = 123456789012345670;
    constexpr std::uint64_t last = 123456789012345679;
    if (number.scale != 0 || number.whole < first || number.whole > last)
        return false;
    if (number.positions == 20)
        result = 1.2345678901234568e+17;
    else if (number.positions == 22)
        result = 1.2345678901234566e+17;
    else
        return false;
    return true;
}

double valueOf(const Decimal &number)
{
    // The largest double with its last digit rounded up, which overflows otherwise.
    constexpr std::uint64_t largestRoundedUp = 17976931348623158;
    constexpr int largestScale = 292;
    double corrected = 0;
    if (isCorrected(number, corrected))
        return corrected;
    if (number.whole == largestRoundedUp && number.scale == largestScale)
        return largest;
    // Zero times a power that is infinite is zero here.
    if (number.whole == 0)
        return 0;
    const auto magnitude = static_cast<std::size_t>(std::abs(number.scale));
    double power = infinity;
    if (magnitude < powerCount)
        power = powerProducts[magnitude];
    const auto whole = static_cast<double>(number.whole);
    // D-138: below 10^-308 the divisor is infinite and the result 0, also where a denormal is near.
    return number.scale < 0 ? whole / power : whole * power;
}

// The value of a letter or digit; 36 for anything else.
unsigned digitValue(unsigned short unit)
{
    if (isDigit(unit))
        return unit - unsigned{'0'};
    const unsigned lower = unit | 0x20U;
    if (unit < 0x80 && lower >= 'a' && lower <= 'z')
        return lower - 'a' + 10;
    return greatestRadix;
}

// The first 53 bits, the next one rounding up. D-139: a tie goes up, not to the even number.
double roundedTo53Bits(std::uint64_t number)
{
    constexpr int precision = std::numeric_limits<double>::digits;
    const int surplus = static_cast<int>(std::bit_width(number)) - precision;
    if (surplus <= 0)
        return static_cast<double>(number);
    const std::uint64_t kept = (number >> surplus) + (number >> (surplus - 1) & 1);
    return std::ldexp(static_cast<double>(kept), surplus);
}

int skipDigits(Scanner &text, unsigned radix)
{
    const int first = text.at;
    while (digitValue(text.unit()) < radix)
        ++text.at;
    return text.at - first;
}

double timesPower(double leading, unsigned radix, int digits)
{
    // 10^288, which the digits of the largest double take, may not depend on the runtime.
    const double power =
        radix == 10 && digits == 288 ? 1e288 : std::pow(double(radix), double(digits));
    return leading * power;
}

double scanWhole(Scanner &text, unsigned radix)
{
    // Radixes of which 53 bits are a matter of shifting; 64 would be the next.
    const bool isBinary = std::has_single_bit(radix);
    std::uint64_t number = 0;
    for (;; ++text.at) {
        const unsigned digit = digitValue(text.unit());
        if (digit >= radix)
            return isBinary ? roundedTo53Bits(number) : static_cast<double>(number);
        std::uint64_t longer = 0;
        if (!__builtin_mul_overflow(number, std::uint64_t{radix}, &longer) &&
            !__builtin_add_overflow(longer, std::uint64_t{digit}, &longer)) {
            number = longer;
            continue;
        }
        if (isBinary)
            return timesPower(roundedTo53Bits(number), radix, skipDigits(text, radix));
        ++text.at;
        return timesPower(static_cast<double>(number) * radix + digit, radix,
                          skipDigits(text, radix));
    }
}

// The radix that the text asks for. A prefix of two units is taken if the caller wants that radix.
unsigned takeRadix(Scanner &text, int wanted)
{
    int detected = 10;
    int prefix = 0;
    if (text.unit() == '0') {
        const unsigned short next = text.next();
        if (next == 'x' || next == 'X') {
            detected = text.has(noHexPrefix) ? 10 : 16;
            prefix = text.has(noHexPrefix) ? 0 : 2;
        } else if (next != '8' && next != '9') {
            detected = text.has(leadingZeroIsDecimal) ? 10 : 8;
        }
    }
    const bool takesPrefix = wanted == 0 || wanted == detected;
    text.at += takesPrefix ? prefix : 0;
    return static_cast<unsigned>(wanted == 0 ? detected : wanted);
}

} // namespace

double scanDouble(const String &string, int flags, String *rest)
{
    Scanner text(string, flags, rest);
    double result = 0;
    if (text.isBlank(result))
        return text.fail(result);
    if (!text.takesSign())
        return text.failAtSign();
    if (text.unit() == '0' && (text.next() == 'x' || text.next() == 'X'))
        return scanInteger(string, 16, flags, rest);
    if (text.unit() == 'I' && text.takes(u"Infinity"))
        return text.finish(infinity);
    if (text.unit() == 'N' && text.takes(u"NaN"))
        return text.finish(notANumber);
    Decimal number = scanDigits(text);
    if (!number.hasDigits)
        return text.fail();
    if (text.unit() == 'e' || text.unit() == 'E') {
        ++text.at;
        std::int64_t exponent = 0;
        if (!scanExponent(text, exponent))
            return text.fail();
        number.scale += exponent;
    }
    return text.finish(valueOf(number));
}

double scanInteger(const String &string, int radix, int flags, String *rest)
{
    Scanner text(string, flags, rest);
    double result = 0;
    if (text.isBlank(result))
        return text.fail(result);
    if (radix != 0 && (radix < smallestRadix || radix > greatestRadix))
        return text.failFromStart();
    if (!text.takesSign())
        return text.failAtSign();
    const unsigned actualRadix = takeRadix(text, radix);
    const int first = text.at;
    result = scanWhole(text, actualRadix);
    return text.at == first ? text.fail() : text.finish(result);
}

} // namespace Tavrin::detail
