// SPDX-License-Identifier: MIT
#include <tavrin/InitTerm.h>

#include <cstdint>
#include <new>
#include <stdexcept>

#include <gtest/gtest.h>

#include <tavrin/Context.h>
#include <tavrin/Heap.h>
#include <tavrin/Lock.h>

#include "support/LibraryTest.h"
#include "support/MemoryFailure.h"
#include "support/RunOnThreads.h"
#include "support/TestAllocator.h"

using namespace Tavrin;
using test::LibrarySession;
using test::TestAllocator;

namespace {

class InitTermTest : public test::LibraryTest
{};

class InitTermThreadsTest : public test::MultiThreadedLibraryTest
{};

// Whether Heap serves, which is what being up means to all classes.
bool heapServes()
{
    try {
        Heap::operator delete(Heap::operator new(100));
        return true;
    } catch (const std::bad_alloc &) {
        return false;
    }
}

// Notes what the library is like while its owner is taken down.
struct Witness : Root
{
    struct Notes
    {
        int destroyed = 0;
        bool isInitialized = false;
        bool isMT = false;
        bool heapServes = false;
        std::int64_t flushes = 0;
    };

    explicit Witness(Notes &into) : notes(into) {}
    ~Witness() override
    {
        ++notes.destroyed;
        notes.isInitialized = InitTerm::isInitialized();
        notes.isMT = InitTerm::isMT();
        notes.heapServes = ::heapServes();
        notes.flushes = TestAllocator::shared().flushes();
    }

    Notes &notes;
};

} // namespace

// The count.

TEST(InitTerm, TheLibraryIsDownAtFirst)
{
    EXPECT_FALSE(InitTerm::isInitialized());
    EXPECT_FALSE(InitTerm::isMT());
    EXPECT_FALSE(heapServes());
}

TEST(InitTerm, InitBringsTheLibraryUpAndExitTakesItDown)
{
    InitTerm::init();
    EXPECT_TRUE(InitTerm::isInitialized());
    EXPECT_TRUE(heapServes());
    InitTerm::exit();
    EXPECT_FALSE(InitTerm::isInitialized());
    EXPECT_FALSE(heapServes());
}

TEST(InitTerm, TwoInitsNeedTwoExits)
{
    InitTerm::init();
    InitTerm::init();
    InitTerm::exit();
    EXPECT_TRUE(InitTerm::isInitialized());
    EXPECT_TRUE(heapServes());
    InitTerm::exit();
    EXPECT_FALSE(InitTerm::isInitialized());
    EXPECT_FALSE(heapServes());
}

TEST(InitTerm, ANestedInitChangesNothingElse)
{
    LibrarySession session(LibrarySession::Mode::multiThreaded);
    Heap::setCacheSize(4711);
    const std::int64_t allocations = TestAllocator::shared().allocations();
    InitTerm::init();
    EXPECT_EQ(TestAllocator::shared().allocations(), allocations);
    EXPECT_EQ(Allocator::get(), &TestAllocator::shared());
    EXPECT_TRUE(InitTerm::isMT());
    InitTerm::exit();
    EXPECT_EQ(Allocator::get(), &TestAllocator::shared());
    EXPECT_TRUE(InitTerm::isMT());
    EXPECT_EQ(Heap::getCacheSize(), 4711);
}

TEST(InitTerm, ExitWithoutInitDoesNothing)
{
    InitTerm::exit();
    InitTerm::exit();
    EXPECT_FALSE(InitTerm::isInitialized());
    InitTerm::init();
    EXPECT_TRUE(InitTerm::isInitialized()) << "the count went below zero";
    InitTerm::exit();
    EXPECT_FALSE(InitTerm::isInitialized());
}

TEST(InitTerm, InitAndExitRepeatWithoutLosingABlock)
{
    for (int round = 0; round < 200; ++round) {
        LibrarySession session(round % 2 == 0 ? LibrarySession::Mode::singleThreaded
                                              : LibrarySession::Mode::multiThreaded);
        EXPECT_EQ(InitTerm::isMT(), round % 2 != 0);
        EXPECT_TRUE(heapServes());
    }
}

TEST_F(InitTermThreadsTest, NestedPairsOnManyThreadsKeepTheCount)
{
    test::runOnThreads(4, [](int) {
        for (int round = 0; round < 10000; ++round) {
            InitTerm::init();
            InitTerm::exit();
        }
    });
    EXPECT_TRUE(InitTerm::isInitialized());
    endLibrary();
    EXPECT_FALSE(InitTerm::isInitialized());
}

// The switch to multi-threaded operation.

TEST(InitTerm, SetMTBeforeInitThrowsAndChangesNothing)
{
    EXPECT_THROW(InitTerm::setMT(), std::bad_alloc);
    EXPECT_FALSE(InitTerm::isMT());
    EXPECT_EQ(Globals::get()->locks, nullptr);
    InitTerm::init();
    EXPECT_FALSE(InitTerm::isMT());
    InitTerm::exit();
}

TEST_F(InitTermTest, IsSingleThreadedUntilSetMT)
{
    EXPECT_FALSE(InitTerm::isMT());
    EXPECT_EQ(Globals::get()->locks, nullptr);
    InitTerm::setMT();
    EXPECT_TRUE(InitTerm::isMT());
    EXPECT_NE(Globals::get()->locks, nullptr);
    endLibrary();
    EXPECT_FALSE(InitTerm::isMT());
    EXPECT_EQ(Globals::get()->locks, nullptr);
}

TEST_F(InitTermTest, ALaterInitIsSingleThreadedAgain)
{
    InitTerm::setMT();
    endLibrary();
    LibrarySession session;
    EXPECT_FALSE(InitTerm::isMT());
    EXPECT_EQ(Context::get().locks, nullptr);
}

TEST_F(InitTermTest, ASecondSetMTChangesNothing)
{
    InitTerm::setMT();
    Lock *locks = Globals::get()->locks;
    Context *context = &Context::get();
    const std::int64_t allocations = TestAllocator::shared().allocations();
    InitTerm::setMT();
    EXPECT_EQ(Globals::get()->locks, locks);
    EXPECT_EQ(&Context::get(), context);
    EXPECT_EQ(TestAllocator::shared().allocations(), allocations);
}

TEST(InitTerm, SetMTOutOfMemoryLeavesTheLibrarySingleThreaded)
{
    constexpr std::int64_t refusals[] = {2, TestAllocator::forever};
    for (const std::int64_t refused : refusals) {
        bool failed = true;
        for (int request = 1; failed; ++request) {
            SCOPED_TRACE(request);
            LibrarySession session;
            Heap::setCacheSize(0);
            const std::int64_t live = TestAllocator::shared().liveBlocks();
            TestAllocator::shared().failRequests(request, refused);
            try {
                InitTerm::setMT();
                failed = false;
            } catch (const std::bad_alloc &) {}
            TestAllocator::shared().stopFailing();
            EXPECT_EQ(InitTerm::isMT(), !failed);
            EXPECT_EQ(Context::get().locks, Globals::get()->locks);
            if (failed)
                EXPECT_EQ(TestAllocator::shared().liveBlocks(), live);
            else
                EXPECT_GT(request, 15) << "a lock that asks for no memory";
            InitTerm::setMT();
            EXPECT_TRUE(InitTerm::isMT());
        }
    }
}

// The order of the take-down.

TEST_F(InitTermTest, ExitEndsTheEngineStateFirstTheLocksNextAndTheOwnedObjectLate)
{
    InitTerm::setMT();
    Witness::Notes engine, owned;
    Context::get().engineState = new Witness(engine);
    Context::get().ownedObject = new Witness(owned);
    const std::int64_t flushes = TestAllocator::shared().flushes();
    endLibrary();
    EXPECT_EQ(engine.destroyed, 1);
    EXPECT_TRUE(engine.isInitialized);
    EXPECT_TRUE(engine.isMT);
    EXPECT_TRUE(engine.heapServes);
    EXPECT_EQ(owned.destroyed, 1);
    EXPECT_TRUE(owned.isInitialized);
    EXPECT_FALSE(owned.isMT);
    EXPECT_TRUE(owned.heapServes);
    EXPECT_EQ(owned.flushes, flushes) << "the allocators are the last to go";
}

TEST_F(InitTermTest, ExitHandlersRunBeforeTheEngineStateGoes)
{
    static Witness::Notes engine;
    static int destroyedInHandler;
    engine = {};
    destroyedInHandler = -1;
    Context::get().engineState = new Witness(engine);
    InitTerm::atExit([] { destroyedInHandler = engine.destroyed; });
    endLibrary();
    EXPECT_EQ(destroyedInHandler, 0);
    EXPECT_EQ(engine.destroyed, 1);
}

TEST_F(InitTermTest, ANestedExitEndsNothing)
{
    Witness::Notes engine;
    Context::get().engineState = new Witness(engine);
    InitTerm::init();
    InitTerm::exit();
    EXPECT_EQ(engine.destroyed, 0);
    endLibrary();
    EXPECT_EQ(engine.destroyed, 1);
}

// Exit handlers; their order and nesting are in ExitHandlerTest.cpp.

namespace {
int handlersRun;
}

TEST_F(InitTermTest, AtExitSurvivesMemoryFailure)
{
    handlersRun = 0;
    int added = 0;
    struct Batch
    {
        int *added;
    };
    test::underMemoryFailure([&] { return Batch{&added}; },
                             [](Batch &batch) {
                                 for (int count = 0; count < 20; ++count) {
                                     InitTerm::atExit([] { ++handlersRun; });
                                     ++*batch.added;
                                 }
                             },
                             [](const Batch &, bool) { EXPECT_EQ(handlersRun, 0); });
    endLibrary();
    EXPECT_EQ(handlersRun, added);
}

TEST_F(InitTermThreadsTest, ThreadsMayAddExitHandlers)
{
    handlersRun = 0;
    test::runOnThreads(4, [](int) {
        for (int count = 0; count < 100; ++count)
            InitTerm::atExit([] { ++handlersRun; });
    });
    endLibrary();
    EXPECT_EQ(handlersRun, 400);
}

TEST_F(InitTermTest, AnExitHandlerMaySwitchToMultiThreadedOperation)
{
    InitTerm::atExit([] {
        InitTerm::setMT();
        test::runOnThread([] { EXPECT_TRUE(heapServes()); });
    });
    endLibrary();
    EXPECT_FALSE(InitTerm::isMT());
}

// The rest.

TEST(InitTerm, DialogsAreEnabledUntilSilenced)
{
    EXPECT_TRUE(InitTerm::isUIEnabled());
    InitTerm::enableUI(false);
    EXPECT_FALSE(InitTerm::isUIEnabled());
    InitTerm::init();
    EXPECT_FALSE(InitTerm::isUIEnabled()) << "init changes no setting of the host";
    InitTerm::exit();
    EXPECT_FALSE(InitTerm::isUIEnabled());
    InitTerm::enableUI(true);
    EXPECT_TRUE(InitTerm::isUIEnabled());
}

TEST(InitTerm, TheVersionIs4Point5Point12)
{
    EXPECT_EQ(getVersion(), 263436);
    EXPECT_EQ(getVersion() >> 16, 4);
    EXPECT_EQ(getVersion() >> 8 & 0xFF, 5);
    EXPECT_EQ(getVersion() & 0xFF, 12);
}

TEST(InitTerm, DebugAlertDoesNothing)
{
    DebugAlert("message", "file", 7);
    DebugAlert(nullptr, nullptr, 0);
    EXPECT_FALSE(InitTerm::isInitialized());
}
