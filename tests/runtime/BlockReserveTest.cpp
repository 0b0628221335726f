// SPDX-License-Identifier: MIT
// White-box: freed blocks of the DefaultAllocator that wait to be used again.
#include "runtime/BlockReserve.h"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <iterator>
#include <mutex>
#include <vector>

#include <gtest/gtest.h>

#include <tavrin/Heap.h>
#include <tavrin/InitTerm.h>

#include "runtime/ContextState.h"
#include "support/LibraryTest.h"
#include "support/RunOnThreads.h"
#include "support/TestAllocator.h"

using namespace Tavrin;
using namespace Tavrin::detail;
using test::TestAllocator;

namespace {

constexpr std::size_t request = 100;
constexpr std::size_t blockSize = blockSizeFor(request);

using Blocks = std::vector<void *>;

Blocks make(std::size_t count)
{
    Blocks blocks(count);
    for (void *&block : blocks)
        block = Heap::operator new(request);
    return blocks;
}

void release(const Blocks &blocks)
{
    for (void *block : blocks)
        Heap::operator delete(block);
}

std::size_t countOfCommon(Blocks a, Blocks b)
{
    std::sort(a.begin(), a.end());
    std::sort(b.begin(), b.end());
    Blocks common;
    std::set_intersection(a.begin(), a.end(), b.begin(), b.end(), std::back_inserter(common));
    return common.size();
}

int blocksInUse()
{
    int blocks = 0;
    std::size_t bytes = 0;
    Heap::getMemoryStatistics(blocks, bytes);
    return blocks;
}

std::size_t bytesInUse()
{
    int blocks = 0;
    std::size_t bytes = 0;
    Heap::getMemoryStatistics(blocks, bytes);
    return bytes;
}

unsigned limit()
{
    return currentContext().cache.limitOf(blockSize);
}

// Works with the DefaultAllocator, unlike other tests.
template <class Fixture>
class WithDefaultAllocator : public Fixture
{
protected:
    void SetUp() override
    {
        Fixture::SetUp();
        Allocator::set(nullptr);
    }
};

using BlockReserveTest = WithDefaultAllocator<test::LibraryTest>;
using BlockReserveThreadsTest = WithDefaultAllocator<test::MultiThreadedLibraryTest>;

} // namespace

TEST_F(BlockReserveTest, BlocksPastTheLimitAreUsedAgain)
{
    const Blocks blocks = make(1000);
    release(blocks);
    EXPECT_GT(bytesInDepot(), 0u);
    const Blocks again = make(1000);
    EXPECT_EQ(countOfCommon(blocks, again), 1000u);
    release(again);
}

TEST_F(BlockReserveTest, NewAtALineUsesThemToo)
{
    const Blocks blocks = make(1000);
    release(blocks);
    Blocks again(1000);
    for (void *&block : again)
        block = Heap::operator new(request, "file", 7);
    EXPECT_EQ(countOfCommon(blocks, again), 1000u);
    release(again);
}

TEST_F(BlockReserveTest, TheCacheHoldsWhatItWouldHoldWithoutAReserve)
{
    const Blocks blocks = make(1000);
    for (std::size_t released = 0; released < blocks.size(); ++released) {
        Heap::operator delete(blocks[released]);
        EXPECT_EQ(currentContext().cache.classOf(blockSize).readCount(),
                  std::min<std::size_t>(released + 1, limit()));
    }
    EXPECT_EQ(Heap::operator new(request), blocks[limit() - 1]);
    Heap::operator delete(blocks[limit() - 1]);
}

TEST_F(BlockReserveTest, BlocksThatWaitCountAsGivenBack)
{
    const int blocksBefore = blocksInUse();
    const std::size_t bytesBefore = bytesInUse();
    Blocks blocks;
    for (int round = 0; round < 3; ++round) {
        blocks = make(1000);
        EXPECT_EQ(blocksInUse(), blocksBefore + 1000);
        EXPECT_EQ(bytesInUse(), bytesBefore + 1000 * blockSize);
        release(blocks);
        EXPECT_EQ(blocksInUse(), blocksBefore);
        EXPECT_EQ(bytesInUse(), bytesBefore);
    }
}

TEST_F(BlockReserveTest, BlocksOfARegisteredAllocatorGoStraightBack)
{
    TestAllocator &allocator = TestAllocator::shared();
    ASSERT_TRUE(Allocator::set(&allocator));
    const Blocks blocks = make(1000);
    const std::int64_t frees = allocator.frees();
    release(blocks);
    EXPECT_EQ(allocator.frees() - frees, 1000 - static_cast<std::int64_t>(limit()));
    EXPECT_EQ(bytesInDepot(), 0u);
}

TEST_F(BlockReserveTest, ARegisteredAllocatorIsAskedAlthoughBlocksWait)
{
    TestAllocator &allocator = TestAllocator::shared();
    const Blocks blocks = make(1000);
    release(blocks);
    const Blocks cached = make(limit());
    ASSERT_TRUE(Allocator::set(&allocator));
    const std::int64_t allocations = allocator.allocations();
    release(make(10));
    EXPECT_EQ(allocator.allocations(), allocations + 10);
    release(cached);
}

TEST_F(BlockReserveTest, WithoutABudgetNothingWaits)
{
    Heap::setCacheSize(0);
    release(make(1000));
    EXPECT_EQ(bytesInDepot(), 0u);
}

TEST_F(BlockReserveTest, LargeBlocksDoNotWait)
{
    Blocks blocks(1000);
    for (void *&block : blocks)
        block = Heap::operator new(313);
    release(blocks);
    EXPECT_EQ(bytesInDepot(), 0u);
}

TEST_F(BlockReserveTest, FlushingGivesAllBack)
{
    release(make(1000));
    ASSERT_GT(bytesInDepot(), 0u);
    Heap::flushCache();
    EXPECT_EQ(bytesInDepot(), 0u);
    release(make(1000));
    ASSERT_GT(bytesInDepot(), 0u);
    Heap::setCacheSize(102400);
    EXPECT_EQ(bytesInDepot(), 0u);
}

TEST_F(BlockReserveTest, TheDepotStopsAtItsBound)
{
    constexpr std::size_t count = depotBytes / blockSize * 2;
    release(make(count));
    EXPECT_LE(bytesInDepot(), depotBytes);
    EXPECT_GT(bytesInDepot(), depotBytes - depotBytes / 16);
    release(make(count));
    EXPECT_LE(bytesInDepot(), depotBytes);
}

TEST(BlockReserve, ExitGivesAllBack)
{
    InitTerm::init();
    release(make(1000));
    EXPECT_GT(bytesInDepot(), 0u);
    InitTerm::exit();
    EXPECT_EQ(bytesInDepot(), 0u);
}

TEST_F(BlockReserveThreadsTest, WhatOneThreadReleasesAnotherOneUses)
{
    const Blocks blocks = make(1000);
    test::runOnThread([&] { release(blocks); });
    EXPECT_GT(bytesInDepot(), 0u);
    const Blocks again = make(1000);
    EXPECT_GT(countOfCommon(blocks, again), 500u);
    release(again);
}

TEST_F(BlockReserveThreadsTest, TheEndOfAThreadLeavesTheDepotToTheOthers)
{
    const Blocks blocks = make(1000);
    std::size_t before = 0;
    test::runOnThread([&] {
        release(blocks);
        before = bytesInDepot();
    });
    EXPECT_GT(before, 0u);
    EXPECT_EQ(bytesInDepot(), before);
}

// Makers stamp their blocks, releasers check the stamps: a block that two threads hold shows.
TEST_F(BlockReserveThreadsTest, NoBlockIsEverHandedOutTwice)
{
    constexpr int rounds = 300;
    std::mutex mutex;
    std::vector<Blocks> handedOver;
    std::atomic<int> stampOfNext{0};
    std::atomic<int> wrong{0};
    const auto work = [&] {
        for (int round = 0; round < rounds; ++round) {
            const int stamp = ++stampOfNext;
            Blocks blocks = make(200);
            for (void *block : blocks)
                std::fill_n(static_cast<int *>(block), request / sizeof(int), stamp);
            {
                std::lock_guard guard(mutex);
                handedOver.push_back(std::move(blocks));
                std::swap(handedOver.front(), handedOver.back());
                blocks = std::move(handedOver.back());
                handedOver.pop_back();
            }
            for (void *block : blocks) {
                const int *words = static_cast<int *>(block);
                wrong += std::count(words, words + request / sizeof(int), *words) !=
                         std::ptrdiff_t{request / sizeof(int)};
                wrong += *words != *static_cast<int *>(blocks.front());
            }
            release(blocks);
            if (round % 100 == 99)
                Heap::flushCache();
        }
    };
    test::runOnThreads(4, [&](int) { work(); });
    EXPECT_EQ(wrong, 0);
    for (const Blocks &blocks : handedOver)
        release(blocks);
}
