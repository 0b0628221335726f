// SPDX-License-Identifier: MIT
#pragma once

#include <tavrin/LiveObject.h>

namespace Tavrin::detail {

// Keeps an object alive while code of the host runs that may let it go, or while the value for an
// answer is emptied, which may hold the last reference. An object that is dying already, and calls
// its own operations from a destructor, is left alone. Where others gave references up meanwhile,
// it goes by the virtual release, which a host may have changed.
class SelfHold
{
public:
    explicit SelfHold(const LiveBase &object) : held(object), others(object.getRefCount())
    {
        if (others > 0)
            held.addRef();
    }
    ~SelfHold()
    {
        if (others > 0 && !dropAbove(&held.refCount, others)) [[unlikely]]
            held.release();
    }
    SelfHold(const SelfHold &) = delete;
    SelfHold &operator=(const SelfHold &) = delete;

private:
    const LiveBase &held;
    const int others; // references when it began
};

} // namespace Tavrin::detail
