// SPDX-License-Identifier: MIT
// White-box: what the block cache keeps, and how blocks are laid out.
#include "runtime/BlockCache.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>
#include <new>
#include <vector>

#include <gtest/gtest.h>

#include <tavrin/Heap.h>
#include <tavrin/InitTerm.h>

#include "runtime/ContextState.h"
#include "runtime/Poison.h"
#include "support/Address.h"
#include "support/LibraryTest.h"
#include "support/MemoryFailure.h"
#include "support/RunOnThreads.h"
#include "support/TestAllocator.h"

using namespace Tavrin;
using namespace Tavrin::detail;
using test::addressOf;
using test::TestAllocator;
using test::underMemoryFailure;

namespace {

class BlockCacheTest : public test::LibraryTest
{
protected:
    static BlockCache &cache() { return currentContext().cache; }
};

// A block of 100 bytes 'a'.
struct Letters
{
    char *block;

    Letters() : block(static_cast<char *>(Heap::operator new(100)))
    {
        std::memset(block, 'a', 100);
    }
    Letters(const Letters &) = delete;
    Letters &operator=(const Letters &) = delete;
    ~Letters() { Heap::operator delete(block); }

    bool areKept(std::size_t count) const
    {
        return std::all_of(block, block + count, [](char letter) { return letter == 'a'; });
    }
};

} // namespace

// The layout of blocks.

TEST(BlockLayout, TheClassFollowsFromTheBlockSize)
{
    BlockClasses cache;
    for (std::size_t index = 1; index <= 20; ++index)
        EXPECT_EQ(&cache.classOf(16 * index), &cache.classes[index]);
    EXPECT_EQ(&cache.classOf(blockSizeFor(312)), &cache.classes[20]);
    EXPECT_GT(blockSizeFor(313), largestCachedBlock);
}

TEST(BlockLayout, TheHeaderHoldsSizeAndAllocator)
{
    for (std::uint64_t index = 0; index <= 10; ++index) {
        const std::uint64_t header = 4096 | index;
        EXPECT_EQ(sizeInHeader(header), 4096u);
        EXPECT_EQ(allocatorInHeader(header), static_cast<int>(index));
    }
}

TEST_F(BlockCacheTest, ABlockCarriesItsSizeAndItsAllocatorInFrontOfTheUsersBytes)
{
    void *block = Heap::operator new(100);
    EXPECT_EQ(headerOf(block), 112u | 1u) << "TestAllocator has the first place";
    block = Heap::reAlloc(block, 1000);
    EXPECT_EQ(headerOf(block), 1008u | 1u);
    Heap::operator delete(block);
    Allocator::set(nullptr);
    block = Heap::operator new(100);
    EXPECT_EQ(headerOf(block), 112u);
    Heap::operator delete(block);
}

TEST_F(BlockCacheTest, AHeldBlockKeepsItsHeaderAndItsBytes)
{
    void *first = Heap::operator new(100);
    void *second = Heap::operator new(100);
    const std::uintptr_t placeOfFirst = addressOf(first), placeOfSecond = addressOf(second);
    Heap::operator delete(first);
    Heap::operator delete(second);
    const BlockClass &blockClass = cache().classOf(112);
    ASSERT_EQ(blockClass.readCount(), 2u);
    EXPECT_EQ(addressOf(blockClass.blocks[0]), placeOfFirst);
    EXPECT_EQ(addressOf(blockClass.blocks[1]), placeOfSecond);
    EXPECT_EQ(headerOf(blockClass.blocks[0]), 112u | 1u);
    EXPECT_EQ(headerOf(blockClass.blocks[1]), 112u | 1u);
}

TEST_F(BlockCacheTest, TheBlockThatCameLastIsTheFirstToGo)
{
    std::vector<void *> blocks;
    for (int made = 0; made < 40; ++made)
        blocks.push_back(Heap::operator new(100));
    for (void *block : blocks)
        Heap::operator delete(block);
    for (auto block = blocks.rbegin(); block != blocks.rend(); ++block)
        EXPECT_EQ(Heap::operator new(100), *block);
    for (void *block : blocks)
        Heap::operator delete(block);
}

// Limits.

TEST_F(BlockCacheTest, EveryClassOfAFreshContextHoldsItsShareOf102400Bytes)
{
    const auto expectShares = [] {
        EXPECT_EQ(currentContext().cacheSize, 102400);
        for (unsigned index = 1; index <= 20; ++index) {
            EXPECT_EQ(cache().limits[index], 102400u / (320u * index));
            EXPECT_EQ(cache().classes[index].readCount(), 0u);
        }
    };
    EXPECT_EQ(cache().limitOf(16), 320u);
    EXPECT_EQ(cache().limitOf(32), 160u);
    EXPECT_EQ(cache().limitOf(320), 16u);
    InitTerm::setMT();
    test::runOnThread(expectShares);
}

TEST_F(BlockCacheTest, TheLimitIsTheTruncatedShareForEveryBudget)
{
    constexpr int most = std::numeric_limits<int>::max();
    const auto expectLimits = [](int budget) {
        SCOPED_TRACE(budget);
        Heap::setCacheSize(budget);
        for (int index = 1; index <= 20; ++index)
            EXPECT_EQ(cache().limits[index], static_cast<unsigned>(budget / (320 * index)));
    };
    for (int budget = 0; budget < 20000; budget += 7)
        expectLimits(budget);
    for (const int budget : {319, 320, 6399, 6400, 102399, 102400, most - 1, most})
        expectLimits(budget);
}

TEST_F(BlockCacheTest, NoClassExceedsItsLimitAndAllAreFilledUpToIt)
{
    Heap::setCacheSize(20000);
    for (std::size_t blockSize = 16; blockSize <= 320; blockSize += 16) {
        std::vector<void *> blocks;
        for (unsigned made = 0; made < cache().limitOf(blockSize) + 3; ++made)
            blocks.push_back(Heap::operator new(blockSize - 8));
        for (void *block : blocks)
            Heap::operator delete(block);
        EXPECT_EQ(cache().classOf(blockSize).readCount(), cache().limitOf(blockSize));
    }
}

TEST_F(BlockCacheTest, FlushingKeepsTheLimits)
{
    Heap::operator delete(Heap::operator new(100));
    Heap::flushCache();
    for (unsigned index = 1; index <= 20; ++index) {
        EXPECT_EQ(cache().classes[index].readCount(), 0u);
        EXPECT_EQ(cache().limits[index], 102400u / (320u * index));
    }
}

TEST_F(BlockCacheTest, OnlyNewAtALineLooksAtTheBudgetBeforeItTakesFromAClass)
{
    void *first = Heap::operator new(100);
    void *second = Heap::operator new(100);
    const std::uintptr_t placeOfFirst = addressOf(first), placeOfSecond = addressOf(second);
    Heap::operator delete(first);
    Heap::operator delete(second);
    currentContext().cacheSize = 0;
    const std::int64_t allocations = TestAllocator::shared().allocations();
    void *atALine = Heap::operator new(100, "file", 7);
    EXPECT_EQ(TestAllocator::shared().allocations(), allocations + 1);
    EXPECT_EQ(cache().classOf(112).readCount(), 2u);
    second = Heap::operator new(100);
    EXPECT_EQ(addressOf(second), placeOfSecond);
    currentContext().cacheSize = 102400;
    first = Heap::operator new(100, "file", 7);
    EXPECT_EQ(addressOf(first), placeOfFirst);
    Heap::operator delete(first);
    Heap::operator delete(second);
    Heap::operator delete(atALine);
}

// resizeBlock, which the library's own classes use in place of Heap::reAlloc.

TEST(ResizeBlock, ThrowsWithoutTheLibrary)
{
    EXPECT_THROW(resizeBlock(nullptr, 100), std::bad_alloc);
}

TEST_F(BlockCacheTest, ResizingNullGivesNull)
{
    EXPECT_EQ(resizeBlock(nullptr, 100), nullptr);
}

TEST_F(BlockCacheTest, ResizingWithinTheSameBlockReturnsIt)
{
    const Letters letters;
    EXPECT_EQ(resizeBlock(letters.block, 104), letters.block);
    EXPECT_EQ(resizeBlock(letters.block, 89), letters.block);
    EXPECT_TRUE(letters.areKept(89));
}

TEST_F(BlockCacheTest, ResizingKeepsTheContentsThroughEveryMemoryFailure)
{
    constexpr std::size_t sizes[] = {1000, 105, 20};
    for (const std::size_t size : sizes) {
        SCOPED_TRACE(size);
        underMemoryFailure([] { return Letters(); },
                           [size](Letters &letters) {
                               letters.block =
                                   static_cast<char *>(resizeBlock(letters.block, size));
                               std::memset(letters.block, 'a', size);
                           },
                           [size](const Letters &letters, bool failed) {
                               const std::size_t block = blockSizeFor(failed ? 100 : size);
                               EXPECT_EQ(sizeInHeader(headerOf(letters.block)), block);
                               EXPECT_TRUE(letters.areKept(failed ? 100 : size));
                           });
    }
}

TEST_F(BlockCacheTest, ResizingKeepsTheContentsWhenOnlyTheSecondAttemptSucceeds)
{
    for (const std::size_t size : {std::size_t{1000}, std::size_t{20}}) {
        Letters letters;
        int blocksBefore = 0, blocks = 0;
        std::size_t bytesBefore = 0, bytes = 0;
        Heap::getMemoryStatistics(blocksBefore, bytesBefore);
        const std::int64_t live = TestAllocator::shared().liveBlocks();
        TestAllocator::shared().failRequests(1);
        letters.block = static_cast<char *>(resizeBlock(letters.block, size));
        EXPECT_EQ(TestAllocator::shared().refusals(), 1);
        EXPECT_TRUE(letters.areKept(std::min(size, std::size_t{100})));
        EXPECT_EQ(TestAllocator::shared().liveBlocks(), live) << "the old block is lost";
        Heap::getMemoryStatistics(blocks, bytes);
        EXPECT_EQ(blocks, blocksBefore);
        EXPECT_EQ(bytes - bytesBefore, blockSizeFor(size) - 112);
    }
}

// What the address sanitizer is told.

#if defined(TAVRIN_ADDRESS_SANITIZER)
TEST_F(BlockCacheTest, TheSanitizerSeesTheBytesBehindARequestAndACachedBlock)
{
    auto *block = static_cast<char *>(Heap::operator new(90));
    EXPECT_FALSE(__asan_address_is_poisoned(block + 89));
    EXPECT_TRUE(__asan_address_is_poisoned(block + 90));
    EXPECT_TRUE(__asan_address_is_poisoned(block + 103));
    block = static_cast<char *>(Heap::reAlloc(block, 100));
    EXPECT_FALSE(__asan_address_is_poisoned(block + 99));
    EXPECT_TRUE(__asan_address_is_poisoned(block + 100));
    // Looked at through a pointer whose release the compiler does not see.
    char *volatile released = block;
    Heap::operator delete(block);
    EXPECT_TRUE(__asan_address_is_poisoned(released));
    EXPECT_TRUE(__asan_address_is_poisoned(released + 103));
    block = static_cast<char *>(Heap::operator new(104));
    EXPECT_EQ(block, released);
    EXPECT_EQ(__asan_region_is_poisoned(block, 104), nullptr);
    Heap::operator delete(block);
}
#endif
