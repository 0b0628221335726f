// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>

#include <tavrin/String.h>

// Texts of the library as those of the standard, and back, unit by unit.
namespace Tavrin::test {

// A string of exactly these units, also when they contain or begin with a 0.
inline String textOf(std::u16string_view units)
{
    String text;
    for (const char16_t unit : units)
        text.append(static_cast<unsigned short>(unit));
    return text;
}

inline std::u16string unitsOf(const String &text)
{
    return {text.wstr(), text.wstr() + text.length()};
}

// The units as bytes; those above 255 lose their upper half.
inline std::string bytesOf(const String &text)
{
    std::string bytes;
    for (int at = 0; at < text.length(); ++at)
        bytes += static_cast<char>(text.wstr()[at]);
    return bytes;
}

} // namespace Tavrin::test
