// SPDX-License-Identifier: MIT
#include <benchmark/benchmark.h>

#include <tavrin/InitTerm.h>

#include "runtime/Cases.h"
#include "support/CaseName.h"

namespace bench {

namespace {

// `count` starts and stops, each of them a first init and a last exit.
void initExit(benchmark::State &state, std::size_t count)
{
    for (auto step : state)
        for (std::size_t index = 0; index < count; ++index) {
            ::Tavrin::InitTerm::init();
            ::Tavrin::InitTerm::exit();
        }
}

} // namespace

void registerInitTermCases()
{
    for (std::size_t count : {1, 10, 100})
        benchmark::RegisterBenchmark(caseName("init-exit", "tavrin", count).c_str(), initExit,
                                     count);
}

} // namespace bench
