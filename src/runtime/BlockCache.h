// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>

#include <tavrin/Heap.h>

#include "runtime/BlockReserve.h"

namespace Tavrin::detail {

inline constexpr std::uint64_t allocatorIndexMask = blockGranule - 1;

inline int allocatorInHeader(std::uint64_t header)
{
    return static_cast<int>(header & allocatorIndexMask);
}

// The statistics of one thread, without the blocks that its cache and its reserve hold: counting a
// block down when it enters them and up when it leaves again is left to `count`.
struct BlockCounters
{
    std::int64_t blocks = 0;
    std::int64_t bytes = 0;

    void add(std::int64_t blockDelta, std::int64_t byteDelta)
    {
        __atomic_store_n(&blocks, blocks + blockDelta, __ATOMIC_RELAXED);
        __atomic_store_n(&bytes, bytes + byteDelta, __ATOMIC_RELAXED);
    }
    void addBlocks(std::int64_t count, std::size_t blockSize)
    {
        add(count, count * static_cast<std::int64_t>(blockSize));
    }
    std::int64_t readBlocks() const { return __atomic_load_n(&blocks, __ATOMIC_RELAXED); }
    std::int64_t readBytes() const { return __atomic_load_n(&bytes, __ATOMIC_RELAXED); }
};

struct BlockCache : BlockClasses
{
    unsigned limits[blockClassCount + 1] = {};
    BlockCounters counters;
    BlockClasses reserve; // what waits behind the cache, see BlockReserve.h

    unsigned limitOf(std::size_t blockSize) const { return limits[blockSize / blockGranule]; }

    bool isAtLimit(std::size_t blockSize) { return classOf(blockSize).room >= limitOf(blockSize); }

    // Gives every held block back to the allocator that it came from, and the reserve as well.
    void flush();
    // Gives each class an equal share of the budget. The cache is empty when this is called.
    void setLimits(int budget);
    // Makes slots for a full class that is below its limit. False at the limit or without memory.
    bool makeRoom(std::size_t blockSize);
};

// Makes `room` slots for a class, keeping what it holds. False without memory.
bool makeSlots(BlockClass &blockClass, unsigned room);
// Gives the blocks of a class back to the allocators that they came from, and its slots.
void giveBack(BlockClass &blockClass);

// Throws what Heap throws: std::bad_alloc with the text "bad allocation".
[[noreturn, gnu::cold, gnu::noinline]] void throwOutOfMemory();

// Changes the size of a block from Heap as Heap::reAlloc does, but keeps the contents, and releases
// the old block, when only the second attempt succeeds. The containers of this library grow by it.
void *resizeBlock(void *user, std::size_t size);

} // namespace Tavrin::detail
