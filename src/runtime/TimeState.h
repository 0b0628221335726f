// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

namespace Tavrin::detail {

// What the start of the library learns about the system's clocks.
struct TimeState
{
    double timeZoneOffset = 0; // milliseconds
    bool hasCounter = false;
    double counterFrequency = 0; // counts per second
};

extern TimeState timeState;

// How far Time::getTicks has come: the ticks of all wraps so far, and the last count of the
// system's millisecond clock. Aligned so that both words change in one atomic step.
struct alignas(8) TickState
{
    std::uint32_t base = 0;
    std::uint32_t last = 0;

    // D-083: a wrap adds 5368709 ticks, which is not 2^32 / 50.
    static constexpr std::uint32_t ticksPerWrap = 5368709;
    static constexpr std::uint32_t millisecondsPerTick = 50;

    constexpr TickState advancedTo(std::uint32_t count) const
    {
        return {count < last ? base + ticksPerWrap : base, count};
    }
    constexpr std::uint32_t ticks() const { return base + last / millisecondsPerTick; }

    bool operator==(const TickState &) const = default;
};

} // namespace Tavrin::detail
