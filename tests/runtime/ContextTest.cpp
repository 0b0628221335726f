// SPDX-License-Identifier: MIT
#include <tavrin/Context.h>

#include <cstdint>
#include <cstdlib>
#include <functional>
#include <semaphore>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <pthread.h>

#include <tavrin/Heap.h>
#include <tavrin/InitTerm.h>

#include "support/Address.h"
#include "support/LibraryTest.h"
#include "support/RunOnThreads.h"
#include "support/TestAllocator.h"

using namespace Tavrin;
using test::LibrarySession;
using test::TestAllocator;

namespace {

static_assert(sizeof(Globals) == 2 * sizeof(void *));
static_assert(std::is_trivially_copyable_v<Globals>);
static_assert(!std::is_base_of_v<Root, Context> && !std::is_polymorphic_v<Context>);
static_assert(!std::is_constructible_v<Context> && !std::is_destructible_v<Context>);
static_assert(!std::is_copy_constructible_v<Context> && !std::is_copy_assignable_v<Context>);

std::int64_t liveBlocks()
{
    return TestAllocator::shared().liveBlocks();
}

// Uses Heap as everything does, and leaves blocks in the cache.
void useHeap()
{
    void *blocks[10];
    for (void *&block : blocks)
        block = Heap::operator new(40);
    for (void *block : blocks)
        Heap::operator delete(block);
}

// Runs a function when it is destroyed.
struct OnDestruction : Root
{
    explicit OnDestruction(std::function<void()> toRun) : run(std::move(toRun)) {}
    ~OnDestruction() override { run(); }

    std::function<void()> run;
};

// A thread that does its work in steps, when it is told to, and waits in between.
class SteppedThread
{
public:
    SteppedThread()
        : thread([this] {
              for (;;) {
                  begin.acquire();
                  if (!step)
                      return;
                  step();
                  done.release();
              }
          })
    {}
    ~SteppedThread() { end(); }

    void run(std::function<void()> work)
    {
        step = std::move(work);
        begin.release();
        done.acquire();
    }
    void end()
    {
        if (!thread.joinable())
            return;
        step = nullptr;
        begin.release();
        thread.join();
    }

private:
    std::function<void()> step;
    std::binary_semaphore begin{0}, done{0};
    std::thread thread;
};

class ContextTest : public test::LibraryTest
{};

class ContextThreadsTest : public test::MultiThreadedLibraryTest
{};

} // namespace

// Finding it.

TEST_F(ContextTest, AThreadFindsTheSameContextEachTime)
{
    Context &context = Context::get();
    useHeap();
    EXPECT_EQ(&Context::get(), &context);
}

TEST_F(ContextTest, SetMTKeepsTheContextOfItsThread)
{
    Context &context = Context::get();
    Heap::setCacheSize(4711);
    InitTerm::setMT();
    EXPECT_EQ(&Context::get(), &context);
    EXPECT_EQ(Heap::getCacheSize(), 4711);
    EXPECT_EQ(context.locks, Globals::get()->locks);
}

TEST_F(ContextTest, AnotherThreadSharesTheContextBeforeSetMT)
{
    Context *context = &Context::get();
    test::runOnThread([&] { EXPECT_EQ(&Context::get(), context); });
    EXPECT_EQ(&Context::get(), context) << "the end of that thread took the context along";
    useHeap();
}

TEST_F(ContextThreadsTest, EachThreadHasItsOwn)
{
    Context *contexts[4] = {};
    std::binary_semaphore allMade{0};
    test::runOnThreads(4, [&](int index) {
        contexts[index] = &Context::get();
        useHeap();
        EXPECT_EQ(&Context::get(), contexts[index]);
    });
    SteppedThread first, second;
    Context *own = &Context::get(), *ofFirst = nullptr, *ofSecond = nullptr;
    first.run([&] { ofFirst = &Context::get(); });
    second.run([&] { ofSecond = &Context::get(); });
    EXPECT_NE(ofFirst, own);
    EXPECT_NE(ofSecond, own);
    EXPECT_NE(ofFirst, ofSecond);
    first.run([&] { EXPECT_EQ(&Context::get(), ofFirst); });
}

TEST_F(ContextThreadsTest, AFreshContextIsEmptyButForTheLocks)
{
    test::runOnThread([] {
        const Context &context = Context::get();
        EXPECT_EQ(context.encoder, nullptr);
        EXPECT_EQ(context.localizer, nullptr);
        EXPECT_EQ(context.parentWindow, nullptr);
        EXPECT_EQ(context.engineState, nullptr);
        EXPECT_EQ(context.locks, Globals::get()->locks);
        EXPECT_EQ(context.ownedObject, nullptr);
        EXPECT_EQ(context.dialogWatch, nullptr);
        EXPECT_EQ(Heap::getCacheSize(), 102400);
    });
}

TEST(ContextOutsideInit, IsMadeOnDemandAndServesTheInitThatFollows)
{
    Context &early = Context::get();
    int marker = 0;
    early.parentWindow = &marker;
    LibrarySession session;
    EXPECT_EQ(&Context::get(), &early);
    EXPECT_EQ(Context::get().parentWindow, &marker);
    useHeap();
}

// Globals.

TEST_F(ContextTest, GlobalsStandAtOneAddress)
{
    Globals *globals = Globals::get();
    InitTerm::setMT();
    EXPECT_EQ(Globals::get(), globals);
}

TEST_F(ContextTest, GlobalsAreCopiedMemberByMember)
{
    InitTerm::setMT();
    const Globals copy = *Globals::get();
    EXPECT_EQ(copy.locks, Globals::get()->locks);
    EXPECT_EQ(copy.context, nullptr);
    Globals assigned;
    EXPECT_EQ(assigned.locks, nullptr);
    EXPECT_EQ(assigned.context, nullptr);
    assigned = copy;
    EXPECT_EQ(assigned.locks, copy.locks);
}

TEST_F(ContextThreadsTest, TheLibraryTakesTheContextThatAHostFixed)
{
    SteppedThread other;
    Context *ofOther = nullptr;
    other.run([&] { ofOther = &Context::get(); });
    Globals::get()->context = ofOther;
    Heap::setCacheSize(4711);
    EXPECT_EQ(Heap::getCacheSize(), 4711);
    Globals::get()->context = nullptr;
    EXPECT_EQ(Heap::getCacheSize(), 102400);
    other.run([] { EXPECT_EQ(Heap::getCacheSize(), 4711); });
}

TEST_F(ContextThreadsTest, GetIgnoresTheContextThatAHostFixed)
{
    Context *own = &Context::get();
    SteppedThread other;
    Context *ofOther = nullptr;
    other.run([&] { ofOther = &Context::get(); });
    Globals::get()->context = ofOther;
    EXPECT_EQ(&Context::get(), own);
    Globals::get()->context = nullptr;
}

TEST_F(ContextTest, TheLibraryNeverWritesTheFixedContext)
{
    EXPECT_EQ(Globals::get()->context, nullptr);
    InitTerm::setMT();
    test::runOnThread(useHeap);
    EXPECT_EQ(Globals::get()->context, nullptr);
    endLibrary();
    EXPECT_EQ(Globals::get()->context, nullptr);
}

// The end of a thread.

TEST_F(ContextThreadsTest, AThreadThatEndsDeletesItsEngineStateThenItsCacheThenItsOwnedObject)
{
    std::vector<int> order;
    const std::int64_t live = liveBlocks();
    test::runOnThread([&] {
        Context *context = &Context::get();
        useHeap();
        context->engineState = new OnDestruction([&order, context] {
            order.push_back(1);
            EXPECT_EQ(&Context::get(), context);
            EXPECT_EQ(context->engineState, nullptr);
            EXPECT_NE(context->ownedObject, nullptr);
            EXPECT_EQ(Heap::getCacheSize(), 102400);
            useHeap();
        });
        context->ownedObject = new OnDestruction([&order, context] {
            order.push_back(2);
            EXPECT_EQ(&Context::get(), context);
            EXPECT_EQ(Heap::getCacheSize(), 0);
            const std::int64_t frees = TestAllocator::shared().frees();
            useHeap();
            EXPECT_EQ(TestAllocator::shared().frees(), frees + 10) << "blocks went to the cache";
        });
    });
    EXPECT_EQ(order, (std::vector{1, 2}));
    EXPECT_EQ(liveBlocks(), live);
}

TEST_F(ContextThreadsTest, TheEndOfAThreadTakesNothingFromOthers)
{
    bool engineGone = false;
    Context::get().engineState = new OnDestruction([&] { engineGone = true; });
    void *block = Heap::operator new(40);
    const std::uintptr_t place = test::addressOf(block);
    Heap::operator delete(block);
    test::runOnThreads(4, [](int) { useHeap(); });
    EXPECT_FALSE(engineGone);
    block = Heap::operator new(40);
    EXPECT_EQ(test::addressOf(block), place);
    Heap::operator delete(block);
    endLibrary();
    EXPECT_TRUE(engineGone);
}

TEST_F(ContextThreadsTest, AThreadThatNeverUsedTheLibraryEndsWithoutIt)
{
    const std::int64_t allocations = TestAllocator::shared().allocations();
    test::runOnThreads(4, [](int) {});
    EXPECT_EQ(TestAllocator::shared().allocations(), allocations);
}

TEST_F(ContextThreadsTest, AnOwnedObjectMayGiveTheEndingThreadACacheAgain)
{
    const std::int64_t live = liveBlocks();
    test::runOnThread([] {
        Context::get().ownedObject = new OnDestruction([] {
            Heap::setCacheSize(102400);
            useHeap();
        });
    });
    EXPECT_EQ(liveBlocks(), live);
}

TEST_F(ContextThreadsTest, AnEngineStateMayLeaveAnotherBehind)
{
    int destroyed = 0;
    test::runOnThread([&] {
        Context::get().engineState = new OnDestruction([&] {
            ++destroyed;
            Context::get().ownedObject = new OnDestruction([&] { ++destroyed; });
        });
    });
    EXPECT_EQ(destroyed, 2);
}

TEST_F(ContextThreadsTest, ThreadLocalObjectsMayUseTheLibraryAfterTheThreadsFunction)
{
    struct UsesHeap
    {
        bool used = false;
        ~UsesHeap()
        {
            if (used)
                useHeap();
        }
    };
    const std::int64_t live = liveBlocks();
    // Made before the context, and so destroyed after whatever the context left.
    test::runOnThread([] {
        static thread_local UsesHeap early;
        early.used = true;
        useHeap();
    });
    EXPECT_EQ(liveBlocks(), live);
    // The only use of the library is at the end.
    test::runOnThread([] {
        static thread_local UsesHeap only;
        only.used = true;
    });
    EXPECT_EQ(liveBlocks(), live);
}

// Destructors of thread-specific data run in no useful order: the context may be gone already, and
// a new one has to come and go.
TEST(ContextThreadEnd, ThreadSpecificDataOfTheHostMayUseTheLibraryInItsDestructor)
{
    static int runs;
    static bool cacheIsWhole;
    const auto destructor = [](void *) {
        ++runs;
        cacheIsWhole = cacheIsWhole && Heap::getCacheSize() == 102400;
        useHeap();
    };
    runs = 0;
    cacheIsWhole = true;
    pthread_key_t before, after;
    ASSERT_EQ(pthread_key_create(&before, destructor), 0);
    {
        LibrarySession session(LibrarySession::Mode::multiThreaded);
        ASSERT_EQ(pthread_key_create(&after, destructor), 0);
        const std::int64_t live = liveBlocks();
        test::runOnThread([&] {
            useHeap();
            pthread_setspecific(before, &runs);
            pthread_setspecific(after, &runs);
        });
        EXPECT_EQ(runs, 2);
        EXPECT_TRUE(cacheIsWhole);
        EXPECT_EQ(liveBlocks(), live) << "a context that came late kept its cache";
        pthread_key_delete(after);
    }
    pthread_key_delete(before);
}

// A host may have taken every slot of the system; the library then hears of no thread's end.
TEST(ContextThreadEnd, WithoutASystemSlotExitBringsBackWhatThreadsHeld)
{
    std::vector<pthread_key_t> keys;
    for (pthread_key_t key; pthread_key_create(&key, nullptr) == 0;)
        keys.push_back(key);
    {
        LibrarySession session(LibrarySession::Mode::multiThreaded);
        const std::int64_t live = liveBlocks();
        test::runOnThreads(2, [](int) { useHeap(); });
        EXPECT_EQ(liveBlocks(), live + 20);
    }
    for (const pthread_key_t key : keys)
        pthread_key_delete(key);
}

// Threads that outlive the library.

TEST(ContextGenerations, ExitBringsBackWhatLivingThreadsHold)
{
    SteppedThread thread;
    {
        LibrarySession session(LibrarySession::Mode::multiThreaded);
        thread.run(useHeap);
    }
    thread.run([] { EXPECT_THROW((void)Heap::operator new(1), std::bad_alloc); });
}

TEST(ContextGenerations, AThreadThatLivesThroughExitStartsAfreshAfterTheNextInit)
{
    SteppedThread thread;
    {
        LibrarySession session(LibrarySession::Mode::multiThreaded);
        thread.run([] {
            useHeap();
            Heap::setCacheSize(4711);
            Context::get().parentWindow = &Context::get();
        });
    }
    {
        LibrarySession session(LibrarySession::Mode::multiThreaded);
        thread.run([] {
            EXPECT_EQ(Heap::getCacheSize(), 102400);
            EXPECT_EQ(Context::get().parentWindow, nullptr);
            EXPECT_EQ(Context::get().locks, Globals::get()->locks);
            useHeap();
        });
        const std::int64_t held = liveBlocks();
        thread.end();
        EXPECT_EQ(liveBlocks(), held - 10) << "its end was not noticed";
    }
}

TEST(ContextGenerations, AThreadOfAnEarlierRunEndsWithoutHarm)
{
    SteppedThread whileUp, whileDown;
    {
        LibrarySession session(LibrarySession::Mode::multiThreaded);
        whileUp.run(useHeap);
        whileDown.run(useHeap);
    }
    whileDown.end();
    LibrarySession session(LibrarySession::Mode::multiThreaded);
    const std::int64_t live = liveBlocks();
    whileUp.end();
    EXPECT_EQ(liveBlocks(), live);
    useHeap();
}

TEST(ContextGenerations, AThreadOfAnEarlierRunSharesTheContextOfASingleThreadedOne)
{
    SteppedThread thread;
    {
        LibrarySession session(LibrarySession::Mode::multiThreaded);
        thread.run(useHeap);
    }
    LibrarySession session;
    Context *context = &Context::get();
    thread.run([&] {
        EXPECT_EQ(&Context::get(), context);
        useHeap();
    });
    thread.end();
    EXPECT_EQ(&Context::get(), context);
    useHeap();
}

TEST(ContextGenerations, ManyRunsLeaveALongLivedThreadSound)
{
    SteppedThread thread;
    for (int run = 0; run < 50; ++run) {
        LibrarySession session(LibrarySession::Mode::multiThreaded);
        thread.run(useHeap);
    }
}

TEST(ContextGenerations, ExitMayRunOnAnotherThreadThanInit)
{
    std::int64_t live = liveBlocks();
    InitTerm::init();
    Allocator::set(&TestAllocator::shared());
    InitTerm::setMT();
    useHeap();
    bool engineGone = false;
    test::runOnThread([&] {
        useHeap();
        Context::get().engineState = new OnDestruction([&] { engineGone = true; });
        InitTerm::exit();
        EXPECT_FALSE(InitTerm::isInitialized());
    });
    EXPECT_TRUE(engineGone);
    EXPECT_EQ(liveBlocks(), live);
    LibrarySession session;
    useHeap();
}

TEST(ContextGenerations, ExitLeavesTheObjectsOfLivingThreadsToTheirOwners)
{
    static bool destroyed;
    destroyed = false;
    struct Engine : Root
    {
        ~Engine() override { destroyed = true; }
    };
    Engine engine, owned;
    SteppedThread thread;
    {
        LibrarySession session(LibrarySession::Mode::multiThreaded);
        thread.run([&] {
            Context::get().engineState = &engine;
            Context::get().ownedObject = &owned;
        });
    }
    EXPECT_FALSE(destroyed);
    thread.end();
    EXPECT_FALSE(destroyed);
}
