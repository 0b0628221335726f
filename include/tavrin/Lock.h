// SPDX-License-Identifier: MIT
#pragma once

#include <tavrin/Context.h>
#include <tavrin/Export.h>
#include <tavrin/Heap.h>

namespace Tavrin {

namespace platform {
class RecursiveLock;
}

// Lock: a recursive mutex.
// Owns:    the platform's mutex.
// Threads: acquire blocks without limit; only the thread that holds a lock may release it.
// Failure: std::bad_alloc from Heap at construction.
class TAVRIN_API Lock : public Heap
{
public:
    Lock();
    ~Lock();

    void acquire();
    void release();

    // Count up or down by one and return the new value: plainly in single-threaded operation,
    // atomically from InitTerm::setMT on.
    static int increment(int &count);
    static int decrement(int &count);

private:
    platform::RecursiveLock *mutex;
};

// CriticalSection: holds a Lock from construction to destruction. A null Lock makes it do nothing,
// which is how code serves both modes: it passes a slot of the lock table, or null.
class CriticalSection
{
public:
    explicit CriticalSection(Lock *held) : lock(held)
    {
        if (lock != nullptr)
            lock->acquire();
    }
    ~CriticalSection()
    {
        if (lock != nullptr)
            lock->release();
    }
    CriticalSection(const CriticalSection &) = delete;
    CriticalSection &operator=(const CriticalSection &) = delete;

private:
    Lock *lock;
};

// LockRef: the same guard under the name by which interpreters and hosts use it.
class LockRef
{
public:
    explicit LockRef(Lock *held) : section(held) {}

private:
    CriticalSection section;
};

// Lockable: the base of a class that wants a lock of its own. It derives from nothing, so that a
// class with several bases has one operator new.
// Owns:    its lock, once createLock has made one. Copies do not copy the lock.
// Threads: createLock may run on several threads at once; lock and unlock cost a test without one.
// Failure: std::bad_alloc from createLock.
class TAVRIN_API Lockable
{
public:
    Lockable() = default;
    Lockable(const Lockable &) noexcept {}
    Lockable &operator=(const Lockable &) noexcept { return *this; }
    ~Lockable();

    // Makes the lock if there is none. D-005: in single-threaded operation it makes none, and a
    // class that called it before InitTerm::setMT has to call it again.
    void createLock();
    bool hasLock() const { return current() != nullptr; }
    void lock() const
    {
        if (Lock *own = current()) [[unlikely]]
            own->acquire();
    }
    void unlock() const
    {
        if (Lock *own = current()) [[unlikely]]
            own->release();
    }

private:
    Lock *current() const { return __atomic_load_n(&ownLock, __ATOMIC_ACQUIRE); }

    Lock *ownLock = nullptr; // published atomically: it is tested by threads that hold nothing
};

} // namespace Tavrin

// The counter primitives: as Lock::increment and Lock::decrement.
TAVRIN_API int TvAtomicInc(int *count);
TAVRIN_API int TvAtomicDec(int *count);

namespace Tavrin::detail {

// The reference counting of the inline fast paths.
inline int addReference(int *count) noexcept
{
    if (globals.locks == nullptr)
        return ++*count;
    return __atomic_add_fetch(count, 1, __ATOMIC_RELAXED);
}

inline int dropReference(int *count) noexcept
{
    if (globals.locks == nullptr)
        return --*count;
    return __atomic_sub_fetch(count, 1, __ATOMIC_ACQ_REL);
}

// Gives a reference up if there are more than `kept` of them, at least one; whether it did.
inline bool dropAbove(int *count, int kept) noexcept
{
    if (globals.locks == nullptr) {
        if (*count <= kept)
            return false;
        --*count;
        return true;
    }
    int seen = __atomic_load_n(count, __ATOMIC_RELAXED);
    while (seen > kept)
        if (__atomic_compare_exchange_n(count, &seen, seen - 1, true, __ATOMIC_RELEASE,
                                        __ATOMIC_RELAXED))
            return true;
    return false;
}

} // namespace Tavrin::detail
