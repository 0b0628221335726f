// SPDX-License-Identifier: MIT
#pragma once

// Equality, length and widening of runs of units.

#include "text/UnitBlocks.h"

namespace Tavrin::detail::kernels {

template <class Lanes>
Vector<Lanes> differenceAt(const unsigned short *a, const unsigned short *b, int at) noexcept
{
    return Lanes::differing(Lanes::load(a + at), Lanes::load(b + at));
}

template <class Lanes>
bool equalUnits(const unsigned short *a, const unsigned short *b, int n) noexcept
{
    constexpr int width = Lanes::width;
    if (n < width) {
        if constexpr (isNarrowest<Lanes>)
            return std::equal(a, a + std::max(n, 0), b);
        else
            return equalUnits<Shorter<Lanes>>(a, b, n);
    }
    int at = 0;
    for (; at <= n - 4 * width; at += 4 * width) {
        const Vector<Lanes> front =
            Lanes::either(differenceAt<Lanes>(a, b, at), differenceAt<Lanes>(a, b, at + width));
        const Vector<Lanes> back = Lanes::either(differenceAt<Lanes>(a, b, at + 2 * width),
                                                 differenceAt<Lanes>(a, b, at + 3 * width));
        if (!Lanes::isZero(Lanes::either(front, back)))
            return false;
    }
    Vector<Lanes> rest = differenceAt<Lanes>(a, b, n - width);
    for (; at < n - width; at += width)
        rest = Lanes::either(rest, differenceAt<Lanes>(a, b, at));
    return Lanes::isZero(rest);
}

template <class Lanes>
int firstDifference(const unsigned short *a, const unsigned short *b, int n) noexcept
{
    if (n < Lanes::width) {
        if constexpr (isNarrowest<Lanes>) {
            int at = 0;
            while (at < n && a[at] == b[at])
                ++at;
            return at;
        } else {
            return firstDifference<Shorter<Lanes>>(a, b, n);
        }
    }
    for (int at = 0; at >= 0; at = nextBlock<Lanes>(at, n)) {
        const Mask unequal = unset<Lanes>(Lanes::equal(Lanes::load(a + at), Lanes::load(b + at)));
        if (unequal != 0)
            return at + firstLane<Lanes>(unequal);
    }
    return n;
}

template <class Lanes>
int firstNarrowDifference(const unsigned short *a, const char *b, int n) noexcept
{
    if (n < Lanes::width) {
        if constexpr (isNarrowest<Lanes>) {
            int at = 0;
            while (at < n && a[at] == static_cast<unsigned char>(b[at]))
                ++at;
            return at;
        } else {
            return firstNarrowDifference<Shorter<Lanes>>(a, b, n);
        }
    }
    for (int at = 0; at >= 0; at = nextBlock<Lanes>(at, n)) {
        const Mask unequal = unset<Lanes>(Lanes::equal(Lanes::load(a + at), Lanes::widen(b + at)));
        if (unequal != 0)
            return at + firstLane<Lanes>(unequal);
    }
    return n;
}

// Address and thread sanitizers would take the units around a text for mistakes, and should see the
// real ones: under them the length is counted unit by unit.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr bool readsExactly = true;
#elif defined(__has_feature)
inline constexpr bool readsExactly =
    __has_feature(address_sanitizer) || __has_feature(thread_sanitizer);
#else
inline constexpr bool readsExactly = false;
#endif

template <class Lanes>
Mask terminatorsIn(std::uintptr_t block) noexcept
{
    const auto *units = reinterpret_cast<const unsigned short *>(block);
    return Lanes::mask(Lanes::equal(Lanes::loadAligned(units), Lanes::fill(0)));
}

// Looks at aligned blocks, the first of which may begin in front of the text.
template <class Lanes>
int lengthOf(const unsigned short *text) noexcept
{
    if constexpr (readsExactly) {
        const unsigned short *end = text;
        while (*end != 0)
            ++end;
        return static_cast<int>(end - text);
    }
    constexpr std::uintptr_t blockBytes = Lanes::width * sizeof(unsigned short);
    const auto start = reinterpret_cast<std::uintptr_t>(text);
    const int lanesBefore = static_cast<int>(start % blockBytes / sizeof(unsigned short));
    std::uintptr_t block = start - start % blockBytes;
    Mask found = terminatorsIn<Lanes>(block) >> (lanesBefore * Lanes::bitsPerLane);
    if (found != 0)
        return firstLane<Lanes>(found);
    do {
        block += blockBytes;
        found = terminatorsIn<Lanes>(block);
    } while (found == 0);
    return static_cast<int>((block - start) / sizeof(unsigned short)) + firstLane<Lanes>(found);
}

template <class Lanes>
void widen(const char *bytes, unsigned short *out, int n) noexcept
{
    if (n < Lanes::width) {
        if constexpr (isNarrowest<Lanes>) {
            for (int at = 0; at < n; ++at)
                out[at] = static_cast<unsigned char>(bytes[at]);
        } else {
            widen<Shorter<Lanes>>(bytes, out, n);
        }
        return;
    }
    for (int at = 0; at >= 0; at = nextBlock<Lanes>(at, n))
        Lanes::store(out + at, Lanes::widen(bytes + at));
}

} // namespace Tavrin::detail::kernels
