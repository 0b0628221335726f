// SPDX-License-Identifier: MIT
// White-box: start and stop when the system's own heap runs dry, and what a stop leaves behind.
// The linker leads the library's calls of malloc, realloc and free through this file.
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <new>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <tavrin/Context.h>
#include <tavrin/Heap.h>
#include <tavrin/InitTerm.h>
#include <tavrin/Thread.h>
#include <tavrin/Time.h>

#include "runtime/BlockReserve.h"
#include "runtime/ContextState.h"
#include "support/RunOnThreads.h"

using namespace Tavrin;

namespace {

// The system heap as the library sees it: counts its blocks, and refuses when it is told to.
class SystemHeap
{
public:
    static constexpr std::int64_t forever = std::numeric_limits<std::int64_t>::max();

    // Refuses `count` requests from the `first` one on; 1 is the next one.
    void fail(std::int64_t first, std::int64_t count)
    {
        refused = 0;
        granted = first - 1;
        refusalsLeft = count;
    }
    // Ends that, and tells how many requests were refused.
    std::int64_t stopFailing()
    {
        refusalsLeft = 0;
        return refused;
    }
    bool refuses()
    {
        if (refusalsLeft == 0 || granted-- > 0)
            return false;
        --refusalsLeft;
        ++refused;
        return true;
    }

    std::atomic<std::int64_t> liveBlocks{0};

private:
    std::atomic<std::int64_t> granted{0}, refusalsLeft{0}, refused{0};
};

constinit SystemHeap systemHeap;

} // namespace

// The names are the linker's: --wrap=malloc calls __wrap_malloc in place of malloc.
extern "C" {
void *__real_malloc(std::size_t size);
void *__real_realloc(void *block, std::size_t size);
void __real_free(void *block);

void *__wrap_malloc(std::size_t size)
{
    void *block = systemHeap.refuses() ? nullptr : __real_malloc(size);
    systemHeap.liveBlocks += block != nullptr;
    return block;
}

void *__wrap_realloc(void *block, std::size_t size)
{
    void *moved = systemHeap.refuses() ? nullptr : __real_realloc(block, size);
    systemHeap.liveBlocks += block == nullptr && moved != nullptr;
    return moved;
}

void __wrap_free(void *block)
{
    systemHeap.liveBlocks -= block != nullptr;
    __real_free(block);
}
}

namespace {

// Every init meets the same requests.
void expectInitToSurvive(std::int64_t refusals)
{
    std::int64_t refused = 1;
    int failures = 0;
    for (int request = 1; refused > 0; ++request) {
        SCOPED_TRACE("request " + std::to_string(request));
        const std::int64_t liveBlocks = systemHeap.liveBlocks;
        bool failed = false;
        systemHeap.fail(request, refusals);
        try {
            InitTerm::init();
        } catch (const std::bad_alloc &exhausted) {
            failed = true;
            EXPECT_STREQ(exhausted.what(), "bad allocation");
        }
        refused = systemHeap.stopFailing();
        failures += failed;
        EXPECT_TRUE(refused > 0 || !failed);
        EXPECT_TRUE(InitTerm::isInitialized()) << "the count is not taken back";
        InitTerm::exit();
        EXPECT_FALSE(InitTerm::isInitialized());
        EXPECT_EQ(systemHeap.liveBlocks, liveBlocks);
        InitTerm::init();
        EXPECT_NO_THROW(Heap::operator delete(Heap::operator new(100)));
        InitTerm::exit();
        EXPECT_FALSE(InitTerm::isInitialized());
        EXPECT_EQ(systemHeap.liveBlocks, liveBlocks);
    }
    EXPECT_GT(failures, 0) << "nothing was tested";
}

} // namespace

TEST(Startup, TheSystemHeapIsWatched)
{
    InitTerm::init();
    const std::int64_t liveBlocks = systemHeap.liveBlocks;
    void *block = Heap::operator new(1000);
    EXPECT_EQ(systemHeap.liveBlocks, liveBlocks + 1);
    block = Heap::reAlloc(block, 2000);
    Heap::operator delete(block);
    EXPECT_EQ(systemHeap.liveBlocks, liveBlocks);
    systemHeap.fail(2, 2);
    block = Heap::operator new(1000);
    EXPECT_THROW((void)Heap::operator new(1000), std::bad_alloc);
    EXPECT_EQ(systemHeap.stopFailing(), 2);
    Heap::operator delete(block);
    InitTerm::exit();
}

TEST(Startup, InitSurvivesOneRefusedRequest)
{
    expectInitToSurvive(1);
}

TEST(Startup, InitSurvivesARequestThatIsRefusedTwice)
{
    expectInitToSurvive(2);
}

TEST(Startup, InitSurvivesTheEndOfAllMemory)
{
    expectInitToSurvive(SystemHeap::forever);
}

// Subsystems that hosts may ask before they are complete go by this.
TEST(Startup, IsUnderWayFromLoadOrExitToTheEndOfInit)
{
    EXPECT_TRUE(detail::processState.startingUp);
    for (int round = 0; round < 2; ++round) {
        InitTerm::init();
        EXPECT_FALSE(detail::processState.startingUp);
        InitTerm::init();
        InitTerm::exit();
        EXPECT_FALSE(detail::processState.startingUp) << "a nested pair changed it";
        InitTerm::atExit([] { EXPECT_FALSE(detail::processState.startingUp); });
        InitTerm::exit();
        EXPECT_TRUE(detail::processState.startingUp);
    }
    systemHeap.fail(1, SystemHeap::forever);
    EXPECT_THROW(InitTerm::init(), std::bad_alloc);
    systemHeap.stopFailing();
    EXPECT_TRUE(detail::processState.startingUp) << "a failed start is not over";
    InitTerm::exit();
    EXPECT_TRUE(detail::processState.startingUp);
}

TEST(Startup, BlocksThatWaitInReserveAreGivenBackWhenMemoryRunsOut)
{
    InitTerm::init();
    std::vector<void *> blocks(1000);
    for (void *&block : blocks)
        block = Heap::operator new(100);
    for (void *block : blocks)
        Heap::operator delete(block);
    EXPECT_GT(detail::bytesInDepot(), 0u);
    const std::int64_t liveBlocks = systemHeap.liveBlocks;
    systemHeap.fail(1, 1);
    void *block = Heap::operator new(1000);
    EXPECT_EQ(systemHeap.stopFailing(), 1);
    EXPECT_EQ(detail::bytesInDepot(), 0u);
    EXPECT_LT(systemHeap.liveBlocks, liveBlocks - 900);
    Heap::operator delete(block);
    InitTerm::exit();
}

TEST(Startup, ReleasesNeedNoMemory)
{
    InitTerm::init();
    const std::int64_t liveBlocks = systemHeap.liveBlocks;
    std::vector<void *> blocks(1000);
    for (void *&block : blocks)
        block = Heap::operator new(100);
    systemHeap.fail(1, SystemHeap::forever);
    for (void *block : blocks)
        Heap::operator delete(block);
    EXPECT_GT(systemHeap.stopFailing(), 0);
    EXPECT_EQ(systemHeap.liveBlocks, liveBlocks);
    InitTerm::exit();
}

TEST(Startup, GoingDownNeedsNoMemory)
{
    const std::int64_t liveBlocks = systemHeap.liveBlocks;
    for (const bool multiThreaded : {false, true}) {
        InitTerm::init();
        if (multiThreaded)
            InitTerm::setMT();
        InitTerm::atExit([] {});
        Heap::operator delete(Heap::operator new(100));
        systemHeap.fail(1, SystemHeap::forever);
        EXPECT_NO_THROW(InitTerm::exit());
        systemHeap.stopFailing();
        EXPECT_FALSE(InitTerm::isInitialized());
        EXPECT_EQ(systemHeap.liveBlocks, liveBlocks);
    }
}

TEST(Startup, AThreadWhoseContextFindsNoMemoryGetsBadAllocationAndMayTryAgain)
{
    InitTerm::init();
    InitTerm::setMT();
    test::runOnThread([] {
        systemHeap.fail(1, SystemHeap::forever);
        try {
            (void)Context::get();
            ADD_FAILURE() << "no exception";
        } catch (const std::bad_alloc &exhausted) {
            EXPECT_STREQ(exhausted.what(), "bad allocation");
        }
        EXPECT_THROW((void)Heap::operator new(100), std::bad_alloc);
        EXPECT_THROW(Heap::setCacheSize(100), std::bad_alloc);
        EXPECT_THROW((void)Heap::getCacheSize(), std::bad_alloc);
        EXPECT_THROW(Heap::flushCache(), std::bad_alloc);
        EXPECT_THROW((void)Thread::getHiResTimer(), std::bad_alloc);
        EXPECT_THROW((void)Time::isDST(), std::bad_alloc);
        systemHeap.stopFailing();
        EXPECT_NO_THROW(Heap::operator delete(Heap::operator new(100)));
    });
    InitTerm::exit();
}

TEST(Startup, ADefaultAllocatorThatFindsNoMemoryThrowsBadAllocation)
{
    systemHeap.fail(1, 1);
    try {
        delete new ::DefaultAllocator;
        ADD_FAILURE() << "no exception";
    } catch (const std::bad_alloc &exhausted) {
        EXPECT_STREQ(exhausted.what(), "bad allocation");
    }
    EXPECT_EQ(systemHeap.stopFailing(), 1);
}

TEST(Startup, TheDefaultAllocatorReturnsNullWhenTheSystemHasNoMemory)
{
    ::DefaultAllocator allocator;
    void *block = allocator.allocMem(8);
    systemHeap.fail(1, SystemHeap::forever);
    EXPECT_EQ(allocator.allocMem(8), nullptr);
    EXPECT_EQ(allocator.allocMem(8, "file", 7), nullptr);
    EXPECT_EQ(allocator.reallocMem(block, 1000), nullptr);
    systemHeap.stopFailing();
    allocator.freeMem(block);
}

// A start takes what a stop counted along, so the test sets the figure in between.
TEST(Startup, AStopWithBlocksLeftCountsOneMore)
{
    const auto countAfterARunFrom = [](std::int64_t blocks) {
        detail::retiredCounters.add(blocks - detail::retiredCounters.readBlocks(), 0);
        InitTerm::init();
        InitTerm::exit();
        return detail::retiredCounters.readBlocks();
    };
    const std::int64_t before = detail::retiredCounters.readBlocks();
    // What a run itself takes off, by the blocks that its cache counts down a second time.
    const std::int64_t ofARun = 1000 + 1 - countAfterARunFrom(1000);
    EXPECT_EQ(countAfterARunFrom(ofARun), 0) << "nothing was left";
    EXPECT_EQ(countAfterARunFrom(ofARun + 5), 5 + 1);
    EXPECT_EQ(countAfterARunFrom(ofARun - 5), -5 + 1);
    detail::retiredCounters.add(before - detail::retiredCounters.readBlocks(), 0);
}
