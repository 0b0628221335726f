// SPDX-License-Identifier: MIT
#pragma once

// The length scans over lanes of any width. A set of lanes is a type of the source file that
// includes this, so that its instantiations are that file's alone.
#include <algorithm>
#include <cstdint>

#include "encoders/Utf8Blocks.h"
#include "encoders/Utf8Steps.h"

namespace Tavrin::detail {

// By lead bytes alone, which for well-formed text is the number of characters plus the number of
// those that need a surrogate pair. Where a block is not well-formed, the steps take over at the
// last place that was sure to begin a character.
template <class Lanes>
Measure countUtf8UnitsBy(const char *src, int srcLen) noexcept
{
    std::int64_t position = 0;
    std::int64_t units = 0;
    std::uint64_t carry = 0;
    for (; srcLen - position >= utf8BlockSize; position += utf8BlockSize) {
        const Utf8Block block = Lanes::classify(src + position);
        if (!block.isWellFormed(carry))
            break;
        units += utf8BlockSize - Lanes::popcount(block.continuation);
        units += Lanes::popcount(block.lead4);
        carry = block.carry();
    }
    return countUtf8UnitsFrom(src, position + Lanes::popcount(carry), srcLen, units);
}

// Each unit counts three bytes, less one when it is below 0x800, less one more when it is below
// 0x80, and a lead surrogate with its partner less two. The steps take over in front of the first
// block with a lead that has none; a trail that they find there was announced and counts three.
template <class Lanes>
Measure countUtf8BytesBy(const unsigned short *src, int srcLen) noexcept
{
    constexpr std::int64_t blocksPerSum = 4096; // four times as many fit a signed lane
    const auto threeBytes = Lanes::fill(0x7FF);
    const auto twoBytes = Lanes::fill(0x7F);
    const auto surrogateBits = Lanes::fill(0xFC00);
    const auto leadBits = Lanes::fill(0xD800);
    const auto trailBits = Lanes::fill(0xDC00);

    std::int64_t position = 0;
    std::int64_t bytes = 0;
    bool isPaired = true;
    // A block is looked at together with the unit behind it.
    while (isPaired && srcLen - position > Lanes::width) {
        auto less = Lanes::zero();
        const std::int64_t begin = position;
        const std::int64_t blocks =
            std::min<std::int64_t>(blocksPerSum, (srcLen - position - 1) / Lanes::width);
        for (std::int64_t index = 0; index < blocks; ++index) {
            const auto units = Lanes::load(src + position);
            const auto leads = Lanes::equal(Lanes::both(units, surrogateBits), leadBits);
            if (Lanes::mask(leads) != 0) {
                const auto next = Lanes::both(Lanes::load(src + position + 1), surrogateBits);
                const auto trails = Lanes::equal(next, trailBits);
                if (Lanes::mask(Lanes::butNot(leads, trails)) != 0) {
                    isPaired = false;
                    break;
                }
                less = Lanes::minus(less, Lanes::plus(leads, leads));
            }
            less = Lanes::minus(less, Lanes::isZero(Lanes::minusClamped(units, threeBytes)));
            less = Lanes::minus(less, Lanes::isZero(Lanes::minusClamped(units, twoBytes)));
            position += Lanes::width;
        }
        bytes += 3 * (position - begin) - Lanes::sum(less);
    }
    return countUtf8BytesFrom(src, position, srcLen, bytes);
}

} // namespace Tavrin::detail
