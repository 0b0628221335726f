// SPDX-License-Identifier: MIT
#pragma once

#include <tavrin/LiveObject.h>

namespace Tavrin::detail {

// Keeps an object alive while code of the host runs that may let it go. An object that is dying
// already, and calls its own operations from a destructor, is left alone. Only the last reference
// goes through the virtual release.
class SelfHold
{
public:
    explicit SelfHold(const LiveBase &object) : held(object.getRefCount() > 0 ? &object : nullptr)
    {
        if (held != nullptr)
            held->addRef();
    }
    ~SelfHold()
    {
        if (held != nullptr && !dropUnlessLast(&held->refCount)) [[unlikely]]
            held->release();
    }
    SelfHold(const SelfHold &) = delete;
    SelfHold &operator=(const SelfHold &) = delete;

private:
    const LiveBase *held;
};

} // namespace Tavrin::detail
