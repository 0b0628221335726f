// SPDX-License-Identifier: MIT
#include <tavrin/Tavrin.h>

#include <gtest/gtest.h>

#include "interface/Forms.h"

using namespace Tavrin;
using test::has;

namespace {

// Reach what is there for subclasses.

struct OpenRefcountable : Refcountable
{};

class OpenWeakRef : public WeakRefBase
{
public:
    OpenWeakRef() = default;
    ~OpenWeakRef() = default;
    Refcountable *assign(Refcountable *object) { return WeakRefBase::assign(object); }
};

struct HostAllocator : Allocator
{
    using Allocator::allocMem;
    void *allocMem(std::size_t size) override { return Heap::operator new(size); }
    void freeMem(void *block) override { Heap::operator delete(block); }
    void *reallocMem(void *block, std::size_t size) override { return Heap::reAlloc(block, size); }
};

struct HostLockable : Lockable
{};

template <class Field, class Member, class Owner>
constexpr bool isField(Member Owner::*)
{
    return std::is_same_v<Member, Field>;
}

} // namespace

TEST(RuntimeInterface, Heap)
{
    EXPECT_TRUE(has<void *(*)(std::size_t)>(&Heap::operator new));
    EXPECT_TRUE(has<void *(*)(std::size_t)>(&Heap::operator new[]));
    EXPECT_TRUE((has<void *(*)(std::size_t, const char *, int)>(&Heap::operator new)));
    EXPECT_TRUE((has<void *(*)(std::size_t, const char *, int)>(&Heap::operator new[])));
    EXPECT_TRUE((has<void *(*)(std::size_t, void *)>(&Heap::operator new)));
    EXPECT_TRUE((has<void (*)(void *, void *)>(&Heap::operator delete)));
    EXPECT_TRUE(has<void (*)(void *)>(&Heap::operator delete));
    EXPECT_TRUE(has<void (*)(void *)>(&Heap::operator delete[]));
    EXPECT_TRUE((has<void (*)(void *, const char *, int)>(&Heap::operator delete)));
    EXPECT_TRUE((has<void (*)(void *, const char *, int)>(&Heap::operator delete[])));
    EXPECT_TRUE((has<void *(*)(void *, std::size_t)>(&Heap::reAlloc)));
    EXPECT_TRUE(has<void (*)()>(&Heap::flushCache));
    EXPECT_TRUE(has<int (*)()>(&Heap::getCacheSize));
    EXPECT_TRUE(has<void (*)(int)>(&Heap::setCacheSize));
    EXPECT_TRUE((has<void (*)(int &, std::size_t &)>(&Heap::getMemoryStatistics)));
    static_assert(std::is_default_constructible_v<Heap> && std::is_empty_v<Heap>);
    static_assert(!std::is_copy_constructible_v<Heap> && !std::is_copy_assignable_v<Heap>);
    static_assert(!std::is_polymorphic_v<Heap>);
}

TEST(RuntimeInterface, RootAndAllocators)
{
    static_assert(std::is_base_of_v<Heap, Root> && std::has_virtual_destructor_v<Root>);
    static_assert(sizeof(Root) == sizeof(void *));
    static_assert(std::is_base_of_v<Root, Allocator> && std::is_abstract_v<Allocator>);
    static_assert(std::is_base_of_v<Allocator, ::DefaultAllocator>);
    static_assert(std::is_default_constructible_v<::DefaultAllocator>);
    EXPECT_TRUE((has<void *(Allocator::*)(std::size_t, const char *, int)>(&Allocator::allocMem)));
    EXPECT_TRUE(has<void *(Allocator::*)(std::size_t)>(&Allocator::allocMem));
    EXPECT_TRUE(has<void (Allocator::*)(void *)>(&Allocator::freeMem));
    EXPECT_TRUE((has<void *(Allocator::*)(void *, std::size_t)>(&Allocator::reallocMem)));
    EXPECT_TRUE(has<void (Allocator::*)()>(&Allocator::flush));
    EXPECT_TRUE(has<bool (Allocator::*)() const>(&Allocator::isRethrow));
    EXPECT_TRUE(has<void (Allocator::*)(bool)>(&Allocator::setRethrow));
    EXPECT_TRUE(has<Allocator *(*)()>(&Allocator::get));
    EXPECT_TRUE(has<bool (*)(Allocator *)>(&Allocator::set));
    static_assert(std::is_default_constructible_v<HostAllocator>);
}

TEST(RuntimeInterface, InitTerm)
{
    EXPECT_TRUE(has<void (*)()>(&InitTerm::init));
    EXPECT_TRUE(has<void (*)()>(&InitTerm::exit));
    EXPECT_TRUE(has<bool (*)()>(&InitTerm::isInitialized));
    EXPECT_TRUE(has<void (*)()>(&InitTerm::setMT));
    EXPECT_TRUE(has<bool (*)()>(&InitTerm::isMT));
    EXPECT_TRUE(has<void (*)(bool)>(&InitTerm::enableUI));
    EXPECT_TRUE(has<bool (*)()>(&InitTerm::isUIEnabled));
    EXPECT_TRUE(has<void (*)(void (*)())>(&InitTerm::atExit));
    EXPECT_TRUE(has<int (*)()>(&getVersion));
    EXPECT_TRUE((has<void (*)(const char *, const char *, int)>(&DebugAlert)));
}

TEST(RuntimeInterface, ContextGlobalsAndCallbacks)
{
    EXPECT_TRUE(has<Context &(*)()>(&Context::get));
    static_assert(!std::is_default_constructible_v<Context> && !std::is_destructible_v<Context>);
    static_assert(isField<Encoder *>(&Context::encoder));
    static_assert(isField<Localizer *>(&Context::localizer));
    static_assert(isField<void *>(&Context::parentWindow));
    static_assert(isField<Root *>(&Context::engineState));
    static_assert(isField<Lock *>(&Context::locks));
    static_assert(isField<Root *>(&Context::ownedObject));
    static_assert(isField<bool (*)(void *)>(&Context::dialogWatch));

    EXPECT_TRUE(has<Globals *(*)()>(&Globals::get));
    static_assert(isField<Lock *>(&Globals::locks) && isField<Context *>(&Globals::context));
    static_assert(std::is_copy_constructible_v<Globals> && std::is_copy_assignable_v<Globals>);

    EXPECT_TRUE(has<Callbacks *(*)()>(&Callbacks::get));
    EXPECT_TRUE(has<void (*)(Callbacks *)>(&Callbacks::set));
    EXPECT_TRUE((has<void (Callbacks::*)(String &, String &)>(&Callbacks::getLocale)));
    EXPECT_TRUE(has<Dictionary *(Callbacks::*)()>(&Callbacks::getDictionary));
    EXPECT_TRUE(has<Dictionary *(Callbacks::*)()>(&Callbacks::getHostDictionary));
    static_assert(std::is_abstract_v<Callbacks> && std::has_virtual_destructor_v<Callbacks>);
}

TEST(RuntimeInterface, Locks)
{
    EXPECT_TRUE(has<void (Lock::*)()>(&Lock::acquire));
    EXPECT_TRUE(has<void (Lock::*)()>(&Lock::release));
    EXPECT_TRUE(has<int (*)(int &)>(&Lock::increment));
    EXPECT_TRUE(has<int (*)(int &)>(&Lock::decrement));
    EXPECT_TRUE(has<int (*)(int *)>(&TvAtomicInc));
    EXPECT_TRUE(has<int (*)(int *)>(&TvAtomicDec));
    static_assert(sizeof(Lock) == sizeof(void *) && !std::is_polymorphic_v<Lock>);
    static_assert(sizeof(CriticalSection) == sizeof(void *) && sizeof(LockRef) == sizeof(void *));
    static_assert(std::is_constructible_v<CriticalSection, Lock *>);
    static_assert(std::is_constructible_v<LockRef, Lock *>);
    EXPECT_TRUE(has<void (Lockable::*)()>(&Lockable::createLock));
    EXPECT_TRUE(has<void (Lockable::*)() const>(&Lockable::lock));
    EXPECT_TRUE(has<void (Lockable::*)() const>(&Lockable::unlock));
    static_assert(sizeof(Lockable) == sizeof(void *));
    static_assert(std::is_copy_constructible_v<HostLockable>);
    static_assert(std::is_copy_assignable_v<HostLockable>);
}

TEST(RuntimeInterface, ReferenceCounting)
{
    static_assert(std::is_base_of_v<Root, Refcountable>);
    static_assert(!std::is_default_constructible_v<Refcountable>);
    static_assert(!std::is_destructible_v<Refcountable>);
    static_assert(std::is_default_constructible_v<OpenRefcountable>);
    EXPECT_TRUE(has<void (Refcountable::*)() const>(&Refcountable::addRef));
    EXPECT_TRUE(has<void (Refcountable::*)() const>(&Refcountable::release));
    EXPECT_TRUE(has<int (Refcountable::*)() const>(&Refcountable::getRefCount));

    static_assert(!std::is_default_constructible_v<WeakRefBase>);
    static_assert(!std::is_destructible_v<WeakRefBase> && !std::is_polymorphic_v<WeakRefBase>);
    static_assert(std::is_default_constructible_v<OpenWeakRef>);
    EXPECT_TRUE(has<Refcountable *(OpenWeakRef::*)(Refcountable *)>(&OpenWeakRef::assign));
    EXPECT_TRUE(has<void (*)(const Refcountable *)>(&WeakRefBase::release));

    static_assert(std::is_base_of_v<Root, Cloneable> && std::is_abstract_v<Cloneable>);
    EXPECT_TRUE((has<int (Cloneable::*)(Cloneable **, bool) const>(&Cloneable::clone)));
    static_assert(std::is_constructible_v<InterfacePtr<OpenRefcountable>, OpenRefcountable *>);
    static_assert(std::is_constructible_v<WeakRef<OpenRefcountable>, OpenRefcountable *>);
}

TEST(RuntimeInterface, ThreadsEventsAndTime)
{
    static_assert(std::is_base_of_v<Root, Thread> && std::is_abstract_v<Thread>);
    EXPECT_TRUE(has<void (Thread::*)()>(&Thread::run));
    EXPECT_TRUE(has<void (Thread::*)()>(&Thread::start));
    EXPECT_TRUE(has<void (*)(unsigned int)>(&Thread::sleep));
    EXPECT_TRUE(has<unsigned int (Thread::*)() const>(&Thread::getID));
    EXPECT_TRUE(has<int (Thread::*)() const>(&Thread::getError));
    EXPECT_TRUE(has<bool (Thread::*)() const>(&Thread::isActive));
    EXPECT_TRUE(has<unsigned int (*)()>(&Thread::getCurrentID));
    EXPECT_TRUE(has<std::int64_t (*)()>(&Thread::getHiResTimer));

    static_assert(std::is_default_constructible_v<Event> && sizeof(Event) == sizeof(void *));
    EXPECT_TRUE(has<void (Event::*)()>(&Event::signal));
    EXPECT_TRUE(has<void (Event::*)()>(&Event::wait));

    EXPECT_TRUE(has<double (*)()>(&Time::getUTCTime));
    EXPECT_TRUE(has<double (*)()>(&Time::getTimeZoneOffset));
    EXPECT_TRUE(has<std::int64_t (*)()>(&Time::getHiResTimer));
    EXPECT_TRUE(has<unsigned int (*)()>(&Time::getTicks));
    EXPECT_TRUE(has<int (*)()>(&Time::isDST));
    EXPECT_TRUE(has<int (*)(double)>(&Time::isDST));
}
