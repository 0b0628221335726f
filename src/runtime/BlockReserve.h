// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>

// Where small blocks of the DefaultAllocator wait instead of going back to the system's heap at
// once: each thread's reserve, and the depot that all threads share. See BlockReserve.cpp.
namespace Tavrin::detail {

struct BlockCache;

// Moves a batch of blocks of that size from the depot to the empty reserve. False when there is
// none.
bool refillReserve(BlockCache &cache, std::size_t blockSize);
// Keeps a block in the full reserve, by moving a batch to the depot. False when the block has to go
// to the system's heap.
bool keepInFullReserve(BlockCache &cache, void *user, std::size_t blockSize);
// Gives the blocks in the reserve back to the system's heap.
void flushReserve(BlockCache &cache);

// What the depot holds, at most and now.
inline constexpr std::size_t depotBytes = std::size_t{8} << 20;
std::size_t bytesInDepot();
// Gives the blocks in the depot back to the system's heap.
void flushDepot();

} // namespace Tavrin::detail
