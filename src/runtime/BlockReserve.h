// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>

#include <tavrin/Heap.h>

// Where small blocks of the DefaultAllocator wait instead of going back to the system's heap at
// once. Nothing here touches blocks of registered allocators; see BlockReserve.cpp.
namespace Tavrin::detail {

// The part that belongs to one thread. Blocks in it count as given back.
class BlockReserve
{
public:
    // A block of that size, with its header, or null. `limit` is the most blocks of this size that
    // the thread's cache may hold; a reserve holds no more than that either.
    void *take(std::size_t blockSize, unsigned limit)
    {
        void *user = held.classOf(blockSize).pop();
        return user != nullptr ? user : takeFromDepot(blockSize, limit);
    }

    // False when the block has to go to the system's heap.
    bool keep(void *user, std::size_t blockSize, unsigned limit)
    {
        return held.classOf(blockSize).push(user) || keepAfterHandingOver(user, blockSize, limit);
    }

    // Gives all blocks of this thread back to the system's heap.
    void flush();

private:
    void *takeFromDepot(std::size_t blockSize, unsigned limit);
    bool keepAfterHandingOver(void *user, std::size_t blockSize, unsigned limit);

    BlockClasses held;
};

// What all threads together leave for each other at most.
inline constexpr std::size_t depotBytes = std::size_t{8} << 20;
std::size_t bytesInDepot();
// Gives all blocks that threads have left for each other back to the system's heap.
void flushDepot();

} // namespace Tavrin::detail
