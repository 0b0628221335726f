// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>

#include <tavrin/Context.h>
#include <tavrin/Export.h>

// The common path of Heap's operators, which is expanded where they are used. A library that a host
// is linked against later has to keep these layouts, or change its soname.
namespace Tavrin::detail {

// The layout of a block: one header word, then the user's bytes. The header holds the size of the
// block, a multiple of 16, and in its low 4 bits the table index of the allocator it came from.
inline constexpr std::size_t blockHeaderSize = 8;
inline constexpr std::size_t blockGranule = 16;

inline std::uint64_t &headerOf(void *user)
{
    return static_cast<std::uint64_t *>(user)[-1];
}

inline std::size_t sizeInHeader(std::uint64_t header)
{
    return header & ~std::uint64_t{blockGranule - 1};
}

// The block size that serves a request: the header included, rounded up.
inline constexpr std::size_t blockSizeFor(std::size_t request)
{
    return (request + blockHeaderSize + blockGranule - 1) & ~(blockGranule - 1);
}
static_assert(blockSizeFor(0) == 16 && blockSizeFor(8) == 16 && blockSizeFor(9) == 32);

inline constexpr std::size_t blockClassCount = 20;
inline constexpr std::size_t largestCachedBlock = blockGranule * blockClassCount;
inline constexpr std::size_t largestCachedRequest = largestCachedBlock - blockHeaderSize;
static_assert(largestCachedRequest == 312);

// The freed blocks of one size that a thread keeps: an array that serves as a stack, so that
// keeping a block and handing it out again touch neither the block nor another one. Only the owning
// thread writes; `count` is read by others for the statistics, so it is accessed atomically, with
// no ordering and no cost.
struct BlockClass
{
    void **blocks = nullptr;
    unsigned count = 0;
    unsigned room = 0; // how many places there are; more are made up to the limit of the class

    unsigned readCount() const { return __atomic_load_n(&count, __ATOMIC_RELAXED); }
    void writeCount(unsigned value) { __atomic_store_n(&count, value, __ATOMIC_RELAXED); }

    // False when there is no room for it.
    bool push(void *user)
    {
        const unsigned held = readCount();
        if (held == room) [[unlikely]]
            return false;
        blocks[held] = user;
        writeCount(held + 1);
        return true;
    }

    // Null when no block is held.
    void *pop()
    {
        unsigned held = readCount();
        if (held == 0) [[unlikely]]
            return nullptr;
        --held;
        writeCount(held);
        return blocks[held];
    }
};

// The freed blocks that a thread keeps, by size. A block of 16 * n bytes belongs to class n, so the
// first class stays empty, and the size of a block is the byte offset of its class.
struct BlockClasses
{
    BlockClass classes[blockClassCount + 1];

    BlockClass &classOf(std::size_t blockSize)
    {
        static_assert(sizeof(BlockClass) == blockGranule);
        return *reinterpret_cast<BlockClass *>(reinterpret_cast<std::byte *>(classes) + blockSize);
    }

    // A block for the request, or null when none is held.
    void *take(std::size_t request)
    {
        if (request > largestCachedRequest) [[unlikely]]
            return nullptr;
        return classOf(blockSizeFor(request)).pop();
    }

    // Whether it keeps the block; the allocator has to take it back otherwise.
    bool keep(void *user)
    {
        const std::size_t blockSize = sizeInHeader(headerOf(user));
        return blockSize <= largestCachedBlock && classOf(blockSize).push(user);
    }
};

// The calling thread's cache in single-threaded operation, else null.
inline BlockClasses *singleCache()
{
    return globals.context == nullptr ? globals.singleCache : nullptr;
}

// What the operators do when the cache at hand does not serve.
TAVRIN_API void *allocateBlock(std::size_t size);
TAVRIN_API void releaseBlock(void *block) noexcept;

inline void *newBlock(std::size_t size)
{
    if (BlockClasses *cache = singleCache()) [[likely]]
        if (void *block = cache->take(size)) [[likely]]
            return block;
    return allocateBlock(size);
}

inline void deleteBlock(void *block) noexcept
{
    if (block == nullptr)
        return;
    if (BlockClasses *cache = singleCache()) [[likely]]
        if (cache->keep(block)) [[likely]]
            return;
    releaseBlock(block);
}

} // namespace Tavrin::detail
