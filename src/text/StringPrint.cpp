// SPDX-License-Identifier: MIT
// Formatting. The format is read once, and the result is put together beside the string, which may
// be the format or an argument. The rules are this library's own; where they differ from printf the
// place says so. Pinned by tests/text/StringPrintTest.cpp.
#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdarg>
#include <iterator>
#include <limits>

#include <tavrin/String.h>

#include "text/DecimalDigits.h"
#include "text/HexDigits.h"
#include "text/NumberUnits.h"
#include "text/StringAccess.h"
#include "text/WideText.h"

namespace Tavrin {

using detail::NumberUnits;
using detail::StringAccess;
using detail::UnitView;
using detail::WideText;

namespace {

constexpr unsigned short blank = ' ';
constexpr int most = std::numeric_limits<int>::max();

// The text so far. A message of common length never leaves the stack.
class Output
{
public:
    Output() = default;
    Output(const Output &) = delete;
    Output &operator=(const Output &) = delete;

    UnitView view() const
    {
        return length <= room ? UnitView{units, length} : StringAccess::view(longText);
    }
    void append(UnitView text) { detail::copyUnits(grow(text.length), text.units, text.length); }
    void fill(unsigned short unit, int count) { std::fill_n(grow(count), count, unit); }

private:
    static constexpr int room = 512;

    // Makes the text longer and returns where the new units go.
    unsigned short *grow(int count)
    {
        const int oldLength = length;
        const int newLength = detail::checkedLength(std::int64_t{oldLength} + count);
        if (newLength > room) {
            if (oldLength <= room)
                longText.append(units, oldLength);
            longText.adjust(newLength);
        }
        length = newLength;
        return (newLength > room ? StringAccess::units(longText) : units) + oldLength;
    }

    int length = 0;
    unsigned short units[room];
    String longText;
};

// The arguments, read in order.
class Arguments
{
public:
    explicit Arguments(va_list given) { va_copy(list, given); }
    ~Arguments() { va_end(list); }
    Arguments(const Arguments &) = delete;
    Arguments &operator=(const Arguments &) = delete;

    // The analyzer does not see that a list in a member was started.
    // NOLINTBEGIN(*-valist.Uninitialized)
    int nextInt() { return va_arg(list, int); }
    double nextDouble() { return va_arg(list, double); }
    template <class Pointee>
    const Pointee *nextPointer()
    {
        return va_arg(list, const Pointee *);
    }
    // NOLINTEND(*-valist.Uninitialized)

private:
    va_list list;
};

// What stands between "%" and the conversion.
struct Field
{
    bool isLeftJustified = false;
    bool showsPlus = false;
    bool isLong = false;
    unsigned short padding = blank;
    int width = 0;
    int precision = -1; // none
};

class Formatter
{
public:
    Formatter(const unsigned short *format, Arguments &arguments, Output &out)
        : at(format), arguments(arguments), out(out)
    {}

    void run()
    {
        for (;;) {
            const unsigned short *const first = at;
            while (*at != '%' && *at != 0)
                ++at;
            out.append({first, static_cast<int>(at - first)});
            if (*at == 0)
                return;
            ++at;
            const Field field = isBareConversion(*at) ? Field() : readField();
            if (*at == 0)
                return;
            convert(field, *at++);
        }
    }

private:
    bool takes(char unit)
    {
        if (*at != static_cast<unsigned char>(unit))
            return false;
        ++at;
        return true;
    }

    // Behind the "%" of most fields stands the conversion itself: a letter that is no length.
    static bool isBareConversion(unsigned short unit)
    {
        return unit >= 'a' && unit <= 'z' && unit != 'l' && unit != 'h';
    }

    // A number of digits, or the next argument for "*". What is too large counts as the largest
    // int, which no text can be as long as.
    int readNumber()
    {
        if (takes('*'))
            return arguments.nextInt();
        std::int64_t number = 0;
        for (; *at >= '0' && *at <= '9'; ++at)
            number = std::min<std::int64_t>(number * 10 + (*at - '0'), most);
        return static_cast<int>(number);
    }

    Field readField()
    {
        Field field;
        for (;; ++at)
            if (*at == '-')
                field.isLeftJustified = true;
            else if (*at == '+')
                field.showsPlus = true;
            else
                break;
        if (takes('0'))
            field.padding = '0';
        field.width = readNumber();
        if (field.width < 0) { // only an argument can be
            field.isLeftJustified = true;
            field.width = field.width < -most ? most : -field.width;
        }
        if (takes('.'))
            field.precision = std::max(readNumber(), -1);
        if (takes('l'))
            field.isLong = true;
        else if (*at == 'L' || *at == 'h' || *at == 'H')
            ++at;
        return field;
    }

    void convert(const Field &field, unsigned short conversion)
    {
        switch (conversion) {
        case 'd':
        case 'D':
            return convertSigned(field);
        case 'u':
        case 'U':
            return convertUnsigned(field, 10);
        case 'o':
        case 'O':
            return convertUnsigned(field, 8);
        case 'x':
            return convertUnsigned(field, 16, detail::lowerHexDigits);
        case 'X':
            return convertUnsigned(field, 16);
        case 'b':
        case 'B':
            return convertUnsigned(field, 2);
        case 'p':
            return convertPointer(field, detail::lowerHexDigits);
        case 'P':
            return convertPointer(field, detail::upperHexDigits);
        case 'c':
        case 'C':
            return convertUnit(field);
        case 's':
            return convertText(field);
        case 'S':
            // D-147: an empty field, without an argument.
            return pad(field, {});
        case 'e':
        case 'f':
        case 'g':
        case 'n':
            return convertDouble(field, conversion, false);
        case 'E':
        case 'F':
        case 'G':
        case 'N':
            return convertDouble(field, static_cast<unsigned short>(conversion | 0x20), true);
        default:
            return out.append({&conversion, 1});
        }
    }

    // D-144: the padding goes to the very front, also zeros before a sign, or to the end.
    void pad(const Field &field, UnitView text)
    {
        const int missing = field.width - text.length;
        if (missing <= 0)
            return out.append(text);
        if (!field.isLeftJustified)
            out.fill(field.padding, missing);
        out.append(text);
        if (field.isLeftJustified)
            out.fill(field.padding, missing);
    }

    void convertSigned(const Field &field)
    {
        const int value = arguments.nextInt();
        NumberUnits text;
        appendSign(text, value < 0, field);
        text.appendWhole(value < 0 ? 0U - static_cast<unsigned>(value)
                                   : static_cast<unsigned>(value));
        pad(field, text.view());
    }

    static void appendSign(NumberUnits &text, bool isNegative, const Field &field)
    {
        if (isNegative)
            text.append('-');
        else if (field.showsPlus)
            text.append('+');
    }

    void convertUnsigned(const Field &field, unsigned radix,
                         const char *digits = detail::upperHexDigits)
    {
        const auto value = static_cast<unsigned>(arguments.nextInt());
        // D-145: only "l" asks for all bits. The rest of the argument was always dropped.
        constexpr unsigned shortMask = 0xFFFF;
        NumberUnits text;
        appendInRadix(text, field.isLong ? value : value & shortMask, radix, digits);
        pad(field, text.view());
    }

    void convertPointer(Field field, const char *digits)
    {
        constexpr int pointerWidth = 16;
        field.width = pointerWidth;
        NumberUnits text;
        appendInRadix(text, reinterpret_cast<std::uintptr_t>(arguments.nextPointer<void>()), 16,
                      digits);
        pad(field, text.view());
    }

    static void appendInRadix(NumberUnits &text, std::uint64_t value, unsigned radix,
                              const char *digits)
    {
        if (radix == 10)
            return text.appendWhole(value);
        do {
            text.append(digits[value % radix]);
            value /= radix;
        } while (value != 0);
        std::reverse(&text[0], text.end());
    }

    // A negative argument is a char that was extended by its sign.
    void convertUnit(const Field &field)
    {
        const int value = arguments.nextInt();
        const auto unit = static_cast<unsigned short>(value < 0 ? value & 0xFF : value);
        pad(field, {&unit, 1});
    }

    void convertText(const Field &field)
    {
        static constexpr char null[] = "(null)";
        if (field.isLong) {
            const auto *units = arguments.nextPointer<unsigned short>();
            if (units == nullptr)
                return padCut(field, WideText(null).view());
            return pad(field, {units, lengthUpTo(field.precision, units)});
        }
        const auto *bytes = arguments.nextPointer<char>();
        if (bytes == nullptr)
            return padCut(field, WideText(null).view());
        // By the default encoder. One that refuses the bytes leaves the string as it was.
        if (decoded.length() > 0)
            decoded.clear();
        decoded.decode(bytes, -1, nullptr);
        padCut(field, StringAccess::view(decoded));
    }

    // With a precision, the text may come without a 0 unit behind it.
    static int lengthUpTo(int precision, const unsigned short *units)
    {
        if (precision < 0)
            return detail::lengthOf(units);
        int length = 0;
        while (length < precision && units[length] != 0)
            ++length;
        return length;
    }

    void padCut(const Field &field, UnitView text)
    {
        if (field.precision >= 0)
            text.length = std::min(text.length, field.precision);
        pad(field, text);
    }

    void convertDouble(const Field &field, unsigned short conversion, bool isUpper)
    {
        const double value = arguments.nextDouble();
        NumberUnits text;
        // The sign of a NaN is the processor's affair.
        appendSign(text, std::signbit(value) && !std::isnan(value), field);
        const double magnitude = std::fabs(value);
        if (std::isnan(value))
            text.append("nan");
        else if (std::isinf(value))
            text.append("inf");
        else if (conversion == 'e')
            appendExponential(text, magnitude, places(field));
        else if (conversion == 'g')
            appendGeneral(text, magnitude);
        else
            appendFixed(text, magnitude, places(field));
        if (isUpper)
            detail::upperUnits(&text[0], text.length());
        pad(field, text.view());
    }

    static int places(const Field &field)
    {
        constexpr int usualPlaces = 6;
        constexpr int mostPlaces = 14;
        return field.precision < 0 ? usualPlaces : std::min(field.precision, mostPlaces);
    }

    static void appendExponential(NumberUnits &text, double magnitude, int places)
    {
        const detail::Scientific rounded = detail::roundedToDigits(magnitude, places + 1);
        detail::appendMantissa(text, rounded.digits, places);
        text.append('e');
        text.append(rounded.exponent < 0 ? '-' : '+');
        const auto exponent = static_cast<unsigned>(std::abs(rounded.exponent));
        text.appendDigits(exponent, std::max(detail::digitCount(exponent), 2));
    }

    // D-146: "n" prints like "f", and stores nothing anywhere.
    static void appendFixed(NumberUnits &text, double magnitude, int places)
    {
        detail::appendFixed(text, magnitude, places);
        clearLastDigits(text);
    }

    // D-131: of 18 digits and signs or more, all from position 17 on become zeros, be it the point.
    // A minus does not count, a plus does.
    static void clearLastDigits(NumberUnits &text)
    {
        constexpr int kept = 17;
        const int first = text.length() > 0 && text[0] == '-' ? 1 : 0;
        const auto points = std::count(&text[first], text.end(), '.');
        if (text.length() - first - points <= kept)
            return;
        std::fill(&text[first + kept], text.end(), static_cast<unsigned short>('0'));
    }

    // D-143: the precision is left out, as if none were given.
    static void appendGeneral(NumberUnits &text, double magnitude)
    {
        constexpr int digits = 6;
        char bytes[32];
        const char *const end = std::to_chars(std::begin(bytes), std::end(bytes), magnitude,
                                              std::chars_format::general, digits)
                                    .ptr;
        text.append(std::string_view(bytes, end));
    }

    const unsigned short *at;
    Arguments &arguments;
    Output &out;
    String decoded; // an argument; one block serves all of them
};

void printTo(String &text, const unsigned short *format, Arguments &arguments)
{
    Output out;
    if (format != nullptr)
        Formatter(format, arguments, out).run();
    if (out.view().length == 0)
        text.clear();
    else
        StringAccess::assign(text, out.view());
}

} // namespace

void String::print(const char *format, ...)
{
    va_list list;
    va_start(list, format);
    Arguments arguments(list);
    va_end(list);
    printTo(*this, WideText(format).view().units, arguments);
}

void String::print(const unsigned short *format, ...)
{
    va_list list;
    va_start(list, format);
    Arguments arguments(list);
    va_end(list);
    printTo(*this, format, arguments);
}

void String::vprint(const char *format, va_list args)
{
    Arguments arguments(args);
    printTo(*this, WideText(format).view().units, arguments);
}

void String::vprint(const unsigned short *format, va_list args)
{
    Arguments arguments(args);
    printTo(*this, format, arguments);
}

} // namespace Tavrin
