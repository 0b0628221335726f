// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>

namespace Tavrin::detail {

// The layout of a block: one header word, then the user's bytes. The header holds the size of the
// block, a multiple of 16, and in its low 4 bits the table index of the allocator it came from.
inline constexpr std::size_t blockHeaderSize = 8;
inline constexpr std::size_t blockGranule = 16;
inline constexpr std::uint64_t allocatorIndexMask = blockGranule - 1;

inline std::uint64_t &headerOf(void *user)
{
    return static_cast<std::uint64_t *>(user)[-1];
}

inline std::size_t sizeInHeader(std::uint64_t header)
{
    return header & ~allocatorIndexMask;
}

inline int allocatorInHeader(std::uint64_t header)
{
    return static_cast<int>(header & allocatorIndexMask);
}

// The block size that serves a request: the header included, rounded up.
inline constexpr std::size_t blockSizeFor(std::size_t request)
{
    return (request + blockHeaderSize + blockGranule - 1) & ~(blockGranule - 1);
}
static_assert(blockSizeFor(0) == 16 && blockSizeFor(8) == 16 && blockSizeFor(9) == 32);

inline constexpr int blockClassCount = 20;
inline constexpr std::size_t largestCachedBlock = blockGranule * blockClassCount;
inline constexpr std::size_t largestCachedRequest = largestCachedBlock - blockHeaderSize;
static_assert(largestCachedRequest == 312);

// The class of a block of exactly 16 * (class + 1) bytes.
inline constexpr std::size_t classOfBlock(std::size_t blockSize)
{
    return (blockSize - 1) / blockGranule;
}

// The freed blocks of one size that a thread keeps. A held block keeps its header; its first user
// word links to the next. Only the owning thread writes; `count` is read by others for the
// statistics, so it is accessed atomically, with no ordering and no cost.
struct BlockClass
{
    void *head = nullptr;
    unsigned count = 0;
    unsigned limit = 0;

    unsigned readCount() const { return __atomic_load_n(&count, __ATOMIC_RELAXED); }
    void writeCount(unsigned value) { __atomic_store_n(&count, value, __ATOMIC_RELAXED); }

    bool isEmpty() const { return readCount() == 0; }
    bool isFull() const { return readCount() >= limit; }

    void push(void *user)
    {
        *static_cast<void **>(user) = head;
        head = user;
        writeCount(readCount() + 1);
    }

    void *pop()
    {
        void *user = head;
        head = *static_cast<void **>(user);
        writeCount(readCount() - 1);
        return user;
    }
};

// The statistics of one thread, without the blocks that its cache holds: counting a block down when
// it enters the cache and up when it leaves again is left to `count`.
struct BlockCounters
{
    std::int64_t blocks = 0;
    std::int64_t bytes = 0;

    void add(std::int64_t blockDelta, std::int64_t byteDelta)
    {
        __atomic_store_n(&blocks, blocks + blockDelta, __ATOMIC_RELAXED);
        __atomic_store_n(&bytes, bytes + byteDelta, __ATOMIC_RELAXED);
    }
    std::int64_t readBlocks() const { return __atomic_load_n(&blocks, __ATOMIC_RELAXED); }
    std::int64_t readBytes() const { return __atomic_load_n(&bytes, __ATOMIC_RELAXED); }
};

struct BlockCache
{
    BlockClass classes[blockClassCount];
    BlockCounters counters;

    // Gives every held block back to the allocator that it came from.
    void flush();
    // Gives each class an equal share of the budget.
    void setLimits(int budget);
};

// Throws what Heap throws: std::bad_alloc with the text "bad allocation".
[[noreturn, gnu::cold, gnu::noinline]] void throwOutOfMemory();

// Changes the size of a block from Heap as Heap::reAlloc does, but keeps the contents, and releases
// the old block, when only the second attempt succeeds. The containers of this library grow by it.
void *resizeBlock(void *user, std::size_t size);

} // namespace Tavrin::detail
