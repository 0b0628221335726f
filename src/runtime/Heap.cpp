// SPDX-License-Identifier: MIT
// Allocation through the per-thread block cache.
//
// A request is rounded up to a block of 16 * n bytes with a header word in front of the user's
// bytes. Blocks of up to 320 bytes come from the list of their class in the calling thread's cache
// when it holds one, and go back there while the class is below its limit; all others are the
// allocator's. The common path reads the count of inits, finds the context and moves one list head.
//
// Statistics: an allocator call counts a block up or down in the thread's counters; entering and
// leaving the cache is counted by the lists alone. The published figure is therefore the counters
// minus what the caches hold, and the common path writes no statistics at all.
// Pinned by tests/runtime/HeapTest.cpp.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>
#include <utility>

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

void freeByAllocator(int index, void *block)
{
    if (index == 0)
        std::free(block);
    else
        allocatorTable.entry(index)->freeMem(block);
}

void flushAllocator(int index)
{
    if (Allocator *allocator = allocatorTable.entry(index))
        allocator->flush();
}

void *writeHeader(void *block, std::size_t blockSize, int index)
{
    *static_cast<std::uint64_t *>(block) = blockSize | static_cast<std::uint64_t>(index);
    return static_cast<std::byte *>(block) + blockHeaderSize;
}

void *blockOf(void *user)
{
    return static_cast<std::byte *>(user) - blockHeaderSize;
}

// A request that overflows when it is rounded up can never be served.
std::size_t checkedBlockSize(std::size_t request)
{
    const std::size_t blockSize = blockSizeFor(request);
    if (blockSize < request)
        throwOutOfMemory();
    return blockSize;
}

// A fresh block of the allocator in force, counted, with its header.
void *makeBlock(std::size_t blockSize, const AllocationPlace *place)
{
    const int index = allocatorTable.currentIndex();
    void *block = askAllocator(index, blockSize, place);
    if (block == nullptr) {
        flushAllocator(index);
        block = askAllocator(index, blockSize, place);
        if (block == nullptr)
            throwOutOfMemory();
    }
    currentContext().cache.counters.add(1, static_cast<std::int64_t>(blockSize));
    return writeHeader(block, blockSize, index);
}

} // namespace

void *allocateAnew(std::size_t request, const AllocationPlace *place)
{
    if (!isLibraryUp())
        throwOutOfMemory();
    void *user = makeBlock(checkedBlockSize(request), place);
    exposeRequest(user, request);
    return user;
}

void releaseToAllocator(void *user, BlockCounters &counters)
{
    exposeBlock(user);
    const std::uint64_t header = headerOf(user);
    counters.add(-1, -static_cast<std::int64_t>(sizeInHeader(header)));
    freeByAllocator(allocatorInHeader(header), blockOf(user));
}

namespace {

void *allocateAt(std::size_t request, const char *file, int line)
{
    if (isLibraryUp()) {
        ContextState &context = currentContext();
        BlockClass *blockClass =
            context.cacheSize == 0 ? nullptr : classForRequest(context, request);
        if (blockClass != nullptr && !blockClass->isEmpty())
            return takeFromClass(*blockClass, request);
    }
    const AllocationPlace place{file, line};
    return allocateAnew(request, &place);
}

// What a failed resize leaves: the old block, and fresh storage of the new size, or an exception.
void *resizeAfterFlush(int index, std::size_t blockSize)
{
    flushAllocator(index);
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

void BlockCache::flush()
{
    for (BlockClass &blockClass : classes) {
        void *user = std::exchange(blockClass.head, nullptr);
        const auto held = static_cast<std::int64_t>(blockClass.readCount());
        blockClass.writeCount(0);
        // D-002: the blocks were counted down when they came in, and are counted down once more.
        // Emptying the list counts them up, so two of each come off.
        const std::int64_t blockSize = (&blockClass - classes + 1) * std::int64_t{blockGranule};
        counters.add(-2 * held, -2 * held * blockSize);
        while (user != nullptr) {
            void *next = *static_cast<void **>(user);
            exposeBlock(user);
            freeByAllocator(allocatorInHeader(headerOf(user)), blockOf(user));
            user = next;
        }
    }
}

void BlockCache::setLimits(int budget)
{
    const int share = budget / (blockClassCount * static_cast<int>(blockGranule));
    for (int index = 0; index < blockClassCount; ++index)
        classes[index].limit = static_cast<unsigned>(share / (index + 1));
}

} // namespace detail

void *Heap::operator new(std::size_t size)
{
    return detail::allocate(size);
}

void *Heap::operator new[](std::size_t size)
{
    return detail::allocate(size);
}

void *Heap::operator new(std::size_t size, const char *file, int line)
{
    return detail::allocateAt(size, file, line);
}

void *Heap::operator new[](std::size_t size, const char *file, int line)
{
    return detail::allocateAt(size, file, line);
}

void Heap::operator delete(void *block) noexcept
{
    detail::release(block);
}

void Heap::operator delete[](void *block) noexcept
{
    detail::release(block);
}

void Heap::operator delete(void *block, const char *, int) noexcept
{
    detail::release(block);
}

void Heap::operator delete[](void *block, const char *, int) noexcept
{
    detail::release(block);
}

void *Heap::reAlloc(void *block, std::size_t size)
{
    // D-001: the old block is left alone. Callers that hold it release it themselves.
    return detail::resize(block, size, [](void *, void *, std::size_t) {});
}

void Heap::flushCache()
{
    detail::currentContext().cache.flush();
}

int Heap::getCacheSize()
{
    return detail::currentContext().cacheSize;
}

void Heap::setCacheSize(int bytes)
{
    detail::ContextState &context = detail::currentContext();
    context.cache.flush();
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
            std::int64_t blockSize = 0;
            for (const detail::BlockClass &blockClass : cache.classes) {
                blockSize += std::int64_t{detail::blockGranule};
                total.blocks -= blockClass.readCount();
                total.bytes -= blockClass.readCount() * blockSize;
            }
        },
        &sum);
    blocks = static_cast<int>(sum.blocks + detail::retiredCounters.readBlocks());
    bytes = static_cast<std::size_t>(sum.bytes + detail::retiredCounters.readBytes());
}

} // namespace Tavrin
