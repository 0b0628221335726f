// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>

#include "runtime/BlockCache.h"
#include "runtime/ContextState.h"
#include "runtime/Poison.h"

// The cache hit of Heap's operators, for the classes whose construction is mostly that. Everything
// else is in Heap.cpp, which also tells how the cache works.
namespace Tavrin::detail {

struct AllocationPlace;

// Everything but the cache hit.
[[gnu::noinline]] void *allocateAnew(std::size_t request, const AllocationPlace *place);
[[gnu::noinline]] void releaseToAllocator(void *user, BlockCounters &counters);

inline void exposeRequest(void *user, std::size_t request)
{
    const std::size_t usable = sizeInHeader(headerOf(user)) - blockHeaderSize;
    unpoison(user, request);
    poison(static_cast<std::byte *>(user) + request, usable - request);
}

inline void exposeBlock(void *user)
{
    unpoison(user, sizeInHeader(headerOf(user)) - blockHeaderSize);
}

inline BlockClass *classForRequest(ContextState &context, std::size_t request)
{
    if (request > largestCachedRequest)
        return nullptr;
    return &context.cache.classes[classOfBlock(blockSizeFor(request))];
}

inline void *takeFromClass(BlockClass &blockClass, std::size_t request)
{
    void *user = blockClass.pop();
    exposeRequest(user, request);
    return user;
}

inline void *allocate(std::size_t request)
{
    if (isLibraryUp()) [[likely]] {
        BlockClass *blockClass = classForRequest(currentContext(), request);
        if (blockClass != nullptr && !blockClass->isEmpty()) [[likely]]
            return takeFromClass(*blockClass, request);
    }
    return allocateAnew(request, nullptr);
}

inline void release(void *user)
{
    if (!isLibraryUp() || user == nullptr) [[unlikely]]
        return;
    BlockCache &cache = currentContext().cache;
    const std::size_t blockSize = sizeInHeader(headerOf(user));
    if (blockSize <= largestCachedBlock) [[likely]] {
        BlockClass &blockClass = cache.classes[classOfBlock(blockSize)];
        if (!blockClass.isFull()) [[likely]] {
            exposeBlock(user);
            blockClass.push(user);
            poison(static_cast<std::byte *>(user) + sizeof(void *),
                   blockSize - blockHeaderSize - sizeof(void *));
            return;
        }
    }
    releaseToAllocator(user, cache.counters);
}

} // namespace Tavrin::detail
