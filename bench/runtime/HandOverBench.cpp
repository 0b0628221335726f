// SPDX-License-Identifier: MIT
// Blocks that one thread makes and another one releases. The two run side by side through a channel
// of a few batches; an iteration is one batch, and the figure is the processor time of both
// threads.
#include <array>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

#include <benchmark/benchmark.h>

#include <tavrin/InitTerm.h>

#include "runtime/Cases.h"
#include "support/Allocators.h"
#include "support/CaseName.h"

namespace bench {

namespace {

using Batch = std::vector<void *>;

// A ring of batches that stay in place. The producer fills the one that `toFill` gives it.
class Channel
{
public:
    explicit Channel(std::size_t batchSize)
    {
        for (Batch &batch : ring)
            batch.resize(batchSize);
    }

    Batch &toFill()
    {
        std::unique_lock guard(mutex);
        changed.wait(guard, [this] { return filled - emptied < ring.size(); });
        return ring[filled % ring.size()];
    }

    void putFilled()
    {
        std::lock_guard guard(mutex);
        ++filled;
        changed.notify_one();
    }

    // Null when the channel is closed and empty.
    Batch *toEmpty()
    {
        std::unique_lock guard(mutex);
        changed.wait(guard, [this] { return filled != emptied || isClosed; });
        return filled == emptied ? nullptr : &ring[emptied % ring.size()];
    }

    void putEmptied()
    {
        std::lock_guard guard(mutex);
        ++emptied;
        changed.notify_one();
    }

    void close()
    {
        std::lock_guard guard(mutex);
        isClosed = true;
        changed.notify_one();
    }

private:
    std::array<Batch, 4> ring;
    std::size_t filled = 0;
    std::size_t emptied = 0;
    bool isClosed = false;
    std::mutex mutex;
    std::condition_variable changed;
};

template <class Allocator>
void consume(Channel &channel)
{
    while (Batch *batch = channel.toEmpty()) {
        for (void *block : *batch)
            Allocator::release(block);
        channel.putEmptied();
    }
}

template <class Allocator>
void handOver(benchmark::State &state, std::size_t size, std::size_t batchSize)
{
    ::Tavrin::InitTerm::init();
    ::Tavrin::InitTerm::setMT();
    Channel channel(batchSize);
    std::thread consumer(consume<Allocator>, std::ref(channel));
    for (auto step : state) {
        for (void *&block : channel.toFill())
            block = Allocator::allocate(size);
        channel.putFilled();
    }
    channel.close();
    consumer.join();
    ::Tavrin::InitTerm::exit();
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(batchSize));
}

template <class Allocator>
void handOvers()
{
    for (std::size_t size : {16, 64, 312})
        for (std::size_t batchSize : {100, 1000, 10000}) {
            const std::string title = "hand-over-" + std::to_string(size);
            benchmark::RegisterBenchmark(caseName(title, Allocator::name, batchSize).c_str(),
                                         handOver<Allocator>, size, batchSize)
                ->MeasureProcessCPUTime();
        }
}

} // namespace

void registerHandOverCases()
{
    handOvers<Tavrin>();
    handOvers<Glibc>();
    handOvers<Mimalloc>();
    handOvers<Jemalloc>();
    handOvers<Tcmalloc>();
}

} // namespace bench
