// SPDX-License-Identifier: MIT
// Text to integers in any radix, beside the same digits added up in a wider type.
#include <cmath>

#include <tavrin/String.h>
#include <tavrin/Variant.h>

#include "fuzz/FuzzText.h"
#include "fuzz/FuzzTools.h"

using namespace Tavrin;

namespace {

constexpr int mostFlags = 0x400;
constexpr int exactDigits = 10; // 36^10 is below 2^53

bool isSame(double a, double b)
{
    return std::isnan(a) ? std::isnan(b) : a == b;
}

unsigned digitValue(unsigned short unit)
{
    if (unit >= '0' && unit <= '9')
        return unit - unsigned{'0'};
    if (unit >= 'a' && unit <= 'z')
        return unit - unsigned{'a'} + 10;
    if (unit >= 'A' && unit <= 'Z')
        return unit - unsigned{'A'} + 10;
    return 99;
}

// A short text of nothing but digits of the radix.
void compareWithSum(const String &text, int radix)
{
    if (text.length() == 0 || text.length() > exactDigits)
        return;
    double sum = 0;
    for (int at = 0; at < text.length(); ++at) {
        const unsigned digit = digitValue(text.wstr()[at]);
        if (digit >= static_cast<unsigned>(radix))
            return;
        sum = sum * radix + digit;
    }
    fuzz::require(Variant::scanInteger(text, radix, 0, nullptr) == sum, "digits add up");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static const fuzz::Library library;
    if (size < 3)
        return 0;
    const int radix = data[0] % 40 - 1;
    const int flags = (data[1] << 8 | data[2]) % mostFlags;
    const String text = fuzz::textOf(data + 2, size - 2);
    String rest;
    const double value = Variant::scanInteger(text, radix, flags, &rest);
    fuzz::require(isSame(value, Variant::scanInteger(text, radix, flags, nullptr)),
                  "the rest is no matter");
    fuzz::require(rest.length() <= text.length(), "the rest is a part of the text");
    fuzz::require(std::isnan(value) || std::isinf(value) || value == std::trunc(value),
                  "an integer is whole");
    if (radix >= 2 && radix <= 36)
        compareWithSum(text, radix);
    return 0;
}
