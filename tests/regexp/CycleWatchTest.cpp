// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include "regexp/CycleWatch.h"
#include "support/LibraryTest.h"

namespace Tavrin::test {
namespace {

using detail::CycleWatch;
using CycleWatchTest = LibraryTest;

// A walk that enters a circle: 0, 1, ... up to tail + circle - 1, then tail again.
struct Walk
{
    int tail;
    int circle;

    int after(int place) const { return place + 1 < tail + circle ? place + 1 : tail; }
};

struct End
{
    int place;
    int steps;
};

End follow(const Walk &walk, bool isExact)
{
    CycleWatch::Memory memory;
    int state[2] = {0, 7};
    CycleWatch watch(memory, state, 2);
    for (int steps = 1;; ++steps) {
        state[0] = walk.after(state[0]);
        if (watch.follow(memory, state, isExact) == CycleWatch::Answer::cameBack) {
            watch.end(memory);
            EXPECT_TRUE(memory.isEmpty());
            EXPECT_EQ(state[1], 7);
            return {state[0], steps};
        }
        if (steps > 1000)
            return {-1, steps};
    }
}

TEST_F(CycleWatchTest, EndsInTheStateThatComesTwiceFirst)
{
    for (int tail = 0; tail < 20; ++tail)
        for (int circle = 1; circle < 20; ++circle)
            EXPECT_EQ(follow({tail, circle}, true).place, tail) << tail << ' ' << circle;
}

TEST_F(CycleWatchTest, EndsSomewhereOnTheCircleWhereThatIsEnough)
{
    for (int tail = 0; tail < 20; ++tail)
        for (int circle = 1; circle < 20; ++circle) {
            const End end = follow({tail, circle}, false);
            EXPECT_GE(end.place, tail);
            EXPECT_LE(end.steps, 3 * (tail + circle)) << tail << ' ' << circle;
        }
}

TEST_F(CycleWatchTest, NeverEndsAWalkWithoutACircle)
{
    CycleWatch::Memory memory;
    int state = 0;
    CycleWatch watch(memory, &state, 1);
    for (state = 1; state < 5000; ++state)
        EXPECT_EQ(watch.follow(memory, &state, true), CycleWatch::Answer::goOn);
    EXPECT_EQ(memory.size(), 2);
}

TEST_F(CycleWatchTest, WatchesShareTheirMemory)
{
    CycleWatch::Memory memory;
    int outer[3] = {1, 2, 3};
    CycleWatch first(memory, outer, 3);
    int inner = 9;
    CycleWatch second(memory, &inner, 1);
    EXPECT_EQ(second.follow(memory, &inner, false), CycleWatch::Answer::cameBack);
    second.end(memory);
    EXPECT_EQ(memory.size(), 6);
    EXPECT_EQ(first.follow(memory, outer, false), CycleWatch::Answer::cameBack);
    first.end(memory);
    EXPECT_TRUE(memory.isEmpty());
}

} // namespace
} // namespace Tavrin::test
