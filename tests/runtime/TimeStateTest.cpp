// SPDX-License-Identifier: MIT
#include "runtime/TimeState.h"

#include <limits>

#include <gtest/gtest.h>

#include <tavrin/Time.h>

#include "support/LibraryTest.h"

using namespace Tavrin;
using detail::TickState;
using test::LibrarySession;

TEST(TickState, TicksAreFiftyMillisecondsEach)
{
    TickState state;
    const struct
    {
        std::uint32_t count;
        std::uint32_t ticks;
    } rows[] = {{0, 0}, {1, 0}, {49, 0}, {50, 1}, {99, 1}, {100, 2}, {4294967295, 85899345}};
    for (const auto &row : rows) {
        state = state.advancedTo(row.count);
        EXPECT_EQ(state.last, row.count);
        EXPECT_EQ(state.ticks(), row.ticks);
    }
    EXPECT_EQ(state.base, 0u);
}

TEST(TickState, AnEqualCountIsNoWrap)
{
    const TickState state{7, 1000};
    EXPECT_EQ(state.advancedTo(1000), state);
}

TEST(TickState, AWrapAdds5368709Ticks)
{
    TickState state{0, std::numeric_limits<std::uint32_t>::max()};
    state = state.advancedTo(0);
    EXPECT_EQ(state, (TickState{5368709, 0}));
    EXPECT_EQ(state.ticks(), 5368709u);
    state = state.advancedTo(100);
    EXPECT_EQ(state.ticks(), 5368711u);
    state = state.advancedTo(99);
    EXPECT_EQ(state.ticks(), 2 * 5368709u + 1);
}

TEST(TickState, TheTicksOfAllWrapsWrapThemselves)
{
    const TickState state{std::numeric_limits<std::uint32_t>::max(), 50};
    EXPECT_EQ(state.ticks(), 0u);
    EXPECT_EQ(state.advancedTo(0).base, 5368708u);
}

TEST(TimeState, InitFindsTheCounter)
{
    LibrarySession session;
    EXPECT_TRUE(detail::timeState.hasCounter);
    EXPECT_GE(detail::timeState.counterFrequency, 1e6);
}

TEST(TimeState, WithoutACounterTheHighResolutionTimerIsTheTimeOfDay)
{
    LibrarySession session;
    detail::timeState.hasCounter = false;
    const double before = Time::getUTCTime() * 1000;
    const auto reading = static_cast<double>(Time::getHiResTimer());
    const double after = Time::getUTCTime() * 1000;
    detail::timeState.hasCounter = true;
    EXPECT_GE(reading, before);
    EXPECT_LE(reading, after);
}
