// SPDX-License-Identifier: MIT
#include <tavrin/Thread.h>

#include <atomic>
#include <fstream>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <pthread.h>
#include <unistd.h>

#include <tavrin/Context.h>
#include <tavrin/InitTerm.h>
#include <tavrin/Time.h>

#include "runtime/ThreadTools.h"
#include "support/LibraryTest.h"
#include "support/TestAllocator.h"

using namespace Tavrin;
using test::awaitEnd;
using test::eventually;
using test::FunctionThread;
using test::LibrarySession;
using test::runToEnd;
using test::TestAllocator;

namespace {

using ThreadEnd = test::MultiThreadedLibraryTest;
using SingleThreadedThreadEnd = test::LibraryTest;

// Sets a flag when it goes out of scope, whatever the reason.
struct Witness
{
    std::atomic<bool> &left;
    ~Witness() { left = true; }
};

} // namespace

TEST_F(ThreadEnd, SwallowsWhatRunThrows)
{
    std::atomic<int> runs = 0;
    runToEnd([&] {
        ++runs;
        throw std::runtime_error("from run");
    });
    runToEnd([&] {
        ++runs;
        throw 1;
    });
    runToEnd([&] {
        ++runs;
        throw std::bad_alloc();
    });
    EXPECT_EQ(runs, 3);
}

TEST_F(ThreadEnd, AThreadThatLeavesByPthreadExitEndsLikeAnother)
{
    std::atomic<bool> unwound = false;
    runToEnd([&] {
        Witness witness{unwound};
        Heap::operator delete(Heap::operator new(40));
        pthread_exit(nullptr);
    });
    EXPECT_TRUE(unwound);
}

TEST_F(ThreadEnd, ACancelledThreadEndsLikeAnother)
{
    std::atomic<bool> unwound = false, isReady = false;
    pthread_t runner{};
    FunctionThread thread([&] {
        Witness witness{unwound};
        const test::StackOfThread stack; // before the sanitizer looks at it, to go on unwinding
        Heap::operator delete(Heap::operator new(40));
        runner = pthread_self();
        isReady = true;
        for (;;)
            Thread::sleep(1000);
    });
    thread.start();
    ASSERT_TRUE(eventually([&] { return isReady.load(); }));
    pthread_cancel(runner);
    awaitEnd(thread);
    EXPECT_TRUE(unwound);
}

TEST_F(ThreadEnd, ThreadLocalObjectsAreGoneWhenItIsNoLongerActive)
{
    struct Slow
    {
        void *block = Heap::operator new(40);
        std::atomic<bool> *left = nullptr;

        ~Slow()
        {
            Thread::sleep(20);
            Heap::operator delete(block);
            *left = true;
        }
    };
    const std::int64_t before = TestAllocator::shared().liveBlocks();
    std::atomic<bool> returned = false, exited = false;
    runToEnd([&] {
        thread_local Slow slow;
        slow.left = &returned;
    });
    EXPECT_TRUE(returned);
    runToEnd([&] {
        thread_local Slow slow;
        slow.left = &exited;
        pthread_exit(nullptr);
    });
    EXPECT_TRUE(exited);
    EXPECT_EQ(TestAllocator::shared().liveBlocks(), before);
}

TEST_F(ThreadEnd, OwnedObjectsOfItsContextAreGoneWhenItIsNoLongerActive)
{
    struct Owned : Root
    {
        explicit Owned(std::atomic<int> &counter) : gone(counter) {}
        ~Owned() override
        {
            Heap::operator delete(Heap::operator new(40));
            ++gone;
        }
        std::atomic<int> &gone;
    };
    std::atomic<int> gone = 0;
    const std::int64_t before = TestAllocator::shared().liveBlocks();
    runToEnd([&] {
        Context::get().engineState = new Owned(gone);
        Context::get().ownedObject = new Owned(gone);
    });
    EXPECT_EQ(gone, 2);
    EXPECT_EQ(TestAllocator::shared().liveBlocks(), before);
}

TEST(ThreadEndAndExit, ItsCachedBlocksAreBackWhenItIsNoLongerActive)
{
    // A thread-specific value whose destructor keeps the thread from its end. It is older than the
    // library's own, so that the library's notice of the end comes after it.
    pthread_key_t delay{};
    ASSERT_EQ(pthread_key_create(&delay, [](void *) { Thread::sleep(30); }), 0);
    {
        LibrarySession session(LibrarySession::Mode::multiThreaded);
        const std::int64_t blocks = TestAllocator::shared().liveBlocks();
        FunctionThread thread([&] {
            pthread_setspecific(delay, &delay);
            Heap::operator delete(Heap::operator new(40));
            EXPECT_GT(TestAllocator::shared().liveBlocks(), blocks);
        });
        thread.start();
        awaitEnd(thread);
        EXPECT_EQ(TestAllocator::shared().liveBlocks(), blocks);
        EXPECT_TRUE(test::awaitSystemEnd(thread.getID()));
    }
    pthread_key_delete(delay);
}

TEST(ThreadEndAndExit, TheLibraryMayGoDownAtOnce)
{
    for (int count = 0; count < 200; ++count) {
        LibrarySession session(LibrarySession::Mode::multiThreaded);
        FunctionThread thread([] { Heap::operator delete(Heap::operator new(40)); });
        thread.start();
        awaitEnd(thread);
    }
}

TEST_F(SingleThreadedThreadEnd, TheContextOfTheProcessSurvivesAThread)
{
    Context *const before = &Context::get();
    Root *const state = before->engineState = new Root;
    runToEnd([] {});
    EXPECT_EQ(&Context::get(), before);
    EXPECT_EQ(Context::get().engineState, state);
}

// Many threads.

namespace {

// The bytes of this process that stand in memory.
std::int64_t residentBytes()
{
    std::ifstream file("/proc/self/statm");
    std::int64_t size = 0, resident = 0;
    file >> size >> resident;
    return resident * sysconf(_SC_PAGESIZE);
}

void runShortLivedThreads(int count)
{
    constexpr int atOnce = 8;
    for (int done = 0; done < count; done += atOnce) {
        std::vector<std::unique_ptr<FunctionThread>> threads;
        for (int index = 0; index < atOnce; ++index) {
            threads.push_back(std::make_unique<FunctionThread>([] {
                for (std::size_t size = 16; size <= 2048; size *= 2)
                    Heap::operator delete(Heap::operator new(size));
                (void)Thread::getHiResTimer();
                (void)Time::isDST();
            }));
            threads.back()->start();
        }
        for (const auto &thread : threads)
            awaitEnd(*thread);
    }
}

} // namespace

TEST_F(ThreadEnd, ManyShortLivedThreadsLeaveNothingInMemory)
{
    runShortLivedThreads(2000);
    const std::int64_t blocks = TestAllocator::shared().liveBlocks();
    const std::int64_t before = residentBytes();
    runShortLivedThreads(test::isSanitized ? 1000 : 10'000);
    const std::int64_t growth = residentBytes() - before;
    RecordProperty("growth", std::to_string(growth));
    EXPECT_EQ(TestAllocator::shared().liveBlocks(), blocks);
    if (!test::isSanitized) { // the sanitizers keep records of threads that are gone
        EXPECT_LT(growth, 1'000'000);
    }
}

TEST_F(ThreadEnd, SixtyFourThreadsUseTheLibraryAtOnce)
{
    constexpr int count = 64;
    std::atomic<int> done = 0;
    std::vector<std::unique_ptr<FunctionThread>> threads;
    for (int index = 0; index < count; ++index)
        threads.push_back(std::make_unique<FunctionThread>([&] {
            for (int round = 0; round < 20; ++round) {
                runToEnd([] { Heap::operator delete(Heap::operator new(40)); });
                Event event;
                event.signal();
                event.wait();
                (void)Time::getTicks();
                (void)Time::isDST();
            }
            ++done;
        }));
    for (const auto &thread : threads)
        thread->start();
    for (const auto &thread : threads)
        awaitEnd(*thread);
    EXPECT_EQ(done, count);
}
