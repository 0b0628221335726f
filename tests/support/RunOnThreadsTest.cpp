// SPDX-License-Identifier: MIT
#include "support/RunOnThreads.h"

#include <atomic>
#include <latch>
#include <stdexcept>
#include <thread>

#include <gtest/gtest.h>

using namespace Tavrin::test;

TEST(RunOnThreads, GivesEachThreadItsIndex)
{
    std::atomic<unsigned> seen{0};
    runOnThreads(8, [&](int index) { seen |= 1u << index; });
    EXPECT_EQ(seen, 0xFFu);
}

TEST(RunOnThreads, RunsThemAtTheSameTime)
{
    std::latch allHere(4);
    runOnThreads(4, [&](int) { allHere.arrive_and_wait(); });
    EXPECT_TRUE(allHere.try_wait());
}

TEST(RunOnThreads, HandsOnTheExceptionOfTheLowestIndexAfterAllHaveEnded)
{
    std::atomic<int> ended{0};
    try {
        runOnThreads(4, [&](int index) {
            ++ended;
            if (index >= 2)
                throw std::runtime_error(std::to_string(index));
        });
        FAIL() << "no exception";
    } catch (const std::runtime_error &exception) {
        EXPECT_STREQ(exception.what(), "2");
    }
    EXPECT_EQ(ended, 4);
}

TEST(RunOnThread, RunsOnAnotherThread)
{
    std::thread::id other;
    runOnThread([&] { other = std::this_thread::get_id(); });
    EXPECT_NE(other, std::this_thread::get_id());
}
