// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>

#include <tavrin/String.h>

namespace Tavrin::fuzz {

// An input as a text. The first byte says how: each byte one unit, so that the fuzzer sees plain
// ASCII, or each two bytes one unit.
inline String textOf(const std::uint8_t *data, std::size_t size)
{
    String text;
    if (size == 0)
        return text;
    const bool isWide = data[0] == 'w';
    for (std::size_t at = 1; at + (isWide ? 1 : 0) < size; at += isWide ? 2 : 1)
        text.append(static_cast<unsigned short>(isWide ? data[at] << 8 | data[at + 1] : data[at]));
    return text;
}

} // namespace Tavrin::fuzz
