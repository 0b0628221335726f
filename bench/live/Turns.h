// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <vector>

#include <benchmark/benchmark.h>

#include <tavrin/InitTerm.h>

namespace bench {

// The library, up.
class Session
{
public:
    Session() { Tavrin::InitTerm::init(); }
    ~Session() { Tavrin::InitTerm::exit(); }
    Session(const Session &) = delete;
    Session &operator=(const Session &) = delete;
};

// Calls `use` for one of the keys after the other, as long as the measurement takes.
template <class Key, class Use>
void inTurn(benchmark::State &state, const std::vector<Key> &keys, Use use)
{
    std::size_t at = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(use(keys[at]));
        at = at + 1 == keys.size() ? 0 : at + 1;
    }
}

} // namespace bench
