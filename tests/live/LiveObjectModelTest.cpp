// SPDX-License-Identifier: MIT
// Random operations beside a plain model; tests/stress/LiveObjectStress.cpp makes long walks.
#include <gtest/gtest.h>

#include "live/LiveObjectWalk.h"
#include "support/LibraryTest.h"

using namespace Tavrin;

namespace {

using LiveObjectModelTest = test::LibraryTest;

} // namespace

TEST_F(LiveObjectModelTest, RandomOperationsAgreeWithThePlainModel)
{
    for (std::uint64_t seed = 1; seed <= 8; ++seed) {
        test::LiveObjectWalk walk(seed);
        for (int step = 0; step < 5000; ++step) {
            const std::string gap = walk.step();
            ASSERT_EQ(gap, "") << "seed " << seed << ", step " << step;
        }
    }
}
