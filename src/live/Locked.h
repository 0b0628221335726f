// SPDX-License-Identifier: MIT
#pragma once

#include <tavrin/Lock.h>

namespace Tavrin::detail {

// Holds the optional lock of an object.
class Locked
{
public:
    explicit Locked(const Lockable &owner) : held(owner) { held.lock(); }
    ~Locked() { held.unlock(); }
    Locked(const Locked &) = delete;
    Locked &operator=(const Locked &) = delete;

private:
    const Lockable &held;
};

} // namespace Tavrin::detail
