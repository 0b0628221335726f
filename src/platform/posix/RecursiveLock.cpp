// SPDX-License-Identifier: MIT
#include "platform/RecursiveLock.h"

#include <new>

#include <pthread.h>

namespace Tavrin::platform {

namespace {
pthread_mutex_t *mutexIn(std::byte *storage)
{
    return std::launder(reinterpret_cast<pthread_mutex_t *>(storage));
}
} // namespace

RecursiveLock::RecursiveLock()
{
    static_assert(sizeof(pthread_mutex_t) <= sizeof storage);
    static_assert(alignof(pthread_mutex_t) <= 8);
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
    pthread_mutex_init(new (static_cast<void *>(storage)) pthread_mutex_t, &attributes);
    pthread_mutexattr_destroy(&attributes);
}

RecursiveLock::~RecursiveLock()
{
    pthread_mutex_destroy(mutexIn(storage));
}

void RecursiveLock::acquire()
{
    pthread_mutex_lock(mutexIn(storage));
}

void RecursiveLock::release()
{
    pthread_mutex_unlock(mutexIn(storage));
}

} // namespace Tavrin::platform
