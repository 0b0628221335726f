// SPDX-License-Identifier: MIT
// White-box: the fields of a thread's record that only the library sees.
#include "runtime/ContextState.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>
#include <new>
#include <string>

#include <gtest/gtest.h>

#include <tavrin/Heap.h>
#include <tavrin/InitTerm.h>

#include "support/LibraryTest.h"
#include "support/MemoryFailure.h"
#include "support/RunOnThreads.h"
#include "support/TestAllocator.h"

using namespace Tavrin;
using namespace Tavrin::detail;
using test::TestAllocator;

namespace {

int livingContexts()
{
    int count = 0;
    forEachContext([](ContextState &, void *counter) { ++*static_cast<int *>(counter); }, &count);
    return count;
}

class ContextStateTest : public test::LibraryTest
{
protected:
    static ContextState &context() { return currentContext(); }

    // Brings the buffer to `size` bytes, filled with 'x' but for the tail.
    static void prepareScratch(int size)
    {
        context().dropMemory();
        std::memset(context().growScratch(size - 4), 'x', static_cast<std::size_t>(size - 4));
        ASSERT_EQ(context().scratchSize, size);
    }

    static std::string scratchText(std::size_t count)
    {
        return std::string(context().scratch, count);
    }
};

class ContextStateThreadsTest : public test::MultiThreadedLibraryTest
{};

} // namespace

// Life.

TEST_F(ContextStateThreadsTest, AFreshRecordIsZero)
{
    test::runOnThread([] {
        const ContextState &context = currentContext();
        EXPECT_EQ(context.scratch, nullptr);
        EXPECT_EQ(context.scratchSize, 0);
        EXPECT_EQ(context.timerMark, 0);
        EXPECT_EQ(context.dstMinute, 0u);
        EXPECT_EQ(context.dstResult, 0);
        EXPECT_EQ(context.cacheSize, 102400);
    });
}

TEST_F(ContextStateThreadsTest, ARecordIsMadeOnFirstUseAndGoesWithItsThread)
{
    (void)Context::get();
    const int before = livingContexts();
    test::runOnThread([&] {
        EXPECT_EQ(livingContexts(), before);
        (void)Context::get();
        EXPECT_EQ(livingContexts(), before + 1);
        (void)Context::get();
        EXPECT_EQ(livingContexts(), before + 1);
    });
    EXPECT_EQ(livingContexts(), before);
}

TEST(ContextStateLife, NoRecordIsLeftAfterExit)
{
    {
        test::LibrarySession session(test::LibrarySession::Mode::multiThreaded);
        (void)Context::get();
        EXPECT_GE(livingContexts(), 1);
    }
    EXPECT_EQ(livingContexts(), 0);
    EXPECT_EQ(processState.singleContext, nullptr);
    EXPECT_FALSE(processState.multiThreaded);
}

TEST_F(ContextStateTest, SingleThreadedOperationKeepsTheRecordInTheProcess)
{
    EXPECT_EQ(processState.singleContext, &context());
    EXPECT_FALSE(processState.multiThreaded);
    ContextState *own = &context();
    InitTerm::setMT();
    EXPECT_EQ(processState.singleContext, nullptr);
    EXPECT_TRUE(processState.multiThreaded);
    EXPECT_EQ(threadSlot.context, own);
}

// The scratch buffer.

TEST_F(ContextStateTest, ScratchGrowsToTheNeededSizeAndFourBytes)
{
    struct Row
    {
        const char *name;
        int before, needed, after;
        bool keepsContents;
    };
    constexpr Row rows[] = {
        {"nothing needed of a small buffer", 100, 0, 100, true},
        {"less than there is", 100, 50, 100, true},
        {"exactly what there is", 100, 96, 100, true},
        {"one byte more", 100, 97, 101, true},
        {"much more", 100, 100000, 100004, true},
        {"less than there is, at the bound", 16384, 1000, 16384, true},
        {"exactly what there is, at the bound", 16384, 16380, 16384, true},
        {"one byte more, at the bound", 16384, 16381, 16385, true},
        {"less than there is, past the bound", 16385, 1000, 1004, false},
        {"exactly what there is, past the bound", 16385, 16381, 16385, false},
        {"one byte more, past the bound", 16385, 16382, 16386, true},
        {"nothing needed, past the bound", 20000, 0, 4, false},
        {"a byte less than there is, past the bound", 20000, 19995, 19999, false},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.name);
        prepareScratch(row.before);
        char *scratch = context().growScratch(row.needed);
        EXPECT_EQ(scratch, context().scratch);
        EXPECT_EQ(context().scratchSize, row.after);
        const int kept = std::min(row.before - 4, row.needed);
        if (row.keepsContents) {
            EXPECT_EQ(scratchText(static_cast<std::size_t>(kept)),
                      std::string(static_cast<std::size_t>(kept), 'x'));
        }
        for (int tail = 0; tail < 4; ++tail)
            EXPECT_EQ(scratch[row.needed + tail], 0);
    }
}

TEST_F(ContextStateTest, ScratchIsMadeOnFirstUse)
{
    EXPECT_EQ(context().scratch, nullptr);
    const std::int64_t live = TestAllocator::shared().liveBlocks();
    EXPECT_NE(context().growScratch(0), nullptr);
    EXPECT_EQ(context().scratchSize, 4);
    EXPECT_EQ(TestAllocator::shared().liveBlocks(), live + 1);
}

TEST_F(ContextStateTest, ALargeScratchIsReplacedByAnotherBlock)
{
    prepareScratch(20000);
    const std::int64_t allocations = TestAllocator::shared().allocations();
    context().growScratch(10000);
    EXPECT_EQ(TestAllocator::shared().allocations(), allocations + 1);
    context().growScratch(10000);
    EXPECT_EQ(TestAllocator::shared().allocations(), allocations + 1);
}

TEST_F(ContextStateTest, ScratchThatCannotGrowStaysAsItIs)
{
    struct Prepared
    {
        explicit Prepared(int size) { prepareScratch(size); }
        ~Prepared() { context().dropMemory(); }
    };
    struct Row
    {
        const char *name;
        int before, needed;
    };
    constexpr Row rows[] = {{"growing", 100, 1000}, {"replacing", 20000, 1000}};
    for (const Row &row : rows) {
        SCOPED_TRACE(row.name);
        test::underMemoryFailure([&] { return Prepared(row.before); },
                                 [&](Prepared &) { context().growScratch(row.needed); },
                                 [&](const Prepared &, bool failed) {
                                     EXPECT_EQ(context().scratchSize,
                                               failed ? row.before : row.needed + 4);
                                     if (failed) {
                                         EXPECT_EQ(scratchText(96), std::string(96, 'x'));
                                     }
                                 });
    }
}

TEST_F(ContextStateTest, AScratchThatNoIntCountsThrows)
{
    prepareScratch(100);
    for (int shortfall = 0; shortfall < 4; ++shortfall) {
        try {
            context().growScratch(std::numeric_limits<int>::max() - shortfall);
            ADD_FAILURE() << "no exception";
        } catch (const std::bad_alloc &exhausted) {
            EXPECT_STREQ(exhausted.what(), "bad allocation");
        }
    }
    EXPECT_EQ(context().scratchSize, 100);
}

TEST_F(ContextStateThreadsTest, TheEndOfAThreadGivesItsScratchBack)
{
    struct UsesScratch : Root
    {
        ~UsesScratch() override { currentContext().growScratch(1000); }
    };
    const std::int64_t live = TestAllocator::shared().liveBlocks();
    test::runOnThread([] {
        currentContext().growScratch(100);
        currentContext().engineState = new UsesScratch;
        currentContext().ownedObject = new UsesScratch;
    });
    EXPECT_EQ(TestAllocator::shared().liveBlocks(), live);
}
