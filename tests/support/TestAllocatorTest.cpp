// SPDX-License-Identifier: MIT
#include "support/TestAllocator.h"

#include <cstdint>
#include <cstring>

#include <gtest/gtest.h>

using namespace Tavrin;
using test::TestAllocator;

namespace {
TestAllocator &allocator()
{
    return TestAllocator::shared();
}
} // namespace

TEST(TestAllocator, CountsLiveBlocksAndBytes)
{
    const std::int64_t blocks = allocator().liveBlocks();
    const std::int64_t bytes = allocator().liveBytes();
    void *first = allocator().allocMem(100);
    void *second = allocator().allocMem(28);
    EXPECT_EQ(allocator().liveBlocks(), blocks + 2);
    EXPECT_EQ(allocator().liveBytes(), bytes + 128);
    allocator().freeMem(first);
    EXPECT_EQ(allocator().liveBlocks(), blocks + 1);
    EXPECT_EQ(allocator().liveBytes(), bytes + 28);
    allocator().freeMem(second);
    EXPECT_EQ(allocator().liveBlocks(), blocks);
    EXPECT_EQ(allocator().liveBytes(), bytes);
}

TEST(TestAllocator, CountsCalls)
{
    const std::int64_t allocations = allocator().allocations();
    const std::int64_t reallocations = allocator().reallocations();
    const std::int64_t frees = allocator().frees();
    const std::int64_t flushes = allocator().flushes();
    void *block = allocator().allocMem(10);
    block = allocator().reallocMem(block, 20);
    EXPECT_EQ(allocator().lastSize(), 20u);
    allocator().flush();
    allocator().freeMem(block);
    EXPECT_EQ(allocator().allocations(), allocations + 1);
    EXPECT_EQ(allocator().reallocations(), reallocations + 1);
    EXPECT_EQ(allocator().frees(), frees + 1);
    EXPECT_EQ(allocator().flushes(), flushes + 1);
}

TEST(TestAllocator, RemembersFileAndLine)
{
    static const char file[] = "somewhere.cpp";
    allocator().freeMem(allocator().allocMem(10, file, 42));
    EXPECT_EQ(allocator().lastFile(), file);
    EXPECT_EQ(allocator().lastLine(), 42);
}

TEST(TestAllocator, BlocksAreAlignedTo16)
{
    void *block = allocator().allocMem(1);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % 16, 0u);
    allocator().freeMem(block);
}

TEST(TestAllocator, AReallocationMovesAndKeepsTheContents)
{
    auto *block = static_cast<char *>(allocator().allocMem(8));
    std::memcpy(block, "abcdefgh", 8);
    auto *grown = static_cast<char *>(allocator().reallocMem(block, 16));
    EXPECT_NE(grown, block);
    EXPECT_EQ(std::memcmp(grown, "abcdefgh", 8), 0);
    auto *shrunk = static_cast<char *>(allocator().reallocMem(grown, 4));
    EXPECT_EQ(std::memcmp(shrunk, "abcd", 4), 0);
    allocator().freeMem(shrunk);
}

TEST(TestAllocator, ReallocationOfNullAllocates)
{
    const std::int64_t blocks = allocator().liveBlocks();
    void *block = allocator().reallocMem(nullptr, 16);
    EXPECT_NE(block, nullptr);
    EXPECT_EQ(allocator().liveBlocks(), blocks + 1);
    allocator().freeMem(block);
}

TEST(TestAllocator, RefusesTheRequestItIsToldTo)
{
    allocator().failRequests(2);
    void *first = allocator().allocMem(1);
    EXPECT_NE(first, nullptr);
    EXPECT_EQ(allocator().allocMem(1), nullptr);
    void *third = allocator().allocMem(1);
    EXPECT_NE(third, nullptr);
    EXPECT_EQ(allocator().refusals(), 1);
    allocator().stopFailing();
    allocator().freeMem(first);
    allocator().freeMem(third);
}

TEST(TestAllocator, RefusesARowOfRequestsOfAllKinds)
{
    void *block = allocator().allocMem(1);
    allocator().failRequests(1, 3);
    EXPECT_EQ(allocator().allocMem(1), nullptr);
    EXPECT_EQ(allocator().allocMem(1, "file", 1), nullptr);
    EXPECT_EQ(allocator().reallocMem(block, 100), nullptr);
    block = allocator().reallocMem(block, 100);
    EXPECT_NE(block, nullptr);
    EXPECT_EQ(allocator().refusals(), 3);
    allocator().stopFailing();
    allocator().freeMem(block);
}

TEST(TestAllocator, RefusesEverythingFromARequestOn)
{
    allocator().failRequests(1, TestAllocator::forever);
    for (int request = 0; request < 100; ++request)
        EXPECT_EQ(allocator().allocMem(1), nullptr);
    EXPECT_EQ(allocator().refusals(), 100);
    allocator().stopFailing();
    void *block = allocator().allocMem(1);
    EXPECT_NE(block, nullptr);
    allocator().freeMem(block);
}

TEST(TestAllocator, RefusesWhatNoSystemCanServe)
{
    EXPECT_EQ(allocator().allocMem(TestAllocator::largestRequest + 1), nullptr);
}

TEST(TestAllocatorDeathTest, StopsAtABlockThatIsNotItsOwn)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    alignas(16) char storage[64] = {};
    EXPECT_DEATH(allocator().freeMem(storage + 32), "is no block of this allocator");
}
