// SPDX-License-Identifier: MIT
#pragma once

#include <typeinfo>

namespace Tavrin::detail {

// Whether an object is of that very class, so that no class of a host overrides what it does, and
// steps that only an override would see can be left out. A class that is described twice in a
// process may get a no.
template <class T>
bool isExactly(const T &object) noexcept
{
    return &typeid(object) == &typeid(T);
}

} // namespace Tavrin::detail
