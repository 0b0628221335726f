// SPDX-License-Identifier: MIT
#pragma once

#include <cstdlib>

#include <tavrin/Heap.h>

namespace Tavrin::detail {

// Entry 0 is the DefaultAllocator, null outside init and exit. Entries 1 to 10 are the registered
// ones in the order of registration; they outlive exit. Read without a lock by every allocation
// that reaches an allocator, so the words are accessed atomically.
inline constexpr int allocatorTableSize = 11;

struct AllocatorTable
{
    Allocator *entries[allocatorTableSize] = {};
    int current = 0;

    Allocator *entry(int index) const { return __atomic_load_n(&entries[index], __ATOMIC_ACQUIRE); }
    int currentIndex() const { return __atomic_load_n(&current, __ATOMIC_ACQUIRE); }
};

extern AllocatorTable allocatorTable;

// Entry 0 is always the DefaultAllocator, so its virtual call is known here.
inline void freeByAllocator(int index, void *block)
{
    if (index == 0)
        std::free(block);
    else
        allocatorTable.entry(index)->freeMem(block);
}

} // namespace Tavrin::detail
