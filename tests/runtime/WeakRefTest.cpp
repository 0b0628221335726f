// SPDX-License-Identifier: MIT
#include <tavrin/Refcountable.h>

#include <atomic>
#include <memory>
#include <new>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <tavrin/Context.h>
#include <tavrin/InitTerm.h>
#include <tavrin/Lock.h>

#include "support/LibraryTest.h"
#include "support/MemoryFailure.h"
#include "support/RunOnThreads.h"
#include "support/TestAllocator.h"

using namespace Tavrin;

namespace {

using WeakRefTest = test::LibraryTest;
using WeakRefThreadTest = test::MultiThreadedLibraryTest;

// May live outside the heap too, where it dies without a release.
class Target : public Refcountable
{
public:
    int number = 0;
};

using Reference = WeakRef<Target>;
using Pointer = InterfacePtr<Target>;

Pointer newTarget()
{
    return Pointer::adopt(new Target);
}

std::int64_t liveBytes()
{
    Heap::flushCache();
    return test::TestAllocator::shared().liveBytes();
}

} // namespace

TEST(WeakRef, IsOnePointer)
{
    EXPECT_EQ(sizeof(Reference), sizeof(void *));
}

TEST_F(WeakRefTest, ANewReferenceIsNull)
{
    const Reference reference;
    EXPECT_EQ(reference.get(), nullptr);
    EXPECT_FALSE(reference);
    EXPECT_FALSE(reference.lock());
}

TEST_F(WeakRefTest, PointsAtItsTargetWithoutCounting)
{
    const Pointer target = newTarget();
    const Reference reference(target);
    EXPECT_EQ(reference.get(), target.get());
    EXPECT_TRUE(reference == target.get());
    EXPECT_TRUE(reference);
    reference->number = 5;
    EXPECT_EQ((*reference).number, 5);
    EXPECT_EQ(target->getRefCount(), 1);
}

TEST_F(WeakRefTest, TheLastReleaseSetsEveryReferenceToNull)
{
    for (const int count : {1, 15, 16, 17, 100}) {
        Pointer target = newTarget();
        const Pointer other = newTarget();
        std::vector<Reference> references(static_cast<unsigned>(count));
        for (Reference &reference : references)
            reference = target;
        const Reference elsewhere(other);
        const Pointer second = target;
        target.reset();
        for (const Reference &reference : references)
            EXPECT_EQ(reference.get(), second.get());
        Pointer(second).detach()->release();
        EXPECT_TRUE(references.front());
        const_cast<Pointer &>(second).reset();
        for (const Reference &reference : references)
            EXPECT_EQ(reference.get(), nullptr);
        EXPECT_EQ(elsewhere.get(), other.get());
    }
}

TEST_F(WeakRefTest, TheTargetIsGoneForItsReferencesBeforeItsDestructorRuns)
{
    class Observer : public Refcountable
    {
    public:
        explicit Observer(bool &seen) : self(this), sawItself(seen) {}

    protected:
        ~Observer() override { sawItself = self || self.lock(); }

    private:
        WeakRef<Observer> self;
        bool &sawItself;
    };
    bool sawItself = true;
    (new Observer(sawItself))->release();
    EXPECT_FALSE(sawItself);
}

TEST_F(WeakRefTest, ReleaseOfTheBaseClearsWithoutDecrementingOrDeleting)
{
    const Pointer target = newTarget();
    const Reference reference(target);
    WeakRefBase::release(target.get());
    EXPECT_FALSE(reference);
    EXPECT_EQ(target->getRefCount(), 1);
    WeakRefBase::release(target.get());
    WeakRefBase::release(nullptr);
    const Reference again(target);
    EXPECT_TRUE(again);
    EXPECT_FALSE(reference);
}

TEST_F(WeakRefTest, AFreedSlotIsTakenBeforeTheListGrows)
{
    const Pointer first = newTarget(), second = newTarget();
    // The list of a target has room for 16 at first.
    std::vector<std::unique_ptr<Reference>> references;
    for (int count = 0; count < 16; ++count)
        references.push_back(std::make_unique<Reference>(first));
    const Reference keepsSecondList(second);
    const std::int64_t before = liveBytes();
    *references[5] = second;
    *references[9] = second;
    const Reference taken(first), takenToo(first);
    EXPECT_EQ(liveBytes(), before);
    const Reference grown(first);
    EXPECT_GT(liveBytes(), before);
}

TEST_F(WeakRefTest, AReassignedReferenceFollowsItsNewTargetOnly)
{
    Pointer first = newTarget(), second = newTarget();
    Reference reference(first);
    reference = second;
    first.reset();
    EXPECT_EQ(reference.get(), second.get());
    second.reset();
    EXPECT_FALSE(reference);
}

TEST_F(WeakRefTest, AReferenceMayBeReassignedToTheSameTarget)
{
    Pointer target = newTarget();
    Reference reference(target), other(target);
    const std::int64_t before = liveBytes();
    for (int count = 0; count < 100; ++count)
        reference = target;
    EXPECT_EQ(liveBytes(), before);
    reference = *&reference;
    EXPECT_EQ(reference.get(), target.get());
    target.reset();
    EXPECT_FALSE(reference);
    EXPECT_FALSE(other);
}

TEST_F(WeakRefTest, AssigningNullLetsTheTargetGo)
{
    Pointer target = newTarget();
    Reference reference(target);
    reference = nullptr;
    EXPECT_FALSE(reference);
    target.reset();
    EXPECT_FALSE(reference);
}

TEST_F(WeakRefTest, NullNeedsNoStorage)
{
    const std::int64_t before = test::TestAllocator::shared().allocations();
    Reference reference(static_cast<Target *>(nullptr));
    reference = nullptr;
    reference = Pointer();
    const Reference copy(reference);
    EXPECT_EQ(test::TestAllocator::shared().allocations(), before);
}

TEST_F(WeakRefTest, ADestroyedReferenceIsForgotten)
{
    Pointer target = newTarget();
    {
        const Reference reference(target);
    }
    auto heapReference = std::make_unique<Reference>(target);
    heapReference.reset();
    target.reset();
}

TEST_F(WeakRefTest, DestroyingAReferenceWhoseTargetDiedEarlierDoesNothing)
{
    Pointer target = newTarget();
    auto reference = std::make_unique<Reference>(target);
    target.reset();
    reference.reset();
    const Pointer next = newTarget();
    const Reference other(next);
    EXPECT_TRUE(other);
}

TEST_F(WeakRefTest, CopiesAreRegisteredByThemselves)
{
    Pointer target = newTarget();
    auto original = std::make_unique<Reference>(target);
    Reference copy(*original), assigned;
    assigned = copy;
    original.reset();
    EXPECT_TRUE(copy == assigned);
    EXPECT_EQ(copy.get(), target.get());
    target.reset();
    EXPECT_FALSE(copy);
    EXPECT_FALSE(assigned);
}

TEST_F(WeakRefTest, LockAddsAReference)
{
    Pointer target = newTarget();
    const Reference reference(target);
    {
        const Pointer held = reference.lock();
        EXPECT_EQ(held.get(), target.get());
        EXPECT_EQ(target->getRefCount(), 2);
        target.reset();
        EXPECT_TRUE(reference);
    }
    EXPECT_FALSE(reference.lock());
}

TEST_F(WeakRefTest, ReferencesMayComeAndGoInAnyOrder)
{
    enum class Order
    {
        asMade,
        reverse,
        alternating,
    };
    for (const Order order : {Order::asMade, Order::reverse, Order::alternating}) {
        constexpr int count = 500;
        Pointer target = newTarget();
        std::vector<std::unique_ptr<Reference>> references;
        for (int index = 0; index < count; ++index)
            references.push_back(std::make_unique<Reference>(target));
        for (int index = 0; index < count; ++index) {
            const int turned = order == Order::asMade    ? index
                               : order == Order::reverse ? count - 1 - index
                               : index % 2 == 0          ? index
                                                         : count - index;
            references[static_cast<unsigned>(turned)].reset();
            if (index % 10 == 0)
                references[static_cast<unsigned>(turned)] = std::make_unique<Reference>(target);
        }
        target.reset();
        for (const auto &reference : references) {
            if (reference != nullptr) {
                EXPECT_FALSE(*reference);
            }
        }
    }
}

TEST_F(WeakRefTest, ManyReferencesToOneTargetDoNotCostMoreEach)
{
    constexpr int count = 30000;
    Pointer target = newTarget();
    const std::unique_ptr<Reference[]> references(new Reference[count]);
    for (int index = 0; index < count; ++index)
        references[static_cast<unsigned>(index)] = target;
    for (int index = 0; index < count; ++index)
        references[static_cast<unsigned>(index)] = nullptr;
    for (int index = 0; index < count; ++index)
        references[static_cast<unsigned>(index)] = target;
    target.reset();
    EXPECT_FALSE(references[0]);
    EXPECT_FALSE(references[count - 1]);
}

// Start and stop

TEST(WeakRef, WithoutTheLibraryOnlyNullCanBeAssigned)
{
    Reference reference;
    reference = nullptr;
    Target target;
    EXPECT_THROW(reference = &target, std::bad_alloc);
    EXPECT_FALSE(reference);
    EXPECT_FALSE(reference.lock());
    WeakRefBase::release(&target);
}

TEST(WeakRef, ExitGivesTheListsUpAndLeavesStaleTargets)
{
    Target target;
    auto reference = std::make_unique<Reference>();
    auto destroyedLater = std::make_unique<Reference>();
    {
        const test::LibrarySession session;
        *reference = &target;
        *destroyedLater = &target;
    }
    EXPECT_EQ(reference->get(), &target);
    EXPECT_FALSE(reference->lock());
    reference.reset();
    const test::LibrarySession session;
    Target other;
    *destroyedLater = &target;
    const Reference second(&other);
    EXPECT_EQ(destroyedLater->lock().get(), &target);
    WeakRefBase::release(&target);
    WeakRefBase::release(&other);
    EXPECT_EQ(destroyedLater->get(), nullptr);
}

TEST(WeakRef, AStaleReferenceIsDestroyedWithoutHarmInTheNextSession)
{
    Target target;
    auto stale = std::make_unique<Reference>();
    {
        const test::LibrarySession session;
        *stale = &target;
    }
    const test::LibrarySession session;
    const Reference fresh(&target);
    stale.reset();
    EXPECT_EQ(fresh.get(), &target);
    WeakRefBase::release(&target);
    EXPECT_FALSE(fresh);
}

// Memory

TEST_F(WeakRefTest, AFailedAssignmentKeepsTheOldTarget)
{
    struct Objects
    {
        Pointer first = newTarget();
        Pointer second = newTarget();
        std::vector<std::unique_ptr<Reference>> others;
        Reference reference{first};
    };
    // With 16 others, the list of the second target is full.
    for (const int others : {0, 1, 16}) {
        SCOPED_TRACE(others);
        test::underMemoryFailure(
            [&] {
                auto objects = std::make_unique<Objects>();
                for (int index = 0; index < others; ++index)
                    objects->others.push_back(std::make_unique<Reference>(objects->second));
                return objects;
            },
            [](std::unique_ptr<Objects> &objects) { objects->reference = objects->second; },
            [](std::unique_ptr<Objects> &objects, bool failed) {
                Reference &reference = objects->reference;
                EXPECT_EQ(reference.get(), (failed ? objects->first : objects->second).get());
                (failed ? objects->second : objects->first).reset();
                EXPECT_TRUE(reference);
                (failed ? objects->first : objects->second).reset();
                EXPECT_FALSE(reference);
            },
            others == 1 ? test::Allocates::perhaps : test::Allocates::always);
    }
}

TEST_F(WeakRefTest, AFailedCopyLeavesTheOriginalAlone)
{
    test::underMemoryFailure(
        [] {
            auto references = std::make_unique<std::pair<Pointer, std::vector<Reference>>>();
            references->first = newTarget();
            references->second = std::vector<Reference>(16);
            for (Reference &reference : references->second)
                reference = references->first;
            return references;
        },
        [](auto &references) {
            const Reference copy(references->second.front());
            EXPECT_EQ(copy.get(), references->first.get());
        },
        [](auto &references, bool) {
            EXPECT_EQ(references->second.front().get(), references->first.get());
            references->first.reset();
            EXPECT_FALSE(references->second.front());
        });
}

TEST_F(WeakRefTest, LettingGoNeedsNoMemory)
{
    Pointer first = newTarget();
    Pointer second = newTarget();
    auto reference = std::make_unique<Reference>(first);
    Reference other(first);
    const Reference third(second);
    test::TestAllocator &allocator = test::TestAllocator::shared();
    const std::int64_t requests = allocator.allocations() + allocator.reallocations();
    Heap::flushCache();
    allocator.failRequests(1, test::TestAllocator::forever);
    EXPECT_EQ(third.lock(), second);
    other = nullptr;
    reference.reset();
    WeakRefBase::release(first.get());
    second.reset();
    EXPECT_FALSE(third);
    EXPECT_EQ(allocator.allocations() + allocator.reallocations(), requests);
    allocator.stopFailing();
}

// Threads

TEST_F(WeakRefThreadTest, ATargetIsEitherHeldAliveOrGone)
{
    for (int round = 0; round < 300; ++round) {
        Pointer target = newTarget();
        const Reference reference(target);
        test::runOnThreads(3, [&](int thread) {
            if (thread == 0) {
                target.reset();
                return;
            }
            for (int attempt = 0; attempt < 20; ++attempt) {
                if (const Pointer alive = reference.lock()) {
                    EXPECT_EQ(alive->number, 0);
                    EXPECT_GE(alive->getRefCount(), 1);
                }
            }
        });
        EXPECT_FALSE(reference);
    }
}

TEST_F(WeakRefThreadTest, ATargetWhoseLastReleaseIsUnderWayIsNotHeldAnyMore)
{
    constexpr int weakRegistryLock = 8;
    auto *target = new Target;
    const Reference reference(target);
    std::atomic<bool> isLocked{false};
    test::runOnThreads(2, [&](int thread) {
        if (thread == 0) {
            while (!isLocked)
                std::this_thread::yield();
            target->release();
            return;
        }
        // The release counts down, and then waits for the lock of the registry.
        const CriticalSection section(Globals::get()->locks + weakRegistryLock);
        isLocked = true;
        while (target->getRefCount() > 0)
            std::this_thread::yield();
        EXPECT_EQ(reference.get(), target);
        EXPECT_FALSE(reference.lock());
    });
    EXPECT_FALSE(reference);
}

TEST_F(WeakRefThreadTest, ThreadsMakeAndDropReferencesToTheSameTargets)
{
    const Pointer targets[2] = {newTarget(), newTarget()};
    test::runOnThreads(4, [&](int thread) {
        Reference mine;
        for (int round = 0; round < 500; ++round) {
            mine = targets[(round + thread) % 2];
            const Reference copy(mine);
            ASSERT_EQ(copy.get(), mine.get());
            const Pointer own = newTarget();
            const Reference toOwn(own);
            ASSERT_TRUE(toOwn.lock());
        }
    });
}

TEST_F(WeakRefThreadTest, AReferenceMayBeCopiedWhileItsTargetDies)
{
    for (int round = 0; round < 300; ++round) {
        Pointer target = newTarget();
        const Reference reference(target);
        test::runOnThreads(2, [&](int thread) {
            if (thread == 0) {
                target.reset();
                return;
            }
            for (int count = 0; count < 20; ++count) {
                const Reference copy(reference);
                if (const Pointer alive = copy.lock()) {
                    ASSERT_EQ(alive->number, 0);
                }
            }
        });
        EXPECT_FALSE(reference);
    }
}

TEST_F(WeakRefThreadTest, AReferenceMayBeDestroyedWhileItsTargetDies)
{
    for (int round = 0; round < 300; ++round) {
        Pointer target = newTarget();
        auto reference = std::make_unique<Reference>(target);
        test::runOnThreads(2, [&](int thread) {
            if (thread == 0)
                target.reset();
            else
                reference.reset();
        });
    }
}
