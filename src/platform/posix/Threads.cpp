// SPDX-License-Identifier: MIT
#include "platform/Threads.h"

#include <cerrno>
#include <ctime>
#include <exception>
#include <memory>
#include <new>

#include <pthread.h>
#include <sched.h>
#include <unistd.h>

namespace Tavrin::platform {

unsigned int currentThreadId()
{
    constinit thread_local unsigned int id = 0;
    if (id == 0)
        id = static_cast<unsigned int>(gettid());
    return id;
}

// Sleeps up to a point in time, so that what interruptions cost does not add up.
void sleepMilliseconds(unsigned int milliseconds)
{
    if (milliseconds == 0) {
        sched_yield();
        return;
    }
    constexpr long nanosecondsPerSecond = 1'000'000'000;
    timespec until{};
    clock_gettime(CLOCK_MONOTONIC, &until);
    until.tv_sec += milliseconds / 1000;
    until.tv_nsec += static_cast<long>(milliseconds % 1000) * 1'000'000;
    if (until.tv_nsec >= nanosecondsPerSecond) {
        until.tv_nsec -= nanosecondsPerSecond;
        ++until.tv_sec;
    }
    while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &until, nullptr) == EINTR) {}
}

// The identifier is the new thread's to find out, so creation waits until it has.
HeldThread *HeldThread::create(Entry entry, void *argument) noexcept
{
    auto *thread = new (std::nothrow) HeldThread(entry, argument);
    if (thread == nullptr)
        return nullptr;
    if (!thread->createThread()) {
        delete thread;
        return nullptr;
    }
    thread->phase.wait(Phase::starting, std::memory_order_acquire);
    return thread;
}

bool HeldThread::createThread() noexcept
{
    pthread_attr_t attributes;
    if (pthread_attr_init(&attributes) != 0)
        return false;
    pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
    pthread_t thread{};
    const bool isCreated = pthread_create(&thread, &attributes, body, this) == 0;
    pthread_attr_destroy(&attributes);
    return isCreated;
}

void HeldThread::letGo() noexcept
{
    enter(Phase::letGo);
    dropShare();
}

void HeldThread::abandon() noexcept
{
    enter(Phase::abandoned);
    dropShare();
}

// The share is dropped on every way out, also when the entry ends the thread by forced unwinding.
void *HeldThread::body(void *self)
{
    struct DropShare
    {
        void operator()(HeldThread *thread) const { thread->dropShare(); }
    };
    const std::unique_ptr<HeldThread, DropShare> thread(static_cast<HeldThread *>(self));
    if (!thread->waitForCreator())
        return nullptr;
    try {
        thread->entry(thread->argument);
    } catch (...) {
        // Forced unwinding passes here too, but is no exception of the language.
        if (std::current_exception() == nullptr)
            throw;
    }
    return nullptr;
}

bool HeldThread::waitForCreator() noexcept
{
    id = currentThreadId();
    enter(Phase::held);
    phase.wait(Phase::held, std::memory_order_acquire);
    return phase.load(std::memory_order_acquire) == Phase::letGo;
}

void HeldThread::enter(Phase next) noexcept
{
    phase.store(next, std::memory_order_release);
    phase.notify_one();
}

void HeldThread::dropShare() noexcept
{
    if (shares.fetch_sub(1, std::memory_order_acq_rel) == 1)
        delete this;
}

} // namespace Tavrin::platform
