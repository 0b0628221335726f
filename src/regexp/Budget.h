// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <cstdint>

namespace Tavrin::detail {

// What a search may cost. Each step is a bounded amount of work; spend is false when there is no
// step left or the search was cancelled, from then on.
class NoBudget
{
public:
    bool spend(std::int64_t = 1) { return true; }
    bool isSpent() const { return false; }
};

class StepBudget
{
public:
    StepBudget(std::int64_t steps, const std::atomic<bool> *cancelledFlag)
        : left(steps), cancelled(cancelledFlag)
    {}

    bool spend(std::int64_t steps = 1)
    {
        if (left < steps || isCancelled())
            left = -1;
        else
            left -= steps;
        return left >= 0;
    }
    bool isSpent() const { return left < 0; }

private:
    bool isCancelled() const
    {
        return cancelled != nullptr && cancelled->load(std::memory_order_relaxed);
    }

    std::int64_t left;
    const std::atomic<bool> *cancelled;
};

// The steps of a scan over so many units.
constexpr std::int64_t stepsOfScan(int units)
{
    return 1 + units / 32;
}

} // namespace Tavrin::detail
