// SPDX-License-Identifier: MIT
// Text to numbers: what is read and what is left make up the text, and plain numbers of 15 digits
// are what std::from_chars makes of them.
#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <string>

#include <tavrin/String.h>
#include <tavrin/Variant.h>

#include "fuzz/FuzzText.h"
#include "fuzz/FuzzTools.h"

using namespace Tavrin;

namespace {

constexpr int wholeText = 0;
constexpr int anything = 2;
constexpr int mostFlags = 0x400;

bool isSame(double a, double b)
{
    return std::isnan(a) ? std::isnan(b) : a == b;
}

// Digits with a point, and no more of them than a double holds.
bool isPlain(const std::string &text)
{
    const auto digits =
        std::count_if(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
    const auto points = std::count(text.begin(), text.end(), '.');
    return digits > 0 && digits <= 15 && points <= 1 &&
           digits + points == static_cast<std::ptrdiff_t>(text.size());
}

void compareWithCharconv(const String &text)
{
    std::string bytes;
    for (int at = 0; at < text.length(); ++at)
        bytes += text.wstr()[at] < 128 ? static_cast<char>(text.wstr()[at]) : '?';
    if (!isPlain(bytes))
        return;
    double exact = 0;
    std::from_chars(bytes.data(), bytes.data() + bytes.size(), exact);
    fuzz::require(Variant::scanDouble(text, wholeText, nullptr) == exact, "15 digits are exact");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static const fuzz::Library library;
    if (size < 2)
        return 0;
    const int flags = (data[0] << 8 | data[1]) % mostFlags;
    const String text = fuzz::textOf(data + 1, size - 1);
    String rest;
    const double value = Variant::scanDouble(text, flags, &rest);
    fuzz::require(isSame(value, Variant::scanDouble(text, flags, nullptr)),
                  "the rest is no matter");
    fuzz::require(rest.length() <= text.length(), "the rest is a part of the text");
    const double lenient = Variant::scanDouble(text, (flags & 0x300) | anything, nullptr);
    fuzz::require(std::isnan(value) || isSame(value, lenient),
                  "what is behind a number is no matter");
    compareWithCharconv(text);
    return 0;
}
