// SPDX-License-Identifier: MIT
#include <array>
#include <vector>

#include <benchmark/benchmark.h>

#include <tavrin/InitTerm.h>

#include "runtime/Cases.h"
#include "support/Allocators.h"
#include "support/CaseName.h"

namespace bench {

namespace {

constexpr int ampleBudget = 256 << 20;

struct Initialized
{
    explicit Initialized(int budget)
    {
        ::Tavrin::InitTerm::init();
        if (budget != 0)
            ::Tavrin::Heap::setCacheSize(budget);
    }
    ~Initialized() { ::Tavrin::InitTerm::exit(); }
};

template <class Allocator>
void pair(benchmark::State &state, std::size_t size)
{
    Initialized library(0);
    for (auto step : state) {
        void *block = Allocator::allocate(size);
        benchmark::DoNotOptimize(block);
        Allocator::release(block);
    }
}

template <class Allocator>
void pairs(const char *name)
{
    for (std::size_t size : {16, 64, 312})
        benchmark::RegisterBenchmark(caseName(name, Allocator::name, size).c_str(), pair<Allocator>,
                                     size);
}

// Sizes from 1 to 312 in an order that no predictor learns: a fixed pseudo-random sequence.
std::vector<std::size_t> mixedSizes(std::size_t count)
{
    std::vector<std::size_t> sizes(count);
    std::uint32_t word = 12345;
    for (std::size_t &size : sizes) {
        word = word * 1664525 + 1013904223;
        size = 1 + (word >> 8) % 312;
    }
    return sizes;
}

// The two loops see the same list of sizes whether it is uniform or not.
template <class Allocator>
void many(benchmark::State &state, std::vector<std::size_t> sizes, int budget)
{
    Initialized library(budget);
    std::vector<void *> blocks(sizes.size());
    for (auto step : state) {
        for (std::size_t index = 0; index < sizes.size(); ++index)
            blocks[index] = Allocator::allocate(sizes[index]);
        benchmark::DoNotOptimize(blocks.data());
        benchmark::ClobberMemory();
        for (void *block : blocks)
            Allocator::release(block);
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(sizes.size()));
}

struct Mix
{
    const char *suffix;
    std::size_t size; // 0: mixed
};
constexpr std::array<Mix, 4> mixes{{{"16", 16}, {"64", 64}, {"312", 312}, {"mixed", 0}}};

template <class Allocator>
void manies(const char *name, int budget)
{
    for (const Mix &mix : mixes)
        for (std::size_t count : {100, 1000, 10000}) {
            const std::string title = std::string(name) + '-' + mix.suffix;
            benchmark::RegisterBenchmark(
                caseName(title, Allocator::name, count).c_str(), many<Allocator>,
                mix.size == 0 ? mixedSizes(count) : std::vector<std::size_t>(count, mix.size),
                budget);
        }
}

template <class... Peers>
void registerAll()
{
    (pairs<Peers>("pair"), ...);
    (manies<Peers>("blocks", ampleBudget), ...);
}

} // namespace

void registerHeapCases()
{
    registerAll<Tavrin, Glibc, Mimalloc, Jemalloc, Tcmalloc>();
    manies<Tavrin>("blocks-default", 0);
    manies<Glibc>("blocks-default", 0);
}

} // namespace bench
