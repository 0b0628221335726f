// SPDX-License-Identifier: MIT
#include <atomic>

#include <gtest/gtest.h>

#include "regexp/Matches.h"
#include "support/LibraryTest.h"
#include "support/RunOnThreads.h"

namespace Tavrin::test {
namespace {

using RegExpThreadTest = MultiThreadedLibraryTest;

TEST_F(RegExpThreadTest, TwoThreadsMatchWithOneExpression)
{
    const char *const patterns[] = {"(\\w+)\\s+\\1", "(?:(a)|b|[c-e])*f", "[a-z]+ing", "foo|bar"};
    for (const char *pattern : patterns) {
        const RegExp expression(pattern, 0);
        const String subject("is is abcdef fishing foo bar");
        CaptureList expected(expression);
        ASSERT_TRUE(expression.match(subject, 0, expected.first()));
        runOnThreads(2, [&](int) {
            for (int time = 0; time < 200; ++time) {
                CaptureList captures(expression);
                EXPECT_TRUE(expression.match(subject, 0, captures.first()));
                EXPECT_EQ(captures.text(), expected.text());
            }
        });
    }
}

TEST_F(RegExpThreadTest, CopiesLiveOnDifferentThreads)
{
    const RegExp expression("a+", 0);
    runOnThreads(2, [&](int) {
        for (int time = 0; time < 1000; ++time) {
            const RegExp copy(expression);
            RegExp other;
            other = copy;
            EXPECT_TRUE(other.good());
        }
    });
}

TEST_F(RegExpThreadTest, AnotherThreadCancels)
{
    String pattern;
    for (int time = 0; time < 40; ++time)
        pattern += "(?:a?)";
    const RegExp expression(pattern + "\\bb", 0);
    std::atomic<bool> cancelled = false;
    std::atomic<bool> began = false;
    runOnThreads(2, [&](int index) {
        if (index == 0) {
            CaptureList captures(expression);
            began = true;
            EXPECT_EQ(expression.match("aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa", 0,
                                       captures.first(), RegExp::noLimit, &cancelled),
                      kMatchStopped);
        } else {
            while (!began) {}
            cancelled = true;
        }
    });
}

} // namespace
} // namespace Tavrin::test
