// SPDX-License-Identifier: MIT
#include <tavrin/Thread.h>

#include <atomic>
#include <csignal>
#include <memory>
#include <new>
#include <stdexcept>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>
#include <pthread.h>
#include <unistd.h>

#include <tavrin/InitTerm.h>
#include <tavrin/Time.h>

#include "runtime/ThreadTools.h"
#include "support/LibraryTest.h"
#include "support/MemoryFailure.h"
#include "support/RunOnThreads.h"
#include "support/VirtualSlot.h"

using namespace Tavrin;
using test::awaitEnd;
using test::awaitSystemEnd;
using test::eventually;
using test::FunctionThread;
using test::LibrarySession;
using test::runOnThread;
using test::runToEnd;

static_assert(std::is_base_of_v<Root, Thread>);
static_assert(std::is_abstract_v<Thread>);
static_assert(!std::is_copy_constructible_v<Thread> && !std::is_copy_assignable_v<Thread>);

namespace {

using ThreadTest = test::MultiThreadedLibraryTest;

// While it lives no thread can be created: each would need a stack larger than the address space.
class NoThreadsToGive
{
public:
    NoThreadsToGive()
    {
        pthread_getattr_default_np(&before);
        pthread_attr_t absurd;
        pthread_attr_init(&absurd);
        pthread_attr_setstacksize(&absurd, std::size_t{1} << 56);
        EXPECT_EQ(pthread_setattr_default_np(&absurd), 0);
        pthread_attr_destroy(&absurd);
    }
    ~NoThreadsToGive()
    {
        EXPECT_EQ(pthread_setattr_default_np(&before), 0);
        pthread_attr_destroy(&before);
    }

private:
    pthread_attr_t before;
};

// Whether this thread's requests to the system heap fail where the library can stand that.
thread_local bool hasNoSystemMemory = false;

constexpr auto nothing = [] {};

} // namespace

// Stands in for the standard library's.
void *operator new(std::size_t size, const std::nothrow_t &) noexcept
{
    if (hasNoSystemMemory)
        return nullptr;
    try {
        return ::operator new(size);
    } catch (const std::bad_alloc &) {
        return nullptr;
    }
}

TEST_F(ThreadTest, DoesNotRunBeforeStart)
{
    std::atomic<bool> ran = false;
    FunctionThread thread([&] { ran = true; });
    Thread::sleep(20);
    EXPECT_FALSE(ran);
    EXPECT_TRUE(thread.isActive());
    EXPECT_EQ(thread.getError(), 0);
    thread.start();
    awaitEnd(thread);
    EXPECT_TRUE(ran);
}

TEST_F(ThreadTest, RunsOnAThreadOfItsOwn)
{
    pthread_t runner = pthread_self();
    runToEnd([&] { runner = pthread_self(); });
    EXPECT_FALSE(pthread_equal(runner, pthread_self()));
}

TEST_F(ThreadTest, ASecondStartDoesNothing)
{
    std::atomic<int> runs = 0;
    std::atomic<bool> mayEnd = false;
    FunctionThread thread([&] {
        ++runs;
        eventually([&] { return mayEnd.load(); });
    });
    thread.start();
    thread.start();
    ASSERT_TRUE(eventually([&] { return runs == 1; }));
    thread.start();
    mayEnd = true;
    thread.start();
    awaitEnd(thread);
    thread.start();
    Thread::sleep(10);
    EXPECT_EQ(runs, 1);
    EXPECT_FALSE(thread.isActive());
}

TEST_F(ThreadTest, AThreadMayStartItselfWhichDoesNothing)
{
    Thread *self = nullptr;
    std::atomic<int> runs = 0;
    FunctionThread thread([&] {
        ++runs;
        self->start();
    });
    self = &thread;
    thread.start();
    awaitEnd(thread);
    EXPECT_EQ(runs, 1);
}

TEST_F(ThreadTest, ItsIDIsTheCurrentIDWithinRun)
{
    unsigned int seen = 0;
    FunctionThread thread([&] { seen = Thread::getCurrentID(); });
    const unsigned int before = thread.getID();
    EXPECT_NE(before, 0u);
    thread.start();
    awaitEnd(thread);
    EXPECT_EQ(seen, before);
    EXPECT_EQ(thread.getID(), before);
}

TEST_F(ThreadTest, IDsOfLivingThreadsDiffer)
{
    FunctionThread first(nothing), second(nothing), third(nothing);
    EXPECT_NE(first.getID(), second.getID());
    EXPECT_NE(second.getID(), third.getID());
    EXPECT_NE(first.getID(), third.getID());
}

TEST_F(ThreadTest, StaysActiveUntilRunIsOver)
{
    std::atomic<bool> mayEnd = false;
    FunctionThread thread([&] { eventually([&] { return mayEnd.load(); }); });
    EXPECT_TRUE(thread.isActive());
    thread.start();
    EXPECT_TRUE(thread.isActive());
    mayEnd = true;
    EXPECT_TRUE(eventually([&] { return !thread.isActive(); }));
    EXPECT_EQ(thread.getError(), 0);
}

TEST_F(ThreadTest, DestroyedWithoutAStartItEndsWithoutARun)
{
    std::atomic<bool> ran = false;
    unsigned int id = 0;
    {
        FunctionThread thread([&] { ran = true; });
        id = thread.getID();
        EXPECT_TRUE(test::awaitSleep(id));
    }
    EXPECT_TRUE(awaitSystemEnd(id));
    EXPECT_FALSE(ran);
}

TEST_F(ThreadTest, AHeldThreadMayOutliveTheLibrary)
{
    auto thread = std::make_unique<FunctionThread>(nothing);
    const unsigned int id = thread->getID();
    thread.reset();
    endLibrary();
    EXPECT_TRUE(awaitSystemEnd(id));
}

TEST_F(ThreadTest, AConstructorThatThrowsLeavesNoThreadBehind)
{
    struct Unfinished : Thread
    {
        explicit Unfinished(unsigned int &id)
        {
            id = getID();
            throw std::runtime_error("from the constructor");
        }
        void run() override {}
    };
    unsigned int id = 0;
    EXPECT_THROW(Unfinished{id}, std::runtime_error);
    EXPECT_TRUE(awaitSystemEnd(id));
}

TEST_F(ThreadTest, AFailedCreationGivesError32AndNoID)
{
    std::atomic<bool> ran = false;
    const NoThreadsToGive none;
    FunctionThread thread([&] { ran = true; });
    EXPECT_EQ(thread.getError(), 32);
    EXPECT_EQ(thread.getID(), 0u);
    EXPECT_TRUE(thread.isActive());
    thread.start();
    Thread::sleep(10);
    EXPECT_FALSE(ran);
    EXPECT_EQ(thread.getError(), 32);
    EXPECT_TRUE(thread.isActive());
}

TEST_F(ThreadTest, ItIsAFailedCreationWhenTheSystemHeapRunsDry)
{
    hasNoSystemMemory = true;
    FunctionThread thread(nothing);
    hasNoSystemMemory = false;
    EXPECT_EQ(thread.getError(), 32);
    EXPECT_EQ(thread.getID(), 0u);
    EXPECT_TRUE(thread.isActive());
    thread.start();
}

TEST_F(ThreadTest, MemoryFailureLeavesNoThreadBehind)
{
    struct Idle : Thread
    {
        void run() override {}
    };
    std::vector<unsigned int> ids;
    test::underMemoryFailure(
        [] { return std::unique_ptr<Thread>(); },
        [](std::unique_ptr<Thread> &thread) { thread = std::make_unique<Idle>(); },
        [&](const std::unique_ptr<Thread> &thread, bool failed) {
            ASSERT_EQ(thread == nullptr, failed);
            if (failed)
                return;
            EXPECT_EQ(thread->getError(), 0);
            ids.push_back(thread->getID());
        });
    for (const unsigned int id : ids)
        EXPECT_TRUE(awaitSystemEnd(id));
}

#if defined(TAVRIN_HAS_VIRTUAL_SLOTS)
TEST_F(ThreadTest, RunFollowsTheDestructorInTheTableOfVirtualOperations)
{
    EXPECT_EQ(test::virtualSlot(&Thread::run), 2u);
}
#endif

TEST_F(ThreadTest, SleepLastsAtLeastThatLong)
{
    const std::int64_t before = Time::getHiResTimer();
    Thread::sleep(30);
    EXPECT_GE(Time::getHiResTimer() - before, 29'999); // both ends are truncated
    Thread::sleep(0);
}

TEST_F(ThreadTest, SignalsDoNotCutSleepShort)
{
    struct sigaction ignoring
    {
    }, before{};
    ignoring.sa_handler = [](int) {};
    sigaction(SIGUSR1, &ignoring, &before);
    std::atomic<bool> isReady = false;
    std::int64_t slept = 0;
    pthread_t runner{};
    FunctionThread thread([&] {
        runner = pthread_self();
        isReady = true;
        const std::int64_t start = Time::getHiResTimer();
        Thread::sleep(100);
        slept = Time::getHiResTimer() - start;
    });
    thread.start();
    ASSERT_TRUE(eventually([&] { return isReady.load(); }));
    for (int count = 0; count < 5; ++count) {
        pthread_kill(runner, SIGUSR1);
        Thread::sleep(10);
    }
    awaitEnd(thread);
    sigaction(SIGUSR1, &before, nullptr);
    EXPECT_GE(slept, 99'999);
}

// The main thread.

TEST(MainThread, BeforeTheFirstInitThereIsNone)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe"); // in a new process, where no test has run
    EXPECT_EXIT(_exit(Thread::getCurrentID() == 0 ? 1 : 0), testing::ExitedWithCode(0), "");
}

TEST_F(ThreadTest, TheCurrentIDIs0OnTheThreadThatCalledInitAndNotOnOthers)
{
    EXPECT_EQ(Thread::getCurrentID(), 0u);
    runToEnd([] { EXPECT_NE(Thread::getCurrentID(), 0u); });
    runOnThread([] { EXPECT_NE(Thread::getCurrentID(), 0u); });
}

TEST_F(ThreadTest, ANestedInitOnAnotherThreadChangesNothing)
{
    runOnThread([] {
        InitTerm::init();
        EXPECT_NE(Thread::getCurrentID(), 0u);
    });
    EXPECT_EQ(Thread::getCurrentID(), 0u);
    InitTerm::exit();
}

TEST(MainThread, ExitDoesNotChangeIt)
{
    {
        LibrarySession session;
    }
    EXPECT_EQ(Thread::getCurrentID(), 0u);
    runOnThread([] { EXPECT_NE(Thread::getCurrentID(), 0u); });
}

TEST(MainThread, IsTheOneThatCallsTheNextInit)
{
    {
        LibrarySession session;
    }
    runOnThread([] {
        LibrarySession session;
        EXPECT_EQ(Thread::getCurrentID(), 0u);
        runOnThread([] { EXPECT_NE(Thread::getCurrentID(), 0u); });
    });
    EXPECT_NE(Thread::getCurrentID(), 0u);
    LibrarySession session;
    EXPECT_EQ(Thread::getCurrentID(), 0u);
}

TEST(MainThread, NobodyInheritsThePlaceOfOneThatHasEnded)
{
    runOnThread([] {
        InitTerm::init();
        InitTerm::setMT();
        EXPECT_EQ(Thread::getCurrentID(), 0u);
    });
    EXPECT_NE(Thread::getCurrentID(), 0u);
    for (int count = 0; count < 10; ++count)
        runToEnd([] { EXPECT_NE(Thread::getCurrentID(), 0u); });
    InitTerm::exit();
}

// The stopwatch.

TEST_F(ThreadTest, TheStopwatchRestartsAtEachReading)
{
    Thread::sleep(20);
    EXPECT_GE(Thread::getHiResTimer(), 20'000 - 1);
    const std::int64_t before = Time::getHiResTimer();
    (void)Thread::getHiResTimer();
    const std::int64_t second = Thread::getHiResTimer();
    EXPECT_GE(second, 0);
    EXPECT_LE(second, Time::getHiResTimer() - before);
}

TEST(Stopwatch, StartsAtInitOnTheMainThread)
{
    {
        LibrarySession session; // the clock is the counter from here on
    }
    const std::int64_t before = Time::getHiResTimer();
    InitTerm::init();
    const std::int64_t between = Time::getHiResTimer();
    Thread::sleep(5);
    const std::int64_t now = Time::getHiResTimer();
    const std::int64_t reading = Thread::getHiResTimer();
    EXPECT_GE(reading, now - between);
    EXPECT_LE(reading, Time::getHiResTimer() - before);
    InitTerm::exit();
}

TEST_F(ThreadTest, TheFirstReadingOnAnotherThreadIsTheClock)
{
    std::int64_t before = 0, reading = 0, after = 0, second = 0;
    runToEnd([&] {
        before = Time::getHiResTimer();
        reading = Thread::getHiResTimer();
        after = Time::getHiResTimer();
        second = Thread::getHiResTimer();
    });
    EXPECT_GE(reading, before);
    EXPECT_LE(reading, after);
    EXPECT_LT(second, before);
}

TEST_F(ThreadTest, ConstructionRestartsTheStopwatchOfItsCaller)
{
    Thread::sleep(50);
    const std::int64_t before = Time::getHiResTimer();
    FunctionThread thread(nothing);
    const std::int64_t reading = Thread::getHiResTimer();
    EXPECT_GE(reading, 0);
    EXPECT_LE(reading, Time::getHiResTimer() - before);
}

TEST_F(ThreadTest, AFailedConstructionDoesNotRestartTheStopwatch)
{
    (void)Thread::getHiResTimer();
    Thread::sleep(20);
    const NoThreadsToGive none;
    FunctionThread thread(nothing);
    EXPECT_GE(Thread::getHiResTimer(), 19'999);
}
