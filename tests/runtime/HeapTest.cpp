// SPDX-License-Identifier: MIT
#include <tavrin/Heap.h>

#include <cstdint>
#include <cstring>
#include <limits>
#include <new>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>

#include <tavrin/InitTerm.h>

#include "support/Address.h"
#include "support/LibraryTest.h"
#include "support/MemoryFailure.h"
#include "support/RunOnThreads.h"
#include "support/TestAllocator.h"

using namespace Tavrin;
using test::addressOf;
using test::TestAllocator;

namespace {

static_assert(std::is_empty_v<Heap>);
static_assert(!std::is_polymorphic_v<Heap>);
static_assert(std::is_default_constructible_v<Heap>);
static_assert(!std::is_copy_constructible_v<Heap> && !std::is_copy_assignable_v<Heap>);
static_assert(std::is_base_of_v<Heap, Root> && std::has_virtual_destructor_v<Root>);

constexpr std::size_t headerSize = 8;
constexpr auto largestSize = std::numeric_limits<std::size_t>::max();

TestAllocator &allocator()
{
    return TestAllocator::shared();
}

void *blockOf(void *user)
{
    return static_cast<char *>(user) - headerSize;
}

struct Statistics
{
    int blocks = 0;
    std::size_t bytes = 0;

    Statistics() { Heap::getMemoryStatistics(blocks, bytes); }
    bool operator==(const Statistics &) const = default;

    int blocksSince(const Statistics &start) const { return blocks - start.blocks; }
    std::int64_t bytesSince(const Statistics &start) const
    {
        return static_cast<std::int64_t>(bytes - start.bytes);
    }
};

// What TestAllocator was asked since this object was made.
class AllocatorCalls
{
public:
    std::int64_t allocations() const { return allocator().allocations() - allocationsBefore; }
    std::int64_t reallocations() const { return allocator().reallocations() - reallocationsBefore; }
    std::int64_t frees() const { return allocator().frees() - freesBefore; }
    std::int64_t flushes() const { return allocator().flushes() - flushesBefore; }
    std::int64_t all() const { return allocations() + reallocations() + frees() + flushes(); }

private:
    std::int64_t allocationsBefore = allocator().allocations();
    std::int64_t reallocationsBefore = allocator().reallocations();
    std::int64_t freesBefore = allocator().frees();
    std::int64_t flushesBefore = allocator().flushes();
};

// Makes `count` blocks and releases them all.
void passThroughCache(int count, std::size_t size)
{
    std::vector<void *> blocks;
    for (int made = 0; made < count; ++made)
        blocks.push_back(Heap::operator new(size));
    for (void *block : blocks)
        Heap::operator delete(block);
}

// Every form of operator new, by name.
struct NewForm
{
    const char *name;
    void *(*make)(std::size_t);
};

constexpr NewForm newForms[] = {
    {"new", [](std::size_t size) { return Heap::operator new(size); }},
    {"new[]", [](std::size_t size) { return Heap::operator new[](size); }},
    {"new at a line", [](std::size_t size) { return Heap::operator new(size, "file", 7); }},
    {"new[] at a line", [](std::size_t size) { return Heap::operator new[](size, "file", 7); }},
};

struct DeleteForm
{
    const char *name;
    void (*release)(void *);
};

constexpr DeleteForm deleteForms[] = {
    {"delete", [](void *block) { Heap::operator delete(block); }},
    {"delete[]", [](void *block) { Heap::operator delete[](block); }},
    {"delete at a line", [](void *block) { Heap::operator delete(block, "file", 7); }},
    {"delete[] at a line", [](void *block) { Heap::operator delete[](block, "file", 7); }},
};

class HeapTest : public test::LibraryTest
{};

class HeapThreadsTest : public test::MultiThreadedLibraryTest
{};

// A class as the library has them, to be made by new expressions.
struct Thing : Heap
{
    explicit Thing(int *counter = nullptr, bool fails = false) : living(counter)
    {
        if (fails)
            throw std::runtime_error("constructor");
        count(+1);
    }
    ~Thing() { count(-1); }
    void count(int delta)
    {
        if (living != nullptr)
            *living += delta;
    }

    int *living;
    std::int64_t contents[5] = {};
};

struct RootThing : Root
{
    explicit RootThing(bool &flag) : destroyed(flag) {}
    ~RootThing() override { destroyed = true; }

    bool &destroyed;
};

} // namespace

// Outside init and exit.

TEST(HeapOutsideInit, EveryFormOfNewThrowsBadAllocation)
{
    for (const NewForm &form : newForms) {
        SCOPED_TRACE(form.name);
        try {
            (void)form.make(1);
            ADD_FAILURE() << "no exception";
        } catch (const std::bad_alloc &exhausted) {
            EXPECT_STREQ(exhausted.what(), "bad allocation");
        }
    }
}

TEST(HeapOutsideInit, EveryFormOfDeleteIgnoresItsBlock)
{
    alignas(16) char memory[64];
    std::memset(memory, 0x55, sizeof memory);
    for (const DeleteForm &form : deleteForms) {
        SCOPED_TRACE(form.name);
        form.release(memory + 24);
        form.release(nullptr);
        for (const char byte : memory)
            EXPECT_EQ(byte, 0x55);
    }
}

TEST(HeapOutsideInit, ReAllocThrowsEvenForNull)
{
    alignas(16) char memory[64] = {};
    EXPECT_THROW(Heap::reAlloc(memory + 24, 100), std::bad_alloc);
    EXPECT_THROW(Heap::reAlloc(nullptr, 100), std::bad_alloc);
}

TEST(HeapOutsideInit, ABlockReleasedAfterExitIsAbandoned)
{
    const std::int64_t live = allocator().liveBlocks();
    InitTerm::init();
    Allocator::set(&allocator());
    Heap::setCacheSize(0);
    void *block = Heap::operator new(1000);
    InitTerm::exit();
    const AllocatorCalls calls;
    for (const DeleteForm &form : deleteForms)
        form.release(block);
    EXPECT_EQ(calls.all(), 0);
    EXPECT_EQ(allocator().liveBlocks(), live + 1);
    allocator().freeMem(blockOf(block));
}

TEST(HeapOutsideInit, ABlockMadeBeforeExitGoesBackToItsAllocatorAfterALaterInit)
{
    const std::int64_t live = allocator().liveBlocks();
    InitTerm::init();
    Allocator::set(&allocator());
    void *block = Heap::operator new(1000);
    InitTerm::exit();
    InitTerm::init();
    Heap::operator delete(block);
    EXPECT_EQ(allocator().liveBlocks(), live);
    InitTerm::exit();
}

TEST(HeapOutsideInit, TheStatisticsCanBeReadAndOutliveExit)
{
    // What a cycle itself adds, with nothing left at its end, is known from the first two.
    const auto cycle = [](void *&block, std::size_t size) {
        InitTerm::init();
        Allocator::set(&allocator());
        Heap::operator delete(block);
        block = size == 0 ? nullptr : Heap::operator new(size);
        InitTerm::exit();
        return Statistics();
    };
    void *block = nullptr;
    const Statistics first = cycle(block, 0);
    const Statistics second = cycle(block, 0);
    const Statistics withBlock = cycle(block, 1000);
    EXPECT_EQ(withBlock.bytesSince(second) - second.bytesSince(first), 1008);
    const Statistics withoutBlock = cycle(block, 0);
    EXPECT_EQ(withoutBlock.bytesSince(withBlock) - second.bytesSince(first), -1008);
}

// Requests and blocks.

TEST_F(HeapTest, RequestsAreRoundedUpToBlocks)
{
    struct Row
    {
        const char *name;
        std::size_t request, block;
    };
    constexpr Row rows[] = {
        {"nothing", 0, 16},
        {"one byte", 1, 16},
        {"the most for a block of 16", 8, 16},
        {"the least for a block of 32", 9, 32},
        {"the most for a block of 32", 24, 32},
        {"the least for a block of 48", 25, 48},
        {"one short of the largest class", 311, 320},
        {"the largest class", 312, 320},
        {"past the largest class", 313, 336},
        {"a page", 4096, 4112},
        {"a page with its header", 4088, 4096},
        {"a mebibyte", 1 << 20, (1 << 20) + 16},
    };
    for (const Row &row : rows) {
        for (const NewForm &form : newForms) {
            SCOPED_TRACE(std::string(row.name) + ", " + form.name);
            Heap::flushCache();
            const Statistics before;
            void *block = form.make(row.request);
            EXPECT_EQ(allocator().lastSize(), row.block);
            EXPECT_EQ(Statistics().blocksSince(before), 1);
            EXPECT_EQ(Statistics().bytesSince(before), static_cast<std::int64_t>(row.block));
            std::memset(block, 0xAA, row.request);
            Heap::operator delete(block);
            EXPECT_EQ(Statistics(), before);
        }
    }
}

TEST_F(HeapTest, UserPointersLie8BytesPastA16ByteBoundary)
{
    for (std::size_t size = 0; size < 700; size += 7) {
        void *block = Heap::operator new(size);
        EXPECT_EQ(addressOf(block) % 16, headerSize) << size;
        Heap::operator delete(block);
    }
}

TEST_F(HeapTest, ZeroBytesGiveAUsableBlockOf16)
{
    void *first = Heap::operator new(0);
    EXPECT_EQ(allocator().lastSize(), 16u);
    void *second = Heap::operator new(0);
    EXPECT_NE(first, nullptr);
    EXPECT_NE(first, second);
    Heap::operator delete(first);
    Heap::operator delete(second);
}

TEST_F(HeapTest, EveryFormOfDeleteTakesBlocksOfEveryFormOfNew)
{
    const std::int64_t live = allocator().liveBlocks();
    for (const NewForm &newForm : newForms) {
        for (const DeleteForm &deleteForm : deleteForms) {
            SCOPED_TRACE(std::string(newForm.name) + ", " + deleteForm.name);
            deleteForm.release(newForm.make(1000));
            EXPECT_EQ(allocator().liveBlocks(), live);
            deleteForm.release(nullptr);
            EXPECT_EQ(allocator().liveBlocks(), live);
        }
    }
}

TEST_F(HeapTest, RequestsThatNoBlockCanHoldThrowWithoutAskingTheAllocator)
{
    void *block = Heap::operator new(1000);
    const Statistics before;
    const AllocatorCalls calls;
    for (std::size_t shortfall = 0; shortfall < 23; ++shortfall) {
        SCOPED_TRACE(shortfall);
        for (const NewForm &form : newForms)
            EXPECT_THROW((void)form.make(largestSize - shortfall), std::bad_alloc);
        EXPECT_THROW(Heap::reAlloc(block, largestSize - shortfall), std::bad_alloc);
    }
    EXPECT_EQ(calls.all(), 0);
    EXPECT_EQ(Statistics(), before);
    Heap::operator delete(block);
}

TEST_F(HeapTest, TheLargestRequestThatCanBeRoundedReachesTheAllocator)
{
    EXPECT_THROW((void)Heap::operator new(largestSize - 23), std::bad_alloc);
    EXPECT_EQ(allocator().lastSize(), largestSize - 15);
}

TEST_F(HeapTest, RequestsPast32GiBReachTheAllocatorWithTheirWholeSize)
{
    for (const std::size_t size : {std::size_t{1} << 35, std::size_t{1} << 36,
                                   (std::size_t{1} << 36) + 40, std::size_t{1} << 60}) {
        EXPECT_THROW((void)Heap::operator new(size), std::bad_alloc);
        EXPECT_EQ(allocator().lastSize(), size + 16 - size % 16 + (size % 16 > 8 ? 16 : 0));
    }
}

TEST_F(HeapTest, NewAtALineHandsOnFileAndLine)
{
    static const char file[] = "Story.cpp";
    Heap::operator delete(Heap::operator new(1000, file, 41));
    EXPECT_EQ(allocator().lastFile(), file);
    EXPECT_EQ(allocator().lastLine(), 41);
    Heap::operator delete[](Heap::operator new[](1000, file, 42));
    EXPECT_EQ(allocator().lastFile(), file);
    EXPECT_EQ(allocator().lastLine(), 42);
}

TEST_F(HeapTest, PlainNewHandsOnNoFileAndLine)
{
    static const char file[] = "Story.cpp";
    Heap::operator delete(Heap::operator new(1000, file, 43));
    Heap::operator delete(Heap::operator new(1000));
    EXPECT_EQ(allocator().lastLine(), 43);
}

// New expressions.

TEST_F(HeapTest, NewExpressionsUseHeap)
{
    const std::int64_t live = allocator().liveBlocks();
    int living = 0;
    auto *thing = new Thing(&living);
    EXPECT_EQ(living, 1);
    EXPECT_EQ(allocator().liveBlocks(), live + 1);
    EXPECT_EQ(allocator().lastSize(), sizeof(Thing) + 16);
    delete thing;
    EXPECT_EQ(living, 0);
}

TEST_F(HeapTest, ArrayNewExpressionsUseHeap)
{
    auto *things = new Thing[3];
    EXPECT_GE(allocator().lastSize(), 3 * sizeof(Thing) + headerSize);
    delete[] things;
}

TEST_F(HeapTest, PlacementNewReturnsItsPlaceAndPlacementDeleteDoesNothing)
{
    void *place = Heap::operator new(sizeof(Thing));
    const AllocatorCalls calls;
    Thing *thing = new (place) Thing;
    EXPECT_EQ(static_cast<void *>(thing), place);
    thing->~Thing();
    Heap::operator delete(place, place);
    EXPECT_THROW(new (place) Thing(nullptr, true), std::runtime_error);
    EXPECT_EQ(calls.all(), 0);
    void *other = Heap::operator new(sizeof(Thing));
    EXPECT_NE(other, place) << "the place was released";
    Heap::operator delete(other);
    Heap::operator delete(place);
}

TEST_F(HeapTest, AThrowingConstructorGivesItsBlockBack)
{
    Heap::setCacheSize(0);
    const std::int64_t live = allocator().liveBlocks();
    EXPECT_THROW(new Thing(nullptr, true), std::runtime_error);
    EXPECT_THROW(new ("file", 7) Thing(nullptr, true), std::runtime_error);
    const auto makeTwo = [] { return new Thing[2]{Thing(), Thing(nullptr, true)}; };
    EXPECT_THROW(makeTwo(), std::runtime_error);
    EXPECT_EQ(allocator().liveBlocks(), live);
}

TEST_F(HeapTest, DeletingARootRunsTheDestructorOfItsClass)
{
    bool destroyed = false;
    Root *root = new RootThing(destroyed);
    delete root;
    EXPECT_TRUE(destroyed);
}

// The block cache.

TEST_F(HeapTest, ABlockOf312BytesGoesThroughTheCache)
{
    void *block = Heap::operator new(312);
    const std::uintptr_t place = addressOf(block);
    const AllocatorCalls calls;
    Heap::operator delete(block);
    block = Heap::operator new(312);
    EXPECT_EQ(addressOf(block), place);
    EXPECT_EQ(calls.all(), 0);
    Heap::operator delete(block);
}

TEST_F(HeapTest, ABlockOf313BytesBypassesTheCacheBothWays)
{
    const AllocatorCalls calls;
    void *block = Heap::operator new(313);
    EXPECT_EQ(calls.allocations(), 1);
    Heap::operator delete(block);
    EXPECT_EQ(calls.frees(), 1);
    Heap::operator delete(Heap::operator new(313));
    EXPECT_EQ(calls.allocations(), 2);
    EXPECT_EQ(calls.frees(), 2);
}

TEST_F(HeapTest, EachClassServesTheRequestsOfItsSizeOnly)
{
    for (int blockClass = 0; blockClass < 20; ++blockClass) {
        SCOPED_TRACE(blockClass);
        const std::size_t most = static_cast<std::size_t>(blockClass) * 16 + 8;
        const std::size_t least = blockClass == 0 ? 0 : most - 15;
        Heap::flushCache();
        void *block = Heap::operator new(most);
        const std::uintptr_t place = addressOf(block);
        Heap::operator delete(block);
        const AllocatorCalls calls;
        void *larger = Heap::operator new(most + 1);
        void *smaller = least == 0 ? nullptr : Heap::operator new(least - 1);
        EXPECT_EQ(calls.allocations(), least == 0 ? 1 : 2);
        block = Heap::operator new(least);
        EXPECT_EQ(addressOf(block), place);
        Heap::operator delete(larger);
        Heap::operator delete(smaller);
        Heap::operator delete(block);
    }
}

TEST_F(HeapTest, TheBlockReleasedLastIsHandedOutFirst)
{
    void *first = Heap::operator new(40);
    void *second = Heap::operator new(40);
    const std::uintptr_t placeOfFirst = addressOf(first), placeOfSecond = addressOf(second);
    Heap::operator delete(first);
    Heap::operator delete(second);
    second = Heap::operator new(40);
    first = Heap::operator new(40);
    EXPECT_EQ(addressOf(second), placeOfSecond);
    EXPECT_EQ(addressOf(first), placeOfFirst);
    Heap::operator delete(first);
    Heap::operator delete(second);
}

TEST_F(HeapTest, TheCacheStartsWith102400Bytes)
{
    EXPECT_EQ(Heap::getCacheSize(), 102400);
}

TEST_F(HeapTest, TheBudgetLimitsEachClassToAnEqualShare)
{
    struct Row
    {
        const char *name;
        int budget, blockClass, limit;
    };
    constexpr Row rows[] = {
        {"default, blocks of 16", 102400, 0, 320},
        {"default, blocks of 32", 102400, 1, 160},
        {"default, blocks of 48", 102400, 2, 106},
        {"default, blocks of 304", 102400, 18, 16},
        {"default, blocks of 320", 102400, 19, 16},
        {"one block of 320", 6400, 19, 1},
        {"one byte short of a block of 320", 6399, 19, 0},
        {"one byte short of a block of 320, blocks of 304", 6399, 18, 1},
        {"one block of 16", 320, 0, 1},
        {"one block of 16, none of 32", 320, 1, 0},
        {"one byte short of a block of 16", 319, 0, 0},
        {"one byte", 1, 0, 0},
        {"nothing", 0, 0, 0},
        {"below nothing", -1, 0, 0},
        {"far below nothing", std::numeric_limits<int>::min(), 19, 0},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.name);
        Heap::setCacheSize(row.budget);
        const AllocatorCalls calls;
        passThroughCache(row.limit + 1, static_cast<std::size_t>(row.blockClass) * 16 + 8);
        EXPECT_EQ(calls.allocations(), row.limit + 1);
        EXPECT_EQ(calls.frees(), 1);
        passThroughCache(row.limit, static_cast<std::size_t>(row.blockClass) * 16 + 8);
        EXPECT_EQ(calls.allocations(), row.limit + 1);
        EXPECT_EQ(calls.frees(), 1);
    }
}

TEST_F(HeapTest, TheLargestBudgetHoldsWhatComes)
{
    Heap::setCacheSize(std::numeric_limits<int>::max());
    EXPECT_EQ(Heap::getCacheSize(), std::numeric_limits<int>::max());
    const AllocatorCalls calls;
    passThroughCache(10000, 312);
    EXPECT_EQ(calls.frees(), 0);
}

TEST_F(HeapTest, ABudgetBelowZeroCountsAsZero)
{
    Heap::setCacheSize(-5);
    EXPECT_EQ(Heap::getCacheSize(), 0);
}

TEST_F(HeapTest, WithoutABudgetEveryReleaseGoesStraightToTheAllocator)
{
    Heap::setCacheSize(0);
    const AllocatorCalls calls;
    for (int blockClass = 0; blockClass < 20; ++blockClass) {
        Heap::operator delete(Heap::operator new(static_cast<std::size_t>(blockClass) * 16));
        EXPECT_EQ(calls.allocations(), blockClass + 1);
        EXPECT_EQ(calls.frees(), blockClass + 1);
    }
}

TEST_F(HeapTest, SettingABudgetReleasesWhatIsCached)
{
    for (const int budget : {0, 1000, 102400, 1000000}) {
        Heap::setCacheSize(102400);
        passThroughCache(5, 40);
        const AllocatorCalls calls;
        Heap::setCacheSize(budget);
        EXPECT_EQ(calls.frees(), 5) << budget;
        EXPECT_EQ(Heap::getCacheSize(), budget);
    }
}

TEST_F(HeapTest, FlushingReleasesWhatIsCachedAndKeepsTheLimits)
{
    for (std::size_t size = 8; size <= 312; size += 16)
        passThroughCache(2, size);
    const AllocatorCalls calls;
    Heap::flushCache();
    EXPECT_EQ(calls.frees(), 40);
    Heap::flushCache();
    EXPECT_EQ(calls.frees(), 40);
    EXPECT_EQ(Heap::getCacheSize(), 102400);
    passThroughCache(17, 312);
    EXPECT_EQ(calls.frees(), 41);
}

TEST_F(HeapTest, NewAtALineTakesFromTheCacheToo)
{
    void *block = Heap::operator new(40);
    const std::uintptr_t place = addressOf(block);
    Heap::operator delete(block);
    const AllocatorCalls calls;
    block = Heap::operator new(40, "file", 7);
    EXPECT_EQ(addressOf(block), place);
    Heap::operator delete(block, "file", 7);
    block = Heap::operator new[](40, "file", 7);
    EXPECT_EQ(addressOf(block), place);
    Heap::operator delete[](block);
    EXPECT_EQ(calls.all(), 0);
}

TEST_F(HeapTest, NewAtALineAsksTheAllocatorWithoutABudget)
{
    Heap::setCacheSize(0);
    const AllocatorCalls calls;
    Heap::operator delete(Heap::operator new(40, "file", 7));
    EXPECT_EQ(calls.allocations(), 1);
    EXPECT_EQ(calls.frees(), 1);
}

// Exhausted memory.

TEST_F(HeapTest, ARefusedRequestIsTriedOnceMoreAfterAFlush)
{
    for (const NewForm &form : newForms) {
        SCOPED_TRACE(form.name);
        const AllocatorCalls calls;
        allocator().failRequests(1);
        void *block = form.make(1000);
        EXPECT_NE(block, nullptr);
        EXPECT_EQ(calls.allocations(), 2);
        EXPECT_EQ(calls.flushes(), 1);
        Heap::operator delete(block);
    }
}

TEST_F(HeapTest, ASecondRefusalThrowsBadAllocationAndChangesNothing)
{
    for (const NewForm &form : newForms) {
        SCOPED_TRACE(form.name);
        const Statistics before;
        const AllocatorCalls calls;
        allocator().failRequests(1, 2);
        try {
            (void)form.make(1000);
            ADD_FAILURE() << "no exception";
        } catch (const std::bad_alloc &exhausted) {
            EXPECT_STREQ(exhausted.what(), "bad allocation");
        }
        EXPECT_EQ(calls.allocations(), 2);
        EXPECT_EQ(calls.flushes(), 1);
        EXPECT_EQ(Statistics(), before);
    }
}

TEST_F(HeapTest, TheSecondRequestAtALineCarriesTheLineToo)
{
    allocator().failRequests(1);
    void *block = Heap::operator new(1000, "retried", 77);
    EXPECT_STREQ(allocator().lastFile(), "retried");
    EXPECT_EQ(allocator().lastLine(), 77);
    Heap::operator delete(block);
}

TEST_F(HeapTest, CachedBlocksAreServedWhileTheAllocatorHasNone)
{
    Heap::operator delete(Heap::operator new(40));
    allocator().failRequests(1, TestAllocator::forever);
    void *block = Heap::operator new(40);
    EXPECT_EQ(allocator().refusals(), 0);
    EXPECT_THROW((void)Heap::operator new(40), std::bad_alloc);
    allocator().stopFailing();
    Heap::operator delete(block);
}

// reAlloc.

TEST_F(HeapTest, ReAllocOfNullGivesNullAndAllocatesNothing)
{
    const Statistics before;
    const AllocatorCalls calls;
    EXPECT_EQ(Heap::reAlloc(nullptr, 100), nullptr);
    EXPECT_EQ(Heap::reAlloc(nullptr, 0), nullptr);
    EXPECT_EQ(Heap::reAlloc(nullptr, largestSize), nullptr);
    EXPECT_EQ(calls.all(), 0);
    EXPECT_EQ(Statistics(), before);
}

TEST_F(HeapTest, ReAllocWithinTheSameBlockReturnsTheSamePointer)
{
    void *block = Heap::operator new(100);
    const Statistics before;
    const AllocatorCalls calls;
    for (const std::size_t size : {89U, 100U, 104U}) {
        EXPECT_EQ(Heap::reAlloc(block, size), block);
        std::memset(block, 1, size);
    }
    EXPECT_EQ(calls.all(), 0);
    EXPECT_EQ(Statistics(), before);
    Heap::operator delete(block);
}

TEST_F(HeapTest, ReAllocKeepsTheContentsInBothDirections)
{
    auto *block = static_cast<char *>(Heap::operator new(100));
    std::memset(block, 'a', 100);
    block = static_cast<char *>(Heap::reAlloc(block, 1000));
    EXPECT_EQ(std::string(block, 100), std::string(100, 'a'));
    std::memset(block, 'b', 1000);
    block = static_cast<char *>(Heap::reAlloc(block, 10));
    EXPECT_EQ(std::string(block, 10), std::string(10, 'b'));
    EXPECT_EQ(addressOf(block) % 16, headerSize);
    Heap::operator delete(block);
}

TEST_F(HeapTest, ReAllocToNothingLeavesABlockOf16)
{
    void *block = Heap::reAlloc(Heap::operator new(100), 0);
    EXPECT_EQ(allocator().lastSize(), 16u);
    Heap::operator delete(block);
}

TEST_F(HeapTest, ReAllocBypassesTheCacheInBothDirections)
{
    void *cached = Heap::operator new(200);
    void *block = Heap::operator new(100);
    Heap::operator delete(cached);
    const AllocatorCalls calls;
    block = Heap::reAlloc(block, 200);
    EXPECT_NE(block, cached);
    EXPECT_EQ(calls.reallocations(), 1);
    block = Heap::reAlloc(block, 100);
    EXPECT_EQ(calls.reallocations(), 2);
    EXPECT_EQ(calls.all(), 2);
    Heap::operator delete(block);
}

TEST_F(HeapTest, ReAllocMovesTheByteCountButNotTheBlockCount)
{
    void *block = Heap::operator new(100);
    const Statistics before;
    block = Heap::reAlloc(block, 1000);
    EXPECT_EQ(Statistics().blocksSince(before), 0);
    EXPECT_EQ(Statistics().bytesSince(before), 1008 - 112);
    block = Heap::reAlloc(block, 8);
    EXPECT_EQ(Statistics().blocksSince(before), 0);
    EXPECT_EQ(Statistics().bytesSince(before), 16 - 112);
    Heap::operator delete(block);
}

TEST_F(HeapTest, AReAllocatedBlockIsReleasedIntoTheClassOfItsNewSize)
{
    void *block = Heap::reAlloc(Heap::operator new(1000), 24);
    const std::uintptr_t place = addressOf(block);
    Heap::operator delete(block);
    block = Heap::operator new(24);
    EXPECT_EQ(addressOf(block), place);
    block = Heap::reAlloc(block, 1000);
    const AllocatorCalls calls;
    Heap::operator delete(block);
    EXPECT_EQ(calls.frees(), 1);
}

TEST_F(HeapTest, ARefusedReAllocGivesFreshStorageAndLeavesTheOldBlock)
{
    auto *block = static_cast<unsigned char *>(Heap::operator new(100));
    std::memset(block, 'a', 100);
    const Statistics before;
    const AllocatorCalls calls;
    allocator().failRequests(1);
    auto *fresh = static_cast<unsigned char *>(Heap::reAlloc(block, 1000));
    EXPECT_EQ(calls.reallocations(), 2);
    EXPECT_EQ(calls.flushes(), 1);
    EXPECT_EQ(calls.all(), 3);
    EXPECT_NE(fresh, block);
    for (int index = 0; index < 100; ++index) {
        EXPECT_EQ(block[index], 'a');
        EXPECT_EQ(fresh[index], 0xCD) << "old contents in fresh storage";
    }
    EXPECT_EQ(Statistics().blocksSince(before), 0);
    EXPECT_EQ(Statistics().bytesSince(before), 1008 - 112);
    Heap::operator delete(fresh);
    Heap::operator delete(block);
}

TEST_F(HeapTest, ATwiceRefusedReAllocThrowsAndLeavesTheOldBlock)
{
    auto *block = static_cast<char *>(Heap::operator new(100));
    std::memset(block, 'a', 100);
    const Statistics before;
    const AllocatorCalls calls;
    for (const std::size_t size : {1000U, 10U}) {
        allocator().failRequests(1, 2);
        try {
            (void)Heap::reAlloc(block, size);
            ADD_FAILURE() << "no exception";
        } catch (const std::bad_alloc &exhausted) {
            EXPECT_STREQ(exhausted.what(), "bad allocation");
        }
    }
    EXPECT_EQ(calls.reallocations(), 4);
    EXPECT_EQ(calls.flushes(), 2);
    EXPECT_EQ(std::string(block, 100), std::string(100, 'a'));
    EXPECT_EQ(Statistics(), before);
    Heap::operator delete(block);
}

// Statistics.

TEST_F(HeapTest, TheStatisticsFollowBlocksInAndOutOfTheCache)
{
    const Statistics before;
    void *block = Heap::operator new(100);
    EXPECT_EQ(Statistics().blocksSince(before), 1);
    EXPECT_EQ(Statistics().bytesSince(before), 112);
    Heap::operator delete(block);
    EXPECT_EQ(Statistics(), before);
    block = Heap::operator new(100);
    EXPECT_EQ(Statistics().blocksSince(before), 1);
    EXPECT_EQ(Statistics().bytesSince(before), 112);
    Heap::operator delete(block);
}

TEST_F(HeapTest, EmptyingTheCacheCountsItsBlocksDownASecondTime)
{
    const Statistics before;
    void *kept = Heap::operator new(1000);
    passThroughCache(3, 100);
    passThroughCache(2, 20);
    Heap::flushCache();
    EXPECT_EQ(Statistics().blocksSince(before), 1 - 5);
    EXPECT_EQ(Statistics().bytesSince(before), 1008 - 3 * 112 - 2 * 32);
    passThroughCache(1, 100);
    Heap::setCacheSize(1000);
    EXPECT_EQ(Statistics().blocksSince(before), 1 - 6);
    Heap::operator delete(kept);
}

// Threads.

TEST_F(HeapThreadsTest, EachThreadStartsWithACacheOfItsOwn)
{
    Heap::setCacheSize(5000);
    void *block = Heap::operator new(40);
    const std::uintptr_t place = addressOf(block);
    Heap::operator delete(block);
    test::runOnThread([&] {
        EXPECT_EQ(Heap::getCacheSize(), 102400);
        void *other = Heap::operator new(40);
        EXPECT_NE(addressOf(other), place);
        Heap::operator delete(other);
        Heap::flushCache();
        Heap::setCacheSize(0);
    });
    EXPECT_EQ(Heap::getCacheSize(), 5000);
    block = Heap::operator new(40);
    EXPECT_EQ(addressOf(block), place);
    Heap::operator delete(block);
}

TEST_F(HeapThreadsTest, ABlockEntersTheCacheOfTheThreadThatReleasesIt)
{
    void *block = Heap::operator new(40);
    test::runOnThread([&] {
        const std::uintptr_t place = addressOf(block);
        Heap::operator delete(block);
        block = Heap::operator new(40);
        EXPECT_EQ(addressOf(block), place);
        Heap::operator delete(block);
        const AllocatorCalls calls;
        Heap::flushCache();
        EXPECT_EQ(calls.frees(), 1);
    });
}

TEST_F(HeapThreadsTest, AThreadThatEndsGivesItsCachedBlocksBack)
{
    const std::int64_t live = allocator().liveBlocks();
    test::runOnThreads(4, [](int) {
        for (std::size_t size = 0; size < 320; size += 5)
            passThroughCache(10, size);
    });
    EXPECT_EQ(allocator().liveBlocks(), live);
}

TEST_F(HeapThreadsTest, TheStatisticsCountTheBlocksOfAllThreads)
{
    Heap::setCacheSize(0);
    const Statistics before;
    void *blocks[4];
    test::runOnThreads(4, [&](int index) {
        Heap::setCacheSize(0);
        blocks[index] = Heap::operator new(100);
    });
    EXPECT_EQ(Statistics().blocksSince(before), 4);
    EXPECT_EQ(Statistics().bytesSince(before), 4 * 112);
    for (void *block : blocks)
        Heap::operator delete(block);
    EXPECT_EQ(Statistics(), before);
}

TEST_F(HeapThreadsTest, TheEndOfAThreadCountsItsCachedBlocksDownASecondTime)
{
    const Statistics before;
    test::runOnThread([] { passThroughCache(3, 100); });
    EXPECT_EQ(Statistics().blocksSince(before), -3);
    EXPECT_EQ(Statistics().bytesSince(before), -3 * 112);
}

TEST_F(HeapThreadsTest, TheStatisticsCanBeReadWhileThreadsComeAndGo)
{
    test::runOnThreads(4, [](int index) {
        for (int round = 0; round < 50; ++round) {
            if (index == 0)
                (void)Statistics();
            else
                test::runOnThread([] { passThroughCache(10, 40); });
        }
    });
}
