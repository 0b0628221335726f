// SPDX-License-Identifier: MIT
#include <tavrin/Thread.h>

#include <atomic>
#include <cerrno>
#include <deque>
#include <memory>
#include <type_traits>
#include <vector>

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <pthread.h>

#include "runtime/ThreadTools.h"
#include "support/LibraryTest.h"
#include "support/MemoryFailure.h"
#include "support/RunOnThreads.h"
#include "support/TestAllocator.h"

using namespace Tavrin;
using test::awaitEnd;
using test::awaitSleep;
using test::eventually;
using test::FunctionThread;
using test::TestAllocator;

static_assert(sizeof(Event) == sizeof(void *));
static_assert(!std::is_copy_constructible_v<Event> && !std::is_copy_assignable_v<Event>);

namespace {

thread_local bool systemHasNoMutex = false;

using EventTest = test::MultiThreadedLibraryTest;

// Threads that wait for an event, each once, and note in which order they pass.
class Waiters
{
public:
    explicit Waiters(Event &awaited) : event(awaited) {}
    ~Waiters()
    {
        for (const FunctionThread &thread : threads)
            awaitEnd(thread);
    }

    // Adds a thread and returns when it waits.
    void add()
    {
        const int index = static_cast<int>(threads.size());
        FunctionThread &thread = threads.emplace_back([this, index] {
            event.wait();
            order[passed++] = index;
        });
        thread.start();
        EXPECT_TRUE(awaitSleep(thread.getID()));
    }

    int count() const { return passed; }
    // True when that many pass, and no more do within a while.
    bool settleAt(int expected) const
    {
        const bool reached = eventually([&] { return passed >= expected; });
        Thread::sleep(20);
        return reached && passed == expected;
    }
    int at(int place) const { return order[place]; }

private:
    Event &event;
    std::deque<FunctionThread> threads;
    std::atomic<int> order[64] = {};
    std::atomic<int> passed = 0;
};

} // namespace

// Stands in for the system's, to fail on demand.
extern "C" int pthread_mutex_init(pthread_mutex_t *mutex,
                                  const pthread_mutexattr_t *attributes) noexcept
{
    using Function = int (*)(pthread_mutex_t *, const pthread_mutexattr_t *);
    static const auto systems = reinterpret_cast<Function>(dlsym(RTLD_NEXT, "pthread_mutex_init"));
    return systemHasNoMutex ? ENOMEM : systems(mutex, attributes);
}

TEST_F(EventTest, IsNotSignalledAtFirst)
{
    auto event = std::make_unique<Event>();
    Waiters waiters(*event);
    waiters.add();
    EXPECT_TRUE(waiters.settleAt(0));
    event->signal();
    EXPECT_TRUE(waiters.settleAt(1));
}

TEST_F(EventTest, ASignalBeforeWaitLetsExactlyOneWaiterPass)
{
    Event event;
    event.signal();
    event.wait();
    Waiters waiters(event);
    waiters.add();
    EXPECT_TRUE(waiters.settleAt(0));
    event.signal();
    EXPECT_TRUE(waiters.settleAt(1));
}

TEST_F(EventTest, SignalsThatNobodyWaitsForDoNotAddUp)
{
    Event event;
    event.signal();
    event.signal();
    event.wait();
    Waiters waiters(event);
    waiters.add();
    EXPECT_TRUE(waiters.settleAt(0));
    event.signal();
}

TEST_F(EventTest, EachSignalLetsOneWaiterPass)
{
    Event event;
    Waiters waiters(event);
    for (int count = 0; count < 5; ++count)
        waiters.add();
    event.signal();
    EXPECT_TRUE(waiters.settleAt(1));
    event.signal();
    event.signal();
    event.signal();
    EXPECT_TRUE(waiters.settleAt(4));
    event.signal();
    EXPECT_TRUE(waiters.settleAt(5));
}

TEST_F(EventTest, TheLongestWaiterPassesFirst)
{
    Event event;
    Waiters waiters(event);
    for (int count = 0; count < 4; ++count)
        waiters.add();
    for (int count = 0; count < 4; ++count) {
        event.signal();
        ASSERT_TRUE(waiters.settleAt(count + 1));
        EXPECT_EQ(waiters.at(count), count);
    }
}

TEST_F(EventTest, ASignalThatAWaiterGotCannotBeTakenByTheSignaller)
{
    Event event;
    for (int round = 0; round < 20; ++round) {
        FunctionThread partner([&] {
            event.wait();
            event.signal();
        });
        partner.start();
        ASSERT_TRUE(awaitSleep(partner.getID()));
        event.signal();
        event.wait(); // for the partner's signal, not for the one just given
        awaitEnd(partner);
    }
}

TEST_F(EventTest, DestructionWakesAWaiter)
{
    auto event = std::make_unique<Event>();
    Waiters waiters(*event);
    waiters.add();
    event.reset();
    EXPECT_TRUE(waiters.settleAt(1));
}

TEST_F(EventTest, DestructionWakesAllWaitersAndTheLastOneFreesTheRecord)
{
    const test::WithoutBlockCache cacheOff; // what is freed is overwritten at once
    const std::int64_t before = TestAllocator::shared().liveBlocks();
    {
        auto event = std::make_unique<Event>();
        Waiters waiters(*event);
        for (int count = 0; count < 8; ++count)
            waiters.add();
        event.reset();
        EXPECT_TRUE(waiters.settleAt(8));
    }
    EXPECT_EQ(TestAllocator::shared().liveBlocks(), before);
}

TEST_F(EventTest, AWaiterMayDestroyTheEventWhileItsSignalReturns)
{
    const test::WithoutBlockCache cacheOff;
    for (int round = 0; round < 500; ++round) {
        auto event = std::make_unique<Event>();
        FunctionThread signaller([at = event.get()] { at->signal(); });
        signaller.start();
        event->wait();
        event.reset();
        awaitEnd(signaller);
    }
}

TEST_F(EventTest, DestructionRacesWithManyWaitersInVain)
{
    const test::WithoutBlockCache cacheOff;
    for (int round = 0; round < 50; ++round) {
        auto event = std::make_unique<Event>();
        Event *const awaited = event.get();
        std::atomic<int> waiting = 0;
        std::deque<FunctionThread> threads;
        for (int count = 0; count < 4; ++count)
            threads
                .emplace_back([&] {
                    ++waiting;
                    awaited->wait();
                })
                .start();
        for (const FunctionThread &thread : threads)
            ASSERT_TRUE(awaitSleep(thread.getID()));
        event->signal();
        event.reset();
        for (const FunctionThread &thread : threads)
            awaitEnd(thread);
        EXPECT_EQ(waiting, 4);
    }
}

TEST_F(EventTest, WithoutAnEventOfTheSystemWaitReturnsAtOnce)
{
    const std::int64_t before = TestAllocator::shared().liveBlocks();
    {
        systemHasNoMutex = true;
        Event event;
        systemHasNoMutex = false;
        Heap::flushCache();
        EXPECT_EQ(TestAllocator::shared().liveBlocks(), before);
        event.wait();
        event.signal();
        event.wait();
    }
    Event whole;
    whole.signal();
    whole.wait();
}

TEST_F(EventTest, ACancelledWaiterLeavesTheQueue)
{
    Event event;
    struct Place
    {
        std::atomic<pthread_t> system{};
        std::atomic<bool> hasPassed = false;
    } places[3];
    std::deque<FunctionThread> threads;
    for (Place &place : places) {
        FunctionThread &thread = threads.emplace_back([&] {
            place.system = pthread_self();
            event.wait();
            place.hasPassed = true;
        });
        thread.start();
        ASSERT_TRUE(awaitSleep(thread.getID()));
    }
    for (int index : {1, 2}) { // out of the middle, then the last
        pthread_cancel(places[index].system);
        awaitEnd(threads[static_cast<std::size_t>(index)]);
    }
    event.signal();
    awaitEnd(threads[0]);
    EXPECT_TRUE(places[0].hasPassed);
    EXPECT_FALSE(places[1].hasPassed);
    EXPECT_FALSE(places[2].hasPassed);
    Waiters later(event);
    later.add();
    event.signal();
    EXPECT_TRUE(later.settleAt(1));
}

TEST_F(EventTest, ASignalIsNotLostWithAWaiterThatIsCancelled)
{
    for (int round = 0; round < 200; ++round) {
        Event event;
        std::atomic<pthread_t> system{};
        std::atomic<bool> hasPassed = false;
        FunctionThread waiter([&] {
            pthread_setcancelstate(PTHREAD_CANCEL_ENABLE, nullptr);
            system = pthread_self();
            event.wait();
            pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, nullptr);
            hasPassed = true;
        });
        waiter.start();
        ASSERT_TRUE(awaitSleep(waiter.getID()));
        if (round % 2 == 0) {
            event.signal();
            pthread_cancel(system);
        } else {
            pthread_cancel(system);
            event.signal();
        }
        awaitEnd(waiter);
        if (!hasPassed)
            event.wait();
    }
}

TEST_F(EventTest, MemoryFailureAtConstructionLeavesNothingBehind)
{
    test::underMemoryFailure(
        [] { return std::unique_ptr<Event>(); },
        [](std::unique_ptr<Event> &event) { event = std::make_unique<Event>(); },
        [](const std::unique_ptr<Event> &event, bool failed) {
            EXPECT_EQ(event == nullptr, failed);
            if (event) {
                event->signal();
                event->wait();
            }
        });
}

TEST(Event, OutsideInitAndExitItThrowsBadAllocation)
{
    EXPECT_THROW(Event(), std::bad_alloc);
}

TEST_F(EventTest, ATokenGoesRoundSixtyFourThreads)
{
    constexpr std::size_t count = 64;
    constexpr int rounds = 50;
    std::vector<std::unique_ptr<Event>> turns;
    for (std::size_t index = 0; index < count; ++index)
        turns.push_back(std::make_unique<Event>());
    long token = 0; // whoever has the turn holds it alone
    std::deque<FunctionThread> threads;
    for (std::size_t index = 0; index < count; ++index)
        threads
            .emplace_back([&, index] {
                for (int round = 0; round < rounds; ++round) {
                    turns[index]->wait();
                    ++token;
                    turns[(index + 1) % count]->signal();
                }
            })
            .start();
    turns[0]->signal();
    for (const FunctionThread &thread : threads)
        awaitEnd(thread);
    EXPECT_EQ(token, static_cast<long>(count) * rounds);
}

TEST_F(EventTest, SignalsAndWaitsOfManyThreadsMatch)
{
    // Each signaller awaits an answer, so that no two signals meet without a waiter.
    constexpr int pairs = 8, rounds = 200;
    Event asked, answered;
    std::atomic<int> answers = 0;
    test::runOnThreads(2 * pairs, [&](int index) {
        for (int round = 0; round < rounds; ++round) {
            if (index % 2 == 0 && index < 2) {
                asked.signal();
                answered.wait();
            } else if (index == 1) {
                asked.wait();
                ++answers;
                answered.signal();
            } else {
                Event own;
                own.signal();
                own.wait();
            }
        }
    });
    EXPECT_EQ(answers, rounds);
}
