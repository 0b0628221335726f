// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

namespace Tavrin::test {

// The messages of all test failures that `body` raises on this thread, which then count as none.
template <class Body>
std::string failuresOf(Body body)
{
    ::testing::TestPartResultArray results;
    {
        ::testing::ScopedFakeTestPartResultReporter reporter(
            ::testing::ScopedFakeTestPartResultReporter::INTERCEPT_ONLY_CURRENT_THREAD, &results);
        body();
    }
    std::string messages;
    for (int index = 0; index < results.size(); ++index)
        if (results.GetTestPartResult(index).failed())
            messages += results.GetTestPartResult(index).message();
    return messages;
}

} // namespace Tavrin::test
