// SPDX-License-Identifier: MIT
#pragma once

#include <tavrin/Message.h>

namespace Tavrin::detail {

// BroadcasterPin: a listener's safe way out of a broadcaster that may be dying on another thread.
// It keeps the lists alive, not the broadcaster. Once it has let go, the listener is not being
// notified any more.
class BroadcasterPin
{
public:
    BroadcasterPin() = default;
    ~BroadcasterPin() { leave(); }
    BroadcasterPin(const BroadcasterPin &) = delete;
    BroadcasterPin &operator=(const BroadcasterPin &) = delete;

    // Registers the listener. Only once; std::bad_alloc if that fails.
    void enter(Broadcaster &broadcaster, Listener &newListener, int newID);
    void leave() noexcept;
    void swap(BroadcasterPin &other) noexcept;

private:
    BroadcasterData *data = nullptr;
    Listener *listener = nullptr;
    int id = 0;
};

} // namespace Tavrin::detail
