// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>

#include "runtime/BlockCache.h"
#include "runtime/ContextState.h"
#include "runtime/Poison.h"

// The cache hit of Heap's operators, for the classes whose construction is mostly that. Everything
// else is in Heap.cpp, which also tells how the cache works.
namespace Tavrin::detail {

// What the operators do when their thread's cache does not serve.
[[gnu::noinline]] void *allocateAnew(BlockCache &cache, std::size_t request);
[[gnu::noinline]] void releaseUncached(BlockCache &cache, void *user) noexcept;
// The whole of them for a thread whose cache is not at hand.
[[gnu::noinline]] void *allocateFromOutside(std::size_t request);
[[gnu::noinline]] void releaseFromOutside(void *user) noexcept;

// The calling thread's cache if it is at hand. It is not while the library is down; neither is the
// first time, nor under a host's fixed context. A thread's slot of this generation is filled only
// while the library is up.
inline BlockCache *cacheAtHand()
{
    if (globals.context != nullptr) [[unlikely]]
        return nullptr;
    if (globals.singleCache != nullptr)
        return static_cast<BlockCache *>(globals.singleCache);
    if (threadSlot.generation == processState.generation) [[likely]]
        return &threadSlot.context->cache;
    return nullptr;
}

inline void *blockOf(void *user)
{
    return static_cast<std::byte *>(user) - blockHeaderSize;
}

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

inline void hideBlock(void *user)
{
    poison(user, sizeInHeader(headerOf(user)) - blockHeaderSize);
}

inline void *allocateIn(BlockCache &cache, std::size_t request)
{
    void *user = cache.take(request);
    if (user == nullptr) [[unlikely]]
        return allocateAnew(cache, request);
    exposeRequest(user, request);
    return user;
}

inline void releaseIn(BlockCache &cache, void *user) noexcept
{
    hideBlock(user);
    if (!cache.keep(user)) [[unlikely]]
        releaseUncached(cache, user);
}

// The cache hit alone: a block that the calling thread's cache has at hand, else null. It makes no
// call, so that what is built on it needs no frame.
inline void *takeCached(std::size_t request) noexcept
{
    BlockCache *cache = cacheAtHand();
    void *user = cache == nullptr ? nullptr : cache->take(request);
    if (user != nullptr)
        exposeRequest(user, request);
    return user;
}

inline void *allocate(std::size_t request)
{
    if (BlockCache *cache = cacheAtHand()) [[likely]]
        return allocateIn(*cache, request);
    return allocateFromOutside(request);
}

inline void release(void *user) noexcept
{
    if (user == nullptr)
        return;
    if (BlockCache *cache = cacheAtHand()) [[likely]]
        return releaseIn(*cache, user);
    releaseFromOutside(user);
}

} // namespace Tavrin::detail
