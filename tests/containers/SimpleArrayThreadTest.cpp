// SPDX-License-Identifier: MIT
#include <tavrin/SimpleArray.h>

#include <array>

#include <gtest/gtest.h>

#include "containers/ArraySupport.h"
#include "support/LibraryTest.h"
#include "support/RunOnThreads.h"

using namespace Tavrin;
using test::numbersTo;

namespace {

using SimpleArrayThreadTest = test::MultiThreadedLibraryTest;

constexpr int threadCount = 4;

} // namespace

TEST_F(SimpleArrayThreadTest, CopiesOnSeveralThreadsShareARecordAndPartOnWrite)
{
    const SimpleArray source = numbersTo(20);
    test::runOnThreads(threadCount, [&](int thread) {
        for (int round = 0; round < 2000; ++round) {
            SimpleArray mine = source;
            SimpleArray second = mine;
            mine[round % 20] = thread;
            mine.append(round);
            ASSERT_EQ(second, source);
            ASSERT_EQ(mine.length(), 21);
            ASSERT_EQ(mine[20], round);
        }
    });
    EXPECT_EQ(source, numbersTo(20));
}

TEST_F(SimpleArrayThreadTest, TheLastHolderWritesInPlaceAfterTheOthersHaveRead)
{
    for (int round = 0; round < 300; ++round) {
        std::array<SimpleArray, threadCount> copies;
        copies.fill(numbersTo(20));
        test::runOnThreads(threadCount, [&](int thread) {
            SimpleArray &mine = copies[static_cast<unsigned>(thread)];
            ASSERT_EQ(mine[19 - thread], 20 - thread);
            mine[0] = thread;
            ASSERT_EQ(mine[0], thread);
            mine.erase();
        });
    }
}

TEST_F(SimpleArrayThreadTest, EmptyArraysNeedNoCare)
{
    const SimpleArray empty;
    test::runOnThreads(threadCount, [&](int thread) {
        for (int round = 0; round < 2000; ++round) {
            SimpleArray mine = empty;
            mine[5] = thread;
            ASSERT_EQ(mine[9], thread);
            mine.erase();
            ASSERT_EQ(mine[9], 0);
        }
    });
    EXPECT_EQ(empty.length(), 0);
}

TEST_F(SimpleArrayThreadTest, AnArrayMadeOnOneThreadIsGivenUpOnAnother)
{
    std::array<SimpleArray, threadCount> arrays;
    test::runOnThreads(threadCount, [&](int thread) {
        arrays[static_cast<unsigned>(thread)] = numbersTo(100 + thread);
    });
    test::runOnThreads(threadCount, [&](int thread) {
        SimpleArray &other = arrays[static_cast<unsigned>((thread + 1) % threadCount)];
        ASSERT_EQ(other.length(), 100 + (thread + 1) % threadCount);
        other.erase();
    });
}
