// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>

namespace Tavrin::platform {

// A signal that lets one waiter pass and is gone then. The waiter that waits longest goes first; a
// signal without a waiter is kept for the next one, but two of them count as one.
// The last waiter has returned before the event is destroyed.
class AutoResetEvent
{
public:
    AutoResetEvent();
    ~AutoResetEvent();
    AutoResetEvent(const AutoResetEvent &) = delete;
    AutoResetEvent &operator=(const AutoResetEvent &) = delete;

    // False when the system had no event to give; nothing else may be called then.
    bool isMade() const;

    void signal();
    // Forced unwinding may end it; a signal that was meant for the thread goes to the next one.
    void wait();
    // Lets all waiters pass, and all that come later.
    void close();

    struct State;

private:
    // The state lives in here, so that this header needs nothing of the system's.
    alignas(8) std::byte storage[80];
};

} // namespace Tavrin::platform
