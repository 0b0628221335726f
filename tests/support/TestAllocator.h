// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <limits>

#include <tavrin/Heap.h>

namespace Tavrin::test {

// TestAllocator: malloc that counts, and that refuses the requests it is told to refuse.
// Fresh blocks are filled with 0xCD and freed ones with 0xDD, up to 64 KiB of them; a reallocation
// always moves; a block that is not its own ends the process with a message.
// Owns:    nothing; the blocks are their users'.
// Threads: all counters are atomic and relaxed, so that they hide no race from a sanitizer.
//          failRequests and stopFailing belong to moments when no other thread allocates.
class TestAllocator : public Allocator
{
public:
    static constexpr std::int64_t forever = std::numeric_limits<std::int64_t>::max();
    // Larger requests are refused without asking the system, which may stop the process instead.
    static constexpr std::size_t largestRequest = std::size_t{1} << 32;

    // The instance that all tests of a process share: the table of allocators has ten places, and
    // they are taken for good.
    static TestAllocator &shared();

    // Refuses `count` requests in a row from the `first` one on; 1 is the next request. Requests
    // are both forms of allocMem, and reallocMem.
    void failRequests(std::int64_t first, std::int64_t count = 1);
    void stopFailing();
    // Requests refused since failRequests.
    std::int64_t refusals() const { return refused.load(std::memory_order_relaxed); }

    std::int64_t liveBlocks() const { return blocks.load(std::memory_order_relaxed); }
    std::int64_t liveBytes() const { return bytes.load(std::memory_order_relaxed); }
    // Calls since the process began, refused ones included.
    std::int64_t allocations() const { return allocateCalls.load(std::memory_order_relaxed); }
    std::int64_t reallocations() const { return resizeCalls.load(std::memory_order_relaxed); }
    std::int64_t frees() const { return freeCalls.load(std::memory_order_relaxed); }
    std::int64_t flushes() const { return flushCalls.load(std::memory_order_relaxed); }

    // What the last allocMem with file and line received; null and 0 before it.
    const char *lastFile() const { return file.load(std::memory_order_relaxed); }
    int lastLine() const { return line.load(std::memory_order_relaxed); }
    // The size of the last request.
    std::size_t lastSize() const { return size.load(std::memory_order_relaxed); }

    void *allocMem(std::size_t wanted, const char *fromFile, int fromLine) override;
    void *allocMem(std::size_t wanted) override;
    void freeMem(void *block) override;
    void *reallocMem(void *block, std::size_t wanted) override;
    void flush() override;

private:
    bool refuses(std::size_t wanted);
    void *make(std::size_t wanted);
    void destroy(void *block);

    using Counter = std::atomic<std::int64_t>;
    Counter blocks{0}, bytes{0};
    Counter allocateCalls{0}, resizeCalls{0}, freeCalls{0}, flushCalls{0};
    Counter requests{0}, refused{0};
    Counter firstRefused{forever}, endOfRefused{forever};
    std::atomic<const char *> file{nullptr};
    std::atomic<int> line{0};
    std::atomic<std::size_t> size{0};
};

} // namespace Tavrin::test
