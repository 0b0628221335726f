// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>

namespace Tavrin::platform {

// A mutex that its holder may take again; it is free when it was released as often as it was taken.
class RecursiveLock
{
public:
    RecursiveLock();
    ~RecursiveLock();
    RecursiveLock(const RecursiveLock &) = delete;
    RecursiveLock &operator=(const RecursiveLock &) = delete;

    void acquire();
    void release();

private:
    // The system's mutex lives in here, so that this header needs none of the system's.
    alignas(8) std::byte storage[64];
};

} // namespace Tavrin::platform
