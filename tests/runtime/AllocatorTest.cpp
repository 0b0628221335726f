// SPDX-License-Identifier: MIT
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <tavrin/Context.h>
#include <tavrin/Heap.h>
#include <tavrin/InitTerm.h>
#include <tavrin/Lock.h>

#include "support/Address.h"
#include "support/LibraryTest.h"
#include "support/RunOnThreads.h"
#include "support/TestAllocator.h"
#include "support/VirtualSlot.h"

using namespace Tavrin;
using test::TestAllocator;

namespace {

static_assert(std::is_base_of_v<Root, Allocator> && std::is_abstract_v<Allocator>);
static_assert(std::is_base_of_v<Allocator, ::DefaultAllocator>);

// Overrides only what it must, and notes the sizes of the blocks that it gets back.
class PlainAllocator : public Allocator
{
public:
    using Allocator::allocMem;
    void *allocMem(std::size_t size) override
    {
        void *block = std::malloc(size);
        sizes.emplace_back(block, size);
        return block;
    }
    void freeMem(void *block) override
    {
        for (const auto &[made, size] : sizes)
            if (made == block)
                freedSizes.push_back(size);
        std::erase_if(sizes, [&](const auto &entry) { return entry.first == block; });
        std::free(block);
    }
    void *reallocMem(void *, std::size_t) override { return nullptr; }

    std::vector<std::pair<void *, std::size_t>> sizes;
    std::vector<std::size_t> freedSizes;
};

// Notes what it has out when it is flushed.
class FlushWatch : public TestAllocator
{
public:
    void flush() override { liveAtFlush = liveBlocks(); }

    std::int64_t liveAtFlush = -1;
};

// The hosts' allocators of this process. With the shared TestAllocator they take all ten places.
constexpr int spareCount = 7;

PlainAllocator &plainAllocator()
{
    static auto *const instance = ::new PlainAllocator;
    return *instance;
}

FlushWatch &flushWatch()
{
    static auto *const instance = ::new FlushWatch;
    return *instance;
}

TestAllocator &spare(int index)
{
    static auto *const instances = ::new TestAllocator[spareCount];
    return instances[index];
}

void fillTable()
{
    ASSERT_TRUE(Allocator::set(&TestAllocator::shared()));
    ASSERT_TRUE(Allocator::set(&plainAllocator()));
    ASSERT_TRUE(Allocator::set(&flushWatch()));
    for (int index = 0; index < spareCount; ++index)
        ASSERT_TRUE(Allocator::set(&spare(index)));
}

bool isDefaultAllocator(Allocator *allocator)
{
    return dynamic_cast<::DefaultAllocator *>(allocator) != nullptr;
}

class AllocatorTest : public test::LibraryTest
{};

class AllocatorThreadsTest : public test::MultiThreadedLibraryTest
{};

} // namespace

// The class.

TEST(Allocator, KeepsTheRethrowFlagForTheHost)
{
    PlainAllocator &allocator = plainAllocator();
    EXPECT_FALSE(allocator.isRethrow());
    allocator.setRethrow(true);
    EXPECT_TRUE(allocator.isRethrow());
    allocator.setRethrow(false);
    EXPECT_FALSE(allocator.isRethrow());
}

TEST(Allocator, DropsFileAndLineUnlessOverridden)
{
    void *block = plainAllocator().allocMem(20, "file", 7);
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(plainAllocator().sizes.back(), std::pair(block, std::size_t{20}));
    plainAllocator().freeMem(block);
}

TEST(Allocator, FlushDoesNothingUnlessOverridden)
{
    plainAllocator().flush();
    EXPECT_TRUE(plainAllocator().sizes.empty());
}

#if defined(TAVRIN_HAS_VIRTUAL_SLOTS)
TEST(Allocator, VirtualOperationsStandInTheirOrder)
{
    using test::virtualSlot;
    using FromPlace = void *(Allocator::*)(std::size_t, const char *, int);
    using Plain = void *(Allocator::*)(std::size_t);
    EXPECT_EQ(virtualSlot<FromPlace>(&Allocator::allocMem), 2u);
    EXPECT_EQ(virtualSlot<Plain>(&Allocator::allocMem), 3u);
    EXPECT_EQ(virtualSlot(&Allocator::freeMem), 4u);
    EXPECT_EQ(virtualSlot(&Allocator::reallocMem), 5u);
    EXPECT_EQ(virtualSlot(&Allocator::flush), 6u);
}
#endif

// DefaultAllocator.

TEST(DefaultAllocator, LivesWithoutTheLibrary)
{
    ASSERT_FALSE(InitTerm::isInitialized());
    const std::unique_ptr<Allocator> allocator(new ::DefaultAllocator);
    EXPECT_FALSE(allocator->isRethrow());
}

TEST(DefaultAllocator, AllocatesResizesAndFrees)
{
    ::DefaultAllocator allocator;
    auto *block = static_cast<char *>(allocator.allocMem(8));
    std::memcpy(block, "abcdefgh", 8);
    block = static_cast<char *>(allocator.reallocMem(block, 10000));
    EXPECT_EQ(std::memcmp(block, "abcdefgh", 8), 0);
    allocator.freeMem(block);
    block = static_cast<char *>(allocator.allocMem(8, "file", 7));
    EXPECT_NE(block, nullptr);
    allocator.freeMem(block);
    block = static_cast<char *>(allocator.reallocMem(nullptr, 8));
    EXPECT_NE(block, nullptr);
    allocator.freeMem(block);
}

TEST(DefaultAllocator, IgnoresANullBlockAndAFlush)
{
    ::DefaultAllocator allocator;
    allocator.freeMem(nullptr);
    allocator.flush();
}

// The table.

TEST(AllocatorTable, IsEmptyBeforeInit)
{
    InitTerm::init();
    Allocator::set(nullptr);
    InitTerm::exit();
    EXPECT_EQ(Allocator::get(), nullptr);
}

TEST(AllocatorTable, TheDefaultAllocatorIsInForceAfterInit)
{
    InitTerm::init();
    EXPECT_TRUE(isDefaultAllocator(Allocator::get()));
    void *block = Heap::operator new(1000);
    block = Heap::reAlloc(block, 2000);
    EXPECT_NE(block, nullptr);
    Heap::operator delete(block);
    Heap::operator delete(Heap::operator new(1000, "file", 7));
    InitTerm::exit();
}

TEST(AllocatorTable, ALaterInitStartsWithTheDefaultAllocatorAgain)
{
    {
        test::LibrarySession session;
        EXPECT_EQ(Allocator::get(), &TestAllocator::shared());
    }
    EXPECT_EQ(Allocator::get(), &TestAllocator::shared());
    InitTerm::init();
    EXPECT_TRUE(isDefaultAllocator(Allocator::get()));
    InitTerm::exit();
    EXPECT_EQ(Allocator::get(), nullptr);
}

TEST_F(AllocatorTest, SetSelectsAndNullSelectsTheDefault)
{
    EXPECT_TRUE(Allocator::set(&spare(0)));
    EXPECT_EQ(Allocator::get(), &spare(0));
    EXPECT_TRUE(Allocator::set(&spare(1)));
    EXPECT_EQ(Allocator::get(), &spare(1));
    EXPECT_TRUE(Allocator::set(&spare(0)));
    EXPECT_EQ(Allocator::get(), &spare(0));
    EXPECT_TRUE(Allocator::set(&spare(0)));
    EXPECT_EQ(Allocator::get(), &spare(0));
    EXPECT_TRUE(Allocator::set(nullptr));
    EXPECT_TRUE(isDefaultAllocator(Allocator::get()));
    EXPECT_TRUE(Allocator::set(nullptr));
    EXPECT_TRUE(isDefaultAllocator(Allocator::get()));
}

TEST_F(AllocatorTest, TheEleventhAllocatorFindsNoPlace)
{
    fillTable();
    TestAllocator eleventh;
    EXPECT_FALSE(Allocator::set(&eleventh));
    EXPECT_EQ(Allocator::get(), &spare(spareCount - 1));
    EXPECT_TRUE(Allocator::set(nullptr));
    EXPECT_TRUE(isDefaultAllocator(Allocator::get()));
    EXPECT_FALSE(Allocator::set(&eleventh));
    EXPECT_TRUE(isDefaultAllocator(Allocator::get()));
}

TEST_F(AllocatorTest, AFullTableStillSwitchesBetweenTheTen)
{
    fillTable();
    for (int index = 0; index < spareCount; ++index) {
        EXPECT_TRUE(Allocator::set(&spare(index)));
        EXPECT_EQ(Allocator::get(), &spare(index));
        const std::int64_t live = spare(index).liveBlocks();
        void *block = Heap::operator new(1000);
        EXPECT_EQ(spare(index).liveBlocks(), live + 1);
        EXPECT_TRUE(Allocator::set(nullptr));
        Heap::operator delete(block);
        EXPECT_EQ(spare(index).liveBlocks(), live);
    }
}

TEST_F(AllocatorTest, PlacesAreKeptAcrossExit)
{
    fillTable();
    endLibrary();
    test::LibrarySession session;
    EXPECT_TRUE(Allocator::set(&spare(3)));
    TestAllocator eleventh;
    EXPECT_FALSE(Allocator::set(&eleventh));
    EXPECT_EQ(Allocator::get(), &spare(3));
}

// Blocks and their allocators.

TEST_F(AllocatorTest, ABlockGoesBackToItsOwnAllocatorAfterASwitch)
{
    Allocator::set(&spare(1));
    void *block = Heap::operator new(1000);
    Allocator::set(&spare(2));
    const std::int64_t freesOfOther = spare(2).frees();
    const std::int64_t frees = spare(1).frees();
    Heap::operator delete(block);
    EXPECT_EQ(spare(1).frees(), frees + 1);
    EXPECT_EQ(spare(2).frees(), freesOfOther);
    EXPECT_EQ(spare(1).liveBlocks(), 0);
}

TEST_F(AllocatorTest, ACachedBlockKeepsItsAllocator)
{
    Allocator::set(&spare(1));
    void *block = Heap::operator new(40);
    const std::uintptr_t place = test::addressOf(block);
    Heap::operator delete(block);
    Allocator::set(&spare(2));
    const std::int64_t allocations = spare(2).allocations();
    block = Heap::operator new(40);
    EXPECT_EQ(test::addressOf(block), place);
    EXPECT_EQ(spare(2).allocations(), allocations);
    Heap::setCacheSize(0);
    EXPECT_EQ(spare(1).liveBlocks(), 1);
    Heap::operator delete(block);
    EXPECT_EQ(spare(1).liveBlocks(), 0);
}

TEST_F(AllocatorTest, EmptyingTheCacheServesEachBlocksOwnAllocator)
{
    void *blocks[3];
    for (int index = 0; index < 3; ++index) {
        Allocator::set(&spare(index));
        blocks[index] = Heap::operator new(40);
    }
    for (void *block : blocks)
        Heap::operator delete(block);
    for (int index = 0; index < 3; ++index)
        EXPECT_EQ(spare(index).liveBlocks(), 1);
    Heap::flushCache();
    for (int index = 0; index < 3; ++index)
        EXPECT_EQ(spare(index).liveBlocks(), 0);
}

TEST_F(AllocatorTest, TheCacheIsEmptiedFromTheSmallestClassToTheLargest)
{
    Allocator::set(&plainAllocator());
    std::vector<void *> blocks;
    std::vector<std::size_t> expected;
    for (std::size_t size = 320; size >= 16; size -= 16) {
        blocks.push_back(Heap::operator new(size - 8));
        expected.insert(expected.begin(), size);
    }
    for (void *block : blocks)
        Heap::operator delete(block);
    plainAllocator().freedSizes.clear();
    Heap::flushCache();
    EXPECT_EQ(plainAllocator().freedSizes, expected);
}

TEST_F(AllocatorTest, ReAllocAsksTheBlocksOwnAllocator)
{
    Allocator::set(&spare(1));
    void *block = Heap::operator new(1000);
    Allocator::set(&spare(2));
    const std::int64_t resizes = spare(1).reallocations();
    const std::int64_t resizesOfOther = spare(2).reallocations();
    block = Heap::reAlloc(block, 2000);
    EXPECT_EQ(spare(1).reallocations(), resizes + 1);
    EXPECT_EQ(spare(2).reallocations(), resizesOfOther);
    Heap::operator delete(block);
    EXPECT_EQ(spare(1).liveBlocks(), 0);
}

TEST_F(AllocatorTest, ARefusedReAllocFlushesTheBlocksOwnAllocator)
{
    Allocator::set(&spare(1));
    void *block = Heap::operator new(1000);
    Allocator::set(&spare(2));
    const std::int64_t flushes = spare(1).flushes();
    const std::int64_t flushesOfOther = spare(2).flushes();
    spare(1).failRequests(1);
    void *fresh = Heap::reAlloc(block, 2000);
    spare(1).stopFailing();
    EXPECT_EQ(spare(1).flushes(), flushes + 1);
    EXPECT_EQ(spare(2).flushes(), flushesOfOther);
    EXPECT_EQ(spare(1).liveBlocks(), 2);
    Heap::operator delete(block);
    Heap::operator delete(fresh);
    EXPECT_EQ(spare(1).liveBlocks(), 0);
}

TEST_F(AllocatorTest, AnAllocatorThatNeverResizesThrowsBadAlloc)
{
    Allocator::set(&plainAllocator());
    void *block = Heap::operator new(1000);
    EXPECT_THROW(Heap::reAlloc(block, 2000), std::bad_alloc);
    Heap::operator delete(block);
    EXPECT_TRUE(plainAllocator().sizes.empty());
}

TEST_F(AllocatorTest, ExitFlushesEveryRegisteredAllocatorOnce)
{
    fillTable();
    const std::int64_t flushes = TestAllocator::shared().flushes();
    std::vector<std::int64_t> flushesOfSpares;
    for (int index = 0; index < spareCount; ++index)
        flushesOfSpares.push_back(spare(index).flushes());
    endLibrary();
    EXPECT_EQ(TestAllocator::shared().flushes(), flushes + 1);
    for (int index = 0; index < spareCount; ++index)
        EXPECT_EQ(spare(index).flushes(), flushesOfSpares[static_cast<std::size_t>(index)] + 1);
}

TEST_F(AllocatorTest, ExitReturnsCachedBlocksBeforeItFlushesTheAllocator)
{
    Allocator::set(&flushWatch());
    void *kept = Heap::operator new(1000);
    Heap::operator delete(Heap::operator new(40));
    EXPECT_EQ(flushWatch().liveBlocks(), 2);
    endLibrary();
    EXPECT_EQ(flushWatch().liveAtFlush, 1);
    flushWatch().freeMem(static_cast<char *>(kept) - 8);
}

// Threads.

TEST_F(AllocatorThreadsTest, SetServesAllThreads)
{
    Allocator::set(&spare(1));
    test::runOnThread([] {
        EXPECT_EQ(Allocator::get(), &spare(1));
        Heap::setCacheSize(0);
        void *block = Heap::operator new(40);
        EXPECT_EQ(spare(1).liveBlocks(), 1);
        Heap::operator delete(block);
        EXPECT_TRUE(Allocator::set(&spare(2)));
    });
    EXPECT_EQ(Allocator::get(), &spare(2));
}

TEST_F(AllocatorThreadsTest, ThreadsMaySwitchWhileOthersAllocate)
{
    fillTable();
    test::runOnThreads(4, [](int index) {
        for (int round = 0; round < 2000; ++round) {
            if (index == 0)
                Allocator::set(&spare(round % spareCount));
            else
                Heap::operator delete(Heap::operator new(round % 2 == 0 ? 40 : 400));
        }
    });
    for (int index = 0; index < spareCount; ++index)
        EXPECT_EQ(spare(index).liveBlocks(), 0);
}
