// SPDX-License-Identifier: MIT
// Objects with locks, used by eight threads; tests/stress/LiveObjectStress.cpp does so for minutes.
#include <gtest/gtest.h>

#include "live/LiveObjectLoad.h"
#include "support/LibraryTest.h"

using namespace Tavrin;

namespace {

using LiveObjectThreadTest = test::MultiThreadedLibraryTest;

} // namespace

TEST_F(LiveObjectThreadTest, EightThreadsShareObjectsAndLoseNothing)
{
    test::LiveObjectLoad load(8);
    load.run(1500);
    EXPECT_EQ(load.complaint(), "");
}
