// SPDX-License-Identifier: MIT
#include <cstdlib>
#include <utility>

#include <tavrin/Heap.h>
#include <tavrin/Lock.h>

#include "runtime/AllocatorTable.h"
#include "runtime/BlockReserve.h"
#include "runtime/ContextState.h"
#include "runtime/LockTable.h"
#include "runtime/Startup.h"

namespace Tavrin {

namespace detail {

constinit AllocatorTable allocatorTable;

namespace {

constexpr const char *buildInformationTable[] = {"Tavrin", "4.5.12", nullptr};

// The entry that holds `allocator` or can take it, or 0 when the table is full.
int placeFor(const Allocator *allocator)
{
    for (int index = 1; index < allocatorTableSize; ++index) {
        const Allocator *entry = allocatorTable.entry(index);
        if (entry == nullptr || entry == allocator)
            return index;
    }
    return 0;
}

void select(int index)
{
    __atomic_store_n(&allocatorTable.current, index, __ATOMIC_RELEASE);
}

} // namespace

void startAllocator()
{
    allocatorTable.entries[0] = new DefaultAllocator;
    select(0);
}

void stopAllocator()
{
    for (int index = 0; index < allocatorTableSize; ++index) {
        Allocator *entry = allocatorTable.entry(index);
        if (entry == nullptr)
            break;
        entry->flush();
    }
    flushDepot();
    // D-003: a stop with blocks left counts one more. Hosts that watch the figure know it so.
    if (retiredCounters.readBlocks() != 0)
        retiredCounters.add(1, 0);
    delete std::exchange(allocatorTable.entries[0], nullptr);
}

} // namespace detail

Root::~Root() = default;

Allocator::~Allocator() = default;

void *Allocator::allocMem(std::size_t size, const char *, int)
{
    return allocMem(size);
}

void Allocator::flush() {}

Allocator *Allocator::get()
{
    CriticalSection section(detail::tableLock(detail::LockSlot::allocators));
    return detail::allocatorTable.entry(detail::allocatorTable.currentIndex());
}

bool Allocator::set(Allocator *allocator)
{
    using namespace detail;
    CriticalSection section(tableLock(LockSlot::allocators));
    if (allocator == nullptr) {
        select(0);
        return true;
    }
    const int index = placeFor(allocator);
    if (index == 0)
        return false;
    __atomic_store_n(&allocatorTable.entries[index], allocator, __ATOMIC_RELEASE);
    select(index);
    return true;
}

} // namespace Tavrin

DefaultAllocator::DefaultAllocator() : buildInformation(Tavrin::detail::buildInformationTable) {}

DefaultAllocator::~DefaultAllocator() = default;

void *DefaultAllocator::operator new(std::size_t size)
{
    void *storage = std::malloc(size);
    if (storage == nullptr)
        Tavrin::detail::throwOutOfMemory();
    return storage;
}

void DefaultAllocator::operator delete(void *block) noexcept
{
    std::free(block);
}

void *DefaultAllocator::allocMem(std::size_t size, const char *, int)
{
    return std::malloc(size);
}

void *DefaultAllocator::allocMem(std::size_t size)
{
    return std::malloc(size);
}

void DefaultAllocator::freeMem(void *block)
{
    if (block != nullptr)
        std::free(block);
}

void *DefaultAllocator::reallocMem(void *block, std::size_t size)
{
    return std::realloc(block, size);
}

void DefaultAllocator::flush() {}
