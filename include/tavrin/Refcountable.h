// SPDX-License-Identifier: MIT
#pragma once

#include <concepts>
#include <cstddef>
#include <utility>

#include <tavrin/Export.h>
#include <tavrin/Heap.h>
#include <tavrin/Lock.h>

namespace Tavrin {

namespace detail {
class SelfHold;
}

// Refcountable: the base of objects that are shared by an intrusive count of references.
// Owns:    itself: the last release deletes it. Its maker holds the first reference.
// Threads: addRef and release may run on any thread that holds a reference, after InitTerm::setMT.
// Cost:    an addition; atomic from InitTerm::setMT on. Only the last release takes a lock.
class TAVRIN_API Refcountable : public Root
{
public:
    void addRef() const { detail::addReference(&refCount); }
    // Gives one reference up. The last one sets all weak references to null, then deletes.
    virtual void release() const;
    int getRefCount() const { return __atomic_load_n(&refCount, __ATOMIC_RELAXED); }

protected:
    Refcountable() = default;
    ~Refcountable() override;

private:
    friend class WeakRefBase;
    friend class detail::SelfHold;

    mutable int refCount = 1;
};

// WeakRefBase: a pointer that becomes null when its target dies; the untyped base of WeakRef.
// Owns:    nothing. It stays at one address while it points at something.
// Threads: any; the registry of weak references has lock 8 of the lock table.
// Cost:    a search through the weak references to the same target when one of them lets go.
// Failure: std::bad_alloc from assign, which then keeps the old target. D-090: after
//          InitTerm::exit, a weak reference that still had a target keeps its bare pointer.
class TAVRIN_API WeakRefBase
{
public:
    // Sets all weak references to `object` to null, for objects that die by other means than
    // Refcountable::release. Null is ignored.
    static void release(const Refcountable *object);

protected:
    WeakRefBase() = default;
    ~WeakRefBase();
    WeakRefBase(const WeakRefBase &) = delete;
    WeakRefBase &operator=(const WeakRefBase &) = delete;

    // Lets the old target go and points at `object`, to which the caller holds a reference; null
    // points at nothing. Returns `object`.
    Refcountable *assign(Refcountable *object);
    // Points at what `other` points at.
    Refcountable *assign(const WeakRefBase &other);

    Refcountable *get() const { return __atomic_load_n(&target, __ATOMIC_ACQUIRE); }
    // The target with a reference added, or null. It gives none for an object that is about to die.
    Refcountable *get_r() const;

private:
    void setTarget(Refcountable *object) { __atomic_store_n(&target, object, __ATOMIC_RELEASE); }

    Refcountable *target = nullptr;
};
static_assert(sizeof(WeakRefBase) == sizeof(void *), "objects hold many of them");

// Cloneable: what can make copies of itself without the caller knowing what it is.
class TAVRIN_API Cloneable : public Root
{
public:
    Cloneable() = default;
    ~Cloneable() override;

    // Puts a copy into *out, which is the caller's, and returns 0; else an error code. What `flag`
    // means is up to the class.
    virtual int clone(Cloneable **out, bool flag) const = 0;
};

// InterfacePtr: holds one reference to a Refcountable, or to anything with addRef and release.
// Owns:    that reference: taken with addRef, given up with release when it is reassigned or
//          destroyed.
// Threads: one object is one thread's; holders of the same target may live on different threads.
template <class T>
class InterfacePtr
{
public:
    InterfacePtr() = default;
    InterfacePtr(std::nullptr_t) {}
    InterfacePtr(T *object) : held(object)
    {
        if (held != nullptr)
            held->addRef();
    }
    InterfacePtr(const InterfacePtr &other) : InterfacePtr(other.held) {}
    InterfacePtr(InterfacePtr &&other) noexcept : held(other.detach()) {}
    template <class U>
    requires std::convertible_to<U *, T *> InterfacePtr(const InterfacePtr<U> &other)
        : InterfacePtr(other.get())
    {}
    template <class U>
    requires std::convertible_to<U *, T *> InterfacePtr(InterfacePtr<U> &&other)
    noexcept : held(other.detach()) {}
    ~InterfacePtr()
    {
        if (held != nullptr)
            held->release();
    }

    // One for copies, moves, raw pointers and null: the old reference goes last.
    InterfacePtr &operator=(InterfacePtr other) noexcept
    {
        swap(other);
        return *this;
    }

    // Takes over a reference that the caller holds, as that of a new object.
    static InterfacePtr adopt(T *object)
    {
        InterfacePtr result;
        result.held = object;
        return result;
    }
    // Hands the reference to the caller, who releases it.
    [[nodiscard]] T *detach() { return std::exchange(held, nullptr); }
    void reset() { InterfacePtr().swap(*this); }
    void swap(InterfacePtr &other) noexcept { std::swap(held, other.held); }

    T *get() const { return held; }
    T *operator->() const { return held; }
    T &operator*() const { return *held; }
    explicit operator bool() const { return held != nullptr; }

    template <class U>
    friend bool operator==(const InterfacePtr &left, const InterfacePtr<U> &right)
    {
        return left.get() == right.get();
    }
    friend bool operator==(const InterfacePtr &left, const T *right) { return left.held == right; }

private:
    T *held = nullptr;
};

// WeakRef: a WeakRefBase to a T, which derives from Refcountable.
// Copies point at the same target; each is registered by itself.
template <class T>
class WeakRef : public WeakRefBase
{
public:
    WeakRef() = default;
    WeakRef(T *object) { assign(object); }
    WeakRef(const InterfacePtr<T> &object) : WeakRef(object.get()) {}
    WeakRef(const WeakRef &other) : WeakRefBase() { assign(other); }
    ~WeakRef() = default;

    WeakRef &operator=(T *object)
    {
        assign(object);
        return *this;
    }
    WeakRef &operator=(const InterfacePtr<T> &object) { return *this = object.get(); }
    WeakRef &operator=(const WeakRef &other)
    {
        assign(other);
        return *this;
    }

    // The target held alive, or null when it is dead or dying. The one safe way to use a target
    // that another thread may release.
    InterfacePtr<T> lock() const { return InterfacePtr<T>::adopt(typed(get_r())); }

    // The bare target; null once it is dead.
    T *get() const { return typed(WeakRefBase::get()); }
    T *operator->() const { return get(); }
    T &operator*() const { return *get(); }
    explicit operator bool() const { return get() != nullptr; }
    friend bool operator==(const WeakRef &left, const WeakRef &right)
    {
        return left.get() == right.get();
    }
    friend bool operator==(const WeakRef &left, const T *right) { return left.get() == right; }

private:
    static T *typed(Refcountable *object) { return static_cast<T *>(object); }
};

} // namespace Tavrin
