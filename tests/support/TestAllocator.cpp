// SPDX-License-Identifier: MIT
#include "support/TestAllocator.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

namespace Tavrin::test {

namespace {

constexpr auto relaxed = std::memory_order_relaxed;
constexpr int freshByte = 0xCD;
constexpr int freedByte = 0xDD;
constexpr std::uint64_t liveMark = 0x6B636F6C62657669; // "iveblock"
constexpr std::uint64_t deadMark = 0x6465657266206B6C; // "lk freed"

// Large blocks are filled in part: their pages stay untouched until they are used.
void fill(void *block, int byte, std::size_t size)
{
    constexpr std::size_t mostFilled = std::size_t{1} << 16;
    std::memset(block, byte, size < mostFilled ? size : mostFilled);
}

// Stands in front of every block and keeps its alignment to 16.
struct alignas(16) Prefix
{
    std::size_t size;
    std::uint64_t mark;
};

Prefix &prefixOf(void *block)
{
    return static_cast<Prefix *>(block)[-1];
}

void checkLive(void *block)
{
    const std::uint64_t mark = prefixOf(block).mark;
    if (mark == liveMark)
        return;
    std::fprintf(stderr, "TestAllocator: %p %s\n", block,
                 mark == deadMark ? "was freed before" : "is no block of this allocator");
    std::abort();
}

} // namespace

TestAllocator &TestAllocator::shared()
{
    // Never destroyed: the table of allocators refers to it as long as the process lives.
    static TestAllocator *const instance = ::new TestAllocator;
    return *instance;
}

void TestAllocator::failRequests(std::int64_t first, std::int64_t count)
{
    const std::int64_t start = requests.load(relaxed) + first;
    refused.store(0, relaxed);
    endOfRefused.store(count >= forever - start ? forever : start + count, relaxed);
    firstRefused.store(start, relaxed);
}

void TestAllocator::stopFailing()
{
    firstRefused.store(forever, relaxed);
    endOfRefused.store(forever, relaxed);
}

bool TestAllocator::refuses(std::size_t wanted)
{
    size.store(wanted, relaxed);
    const std::int64_t number = requests.fetch_add(1, relaxed) + 1;
    if (number < firstRefused.load(relaxed) || number >= endOfRefused.load(relaxed))
        return wanted > largestRequest;
    refused.fetch_add(1, relaxed);
    return true;
}

void *TestAllocator::make(std::size_t wanted)
{
    void *storage = std::malloc(sizeof(Prefix) + wanted);
    if (storage == nullptr)
        return nullptr;
    void *block = ::new (storage) Prefix{wanted, liveMark} + 1;
    fill(block, freshByte, wanted);
    blocks.fetch_add(1, relaxed);
    bytes.fetch_add(static_cast<std::int64_t>(wanted), relaxed);
    return block;
}

void TestAllocator::destroy(void *block)
{
    Prefix &prefix = prefixOf(block);
    blocks.fetch_sub(1, relaxed);
    bytes.fetch_sub(static_cast<std::int64_t>(prefix.size), relaxed);
    prefix.mark = deadMark;
    fill(block, freedByte, prefix.size);
    std::free(&prefix);
}

void *TestAllocator::allocMem(std::size_t wanted, const char *fromFile, int fromLine)
{
    file.store(fromFile, relaxed);
    line.store(fromLine, relaxed);
    return allocMem(wanted);
}

void *TestAllocator::allocMem(std::size_t wanted)
{
    allocateCalls.fetch_add(1, relaxed);
    return refuses(wanted) ? nullptr : make(wanted);
}

void TestAllocator::freeMem(void *block)
{
    freeCalls.fetch_add(1, relaxed);
    if (block == nullptr)
        return;
    checkLive(block);
    destroy(block);
}

void *TestAllocator::reallocMem(void *block, std::size_t wanted)
{
    resizeCalls.fetch_add(1, relaxed);
    if (block != nullptr)
        checkLive(block);
    if (refuses(wanted))
        return nullptr;
    void *moved = make(wanted);
    if (moved == nullptr || block == nullptr)
        return moved;
    const std::size_t kept = prefixOf(block).size;
    std::memcpy(moved, block, kept < wanted ? kept : wanted);
    destroy(block);
    return moved;
}

void TestAllocator::flush()
{
    flushCalls.fetch_add(1, relaxed);
}

} // namespace Tavrin::test
