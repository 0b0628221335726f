// SPDX-License-Identifier: MIT
#pragma once

// The loops of the single-byte routines, filled with the rules of an encoding and with what blocks
// of it need.
#include <algorithm>

#include "encoders/SingleByte.h"
#include "encoders/SingleByteRules.h"

namespace Tavrin::detail {

// No blocks: every character goes through the rules.
struct NoBlocks
{
    static constexpr int size = 1;

    template <class Source, class Target>
    static bool convert(const Source *, Target *, int &)
    {
        return false;
    }
};

// Blocks::convert(src, dst, code) converts Blocks::size characters and may set `code`; false when
// the rules have to convert these one by one.
template <class Rules, class Blocks>
Conversion decodeSingleBytes(const char *bytes, int srcLen, unsigned short *dst, int room) noexcept
{
    const auto *src = reinterpret_cast<const unsigned char *>(bytes);
    const int count = std::max(std::min(srcLen, room), 0);
    int code = noError;
    int position = 0;
    while (position < count) {
        if (count - position >= Blocks::size &&
            Blocks::convert(src + position, dst + position, code)) {
            position += Blocks::size;
            continue;
        }
        const int end = std::min(count, position + Blocks::size);
        for (; position < end; ++position)
            dst[position] = Rules::decode(src[position], code);
    }
    return {count, count, code};
}

template <class Rules, class Blocks>
Conversion encodeSingleBytes(const unsigned short *src, int srcLen, char *bytes, int room) noexcept
{
    auto *dst = reinterpret_cast<unsigned char *>(bytes);
    const int count = std::max(std::min(srcLen, room), 0);
    int code = noError;
    int position = 0;
    while (position < count) {
        if (count - position >= Blocks::size &&
            Blocks::convert(src + position, dst + position, code)) {
            position += Blocks::size;
            continue;
        }
        const int end = std::min(count, position + Blocks::size);
        for (; position < end; ++position)
            dst[position] = Rules::encode(src[position], code);
    }
    return {count, count, code};
}

} // namespace Tavrin::detail
