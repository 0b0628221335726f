// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <ostream>
#include <string>
#include <string_view>

#include <tavrin/String.h>

#include "support/TextUnits.h"

namespace Tavrin {

// What a failed comparison prints: printable ASCII as it is, other units in hexadecimal.
inline void PrintTo(const String &text, std::ostream *out)
{
    *out << '"';
    for (int index = 0; index < text.length(); ++index) {
        const unsigned short unit = text.wstr()[index];
        if (unit >= 32 && unit < 127)
            *out << static_cast<char>(unit);
        else
            *out << '<' << std::hex << unit << std::dec << '>';
    }
    *out << "\" (" << text.length() << " units)";
}

} // namespace Tavrin

namespace Tavrin::test {

// The units of a literal; u"..."_units.data() is text with a 0 unit behind it.
class Units
{
public:
    Units(std::u16string_view text) : units(text) {}
    const unsigned short *data() const
    {
        return reinterpret_cast<const unsigned short *>(units.c_str());
    }
    operator const unsigned short *() const { return data(); }
    int length() const { return static_cast<int>(units.size()); }

private:
    std::u16string units;
};

// `length` units, all different from 0, with a period that no power of two divides.
inline std::u16string patternOf(int length)
{
    std::u16string units;
    for (int index = 0; index < length; ++index)
        units += static_cast<char16_t>(u'!' + index % 89);
    return units;
}

// The text with its 0 unit: what every operation has to leave behind.
inline bool isTerminated(const String &text)
{
    return text.wstr()[text.length()] == 0;
}

} // namespace Tavrin::test
