// SPDX-License-Identifier: MIT
// The bookkeeping of a thread's cache. The slots of a class are made as blocks come in, by doubling
// up to its limit, so that a large budget costs nothing until it is used.
// Pinned by tests/runtime/BlockCacheTest.cpp.
#include "runtime/BlockCache.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

#include "runtime/AllocatorTable.h"
#include "runtime/HeapInline.h"

namespace Tavrin::detail {

bool makeSlots(BlockClass &blockClass, unsigned room)
{
    void *slots = std::realloc(blockClass.blocks, room * sizeof(void *));
    if (slots == nullptr)
        return false;
    blockClass.blocks = static_cast<void **>(slots);
    blockClass.room = room;
    return true;
}

// The class is empty before the first block goes, because an allocator may call Heap.
void giveBack(BlockClass &blockClass)
{
    void **slots = std::exchange(blockClass.blocks, nullptr);
    unsigned left = blockClass.readCount();
    blockClass.writeCount(0);
    blockClass.room = 0;
    while (left > 0) {
        void *user = slots[--left];
        exposeBlock(user);
        freeByAllocator(allocatorInHeader(headerOf(user)), blockOf(user));
    }
    std::free(slots);
}

bool BlockCache::makeRoom(std::size_t blockSize)
{
    constexpr unsigned smallestRoom = 16;
    if (isAtLimit(blockSize))
        return false;
    BlockClass &blockClass = classOf(blockSize);
    return makeSlots(blockClass,
                     std::min(std::max(blockClass.room * 2, smallestRoom), limitOf(blockSize)));
}

void BlockCache::flush()
{
    std::size_t blockSize = 0;
    for (BlockClass &blockClass : classes) {
        // D-002: the blocks were counted down when they came in, and are counted down once more.
        // Emptying the class counts them up, so two of each come off.
        counters.addBlocks(-2 * std::int64_t{blockClass.readCount()}, blockSize);
        giveBack(blockClass);
        blockSize += blockGranule;
    }
    flushReserve(*this);
}

void BlockCache::setLimits(int budget)
{
    const std::size_t share = static_cast<std::size_t>(budget) / blockClassCount;
    for (std::size_t index = 1; index <= blockClassCount; ++index)
        limits[index] = static_cast<unsigned>(share / (index * blockGranule));
}

} // namespace Tavrin::detail
