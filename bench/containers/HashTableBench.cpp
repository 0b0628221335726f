// SPDX-License-Identifier: MIT
// HashTable beside the maps from 16-bit strings to integers that a user would take instead, and
// names that share their beginning beside names that do not.
#include <algorithm>
#include <cstdint>
#include <random>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include <QHash>
#include <QString>
#include <absl/container/flat_hash_map.h>
#include <benchmark/benchmark.h>

#include <tavrin/HashTable.h>

#include "containers/Cases.h"
#include "support/CaseName.h"

namespace bench {

namespace {

using Name = std::u16string;
using Names = std::vector<Name>;

// The maps behind one face.
struct Tavrin
{
    using String = ::Tavrin::String;
    static constexpr const char *name = "tavrin";
    static String make(const Name &units)
    {
        return String(reinterpret_cast<const unsigned short *>(units.data()),
                      static_cast<int>(units.size()));
    }
    ::Tavrin::HashTable map;
    void set(const String &key, std::int64_t value) { map.set(key, value, false); }
    std::int64_t find(const String &key) const { return map.find(key, false); }
};

// The same map without regard to case.
struct CaseBlind : Tavrin
{
    std::int64_t find(const String &key) const { return map.find(key, true); }
};

struct Qt
{
    using String = QString;
    static constexpr const char *name = "qt";
    static String make(const Name &units) { return QString::fromStdU16String(units); }
    QHash<QString, qint64> map;
    void set(const String &key, std::int64_t value) { map.insert(key, value); }
    std::int64_t find(const String &key) const { return map.value(key); }
};

template <class Map>
struct StandardFace
{
    using String = Name;
    static String make(const Name &units) { return units; }
    Map map;
    void set(const String &key, std::int64_t value) { map.insert_or_assign(key, value); }
    std::int64_t find(const String &key) const
    {
        const auto found = map.find(key);
        return found == map.end() ? 0 : found->second;
    }
};

struct Absl : StandardFace<absl::flat_hash_map<Name, std::int64_t>>
{
    static constexpr const char *name = "absl";
};

struct Standard : StandardFace<std::unordered_map<Name, std::int64_t>>
{
    static constexpr const char *name = "std";
};

// Names like those of properties: one to three words of the trade, or four where these
// would not suffice.
Names propertyNames(std::size_t count, unsigned seed)
{
    static const char16_t *const words[] = {
        u"active", u"align",  u"anchor", u"angle",  u"base",   u"bounds",   u"color",   u"column",
        u"count",  u"cursor", u"depth",  u"end",    u"fill",   u"first",    u"font",    u"frame",
        u"grid",   u"group",  u"height", u"id",     u"image",  u"index",    u"inner",   u"item",
        u"label",  u"last",   u"layer",  u"left",   u"length", u"line",     u"locked",  u"margin",
        u"max",    u"min",    u"mode",   u"name",   u"next",   u"offset",   u"opacity", u"order",
        u"origin", u"outer",  u"page",   u"parent", u"path",   u"position", u"range",   u"right",
        u"row",    u"scale",  u"size",   u"space",  u"start",  u"state",    u"stroke",  u"style",
        u"text",   u"top",    u"type",   u"unit",   u"value",  u"view",     u"width",   u"zoom"};
    std::mt19937 random(seed);
    std::uniform_int_distribution<std::size_t> word(0, std::size(words) - 1),
        length(1, count > 100000 ? 4 : 3);
    std::unordered_set<Name> taken;
    Names names;
    while (names.size() < count) {
        Name name;
        for (std::size_t left = length(random); left > 0; --left) {
            const std::size_t at = name.size();
            name += words[word(random)];
            if (at != 0)
                name[at] = static_cast<char16_t>(name[at] - 0x20);
        }
        if (taken.insert(name).second)
            names.push_back(name);
    }
    return names;
}

template <class Map>
using Keys = std::vector<typename Map::String>;

// Each key is a string of its own, that shares nothing with its twins.
template <class Map>
Keys<Map> keysOf(const Names &names)
{
    Keys<Map> keys;
    for (const Name &name : names)
        keys.push_back(Map::make(name));
    return keys;
}

template <class Map>
void fill(Map &map, const Keys<Map> &keys)
{
    std::int64_t value = 0;
    for (const auto &key : keys)
        map.set(key, ++value);
}

template <class Map>
void insert(benchmark::State &state, const Names &names)
{
    const Keys<Map> keys = keysOf<Map>(names);
    for (auto step : state) {
        Map map;
        fill(map, keys);
        benchmark::DoNotOptimize(map);
    }
}

// Looks the second list up in a map of the first.
template <class Map>
void look(benchmark::State &state, const Names &names, Names sought)
{
    Map map;
    fill<Map>(map, keysOf<Map>(names));
    std::shuffle(sought.begin(), sought.end(), std::mt19937(3));
    const Keys<Map> keys = keysOf<Map>(sought);
    for (auto step : state)
        for (const auto &key : keys) {
            std::int64_t value = map.find(key);
            benchmark::DoNotOptimize(value);
        }
}

template <class Map>
void remove(benchmark::State &state, const Names &names)
{
    const Keys<Map> keys = keysOf<Map>(names);
    for (auto step : state) {
        state.PauseTiming();
        Map map;
        fill(map, keys);
        state.ResumeTiming();
        for (const auto &key : keys)
            map.map.remove(key, false);
    }
}

template <class Map>
void registerLook(const char *name, const Names &names, const Names &sought)
{
    benchmark::RegisterBenchmark(caseName(name, Map::name, names.size()).c_str(), look<Map>, names,
                                 sought);
}

template <class Map>
void registerMap()
{
    for (std::size_t count : {1000, 10000, 100000}) {
        Names names = propertyNames(2 * count, 1);
        const Names missing(names.begin() + static_cast<std::ptrdiff_t>(count), names.end());
        names.resize(count);
        benchmark::RegisterBenchmark(caseName("names-insert", Map::name, count).c_str(),
                                     insert<Map>, names);
        registerLook<Map>("names-hit", names, names);
        registerLook<Map>("names-miss", names, missing);
    }
    for (std::size_t count : {10, 40, 160}) {
        const Names names = propertyNames(count, 2);
        registerLook<Map>("names-hot", names, names);
    }
}

// The same names with five more units in front, or behind.
void registerPrefix(const char *who, const Name &prefix, const Name &suffix)
{
    for (std::size_t count : {1000, 10000, 100000, 1000000}) {
        Names names = propertyNames(count, 4);
        for (Name &name : names)
            name = prefix + name + suffix;
        benchmark::RegisterBenchmark(caseName("prefix-insert", who, count).c_str(), insert<Tavrin>,
                                     names);
        benchmark::RegisterBenchmark(caseName("prefix-hit", who, count).c_str(), look<Tavrin>,
                                     names, names);
        benchmark::RegisterBenchmark(caseName("prefix-remove", who, count).c_str(), remove<Tavrin>,
                                     names);
    }
}

} // namespace

void registerHashTableCases()
{
    registerMap<Tavrin>();
    const Names names = propertyNames(10000, 1);
    registerLook<CaseBlind>("names-hit-case-blind", names, names);
    registerMap<Absl>();
    registerMap<Qt>();
    registerMap<Standard>();
    registerPrefix("tavrin", u"names", u"");
    registerPrefix("distinct", u"", u"names");
}

} // namespace bench
