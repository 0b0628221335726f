// SPDX-License-Identifier: MIT
// SparseArray beside the maps from integer to integer that a user would take instead.
#include <algorithm>
#include <cstdint>
#include <random>
#include <unordered_map>
#include <vector>

#include <QHash>
#include <absl/container/flat_hash_map.h>
#include <benchmark/benchmark.h>

#include <tavrin/SparseArray.h>

#include "containers/Cases.h"
#include "support/CaseName.h"

namespace bench {

namespace {

// The maps behind one face.
struct Tavrin
{
    static constexpr const char *name = "tavrin";
    ::Tavrin::SparseArray map;
    void set(std::int64_t key, std::int64_t value) { map.set(key, value); }
    std::int64_t find(std::int64_t key) const { return map.find(key); }
};

struct Absl
{
    static constexpr const char *name = "absl";
    absl::flat_hash_map<std::int64_t, std::int64_t> map;
    void set(std::int64_t key, std::int64_t value) { map.insert_or_assign(key, value); }
    std::int64_t find(std::int64_t key) const
    {
        const auto found = map.find(key);
        return found == map.end() ? 0 : found->second;
    }
};

struct Qt
{
    static constexpr const char *name = "qt";
    QHash<qint64, qint64> map;
    void set(std::int64_t key, std::int64_t value) { map.insert(key, value); }
    std::int64_t find(std::int64_t key) const { return map.value(key); }
};

struct Standard
{
    static constexpr const char *name = "std";
    std::unordered_map<std::int64_t, std::int64_t> map;
    void set(std::int64_t key, std::int64_t value) { map.insert_or_assign(key, value); }
    std::int64_t find(std::int64_t key) const
    {
        const auto found = map.find(key);
        return found == map.end() ? 0 : found->second;
    }
};

using Keys = std::vector<std::int64_t>;

// The indexes of the high part of an array: consecutive, and met in any order.
Keys indexes(std::size_t count)
{
    Keys keys(count);
    for (std::size_t at = 0; at < count; ++at)
        keys[at] = static_cast<std::int64_t>(1024 + at);
    std::shuffle(keys.begin(), keys.end(), std::mt19937(1));
    return keys;
}

Keys randomKeys(std::size_t count)
{
    std::mt19937_64 random(2);
    Keys keys(count);
    for (std::int64_t &key : keys)
        key = static_cast<std::int64_t>(random());
    return keys;
}

struct KeySet
{
    const char *suffix;
    Keys (*make)(std::size_t count);
};
constexpr KeySet keySets[] = {{"index", indexes}, {"random", randomKeys}};

template <class Map>
void hit(benchmark::State &state, Keys keys)
{
    Map map;
    for (std::int64_t key : keys)
        map.set(key, key);
    std::shuffle(keys.begin(), keys.end(), std::mt19937(3));
    for (auto step : state)
        for (std::int64_t key : keys) {
            std::int64_t value = map.find(key);
            benchmark::DoNotOptimize(value);
        }
}

template <class Map>
void insert(benchmark::State &state, const Keys &keys)
{
    for (auto step : state) {
        Map map;
        for (std::int64_t key : keys)
            map.set(key, key);
        benchmark::DoNotOptimize(map);
    }
}

template <class Map>
void registerMap()
{
    for (const KeySet &set : keySets)
        for (std::size_t count : {1000, 10000, 100000}) {
            const std::string suffix = std::string("-") + set.suffix;
            benchmark::RegisterBenchmark(caseName("map-hit" + suffix, Map::name, count).c_str(),
                                         hit<Map>, set.make(count));
            benchmark::RegisterBenchmark(caseName("map-insert" + suffix, Map::name, count).c_str(),
                                         insert<Map>, set.make(count));
        }
}

} // namespace

void registerSparseArrayCases()
{
    registerMap<Tavrin>();
    registerMap<Absl>();
    registerMap<Qt>();
    registerMap<Standard>();
}

} // namespace bench
