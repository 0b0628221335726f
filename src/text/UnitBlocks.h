// SPDX-License-Identifier: MIT
#pragma once

// What the kernels of the block routines share. A kernel is a function template over a set of
// lanes: a vector of `width` units and the operations on it (UnitScan.cpp has the smallest set).
//
// A kernel goes through its run in whole blocks and takes the rest with one last block that ends
// where the run ends, and so overlaps the one before; nothing outside the run is touched. A run
// that is shorter than a block goes to the next narrower lanes, and what is shorter than the
// narrowest is done unit by unit.
//
// Each instruction set instantiates the kernels in a source file of its own, with lanes of its own
// types. Every function of these headers is a template over the lanes, so that no code is shared
// between files that are compiled for different processors.

#include <algorithm>
#include <bit>
#include <cstdint>
#include <type_traits>

namespace Tavrin::detail::kernels {

// bitsPerLane bits for each lane, the first lane lowest.
using Mask = std::uint32_t;

template <class Lanes>
using Vector = typename Lanes::Vector;
template <class Lanes>
using Shorter = typename Lanes::Shorter;

template <class Lanes>
inline constexpr bool isNarrowest = std::is_void_v<Shorter<Lanes>>;

template <class Lanes>
inline constexpr Mask
    allLanes = static_cast<Mask>((std::uint64_t{1} << (Lanes::width * Lanes::bitsPerLane)) - 1);

template <class Lanes>
Mask unset(Vector<Lanes> lanes) noexcept
{
    return ~Lanes::mask(lanes) & allLanes<Lanes>;
}

template <class Lanes>
int firstLane(Mask mask) noexcept
{
    return std::countr_zero(mask) / Lanes::bitsPerLane;
}

template <class Lanes>
int lastLane(Mask mask) noexcept
{
    return (31 - std::countl_zero(mask)) / Lanes::bitsPerLane;
}

template <class Lanes>
Mask without(Mask mask, int lane) noexcept
{
    constexpr Mask oneLane = (Mask{1} << Lanes::bitsPerLane) - 1;
    return mask & ~(oneLane << (lane * Lanes::bitsPerLane));
}

// The blocks of a run of at least `width` units: from 0 up to the one that ends the run, or from
// that one down to 0; then -1.
template <class Lanes>
int nextBlock(int at, int n) noexcept
{
    return at < n - Lanes::width ? std::min(at + Lanes::width, n - Lanes::width) : -1;
}

template <class Lanes>
int previousBlock(int at) noexcept
{
    return at > 0 ? std::max(at - Lanes::width, 0) : -1;
}

} // namespace Tavrin::detail::kernels
