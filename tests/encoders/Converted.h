// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>
#include <ostream>
#include <string>
#include <string_view>

#include "encoders/Conversion.h"

namespace Tavrin::detail {

inline void PrintTo(const Conversion &conversion, std::ostream *out)
{
    *out << "consumed " << conversion.consumed << ", produced " << conversion.produced << ", code "
         << conversion.code;
}

inline void PrintTo(const Measure &measure, std::ostream *out)
{
    *out << "length " << measure.length << ", code " << measure.code;
}

} // namespace Tavrin::detail

namespace Tavrin::test {

// What a conversion wrote, and what it said about it.
template <class Unit>
struct Converted
{
    std::basic_string<Unit> text;
    detail::Conversion conversion{};

    bool operator==(const Converted &) const = default;
};

using Decoded = Converted<char16_t>;
using Encoded = Converted<char>;

template <class Unit>
void PrintTo(const Converted<Unit> &converted, std::ostream *out)
{
    PrintTo(converted.conversion, out);
    *out << ", text" << std::hex;
    for (const Unit unit : converted.text)
        *out << ' ' << (static_cast<unsigned>(unit) & (sizeof(Unit) == 1 ? 0xFFu : 0xFFFFu));
    *out << std::dec;
}

// A block of exactly so many elements, so that the address sanitizer sees the first one beyond.
template <class Element>
class ExactBlock
{
public:
    explicit ExactBlock(std::size_t count) : elements(new Element[count]) {}

    template <class Other>
    explicit ExactBlock(std::basic_string_view<Other> text) : ExactBlock(text.size())
    {
        std::transform(text.begin(), text.end(), elements.get(),
                       [](Other element) { return static_cast<Element>(element); });
    }

    Element *get() const { return elements.get(); }

private:
    std::unique_ptr<Element[]> elements;
};

// Runs routine(src, srcLen, dst, room) on blocks of the exact sizes.
template <class Routine>
Decoded decodeBy(Routine routine, std::string_view bytes, int room)
{
    const ExactBlock<char> src(bytes);
    const ExactBlock<unsigned short> dst(static_cast<std::size_t>(std::max(room, 0)));
    Decoded result;
    result.conversion = routine(src.get(), static_cast<int>(bytes.size()), dst.get(), room);
    result.text.assign(dst.get(), dst.get() + result.conversion.produced);
    return result;
}

template <class Routine>
Encoded encodeBy(Routine routine, std::u16string_view units, int room)
{
    const ExactBlock<unsigned short> src(units);
    const ExactBlock<char> dst(static_cast<std::size_t>(std::max(room, 0)));
    Encoded result;
    result.conversion = routine(src.get(), static_cast<int>(units.size()), dst.get(), room);
    result.text.assign(dst.get(), dst.get() + result.conversion.produced);
    return result;
}

} // namespace Tavrin::test
