// SPDX-License-Identifier: MIT
// The end of a thread decides how a host may go on. Once it reads isActive as false it may destroy
// the Thread, or take the library down, so the mark falls as the last thing of all: after the
// thread-local objects that run made, whose destructors may use Heap, and after the context.
// Pinned by tests/runtime/ThreadTest.cpp.
#include <tavrin/Thread.h>

#include <utility>

#include <tavrin/Time.h>

#include "platform/Threads.h"
#include "runtime/ContextState.h"
#include "runtime/Startup.h"

namespace Tavrin {

namespace {

constexpr int cannotCreateThread = 32;

// Made on its thread before all other thread-local objects, and so destroyed behind them; that
// holds for a return, an exception and forced unwinding alike.
struct ActiveMark
{
    std::atomic<bool> *active = nullptr;

    ~ActiveMark()
    {
        detail::endCurrentContext();
        active->store(false, std::memory_order_release);
    }
};

thread_local ActiveMark activeMark;

// The main thread is the one whose number is the number of the latest start. Its identifier would
// not do: when it has ended, the system may give that to a new thread. D-085: a stop leaves it.
constinit std::atomic<unsigned int> latestStart = 1;
constinit thread_local unsigned int startedHere = 0;

} // namespace

namespace detail {

void startThread()
{
    startedHere = latestStart.fetch_add(1, std::memory_order_relaxed) + 1;
}

} // namespace detail

// The context comes first: it may have to be made, and a failure must not leave a thread behind.
Thread::Thread()
{
    std::int64_t &timerMark = detail::currentContext().timerMark;
    const std::int64_t now = Time::getHiResTimer();
    handle = platform::HeldThread::create(go, this);
    if (handle == nullptr) {
        // D-081: active stays true.
        error = cannotCreateThread;
        return;
    }
    id = handle->getID();
    timerMark = now; // D-080
}

Thread::~Thread()
{
    if (handle != nullptr)
        handle->abandon();
}

// The thread may be over, and its owner may have destroyed this object, before letGo returns.
void Thread::start()
{
    if (platform::HeldThread *held = std::exchange(handle, nullptr))
        held->letGo();
}

unsigned int Thread::go(void *thread)
{
    auto *self = static_cast<Thread *>(thread);
    activeMark.active = &self->active;
    self->run();
    return 0;
}

void Thread::sleep(unsigned int milliseconds)
{
    platform::sleepMilliseconds(milliseconds);
}

unsigned int Thread::getCurrentID()
{
    const bool isMain = startedHere == latestStart.load(std::memory_order_relaxed);
    return isMain ? 0 : platform::currentThreadId();
}

std::int64_t Thread::getHiResTimer()
{
    const std::int64_t now = Time::getHiResTimer();
    // D-082: a new context's mark is 0.
    return now - std::exchange(detail::currentContext().timerMark, now);
}

} // namespace Tavrin
