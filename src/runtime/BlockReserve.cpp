// SPDX-License-Identifier: MIT
// Passing freed blocks from thread to thread in batches.
//
// A block that a thread's cache has no room for would go to the system's heap, and a request that
// the cache cannot serve would come from there. That is dear when one thread makes what another one
// releases, and when a thread works on more blocks than its cache may hold. So there are two stores
// in front of the system's heap, for the sizes that the cache knows and for blocks of the
// DefaultAllocator only, whose calls nobody observes:
//   - each thread's reserve, a small array per size that only this thread touches;
//   - the depot of the process, an array per size under a mutex of its own.
// A full reserve moves half of its blocks to the depot at once, and an empty one refills itself to
// the half, so that the mutex and the cache lines of the arrays are paid once per batch. The blocks
// themselves, and their headers, are not touched.
//
// Invariants: blocks here count as given back, those of the reserves by subtraction, as those of
// the caches; the cache in front holds exactly what it would hold without the reserve; a thread
// with a budget of 0 uses neither store; a reserve holds no more than 64 blocks of a size, and no
// more than twice as many as the cache of its thread may; the depot never holds more than
// `depotBytes`. Both are given back by Heap::flushCache and Heap::setCacheSize, when memory runs
// out, and at InitTerm::exit; the reserve at the end of its thread as well. Pinned by
// tests/runtime/BlockReserveTest.cpp.
#include "runtime/BlockReserve.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <mutex>

#include "runtime/BlockCache.h"

namespace Tavrin::detail {

namespace {

constexpr unsigned reserveRoom = 64;
constexpr unsigned smallestDepotRoom = 256;
constexpr int spins = 100; // attempts before a thread sleeps; a batch is moved within a few

// Gives a reserve its slots at first use.
bool hasSlots(BlockClass &reserve, unsigned limit)
{
    return reserve.room != 0 ||
           (limit != 0 && makeSlots(reserve, std::min(limit * 2, reserveRoom)));
}

unsigned batchOf(const BlockClass &reserve)
{
    return reserve.room / 2;
}

class Depot
{
public:
    // Takes all of the blocks over, or none.
    bool put(std::size_t blockSize, void **users, unsigned count)
    {
        const std::size_t added = count * blockSize;
        if (bytesHeld.fetch_add(added, std::memory_order_relaxed) + added > depotBytes) {
            bytesHeld.fetch_sub(added, std::memory_order_relaxed);
            return false;
        }
        Shelf &shelf = shelfOf(blockSize);
        Hold hold(shelf.mutex);
        const unsigned held = shelf.kept.readCount();
        if (held + count > shelf.kept.room &&
            !makeSlots(shelf.kept, std::max(shelf.kept.room * 2, smallestDepotRoom))) {
            bytesHeld.fetch_sub(added, std::memory_order_relaxed);
            return false;
        }
        std::memcpy(shelf.kept.blocks + held, users, count * sizeof(void *));
        shelf.kept.writeCount(held + count);
        return true;
    }

    // A glance without the mutex; another thread may be about to change it.
    bool isEmpty(std::size_t blockSize) { return shelfOf(blockSize).kept.readCount() == 0; }

    // Hands out up to `wanted` blocks and says how many.
    unsigned get(std::size_t blockSize, void **users, unsigned wanted)
    {
        Shelf &shelf = shelfOf(blockSize);
        Hold hold(shelf.mutex);
        const unsigned held = shelf.kept.readCount();
        const unsigned count = std::min(held, wanted);
        if (count == 0)
            return 0;
        std::memcpy(users, shelf.kept.blocks + (held - count), count * sizeof(void *));
        shelf.kept.writeCount(held - count);
        bytesHeld.fetch_sub(count * blockSize, std::memory_order_relaxed);
        return count;
    }

    std::size_t bytes() const { return bytesHeld.load(std::memory_order_relaxed); }

    void flush()
    {
        std::size_t blockSize = 0;
        for (Shelf &shelf : shelves) {
            blockSize += blockGranule;
            BlockClass taken;
            {
                Hold hold(shelf.mutex);
                taken = shelf.kept;
                shelf.kept.writeCount(0);
                shelf.kept.blocks = nullptr;
                shelf.kept.room = 0;
            }
            bytesHeld.fetch_sub(taken.readCount() * blockSize, std::memory_order_relaxed);
            giveBack(taken);
        }
    }

private:
    // Each on a cache line of its own.
    struct alignas(64) Shelf
    {
        std::mutex mutex;
        BlockClass kept;
    };

    // Holds the mutex in multi-threaded operation. It is held for so short that a few more attempts
    // are cheaper than sleeping.
    class Hold
    {
    public:
        explicit Hold(std::mutex &wanted) : mutex(globals.locks == nullptr ? nullptr : &wanted)
        {
            if (mutex == nullptr)
                return;
            for (int attempt = 0; attempt < spins; ++attempt)
                if (mutex->try_lock())
                    return;
            mutex->lock();
        }
        ~Hold()
        {
            if (mutex != nullptr)
                mutex->unlock();
        }
        Hold(const Hold &) = delete;
        Hold &operator=(const Hold &) = delete;

    private:
        std::mutex *mutex;
    };

    Shelf &shelfOf(std::size_t blockSize) { return shelves[blockSize / blockGranule - 1]; }

    Shelf shelves[blockClassCount];
    std::atomic<std::size_t> bytesHeld{0};
};

constinit Depot depot;

} // namespace

bool refillReserve(BlockCache &cache, std::size_t blockSize)
{
    BlockClass &reserve = cache.reserve.classOf(blockSize);
    if (depot.isEmpty(blockSize) || !hasSlots(reserve, cache.limitOf(blockSize)))
        return false;
    const unsigned count = depot.get(blockSize, reserve.blocks, batchOf(reserve));
    reserve.writeCount(count);
    cache.counters.addBlocks(count, blockSize);
    return count != 0;
}

bool keepInFullReserve(BlockCache &cache, void *user, std::size_t blockSize)
{
    BlockClass &reserve = cache.reserve.classOf(blockSize);
    if (!hasSlots(reserve, cache.limitOf(blockSize)))
        return false;
    if (reserve.readCount() == reserve.room) {
        const unsigned moved = batchOf(reserve);
        const unsigned rest = reserve.room - moved;
        if (!depot.put(blockSize, reserve.blocks + rest, moved))
            return false;
        reserve.writeCount(rest);
        cache.counters.addBlocks(-std::int64_t{moved}, blockSize);
    }
    return reserve.push(user);
}

void flushReserve(BlockCache &cache)
{
    std::size_t blockSize = 0;
    for (BlockClass &reserve : cache.reserve.classes) {
        cache.counters.addBlocks(-std::int64_t{reserve.readCount()}, blockSize);
        giveBack(reserve);
        blockSize += blockGranule;
    }
}

std::size_t bytesInDepot()
{
    return depot.bytes();
}

void flushDepot()
{
    depot.flush();
}

} // namespace Tavrin::detail
