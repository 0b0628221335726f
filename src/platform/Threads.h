// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>

namespace Tavrin::platform {

// The system's identifier of the calling thread; never 0. A forked child keeps its parent's.
unsigned int currentThreadId();

// Suspends the calling thread for at least that long; signals do not cut it short. 0 only yields.
void sleepMilliseconds(unsigned int milliseconds);

// A detached thread that exists, and has its identifier, but waits before its first step.
// Owns:    itself. The creator gives it up by exactly one call of letGo or abandon; the thread has
//          a share of its own, so that either of the two may be gone first.
// Storage: the system heap's, not Heap's. A thread that was abandoned may come round to its share
//          after InitTerm::exit, and one that ran may do so when its context has gone: a release
//          to Heap would be ignored then, or make a new context.
class HeldThread
{
public:
    using Entry = unsigned int (*)(void *argument);

    // A held thread that is to call entry(argument); null when the system has no thread to give.
    static HeldThread *create(Entry entry, void *argument) noexcept;

    unsigned int getID() const { return id; }

    // Has the thread call its entry. An exception ends the entry and goes no further; forced
    // unwinding, by which the system ends a thread from within, passes.
    void letGo() noexcept;
    // Has the thread end without the call.
    void abandon() noexcept;

private:
    enum class Phase : int
    {
        starting, // the identifier is not known yet
        held,
        letGo,
        abandoned,
    };

    HeldThread(Entry entryCalled, void *argumentPassed)
        : entry(entryCalled), argument(argumentPassed)
    {}

    static void *body(void *self);
    bool createThread() noexcept;
    bool waitForCreator() noexcept;
    void enter(Phase next) noexcept;
    void dropShare() noexcept;

    const Entry entry;
    void *const argument;
    unsigned int id = 0;
    std::atomic<Phase> phase = Phase::starting;
    std::atomic<int> shares = 2; // the creator's and the thread's
};

} // namespace Tavrin::platform
