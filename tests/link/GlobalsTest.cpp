// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include "OneGlobals.h"

using namespace Tavrin;

TEST(LinkedExecutable, SharesOneGlobalsWithTheLibrary)
{
    EXPECT_STREQ(link::disagreement(), nullptr);
}

TEST(LinkedExecutable, SharesThemAgainAfterExit)
{
    EXPECT_STREQ(link::disagreement(), nullptr);
    EXPECT_STREQ(link::disagreement(), nullptr);
}
