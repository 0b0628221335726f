// SPDX-License-Identifier: MIT
// Filling the arguments into a localised text. An argument may be a script object, whose text is
// the work of a script, which may change the list: nothing is remembered of the list across that
// but its length. Pinned by tests/containers/LocalizerArgumentsTest.cpp.
#include "containers/LocalizerText.h"

#include <algorithm>
#include <cstdint>

// A door: the arguments are values, and here they become text.
#include <tavrin/Array.h>

// A door: some values are written where they stand.
#include "values/VariantAccess.h"

namespace Tavrin::detail {

namespace {

// Above the length of any list.
constexpr std::uint64_t numberLimit = std::uint64_t{1} << 32;

bool isDigit(unsigned short unit)
{
    return unit >= '0' && unit <= '9';
}

// Reads the decimal number at `index` and moves it behind.
std::uint64_t readNumber(const String &text, int &index)
{
    std::uint64_t number = 0;
    for (; isDigit(text.wstr()[index]); ++index)
        number = std::min(number * 10 + (text.wstr()[index] - unsigned{'0'}), numberLimit);
    return number;
}

// The element is held while a script makes its text. The texts of numbers and regular expressions
// are no script's, and the copy of such a value does not have the text that the value has.
String textOf(const Variant &element)
{
    if (element.getType() != kNumber && element.getType() != kRegExp)
        return Variant(element).toString();
    String text;
    VariantAccess::writeText(element, 10, text);
    return text;
}

} // namespace

String fillPlaceholders(const String &text, const Array *args)
{
    // Arguments are code of the host, which may change the text.
    String source(text); // NOLINT(performance-unnecessary-copy-initialization)
    int percent = source.find('%');
    if (percent < 0)
        return source;
    const std::uint64_t count = args == nullptr ? 0 : args->length();
    String filled;
    int kept = 0; // what stands from here on is copied
    for (; percent >= 0; percent = source.find('%', kept)) {
        filled.append(source.wstr() + kept, percent - kept);
        kept = percent + 1;
        if (!isDigit(source.wstr()[kept])) {
            // D-182: at the end, that is the 0 behind the text.
            if (source.wstr()[kept] != '%')
                filled.append('%');
            filled.append(source.wstr()[kept++]);
            continue;
        }
        const std::uint64_t number = readNumber(source, kept);
        if (number >= 1 && number <= count)
            filled.append(textOf((*args)[static_cast<unsigned>(number - 1)]));
    }
    if (kept < source.length())
        filled.append(source.wstr() + kept, source.length() - kept);
    return filled;
}

} // namespace Tavrin::detail
