// SPDX-License-Identifier: MIT
// Allocation through the per-thread block cache.
//
// A request is rounded up to a block of 16 * n bytes with a header word in front of the user's
// bytes. Blocks of up to 320 bytes come from their class in the calling thread's cache when it
// holds one, and go back there while the class is below its limit; all others are the allocator's.
// In single-threaded operation the operators do that in place (HeapCache.h). What they cannot do
// there comes here: other threads, full and empty classes, large blocks, and everything outside
// init and exit. Blocks that the DefaultAllocator would free pass through a reserve
// (BlockReserve.cpp).
//
// Statistics: an allocator call counts a block up or down in the thread's counters; entering and
// leaving the cache is counted by its classes alone. The published figure is therefore the counters
// minus what the caches hold, and the common path writes no statistics at all.
// Pinned by tests/runtime/HeapTest.cpp.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>

#include <tavrin/Heap.h>

#include "runtime/AllocatorTable.h"
#include "runtime/BlockCache.h"
#include "runtime/ContextState.h"
#include "runtime/HeapInline.h"

namespace Tavrin {

namespace detail {

namespace {

// One text on every platform.
class OutOfMemory final : public std::bad_alloc
{
public:
    const char *what() const noexcept override { return "bad allocation"; }
};

} // namespace

void throwOutOfMemory()
{
    throw OutOfMemory();
}

struct AllocationPlace
{
    const char *file;
    int line;
};

namespace {

// Entry 0 is always the DefaultAllocator, so its virtual calls are known here.
void *askAllocator(int index, std::size_t blockSize, const AllocationPlace *place)
{
    if (index == 0)
        return std::malloc(blockSize);
    Allocator *allocator = allocatorTable.entry(index);
    return place == nullptr ? allocator->allocMem(blockSize)
                            : allocator->allocMem(blockSize, place->file, place->line);
}

void *resizeByAllocator(int index, void *block, std::size_t blockSize)
{
    if (index == 0)
        return std::realloc(block, blockSize);
    return allocatorTable.entry(index)->reallocMem(block, blockSize);
}

// The DefaultAllocator has nothing to give back but what waits in front of it.
void flushAllocator(int index, BlockCache &cache)
{
    if (index == 0) {
        flushReserve(cache);
        flushDepot();
    }
    if (Allocator *allocator = allocatorTable.entry(index))
        allocator->flush();
}

void *writeHeader(void *block, std::size_t blockSize, int index)
{
    *static_cast<std::uint64_t *>(block) = blockSize | static_cast<std::uint64_t>(index);
    return static_cast<std::byte *>(block) + blockHeaderSize;
}

// A request that overflows when it is rounded up can never be served.
std::size_t checkedBlockSize(std::size_t request)
{
    const std::size_t blockSize = blockSizeFor(request);
    if (blockSize < request)
        throwOutOfMemory();
    return blockSize;
}

// The second attempt, after the allocator gave back what it could.
[[gnu::cold, gnu::noinline]] void *askAgain(BlockCache &cache, int index, std::size_t blockSize,
                                            const AllocationPlace *place)
{
    flushAllocator(index, cache);
    void *block = askAllocator(index, blockSize, place);
    if (block == nullptr)
        throwOutOfMemory();
    return block;
}

// A block from the reserve, which may refill itself from the depot, or null.
inline void *takeFromReserve(BlockCache &cache, std::size_t request)
{
    void *user = cache.reserve.take(request);
    if (user != nullptr || request > largestCachedRequest ||
        !refillReserve(cache, blockSizeFor(request)))
        return user;
    return cache.reserve.take(request);
}

// A block that the cache does not hold.
[[gnu::noinline]] void *allocateFresh(BlockCache &cache, std::size_t request,
                                      const AllocationPlace *place)
{
    const std::size_t blockSize = checkedBlockSize(request);
    const int index = allocatorTable.currentIndex();
    void *user = index == 0 ? takeFromReserve(cache, request) : nullptr;
    if (user == nullptr) {
        void *block = askAllocator(index, blockSize, place);
        if (block == nullptr) [[unlikely]]
            block = askAgain(cache, index, blockSize, place);
        cache.counters.addBlocks(1, blockSize);
        user = writeHeader(block, blockSize, index);
    }
    exposeRequest(user, request);
    return user;
}

[[gnu::noinline]] void releaseUnreserved(BlockCache &cache, void *user) noexcept
{
    const std::uint64_t header = headerOf(user);
    const std::size_t blockSize = sizeInHeader(header);
    const int index = allocatorInHeader(header);
    if (blockSize <= largestCachedBlock) {
        if (cache.makeRoom(blockSize) && cache.keep(user))
            return;
        if (index == 0 && keepInFullReserve(cache, user, blockSize))
            return;
    }
    cache.counters.addBlocks(-1, blockSize);
    exposeBlock(user);
    freeByAllocator(index, blockOf(user));
}

// The calling thread's context while the library is up. Its cache is at hand from here on, but for
// the address sanitizer, which the inline path of Heap does not serve.
ContextState &enterService()
{
    ContextState &context = currentContext();
    if (&context == processState.singleContext && !poisonsBlocks)
        globals.singleCache = &context.cache;
    return context;
}

} // namespace

void *allocateAnew(BlockCache &cache, std::size_t request)
{
    if (allocatorTable.currentIndex() == 0)
        if (void *user = cache.reserve.take(request)) [[likely]] {
            exposeRequest(user, request);
            return user;
        }
    return allocateFresh(cache, request, nullptr);
}

void releaseUncached(BlockCache &cache, void *user) noexcept
{
    const std::uint64_t header = headerOf(user);
    const bool isReservable = header <= largestCachedBlock && allocatorInHeader(header) == 0;
    if (!isReservable || !cache.isAtLimit(header) || !cache.reserve.keep(user)) [[unlikely]]
        releaseUnreserved(cache, user);
}

void *allocateFromOutside(std::size_t request)
{
    if (!isLibraryUp())
        throwOutOfMemory();
    return allocateIn(enterService().cache, request);
}

void releaseFromOutside(void *user) noexcept
{
    if (isLibraryUp())
        releaseIn(enterService().cache, user);
}

void *allocateBlock(std::size_t size)
{
    return allocate(size);
}

void releaseBlock(void *block) noexcept
{
    release(block);
}

namespace {

void *allocateAt(std::size_t request, const char *file, int line)
{
    if (!isLibraryUp())
        throwOutOfMemory();
    ContextState &context = enterService();
    const AllocationPlace place{file, line};
    void *user = context.cacheSize == 0 ? nullptr : context.cache.take(request);
    if (user == nullptr)
        return allocateFresh(context.cache, request, &place);
    exposeRequest(user, request);
    return user;
}

// What a failed resize leaves: the old block, and fresh storage of the new size, or an exception.
void *resizeAfterFlush(int index, std::size_t blockSize)
{
    flushAllocator(index, currentContext().cache);
    void *fresh = resizeByAllocator(index, nullptr, blockSize);
    if (fresh == nullptr)
        throwOutOfMemory();
    return fresh;
}

// The body of both ways to change a size. `rescue` says what becomes of the old block when only the
// second attempt succeeds.
template <class Rescue>
void *resize(void *user, std::size_t request, Rescue rescue)
{
    if (!isLibraryUp())
        throwOutOfMemory();
    if (user == nullptr)
        return nullptr;
    const std::size_t blockSize = checkedBlockSize(request);
    const std::uint64_t header = headerOf(user);
    const std::size_t oldSize = sizeInHeader(header);
    const int index = allocatorInHeader(header);
    if (blockSize != oldSize) {
        exposeBlock(user);
        void *block = resizeByAllocator(index, blockOf(user), blockSize);
        if (block == nullptr) {
            block = resizeAfterFlush(index, blockSize);
            rescue(user, block, oldSize < blockSize ? oldSize : blockSize);
        }
        currentContext().cache.counters.add(0, static_cast<std::int64_t>(blockSize) -
                                                   static_cast<std::int64_t>(oldSize));
        user = writeHeader(block, blockSize, index);
    }
    exposeRequest(user, request);
    return user;
}

} // namespace

void *resizeBlock(void *user, std::size_t size)
{
    return resize(user, size, [](void *old, void *fresh, std::size_t bytes) {
        std::memcpy(fresh, blockOf(old), bytes);
        freeByAllocator(allocatorInHeader(headerOf(old)), blockOf(old));
    });
}

} // namespace detail

void *Heap::operator new(std::size_t size, const char *file, int line)
{
    return detail::allocateAt(size, file, line);
}

void *Heap::operator new[](std::size_t size, const char *file, int line)
{
    return detail::allocateAt(size, file, line);
}

void *Heap::reAlloc(void *block, std::size_t size)
{
    // D-001: the old block is left alone. Callers that hold it release it themselves.
    return detail::resize(block, size, [](void *, void *, std::size_t) {});
}

void Heap::flushCache()
{
    detail::currentContext().cache.flush();
    detail::flushDepot();
}

int Heap::getCacheSize()
{
    return detail::currentContext().cacheSize;
}

void Heap::setCacheSize(int bytes)
{
    detail::ContextState &context = detail::currentContext();
    context.cache.flush();
    detail::flushDepot();
    context.cacheSize = bytes < 0 ? 0 : bytes;
    context.cache.setLimits(context.cacheSize);
}

void Heap::getMemoryStatistics(int &blocks, std::size_t &bytes)
{
    struct Sum
    {
        std::int64_t blocks;
        std::int64_t bytes;
    } sum{0, 0};
    detail::forEachContext(
        [](detail::ContextState &context, void *argument) {
            auto &total = *static_cast<Sum *>(argument);
            const detail::BlockCache &cache = context.cache;
            total.blocks += cache.counters.readBlocks();
            total.bytes += cache.counters.readBytes();
            for (std::size_t index = 1; index <= detail::blockClassCount; ++index) {
                const std::int64_t held = std::int64_t{cache.classes[index].readCount()} +
                                          cache.reserve.classes[index].readCount();
                total.blocks -= held;
                total.bytes -= held * static_cast<std::int64_t>(index * detail::blockGranule);
            }
        },
        &sum);
    blocks = static_cast<int>(sum.blocks + detail::retiredCounters.readBlocks());
    bytes = static_cast<std::size_t>(sum.bytes + detail::retiredCounters.readBytes());
}

} // namespace Tavrin
