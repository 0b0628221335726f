// SPDX-License-Identifier: MIT
#include <tavrin/Lock.h>

#include <atomic>
#include <chrono>
#include <concepts>
#include <cstdint>
#include <limits>
#include <new>
#include <optional>
#include <semaphore>
#include <stdexcept>
#include <string>
#include <thread>
#include <type_traits>
#include <utility>

#include <gtest/gtest.h>

#include <tavrin/Context.h>
#include <tavrin/Heap.h>
#include <tavrin/InitTerm.h>

#include "support/LibraryTest.h"
#include "support/MemoryFailure.h"
#include "support/RunOnThreads.h"
#include "support/TestAllocator.h"

using namespace Tavrin;
using test::TestAllocator;
using test::underMemoryFailure;

namespace {

static_assert(!std::is_polymorphic_v<Lock> && sizeof(Lock) == sizeof(void *));
static_assert(sizeof(CriticalSection) == sizeof(void *) && sizeof(LockRef) == sizeof(void *));
static_assert(!std::is_polymorphic_v<Lockable> && sizeof(Lockable) == sizeof(void *));
// A class with several bases must find one operator new only.
static_assert(!std::is_base_of_v<Heap, Lockable>);

std::int64_t allocations()
{
    return TestAllocator::shared().allocations();
}

// A thread that does what may have to wait.
class Taker
{
public:
    template <class Take>
    requires std::invocable<Take>
    explicit Taker(Take take)
        : thread([this, take] {
              running.release();
              take();
              taken = true;
          })
    {
        running.acquire();
    }
    explicit Taker(Lock &lock)
        : Taker([&lock] {
              lock.acquire();
              lock.release();
          })
    {}
    explicit Taker(const Lockable &lockable)
        : Taker([&lockable] {
              lockable.lock();
              lockable.unlock();
          })
    {}
    ~Taker() { join(); }
    void join()
    {
        if (thread.joinable())
            thread.join();
    }

    bool hasTaken() const { return taken; }
    // False if the thread waits, as far as a short while can tell.
    bool takesSoon() const
    {
        for (int wait = 0; wait < 20 && !taken; ++wait)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        return taken;
    }

private:
    std::binary_semaphore running{0};
    std::atomic<bool> taken{false};
    std::thread thread;
};

class LockTest : public test::LibraryTest
{};

class LockThreadsTest : public test::MultiThreadedLibraryTest
{};

class LockableTest : public test::LibraryTest
{};

class LockableThreadsTest : public test::MultiThreadedLibraryTest
{};

class AtomicTest : public test::LibraryTest
{};

// Runs in both modes.
void expectCountingUpAndDown()
{
    struct Row
    {
        const char *name;
        int lower, upper;
    };
    constexpr int most = std::numeric_limits<int>::max();
    constexpr int least = std::numeric_limits<int>::min();
    constexpr Row rows[] = {
        {"the middle", 41, 42},   {"from zero", 0, 1},         {"to zero", -1, 0},
        {"below zero", -42, -41}, {"the top", most - 1, most}, {"the bottom", least, least + 1},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.name);
        int count = row.lower;
        EXPECT_EQ(TvAtomicInc(&count), row.upper);
        EXPECT_EQ(count, row.upper);
        EXPECT_EQ(TvAtomicDec(&count), row.lower);
        EXPECT_EQ(count, row.lower);
        EXPECT_EQ(Lock::increment(count), row.upper);
        EXPECT_EQ(count, row.upper);
        EXPECT_EQ(Lock::decrement(count), row.lower);
        EXPECT_EQ(count, row.lower);
    }
}

} // namespace

// The counter primitives.

TEST(Atomic, CountsUpAndDownWithoutTheLibrary)
{
    expectCountingUpAndDown();
}

TEST_F(AtomicTest, CountsUpAndDownInSingleThreadedOperation)
{
    ASSERT_FALSE(InitTerm::isMT());
    expectCountingUpAndDown();
}

TEST_F(AtomicTest, CountsUpAndDownInMultiThreadedOperation)
{
    InitTerm::setMT();
    expectCountingUpAndDown();
}

TEST_F(AtomicTest, LosesNoCountAmongThreads)
{
    InitTerm::setMT();
    int viaFunction = 0, viaLock = 1000000;
    test::runOnThreads(4, [&](int) {
        for (int round = 0; round < 50000; ++round) {
            TvAtomicInc(&viaFunction);
            Lock::decrement(viaLock);
        }
    });
    EXPECT_EQ(viaFunction, 200000);
    EXPECT_EQ(viaLock, 800000);
}

TEST_F(AtomicTest, EveryNewValueIsReturnedOnce)
{
    InitTerm::setMT();
    constexpr int rounds = 20000;
    int count = 0;
    std::int64_t sums[4] = {};
    test::runOnThreads(4, [&](int index) {
        for (int round = 0; round < rounds; ++round)
            sums[index] += TvAtomicInc(&count);
    });
    constexpr std::int64_t last = 4 * rounds;
    EXPECT_EQ(sums[0] + sums[1] + sums[2] + sums[3], last * (last + 1) / 2);
}

// Lock.

TEST(LockOutsideInit, ThrowsAtConstruction)
{
    EXPECT_THROW(Lock lock, std::bad_alloc);
}

TEST_F(LockTest, MayBeTakenAgainByItsHolder)
{
    Lock lock;
    lock.acquire();
    lock.acquire();
    lock.acquire();
    lock.release();
    lock.release();
    lock.release();
    lock.acquire();
    lock.release();
}

TEST_F(LockTest, IsRealInSingleThreadedOperationToo)
{
    Lock lock;
    lock.acquire();
    Taker taker(lock);
    EXPECT_FALSE(taker.takesSoon());
    lock.release();
}

TEST_F(LockTest, ConstructionSurvivesMemoryFailure)
{
    struct Holder
    {
        Lock *lock = nullptr;
        ~Holder() { delete lock; }
    };
    underMemoryFailure(
        [] { return Holder(); }, [](Holder &holder) { holder.lock = new Lock; },
        [](const Holder &holder, bool failed) { EXPECT_EQ(holder.lock == nullptr, failed); });
}

TEST_F(LockThreadsTest, ExcludesOtherThreads)
{
    Lock lock;
    std::int64_t count = 0;
    test::runOnThreads(4, [&](int) {
        for (int round = 0; round < 10000; ++round) {
            lock.acquire();
            count = count + 1;
            lock.release();
        }
    });
    EXPECT_EQ(count, 40000);
}

TEST_F(LockThreadsTest, IsFreeWhenReleasedAsOftenAsTaken)
{
    Lock lock;
    lock.acquire();
    lock.acquire();
    Taker taker(lock);
    EXPECT_FALSE(taker.takesSoon());
    lock.release();
    EXPECT_FALSE(taker.takesSoon());
    lock.release();
    taker.join();
    EXPECT_TRUE(taker.hasTaken());
}

// The scoped guards.

TEST(ScopedLock, DoesNothingWithNull)
{
    const CriticalSection section(nullptr);
    const LockRef lockRef(nullptr);
}

template <class Guard>
class ScopedLockTest : public test::MultiThreadedLibraryTest
{};

class GuardNames
{
public:
    template <class Guard>
    static std::string GetName(int)
    {
        return std::is_same_v<Guard, LockRef> ? "LockRef" : "CriticalSection";
    }
};

using Guards = testing::Types<CriticalSection, LockRef>;
TYPED_TEST_SUITE(ScopedLockTest, Guards, GuardNames);

TYPED_TEST(ScopedLockTest, HoldsTheLockFromConstructionToDestruction)
{
    Lock lock;
    std::optional<Taker> taker;
    {
        const TypeParam guard(&lock);
        const TypeParam again(&lock);
        taker.emplace(lock);
        EXPECT_FALSE(taker->takesSoon());
    }
    taker->join();
    EXPECT_TRUE(taker->hasTaken());
}

TYPED_TEST(ScopedLockTest, ReleasesTheLockWhenAnExceptionPasses)
{
    Lock lock;
    try {
        const TypeParam guard(&lock);
        throw std::runtime_error("out of the section");
    } catch (const std::runtime_error &) {}
    Taker taker(lock);
    taker.join();
    EXPECT_TRUE(taker.hasTaken());
}

TYPED_TEST(ScopedLockTest, CannotBeCopied)
{
    EXPECT_FALSE(std::is_copy_constructible_v<TypeParam>);
    EXPECT_FALSE(std::is_copy_assignable_v<TypeParam>);
}

// Lockable.

TEST(LockableOutsideInit, LocksAndUnlocksWithoutALock)
{
    const Lockable lockable;
    lockable.lock();
    lockable.unlock();
}

TEST(LockableOutsideInit, CreatesNoLock)
{
    Lockable lockable;
    EXPECT_NO_THROW(lockable.createLock());
}

TEST_F(LockableTest, HasNoLockBeforeSetMT)
{
    Lockable lockable;
    const std::int64_t before = allocations();
    lockable.createLock();
    EXPECT_EQ(allocations(), before);
    lockable.lock();
    Taker taker(lockable);
    taker.join();
    EXPECT_TRUE(taker.hasTaken());
    lockable.unlock();
}

TEST_F(LockableTest, GetsItsLockByASecondCallAfterSetMT)
{
    Lockable lockable;
    lockable.createLock();
    InitTerm::setMT();
    const std::int64_t before = allocations();
    lockable.createLock();
    EXPECT_GT(allocations(), before);
    lockable.lock();
    Taker taker(lockable);
    EXPECT_FALSE(taker.takesSoon());
    lockable.unlock();
}

TEST_F(LockableThreadsTest, ExcludesOtherThreadsOnceItHasALock)
{
    Lockable lockable;
    lockable.createLock();
    std::int64_t count = 0;
    test::runOnThreads(4, [&](int) {
        for (int round = 0; round < 10000; ++round) {
            lockable.lock();
            lockable.lock();
            count = count + 1;
            lockable.unlock();
            lockable.unlock();
        }
    });
    EXPECT_EQ(count, 40000);
}

TEST_F(LockableThreadsTest, MakesOneLockOnly)
{
    Lockable lockable;
    lockable.createLock();
    const std::int64_t before = allocations();
    lockable.createLock();
    EXPECT_EQ(allocations(), before);
}

TEST_F(LockableThreadsTest, MakesOneLockAmongThreads)
{
    for (int round = 0; round < 50; ++round) {
        Lockable lockable;
        std::int64_t count = 0;
        test::runOnThreads(4, [&](int) {
            lockable.createLock();
            lockable.lock();
            count = count + 1;
            lockable.unlock();
        });
        EXPECT_EQ(count, 4);
    }
}

TEST_F(LockableThreadsTest, CreateLockWaitsForLock2OfTheTable)
{
    Lockable lockable;
    Lock &lazyCreation = Globals::get()->locks[2];
    lazyCreation.acquire();
    Taker taker([&] { lockable.createLock(); });
    EXPECT_FALSE(taker.takesSoon());
    lazyCreation.release();
}

TEST_F(LockableThreadsTest, ACopyHasNoLock)
{
    Lockable lockable;
    lockable.createLock();
    const std::int64_t before = allocations();
    Lockable copy(lockable);
    EXPECT_EQ(allocations(), before);
    lockable.lock();
    copy.lock();
    Taker taker(copy);
    taker.join();
    EXPECT_TRUE(taker.hasTaken());
    copy.unlock();
    lockable.unlock();
}

TEST_F(LockableThreadsTest, AssignmentKeepsBothLocksAsTheyAre)
{
    Lockable source, target, bare;
    source.createLock();
    target.createLock();
    target = source;
    bare = source;
    source = std::as_const(source);
    source.lock();
    Taker ofTarget(target);
    ofTarget.join();
    Taker ofBare(bare);
    ofBare.join();
    EXPECT_TRUE(ofTarget.hasTaken());
    target.lock();
    Taker excluded(target);
    EXPECT_FALSE(excluded.takesSoon());
    target.unlock();
    source.unlock();
}

TEST_F(LockableThreadsTest, CreateLockSurvivesMemoryFailure)
{
    underMemoryFailure([] { return Lockable(); }, [](Lockable &lockable) { lockable.createLock(); },
                       [](Lockable &lockable, bool failed) {
                           lockable.lock();
                           Taker taker(lockable);
                           EXPECT_EQ(taker.takesSoon(), failed);
                           lockable.unlock();
                       });
}

TEST_F(LockableThreadsTest, MayStandBesideHeapClassesAsABase)
{
    struct Both : Root, Lockable
    {};
    auto *both = new Both;
    both->createLock();
    both->lock();
    both->unlock();
    delete both;
}

// The lock table.

TEST_F(LockThreadsTest, TheTableHasFifteenIndependentLocks)
{
    Lock *locks = Globals::get()->locks;
    for (int index = 0; index < 15; ++index) {
        SCOPED_TRACE(index);
        locks[index].acquire();
        Taker taker([&] {
            for (int other = 0; other < 15; ++other) {
                if (other == index)
                    continue;
                locks[other].acquire();
                locks[other].release();
            }
        });
        taker.join();
        Taker excluded(locks[index]);
        EXPECT_FALSE(excluded.takesSoon());
        locks[index].release();
    }
}

TEST_F(LockThreadsTest, Lock0GuardsTheChoiceOfTheAllocator)
{
    Lock &allocators = Globals::get()->locks[0];
    allocators.acquire();
    Taker reader([] { (void)Allocator::get(); });
    Taker writer([] { Allocator::set(&TestAllocator::shared()); });
    EXPECT_FALSE(reader.takesSoon());
    EXPECT_FALSE(writer.takesSoon());
    EXPECT_EQ(Allocator::get(), &TestAllocator::shared()) << "its holder passes";
    allocators.release();
}

TEST_F(LockThreadsTest, AllocationTakesNoLockOfTheTable)
{
    Lock *locks = Globals::get()->locks;
    for (int index = 0; index < 15; ++index)
        locks[index].acquire();
    Taker taker([] {
        void *block = Heap::operator new(1000);
        Heap::operator delete(Heap::reAlloc(block, 2000));
        Heap::operator delete(Heap::operator new(40));
        Heap::flushCache();
    });
    taker.join();
    EXPECT_TRUE(taker.hasTaken());
    for (int index = 0; index < 15; ++index)
        locks[index].release();
}
