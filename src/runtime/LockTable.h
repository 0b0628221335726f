// SPDX-License-Identifier: MIT
#pragma once

#include <tavrin/Context.h>
#include <tavrin/Lock.h>

namespace Tavrin::detail {

// The table of locks behind Globals::locks. Slots without a name are the interpreter's.
// Order: weakRegistry is taken last; lazyCreation guards a small creation only.
inline constexpr int lockTableSize = 15;

enum class LockSlot
{
    allocators = 0,
    lazyCreation = 2,
    paths = 3,
    dialogs = 4,
    encoders = 5,
    liveClasses = 6,
    systemLocale = 7,
    weakRegistry = 8,
};

// The lock of a slot, or null in single-threaded operation.
inline Lock *tableLock(LockSlot slot)
{
    Lock *first = globals.locks;
    return first == nullptr ? nullptr : first + static_cast<int>(slot);
}

} // namespace Tavrin::detail
