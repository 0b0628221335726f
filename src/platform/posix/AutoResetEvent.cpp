// SPDX-License-Identifier: MIT
// Each waiter stands in a queue with a condition of its own, on its own stack, and leaves only when
// it holds the mutex; whoever lets it go takes it out of the queue under that mutex. So a signal
// belongs to the waiter it was given to: a thread that signals and then waits cannot take its own
// signal back, which a single condition with a flag would allow.
// Pinned by tests/runtime/EventTest.cpp.
#include "platform/AutoResetEvent.h"

#include <new>

#include <pthread.h>

namespace Tavrin::platform {

namespace {

struct Waiter
{
    pthread_cond_t released = PTHREAD_COND_INITIALIZER;
    bool isReleased = false;
    Waiter *next = nullptr;
};

class MutexHolder
{
public:
    explicit MutexHolder(pthread_mutex_t &held) : mutex(held) { pthread_mutex_lock(&mutex); }
    ~MutexHolder() { pthread_mutex_unlock(&mutex); }
    MutexHolder(const MutexHolder &) = delete;
    MutexHolder &operator=(const MutexHolder &) = delete;

private:
    pthread_mutex_t &mutex;
};

} // namespace

struct AutoResetEvent::State
{
    pthread_mutex_t mutex;
    const bool isMade = pthread_mutex_init(&mutex, nullptr) == 0;
    Waiter *first = nullptr;
    Waiter *last = nullptr;
    bool isSignalled = false;
    bool isClosed = false;

    void enqueue(Waiter &waiter)
    {
        (last != nullptr ? last->next : first) = &waiter;
        last = &waiter;
    }

    void releaseFirst()
    {
        Waiter *waiter = first;
        first = waiter->next;
        if (first == nullptr)
            last = nullptr;
        waiter->isReleased = true;
        pthread_cond_signal(&waiter->released);
    }

    void signal()
    {
        if (first != nullptr)
            releaseFirst();
        else
            isSignalled = true;
    }

    void dequeue(const Waiter &waiter)
    {
        Waiter *before = nullptr;
        for (Waiter *at = first; at != &waiter; at = at->next)
            before = at;
        (before != nullptr ? before->next : first) = waiter.next;
        if (last == &waiter)
            last = before;
    }
};

namespace {

AutoResetEvent::State &stateIn(std::byte *storage)
{
    return *std::launder(reinterpret_cast<AutoResetEvent::State *>(storage));
}

const AutoResetEvent::State &stateIn(const std::byte *storage)
{
    return *std::launder(reinterpret_cast<const AutoResetEvent::State *>(storage));
}

// One stay in the queue. When the thread is unwound out of it, it leaves the queue as if it had
// never come: the signal that it got goes on.
class Stay
{
public:
    explicit Stay(AutoResetEvent::State &of) : state(of) { state.enqueue(waiter); }
    ~Stay()
    {
        if (!waiter.isReleased)
            state.dequeue(waiter);
        else if (!hasPassed)
            state.signal();
        pthread_cond_destroy(&waiter.released);
    }
    Stay(const Stay &) = delete;
    Stay &operator=(const Stay &) = delete;

    void last()
    {
        while (!waiter.isReleased)
            pthread_cond_wait(&waiter.released, &state.mutex);
        hasPassed = true;
    }

private:
    AutoResetEvent::State &state;
    Waiter waiter;
    bool hasPassed = false;
};

} // namespace

AutoResetEvent::AutoResetEvent()
{
    static_assert(sizeof(State) <= sizeof storage);
    static_assert(alignof(State) <= 8);
    new (static_cast<void *>(storage)) State;
}

AutoResetEvent::~AutoResetEvent()
{
    State &state = stateIn(storage);
    if (state.isMade)
        pthread_mutex_destroy(&state.mutex);
    state.~State();
}

bool AutoResetEvent::isMade() const
{
    return stateIn(storage).isMade;
}

void AutoResetEvent::signal()
{
    State &state = stateIn(storage);
    MutexHolder holder(state.mutex);
    state.signal();
}

void AutoResetEvent::wait()
{
    State &state = stateIn(storage);
    MutexHolder holder(state.mutex);
    if (state.isClosed)
        return;
    if (state.isSignalled)
        state.isSignalled = false;
    else
        Stay(state).last();
}

void AutoResetEvent::close()
{
    State &state = stateIn(storage);
    MutexHolder holder(state.mutex);
    state.isClosed = true;
    while (state.first != nullptr)
        state.releaseFirst();
}

} // namespace Tavrin::platform
