// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

namespace Tavrin::test {

// Where a pointer points, as a number, which may be compared after the block is released.
inline std::uintptr_t addressOf(const void *pointer)
{
    return reinterpret_cast<std::uintptr_t>(pointer);
}

} // namespace Tavrin::test
