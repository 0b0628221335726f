// SPDX-License-Identifier: MIT
#include <tavrin/Refcountable.h>

#include <cstddef>
#include <type_traits>
#include <utility>

#include <gtest/gtest.h>

#include <tavrin/InitTerm.h>

#include "support/LibraryTest.h"
#include "support/RunOnThreads.h"
#include "support/VirtualSlot.h"

using namespace Tavrin;

namespace {

using RefcountableTest = test::LibraryTest;
using RefcountableThreadTest = test::MultiThreadedLibraryTest;
using InterfacePtrTest = test::LibraryTest;

class Counted : public Refcountable
{
public:
    explicit Counted(int &deaths) : deathCount(deaths) {}

protected:
    ~Counted() override { ++deathCount; }

private:
    int &deathCount;
};

class Derived : public Counted
{
public:
    using Counted::Counted;
};

// Counts releases instead of references, as a subclass may.
class Overriding : public Refcountable
{
public:
    void release() const override { ++releases; }
    mutable int releases = 0;
};

using Pointer = InterfacePtr<Counted>;

} // namespace

// Refcountable

TEST_F(RefcountableTest, ANewObjectHasOneReference)
{
    int deaths = 0;
    auto *object = new Counted(deaths);
    EXPECT_EQ(object->getRefCount(), 1);
    object->addRef();
    EXPECT_EQ(object->getRefCount(), 2);
    object->release();
    EXPECT_EQ(object->getRefCount(), 1);
    EXPECT_EQ(deaths, 0);
    object->release();
    EXPECT_EQ(deaths, 1);
}

TEST_F(RefcountableTest, AConstantObjectIsCountedToo)
{
    int deaths = 0;
    const Counted *object = new Counted(deaths);
    object->addRef();
    EXPECT_EQ(object->getRefCount(), 2);
    object->release();
    object->release();
    EXPECT_EQ(deaths, 1);
}

TEST_F(RefcountableTest, ASubclassMayOverrideRelease)
{
    const Overriding object;
    const Refcountable &base = object;
    base.release();
    base.release();
    EXPECT_EQ(object.releases, 2);
    EXPECT_EQ(object.getRefCount(), 1);
}

TEST(Refcountable, AnObjectReleasedAfterExitIsDestroyedAndItsStorageLeftAlone)
{
    int deaths = 0;
    alignas(Counted) std::byte storage[sizeof(Counted)];
    InitTerm::init();
    auto *object = new (storage) Counted(deaths);
    InitTerm::exit();
    object->release();
    EXPECT_EQ(deaths, 1);
}

TEST(Refcountable, CannotBeCopied)
{
    static_assert(!std::is_copy_constructible_v<Overriding>);
    static_assert(!std::is_copy_assignable_v<Overriding>);
    SUCCEED();
}

#if defined(TAVRIN_HAS_VIRTUAL_SLOTS)
TEST(Refcountable, HasItsVirtualOperationsInOrder)
{
    EXPECT_EQ(test::virtualSlot(&Refcountable::release), 2u);
    EXPECT_EQ(test::virtualSlot(&Cloneable::clone), 2u);
}
#endif

TEST_F(RefcountableThreadTest, ThreadsCountTogether)
{
    int deaths = 0;
    auto *object = new Counted(deaths);
    test::runOnThreads(4, [&](int) {
        for (int round = 0; round < 10000; ++round) {
            object->addRef();
            ASSERT_GE(object->getRefCount(), 2);
            object->release();
        }
    });
    EXPECT_EQ(object->getRefCount(), 1);
    object->release();
    EXPECT_EQ(deaths, 1);
}

TEST_F(RefcountableThreadTest, TheLastReleaseOnAnyThreadDeletesOnce)
{
    for (int round = 0; round < 200; ++round) {
        int deaths = 0;
        auto *object = new Counted(deaths);
        for (int thread = 1; thread < 4; ++thread)
            object->addRef();
        test::runOnThreads(4, [&](int) { object->release(); });
        ASSERT_EQ(deaths, 1);
    }
}

// Cloneable

TEST_F(RefcountableTest, ACloneableIsCopiedThroughItsBase)
{
    class Number : public Cloneable
    {
    public:
        explicit Number(int number) : value(number) {}
        int clone(Cloneable **out, bool flag) const override
        {
            *out = new Number(flag ? -value : value);
            return 0;
        }
        int value;
    };
    const Number original(5);
    const Cloneable &base = original;
    Cloneable *copy = nullptr;
    EXPECT_EQ(base.clone(&copy, true), 0);
    EXPECT_EQ(dynamic_cast<Number &>(*copy).value, -5);
    delete copy;
}

// InterfacePtr

TEST_F(InterfacePtrTest, HoldsOneReference)
{
    int deaths = 0;
    auto *object = new Counted(deaths);
    {
        const Pointer pointer(object);
        EXPECT_EQ(object->getRefCount(), 2);
        EXPECT_EQ(pointer.get(), object);
        EXPECT_EQ(&*pointer, object);
        EXPECT_EQ(pointer->getRefCount(), 2);
        EXPECT_TRUE(pointer);
    }
    EXPECT_EQ(object->getRefCount(), 1);
    object->release();
    EXPECT_EQ(deaths, 1);
}

TEST_F(InterfacePtrTest, AdoptTakesTheReferenceOver)
{
    int deaths = 0;
    {
        const Pointer pointer = Pointer::adopt(new Counted(deaths));
        EXPECT_EQ(pointer->getRefCount(), 1);
    }
    EXPECT_EQ(deaths, 1);
    EXPECT_FALSE(Pointer::adopt(nullptr));
}

TEST_F(InterfacePtrTest, DetachHandsTheReferenceOut)
{
    int deaths = 0;
    Pointer pointer = Pointer::adopt(new Counted(deaths));
    Counted *object = pointer.detach();
    EXPECT_FALSE(pointer);
    EXPECT_EQ(object->getRefCount(), 1);
    object->release();
    EXPECT_EQ(deaths, 1);
}

TEST_F(InterfacePtrTest, CopiesAddAndMovesDoNot)
{
    int deaths = 0;
    Pointer first = Pointer::adopt(new Counted(deaths));
    Pointer second = first;
    EXPECT_EQ(first->getRefCount(), 2);
    const Pointer third = std::move(second);
    EXPECT_EQ(first->getRefCount(), 2);
    EXPECT_FALSE(second);
    second = third;
    EXPECT_EQ(first->getRefCount(), 3);
    second = std::move(first);
    EXPECT_EQ(third->getRefCount(), 2);
    EXPECT_FALSE(first);
}

TEST_F(InterfacePtrTest, ReassignmentReleasesTheOldObject)
{
    int oldDeaths = 0, newDeaths = 0;
    Pointer pointer = Pointer::adopt(new Counted(oldDeaths));
    auto *object = new Counted(newDeaths);
    pointer = object;
    EXPECT_EQ(oldDeaths, 1);
    EXPECT_EQ(object->getRefCount(), 2);
    object->release();
    pointer = nullptr;
    EXPECT_EQ(newDeaths, 1);
    EXPECT_FALSE(pointer);
    pointer.reset();
    EXPECT_FALSE(pointer);
}

TEST_F(InterfacePtrTest, AssignmentToItselfKeepsTheObject)
{
    int deaths = 0;
    Pointer pointer = Pointer::adopt(new Counted(deaths));
    pointer = *&pointer;
    pointer = pointer.get();
    pointer = std::move(*&pointer);
    EXPECT_EQ(deaths, 0);
    EXPECT_EQ(pointer->getRefCount(), 1);
}

TEST_F(InterfacePtrTest, ConvertsToThePointerOfABase)
{
    int deaths = 0;
    {
        InterfacePtr<Derived> derived = InterfacePtr<Derived>::adopt(new Derived(deaths));
        Pointer base = derived;
        EXPECT_EQ(base->getRefCount(), 2);
        InterfacePtr<const Refcountable> constant = std::move(derived);
        EXPECT_EQ(base->getRefCount(), 2);
        EXPECT_FALSE(derived);
        EXPECT_TRUE(base == constant);
        static_assert(!std::is_convertible_v<Pointer, InterfacePtr<Derived>>);
    }
    EXPECT_EQ(deaths, 1);
}

TEST_F(InterfacePtrTest, ComparesByTheObject)
{
    int deaths = 0;
    const Pointer first = Pointer::adopt(new Counted(deaths));
    const Pointer second = Pointer::adopt(new Counted(deaths));
    EXPECT_TRUE(first == Pointer(first));
    EXPECT_TRUE(first != second);
    EXPECT_TRUE(first == first.get());
    EXPECT_TRUE(second.get() != first);
    EXPECT_TRUE(first != nullptr);
    EXPECT_TRUE(Pointer() == nullptr);
}

TEST_F(InterfacePtrTest, TheOldObjectMayLookAtThePointerWhileItDies)
{
    class Watcher : public Refcountable
    {
    public:
        explicit Watcher(InterfacePtr<Watcher> &watched) : pointer(watched) {}
        bool sawItself = false;
        InterfacePtr<Watcher> &pointer;

    protected:
        ~Watcher() override
        {
            if (pointer)
                pointer->sawItself = pointer.get() == this;
        }
    };
    InterfacePtr<Watcher> pointer;
    pointer = InterfacePtr<Watcher>::adopt(new Watcher(pointer));
    pointer = InterfacePtr<Watcher>::adopt(new Watcher(pointer));
    EXPECT_FALSE(pointer->sawItself);
    pointer.reset();
    EXPECT_FALSE(pointer);
}
