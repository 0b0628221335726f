// SPDX-License-Identifier: MIT
#include <tavrin/Lock.h>

#include "platform/RecursiveLock.h"
#include "runtime/LockTable.h"
#include "runtime/OnHeap.h"
#include "runtime/Startup.h"

namespace Tavrin {

Lock::Lock() : mutex(detail::newOnHeap<platform::RecursiveLock>()) {}

Lock::~Lock()
{
    detail::deleteOnHeap(mutex);
}

void Lock::acquire()
{
    mutex->acquire();
}

void Lock::release()
{
    mutex->release();
}

int Lock::increment(int &count)
{
    return TvAtomicInc(&count);
}

int Lock::decrement(int &count)
{
    return TvAtomicDec(&count);
}

Lockable::~Lockable()
{
    delete ownLock;
}

void Lockable::createLock()
{
    CriticalSection section(detail::tableLock(detail::LockSlot::lazyCreation));
    if (ownLock == nullptr && detail::globals.locks != nullptr)
        __atomic_store_n(&ownLock, new Lock, __ATOMIC_RELEASE);
}

namespace detail {

void stopLockTable()
{
    Lock *locks = globals.locks;
    globals.locks = nullptr;
    delete[] locks;
}

} // namespace detail

} // namespace Tavrin

int TvAtomicInc(int *count)
{
    if (Tavrin::detail::globals.locks == nullptr)
        return ++*count;
    return __atomic_add_fetch(count, 1, __ATOMIC_SEQ_CST);
}

int TvAtomicDec(int *count)
{
    if (Tavrin::detail::globals.locks == nullptr)
        return --*count;
    return __atomic_sub_fetch(count, 1, __ATOMIC_SEQ_CST);
}
