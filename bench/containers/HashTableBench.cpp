// SPDX-License-Identifier: MIT
// HashTable beside the maps from 16-bit strings to integers that a user would take instead, and
// names that share their beginning beside names that do not.
#include <algorithm>
#include <cstdint>
#include <map>
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
Names makePropertyNames(std::size_t count)
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
    std::mt19937 random(1);
    std::uniform_int_distribution<std::size_t> word(0, std::size(words) - 1),
        length(1, count > 200000 ? 4 : 3);
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

// Made when they are needed first: there are cases with a million names.
const Names &propertyNames(std::size_t count)
{
    static std::map<std::size_t, Names> made;
    Names &names = made[count];
    if (names.empty())
        names = makePropertyNames(count);
    return names;
}

template <class Map>
using Keys = std::vector<typename Map::String>;

// Which names a case is about.
struct NameSet
{
    std::size_t count;
    Name prefix = {};
    Name suffix = {};

    // As strings that share nothing with their twins. `from` passes the names in front.
    template <class Map>
    Keys<Map> keys(std::size_t from = 0) const
    {
        const Names &names = propertyNames(from + count);
        Keys<Map> keys;
        for (std::size_t at = from; at < from + count; ++at)
            keys.push_back(Map::make(prefix + names[at] + suffix));
        return keys;
    }
};

template <class Map>
void fill(Map &map, const Keys<Map> &keys)
{
    std::int64_t value = 0;
    for (const auto &key : keys)
        map.set(key, ++value);
}

template <class Map>
void insert(benchmark::State &state, const NameSet &names)
{
    const Keys<Map> keys = names.keys<Map>();
    for (auto step : state) {
        Map map;
        fill(map, keys);
        benchmark::DoNotOptimize(map);
    }
}

// Looks up the keys of the map in another order, or others.
template <class Map>
void look(benchmark::State &state, const NameSet &names, bool areMissing)
{
    Map map;
    fill<Map>(map, names.keys<Map>());
    Keys<Map> keys = names.keys<Map>(areMissing ? names.count : 0);
    std::shuffle(keys.begin(), keys.end(), std::mt19937(3));
    for (auto step : state)
        for (const auto &key : keys) {
            std::int64_t value = map.find(key);
            benchmark::DoNotOptimize(value);
        }
}

template <class Map>
void remove(benchmark::State &state, const NameSet &names)
{
    const Keys<Map> keys = names.keys<Map>();
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
void registerLook(const char *name, const NameSet &names, bool areMissing = false)
{
    benchmark::RegisterBenchmark(caseName(name, Map::name, names.count).c_str(), look<Map>, names,
                                 areMissing);
}

template <class Map>
void registerMap()
{
    for (const std::size_t count : {1000, 10000, 100000}) {
        const NameSet names{count};
        benchmark::RegisterBenchmark(caseName("names-insert", Map::name, count).c_str(),
                                     insert<Map>, names);
        registerLook<Map>("names-hit", names);
        registerLook<Map>("names-miss", names, true);
    }
    for (const std::size_t count : {10, 40, 160})
        registerLook<Map>("names-hot", {count});
}

// The same names with five more units in front, or behind.
void registerPrefix(const char *who, const Name &prefix, const Name &suffix)
{
    for (const std::size_t count : {1000, 10000, 100000, 1000000}) {
        const NameSet names{count, prefix, suffix};
        benchmark::RegisterBenchmark(caseName("prefix-insert", who, count).c_str(), insert<Tavrin>,
                                     names);
        benchmark::RegisterBenchmark(caseName("prefix-hit", who, count).c_str(), look<Tavrin>,
                                     names, false);
        benchmark::RegisterBenchmark(caseName("prefix-remove", who, count).c_str(), remove<Tavrin>,
                                     names);
    }
}

} // namespace

void registerHashTableCases()
{
    registerMap<Tavrin>();
    registerLook<CaseBlind>("names-hit-case-blind", {10000});
    registerMap<Absl>();
    registerMap<Qt>();
    registerMap<Standard>();
    registerPrefix("tavrin", u"names", u"");
    registerPrefix("distinct", u"", u"names");
}

} // namespace bench
